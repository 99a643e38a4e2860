// What the tests of a file list's request and of its deliveries share. For one source file of a test program.
#pragma once

#include <gtest/gtest.h>

#include <future>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "base/unix_clock.h"
#include "data_object/data_lock.h"
#include "data_object/file_request.h"
#include "file_stream/file_stream.h"
#include "file_stream/read_heartbeat.h"
#include "file_stream/transfer_file.h"
#include "guest_list.h"
#include "support/recording_log.h"

namespace sd::clip {

class TestAccess {
public:
    static DataLock& dataLock(FileRequest& request)
    {
        return request.mTransfer->mDataLock;
    }
    static void setState(FileRequest& request, RequestFileState state)
    {
        request.mTransfer->mState.setUnlessEnding(state);
    }
    template <class File>
    static auto& slices(File& file)
    {
        return file.mSlices;
    }
    template <class File>
    static auto& sliceMutex(File& file)
    {
        return file.mSliceMutex;
    }
};

}  // namespace sd::clip

// Whether another thread than the caller would have to wait for the lock.
template <class Lock>
bool isTaken(Lock& lock)
{
    const auto tryIt = [&lock] {
        const std::unique_lock<Lock> taken(lock, std::try_to_lock);
        return !taken.owns_lock();
    };
    return std::async(std::launch::async, tryIt).get();
}

// A request without a data object and an application: the test asks, delivers and reads.
class FileRequestTest : public testing::Test {
protected:
    explicit FileRequestTest(const std::vector<std::uint64_t>& sizes = {10, 20, 0}) : mGuest(sizes)
    {
        sd::clip::gLastReadTime = 0;
        sd::clip::gReadState = sd::clip::ReadState::kNeverRead;
        mRequest->SetClipboardData(mGuest.record);
        RecordingLog::clear();
    }
    ~FileRequestTest() override
    {
        mRequest->Cut();
    }

    bool start(bool* rejected = nullptr)
    {
        bool answer = false;
        return mRequest->startRequestFileData(mGuest.files[0], rejected != nullptr ? *rejected : answer);
    }

    void deliverAll()
    {
        for (std::size_t i = 0; i < mGuest.files.size(); ++i)
            mGuest.deliver(i, std::string(mGuest.files[i].size, 'a'));
    }

    void addStream()
    {
        auto description = std::make_shared<sd::clip::DetailFileDescription>(mGuest.files[1]);
        auto* const stream = new sd::clip::FileStream(description, mRequest, sd::clip::kFileModeTransfer);
        mRequest->SetStream(stream);
        stream->Release();
    }

    // As after a pasting application that has read nothing for so long.
    static void fallSilent(int seconds)
    {
        sd::clip::gReadState = sd::clip::ReadState::kBetweenReads;
        sd::clip::gLastReadTime = sd::clip::unixNow() - seconds;
    }

    bool isDataLockTaken() const
    {
        return isTaken(sd::clip::TestAccess::dataLock(*mRequest));
    }

    sd::clip::TransferFile* record(std::size_t index)
    {
        return mRequest->GetTransferFile(mGuest.files[index]);
    }

    GuestList mGuest;
    const std::shared_ptr<sd::clip::FileRequest> mRequest = std::make_shared<sd::clip::FileRequest>();
};

// A whole file's delivery on a thread of its own, held inside the event of the file's end.
class HeldDelivery {
public:
    HeldDelivery(const GuestList& guest, std::size_t index) : mListener(*guest.listener)
    {
        mListener.duringEvent = [this](const RecordedEvent& event) {
            if (event.operation != "transferFinish")
                return;
            mInside.set_value();
            mGo.get_future().wait();
        };
        mDelivery = std::async(std::launch::async,
                               [&guest, index] { guest.deliver(index, std::string(guest.files[index].size, 'a')); });
        mInside.get_future().wait();
    }
    ~HeldDelivery()
    {
        if (!mHasGone)
            letGo();
        mDelivery.wait();
        mListener.duringEvent = nullptr;
    }
    HeldDelivery(const HeldDelivery&) = delete;
    HeldDelivery& operator=(const HeldDelivery&) = delete;

    void letGo()
    {
        mHasGone = true;
        mGo.set_value();
    }

    // Lets it go, and waits for it.
    void end()
    {
        letGo();
        mDelivery.wait();
    }

private:
    RecordingListener& mListener;
    std::promise<void> mInside;
    std::promise<void> mGo;
    std::future<void> mDelivery;
    bool mHasGone = false;
};
