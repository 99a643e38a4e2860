// A guest's list that another program pastes: the real DLL in this process as the host's, clip-paste as the other.
#include <gtest/gtest.h>
#include <ole2.h>

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <memory>
#include <mutex>
#include <thread>

#include "dll_host.h"
#include "support/child_process.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

struct GuestFile {
    std::string relativePath;
    std::string fileName;
    std::string bytes;
};

std::string makeBytes(std::size_t size)
{
    std::string bytes(size, '\0');
    std::uint32_t state = static_cast<std::uint32_t>(size) + 1;
    for (char& byte : bytes) {
        state = state * 1664525 + 1013904223;
        byte = static_cast<char>(state >> 24);
    }
    return bytes;
}

// The guest behind the host: offers files and delivers them from a thread of its own.
class PasteTest : public testing::Test {
protected:
    PasteTest()
    {
        OleInitialize(nullptr);
        std::string cache = mFolder.utf8Path() + "/cache/";
        std::replace(cache.begin(), cache.end(), '\\', '/');
        mHost.clipboard().InitFileLazyRenderer(cache);
        mHost.listener().clear();
        RecordingLog::clear();
    }
    ~PasteTest() override
    {
        mStop = true;
        if (mDelivery.joinable())
            mDelivery.join();
        OleSetClipboard(nullptr);
        OleUninitialize();
    }

    bool offer(std::vector<GuestFile> files, std::size_t piece, int pauseMilliseconds = 0)
    {
        mFiles = std::move(files);
        const auto record = std::make_shared<ClipboardFileDataImpl>();
        std::vector<ClipfileDescription> list;
        for (const GuestFile& file : mFiles) {
            ClipfileDescription description;
            description.relativePath = file.relativePath;
            description.fileName = file.fileName;
            description.size = file.bytes.size();
            description.attributes = FILE_ATTRIBUTE_ARCHIVE;
            list.push_back(description);
        }
        record->SetFiles(list);
        record->SetFileFuncs(
            [this, list, piece, pauseMilliseconds](const ClipfileDescription&, const FileDataSink& sink) {
                ++mRequests;
                mDelivery = std::thread([=] { deliver(list, sink, piece, pauseMilliseconds); });
                return std::string();
            },
            [this](const ClipfileDescription&) { ++mCancels; });
        return mHost.clipboard().SetClipboardData(ClipboardFormat::File, record);
    }

    void deliver(const std::vector<ClipfileDescription>& list, const FileDataSink& sink, std::size_t piece,
                 int pauseMilliseconds)
    {
        for (std::size_t i = 0; i < list.size(); ++i) {
            std::string bytes = mFiles[i].bytes;
            std::size_t sent = 0;
            do {
                const std::size_t size = std::min(piece, bytes.size() - sent);
                sink(list[i], reinterpret_cast<unsigned char*>(bytes.data()) + sent, size);
                sent += size;
                if (pauseMilliseconds > 0)
                    Sleep(static_cast<DWORD>(pauseMilliseconds));
            } while (sent < bytes.size() && !mStop);
        }
    }

    // The exit code of clip-paste.
    DWORD paste(const std::wstring& target, std::vector<std::wstring> options = {})
    {
        mFolder.addFolder(target);
        options.insert(options.begin(), mFolder.path() + L"\\" + target);
        ChildProcess child(L"clip-paste.exe", options);
        const DWORD code = child.waitForExit(60000);
        mOutput = child.output();
        return code;
    }

    void expectPasted(const std::wstring& target) const
    {
        for (const GuestFile& file : mFiles) {
            const fs::path path =
                fs::path(mFolder.path()) / target / fs::u8path(file.relativePath) / fs::u8path(file.fileName);
            std::ifstream stream(path, std::ios::binary);
            ASSERT_TRUE(stream.is_open()) << path;
            const std::string bytes(std::istreambuf_iterator<char>(stream), {});
            EXPECT_TRUE(bytes == file.bytes) << path << " has " << bytes.size() << " bytes";
        }
    }

    std::size_t countEvents(const std::string& operation)
    {
        std::size_t count = 0;
        for (const RecordedEvent& event : mHost.listener().events())
            count += event.operation == operation ? 1 : 0;
        return count;
    }

    DllHost& mHost = DllHost::shared();
    TemporaryFolder mFolder;
    std::vector<GuestFile> mFiles;
    std::thread mDelivery;
    std::atomic<bool> mStop{false};
    std::atomic<int> mRequests{0};
    std::atomic<int> mCancels{0};
    std::string mOutput;
};

const std::vector<GuestFile> kSizes = {
    {"", "empty", ""},
    {"", "one", makeBytes(1)},
    {"folder", "just under.bin", makeBytes(1048575)},
    {"folder", "slice.bin", makeBytes(1048576)},
    {"folder\\gr\xC3\xBC\xC3\x9F", "just over \xF0\x9F\x98\x80.bin", makeBytes(1048577)},
    {"", "three.bin", makeBytes(3145728)},
};

}  // namespace

TEST_F(PasteTest, EveryByteArrivesForEachDeliveryAndChunkSize)
{
    const struct {
        std::size_t piece;
        const wchar_t* chunk;
    } pairs[] = {{1000, L"4096"}, {65536, L"700000"}, {1048576, L"1048576"}, {5000000, L"8388608"}};
    int number = 0;
    for (const auto& pair : pairs) {
        const std::wstring target = L"target" + std::to_wstring(++number);
        ASSERT_TRUE(offer(kSizes, pair.piece));
        EXPECT_EQ(paste(target, {L"--chunk", pair.chunk}), 0u) << mOutput;
        expectPasted(target);
        mDelivery.join();
    }
    EXPECT_EQ(countEvents("transferFinish"), std::size(pairs) * kSizes.size());
    EXPECT_EQ(mCancels, 0);
}

TEST_F(PasteTest, ASecondPasteIsServedFromTheSlicesWithoutARequest)
{
    ASSERT_TRUE(offer(kSizes, 65536));
    EXPECT_EQ(paste(L"first"), 0u) << mOutput;
    mDelivery.join();
    EXPECT_EQ(paste(L"second"), 0u) << mOutput;
    EXPECT_EQ(mRequests, 1);
    expectPasted(L"first");
    expectPasted(L"second");
}

TEST_F(PasteTest, TheReaderFollowsASlowWriter)
{
    ASSERT_TRUE(offer({{"", "slow.bin", makeBytes(3000000)}}, 100000, 20));
    EXPECT_EQ(paste(L"target"), 0u) << mOutput;
    expectPasted(L"target");
}

TEST_F(PasteTest, AUserWhoStopsIsNoticedOnceAndTheNextListWorks)
{
    ASSERT_TRUE(offer({{"", "long.bin", makeBytes(60000000)}}, 100000, 20));
    EXPECT_EQ(paste(L"stopped", {L"--stop-after", L"1500000"}), 2u) << mOutput;
    for (int i = 0; i < 1000 && mCancels == 0; ++i)
        Sleep(10);
    EXPECT_EQ(mCancels, 1);
    EXPECT_EQ(countEvents("cancelTransfer"), 1u);
    mStop = true;
    mDelivery.join();
    mStop = false;
    ASSERT_TRUE(offer(kSizes, 65536));
    EXPECT_EQ(paste(L"next"), 0u) << mOutput;
    expectPasted(L"next");
}

TEST_F(PasteTest, AListOfManySmallFilesArrivesWhole)
{
    std::vector<GuestFile> files;
    for (int i = 0; i < 500; ++i)
        files.push_back(
            {"d" + std::to_string(i % 10), std::to_string(i) + ".txt", makeBytes(static_cast<std::size_t>(i))});
    ASSERT_TRUE(offer(files, 65536));
    EXPECT_EQ(paste(L"many"), 0u) << mOutput;
    expectPasted(L"many");
}
