// The names of a guest's list as another program gets them: folders, scripts of every kind, thousands of files.
#include <algorithm>

#include "guest_paste.h"

namespace {

class PasteNames : public PasteTest {
protected:
    void expectWhole(const std::vector<GuestFile>& files)
    {
        const auto list = offerNew(files);
        EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
        expectPasted(*list, L"target");
        EXPECT_EQ(list->cancels(), 0);
    }
};

GuestFile makeFolder(const std::string& relativePath, const std::string& name)
{
    return {relativePath, name, "", true};
}

}  // namespace

TEST_F(PasteNames, FoldersAndWhatIsInThem)
{
    expectWhole({
        makeFolder("", "folder"),
        {"folder", "a.txt", "a"},
        makeFolder("folder", "deeper"),
        {"folder\\deeper", "b.txt", "b"},
        makeFolder("folder\\deeper", "empty"),
        makeFolder("", "also empty"),
        {"", "c.txt", "c"},
    });
}

TEST_F(PasteNames, FoldersThatTheListDoesNotName)
{
    expectWhole({{"x\\y\\z", "a.txt", "a"}, {"x", "b.txt", "b"}});
}

TEST_F(PasteNames, AFolderIsNoFileToWaitFor)
{
    const auto list = offerNew({makeFolder("", "folder"), {"folder", "a.txt", "a"}});
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    EXPECT_EQ(countEvents("transferFinish"), 1U);
    EXPECT_EQ(countEvents("endClipboardFile"), 1U);
}

TEST_F(PasteNames, EmptyFilesFirstLastAndAlone)
{
    expectWhole({{"", "first", ""}, {"", "a.txt", "a"}, {"", "between", ""}, {"", "b.txt", "b"}, {"", "last", ""}});
    const auto list = offerNew({{"", "alone", ""}});
    EXPECT_EQ(paste(L"alone"), kPasteWritten) << mOutput;
    expectPasted(*list, L"alone");
}

TEST_F(PasteNames, ScriptsOfEveryKind)
{
    expectWhole({
        {"",
         "gr\xC3\xBC\xC3\x9F"
         "e.txt",
         "umlauts"},
        {"\xE6\x97\xA5\xE6\x9C\xAC", "\xE8\xAA\x9E.txt", "three bytes to a character"},
        {"\xD0\xBF\xD0\xB0\xD0\xBF\xD0\xBA\xD0\xB0", "\xF0\x9F\x98\x80.txt", "beyond 16 bits"},
        {"", "e\xCC\x81.txt", "a combining accent"},
        {"", "\xC3\xA9.txt", "the same, composed"},
        {"", " leading and inner  spaces", "spaces"},
        {"", "100% [a] {b} 'c' #d &e", "signs"},
        {"", "\xD7\xA9\xD7\x9C\xD7\x95\xD7\x9D.txt", "right to left"},
    });
}

TEST_F(PasteNames, ANameAsLongAsTheListCanHold)
{
    // 259 units: the entry of the list has room for one more, the terminator
    expectWhole({{std::string(99, 'd') + "\\" + std::string(99, 'e'), std::string(59, 'f'), "long"}});
}

TEST_F(PasteNames, TheListIsShownAsItWasOffered)
{
    const auto list = offerNew({makeFolder("", "folder"), {"folder", "\xE8\xAA\x9E.txt", "abc"}, {"", "empty", ""}});
    ChildProcess child(L"clip-paste.exe", {L"--list"});
    EXPECT_EQ(child.waitForExit(), kPasteWritten);
    EXPECT_EQ(child.output(), "directory\tfolder\n3\tfolder\\\xE8\xAA\x9E.txt\n0\tempty\n");
    EXPECT_EQ(list->requests(), 0);
}
