#include "clipboard_win/clipboard_impl.h"

#include <gtest/gtest.h>
#include <ole2.h>

#include <atomic>
#include <chrono>
#include <thread>
#include <type_traits>

#include "engine_access.h"
#include "support/child_process.h"
#include "support/clipboard_owner.h"
#include "support/recording_listener.h"
#include "support/recording_log.h"
#include "support/test_roles.h"
#include "support/watched_drives.h"

using namespace sd::clip;

// Detached threads use it until the process ends.
static_assert(!std::is_destructible_v<ClipboardImpl>);

namespace {

ClipDataObject* fakeObject(std::uintptr_t address)
{
    return reinterpret_cast<ClipDataObject*>(address);
}

const TestRole firstCalls("first-calls", [](const std::vector<std::string>&) {
    constexpr int kThreads = 8;
    std::atomic<int> ready{0};
    std::atomic<Clipboard*> engines[kThreads] = {};
    std::vector<std::thread> threads;
    for (auto& engine : engines) {
        threads.emplace_back([&engine, &ready] {
            for (++ready; ready < kThreads;) {
            }
            engine = Clipboard::Get().get();
        });
    }
    for (std::thread& thread : threads)
        thread.join();
    for (const auto& engine : engines) {
        if (engine == nullptr || engine != engines[0])
            return 1;
    }
    return 0;
});

}  // namespace

TEST(ClipboardImpl, GetTwiceYieldsTheSameObject)
{
    const auto first = Clipboard::Get();
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(Clipboard::Get(), first);
    EXPECT_EQ(std::static_pointer_cast<Clipboard>(ClipboardImpl::instance()), first);
}

TEST(ClipboardImpl, ManyThreadsMayMakeTheFirstCallAtOnce)
{
    // In a process of its own, where no test has made the engine before.
    EXPECT_EQ(ChildProcess::inRole(L"first-calls").waitForExit(), 0u);
}

TEST(ClipboardImpl, StartsWithTheValuesThatHostsAreTold)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    EXPECT_EQ(TestAccess::listener(engine), nullptr);
    EXPECT_EQ(TestAccess::window(engine), nullptr);
    EXPECT_FALSE(TestAccess::opened(engine));
    EXPECT_EQ(TestAccess::clipData(engine), nullptr);
    EXPECT_EQ(TestAccess::notedObject(engine), nullptr);
    EXPECT_FALSE(TestAccess::supported(engine));
    ASSERT_EQ(TestAccess::formatMap(engine).size(), 1u);
    EXPECT_EQ(TestAccess::formatMap(engine).at(ClipboardFormat::File), static_cast<UINT>(CF_HDROP));
    EXPECT_EQ(TestAccess::longestInstall(engine), std::chrono::hours(1));
}

TEST(ClipboardImpl, MembersStandInTheirOrder)
{
    const auto members = TestAccess::members(TestAccess::makeEngine());
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_LT(members[i - 1], members[i]) << "member " << i;
}

TEST(ClipboardImpl, ASecondListenerTakesThePlaceOfTheFirstAndReleasesIt)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    auto first = std::make_shared<RecordingListener>();
    const auto second = std::make_shared<RecordingListener>();
    EXPECT_EQ(engine.SetListener(first), Clipboard::Get());
    EXPECT_EQ(first.use_count(), 2);
    EXPECT_EQ(engine.SetListener(second), Clipboard::Get());
    EXPECT_EQ(first.use_count(), 1);
    EXPECT_EQ(TestAccess::listener(engine), second);
}

TEST(ClipboardImpl, ANullListenerRemovesTheListener)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    const auto listener = std::make_shared<RecordingListener>();
    engine.SetListener(listener);
    engine.SetListener(nullptr);
    EXPECT_EQ(listener.use_count(), 1);
    engine.notifyClipboardEvent("a", "b", "file", 0, "", "sucess", "", "");
    EXPECT_TRUE(listener->events().empty());
}

TEST(ClipboardImpl, AReplacedListenerMayCallTheEngineFromItsDestructor)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    struct CallingListener : RecordingListener {
        explicit CallingListener(ClipboardImpl& itsEngine) : clipboard(itsEngine) {}
        ~CallingListener()
        {
            clipboard.notifyClipboardEvent("", "", "file", 0, "", "sucess", "", "");
        }
        ClipboardImpl& clipboard;
    };
    const auto next = std::make_shared<RecordingListener>();
    engine.SetListener(std::make_shared<CallingListener>(engine));
    engine.SetListener(next);  // would dead lock if the earlier listener went under the lock
    EXPECT_EQ(next->events().size(), 1u);
}

TEST(ClipboardImpl, AnEventReachesTheListenerWithItsEightArgumentsOnTheCallingThread)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    const auto listener = std::make_shared<RecordingListener>();
    engine.SetListener(listener);
    engine.notifyClipboardEvent("operation", "stage", "file", 5000000000, "message", "error", "1501", "detail");
    ASSERT_EQ(listener->events().size(), 1u);
    const RecordedEvent event = listener->events()[0];
    EXPECT_EQ(event.operation, "operation");
    EXPECT_EQ(event.stage, "stage");
    EXPECT_EQ(event.dataType, "file");
    EXPECT_EQ(event.number, 5000000000);
    EXPECT_EQ(event.message, "message");
    EXPECT_EQ(event.result, "error");
    EXPECT_EQ(event.errorCode, "1501");
    EXPECT_EQ(event.errorDetail, "detail");
    EXPECT_EQ(event.thread, std::this_thread::get_id());
}

TEST(ClipboardImpl, WithoutAListenerEventsAreDroppedSilently)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    engine.notifyClipboardEvent("a", "b", "file", -1, "", "sucess", "", "");
    EXPECT_TRUE(RecordingLog::lines().empty());
}

TEST(ClipboardImpl, AvailableFormatsAreEmptyWhileTheClipboardHoldsData)
{
    ClipboardOwner().putText(L"text");
    EXPECT_TRUE(TestAccess::makeEngine().GetAvailableFormats().empty());
}

TEST(ClipboardImpl, NoFormatIsAvailableWhileTheClipboardHoldsFiles)
{
    ClipboardOwner().putDropList({L"C:\\windows"});
    ClipboardImpl& engine = TestAccess::makeEngine();
    EXPECT_FALSE(engine.IsFormatAvailable(ClipboardFormat::File));
    EXPECT_FALSE(engine.IsFormatAvailable(ClipboardFormat::Text));
}

TEST(ClipboardImpl, TheCacheDirectoryIsStoredForBothRoutes)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    EXPECT_TRUE(initLazyRenderer(engine, "C:/cache/"));
    EXPECT_EQ(ClipboardImpl::GetCacheDirectory(), "C:/cache/");
    EXPECT_EQ(RecordingLog::count(5, "Init file clipboard lazy renderer, cache dir C:/cache/"), 1);
    EXPECT_TRUE(engine.InitFileLazyRenderer(""));
    EXPECT_EQ(ClipboardImpl::GetCacheDirectory(), "");
    EXPECT_EQ(RecordingLog::count(5, "File clipboard lazy renderer already initialized"), 1);
}

TEST(ClipboardImpl, TheModeIsForwardedToTheRenderer)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    EXPECT_FALSE(TestAccess::renderer(engine).GetSupportFileClipboardFullPostProcessMode());
    engine.SetSupportFileClipboardFullPostProcessMode(true);
    EXPECT_TRUE(TestAccess::renderer(engine).GetSupportFileClipboardFullPostProcessMode());
}

TEST(ClipboardImpl, AStalePointerLeavesTheNotedDataObject)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    TestAccess::noteObject(engine, fakeObject(0x1000));
    engine.resetClipCObjectData(fakeObject(0x2000));
    EXPECT_EQ(TestAccess::notedObject(engine), fakeObject(0x1000));
    EXPECT_EQ(RecordingLog::messages(5),
              std::vector<std::string>{"mClipDataObject=" + printAddress(fakeObject(0x1000)) +
                                       ", object:" + printAddress(fakeObject(0x2000))});
}

TEST(ClipboardImpl, TheNotedDataObjectIsForgottenWhenItSaysSo)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    TestAccess::noteObject(engine, fakeObject(0x1000));
    engine.resetClipCObjectData(fakeObject(0x1000));
    EXPECT_EQ(TestAccess::notedObject(engine), nullptr);
}

TEST(ClipboardImpl, AResetWithoutAListOfTheEnginesOwnLeavesTheClipboardAsItIs)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    ClipboardOwner().putText(L"stays");
    engine.resetOleclipboard();
    OleInitialize(nullptr);
    engine.resetOleclipboard();
    OleUninitialize();
    EXPECT_TRUE(RecordingLog::messages().empty());
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
}
