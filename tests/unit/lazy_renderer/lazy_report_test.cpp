// The host's report that it has brought the files, and who waits for it.
#include <gtest/gtest.h>
#include <windows.h>

#include <thread>

#include "renderer_access.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

using Messages = std::vector<std::string>;

class LazyReport : public testing::Test {
protected:
    LazyReport()
    {
        TestAccess::setCacheDirectory(mRenderer, mFolder.utf8Path() + "\\cache\\");
    }
    ~LazyReport() override
    {
        ClipboardOwner().putNothing();
    }

    void prepare(const std::vector<std::string>& names = {"a.txt"})
    {
        mRecord = makeGuestRecord(names);
        EXPECT_EQ(mRenderer.PrepareFileLazyRendering(mRecord), !names.empty());
        RecordingLog::clear();
    }

    // As a landing does.
    void setTarget()
    {
        ClipfileDescription file;
        file.root = "D:\\dest";
        file.relativePath = "\\sub\\";
        file.fileName = "a.txt";
        const auto target = ClipboardFileData::Create();
        target->SetFiles({file});
        mRecord->SetTargetClipboardData(target);
    }

    void expectDisarmed()
    {
        EXPECT_EQ(TestAccess::armedData(mRenderer), nullptr);
        EXPECT_EQ(TestAccess::suffix(mRenderer), "");
        EXPECT_FALSE(TestAccess::hasPromise(mRenderer));
    }

    TemporaryFolder mFolder;
    FileClipboardLazyRenderer mRenderer;
    std::shared_ptr<ClipboardFileDataExImpl> mRecord;
};

// @return whether the report was refused because there already is one
bool isSecondReport(FileClipboardLazyRenderer& renderer, std::int32_t result)
{
    try {
        renderer.NotifyFileLazyRenderingComplete(result);
        return false;
    } catch (const std::future_error& failure) {
        EXPECT_EQ(failure.code(), std::make_error_code(std::future_errc::promise_already_satisfied));
        return true;
    }
}

}  // namespace

TEST_F(LazyReport, BeforeAnyPreparationThereIsNoPromise)
{
    mRenderer.NotifyFileLazyRenderingComplete(5);
    EXPECT_EQ(RecordingLog::messages(),
              (Messages{"Notify file lazy rendering copy done(5)", "FileLazyRenderingPromise is NULL!"}));
    EXPECT_EQ(RecordingLog::messages(5).size(), 2u);
    expectDisarmed();
}

TEST_F(LazyReport, TheFirstReportIsStoredAndTheSecondRaisesAnError)
{
    prepare();
    const auto done = TestAccess::renderingDone(mRenderer);
    EXPECT_FALSE(isSecondReport(mRenderer, -3));
    EXPECT_EQ(done.get(), -3);
    EXPECT_EQ(RecordingLog::messages(), Messages{"Notify file lazy rendering copy done(-3)"});
    EXPECT_TRUE(isSecondReport(mRenderer, 0));
    EXPECT_EQ(done.get(), -3);
    EXPECT_EQ(RecordingLog::messages(5),
              (Messages{"Notify file lazy rendering copy done(-3)", "Notify file lazy rendering copy done(0)"}));
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);  // a report disarms nothing
}

TEST_F(LazyReport, EachPreparationTakesOneReport)
{
    for (std::int32_t result : {0, 1, INT32_MIN, INT32_MAX}) {
        prepare();
        EXPECT_FALSE(isSecondReport(mRenderer, result));
        EXPECT_EQ(TestAccess::renderingDone(mRenderer).get(), result);
        EXPECT_TRUE(isSecondReport(mRenderer, result));
    }
}

TEST_F(LazyReport, AfterAFailedPreparationItFindsThePromiseOfTheLastSuccessOrNone)
{
    prepare({});
    mRenderer.NotifyFileLazyRenderingComplete(1);
    EXPECT_EQ(RecordingLog::count(5, "FileLazyRenderingPromise is NULL!"), 1);
    prepare();
    const auto done = TestAccess::renderingDone(mRenderer);
    prepare({});
    mRenderer.NotifyFileLazyRenderingComplete(2);
    EXPECT_EQ(RecordingLog::count(5, "FileLazyRenderingPromise is NULL!"), 0);
    EXPECT_EQ(done.get(), 2);
}

// A report names no list: the host's word for the earlier one is taken for the newer one's.
TEST_F(LazyReport, AReportForAReplacedPreparationIsStoredForTheNewOneWhoseOwnIsRefused)
{
    prepare();
    const auto replaced = TestAccess::renderingDone(mRenderer);
    prepare({"b.txt"});
    const auto done = TestAccess::renderingDone(mRenderer);
    ASSERT_EQ(replaced.wait_for(std::chrono::seconds(0)), std::future_status::ready);
    EXPECT_THROW(replaced.get(), std::future_error);
    EXPECT_FALSE(isSecondReport(mRenderer, 7));
    EXPECT_TRUE(isSecondReport(mRenderer, 0));
    EXPECT_EQ(done.get(), 7);
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    EXPECT_NE(TestAccess::suffix(mRenderer), "");
}

TEST_F(LazyReport, AReportDoesNotWaitForALanding)
{
    prepare();
    const auto lock = TestAccess::lock(mRenderer);
    std::async(std::launch::async, [this] { mRenderer.NotifyFileLazyRenderingComplete(0); }).get();
    EXPECT_EQ(TestAccess::renderingDone(mRenderer).get(), 0);
}

TEST_F(LazyReport, ReportsMayComeWhilePreparationsReplaceThePromise)
{
    prepare();
    std::atomic<bool> ends{false};
    std::atomic<int> stored{0};
    std::vector<std::thread> hosts;
    for (int i = 0; i < 2; ++i) {
        hosts.emplace_back([&] {
            while (!ends)
                stored += isSecondReport(mRenderer, 0) ? 0 : 1;
        });
    }
    for (int round = 0; round < 50; ++round)
        EXPECT_TRUE(mRenderer.PrepareFileLazyRendering(makeGuestRecord({"a.txt"})));
    ends = true;
    for (std::thread& host : hosts)
        host.join();
    EXPECT_GE(stored, 1);
    EXPECT_LE(stored, 51);
}

TEST_F(LazyReport, ASuccessEndsTheWaitAndDisarms)
{
    prepare();
    setTarget();
    mRenderer.NotifyFileLazyRenderingComplete(0);
    RecordingLog::clear();
    EXPECT_TRUE(TestAccess::waitComplete(mRenderer));
    EXPECT_EQ(RecordingLog::messages(), Messages{"Lazy rendering file copy done(0) for D:\\dest\\sub\\a.txt"});
    EXPECT_EQ(RecordingLog::messages(5).size(), 1u);
    expectDisarmed();
}

TEST_F(LazyReport, AFailureEndsTheWaitWithFalseAndDisarmsToo)
{
    for (const std::int32_t result : {1, -7}) {
        prepare();
        setTarget();
        mRenderer.NotifyFileLazyRenderingComplete(result);
        EXPECT_FALSE(TestAccess::waitComplete(mRenderer));
        EXPECT_EQ(RecordingLog::count(
                      5, "Lazy rendering file copy done(" + std::to_string(result) + ") for D:\\dest\\sub\\a.txt"),
                  1);
        expectDisarmed();
    }
}

TEST_F(LazyReport, AReportThatComesDuringTheWaitEndsIt)
{
    prepare();
    auto waiting = std::async(std::launch::async, [this] { return TestAccess::waitComplete(mRenderer); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    EXPECT_FALSE(TestAccess::isLocked(mRenderer));  // landings are handled meanwhile
    mRenderer.NotifyFileLazyRenderingComplete(0);
    EXPECT_TRUE(waiting.get());
    expectDisarmed();
}

TEST_F(LazyReport, ARecordWithoutATargetIsWaitedForWithoutAName)
{
    prepare();
    mRenderer.NotifyFileLazyRenderingComplete(0);
    EXPECT_TRUE(TestAccess::waitComplete(mRenderer));
    EXPECT_EQ(RecordingLog::count(5, "Lazy rendering file copy done(0) for "), 1);
}

TEST_F(LazyReport, ATargetWithoutFilesIsWaitedForWithoutAName)
{
    prepare();
    mRecord->SetTargetClipboardData(ClipboardFileData::Create());
    mRenderer.NotifyFileLazyRenderingComplete(0);
    EXPECT_TRUE(TestAccess::waitComplete(mRenderer));
    EXPECT_EQ(RecordingLog::count(5, "Lazy rendering file copy done(0) for "), 1);
}

TEST_F(LazyReport, WithoutAnArmedRecordThereIsNothingToWaitFor)
{
    EXPECT_FALSE(TestAccess::waitComplete(mRenderer));
    prepare();
    prepare({});
    EXPECT_FALSE(TestAccess::waitComplete(mRenderer));
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST_F(LazyReport, AfterTheWaitAReportFindsNoPromiseAndASecondWaitIsFalse)
{
    prepare();
    mRenderer.NotifyFileLazyRenderingComplete(0);
    EXPECT_TRUE(TestAccess::waitComplete(mRenderer));
    RecordingLog::clear();
    EXPECT_FALSE(TestAccess::waitComplete(mRenderer));
    EXPECT_FALSE(isSecondReport(mRenderer, 0));
    EXPECT_EQ(RecordingLog::count(5, "FileLazyRenderingPromise is NULL!"), 1);
}

TEST_F(LazyReport, AWaitForAReplacedPreparationIsFalseAndTheNewOneStaysArmed)
{
    prepare();
    auto waiting = std::async(std::launch::async, [this] { return TestAccess::waitComplete(mRenderer); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    prepare({"b.txt"});
    EXPECT_FALSE(waiting.get());
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    EXPECT_NE(TestAccess::suffix(mRenderer), "");
    EXPECT_FALSE(isSecondReport(mRenderer, 0));
    EXPECT_EQ(RecordingLog::count(5, "FileLazyRenderingPromise is NULL!"), 0);
}

TEST_F(LazyReport, AWaitThatEndsLateDoesNotDisarmANewPreparationOfTheSameRecord)
{
    prepare();
    auto waiting = std::async(std::launch::async, [this] { return TestAccess::waitComplete(mRenderer); });
    EXPECT_EQ(waiting.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    auto lock = TestAccess::lock(mRenderer);
    mRenderer.NotifyFileLazyRenderingComplete(0);
    EXPECT_TRUE(RecordingLog::waitForLine(5, "Lazy rendering file copy done(0) for ", 20000));
    EXPECT_TRUE(mRenderer.PrepareFileLazyRendering(mRecord));
    lock.unlock();
    EXPECT_TRUE(waiting.get());
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    EXPECT_NE(TestAccess::suffix(mRenderer), "");
    EXPECT_TRUE(TestAccess::hasPromise(mRenderer));
}

TEST_F(LazyReport, TwoWhoWaitAreBothTold)
{
    prepare();
    auto first = std::async(std::launch::async, [this] { return TestAccess::waitComplete(mRenderer); });
    auto second = std::async(std::launch::async, [this] { return TestAccess::waitComplete(mRenderer); });
    EXPECT_EQ(first.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    EXPECT_EQ(second.wait_for(std::chrono::milliseconds(100)), std::future_status::timeout);
    mRenderer.NotifyFileLazyRenderingComplete(0);
    EXPECT_TRUE(first.get());
    EXPECT_TRUE(second.get());
    expectDisarmed();
}
