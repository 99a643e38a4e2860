// The order in which the end of a transfer shows to an application that holds the data object: the host is told, then
// the clipboard is emptied, then the object lets its record go.
#include "live_transfer.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

std::shared_ptr<FileRequest> gRequest;
std::atomic<decltype(&OleSetClipboard)> gSet{nullptr};
std::vector<std::string> gSeen;

void see(const std::string& where)
{
    const bool holdsRecord = gRequest->GetClipboardData() != nullptr;
    gSeen.push_back(where + ": state " + std::to_string(static_cast<int>(gRequest->GetRequestFileState())) +
                    (holdsRecord ? ", record" : ", no record"));
}

HRESULT WINAPI seeAndSet(IDataObject* object)
{
    if (object == nullptr)
        see("emptied");
    return gSet.load()(object);
}

class CancelOrder : public LiveTransfer {
protected:
    CancelOrder()
    {
        gSeen.clear();
        mDuringCancel = [] { see("cancel function"); };
    }
    ~CancelOrder() override
    {
        onWorkThread([this] { mHeld.Reset(); });
        gRequest.reset();
    }

    // The application holds the object too, whose end would let the record go.
    void beginTransfer()
    {
        offer();
        onWorkThread([this] { mHeld = TestAccess::notedObject(*mEngine); });
        gRequest = TestAccess::notedObject(*mEngine)->GetRequest();
        ASSERT_EQ(paste(), S_OK);
        deliver(0, "01234");
    }

    ComPtr<IDataObject> mHeld;  // used on the work thread only
};

}  // namespace

TEST_F(CancelOrder, TheRecordIsHeldUntilTheClipboardIsEmpty)
{
    ASSERT_NO_FATAL_FAILURE(beginTransfer());
    {
        const ImportHook<decltype(&OleSetClipboard)> hook(nullptr, "OleSetClipboard", &seeAndSet);
        gSet = hook.real();
        fallSilent();
        deliver(0, "56789");
    }
    see("end");
    EXPECT_EQ(gSeen, (std::vector<std::string>{"cancel function: state 2, record", "emptied: state 3, record",
                                               "end: state 3, no record"}));
}

TEST_F(CancelOrder, NoListIsTakenUntilTheCancelFunctionHasReturned)
{
    ASSERT_NO_FATAL_FAILURE(beginTransfer());
    const auto set = [this] { return mEngine->SetClipboardData(ClipboardFormat::File, mGuest.record); };
    mDuringCancel = [&] {
        EXPECT_FALSE(std::async(std::launch::async, set).get());
        EXPECT_EQ(RecordingLog::count(6, "not support set clipboard when file is transfering"), 1);
    };
    fallSilent();
    deliver(0, "56789");
    EXPECT_EQ(mGuest.cancelled.size(), 1u);
    EXPECT_TRUE(set());
}
