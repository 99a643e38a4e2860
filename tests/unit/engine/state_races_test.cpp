// What the engine keeps, written by one thread while another reads it. Each test tears or frees what is read if the
// member is taken without its lock, which the checked heaps notice.
#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <thread>

#include "engine_access.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

constexpr std::chrono::seconds kLong{1};

// Calls both again and again, each on a thread of its own. @return how often the first one was called
int race(const std::function<void(int round)>& first, const std::function<void()>& second)
{
    std::atomic<bool> ended{false};
    std::promise<void> begun;
    std::thread other([&] {
        begun.set_value();
        while (!ended)
            second();
    });
    begun.get_future().wait();
    const auto end = std::chrono::steady_clock::now() + kLong;
    int rounds = 0;
    while (std::chrono::steady_clock::now() < end)
        first(rounds++);
    ended = true;
    other.join();
    return rounds;
}

// Knows whether it is alive when it is called.
class MortalListener : public ClipboardListener {
public:
    MortalListener() = default;
    ~MortalListener()
    {
        mLife = kDead;
    }
    MortalListener(const MortalListener&) = delete;
    MortalListener& operator=(const MortalListener&) = delete;

    void OnClipboardFormats(const std::vector<ClipboardFormat>&) override
    {
        count();
    }
    void OnClipboardEvent(std::string, std::string, std::string, std::int64_t, std::string, std::string, std::string,
                          std::string) override
    {
        count();
    }

    static inline std::atomic<int> sCalls{0};
    static inline std::atomic<int> sDeadCalls{0};

private:
    static constexpr unsigned kAlive = 0x600DF00D;
    static constexpr unsigned kDead = 0xDEADDEAD;

    void count()
    {
        ++sCalls;
        std::this_thread::yield();  // time for the other thread to let go of this
        if (mLife != kAlive)
            ++sDeadCalls;
    }

    std::atomic<unsigned> mLife{kAlive};
};

std::ptrdiff_t countEntries(const std::wstring& folder)
{
    return std::distance(std::filesystem::directory_iterator(folder), std::filesystem::directory_iterator());
}

DWORD WINAPI noDrives(DWORD /*size*/, LPWSTR /*drives*/)
{
    return 0;
}

}  // namespace

TEST(StateRaces, AListenerLivesUntilTheLastCallOfItReturns)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    race([&](int) { engine.SetListener(std::make_shared<MortalListener>()); },
         [&] { engine.notifyClipboardEvent("", "", "", 0, "", "", "", ""); });
    EXPECT_GT(MortalListener::sCalls, 0);
    EXPECT_EQ(MortalListener::sDeadCalls, 0);
}

TEST(StateRaces, UnknownFormatsAreAskedForWhileOthersAreTranslated)
{
    ClipboardImpl& engine = TestAccess::makeEngine();
    const std::size_t known = TestAccess::formatMap(engine).size();
    constexpr int kUnknown = 100000;
    constexpr UINT kDropList = 15;
    int wrong = 0;
    int askedMeanwhile = 0;
    const int asked =
        race([&](int round) { engine.GetClipboardData(static_cast<ClipboardFormat>(kUnknown + round % kUnknown)); },
             [&] {
                 engine.GetClipboardData(static_cast<ClipboardFormat>(-1 - askedMeanwhile++ % kUnknown));
                 wrong += TestAccess::formatFromPlatform(engine, kDropList) == ClipboardFormat::File ? 0 : 1;
             });
    EXPECT_EQ(wrong, 0);
    const int noted = std::min(asked, kUnknown) + std::min(askedMeanwhile, kUnknown);
    EXPECT_EQ(TestAccess::formatMap(engine).size() - known, static_cast<std::size_t>(noted));
}

// It is kept in two places: for the slices of the streamed route, and for placeholders.
TEST(StateRaces, TheCacheDirectoryIsReplacedWhileItIsRead)
{
    const ImportHook<decltype(&GetLogicalDriveStringsW)> hook(nullptr, "GetLogicalDriveStringsW", &noDrives);
    ClipboardImpl& engine = TestAccess::makeEngine();
    const std::string names[] = {"C:\\short\\", "C:\\" + std::string(200, 'l') + "\\"};
    const auto isOne = [&](const std::string& name) { return name == names[0] || name == names[1]; };
    engine.InitFileLazyRenderer(names[0]);
    int torn = 0;
    race([&](int round) { engine.InitFileLazyRenderer(names[round % 2]); },
         [&] {
             torn += isOne(ClipboardImpl::GetCacheDirectory()) ? 0 : 1;
             torn += isOne(TestAccess::placeholderDirectory(engine)) ? 0 : 1;
         });
    EXPECT_EQ(torn, 0);
}

class PlaceholderRaces : public testing::Test {
protected:
    PlaceholderRaces()
    {
        mEngine.SetFileClipboardSupported(true);
        init(0);
    }
    ~PlaceholderRaces() override
    {
        ClipboardOwner().putNothing();
    }

    void init(int which)
    {
        mEngine.InitFileLazyRenderer(mFolder.utf8Path() + (which == 0 ? "\\one\\" : "\\another one\\"));
    }
    // @return whether the placeholder is on offer
    bool prepare()
    {
        ClipfileDescription file;
        file.fileName = "a.txt";
        const auto record = ClipboardFileDataEx::Create();
        record->SetFiles({file});
        record->SetFileLazyRenderingCallback([](const std::shared_ptr<ClipboardFileDataEx>&) { return 0; });
        return mEngine.SetClipboardData(ClipboardFormat::FileLazy, record);
    }

    const ImportHook<decltype(&GetLogicalDriveStringsW)> mHook{nullptr, "GetLogicalDriveStringsW", &noDrives};
    ClipboardImpl& mEngine = TestAccess::makeEngine();
    const TemporaryFolder mFolder;
};

TEST_F(PlaceholderRaces, TheDirectoryIsReplacedDuringPreparations)
{
    std::atomic<int> prepared{0};
    std::atomic<int> refused{0};
    race([&](int round) { init(round % 2); },
         [&] {
             refused += prepare() ? 0 : 1;
             ++prepared;
         });
    EXPECT_GT(prepared, 0);
    EXPECT_EQ(refused, 0);
    EXPECT_EQ(countEntries(mFolder.path()), 2);  // no placeholder, and no folder, anywhere but where it was told
}

TEST_F(PlaceholderRaces, LandingsAreReportedDoneDuringPreparations)
{
    std::atomic<int> prepared{0};
    std::atomic<int> refused{0};
    int second = 0;  // reports for a list that had one
    EXPECT_TRUE(prepare());
    const int reports = race(
        [&](int) {
            try {
                mEngine.NotifyFileLazyRenderingComplete(0);
            } catch (const std::future_error&) {
                ++second;
            }
        },
        [&] {
            refused += prepare() ? 0 : 1;
            ++prepared;
        });
    EXPECT_GT(prepared, 0);
    EXPECT_EQ(refused, 0);
    EXPECT_LE(reports - second, prepared + 1);
    EXPECT_GT(reports, second);
}
