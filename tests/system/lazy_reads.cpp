#include "lazy_reads.h"

#include <algorithm>
#include <chrono>
#include <cstddef>
#include <cstring>
#include <vector>

namespace {

constexpr std::size_t kHeader = offsetof(FILE_NOTIFY_INFORMATION, FileName);

struct Record {
    DWORD action;
    std::wstring name;
};

// As the system wrote them.
std::vector<Record> readRecords(const void* buffer, DWORD bytes)
{
    std::vector<Record> records;
    const auto* next = static_cast<const unsigned char*>(buffer);
    const unsigned char* const end = next + bytes;
    while (next + kHeader <= end) {
        DWORD head[3] = {};  // offset of the next record, action, bytes of the name
        std::memcpy(head, next, sizeof head);
        std::wstring name(head[2] / sizeof(wchar_t), L'\0');
        std::memcpy(name.data(), next + kHeader, head[2]);
        records.push_back({head[1], name});
        if (head[0] == 0)
            break;
        next += head[0];
    }
    return records;
}

wchar_t driveOf(HANDLE directory)
{
    wchar_t path[MAX_PATH] = {};
    constexpr std::size_t kPrefix = 4;  // \\?\ before the drive
    GetFinalPathNameByHandleW(directory, path, MAX_PATH, FILE_NAME_NORMALIZED);
    return path[kPrefix];
}

}  // namespace

LazyReads& LazyReads::shared()
{
    static auto& reads = *new LazyReads;
    return reads;
}

LazyReads::LazyReads()
    : mReadChanges(GetModuleHandleW(L"md-clipboard.dll"), "ReadDirectoryChangesW", readChanges),
      mGetResult(GetModuleHandleW(L"md-clipboard.dll"), "GetOverlappedResult", getResult),
      mWait(GetModuleHandleW(L"md-clipboard.dll"), "WaitForSingleObject", wait)
{
}

BOOL WINAPI LazyReads::readChanges(HANDLE directory, LPVOID buffer, DWORD size, BOOL subtree, DWORD filter,
                                   LPDWORD bytes, LPOVERLAPPED overlapped, LPOVERLAPPED_COMPLETION_ROUTINE routine)
{
    LazyReads& reads = shared();
    const BOOL started =
        reads.mReadChanges.real()(directory, buffer, size, subtree, filter, bytes, overlapped, routine);
    const DWORD error = GetLastError();
    if (started)
        reads.noteStart(directory, overlapped, buffer);
    SetLastError(error);
    return started;
}

BOOL WINAPI LazyReads::getResult(HANDLE directory, LPOVERLAPPED overlapped, LPDWORD bytes, BOOL wait)
{
    LazyReads& reads = shared();
    const BOOL done = reads.mGetResult.real()(directory, overlapped, bytes, wait);
    const DWORD error = GetLastError();
    if (done)
        reads.noteResult(directory, overlapped, *bytes);
    SetLastError(error);
    return done;
}

DWORD WINAPI LazyReads::wait(HANDLE handle, DWORD milliseconds)
{
    const DWORD error = GetLastError();
    shared().noteWait();
    SetLastError(error);
    return WaitForSingleObject(handle, milliseconds);
}

void LazyReads::noteWait()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    for (auto& watcher : mWatchers)
        watcher.second.waits += watcher.second.thread == GetCurrentThreadId() ? 1 : 0;
    mChanged.notify_all();
}

void LazyReads::noteStart(HANDLE directory, LPOVERLAPPED overlapped, const void* buffer)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    Watcher& watcher = mWatchers[directory];
    if (watcher.drive == 0)
        watcher.drive = driveOf(directory);
    watcher.thread = GetCurrentThreadId();
    ++watcher.readsBegun;
    mBuffers[overlapped] = buffer;
    mChanged.notify_all();
}

void LazyReads::noteResult(HANDLE directory, LPOVERLAPPED overlapped, DWORD bytes)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    Watcher& watcher = mWatchers[directory];
    const auto records = readRecords(mBuffers[overlapped], bytes);
    ++watcher.readsDone;
    watcher.overflows += records.empty() ? 1 : 0;
    watcher.readsOfSeveral += records.size() > 1 ? 1 : 0;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const bool isLastOfSeveral = i > 0 && i + 1 == records.size();
        if (records[i].action != FILE_ACTION_ADDED && records[i].action != FILE_ACTION_RENAMED_NEW_NAME)
            continue;
        FileOfRead& file = watcher.files[std::wstring(1, watcher.drive) + L":\\" + records[i].name];
        file.action = records[i].action;
        file.isLastOfSeveral = isLastOfSeveral;
        file.read = watcher.readsDone;
        file.waits = watcher.waits;
    }
    mChanged.notify_all();
}

const LazyReads::Watcher* LazyReads::watcherOf(wchar_t drive) const
{
    const auto found = std::find_if(mWatchers.begin(), mWatchers.end(),
                                    [drive](const auto& entry) { return entry.second.drive == drive; });
    return found == mWatchers.end() ? nullptr : &found->second;
}

const LazyReads::FileOfRead* LazyReads::fileOf(const std::wstring& path) const
{
    const Watcher* const watcher = watcherOf(path.front());
    if (watcher == nullptr)
        return nullptr;
    const auto found = watcher->files.find(path);
    return found == watcher->files.end() ? nullptr : &found->second;
}

bool LazyReads::waitForWatcher(wchar_t drive) const
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::seconds(30), [&] {
        const Watcher* const watcher = watcherOf(drive);
        return watcher != nullptr && watcher->readsBegun > watcher->readsDone;
    });
}

int LazyReads::countWaitingWatchers() const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return static_cast<int>(std::count_if(mWatchers.begin(), mWatchers.end(), [](const auto& entry) {
        return entry.second.readsBegun > entry.second.readsDone;
    }));
}

std::optional<NoticedFile> LazyReads::find(const std::wstring& path) const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    const FileOfRead* const file = fileOf(path);
    return file == nullptr ? std::nullopt : std::optional<NoticedFile>(*file);
}

void LazyReads::forget(const std::wstring& path)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    for (auto& watcher : mWatchers)
        watcher.second.files.erase(path);
}

bool LazyReads::waitUntilGiven(const std::wstring& path, int milliseconds) const
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] { return fileOf(path) != nullptr; });
}

bool LazyReads::waitUntilHandled(const std::wstring& path, int milliseconds) const
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] {
        const FileOfRead* const file = fileOf(path);
        return file != nullptr && watcherOf(path.front())->readsBegun > file->read;
    });
}

void LazyReads::waitUntilWatcherWaits(const std::wstring& path, int milliseconds) const
{
    std::unique_lock<std::mutex> lock(mMutex);
    mChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), [&] {
        const FileOfRead* const file = fileOf(path);
        return file != nullptr && watcherOf(path.front())->waits > file->waits;
    });
}

bool LazyReads::isHandled(const std::wstring& path) const
{
    return waitUntilHandled(path, 0);
}

int LazyReads::countReadsOfSeveral(wchar_t drive) const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return watcherOf(drive)->readsOfSeveral;
}

int LazyReads::countOverflows(wchar_t drive) const
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return watcherOf(drive)->overflows;
}
