#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"

#include <gtest/gtest.h>

#include "support/recording_log.h"

using sd::clip::FileClipboardLazyRenderer;

TEST(FileClipboardLazyRenderer, TheModeIsOffAtFirstAndTakesEachValue)
{
    FileClipboardLazyRenderer renderer;
    EXPECT_FALSE(renderer.GetSupportFileClipboardFullPostProcessMode());
    renderer.SetSupportFileClipboardFullPostProcessMode(true);
    EXPECT_TRUE(renderer.GetSupportFileClipboardFullPostProcessMode());
    renderer.SetSupportFileClipboardFullPostProcessMode(false);
    EXPECT_FALSE(renderer.GetSupportFileClipboardFullPostProcessMode());
    EXPECT_EQ(RecordingLog::messages(5),
              (std::vector<std::string>{"Set support file clipboard full post process mode to 1",
                                        "Set support file clipboard full post process mode to 0"}));
}

TEST(FileClipboardLazyRenderer, NoCopyIsItsOwnWhileNothingIsPublished)
{
    FileClipboardLazyRenderer renderer;
    EXPECT_FALSE(renderer.ConsumeCopy());
    EXPECT_FALSE(renderer.ConsumeCopy());
}
