#include "data_object/transfer_files.h"

#include <gtest/gtest.h>

#include <atomic>
#include <string>
#include <thread>
#include <vector>

#include "sample_transfer.h"

using sd::clip::ClipfileDescription;
using sd::clip::MakeFileKey;
using sd::clip::TestAccess;
using sd::clip::TransferFile;
using sd::clip::TransferFiles;

namespace {

ClipfileDescription describe(const std::string& relativePath, const std::string& fileName)
{
    ClipfileDescription file;
    file.root = "C:\\root";
    file.relativePath = relativePath;
    file.fileName = fileName;
    return file;
}

}  // namespace

TEST(TransferFiles, TheKeyIsRelativePathAndNameWithNothingBetween)
{
    EXPECT_EQ(MakeFileKey(describe("folder", "file.txt")), "folderfile.txt");
    EXPECT_EQ(MakeFileKey(describe("", "file.txt")), "file.txt");
    EXPECT_EQ(MakeFileKey(describe("a", "bc")), MakeFileKey(describe("ab", "c")));
}

TEST(TransferFiles, TheKeyKeepsItsBytesAsTheyAre)
{
    const std::string name("name\0", 5);
    EXPECT_EQ(MakeFileKey(describe("p", name)), "p" + name);
}

TEST(TransferFiles, FindsWhatWasAddedAndNothingElse)
{
    TransferFiles files;
    EXPECT_EQ(files.Find("a"), nullptr);
    TransferFile* const a = files.Add("a", 7);
    TransferFile* const b = files.Add("b", 8);
    EXPECT_EQ(files.Find("a"), a);
    EXPECT_EQ(files.Find("b"), b);
    EXPECT_EQ(files.Find(""), nullptr);
    EXPECT_EQ(files.Find("ab"), nullptr);
    EXPECT_EQ(a->Key(), "a");
    EXPECT_EQ(b->FileSize(), 8);
}

TEST(TransferFiles, FilesWhoseNamesJoinToTheSameTextShareARecord)
{
    TransferFiles files;
    TransferFile* const first = files.Add(MakeFileKey(describe("a", "bc")), 3);
    EXPECT_EQ(files.Find(MakeFileKey(describe("ab", "c"))), first);
}

TEST(TransferFiles, AFileIsFoundByItsDescriptionWhateverItsLength)
{
    TransferFiles files;
    files.Add("another", 1);
    for (const std::size_t length : {0, 1, 260, 1023, 1024, 1025, 5000}) {
        const std::string key = makeBytes(length);
        EXPECT_EQ(files.Find(describe("", key)), nullptr) << length;
        TransferFile* const added = files.Add(key, 2);
        for (const std::size_t pathLength : {std::size_t{0}, length / 3, length})
            EXPECT_EQ(files.Find(describe(key.substr(0, pathLength), key.substr(pathLength))), added) << length;
    }
}

TEST(TransferFiles, TheFirstOfEqualKeysStaysFound)
{
    TransferFiles files;
    TransferFile* const first = files.Add("a", 1);
    TransferFile* const second = files.Add("a", 2);
    EXPECT_NE(first, second);
    EXPECT_EQ(second->FileSize(), 2);
    EXPECT_EQ(files.Find("a"), first);
    EXPECT_EQ(TestAccess::records(files), (std::vector<const TransferFile*>{first, second}));
}

TEST(TransferFiles, KeysThatDifferBehindATerminatorAreDifferent)
{
    TransferFiles files;
    TransferFile* const plain = files.Add("a", 1);
    TransferFile* const terminated = files.Add(std::string("a\0", 2), 1);
    EXPECT_EQ(files.Find("a"), plain);
    EXPECT_EQ(files.Find(std::string("a\0", 2)), terminated);
}

TEST(TransferFiles, RecordsStayWhereTheyAreWhileOthersAreAdded)
{
    TransferFiles files;
    TransferFile* const first = files.Add("0", 0);
    for (int i = 1; i < 5000; ++i)
        files.Add(std::to_string(i), i);
    EXPECT_EQ(files.Find("0"), first);
    EXPECT_EQ(TestAccess::records(files).front(), first);
    for (int i = 0; i < 5000; ++i) {
        const TransferFile* const found = files.Find(std::to_string(i));
        ASSERT_NE(found, nullptr) << i;
        ASSERT_EQ(found->FileSize(), i);
    }
}

TEST(TransferFiles, AReaderMayLookWhileTheWriterAdds)
{
    constexpr int kCount = 2000;
    TransferFiles files;
    std::atomic<int> wrong{0};
    std::thread reader([&] {
        for (int i = 0; i < kCount; ++i) {
            const TransferFile* found = nullptr;
            while ((found = files.Find(std::to_string(i))) == nullptr)
                std::this_thread::yield();
            wrong += found->FileSize() == i ? 0 : 1;
        }
    });
    for (int i = 0; i < kCount; ++i)
        files.Add(std::to_string(i), i);
    reader.join();
    EXPECT_EQ(wrong, 0);
}

TEST(TransferFiles, TheKeysStandInTheOrderOfTheFirstDeliveries)
{
    TransferFiles files;
    EXPECT_TRUE(files.Keys().empty());
    files.Add("b", 1);
    files.Add("a", 1);
    EXPECT_EQ(files.Keys(), (std::vector<std::string>{"b", "a"}));
}

TEST(TransferFiles, FilesOfALaterListTakeTheSlicesOfAnEarlierOnes)
{
    TransferFiles earlier;
    TransferFiles later;
    TransferFile* const newer = later.Add("a", 1);
    TransferFile* const older = earlier.Add("a", 1);
    const SliceFolder folder;
    EXPECT_TRUE(older->OpenSlice(folder.directory() + "a.0"));
    EXPECT_TRUE(newer->OpenSlice(folder.directory() + "a.0"));
    EXPECT_TRUE(older->HasLostSlices());
    EXPECT_FALSE(newer->HasLostSlices());
}

TEST(TransferFiles, AbandonedSlicesAreAllClosed)
{
    TransferFiles files;
    const SliceFolder folder;
    for (const char* const key : {"a", "b"})
        EXPECT_TRUE(files.Add(key, 1)->OpenSlice(folder.directory() + key + ".0"));
    files.AbandonSlices();
    for (const char* const key : {"a", "b"})
        EXPECT_FALSE(files.Find(key)->IsSliceOpen()) << key;
}
