// Where slices, files and lists end when a host delivers more than it announced, or a file of several slices.
#include "file_request_fixture.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

constexpr std::size_t kSliceSize = 1048576;

class DeliveredSums : public FileRequestTest {
protected:
    using FileRequestTest::FileRequestTest;

    void expectUnfinished() const
    {
        EXPECT_TRUE(mGuest.eventsOf("endClipboardFile").empty());
        EXPECT_EQ(mRequest->GetRequestFileState(), RequestFileState::kTransfering);
    }
};

class DeliveredSumsOfLargeFiles : public DeliveredSums {
protected:
    DeliveredSumsOfLargeFiles() : DeliveredSums({kSliceSize + 1, kSliceSize, 0}) {}
};

}  // namespace

TEST_F(DeliveredSums, AFileThatIsTooLongStaysInItsSlice)
{
    start();
    mGuest.deliver(0, "0123456789x");
    EXPECT_EQ(record(0)->SliceCount(), 0);
    mGuest.deliver(0, "y");
    EXPECT_EQ(record(0)->SliceCount(), 0);
    EXPECT_EQ(record(0)->ReadySize(), 12);
    expectUnfinished();
}

TEST_F(DeliveredSums, AListIsNotFinishedByMoreThanItsSum)
{
    start();
    mGuest.deliver(0, std::string(31, 'a'));
    mGuest.deliver(2, "");
    EXPECT_EQ(mGuest.eventsOf("transferFinish"), Messages{"readySize/fileSize:0/0"});
    expectUnfinished();
}

TEST_F(DeliveredSumsOfLargeFiles, ASliceThatIsNotTheLastEndsNoFile)
{
    start();
    mGuest.deliver(0, std::string(kSliceSize, 'a'));
    EXPECT_EQ(record(0)->SliceCount(), 1);
    EXPECT_TRUE(mGuest.eventsOf("transferFinish").empty());
    EXPECT_EQ(RecordingLog::count(5, "Download file0 finish."), 0);
    mGuest.deliver(0, "b");
    EXPECT_EQ(mGuest.eventsOf("transferFinish"), Messages{"readySize/fileSize:1048577/1048577"});
    EXPECT_EQ(RecordingLog::count(5, "Download file0 finish."), 1);
    expectUnfinished();
}

TEST_F(DeliveredSumsOfLargeFiles, ASliceThatTakesAFileBeyondItsSizeEndsNoFile)
{
    start();
    mGuest.deliver(1, std::string(kSliceSize + 1, 'a'));
    EXPECT_EQ(record(1)->SliceCount(), 1);
    EXPECT_TRUE(mGuest.eventsOf("transferFinish").empty());
    expectUnfinished();
}
