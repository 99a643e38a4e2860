// No slice of an ended transfer stays open for writing, and nobody who ends one waits for a delivery.
#include <chrono>
#include <future>

#include "data_object/slice_path.h"
#include "file_request_fixture.h"

using namespace sd::clip;

namespace {

using State = RequestFileState;

class OpenSlices : public FileRequestTest {
protected:
    // What somebody has open can't be deleted.
    bool canDeleteSlice(std::size_t index) const
    {
        const std::string key = MakeFileKey(mGuest.files[index]);
        return DeleteFileA(MakeSlicePath(ClipboardImpl::GetCacheDirectory(), key, 0).c_str()) != FALSE;
    }
};

}  // namespace

TEST_F(OpenSlices, ACancelClosesTheOpenSlice)
{
    start();
    mGuest.deliver(1, "bytes");
    EXPECT_FALSE(canDeleteSlice(1));
    mRequest->CancelRemoteTransfer();
    EXPECT_TRUE(canDeleteSlice(1));
}

TEST_F(OpenSlices, ASilentReadersCancelClosesTheOpenSlice)
{
    start();
    addStream();
    mGuest.deliver(1, "bytes");
    fallSilent(3);
    mGuest.deliver(1, "more");
    EXPECT_TRUE(canDeleteSlice(1));
}

TEST_F(OpenSlices, CutClosesTheSlicesOfEveryFile)
{
    start();
    mGuest.deliver(0, "bytes");
    mGuest.deliver(1, "bytes");
    mRequest->Cut();
    EXPECT_TRUE(canDeleteSlice(0));
    EXPECT_TRUE(canDeleteSlice(1));
}

// Two files of a name, one too long and one too short: the sums are right, and slices are left over.
TEST_F(OpenSlices, CutClosesWhatAFinishedTransferLeftOpen)
{
    start();
    mGuest.deliver(1, std::string(19, 'b'));
    mGuest.deliver(0, std::string(11, 'a'));
    mGuest.deliver(2, "");
    ASSERT_EQ(mRequest->GetRequestFileState(), State::kRequestFinished);
    EXPECT_FALSE(canDeleteSlice(0));
    mRequest->Cut();
    EXPECT_TRUE(canDeleteSlice(0));
    EXPECT_TRUE(canDeleteSlice(1));
}

TEST_F(OpenSlices, ACancelDoesNotWaitForADeliveryWhichClosesTheSlicesItself)
{
    start();
    mGuest.deliver(1, "bytes");
    HeldDelivery held(mGuest, 0);
    auto cancel = std::async(std::launch::async, [this] { mRequest->CancelRemoteTransfer(); });
    EXPECT_EQ(cancel.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_FALSE(canDeleteSlice(1));
    held.end();
    EXPECT_TRUE(canDeleteSlice(1));
}

TEST_F(OpenSlices, ACancelDoesNotWaitForARequestWhichClosesTheSlicesItself)
{
    start();
    mGuest.deliver(1, "bytes");
    sd::clip::TestAccess::setState(*mRequest, State::kRequestFailed);  // as after a request function that throws
    std::promise<void> inside;
    std::promise<void> go;
    mGuest.record->SetFileFuncs(
        [&](const ClipfileDescription&, const FileDataRequestCallback&) {
            inside.set_value();
            go.get_future().wait();
            return std::string();
        },
        nullptr);
    auto request = std::async(std::launch::async, [this] { return start(); });
    inside.get_future().wait();
    auto cancel = std::async(std::launch::async, [this] { mRequest->CancelRemoteTransfer(); });
    EXPECT_EQ(cancel.wait_for(std::chrono::seconds(30)), std::future_status::ready);
    EXPECT_FALSE(canDeleteSlice(1));
    go.set_value();
    request.wait();
    EXPECT_TRUE(canDeleteSlice(1));
}
