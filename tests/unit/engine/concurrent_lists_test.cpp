// Everything at once: lists from two threads, failure reports, copy detection, another program's copies and deliveries,
// while data objects end on the OLE work thread.
#include <array>
#include <chrono>
#include <mutex>
#include <utility>
#include <vector>

#include "live_transfer.h"
#include "ole_turn.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

constexpr auto kDuration = std::chrono::seconds(3);
constexpr std::uint64_t kEndless = 1000000000;

// The guest's lists, and what the library asked of each.
class Guest {
public:
    struct Asked {
        std::atomic<int> requests{0};
        std::atomic<int> cancels{0};
    };

    std::shared_ptr<ClipboardFileDataImpl> makeList()
    {
        const auto asked = std::make_shared<Asked>();
        auto record = std::make_shared<ClipboardFileDataImpl>();
        record->SetFiles({GuestList::makeFile("file0", 10), GuestList::makeFile("file1", kEndless)});
        record->SetFileFuncs(
            [this, asked](const ClipfileDescription&, FileDataRequestCallback sink) {
                ++asked->requests;
                const std::lock_guard<std::mutex> lock(mMutex);
                mSink = std::move(sink);
                return std::string();
            },
            [asked](const ClipfileDescription&) { ++asked->cancels; });
        const std::lock_guard<std::mutex> lock(mMutex);
        mAsked.push_back(asked);
        return record;
    }

    void deliverSomething()
    {
        FileDataRequestCallback sink;
        {
            const std::lock_guard<std::mutex> lock(mMutex);
            sink = mSink;
        }
        unsigned char bytes[] = "0123456789";
        if (!sink)
            return;
        sink(GuestList::makeFile("file0", 10), bytes, 10);
        sink(GuestList::makeFile("file1", kEndless), bytes, 10);
    }

    // Every list was asked for once at the most, and cancelled once at the most. At least some were.
    void expectSoundRequests() const
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        int requests = 0;
        int cancels = 0;
        for (const auto& asked : mAsked) {
            EXPECT_LE(asked->requests, 1);
            EXPECT_LE(asked->cancels, asked->requests);
            requests += asked->requests;
            cancels += asked->cancels;
        }
        EXPECT_GT(requests, 1);
        EXPECT_GT(cancels, 1);
    }

private:
    mutable std::mutex mMutex;
    FileDataRequestCallback mSink;
    std::vector<std::shared_ptr<Asked>> mAsked;
};

// An application that pastes one list of three as soon as it stands on the clipboard; the others are replaced.
void pasteAtOnce(IDataObject& object)
{
    static std::atomic<int> installed{0};
    static const auto kContents = static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents"));
    FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, 0, TYMED_ISTREAM};
    STGMEDIUM medium = {};
    if (++installed % 3 == 0 && object.GetData(&format, &medium) == S_OK)
        ReleaseStgMedium(&medium);
}

// Put in the place of OLE's clipboard it costs little, so that many objects end while the test runs. One that is taken
// off is released on the work thread, as OLE's window does it.
class CheapClipboard {
public:
    CheapClipboard() = default;
    CheapClipboard(const CheapClipboard&) = delete;
    CheapClipboard& operator=(const CheapClipboard&) = delete;

private:
    static HRESULT WINAPI set(IDataObject* object)
    {
        {
            std::vector<ComPtr<IDataObject>> ended;  // goes after the lock
            const std::lock_guard<std::mutex> lock(sMutex);
            sTakenOff.push_back(std::exchange(sHeld, object));
            if (RemoteFormatFile::Instance().IsThisThread())
                sTakenOff.swap(ended);
        }
        if (object != nullptr)
            pasteAtOnce(*object);
        return S_OK;
    }
    static HRESULT WINAPI isCurrent(IDataObject* object)
    {
        const std::lock_guard<std::mutex> lock(sMutex);
        return sHeld.Get() == object ? S_OK : S_FALSE;
    }
    static HWND WINAPI owner()
    {
        return reinterpret_cast<HWND>(&sMutex);
    }

    static inline std::mutex sMutex;
    static inline ComPtr<IDataObject> sHeld;                   // guarded by sMutex
    static inline std::vector<ComPtr<IDataObject>> sTakenOff;  // guarded by sMutex

    ImportHook<decltype(&OleSetClipboard)> mSet{nullptr, "OleSetClipboard", &set};
    ImportHook<decltype(&OleIsCurrentClipboard)> mIsCurrent{nullptr, "OleIsCurrentClipboard", &isCurrent};
    ImportHook<decltype(&GetClipboardOwner)> mOwner{nullptr, "GetClipboardOwner", &owner};
};

class ConcurrentLists : public LiveTransfer {
protected:
    ConcurrentLists()
    {
        offer();  // the window of OLE's clipboard belongs to the work thread from now on
        mDelivery.run([this] { reportFailure(); });
    }

    static HRESULT WINAPI setOneAfterTheOther(IDataObject* object)
    {
        const OleTurn turn;
        const HRESULT result = sReal.load()(object);
        if (object != nullptr && SUCCEEDED(result))
            pasteAtOnce(*object);
        return result;
    }

    void setList()
    {
        mEngine->SetClipboardData(ClipboardFormat::File, mLists.makeList());
    }

    static void copyAsAnotherProgram()
    {
        const OleTurn turn;
        ClipboardOwner().putText(L"the user's");
    }

    // Each on a thread of its own, again and again, until the time is over.
    void runAll(const std::function<void()>& onceMore)
    {
        const auto end = std::chrono::steady_clock::now() + kDuration;
        const auto repeat = [end](const std::function<void()>& step) {
            return [end, step] {
                while (std::chrono::steady_clock::now() < end) {
                    step();
                    Sleep(1);  // leaves processors and log to the others
                }
            };
        };
        OleThread otherCaller;
        OleThread reporter;
        std::array<std::future<void>, 6> all = {
            otherCaller.start(repeat([this] { setList(); })),
            std::async(std::launch::async, repeat([this] { setList(); })),
            reporter.start(repeat([this] { reportFailure(); })),
            std::async(std::launch::async, repeat([this] { TestAccess::detectCopy(*mEngine); })),
            mDelivery.start(repeat([this] { mLists.deliverSomething(); })),
            mPaster.start(repeat([&onceMore] {
                onceMore();
                RecordingLog::clear();  // everything is logged
                Journal::shared().clear();
            })),
        };
        for (std::future<void>& one : all)
            one.get();
        mLists.expectSoundRequests();
    }

    static inline std::atomic<decltype(&OleSetClipboard)> sReal{nullptr};

    Guest mLists;
};

}  // namespace

TEST_F(ConcurrentLists, ReportsGatesAndListsMeetOnOlesClipboard)
{
    {
        const ImportHook<decltype(&OleSetClipboard)> hook(nullptr, "OleSetClipboard", &setOneAfterTheOther);
        sReal = hook.real();
        runAll(&copyAsAnotherProgram);
    }
    mDelivery.run([this] { reportFailure(); });
    expectNextListWorks();
}

TEST_F(ConcurrentLists, ReportsGatesAndListsMeetManyObjectsThatEnd)
{
    {
        const CheapClipboard clipboard;
        runAll([] {});
        onWorkThread([] { OleSetClipboard(nullptr); });
    }
    mDelivery.run([this] { reportFailure(); });
    expectNextListWorks();
}

// The object may be dying on the work thread while the engine still has its address.
TEST_F(ConcurrentLists, TheGatesNeverFollowTheNotedAddress)
{
    offer();
    ASSERT_EQ(paste(), S_OK);
    void* const noMemory = VirtualAlloc(nullptr, 1, MEM_RESERVE, PAGE_NOACCESS);
    ASSERT_NE(noMemory, nullptr);
    TestAccess::noteObject(*mEngine, static_cast<ClipDataObject*>(noMemory));
    TestAccess::detectCopy(*mEngine);
    EXPECT_EQ(RecordingLog::count(6, "not support onDetectCopy when file is transferring"), 1);
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, mGuest.record));
    EXPECT_EQ(RecordingLog::count(6, "not support set clipboard when file is transfering"), 1);
    mDelivery.run([this] { reportFailure(); });
    EXPECT_EQ(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_TRUE(waitForDestruction());
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    VirtualFree(noMemory, 0, MEM_RELEASE);
}
