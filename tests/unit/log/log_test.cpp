#include "base/log.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/recording_log.h"

using sd::clip::logBaseName;
using sd::clip::logBaseOffset;

static_assert(std::is_same_v<decltype(&lumoraLogPrint), void (*)(int, int, const char*, const char*, ...)>,
              "somebody else's log.dll is called so");

TEST(Log, ALineHasTheCommonPrefixAndThenItsOwnArguments)
{
    CLIP_LOG(6, "first %d, second %s\n", 7, "eight");
    const int lineOfTheCall = __LINE__ - 1;

    ASSERT_EQ(RecordingLog::lines().size(), 1u);
    const LogLine line = RecordingLog::lines()[0];
    EXPECT_EQ(line.module, 0);
    EXPECT_EQ(line.level, 6);
    EXPECT_EQ(line.tag, "clipboard");
    EXPECT_EQ(line.format, "%s %s(%d): %s:%d %s first %d, second %s\n");
    EXPECT_EQ(line.file, logBaseName(__FILE__));
    EXPECT_EQ(line.function, "TestBody");
    EXPECT_EQ(line.line, lineOfTheCall);
    EXPECT_EQ(line.fileAgain, line.file);
    EXPECT_EQ(line.lineAgain, line.line);
    EXPECT_EQ(line.functionAgain, line.function);
    EXPECT_EQ(line.message, "first 7, second eight\n");
}

TEST(Log, ALineMayHaveNoArgumentsOfItsOwn)
{
    CLIP_LOG(5, "Init end.");
    EXPECT_EQ(RecordingLog::messages(5), std::vector<std::string>{"Init end."});
}

TEST(Log, TheBaseNameIsWhatFollowsTheLastBackslash)
{
    EXPECT_STREQ(logBaseName("C:\\source\\engine\\file.cpp"), "file.cpp");
    EXPECT_STREQ(logBaseName("C:\\source/engine\\sub/file.cpp"), "sub/file.cpp");
    EXPECT_STREQ(logBaseName("ends\\"), "");
}

TEST(Log, TheBaseNameIsFoundWhileCompiling)
{
    static_assert(logBaseOffset("C:\\source\\file.cpp") == 10 && logBaseOffset("source/file.cpp") == 0);
    static_assert(logBaseOffset("") == 0 && logBaseOffset("ends\\") == 5);
}

TEST(Log, APathWithForwardSlashesOnlyIsPrintedWhole)
{
    EXPECT_STREQ(logBaseName("md-clipboard/src/file.cpp"), "md-clipboard/src/file.cpp");
    EXPECT_STREQ(logBaseName("file.cpp"), "file.cpp");
    EXPECT_STREQ(logBaseName(""), "");
}

TEST(Log, ACompileTimePathIsRelativeToTheRepository)
{
#if defined(__GNUC__)
    EXPECT_STREQ(__FILE__, "tests/unit/log/log_test.cpp");
#endif
}
