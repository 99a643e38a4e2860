// A file system for the walk: directories that exist only in the answers of the replaced FindFirstFileW and its kin.
// It gives names, attributes, orders and failures that no disk gives at will.
#pragma once

#include <windows.h>

#include <cwchar>
#include <functional>
#include <map>
#include <string>
#include <utility>
#include <vector>

#include "support/import_hook.h"

// One at a time.
class FakeListing {
public:
    struct Search {
        std::vector<WIN32_FIND_DATAW> entries;
        std::size_t position = 0;
    };

    FakeListing()
    {
        current() = this;
    }
    FakeListing(const FakeListing&) = delete;
    FakeListing& operator=(const FakeListing&) = delete;
    ~FakeListing()
    {
        current() = nullptr;
    }

    static WIN32_FIND_DATAW makeEntry(const std::wstring& name, DWORD attributes)
    {
        WIN32_FIND_DATAW entry = {};
        entry.dwFileAttributes = attributes;
        name.copy(entry.cFileName, MAX_PATH - 1);
        return entry;
    }

    // A directory, with its "." and ".." in front of what is added to it.
    void addDirectory(const std::wstring& path)
    {
        mDirectories[path] = {makeEntry(L".", FILE_ATTRIBUTE_DIRECTORY), makeEntry(L"..", FILE_ATTRIBUTE_DIRECTORY)};
    }

    void addFile(const std::wstring& directory, const std::wstring& name, DWORD attributes = FILE_ATTRIBUTE_ARCHIVE)
    {
        add(directory, makeEntry(name, attributes));
    }

    void add(const std::wstring& directory, const WIN32_FIND_DATAW& entry)
    {
        mDirectories[directory].push_back(entry);
    }

    // A directory below another, listed in it too.
    void addSubdirectory(const std::wstring& directory, const std::wstring& name)
    {
        addFile(directory, name, FILE_ATTRIBUTE_DIRECTORY);
        addDirectory(directory + L"\\" + name);
    }

    std::vector<std::wstring> patterns;  // what FindFirstFileW was called with
    int openSearches = 0;
    std::function<void(const WIN32_FIND_DATAW&)> onNext;  // called with each entry that FindNextFileW gives

private:
    static FakeListing*& current()
    {
        static FakeListing* listing = nullptr;
        return listing;
    }

    static HANDLE WINAPI findFirst(LPCWSTR pattern, LPWIN32_FIND_DATAW entry)
    {
        FakeListing& listing = *current();
        const std::wstring path = pattern;
        listing.patterns.push_back(path);
        const auto found = listing.mDirectories.find(path.substr(0, path.size() - 2));
        if (path.size() < 2 || path.compare(path.size() - 2, 2, L"\\*") != 0 || found == listing.mDirectories.end()) {
            SetLastError(ERROR_ACCESS_DENIED);
            return INVALID_HANDLE_VALUE;
        }
        *entry = found->second.front();
        ++listing.openSearches;
        return new Search{found->second};
    }

    static BOOL WINAPI findNext(HANDLE handle, LPWIN32_FIND_DATAW entry)
    {
        Search& search = *static_cast<Search*>(handle);
        if (++search.position >= search.entries.size()) {
            SetLastError(ERROR_NO_MORE_FILES);
            return FALSE;
        }
        *entry = search.entries[search.position];
        if (current()->onNext)
            current()->onNext(*entry);
        return TRUE;
    }

    static BOOL WINAPI findClose(HANDLE handle)
    {
        --current()->openSearches;
        delete static_cast<Search*>(handle);
        return TRUE;
    }

    std::map<std::wstring, std::vector<WIN32_FIND_DATAW>> mDirectories;
    ImportHook<decltype(&FindFirstFileW)> mFirst{nullptr, "FindFirstFileW", &findFirst};
    ImportHook<decltype(&FindNextFileW)> mNext{nullptr, "FindNextFileW", &findNext};
    ImportHook<decltype(&FindClose)> mClose{nullptr, "FindClose", &findClose};
};
