#include "file_utilities/common_root.h"

#include <gtest/gtest.h>

namespace sd::clip {
namespace {

const std::string kUntouched = "untouched";

struct Answer {
    int result = 0;
    std::string root = kUntouched;
};

Answer findRoot(const std::vector<std::string>& paths)
{
    Answer answer;
    answer.result = FindCommonRoot(paths, answer.root);
    return answer;
}

void expectRoot(const std::vector<std::string>& paths, const std::string& root)
{
    const Answer answer = findRoot(paths);
    EXPECT_EQ(0, answer.result);
    EXPECT_EQ(root, answer.root);
}

void expectRefused(const std::vector<std::string>& paths)
{
    const Answer answer = findRoot(paths);
    EXPECT_EQ(-1, answer.result);
    EXPECT_EQ(kUntouched, answer.root);
}

TEST(FindCommonRoot, AnEmptySelectionIsRefused)
{
    expectRefused({});
}

TEST(FindCommonRoot, AnEmptyFirstPathIsRefused)
{
    expectRefused({""});
    expectRefused({"", "C:\\dir\\a.txt"});
}

TEST(FindCommonRoot, AnEmptyLaterPathIsRefusedAsTheBeginningOfAll)
{
    expectRefused({"C:\\dir\\a.txt", ""});
}

TEST(FindCommonRoot, OneFileHasItsDirectory)
{
    expectRoot({"C:\\dir\\a.txt"}, "C:\\dir");
    expectRoot({"C:\\a.txt"}, "C:");
    expectRoot({"\\\\server\\share\\a.txt"}, "\\\\server\\share");
}

TEST(FindCommonRoot, TrailingBackslashesOfAPathDoNotCount)
{
    expectRoot({"C:\\dir\\sub\\"}, "C:\\dir");
    expectRoot({"C:\\dir\\sub\\\\\\"}, "C:\\dir");
    expectRoot({"C:\\dir\\\\sub"}, "C:\\dir");
}

TEST(FindCommonRoot, APathWithoutABackslashBeforeItsEndHasAnEmptyRoot)
{
    expectRoot({"C:\\"}, "");
    expectRoot({"a.txt"}, "");
    expectRoot({"\\a.txt"}, "");
    expectRoot({"\\\\"}, "");
}

TEST(FindCommonRoot, FilesOfOneDirectoryHaveThatDirectory)
{
    expectRoot({"C:\\dir\\a.txt", "C:\\dir\\b.txt", "C:\\dir\\c"}, "C:\\dir");
}

TEST(FindCommonRoot, NamesThatBeginAlikeAreCutAtTheFirstPathsParent)
{
    expectRoot({"C:\\dir\\report1.txt", "C:\\dir\\report2.txt"}, "C:\\dir");
}

TEST(FindCommonRoot, DifferentParentsLeaveTheCommonTextUncut)
{
    expectRoot({"C:\\dir\\sub\\x.txt", "C:\\dir\\sur\\y.txt"}, "C:\\dir\\su");
    expectRoot({"C:\\dir\\one\\x.txt", "C:\\dir\\two\\y.txt"}, "C:\\dir");
}

TEST(FindCommonRoot, OnlyTheFirstPathTellsWhereToCut)
{
    expectRoot({"C:\\a.txt", "C:\\dir\\sub\\b.txt"}, "C:");
    expectRoot({"C:\\dir\\sub\\b.txt", "C:\\dir\\c.txt"}, "C:\\dir");
}

TEST(FindCommonRoot, SeveralDrivesHaveAnEmptyRoot)
{
    expectRoot({"C:\\a\\f", "D:\\b\\g"}, "");
}

TEST(FindCommonRoot, ADirectoryBesideItsOwnFileIsRefusedInEitherOrder)
{
    expectRefused({"C:\\dir", "C:\\dir\\a.txt"});
    expectRefused({"C:\\dir\\a.txt", "C:\\dir"});
    expectRefused({"C:\\dir\\a.txt", "C:\\dir", "C:\\dir\\b.txt"});
}

TEST(FindCommonRoot, TheSamePathTwiceIsRefused)
{
    expectRefused({"C:\\dir\\a.txt", "C:\\dir\\a.txt"});
}

TEST(FindCommonRoot, ANameThatBeginsAnotherIsRefused)
{
    expectRefused({"C:\\dir\\a", "C:\\dir\\a.txt"});
}

TEST(FindCommonRoot, ANameThatBeginsOnlySomeOfTheOthersIsAccepted)
{
    expectRoot({"C:\\dir\\a", "C:\\dir\\a.txt", "C:\\dir\\b.txt"}, "C:\\dir");
}

TEST(FindCommonRoot, CaseCounts)
{
    expectRoot({"C:\\dir\\a.txt", "c:\\dir\\b.txt"}, "");
    expectRoot({"C:\\Dir\\a.txt", "C:\\dir\\b.txt"}, "C:");
}

TEST(FindCommonRoot, BytesAreComparedNotCharacters)
{
    // The two names share the first of their two bytes.
    expectRoot({"C:\\x\xC3\xA4\\f", "C:\\x\xC3\xB6\\f"}, "C:\\x\xC3");
}

}  // namespace
}  // namespace sd::clip
