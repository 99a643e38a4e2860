#include "file_utilities/replace_all.h"

#include <gtest/gtest.h>

namespace sd::clip {
namespace {

TEST(ReplaceAll, ReplacesEveryOccurrence)
{
    EXPECT_EQ("a_b_c", ReplaceAll("a/b/c", "/", "_"));
    EXPECT_EQ("__", ReplaceAll("//", "/", "_"));
}

TEST(ReplaceAll, DoesNotSearchAReplacementAgain)
{
    EXPECT_EQ("aaaa", ReplaceAll("aa", "a", "aa"));
}

TEST(ReplaceAll, TextsMayHaveAnyLength)
{
    EXPECT_EQ("bc", ReplaceAll("aabaac", "aa", ""));
    EXPECT_EQ("x--y--", ReplaceAll("xaby"
                                   "ab",
                                   "ab", "--"));
    EXPECT_EQ("ba", ReplaceAll("aaa", "aa", "b"));
}

TEST(ReplaceAll, WhatIsNotFoundChangesNothing)
{
    EXPECT_EQ("abc", ReplaceAll("abc", "/", "_"));
    EXPECT_EQ("", ReplaceAll("", "/", "_"));
}

TEST(ReplaceAll, AnEmptyTextIsFoundNowhere)
{
    EXPECT_EQ("abc", ReplaceAll("abc", "", "_"));
}

}  // namespace
}  // namespace sd::clip
