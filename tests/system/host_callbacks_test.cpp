// A host that calls back into the library from whatever the library calls of it: what it may do there works, and what
// it may not is refused without harm.
#include <atomic>
#include <set>

#include "lazy_test.h"
#include "support/clipboard_owner.h"

using namespace sd::clip;

namespace {

// A listener that calls back belongs to one test, whatever comes late.
class CallingListener : public ClipboardListener {
public:
    using Function = std::function<void(const std::string& operation)>;

    // @param during called in each report, of formats too
    explicit CallingListener(Function during) : mDuring(std::move(during)) {}

    void OnClipboardFormats(const std::vector<ClipboardFormat>& formats) override
    {
        note(formats.empty() ? "nothing" : "files");
    }
    void OnClipboardEvent(std::string operation, std::string, std::string, std::int64_t, std::string, std::string,
                          std::string, std::string) override
    {
        note(operation);
    }

    bool heard(const std::string& operation) const
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        return mHeard.count(operation) != 0;
    }

private:
    void note(const std::string& operation)
    {
        mDuring(operation);
        const std::lock_guard<std::mutex> lock(mMutex);
        mHeard.insert(operation);
    }

    const Function mDuring;
    mutable std::mutex mMutex;
    std::set<std::string> mHeard;
};

class HostCallbacks : public LazyTest {
protected:
    ~HostCallbacks() override
    {
        mHost.listenAgain();
    }

    std::shared_ptr<CallingListener> listen(CallingListener::Function during)
    {
        auto listener = std::make_shared<CallingListener>(std::move(during));
        mHost.clipboard().SetListener(listener);
        return listener;
    }

    // All that a host may call from inside its functions and its listener.
    void callWhatIsAllowed()
    {
        constexpr std::uint32_t kOnlyLogged = 2;
        Clipboard& clipboard = mHost.clipboard();
        clipboard.GetClipboardData(ClipboardFormat::File);
        clipboard.GetClipboardData(static_cast<ClipboardFormat>(77));
        clipboard.SetFileClipboardSupported(true);
        clipboard.SetSupportFileClipboardFullPostProcessMode(false);
        clipboard.NotifyFileTransferFailed(kOnlyLogged);
        EXPECT_TRUE(clipboard.GetAvailableFormats().empty());
        EXPECT_FALSE(clipboard.IsFormatAvailable(ClipboardFormat::File));
        ++mCalls;
    }

    // A list that is refused wherever a paste is under way.
    void callWhatIsRefused()
    {
        const auto record = makeList({{"", "other.txt", "other"}})->makeRecord();
        EXPECT_FALSE(mHost.clipboard().SetClipboardData(ClipboardFormat::File, record));
    }

    // The list's record; its request and its cancel function call the host's own first.
    static std::shared_ptr<ClipboardFileDataImpl> makeRecord(GuestList& list,
                                                             const std::function<void()>& duringRequest,
                                                             const std::function<void()>& duringCancel)
    {
        auto record = list.makeRecord();
        record->SetFileFuncs(
            [request = record->GetFileRequestFunc(), duringRequest](const ClipfileDescription& file,
                                                                    FileDataRequestCallback sink) {
                duringRequest();
                return request(file, std::move(sink));
            },
            [duringCancel](const ClipfileDescription&) { duringCancel(); });
        return record;
    }

    std::shared_ptr<GuestList> makeSmallList()
    {
        return makeList({{"", "a.bin", makeBytes(1500000)}, {"folder", "b.txt", "b"}});
    }

    std::atomic<int> mCalls{0};
};

}  // namespace

TEST_F(HostCallbacks, AReportOfACopyMayReadItAndReplaceTheListener)
{
    std::atomic<int> received{0};
    const auto second = std::make_shared<CallingListener>([](const std::string&) {});
    const auto first = listen([&](const std::string& operation) {
        callWhatIsAllowed();
        if (operation != "files")
            return;
        received += mHost.clipboard().GetClipboardData(ClipboardFormat::File) != nullptr ? 1 : 0;
        mHost.clipboard().SetListener(second);
    });
    ClipboardOwner().putDropList({mFolder.addFile(L"users.txt", "1")});
    ASSERT_TRUE(waitUntil([&] { return first->heard("files"); }));
    EXPECT_EQ(received, 1);
    ClipboardOwner().putText(L"text");
    EXPECT_TRUE(waitUntil([&] { return second->heard("nothing"); }));
}

TEST_F(HostCallbacks, EveryEventOfAPasteMayCallBack)
{
    const auto listener = listen([this](const std::string&) { callWhatIsAllowed(); });
    const auto list = makeSmallList();
    ASSERT_TRUE(offer(list));
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    expectPasted(*list, L"target");
    for (const char* operation :
         {"setClipboard", "clientPaste", "triggerClipboardFilePaste", "transferFinish", "endClipboardFile"})
        EXPECT_TRUE(waitUntil([&] { return listener->heard(operation); })) << operation;
    EXPECT_GE(mCalls, 5);
}

TEST_F(HostCallbacks, AListFromAnEventOfAPasteIsRefusedAndThePasteCompletes)
{
    const auto listener = listen([this](const std::string& operation) {
        if (operation == "clientPaste" || operation == "triggerClipboardFilePaste" || operation == "transferFinish")
            callWhatIsRefused();
    });
    const auto list = makeSmallList();
    ASSERT_TRUE(offer(list));
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    expectPasted(*list, L"target");
    EXPECT_TRUE(waitUntil([&] { return listener->heard("endClipboardFile"); }));
    EXPECT_TRUE(listener->heard("clientPaste"));
    EXPECT_TRUE(listener->heard("transferFinish"));
}

// Through the sink, from one module to the other.
TEST_F(HostCallbacks, WhatAListenerThrowsAtTheEndOfAFileReachesTheDeliveringThreadAndThePasteIsWhole)
{
    struct HostError {};
    std::atomic<int> thrown{0};
    std::atomic<int> caught{0};
    std::atomic<int> listEnds{0};
    const auto listener = listen([&](const std::string& operation) {
        listEnds += operation == "endClipboardFile" ? 1 : 0;
        if (operation != "transferFinish")
            return;
        ++thrown;
        throw HostError();
    });
    const auto list = makeSmallList();
    const auto record = list->makeRecord();
    record->SetFileFuncs(
        [&, request = record->GetFileRequestFunc()](const ClipfileDescription& asked, FileDataRequestCallback sink) {
            return request(asked, [&, sink = std::move(sink)](const ClipfileDescription& file, unsigned char* data,
                                                              unsigned long long size) {
                try {
                    sink(file, data, size);
                } catch (const HostError&) {
                    ++caught;
                }
            });
        },
        nullptr);
    ASSERT_TRUE(offer(record));
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    expectPasted(*list, L"target");
    EXPECT_TRUE(waitUntil([&] { return listEnds > 0; }));
    list->end();
    EXPECT_EQ(thrown, 2);
    EXPECT_EQ(caught, 2);
    mHost.listenAgain();
    expectNextListWorks();
}

TEST_F(HostCallbacks, TheRequestFunctionMayCallBackAndItsListIsRefused)
{
    const auto list = makeSmallList();
    ASSERT_TRUE(offer(makeRecord(
        *list,
        [this] {
            callWhatIsAllowed();
            callWhatIsRefused();
        },
        [] {})));
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    expectPasted(*list, L"target");
    EXPECT_EQ(mCalls, 1);
}

TEST_F(HostCallbacks, ThePasteFunctionMayCallBackAndItsListIsRefused)
{
    const auto list = makeSmallList();
    const auto record = list->makeRecord();
    record->SetOLEClipboardPasteFunc([this] {
        callWhatIsAllowed();
        callWhatIsRefused();
        return true;
    });
    ASSERT_TRUE(offer(record));
    EXPECT_EQ(paste(L"target"), kPasteWritten) << mOutput;
    expectPasted(*list, L"target");
    EXPECT_EQ(mCalls, 1);
}

TEST_F(HostCallbacks, TheCancelFunctionMayCallBackAndReportTheFailure)
{
    constexpr std::uint32_t kEndTheTransfer = 1;
    const auto list = makeList({{"", "a.bin", makeBytes(3000000)}}, {4096, 10});
    ASSERT_TRUE(offer(makeRecord(
        *list, [] {},
        [this] {
            callWhatIsAllowed();
            mHost.clipboard().NotifyFileTransferFailed(kEndTheTransfer);
        })));
    EXPECT_NE(paste(L"target", {L"--stop-after", L"100000"}), kPasteWritten);
    EXPECT_TRUE(waitUntil([this] { return mCalls > 0; }));
    list->end();
    EXPECT_EQ(mCalls, 1);
    expectNextListWorks();
}

TEST_F(HostCallbacks, TheCallbackOfALandingMayCallBackReportAndSetTheNextList)
{
    const auto next = std::make_shared<LazyList>();
    std::atomic<bool> taken{false};
    const auto list = arm({"first.txt"}, [&](const Landing&) {
        callWhatIsAllowed();
        mHost.clipboard().NotifyFileLazyRenderingComplete(0);
        taken = offerLazily(next, {"second.txt"});
        return 0;
    });
    landIn(mFolder.path());
    expectLanded(*list, 1, mFolder.path());
    EXPECT_EQ(mCalls, 1);
    EXPECT_TRUE(taken);
    EXPECT_NO_THROW(mHost.clipboard().NotifyFileLazyRenderingComplete(0));
}
