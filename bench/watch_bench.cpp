#include "watch_bench.h"

#include <windows.h>

#include <atomic>
#include <cstring>
#include <filesystem>
#include <memory>
#include <stdexcept>
#include <thread>
#include <vector>

#include "file_clipboard_lazy_renderer/drive_watcher.h"
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "file_clipboard_lazy_renderer/notification_walk.h"
#include "sd/clip/clipboard.h"
#include "stopwatch.h"

namespace sd::clip {

class TestAccess {
public:
    using Renderer = FileClipboardLazyRenderer;

    static void arm(Renderer& renderer, std::shared_ptr<ClipboardFileDataEx> data)
    {
        renderer.mLazyFileData = std::move(data);
        renderer.mSparseSuffix = "12345678";
    }
    static void handle(Renderer& renderer, const std::wstring& root, const unsigned char* buffer)
    {
        DriveWatcher watcher(root, [&](const std::string& name) { renderer.handleAddedFile(root, name); });
        watcher.handleChanges(buffer);
    }
};

}  // namespace sd::clip

using namespace sd::clip;

namespace {

constexpr std::size_t kBufferSize = 16384;  // as the watchers have
constexpr int kRounds = 25;
constexpr int kRecords = 4000;  // of each round: the clock's ticks of 0.1 us are too long for a single one
constexpr int kLandings = 21;
constexpr DWORD kPause = 200;     // milliseconds between landings
constexpr DWORD kIdle = 10000;    // milliseconds
constexpr double kTick = 15.625;  // milliseconds of the system's clock

// One record: an added file in a folder of usual depth.
std::vector<unsigned char> makeBuffer()
{
    const std::wstring name = L"Users\\somebody\\AppData\\Local\\Temp\\download-part-000123.tmp";
    std::vector<unsigned char> buffer(kBufferSize);
    const DWORD header[] = {0, FILE_ACTION_ADDED, static_cast<DWORD>(name.size() * sizeof(wchar_t))};
    std::memcpy(buffer.data(), header, sizeof header);
    std::memcpy(buffer.data() + sizeof header, name.data(), name.size() * sizeof(wchar_t));
    return buffer;
}

template <class Function>
double meanMicroseconds(const Function& function)
{
    const double seconds = timeOf([&] {
        for (int i = 0; i < kRecords; ++i)
            function();
    });
    return seconds * 1e6 / kRecords;
}

std::shared_ptr<ClipboardFileDataExImpl> makeRecord(FileLazyRenderingCallback callback)
{
    ClipfileDescription file;
    file.fileName = "landing.txt";
    auto record = std::make_shared<ClipboardFileDataExImpl>();
    record->SetFiles({file});
    record->SetFileLazyRenderingCallback(std::move(callback));
    return record;
}

Rounds measureAddedFile(FileClipboardLazyRenderer& renderer)
{
    const std::vector<unsigned char> buffer = makeBuffer();
    const std::wstring root = L"C:\\";
    return runRounds(kRounds, [&] {
        const double reading = meanMicroseconds([&] {
            walkNotifications(buffer.data(), buffer.size(),
                              [](std::uint32_t, const std::u16string&) { return WalkStep::kGoOn; });
        });
        return meanMicroseconds([&] { TestAccess::handle(renderer, root, buffer.data()); }) - reading;
    });
}

// A reader that does nothing but look for the landing.
class BareReader {
public:
    explicit BareReader(const std::wstring& root)
        : mDirectory(CreateFileW(root.c_str(), FILE_LIST_DIRECTORY,
                                 FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                 FILE_FLAG_BACKUP_SEMANTICS, nullptr)),
          mThread([this] { read(); })
    {
        mThread.detach();  // it stands in a read until the process ends
    }

    std::atomic<double> seen{0};
    const Stopwatch watch;

private:
    void read()
    {
        std::vector<DWORD> buffer(kBufferSize / sizeof(DWORD));
        DWORD bytes = 0;
        while (ReadDirectoryChangesW(mDirectory, buffer.data(), kBufferSize, TRUE, FILE_NOTIFY_CHANGE_FILE_NAME, &bytes,
                                     nullptr, nullptr)) {
            const double now = watch.seconds();
            const auto* const record = reinterpret_cast<const FILE_NOTIFY_INFORMATION*>(buffer.data());
            const std::wstring name(record->FileName, record->FileNameLength / sizeof(wchar_t));
            if (bytes > 0 && record->Action == FILE_ACTION_ADDED && name.find(L"landed") != std::wstring::npos)
                seen = now;
        }
    }

    const HANDLE mDirectory;
    std::thread mThread;
};

// What Windows calls a new file, closed before anybody looks.
void createFile(const std::wstring& path)
{
    const HANDLE file = CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                    nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
    if (file == INVALID_HANDLE_VALUE)
        throw std::runtime_error("a file can't be created");
    CloseHandle(file);
}

std::wstring findPlaceholder(const std::filesystem::path& cache)
{
    for (const auto& entry : std::filesystem::directory_iterator(cache))
        return entry.path().filename().wstring();
    throw std::runtime_error("there is no placeholder");
}

void prepareFolders(const std::filesystem::path& work)
{
    std::filesystem::create_directories(work / "cache");
    std::filesystem::create_directories(work / "landed");
}

// Wine watches only what was opened after the watch began: every folder from the root on.
void openOnTheWay(const std::filesystem::path& folder)
{
    if (folder.has_relative_path())
        openOnTheWay(folder.parent_path());
    WIN32_FIND_DATAW entry;
    FindClose(FindFirstFileW((folder / "*").c_str(), &entry));
}

// Drives are watched from here on, for the rest of the process.
void startWatching(const std::wstring& work)
{
    Clipboard::Get()->SetFileClipboardSupported(true);
    if (!Clipboard::Get()->InitFileLazyRenderer(std::filesystem::path(work + L"\\cache\\").u8string()))
        throw std::runtime_error("no drive is watched");
    Sleep(1000);
}

double processorMilliseconds()
{
    FILETIME created;
    FILETIME ended;
    FILETIME kernel;
    FILETIME user;
    GetProcessTimes(GetCurrentProcess(), &created, &ended, &kernel, &user);
    const auto ticks = [](const FILETIME& time) { return (ULONGLONG{time.dwHighDateTime} << 32) | time.dwLowDateTime; };
    return static_cast<double>(ticks(kernel) + ticks(user)) / 1e4;
}

}  // namespace

BenchResult measureWatchUnarmed()
{
    FileClipboardLazyRenderer renderer;
    return {"watch_unarmed_us", measureAddedFile(renderer), "us", 5, "lower"};
}

BenchResult measureWatchArmed()
{
    FileClipboardLazyRenderer renderer;
    TestAccess::arm(renderer, makeRecord([](const std::shared_ptr<ClipboardFileDataEx>&) { return 0; }));
    return {"watch_armed_us", measureAddedFile(renderer), "us", 10, "lower"};
}

BenchResult measureLandingExtra(const std::wstring& work)
{
    prepareFolders(work);
    startWatching(work);
    auto& reader = *new BareReader(L"C:\\");
    Sleep(500);
    openOnTheWay(work + L"\\landed");

    std::atomic<double> told{0};
    const auto record = makeRecord([&](const std::shared_ptr<ClipboardFileDataEx>&) {
        told = reader.watch.seconds();
        return 0;
    });
    if (!Clipboard::Get()->SetClipboardData(ClipboardFormat::FileLazy, record))
        throw std::runtime_error("a placeholder is refused");
    const std::wstring landing = work + L"\\landed\\" + findPlaceholder(work + L"\\cache");
    std::vector<double> extras;
    for (int i = 0; i < 2 * kLandings && extras.size() < kLandings; ++i) {
        told = 0;
        reader.seen = 0;
        createFile(landing);
        Sleep(kPause);
        if (told > 0 && reader.seen > 0)
            extras.push_back((told - reader.seen) * 1e3);
    }
    if (extras.size() < kLandings)
        throw std::runtime_error("landings are not seen");
    Clipboard::Get()->SetClipboardData(ClipboardFormat::FileLazy, makeRecord(nullptr));  // refers to this scope no more
    return {"landing_extra_ms", summarize(extras), "ms", 2, "lower"};
}

BenchResult measureIdleCpu(const std::wstring& work)
{
    prepareFolders(work);
    startWatching(work);
    const double before = processorMilliseconds();
    Sleep(kIdle);
    return {"idle_cpu_ms", summarize({processorMilliseconds() - before}), "ms", kTick, "lower"};
}
