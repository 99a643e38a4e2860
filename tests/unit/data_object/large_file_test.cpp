// One file of more than 4 GiB, delivered and read at the same time through one data object. Slices are removed behind
// the reader, and the guest waits when it is too far ahead, so that little of the file is on disk at any time.
#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <atomic>
#include <cstring>
#include <memory>
#include <thread>

#include "data_object/slice_path.h"
#include "file_stream/read_heartbeat.h"
#include "guest_list.h"
#include "support/journal.h"
#include "support/recording_log.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

constexpr std::uint64_t kSize = (17ULL << 28) + 12345;  // 4.25 GiB; the end of the file ends no slice of full size
constexpr std::size_t kDelivery = 3 << 19;              // 1.5 MiB, and so is each slice
constexpr ULONG kChunk = 720896;
constexpr std::uint64_t kMostAhead = 64ULL << 20;

// Of a row of bytes, however it is cut, as long as each piece but the last has a multiple of 8 bytes.
class Checksum {
public:
    void add(const char* bytes, std::size_t size)
    {
        std::size_t done = 0;
        for (; size - done >= sizeof(std::uint64_t); done += sizeof(std::uint64_t)) {
            std::uint64_t word = 0;
            std::memcpy(&word, bytes + done, sizeof word);
            mix(word);
        }
        for (; done < size; ++done)
            mix(static_cast<unsigned char>(bytes[done]));
    }
    std::uint64_t value() const
    {
        return mValue;
    }

private:
    void mix(std::uint64_t word)
    {
        mValue = (mValue ^ word) * 0x100000001B3;
    }
    std::uint64_t mValue = 0xCBF29CE484222325;
};

class LargeFile : public testing::Test {
protected:
    LargeFile()
    {
        gLastReadTime = 0;
        gReadState = ReadState::kNeverRead;
        auto* const object = new ClipDataObject;
        object->SetClipboardData(mGuest.record);
        EXPECT_GE(object->DataObjectInit(), 0);
        EXPECT_EQ(object->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(mData.GetAddressOf())), S_OK);
        object->Release();
    }

    void getData(const wchar_t* formatName, DWORD tymed, LONG index, STGMEDIUM& medium)
    {
        const auto number = static_cast<CLIPFORMAT>(RegisterClipboardFormatW(formatName));
        FORMATETC format = {number, nullptr, DVASPECT_CONTENT, index, tymed};
        ASSERT_EQ(mData->GetData(&format, &medium), S_OK);
    }

    // From one buffer, with the number of the delivery at its beginning, so that no two deliveries are alike.
    void deliverAll()
    {
        std::string buffer(kDelivery, '\0');
        for (std::size_t i = 0; i < buffer.size(); ++i)
            buffer[i] = static_cast<char>(i * 2654435761u >> 13);
        std::uint64_t sent = 0;
        for (std::uint64_t number = 0; sent < kSize; ++number) {
            std::memcpy(buffer.data(), &number, sizeof number);
            const auto size = static_cast<std::size_t>(std::min<std::uint64_t>(kSize - sent, kDelivery));
            mGuest.sink(mGuest.files[0], reinterpret_cast<unsigned char*>(buffer.data()), size);
            mSent.add(buffer.data(), size);
            sent += size;
            while (sent > mRead + kMostAhead && !mEnds)
                std::this_thread::sleep_for(std::chrono::milliseconds(1));
        }
    }

    void readAll(IStream& stream)
    {
        std::string buffer(kChunk, '\0');
        for (int slice = 0;;) {
            ULONG count = 0;
            const HRESULT result = stream.Read(buffer.data(), kChunk, &count);
            if (count == 0 || FAILED(result))
                return;
            mReceived.add(buffer.data(), count);
            mRead += count;
            while (mRead >= static_cast<std::uint64_t>(slice + 1) * kDelivery)
                removeSlice(slice++);
        }
    }

    // Also what is recorded, since every read and delivery is logged.
    void removeSlice(int index) const
    {
        const std::string path = MakeSlicePath(ClipboardImpl::GetCacheDirectory(), mGuest.files[0].fileName, index);
        EXPECT_TRUE(DeleteFileA(path.c_str())) << path << " error " << GetLastError();
        RecordingLog::clear();
        Journal::shared().clear();
    }

    GuestList mGuest{{kSize}};
    ComPtr<IDataObject> mData;
    Checksum mSent;
    Checksum mReceived;
    std::atomic<std::uint64_t> mRead{0};
    std::atomic<bool> mEnds{false};  // nobody reads any more
};

}  // namespace

TEST_F(LargeFile, MoreThanFourGibibytesArriveWhole)
{
    STGMEDIUM descriptor = {};
    getData(L"FileGroupDescriptorW", TYMED_HGLOBAL, -1, descriptor);
    const auto* const group = static_cast<const FILEGROUPDESCRIPTORW*>(GlobalLock(descriptor.hGlobal));
    ASSERT_EQ(group->cItems, 1u);
    EXPECT_EQ(group->fgd[0].nFileSizeHigh, 1u);
    EXPECT_EQ(group->fgd[0].nFileSizeLow, static_cast<DWORD>(kSize));
    GlobalUnlock(descriptor.hGlobal);
    ReleaseStgMedium(&descriptor);

    STGMEDIUM contents = {};
    getData(L"FileContents", TYMED_ISTREAM, 0, contents);
    STATSTG statistics;
    EXPECT_EQ(contents.pstm->Stat(&statistics, STATFLAG_NONAME), S_OK);
    EXPECT_EQ(statistics.cbSize.QuadPart, kSize);

    std::thread guest([this] { deliverAll(); });
    readAll(*contents.pstm);
    mEnds = true;
    guest.join();
    ReleaseStgMedium(&contents);
    EXPECT_EQ(mRead, kSize);
    EXPECT_EQ(mReceived.value(), mSent.value());
    EXPECT_EQ(mGuest.eventsOf("endClipboardFile").size(), 1u);
    EXPECT_EQ(mGuest.listener->events().back().number, static_cast<std::int64_t>(kSize));
    EXPECT_TRUE(mGuest.cancelled.empty());
}
