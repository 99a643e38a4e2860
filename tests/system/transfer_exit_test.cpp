// How a host's process ends in the middle of its work: with the exit code that it sets, at once, and without leaving
// the pasting application behind in a call. What else it can be doing then: process_exit_test.
#include <algorithm>
#include <chrono>
#include <thread>

#include "example_support/utf8_arguments.h"
#include "example_support/wine_stream_fix.h"
#include "guest_paste.h"
#include "reading_application.h"
#include "support/clipboard_owner.h"
#include "support/test_roles.h"

using namespace sd::clip;

namespace {

constexpr int kExitCode = 42;
constexpr char kOffered[] = "offered";
constexpr char kLeaving[] = "leaving";
constexpr std::size_t kSlice = 1048576;

// ---- The host, in a process of its own ----

// The host's thread for lists, the first of the process to join OLE. It goes down with the process.
PumpingThread& callingThread()
{
    static auto* const thread = [] {
        auto* const made = new PumpingThread;
        made->run([] {
            OleInitialize(nullptr);
            static const WineStreamFix sFixed;
        });
        return made;
    }();
    return *thread;
}

void start(const std::string& cacheDirectory)
{
    const auto clipboard = Clipboard::Get();
    clipboard->SetFileClipboardSupported(true);
    clipboard->InitFileLazyRenderer(cacheDirectory);
}

bool offer(ClipboardFormat route, const std::shared_ptr<ClipboardData>& record)
{
    bool taken = false;
    callingThread().run([&] { taken = Clipboard::Get()->SetClipboardData(route, record); });
    printLine(taken ? kOffered : "refused");
    return taken;
}

// A list that outlives everything, since nothing is tidied up here.
GuestList& makeKeptList(const Delivery& delivery)
{
    return **new auto(
        std::make_shared<GuestList>(std::vector<GuestFile>{{"", "a.bin", makeBytes(4 * kSlice)}}, delivery));
}

int leave(bool reached)
{
    printLine(kLeaving);
    return reached ? kExitCode : 1;
}

// Offers a list and leaves once that many bytes of it were delivered and the time for the next call has passed.
int leaveAfterBytes(const std::string& cache, const Delivery& delivery, std::uint64_t bytes)
{
    constexpr DWORD kIntoTheWait = 300;
    start(cache);
    GuestList& list = makeKeptList(delivery);
    if (!offer(ClipboardFormat::File, list.makeRecord()))
        return 1;
    const bool reached = waitUntil([&] { return list.requests() == 1 && list.sent() >= bytes; });
    Sleep(kIntoTheWait);
    return leave(reached);
}

Delivery stopAfter(std::uint64_t bytes)
{
    Delivery delivery;
    delivery.before = [bytes](std::uint64_t sent) {
        if (sent >= bytes)
            Sleep(INFINITE);
    };
    return delivery;
}

const TestRole watching("watching", [](const std::vector<std::string>& arguments) {
    start(arguments.at(0));
    printLine(kOffered);
    Sleep(300);
    return leave(true);
});

const TestRole delivering("delivering", [](const std::vector<std::string>& arguments) {
    Delivery slow;
    slow.piece = 4096;
    slow.pause = 5;
    return leaveAfterBytes(arguments.at(0), slow, 20 * slow.piece);
});

// The reader is in its five seconds without a record.
const TestRole awaitingRecord("awaiting-record", [](const std::vector<std::string>& arguments) {
    return leaveAfterBytes(arguments.at(0), stopAfter(0), 0);
});

// The reader is in its thirty seconds without a slice.
const TestRole awaitingSlice("awaiting-slice", [](const std::vector<std::string>& arguments) {
    return leaveAfterBytes(arguments.at(0), stopAfter(kSlice + kSlice / 2), kSlice + kSlice / 2);
});

// The library has called the host and waits for the answer, under the locks of a request.
const TestRole inRequest("in-request", [](const std::vector<std::string>& arguments) {
    static const HANDLE sAsked = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    start(arguments.at(0));
    const auto record = makeKeptList({}).makeRecord();
    record->SetFileFuncs(
        [](const ClipfileDescription&, const FileDataRequestCallback&) {
            SetEvent(sAsked);
            Sleep(INFINITE);
            return std::string();
        },
        [](const ClipfileDescription&) {});
    if (!offer(ClipboardFormat::File, record))
        return 1;
    return leave(WaitForSingleObject(sAsked, 30000) == WAIT_OBJECT_0);
});

// A list waits for the clipboard, which somebody has open.
const TestRole installing("installing", [](const std::vector<std::string>& arguments) {
    start(arguments.at(0));
    (new ClipboardOwner)->open();
    std::thread([] { offer(ClipboardFormat::File, makeKeptList({}).makeRecord()); }).detach();
    printLine(kOffered);
    Sleep(300);
    return leave(true);
});

// A drive watcher has called the host about a landing.
const TestRole inLanding("in-landing", [](const std::vector<std::string>& arguments) {
    static const HANDLE sLanded = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    start(arguments.at(0));
    const auto record = ClipboardFileDataEx::Create();
    record->SetFiles({[] {
        ClipfileDescription file;
        file.fileName = "a.txt";
        return file;
    }()});
    record->SetFileLazyRenderingCallback([](const std::shared_ptr<ClipboardFileDataEx>&) -> int {
        SetEvent(sLanded);
        Sleep(INFINITE);
        return 0;
    });
    Sleep(500);  // the watchers have begun
    if (!offer(ClipboardFormat::FileLazy, record))
        return 1;
    return leave(WaitForSingleObject(sLanded, 30000) == WAIT_OBJECT_0);
});

// ---- The test ----

enum class Paste { kNone, kStreams, kPlaceholder };

struct Moment {
    const wchar_t* role;
    Paste paste;
};

void PrintTo(const Moment& moment, std::ostream* stream)
{
    *stream << toUtf8(moment.role);
}

class TransferExit : public testing::TestWithParam<Moment> {
protected:
    std::wstring cacheDirectory() const
    {
        std::wstring path = mFolder.path() + L"/cache/";
        std::replace(path.begin(), path.end(), L'\\', L'/');
        return path;
    }

    std::vector<ChildProcess> startPaste()
    {
        std::vector<ChildProcess> pastes;
        if (GetParam().paste != Paste::kNone)
            pastes.emplace_back(L"clip-paste.exe", std::vector<std::wstring>{mFolder.path() + L"\\target"});
        return pastes;
    }

    const TemporaryFolder mFolder;
};

}  // namespace

TEST_P(TransferExit, KeepsTheHostsExitCodeAndEndsWithinTwoSeconds)
{
    ChildProcess host = ChildProcess::inRole(GetParam().role, {cacheDirectory()});
    ASSERT_TRUE(host.waitForOutput(kOffered)) << host.output();
    auto pastes = startPaste();
    ASSERT_TRUE(host.waitForOutput(kLeaving)) << host.output();
    const auto begin = std::chrono::steady_clock::now();
    EXPECT_EQ(host.waitForExit(10000), static_cast<DWORD>(kExitCode)) << host.output();
    EXPECT_LT(std::chrono::steady_clock::now() - begin, std::chrono::seconds(2));
    for (ChildProcess& paste : pastes)
        EXPECT_NE(paste.waitForExit(20000), static_cast<DWORD>(STILL_ACTIVE)) << paste.output();
}

INSTANTIATE_TEST_SUITE_P(AtEveryMoment, TransferExit,
                         testing::Values(Moment{L"watching", Paste::kNone}, Moment{L"delivering", Paste::kStreams},
                                         Moment{L"awaiting-record", Paste::kStreams},
                                         Moment{L"awaiting-slice", Paste::kStreams},
                                         Moment{L"in-request", Paste::kStreams}, Moment{L"installing", Paste::kNone},
                                         Moment{L"in-landing", Paste::kPlaceholder}));
