#include "lazy_test.h"

#include <shellapi.h>

#include <algorithm>
#include <atomic>
#include <chrono>
#include <filesystem>
#include <stdexcept>
#include <utility>

#include "example_support/utf8_arguments.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

constexpr const char* kOwnChange = "File clipboard lazy renderer is ready, skip onDetectCopy";
constexpr const char* kOwnWrite = "Consume file lazy renderer copy 1";
constexpr wchar_t kDrives[] = {L'C', L'D'};

std::wstring uniqueName(const wchar_t* kind)
{
    static std::atomic<int> count{0};
    return kind + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(GetTickCount64()) + L"-" +
           std::to_wstring(++count);
}

// The paths on the clipboard.
std::vector<std::wstring> readDropList()
{
    std::vector<std::wstring> paths;
    if (!OpenClipboard(nullptr))
        return paths;
    const auto drop = static_cast<HDROP>(GetClipboardData(CF_HDROP));
    constexpr UINT kAllFiles = 0xFFFFFFFF;
    const UINT count = drop != nullptr ? DragQueryFileW(drop, kAllFiles, nullptr, 0) : 0;
    for (UINT i = 0; i < count; ++i) {
        std::wstring path(DragQueryFileW(drop, i, nullptr, 0) + std::size_t{1}, L'\0');
        path.resize(DragQueryFileW(drop, i, path.data(), static_cast<UINT>(path.size())));
        paths.push_back(path);
    }
    CloseClipboard();
    return paths;
}

}  // namespace

void makeEmptyFile(const std::wstring& path)
{
    const HANDLE file =
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_NEW, FILE_ATTRIBUTE_NORMAL, nullptr);
    ASSERT_NE(file, INVALID_HANDLE_VALUE) << toUtf8(path) << " error " << GetLastError();
    CloseHandle(file);
}

bool fileExists(const std::wstring& path)
{
    return GetFileAttributesW(path.c_str()) != INVALID_FILE_ATTRIBUTES;
}

void lookIntoFolder(const std::wstring& folder)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    ASSERT_NE(search, INVALID_HANDLE_VALUE) << toUtf8(folder);
    FindClose(search);
}

// ---- LazyList ----

std::shared_ptr<ClipboardFileDataEx> LazyList::makeRecord(const std::vector<std::string>& fileNames)
{
    std::vector<ClipfileDescription> files(fileNames.size());
    for (std::size_t i = 0; i < files.size(); ++i)
        files[i].fileName = fileNames[i];
    auto record = ClipboardFileDataEx::Create();
    record->SetFiles(files);
    record->SetFileLazyRenderingCallback(
        [self = shared_from_this()](const std::shared_ptr<ClipboardFileDataEx>& landed) {
            return self->land(*landed);
        });
    return record;
}

int LazyList::land(ClipboardFileDataEx& record)
{
    const auto target = record.GetTargetClipboardData()->GetFiles().at(0);
    const Landing landing = {target.root, target.relativePath, target.fileName};
    const int result = duringLanding ? duringLanding(landing) : 0;
    const std::lock_guard<std::mutex> lock(mMutex);
    mLandings.push_back(landing);
    mChanged.notify_all();
    return result;
}

std::vector<Landing> LazyList::landings() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mLandings;
}

bool LazyList::waitForLandings(std::size_t count, int milliseconds) const
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] { return mLandings.size() >= count; });
}

// ---- DriveFolder ----

DriveFolder::DriveFolder(wchar_t drive) : mPath(std::wstring(1, drive) + L":\\" + uniqueName(L"test-drive-"))
{
    if (!CreateDirectoryW(mPath.c_str(), nullptr))
        throw std::runtime_error("no folder on drive " + toUtf8(mPath) + ", error " + std::to_string(GetLastError()));
}

DriveFolder::~DriveFolder()
{
    std::error_code ignored;
    fs::remove_all(mPath, ignored);
}

// ---- LazyTest ----

LazyTest::LazyTest()
{
    for (const wchar_t drive : kDrives)
        EXPECT_TRUE(mReads.waitForWatcher(drive)) << toUtf8(std::wstring(1, drive));
    lookIntoFolder(mFolder.path());
    lookIntoFolder(mOther.path());
    mHost.settle();
    RecordingLog::clear();
}

bool LazyTest::offerLazily(const std::shared_ptr<LazyList>& list, const std::vector<std::string>& fileNames)
{
    const int before = RecordingLog::count(5, kOwnWrite);
    const bool taken = mHost.clipboard().SetClipboardData(ClipboardFormat::FileLazy, list->makeRecord(fileNames));
    if (taken) {
        EXPECT_TRUE(waitUntil([before] { return RecordingLog::count(5, kOwnWrite) > before; }));
    }
    return taken;
}

std::shared_ptr<LazyList> LazyTest::arm(const std::vector<std::string>& fileNames,
                                        std::function<int(const Landing&)> duringLanding)
{
    auto list = std::make_shared<LazyList>();
    list->duringLanding = std::move(duringLanding);
    const std::size_t before = countOwnChanges();
    EXPECT_TRUE(offerLazily(list, fileNames));
    EXPECT_TRUE(waitUntil([&] { return countOwnChanges() > before; }));
    const auto paths = readDropList();
    EXPECT_EQ(paths.size(), 1U);
    mPlaceholder = paths.empty() ? L"" : paths.front();
    return list;
}

std::size_t LazyTest::countOwnChanges()
{
    return static_cast<std::size_t>(RecordingLog::count(5, kOwnChange));
}

std::wstring LazyTest::placeholderName() const
{
    return fs::path(mPlaceholder).filename().wstring();
}

// Whatever the watcher has not seen yet comes before this file, and what comes after it is in a later read. The file
// stays until the folder goes: its removal would be a record too.
void LazyTest::settle(wchar_t drive)
{
    const std::wstring probe = (drive == L'C' ? mFolder.path() : mOther.path()) + uniqueName(L"\\probe-");
    makeEmptyFile(probe);
    EXPECT_TRUE(mReads.waitUntilHandled(probe));
}

DWORD LazyTest::pasteInto(const std::wstring& folder, std::vector<std::wstring> options)
{
    const std::wstring name = placeholderName();
    const std::wstring landed = folder + (folder.back() == L'\\' ? L"" : L"\\") + name;
    settle(folder.front());
    options.insert(options.begin(), folder);
    ChildProcess child(L"clip-paste.exe", options);
    const DWORD code = child.waitForExit(60000);
    mOutput = child.output();
    if (code == kPasteWritten)
        awaitHandling(landed);
    return code;
}

void LazyTest::landIn(const std::wstring& folder)
{
    const std::wstring landed = folder + (folder.back() == L'\\' ? L"" : L"\\") + placeholderName();
    settle(folder.front());
    mReads.forget(landed);
    makeEmptyFile(landed);
    awaitHandling(landed);
}

void LazyTest::awaitHandling(const std::wstring& path)
{
    ASSERT_TRUE(mReads.waitUntilHandled(path)) << toUtf8(path);
    for (int i = 0; i < 20 && mReads.find(path)->isMissedLanding(); ++i) {
        DeleteFileW(path.c_str());
        settle(path.front());
        mReads.forget(path);
        makeEmptyFile(path);
        ASSERT_TRUE(mReads.waitUntilHandled(path)) << toUtf8(path);
    }
}

void LazyTest::expectLanded(const LazyList& list, std::size_t count, const std::wstring& folder) const
{
    ASSERT_TRUE(list.waitForLandings(count)) << toUtf8(folder);
    const Landing landing = list.landings().at(count - 1);
    EXPECT_EQ(list.landings().size(), count);
    EXPECT_EQ(landing.root, toUtf8(folder));
    EXPECT_EQ(landing.relativePath, "");
    EXPECT_EQ(landing.fileName, "");
}
