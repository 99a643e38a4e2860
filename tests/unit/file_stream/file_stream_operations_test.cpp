// What an application asks of a stream besides bytes, and the local file that a stream may have.
#include <gtest/gtest.h>

#include "file_utilities/encoding.h"
#include "sample_stream.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

std::uint64_t seek(IStream& stream, LONGLONG move, DWORD origin)
{
    LARGE_INTEGER distance;
    distance.QuadPart = move;
    ULARGE_INTEGER position;
    position.QuadPart = 0xCCCCCCCC;
    EXPECT_EQ(stream.Seek(distance, origin, &position), S_OK);
    return position.QuadPart;
}

class FileStreamOperations : public testing::Test {
protected:
    std::shared_ptr<FakeTransfer> transfer = std::make_shared<FakeTransfer>();
    std::shared_ptr<DetailFileDescription> description = makeDescription("a.bin", 5000000000);
    StreamPointer stream = makeStream(description, transfer);
};

}  // namespace

// ---- What an application asks besides bytes ----

TEST_F(FileStreamOperations, WriteSucceedsAndChangesNothing)
{
    ULONG written = 99;
    EXPECT_EQ(stream->Write("abc", 3, &written), S_OK);
    EXPECT_EQ(written, 99u);
    EXPECT_EQ(stream->Write(nullptr, 3, nullptr), S_OK);
    EXPECT_EQ(statistics(*stream.Get()).cbSize.QuadPart, 5000000000u);
    EXPECT_EQ(transfer->lookUps, 0);
}

TEST_F(FileStreamOperations, EverySeekGivesPositionZero)
{
    for (const DWORD origin : {0u, 1u, 2u, 3u, 77u}) {
        EXPECT_EQ(seek(*stream.Get(), 0, origin), 0u);
        EXPECT_EQ(seek(*stream.Get(), 1000, origin), 0u);
        EXPECT_EQ(seek(*stream.Get(), -1, origin), 0u);
        EXPECT_TRUE(RecordingLog::hasLine(5, "dwOrigin:" + std::to_string(origin)));
    }
}

TEST_F(FileStreamOperations, SeekWithoutAPlaceForThePositionSucceeds)
{
    EXPECT_EQ(stream->Seek({}, STREAM_SEEK_END, nullptr), S_OK);
    TestAccess::seekable(*stream.Get()) = true;
    EXPECT_EQ(stream->Seek({}, STREAM_SEEK_END, nullptr), S_OK);
}

TEST_F(FileStreamOperations, ASeekableStreamAnswersByOrigin)
{
    TestAccess::seekable(*stream.Get()) = true;
    RecordingLog::clear();
    EXPECT_EQ(seek(*stream.Get(), 9, STREAM_SEEK_SET), 0u);
    EXPECT_EQ(seek(*stream.Get(), 9, STREAM_SEEK_CUR), 0u) << "no record yet";
    EXPECT_EQ(seek(*stream.Get(), 9, STREAM_SEEK_END), 5000000000u);
    EXPECT_EQ(RecordingLog::messages(5),
              (Messages{"dwOrigin:0", "seek begin", "dwOrigin:1", "dwOrigin:2", "seek end"}));
}

TEST_F(FileStreamOperations, ASeekableStreamIsWhereTheReaderIs)
{
    TestAccess::seekable(*stream.Get()) = true;
    transfer->addSlice(*description, "hello");
    EXPECT_EQ(readStream(*stream.Get(), 3).bytes, "hel");
    RecordingLog::clear();
    EXPECT_EQ(seek(*stream.Get(), 9, STREAM_SEEK_CUR), 3u);
    EXPECT_EQ(RecordingLog::messages(5), (Messages{"dwOrigin:1", "seek cur:3"}));
}

TEST_F(FileStreamOperations, ASeekableStreamRefusesAnotherOriginAndLeavesThePosition)
{
    TestAccess::seekable(*stream.Get()) = true;
    ULARGE_INTEGER position;
    position.QuadPart = 99;
    EXPECT_EQ(stream->Seek({}, 3, &position), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(position.QuadPart, 99u);
}

TEST_F(FileStreamOperations, ASeekableStreamWithoutAFileEndsAtZero)
{
    const StreamPointer made = makeStream(nullptr, transfer);
    TestAccess::seekable(*made.Get()) = true;
    EXPECT_EQ(seek(*made.Get(), 0, STREAM_SEEK_END), 0u);
}

TEST_F(FileStreamOperations, StatGivesTheWholeSizeBeforeAByteHasCome)
{
    for (const DWORD flags : {STATFLAG_DEFAULT, STATFLAG_NONAME}) {
        const STATSTG found = statistics(*stream.Get(), flags);
        EXPECT_EQ(found.pwcsName, nullptr);
        EXPECT_EQ(found.type, static_cast<DWORD>(STGTY_STREAM));
        EXPECT_EQ(found.cbSize.QuadPart, 5000000000u);
        for (const FILETIME& time : {found.mtime, found.ctime, found.atime})
            EXPECT_EQ(time.dwLowDateTime | time.dwHighDateTime, 0u);
        EXPECT_EQ(found.grfMode | found.grfLocksSupported | found.grfStateBits | found.reserved, 0u);
        EXPECT_TRUE(found.clsid == GUID_NULL);
    }
    EXPECT_EQ(RecordingLog::count(5, "Stat"), 2);
}

TEST_F(FileStreamOperations, StatWithoutAStructureIsRefused)
{
    EXPECT_EQ(stream->Stat(nullptr, STATFLAG_DEFAULT), STG_E_INVALIDFUNCTION);
    EXPECT_EQ(RecordingLog::count(5, "Stat"), 1);
}

TEST_F(FileStreamOperations, TheOtherOperationsAreNotThere)
{
    const ULARGE_INTEGER size = {};
    const Microsoft::WRL::ComPtr<IStream> object = stream;
    EXPECT_EQ(object->SetSize(size), E_NOTIMPL);
    EXPECT_EQ(object->CopyTo(object.Get(), size, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(object->Commit(0), E_NOTIMPL);
    EXPECT_EQ(object->Revert(), E_NOTIMPL);
    EXPECT_EQ(object->LockRegion(size, size, 0), E_NOTIMPL);
    EXPECT_EQ(object->UnlockRegion(size, size, 0), E_NOTIMPL);
    IStream* clone = nullptr;
    EXPECT_EQ(object->Clone(&clone), E_NOTIMPL);
    EXPECT_EQ(clone, nullptr);
}

// ---- The local file ----

TEST_F(FileStreamOperations, WithoutAPathNothingIsOpened)
{
    stream->open();
    EXPECT_EQ(messagesOf("open"), Messages{"Enter"});
    EXPECT_FALSE(TestAccess::localFile(*stream.Get()).is_open());
}

TEST_F(FileStreamOperations, ALocalFileGivesStatItsSizeAndKeepsItsPosition)
{
    TestAccess::filePath(*stream.Get()) = WideToUtf8(transfer->folder().addFile(L"\u00e4\u4e2d.txt",
                                                                                "01\r\n4\x1a"
                                                                                "6"));
    EXPECT_TRUE(stream->SetFile(description, nullptr, nullptr, kFileModeOpenLocal));
    std::ifstream& file = TestAccess::localFile(*stream.Get());
    ASSERT_TRUE(file.is_open());
    file.seekg(2);
    EXPECT_EQ(statistics(*stream.Get()).cbSize.QuadPart, 7u);
    EXPECT_EQ(file.tellg(), std::streampos(2));
    EXPECT_EQ(file.get(), '\r') << "binary";
    stream->close();
    EXPECT_FALSE(file.is_open());
    EXPECT_EQ(statistics(*stream.Get()).cbSize.QuadPart, 5000000000u);
}

TEST_F(FileStreamOperations, AnOpenLocalFileStaysAsItIsUntilSetFileClosesIt)
{
    TestAccess::filePath(*stream.Get()) = WideToUtf8(transfer->folder().addFile(L"a.txt", "0123"));
    stream->open();
    std::ifstream& file = TestAccess::localFile(*stream.Get());
    file.seekg(2);
    stream->open();
    EXPECT_EQ(file.tellg(), std::streampos(2));
    EXPECT_TRUE(stream->SetFile(description, nullptr, nullptr, kFileModeTransfer));
    EXPECT_FALSE(file.is_open());
}

TEST_F(FileStreamOperations, TheLocalFileIsSharedWithOthers)
{
    const std::wstring path = transfer->folder().addFile(L"a.txt", "0123");
    TestAccess::filePath(*stream.Get()) = WideToUtf8(path);
    stream->open();
    const HANDLE writer = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(writer, INVALID_HANDLE_VALUE);
    CloseHandle(writer);
}

TEST_F(FileStreamOperations, TheLastReleaseClosesTheLocalFile)
{
    const std::wstring path = transfer->folder().addFile(L"a.txt", "0123");
    TestAccess::filePath(*stream.Get()) = WideToUtf8(path);
    stream->open();
    stream.Reset();
    const HANDLE alone = CreateFileW(path.c_str(), GENERIC_READ, 0, nullptr, OPEN_EXISTING, 0, nullptr);
    EXPECT_NE(alone, INVALID_HANDLE_VALUE);
    CloseHandle(alone);
}
