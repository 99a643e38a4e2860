// A guest's list on the real OLE clipboard, with the threads that a host and a pasting application have. For one source
// file of a test program.
#pragma once

#include <gtest/gtest.h>
#include <ole2.h>
#include <wrl/client.h>

#include <atomic>
#include <functional>
#include <memory>
#include <string>
#include <vector>

#include "../data_object/guest_list.h"
#include "base/unix_clock.h"
#include "data_object/data_lock.h"
#include "data_object/file_request.h"
#include "engine_access.h"
#include "file_stream/file_stream.h"
#include "file_stream/read_heartbeat.h"
#include "ole_thread.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"
#include "workthread/remote_format_file.h"

// The engine's caller is the test's thread, which has not joined OLE: under Wine the window of OLE's clipboard belongs
// to the work thread then, as on Windows, and not to whoever empties the clipboard first.
class LiveTransfer : public testing::Test {
protected:
    struct ReadResult {
        HRESULT result = E_UNEXPECTED;
        std::string bytes;
    };

    explicit LiveTransfer(const std::vector<std::uint64_t>& sizes = {10, 20}) : mGuest(sizes)
    {
        sOleSetClipboard = mHook.real();
        sd::clip::gLastReadTime = 0;
        sd::clip::gReadState = sd::clip::ReadState::kNeverRead;
        mGuest.record->SetFileFuncs(
            [this](const sd::clip::ClipfileDescription& file, sd::clip::FileDataRequestCallback sink) {
                mGuest.requested.push_back(file.fileName);
                mGuest.sink = std::move(sink);
                if (mDuringRequest)
                    mDuringRequest();
                return std::string();
            },
            [this](const sd::clip::ClipfileDescription& file) {
                EXPECT_FALSE(sd::clip::DataLockScope::isHeldByThisThread());
                mGuest.cancelled.push_back(file.fileName);
                if (mDuringCancel)
                    mDuringCancel();
            });
    }
    ~LiveTransfer() override
    {
        mListener->duringEvent = nullptr;
        mDuringRequest = nullptr;
        mDuringCancel = nullptr;
        mPaster.run([this] { mStream.Reset(); });
        ClipboardOwner().putNothing();
        onWorkThread([] {});  // what the object's end brings has come to its end
        mGuest.sink = nullptr;
    }

    // Puts the list on the clipboard. What is recorded begins after it.
    void offer()
    {
        ASSERT_TRUE(mEngine->SetClipboardData(sd::clip::ClipboardFormat::File, mGuest.record));
        ASSERT_NE(sd::clip::TestAccess::notedObject(*mEngine), nullptr);
        RecordingLog::clear();
        Journal::shared().clear();
        mListener->clear();
    }

    // A message that an earlier job left in the thread's queue discards this one: then it is placed once more.
    static void onWorkThread(const std::function<void()>& function)
    {
        auto& thread = sd::clip::RemoteFormatFile::Instance();
        while (thread.MoveToThread(function).get() != sd::clip::FuncExecStatus::Executed) {
        }
    }

    // Asks for a file's contents as the pasting application, which keeps the stream and nothing else. It asks the
    // object itself: the one that OleGetClipboard gives holds the clipboard open meanwhile under Wine, and what empties
    // the clipboard then fails there though not on Windows.
    HRESULT paste(LONG index = 0)
    {
        IStream* packed = nullptr;
        onWorkThread([&] {
            auto* const object = sd::clip::TestAccess::notedObject(*mEngine);
            CoMarshalInterThreadInterfaceInStream(IID_IDataObject, static_cast<IDataObject*>(object), &packed);
        });
        HRESULT result = E_UNEXPECTED;
        mPaster.run([&] {
            Microsoft::WRL::ComPtr<IDataObject> data;
            CoGetInterfaceAndReleaseStream(packed, IID_IDataObject, reinterpret_cast<void**>(data.GetAddressOf()));
            result = getContents(*data.Get(), index);
        });
        return result;
    }

    HRESULT getContents(IDataObject& data, LONG index)
    {
        static const auto kContents = static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents"));
        FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, index, TYMED_ISTREAM};
        STGMEDIUM medium = {};
        const HRESULT result = data.GetData(&format, &medium);
        if (result == S_OK) {
            mStream = medium.pstm;
            ReleaseStgMedium(&medium);
        }
        return result;
    }

    // As the pasting application.
    ReadResult read(ULONG length)
    {
        ReadResult read;
        mPaster.run([&] {
            read.bytes.resize(length);
            ULONG count = 0;
            read.result = mStream->Read(read.bytes.data(), length, &count);
            read.bytes.resize(count);
        });
        return read;
    }

    // As the guest's delivery thread.
    void deliver(std::size_t index, const std::string& bytes)
    {
        mDelivery.run([&] { mGuest.deliver(index, bytes); });
    }

    // As after an application that has read nothing for so long.
    static void fallSilent()
    {
        sd::clip::gReadState = sd::clip::ReadState::kBetweenReads;
        sd::clip::gLastReadTime = sd::clip::unixNow() - 3;
    }

    void reportFailure()
    {
        mEngine->NotifyFileTransferFailed(1);
    }

    // Reports a failure from inside the event.
    void reportFailureDuring(const std::string& event)
    {
        mListener->duringEvent = [this, event](const RecordedEvent& raised) {
            if (raised.operation == event)
                reportFailure();
        };
    }

    // The object's end, whose last line this is, did not wait for the thread that emptied the clipboard.
    static void expectDestroyedBeforeTheClipboardWasEmptied()
    {
        const int destroyed = Journal::shared().find("log 5 mClipDataObject=");
        const int emptied = Journal::shared().find("emptied");
        ASSERT_NE(destroyed, -1);
        ASSERT_NE(emptied, -1);
        EXPECT_LT(destroyed, emptied);
    }

    static bool waitForDestruction()
    {
        return RecordingLog::waitForLine(5, "mClipDataObject=", 20000);
    }

    void expectNextListWorks()
    {
        mListener->duringEvent = nullptr;
        mDuringRequest = nullptr;
        mDuringCancel = nullptr;
        mGuest.record->SetOLEClipboardPasteFunc(nullptr);
        mGuest.record->SetTransferredSize(0);
        mGuest.requested.clear();
        offer();
        ASSERT_EQ(paste(), S_OK);
        EXPECT_EQ(mGuest.requested, std::vector<std::string>{"file0"});
        deliver(0, "0123456789");
        EXPECT_EQ(read(10).bytes, "0123456789");
    }

    const std::shared_ptr<sd::clip::ClipboardImpl> mEngine = sd::clip::ClipboardImpl::instance();
    GuestList mGuest;
    RecordingListener* const mListener = mGuest.listener.get();
    std::function<void()> mDuringRequest;  // what the host does inside its functions
    std::function<void()> mDuringCancel;
    OleThread mPaster;
    OleThread mDelivery;
    Microsoft::WRL::ComPtr<IStream> mStream;  // used on mPaster only, or on the work thread before mPaster has one

private:
    // Notes each call that has emptied OLE's clipboard. The lock of a transfer is never held meanwhile.
    static HRESULT WINAPI noteOleSetClipboard(IDataObject* object)
    {
        EXPECT_FALSE(sd::clip::DataLockScope::isHeldByThisThread());
        const HRESULT result = sOleSetClipboard.load()(object);
        if (object == nullptr)
            Journal::shared().add("emptied");
        return result;
    }

    static inline std::atomic<decltype(&OleSetClipboard)> sOleSetClipboard{nullptr};
    ImportHook<decltype(&OleSetClipboard)> mHook{nullptr, "OleSetClipboard", &noteOleSetClipboard};
};
