#include <gtest/gtest.h>

#include "engine_access.h"
#include "sd/clip/clipboard_data.h"
#include "support/recording_listener.h"
#include "support/recording_log.h"

using namespace sd::clip;

TEST(ClipboardWriting, OperationsThatAreNotThereYetSaySoAndReportFailure)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    const auto listener = std::make_shared<RecordingListener>();
    engine.SetListener(listener);
    engine.SetFileClipboardSupported(true);

    EXPECT_FALSE(engine.SetClipboardData(ClipboardFormat::File, ClipboardFileData::Create()));
    EXPECT_FALSE(engine.SetClipboardData(ClipboardFormat::FileLazy, nullptr));
    engine.NotifyFileTransferFailed(1);
    engine.NotifyFileLazyRenderingComplete(-1);

    EXPECT_EQ(RecordingLog::messages(6),
              (std::vector<std::string>{"SetClipboardData is not there yet, format:6",
                                        "SetClipboardData is not there yet, format:8",
                                        "NotifyFileTransferFailed is not there yet, fail:1",
                                        "NotifyFileLazyRenderingComplete is not there yet, result:-1"}));
    EXPECT_TRUE(listener->events().empty());
}
