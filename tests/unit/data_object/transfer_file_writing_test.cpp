// The writer's half of a TransferFile.
#include <gtest/gtest.h>

#include <cctype>
#include <vector>

#include "file_stream/transfer_file.h"
#include "sample_transfer.h"
#include "support/recording_log.h"

#ifdef _WIN32
#include <io.h>

#include "support/import_hook.h"
#endif

using sd::clip::MakeSlicePath;
using sd::clip::TestAccess;
using sd::clip::TransferFile;

TEST(TransferFileWriting, ANewRecordIsEmpty)
{
    TransferFile file("key", 17);
    EXPECT_EQ(file.Key(), "key");
    EXPECT_EQ(file.FileSize(), 17);
    EXPECT_TRUE(TestAccess::slices(file).empty());
    EXPECT_EQ(file.ReadySize(), 0);
    EXPECT_EQ(file.SliceCount(), 0);
    EXPECT_EQ(TestAccess::sliceReader(file), nullptr);
    EXPECT_EQ(file.CopiedSize(), 0);
    EXPECT_EQ(TestAccess::readSliceIndex(file), 0);
    EXPECT_EQ(TestAccess::currentSlice(file), "");
    ASSERT_NE(TestAccess::sliceWriter(file), nullptr);
    EXPECT_FALSE(file.IsSliceOpen());
}

TEST(TransferFileWriting, FieldsStandInTheirOrder)
{
    const TransferFile file("key", 0);
    const std::vector<const void*> fields = TestAccess::fields(file);
    for (std::size_t i = 1; i < fields.size(); ++i)
        EXPECT_LT(fields[i - 1], fields[i]) << "field " << i;
}

TEST(TransferFileWriting, DeliveriesGoToTheOpenSliceOneAfterTheOther)
{
    SampleTransfer transfer(1000);
    const std::string path = transfer.nextPath();
    EXPECT_TRUE(transfer.file.OpenSlice(path));
    transfer.write("first,");
    EXPECT_EQ(transfer.file.Position(), 6);
    transfer.write("second");
    EXPECT_EQ(transfer.file.Position(), 12);
    EXPECT_EQ(transfer.file.ReadySize(), 12);
    EXPECT_EQ(transfer.file.SliceCount(), 0);
    EXPECT_TRUE(TestAccess::slices(transfer.file).empty());

    transfer.finishSlice();
    EXPECT_FALSE(transfer.file.IsSliceOpen());
    EXPECT_EQ(transfer.file.SliceCount(), 1);
    EXPECT_EQ(TestAccess::slices(transfer.file), std::vector<std::string>{path});
    EXPECT_EQ(readWholeFile(path), "first,second");
}

TEST(TransferFileWriting, OneStreamServesEverySlice)
{
    SampleTransfer transfer(1000);
    const std::ofstream* const writer = TestAccess::sliceWriter(transfer.file).get();
    transfer.addSlice("one");
    transfer.addSlice("two");
    EXPECT_EQ(TestAccess::sliceWriter(transfer.file).get(), writer);
    ASSERT_EQ(TestAccess::slices(transfer.file).size(), 2u);
    EXPECT_EQ(readWholeFile(TestAccess::slices(transfer.file)[0]), "one");
    EXPECT_EQ(readWholeFile(TestAccess::slices(transfer.file)[1]), "two");
    EXPECT_EQ(transfer.file.ReadySize(), 6);
}

TEST(TransferFileWriting, BytesOfEveryValueArriveUnchanged)
{
    // Line ends and the end-of-file mark are what a text mode would change.
    const std::string bytes = makeBytes(100000) + "\n\r\n\x1a\x1a." + makeBytes(100000);
    SampleTransfer transfer(static_cast<std::int64_t>(bytes.size()));
    transfer.deliver(bytes);
    EXPECT_TRUE(readWholeFile(TestAccess::slices(transfer.file).at(0)) == bytes);
}

TEST(TransferFileWriting, AnEmptyFileGetsAnEmptySlice)
{
    SampleTransfer transfer(0);
    transfer.deliver("");
    ASSERT_EQ(transfer.file.SliceCount(), 1);
    EXPECT_TRUE(std::filesystem::exists(TestAccess::slices(transfer.file).at(0)));
    EXPECT_EQ(std::filesystem::file_size(TestAccess::slices(transfer.file).at(0)), 0u);
}

TEST(TransferFileWriting, NullDataOfNoBytesIsWrittenAsNothing)
{
    SampleTransfer transfer(0);
    transfer.file.OpenSlice(transfer.nextPath());
    transfer.file.Write(nullptr, 0);
    EXPECT_EQ(transfer.file.ReadySize(), 0);
    EXPECT_EQ(transfer.file.Position(), 0);
}

TEST(TransferFileWriting, ADeliveryIsNeverSplit)
{
    SampleTransfer transfer(5000000);
    const std::string bytes = makeBytes(5000000);
    transfer.deliver(bytes);
    ASSERT_EQ(transfer.file.SliceCount(), 1);
    EXPECT_EQ(readWholeFile(TestAccess::slices(transfer.file)[0]), bytes);
}

TEST(TransferFileWriting, ALaterTransferWritesOverTheSlicesOfAnEarlierOne)
{
    SampleTransfer transfer(3);
    const std::string path = transfer.nextPath();
    std::ofstream(path, std::ios::binary) << "left from another list";
    transfer.deliver("new");
    EXPECT_EQ(readWholeFile(path), "new");
}

TEST(TransferFileWriting, OthersMayHaveTheSliceOpenWhileItIsWritten)
{
    SampleTransfer transfer(1000);
    const std::string path = transfer.nextPath();
    std::ofstream(path, std::ios::binary) << "old";
    std::ifstream reader(path, std::ios::binary);
    std::fstream writer(path, std::ios::binary | std::ios::in | std::ios::out);
    ASSERT_TRUE(reader.is_open() && writer.is_open());
    EXPECT_TRUE(transfer.file.OpenSlice(path));
    EXPECT_TRUE(std::fstream(path, std::ios::binary | std::ios::in | std::ios::out).is_open());
}

TEST(TransferFileWriting, AFailedOpenStopsNothingAndTheSumsGoOn)
{
    SampleTransfer transfer(1000);
    const std::string missing = transfer.nextPath() + ".no-such-folder/slice";
    EXPECT_FALSE(transfer.file.OpenSlice(missing));
    const unsigned char data[10] = {};
    transfer.file.Write(data, sizeof data);
    EXPECT_EQ(transfer.file.ReadySize(), 10);
    EXPECT_LT(transfer.file.Position(), 0);
    transfer.file.CloseSlice(missing);
    EXPECT_EQ(transfer.file.SliceCount(), 1);
    EXPECT_EQ(TestAccess::slices(transfer.file), std::vector<std::string>{missing});
}

TEST(TransferFileWriting, AnOpenAfterAFailedOneSucceeds)
{
    SampleTransfer transfer(1000);
    EXPECT_FALSE(transfer.file.OpenSlice(transfer.nextPath() + ".no-such-folder/slice"));
    transfer.write("kept");
    EXPECT_EQ(transfer.file.Position(), 4);
    transfer.finishSlice();
    EXPECT_EQ(readWholeFile(TestAccess::slices(transfer.file).at(0)), "kept");
}

// A stream that kept some of it would write it when it is closed, and the slice may be a newer list's by then.
TEST(TransferFileWriting, ADeliveryStandsInTheSliceWhenItIsTaken)
{
    SampleTransfer transfer(1000);
    const std::string path = transfer.nextPath();
    transfer.write("first,");
    EXPECT_EQ(readWholeFile(path), "first,");
    transfer.write("second");
    EXPECT_EQ(readWholeFile(path), "first,second");
}

TEST(TransferFileWriting, AnAbandonedSliceIsClosedAndNoReaderGetsIt)
{
    SampleTransfer transfer(1000);
    transfer.file.AbandonSlice();
    transfer.write("first,");
    transfer.file.AbandonSlice();
    EXPECT_FALSE(transfer.file.IsSliceOpen());
    EXPECT_EQ(transfer.file.SliceCount(), 0);
    EXPECT_TRUE(TestAccess::slices(transfer.file).empty());
}

// ---- Slices that the disk does not take ----

// Its name may be that of a slice of an earlier list, which somebody keeps from being written.
TEST(TransferFileWriting, ASliceThatWasNeverOpenedIsReadAsMissing)
{
    SampleTransfer transfer(12);
    const std::string path = transfer.nextPath();
    std::ofstream(path, std::ios::binary) << "another file";
    transfer.file.Write(reinterpret_cast<const unsigned char*>("bytes"), 5);
    transfer.file.CloseSlice(path);
    transfer.addSlice("more of it");
    EXPECT_EQ(transfer.read(12).bytes, "");
    EXPECT_EQ(transfer.read(12).bytes, "more of it");
}

#ifdef _WIN32
namespace {

bool gDiskIsFull = false;
decltype(&_write) gRealWrite = nullptr;

int __cdecl writeUnlessFull(int file, const void* bytes, unsigned int size)
{
    return gDiskIsFull ? -1 : gRealWrite(file, bytes, size);
}

}  // namespace

// The stream would write them at its end, when the slice may be a newer list's.
TEST(TransferFileWriting, BytesThatTheDiskRefusedAreNotWrittenLater)
{
    const ImportHook<decltype(&_write)> hook(nullptr, "_write", &writeUnlessFull);
    gRealWrite = hook.real();
    SampleTransfer transfer(1000);
    const std::string path = transfer.nextPath();
    transfer.write("first,");
    gDiskIsFull = true;
    transfer.write("second,");
    EXPECT_EQ(transfer.file.Position(), -1);
    gDiskIsFull = false;
    EXPECT_FALSE(transfer.file.NeedsOpening());
    transfer.file.Write(reinterpret_cast<const unsigned char*>("third"), 5);
    transfer.file.AbandonSlice();
    EXPECT_EQ(readWholeFile(path), "first,");
    EXPECT_EQ(transfer.file.ReadySize(), 18);
    transfer.file.CloseSlice(path);
    EXPECT_TRUE(transfer.file.NeedsOpening());
}
#endif

// ---- Two lists with a file of one name ----

namespace {

// The file of two lists, in one cache directory.
struct TwoLists {
    TransferFile older{"key", 200000};
    TransferFile newer{"key", 5};
    SliceFolder folder;
    const std::string path = MakeSlicePath(folder.directory(), "key", 0);

    static void write(TransferFile& file, const std::string& slicePath, const std::string& bytes)
    {
        file.OpenSlice(slicePath);
        file.Write(reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size());
    }
};

}  // namespace

TEST(TransferFileWriting, TheNewerListOfOneNameHasItsSlicesToItself)
{
    TwoLists lists;
    TwoLists::write(lists.older, lists.path, "older,");
    EXPECT_FALSE(lists.older.HasLostSlices());
    TwoLists::write(lists.newer, lists.path, "newer");
    EXPECT_TRUE(lists.older.HasLostSlices());
    EXPECT_FALSE(lists.newer.HasLostSlices());

    TwoLists::write(lists.older, lists.path, "older.");
    EXPECT_FALSE(lists.older.IsSliceOpen());
    EXPECT_EQ(lists.older.ReadySize(), 12);
    lists.older.CloseSlice(lists.path);
    EXPECT_FALSE(lists.older.OpenSlice(MakeSlicePath(lists.folder.directory(), "key", 1)));
    lists.newer.CloseSlice(lists.path);
    EXPECT_EQ(readWholeFile(lists.path), "newer");
}

TEST(TransferFileWriting, AnOlderListThatComesLateWritesNothing)
{
    TwoLists lists;
    TwoLists::write(lists.newer, lists.path, "newer");
    TwoLists::write(lists.older, lists.path, "older,");
    EXPECT_TRUE(lists.older.HasLostSlices());
    EXPECT_EQ(lists.older.Position(), -1);
    EXPECT_EQ(readWholeFile(lists.path), "newer");
}

// The newer list empties the slice that the older list's reader is in. Its next slice does not come.
TEST(TransferFileWriting, AReaderWhoseSliceANewerListEmptiesWaitsForNoOther)
{
    TwoLists lists;
    TwoLists::write(lists.older, lists.path, makeBytes(100000));
    lists.older.CloseSlice(lists.path);
    std::string buffer(65536, '\0');
    std::uint32_t count = 0;
    ASSERT_TRUE(lists.older.Read(buffer.data(), 65536, &count));
    lists.newer.OpenSlice(lists.path);
    RecordingLog::clear();
    EXPECT_TRUE(lists.older.Read(buffer.data(), 65536, &count));
    EXPECT_EQ(count, 0u);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Wait slice file.."));
}

TEST(TransferFileWriting, ListsOfOneNameInTwoFoldersDoNotMeet)
{
    TwoLists lists;
    const SliceFolder other;
    const std::string path = MakeSlicePath(other.directory(), "key", 0);
    TwoLists::write(lists.older, lists.path, "older,");
    TwoLists::write(lists.newer, path, "newer");
    EXPECT_FALSE(lists.older.HasLostSlices());
    EXPECT_EQ(readWholeFile(lists.path), "older,");
    EXPECT_EQ(readWholeFile(path), "newer");
}

#ifdef _WIN32
TEST(TransferFileWriting, AFolderInAnotherSpellingIsTheSameFolder)
{
    TwoLists lists;
    std::string path = lists.path;
    for (char& unit : path)
        unit = unit == '/' ? '\\' : static_cast<char>(std::toupper(static_cast<unsigned char>(unit)));
    TwoLists::write(lists.older, lists.path, "older,");
    TwoLists::write(lists.newer, path, "newer");
    EXPECT_TRUE(lists.older.HasLostSlices());
}
#endif
