// The host's reports for a list that another has replaced. A report names no list.
#include <future>

#include "live_transfer.h"

using namespace sd::clip;

namespace {

constexpr char kNothingTransfers[] = "clipboard file request is not transfering";

class LateReport : public LiveTransfer {
protected:
    void offerNewer()
    {
        mGuest.record->SetTransferredSize(0);
        mGuest.cancelled.clear();
        offer();
        mNewer = TestAccess::notedObject(*mEngine);
    }

    // The earlier list died with its transfer: another program's copy took its place.
    void replaceADeadTransfer()
    {
        offer();
        ASSERT_EQ(paste(), S_OK);
        deliver(0, "01234");
        ClipboardOwner().putText(L"the user's");
        ASSERT_TRUE(waitForDestruction());
        EXPECT_EQ(mGuest.cancelled.size(), 1u);
        offerNewer();
    }

    // The earlier list has been pasted whole.
    void replaceAFinishedTransfer()
    {
        offer();
        ASSERT_EQ(paste(), S_OK);
        deliver(0, "0123456789");
        deliver(1, std::string(20, 'b'));
        offerNewer();
    }

    void reportFromTheDeliveryThread()
    {
        mDelivery.run([this] { reportFailure(); });
    }

    void expectNewerUntouched()
    {
        EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 0);
        EXPECT_EQ(Journal::shared().find("emptied"), -1);
        EXPECT_EQ(TestAccess::notedObject(*mEngine), mNewer);
        EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
        EXPECT_TRUE(isListOnClipboard());
        EXPECT_TRUE(mGuest.cancelled.empty());
    }

    void expectNewerWorks()
    {
        ASSERT_NE(TestAccess::notedObject(*mEngine), nullptr);
        ASSERT_EQ(paste(), S_OK);
        deliver(0, "0123456789");
        EXPECT_EQ(read(10).bytes, "0123456789");
    }

    static bool isListOnClipboard()
    {
        return IsClipboardFormatAvailable(RegisterClipboardFormatW(L"FileContents")) != FALSE;
    }

    // A list for a placeholder.
    bool prepare()
    {
        const auto record = std::make_shared<ClipboardFileDataExImpl>();
        record->SetFiles({GuestList::makeFile("a.txt", 1)});
        record->SetFileLazyRenderingCallback([](const std::shared_ptr<ClipboardFileDataEx>&) { return 0; });
        return mEngine->SetClipboardData(ClipboardFormat::FileLazy, record);
    }

    bool isLazyReportRefused(std::int32_t result)
    {
        try {
            mEngine->NotifyFileLazyRenderingComplete(result);
            return false;
        } catch (const std::future_error& failure) {
            EXPECT_EQ(failure.code(), std::make_error_code(std::future_errc::promise_already_satisfied));
            return true;
        }
    }

    const ClipDataObject* mNewer = nullptr;
};

}  // namespace

// ---- A failure ----

TEST_F(LateReport, AFailureOfADeadListEndsNothingOfTheNewerOne)
{
    ASSERT_NO_FATAL_FAILURE(replaceADeadTransfer());
    reportFromTheDeliveryThread();
    EXPECT_EQ(RecordingLog::count(6, kNothingTransfers), 1);
    expectNewerUntouched();
    expectNewerWorks();
}

TEST_F(LateReport, AFailureOfAFinishedListEndsNothingOfTheNewerOne)
{
    ASSERT_NO_FATAL_FAILURE(replaceAFinishedTransfer());
    reportFromTheDeliveryThread();
    EXPECT_EQ(RecordingLog::count(6, kNothingTransfers), 1);
    expectNewerUntouched();
    expectNewerWorks();
}

TEST_F(LateReport, AFailureEndsTheNewerListOnceThatOneTransfers)
{
    ASSERT_NO_FATAL_FAILURE(replaceAFinishedTransfer());
    ASSERT_EQ(paste(), S_OK);
    reportFromTheDeliveryThread();
    EXPECT_EQ(RecordingLog::count(6, kNothingTransfers), 0);
    EXPECT_EQ(RecordingLog::count(5, "Cancel file stream wait."), 1);
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_EQ(TestAccess::clipData(*mEngine), nullptr);
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_EQ(read(1).result, STG_E_REVERTED);
    EXPECT_FALSE(isListOnClipboard());
}

// ---- A placeholder's files ----

TEST_F(LateReport, AReportForAnEarlierPlaceholderIsTakenForTheNewerOneWhoseOwnIsRefused)
{
    ASSERT_TRUE(prepare());
    ASSERT_TRUE(prepare());
    EXPECT_FALSE(isLazyReportRefused(0));
    EXPECT_TRUE(isLazyReportRefused(0));
    ASSERT_TRUE(prepare());
    EXPECT_FALSE(isLazyReportRefused(1));
}

TEST_F(LateReport, AReportForAPlaceholderLeavesAStreamedListThatReplacedItAlone)
{
    ASSERT_TRUE(prepare());
    offerNewer();
    EXPECT_FALSE(isLazyReportRefused(1));
    EXPECT_TRUE(isLazyReportRefused(1));
    expectNewerUntouched();
    expectNewerWorks();
}
