#include "drop_paste.h"

#include <windows.h>

#include <algorithm>
#include <stdexcept>

#include "destination.h"
#include "drop_entries.h"
#include "example_support/console.h"
#include "example_support/utf8_arguments.h"
#include "written_file.h"

namespace {

void lookInto(const std::wstring& folder)
{
    WIN32_FIND_DATAW found;
    const HANDLE search = FindFirstFileW((folder + L"\\*").c_str(), &found);
    if (search == INVALID_HANDLE_VALUE)
        return;
    while (FindNextFileW(search, &found)) {
    }
    FindClose(search);
}

/// The user of a file manager goes down to a folder before he pastes into it, so that the file manager has read all
/// folders on the way. Under Wine that is what makes programs that watch the whole drive see what comes into a folder
/// that is older than their watch.
/// @param folder as findDestination gives it
void goDownTo(const std::wstring& folder)
{
    constexpr std::size_t kPrefix = 4;  // of the form that takes any length
    for (std::size_t end = folder.find(L'\\', kPrefix); end != std::wstring::npos; end = folder.find(L'\\', end + 1))
        lookInto(folder.substr(0, end));
    makeFolders(folder);
    lookInto(folder);
}

std::runtime_error lastErrorOf(const char* what, const std::wstring& path)
{
    const DWORD error = GetLastError();
    return std::runtime_error(std::string(what) + " " + toUtf8(path) + ", error " + std::to_string(error));
}

DWORD CALLBACK stopIfAsked(LARGE_INTEGER /*size*/, LARGE_INTEGER /*sent*/, LARGE_INTEGER /*streamSize*/,
                           LARGE_INTEGER /*streamSent*/, DWORD /*stream*/, DWORD /*reason*/, HANDLE /*source*/,
                           HANDLE /*target*/, LPVOID /*data*/)
{
    return isStopAsked() ? PROGRESS_CANCEL : PROGRESS_CONTINUE;
}

/// A paste that runs, and its totals.
class DropPaste {
public:
    explicit DropPaste(const std::vector<DropEntry>& entries) : mEntries(entries) {}

    /// These throw std::runtime_error at the first failure. @return whether it went to its end; else it was stopped
    bool copyAll()
    {
        return std::all_of(mEntries.begin(), mEntries.end(),
                           [this](const DropEntry& entry) { return !isStopAsked() && copy(entry); });
    }

    bool renameAll(const std::wstring& destination)
    {
        return std::all_of(mEntries.begin(), mEntries.end(), [&](const DropEntry& entry) {
            const bool isTop = entry.place.rfind(L'\\') == destination.size();
            return !isStopAsked() && (!isTop || rename(entry));
        });
    }

    void removeSources() const
    {
        for (auto entry = mEntries.rbegin(); entry != mEntries.rend(); ++entry) {
            if (!(entry->directory ? RemoveDirectoryW(entry->source.c_str()) : DeleteFileW(entry->source.c_str())))
                throw lastErrorOf("cannot remove", entry->source);
        }
    }

    std::string describe(PasteResult result) const
    {
        return describePaste(result, mFiles, mBytes);
    }

private:
    bool copy(const DropEntry& entry)
    {
        if (entry.directory) {
            makeFolders(entry.place);
            return true;
        }
        if (!CopyFileExW(entry.source.c_str(), entry.place.c_str(), stopIfAsked, nullptr, nullptr,
                         COPY_FILE_FAIL_IF_EXISTS)) {
            if (GetLastError() == ERROR_REQUEST_ABORTED)
                return false;
            throw lastErrorOf("cannot make", entry.place);
        }
        count(entry);
        return true;
    }

    /// With all that lies in it.
    bool rename(const DropEntry& top)
    {
        if (!MoveFileExW(top.source.c_str(), top.place.c_str(), 0))
            throw lastErrorOf("cannot move to", top.place);
        for (const DropEntry& entry : mEntries) {
            if (&entry == &top || entry.place.compare(0, top.place.size() + 1, top.place + L'\\') == 0)
                count(entry);
        }
        return true;
    }

    void count(const DropEntry& entry)
    {
        mFiles += entry.directory ? 0 : 1;
        mBytes += entry.size;
    }

    const std::vector<DropEntry>& mEntries;
    std::size_t mFiles = 0;
    std::uint64_t mBytes = 0;
};

/// Throws std::runtime_error at the first failure.
PasteResult transfer(DropPaste& paste, bool cut, bool rename, const std::wstring& destination)
{
    const bool whole = cut && rename ? paste.renameAll(destination) : paste.copyAll();
    if (!whole)
        return PasteResult::Stopped;
    if (cut && !rename)
        paste.removeSources();
    return PasteResult::Written;
}

}  // namespace

PasteResult pasteDropList(const DropList& list, const PasteOptions& options)
{
    const std::wstring destination = findDestination(options.destination);
    const auto entries = findDropEntries(list.paths, destination);
    goDownTo(destination);
    DropPaste paste(entries);
    PasteResult result = PasteResult::Failed;
    try {
        result = transfer(paste, list.cut, options.rename, destination);
    } catch (const std::runtime_error& error) {
        printError(std::string("clip-paste: ") + error.what() + "\n");
    }
    printText(paste.describe(result) + " to " + options.destination + "\n");
    return result;
}
