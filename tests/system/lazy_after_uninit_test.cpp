// The watchers of the drives run as long as the process. A program of its own: reports end with UnInit for good.
#include "lazy_test.h"
#include "support/recording_log.h"

TEST_F(LazyTest, AListThatWasOfferedLandsAfterUnInitToo)
{
    const auto list = arm();
    mHost.clipboard().UnInit();
    EXPECT_FALSE(RecordingLog::hasLine(5, "Remove clipboard listener failed"));
    landIn(mFolder.path());
    expectLanded(*list, 1, mFolder.path());
    landIn(mOther.path());
    expectLanded(*list, 2, mOther.path());
}
