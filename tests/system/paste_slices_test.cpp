// Whose bytes the slices in the cache hold: those of one list, for as long as some application may read them.
#include <filesystem>
#include <optional>

#include "guest_paste.h"
#include "sha256.h"
#include "stream_keeper.h"
#include "support/import_hook.h"
#include "support/pumping_thread.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

constexpr std::size_t kSlice = 1048576;
constexpr HRESULT kReverted = static_cast<HRESULT>(0x80030102);  // STG_E_REVERTED

std::string oldBytes(std::size_t size)
{
    return std::string(size, 'O');
}

std::string newBytes(std::size_t size)
{
    return std::string(size, 'N');
}

// A host that hands its sink to the test.
struct SinkList {
    explicit SinkList(std::uint64_t size)
    {
        file.fileName = "same.bin";
        file.size = size;
        record->SetFiles({file});
        record->SetFileFuncs(
            [this](const ClipfileDescription&, FileDataRequestCallback given) {
                sink = std::move(given);
                ++requests;
                return std::string();
            },
            [this](const ClipfileDescription&) { ++cancels; });
    }

    void deliver(std::string bytes) const
    {
        sink(file, reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    }

    const std::shared_ptr<ClipboardFileDataImpl> record = std::make_shared<ClipboardFileDataImpl>();
    ClipfileDescription file;
    FileDataRequestCallback sink;
    std::atomic<int> requests{0};
    std::atomic<int> cancels{0};
};

// On a clipboard that this thread has not opened, as Windows documents it. Wine tells the owner all the same.
BOOL WINAPI refuseToEmpty()
{
    SetLastError(ERROR_CLIPBOARD_NOT_OPEN);
    return FALSE;
}

class PasteSlices : public PasteTest {
protected:
    static void copyText()
    {
        ChildProcess child(L"clip-copy.exe", {L"--text", L"somebody's text"});
        EXPECT_EQ(child.waitForExit(), 0U) << child.output();
    }

    // An application takes the stream of the old list's file, and lets the data object go.
    // @param firstPiece bytes that it reads, which the host delivers
    void keepStream(std::size_t firstPiece = 0)
    {
        ASSERT_TRUE(offer(mOld.record));
        mKeeper.emplace(StreamKeeper::Object::kLetGo, firstPiece);
        if (firstPiece > 0) {
            EXPECT_TRUE(waitUntil([this] { return mOld.requests == 1; }));
            mOld.deliver(oldBytes(kSlice));
        }
        ASSERT_TRUE(mKeeper->waitUntilItHasBegun());
    }

    // Another program copies while the file arrives, and the data object is gone.
    void loseObject()
    {
        mOld.deliver(oldBytes(65536));
        mOld.deliver(oldBytes(700));
        copyText();
        EXPECT_TRUE(waitUntil([this] { return mOld.cancels == 1; }));
        EXPECT_TRUE(RecordingLog::waitForLine(5, "destroy ", 30000));
    }

    // Twice: the second time from the slices alone.
    void expectNewFileIsPasted()
    {
        const auto list = offerNew({{"", "same.bin", newBytes(700000)}});
        EXPECT_EQ(paste(L"first"), kPasteWritten) << mOutput;
        expectPasted(*list, L"first");
        mNewList = list;
    }
    void expectNewFileIsPastedFromItsSlices()
    {
        EXPECT_EQ(paste(L"second"), kPasteWritten) << mOutput;
        expectPasted(*mNewList, L"second");
        EXPECT_EQ(mNewList->requests(), 1);
    }

    void expectNoSliceStaysOpen() const
    {
        std::size_t count = 0;
        for (const auto& slice : std::filesystem::directory_iterator(mFolder.path() + L"\\cache")) {
            EXPECT_TRUE(DeleteFileW(slice.path().c_str())) << slice.path() << " error " << GetLastError();
            ++count;
        }
        EXPECT_GT(count, 0U);
    }

    bool offerPlaceholder(const std::vector<std::string>& names)
    {
        auto record = ClipboardFileDataEx::Create();
        std::vector<ClipfileDescription> files(names.size());
        for (std::size_t i = 0; i < names.size(); ++i)
            files[i].fileName = names[i];
        record->SetFiles(files);
        return mHost.clipboard().SetClipboardData(ClipboardFormat::FileLazy, record);
    }

    SinkList mOld{3 * kSlice};
    std::optional<StreamKeeper> mKeeper;
    std::shared_ptr<GuestList> mNewList;
};

}  // namespace

TEST_F(PasteSlices, AStreamThatOutlivesItsObjectLeavesNoBytesInANewerFile)
{
    ASSERT_NO_FATAL_FAILURE(keepStream());
    loseObject();
    mOld.sink = nullptr;

    expectNewFileIsPasted();
    EXPECT_TRUE(mKeeper->release());
    expectNewFileIsPastedFromItsSlices();
}

TEST_F(PasteSlices, ASinkThatTheHostKeepsLeavesNoBytesInANewerFile)
{
    ASSERT_NO_FATAL_FAILURE(keepStream());
    loseObject();
    EXPECT_TRUE(mKeeper->release());

    expectNewFileIsPasted();
    mOld.deliver(oldBytes(700));
    mOld.sink = nullptr;
    expectNewFileIsPastedFromItsSlices();
}

TEST_F(PasteSlices, AnObjectThatDiesLeavesNoSliceOpen)
{
    ASSERT_NO_FATAL_FAILURE(keepStream());
    loseObject();
    expectNoSliceStaysOpen();
    EXPECT_TRUE(mKeeper->release());
}

TEST_F(PasteSlices, AnObjectThatDiesLeavesNoSliceOpenThatIsBeingRead)
{
    ASSERT_NO_FATAL_FAILURE(keepStream(65536));
    loseObject();
    expectNoSliceStaysOpen();
    EXPECT_TRUE(mKeeper->release());
}

TEST_F(PasteSlices, ASlowApplicationNeverGetsBytesOfANewerListWithTheSameName)
{
    const auto old = offerNew({{"", "same.bin", oldBytes(3 * kSlice)}});
    EXPECT_EQ(paste(L"old"), kPasteWritten) << mOutput;
    expectPasted(*old, L"old");
    StreamKeeper keeper(StreamKeeper::Object::kKept, 65536);
    ASSERT_TRUE(keeper.waitUntilItHasBegun());

    const auto newer = offerNew({{"", "same.bin", newBytes(3 * kSlice)}});
    EXPECT_EQ(paste(L"newer"), kPasteWritten) << mOutput;
    expectPasted(*newer, L"newer");
    keeper.readOn();
    EXPECT_EQ(keeper.waitForReading(), StreamKeeper::describeReading(oldBytes(65536), kReverted));
    EXPECT_TRUE(keeper.release());
}

TEST_F(PasteSlices, ANewerListWithAnotherNameDisturbsNoSlowApplication)
{
    const auto old = offerNew({{"", "same.bin", oldBytes(3 * kSlice)}});
    EXPECT_EQ(paste(L"old"), kPasteWritten) << mOutput;
    StreamKeeper keeper(StreamKeeper::Object::kKept, 65536);
    ASSERT_TRUE(keeper.waitUntilItHasBegun());

    const auto newer = offerNew({{"", "other.bin", newBytes(3 * kSlice)}});
    EXPECT_EQ(paste(L"newer"), kPasteWritten) << mOutput;
    keeper.readOn();
    EXPECT_EQ(keeper.waitForReading(), StreamKeeper::describeReading(oldBytes(3 * kSlice), S_FALSE));
    EXPECT_TRUE(keeper.release());
}

TEST_F(PasteSlices, APlaceholderListThatIsRefusedLateSparesTheStandingList)
{
    const ImportHook<decltype(&EmptyClipboard)> asOnWindows(GetModuleHandleW(L"md-clipboard.dll"), "EmptyClipboard",
                                                            refuseToEmpty);
    const auto list = offerNew({{"", "a.bin", oldBytes(2 * kSlice + 5)}, {"folder", "b.txt", "b"}});
    EXPECT_EQ(paste(L"first"), kPasteWritten) << mOutput;
    EXPECT_TRUE(list->waitForDelivery());

    EXPECT_FALSE(offerPlaceholder({}));
    EXPECT_EQ(RecordingLog::count(7, "No file to copy"), 1);
    EXPECT_EQ(paste(L"second"), kPasteWritten) << mOutput;
    expectPasted(*list, L"second");
    EXPECT_EQ(list->requests(), 1);
}

TEST_F(PasteSlices, APlaceholderListThatFindsTheClipboardHeldSparesTheStandingList)
{
    const ImportHook<decltype(&EmptyClipboard)> asOnWindows(GetModuleHandleW(L"md-clipboard.dll"), "EmptyClipboard",
                                                            refuseToEmpty);
    const auto list = offerNew({{"", "a.bin", oldBytes(2 * kSlice + 5)}, {"folder", "b.txt", "b"}});
    EXPECT_EQ(paste(L"first"), kPasteWritten) << mOutput;
    EXPECT_TRUE(list->waitForDelivery());

    PumpingThread holder;
    HWND window = nullptr;
    holder.run([&window] {
        window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        EXPECT_TRUE(waitUntil([window] { return OpenClipboard(window) != FALSE; }));
    });
    EXPECT_FALSE(offerPlaceholder({"report.txt"}));
    holder.run([window] {
        CloseClipboard();
        DestroyWindow(window);
    });
    EXPECT_TRUE(RecordingLog::hasLine(7, "Failed to add file info to clipboard"));
    EXPECT_EQ(paste(L"second"), kPasteWritten) << mOutput;
    expectPasted(*list, L"second");
    EXPECT_EQ(list->requests(), 1);
}

TEST_F(PasteSlices, APlaceholderListInTheMiddleOfAPasteLetsItEndWholeWhileItsObjectIsHeld)
{
    Delivery delivery;
    delivery.before = [this](std::uint64_t sent) {
        if (sent > 2 * kSlice)
            mGate.pass();
    };
    const std::string bytes = oldBytes(4 * kSlice);
    const auto list = offerNew({{"", "a.bin", bytes}}, delivery);
    StreamKeeper keeper(StreamKeeper::Object::kKept, 65536);
    ASSERT_TRUE(keeper.waitUntilItHasBegun());
    EXPECT_TRUE(mGate.waitForArrival());

    EXPECT_TRUE(offerPlaceholder({"report.txt"}));
    keeper.readOn();
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Wait slice file..", 30000));
    mGate.open();
    EXPECT_EQ(keeper.waitForReading(), StreamKeeper::describeReading(bytes, S_FALSE));
    EXPECT_EQ(list->cancels(), 0);
    EXPECT_TRUE(keeper.release());
}

TEST_F(PasteSlices, APlaceholderListInTheMiddleOfAPasteRevertsAStreamWithoutItsObject)
{
    Delivery delivery;
    delivery.before = [this](std::uint64_t sent) {
        if (sent > 2 * kSlice)
            mGate.pass();
    };
    const auto list = offerNew({{"", "a.bin", oldBytes(4 * kSlice)}}, delivery);
    StreamKeeper keeper(StreamKeeper::Object::kLetGo, 65536);
    ASSERT_TRUE(keeper.waitUntilItHasBegun());
    EXPECT_TRUE(mGate.waitForArrival());

    EXPECT_TRUE(offerPlaceholder({"report.txt"}));
    EXPECT_TRUE(waitUntil([&] { return list->cancels() == 1; }));
    keeper.readOn();
    EXPECT_EQ(keeper.waitForReading(), StreamKeeper::describeReading(oldBytes(65536), kReverted));
    EXPECT_TRUE(keeper.release());
}
