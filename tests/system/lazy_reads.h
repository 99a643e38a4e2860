// What the system gives the library's own drive watchers, seen through the imports of the DLL: when a watcher has taken
// notice of a file, and what else stood in the same read. A watcher never looks at the last of several records.
#pragma once

#include <windows.h>

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <string>

#include "support/import_hook.h"

// The record of a file that came to stand somewhere: it was added, or renamed to that name.
struct NoticedFile {
    DWORD action = 0;
    bool isLastOfSeveral = false;

    bool isMissedLanding() const
    {
        return action == FILE_ACTION_ADDED && isLastOfSeveral;
    }
};

class LazyReads {
public:
    // Must be there before the first InitFileLazyRenderer. One for each process, as the watchers are.
    static LazyReads& shared();

    // Until the drive's watcher waits in a read.
    bool waitForWatcher(wchar_t drive) const;

    // How many watchers wait in a read.
    int countWaitingWatchers() const;

    // The last such record of the path, which is like "D:\folder\name".
    std::optional<NoticedFile> find(const std::wstring& path) const;
    void forget(const std::wstring& path);

    // Until it was in a read; until the watcher is through with that, and waits in the next.
    bool waitUntilGiven(const std::wstring& path, int milliseconds = 30000) const;
    bool waitUntilHandled(const std::wstring& path, int milliseconds = 30000) const;

    // Until the watcher waits again after that read: for the next one, or for a lock. Not all runtimes show how they
    // wait for a lock; with the others this takes its whole time, and nothing was seen.
    void waitUntilWatcherWaits(const std::wstring& path, int milliseconds = 30000) const;
    bool isHandled(const std::wstring& path) const;

    // How many reads of the drive held more than one record; how many told only that records were lost.
    int countReadsOfSeveral(wchar_t drive) const;
    int countOverflows(wchar_t drive) const;

private:
    struct FileOfRead : NoticedFile {
        int read = 0;   // which one
        int waits = 0;  // of the watcher up to it
    };
    struct Watcher {
        wchar_t drive = 0;
        DWORD thread = 0;
        int waits = 0;
        std::map<std::wstring, FileOfRead> files;  // by path
        int readsBegun = 0;
        int readsDone = 0;
        int readsOfSeveral = 0;
        int overflows = 0;
    };

    LazyReads();
    static BOOL WINAPI readChanges(HANDLE directory, LPVOID buffer, DWORD size, BOOL subtree, DWORD filter,
                                   LPDWORD bytes, LPOVERLAPPED overlapped, LPOVERLAPPED_COMPLETION_ROUTINE routine);
    static BOOL WINAPI getResult(HANDLE directory, LPOVERLAPPED overlapped, LPDWORD bytes, BOOL wait);
    static DWORD WINAPI wait(HANDLE handle, DWORD milliseconds);
    void noteStart(HANDLE directory, LPOVERLAPPED overlapped, const void* buffer);
    void noteResult(HANDLE directory, LPOVERLAPPED overlapped, DWORD bytes);
    void noteWait();
    const Watcher* watcherOf(wchar_t drive) const;
    const FileOfRead* fileOf(const std::wstring& path) const;

    mutable std::mutex mMutex;  // of all but the hooks
    mutable std::condition_variable mChanged;
    std::map<HANDLE, Watcher> mWatchers;
    std::map<LPOVERLAPPED, const void*> mBuffers;
    ImportHook<decltype(&ReadDirectoryChangesW)> mReadChanges;
    ImportHook<decltype(&GetOverlappedResult)> mGetResult;
    ImportHook<decltype(&WaitForSingleObject)> mWait;
};
