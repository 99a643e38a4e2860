#include "drop_entries.h"

#include <windows.h>

#include <stdexcept>

#include "destination.h"
#include "example_support/utf8_arguments.h"
#include "relative_name.h"

namespace {

std::runtime_error refuse(const std::wstring& path, const std::string& reason)
{
    return std::runtime_error("refused, nothing is written: \"" + toUtf8(path) + "\" " + reason);
}

/// Letters of either case are the same to the file system.
bool liesInOrIs(const std::wstring& path, const std::wstring& folder)
{
    const int length = static_cast<int>(folder.size());
    return path.size() >= folder.size() &&
           CompareStringOrdinal(path.c_str(), length, folder.c_str(), length, TRUE) == CSTR_EQUAL &&
           (path.size() == folder.size() || path[folder.size()] == L'\\');
}

bool isDotEntry(const wchar_t* name)
{
    return name[0] == L'.' && (name[1] == L'\0' || (name[1] == L'.' && name[2] == L'\0'));
}

void addEntry(std::vector<DropEntry>& entries, const std::wstring& source, const std::wstring& place,
              const WIN32_FIND_DATAW& found);

void addChildren(std::vector<DropEntry>& entries, const std::wstring& source, const std::wstring& place)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((source + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        throw refuse(source, "cannot be looked into");
    std::vector<WIN32_FIND_DATAW> children;
    do
        children.push_back(found);
    while (FindNextFileW(search, &found));
    FindClose(search);
    for (const WIN32_FIND_DATAW& child : children) {
        if (!isDotEntry(child.cFileName))
            addEntry(entries, source + L'\\' + child.cFileName, place + L'\\' + child.cFileName, child);
    }
}

void addEntry(std::vector<DropEntry>& entries, const std::wstring& source, const std::wstring& place,
              const WIN32_FIND_DATAW& found)
{
    DropEntry entry{source, place};
    entry.directory = (found.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    if (!entry.directory)
        entry.size = (std::uint64_t{found.nFileSizeHigh} << 32) | found.nFileSizeLow;
    entries.push_back(entry);
    // What a link to a folder leads to is not part of the list: moving it would empty a folder elsewhere.
    if (entry.directory && (found.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) == 0)
        addChildren(entries, source, place);
}

}  // namespace

std::vector<DropEntry> findDropEntries(const std::vector<std::wstring>& paths, const std::wstring& destination)
{
    std::vector<DropEntry> entries;
    for (const std::wstring& path : paths) {
        const std::wstring source = makeVerbatim(path);
        const auto name = findPlaceBelow(source.substr(source.rfind(L'\\') + 1));
        if (!name)
            throw refuse(path, "would be written outside the destination");
        WIN32_FIND_DATAW found;
        const HANDLE search = FindFirstFileW(source.c_str(), &found);
        if (search == INVALID_HANDLE_VALUE)
            throw refuse(path, "is not there");
        FindClose(search);
        if (liesInOrIs(destination, source))
            throw refuse(path, "cannot be pasted into itself");
        addEntry(entries, source, destination + L'\\' + *name, found);
    }
    return entries;
}
