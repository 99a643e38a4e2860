#include "swept_imports.h"

#include <direct.h>
#include <io.h>
#include <ole2.h>
#include <process.h>
#include <shellapi.h>
#include <shlobj.h>
#include <shlwapi.h>
#include <sys/stat.h>

#include <cstdio>
#include <ctime>
#include <cwchar>
#include <utility>

#include "library_handles.h"

namespace {

using Imports = std::vector<std::unique_ptr<SweptImport>>;

template <class Tag, class Result, class... Arguments>
TypedSweptImport<Tag, Result, Arguments...>& add(Imports& imports, Tag /*tag*/, const char* name,
                                                 Result (*type)(Arguments...))
{
    auto import = std::make_unique<TypedSweptImport<Tag, Result, Arguments...>>(name, type);
    auto& added = *import;
    imports.push_back(std::move(import));
    return added;
}

// The type of the lambda makes each replacement a function of its own.
#define SWEPT(function) \
    add(                \
        imports, [] {}, #function, &(function))

constexpr std::intptr_t kInvalidHandle = -1;  // INVALID_HANDLE_VALUE

constexpr const char* kEmptyText = "a text that can't be converted counts as empty";
constexpr const char* kBesides = "what is missing besides the list itself stops no paste";
constexpr const char* kClosing = "what is given up is not looked at again";
constexpr const char* kChanges = "one copy is sometimes reported as two changes";
constexpr const char* kReads = "changes of a drive that come at once are read at once";
constexpr const char* kLooksAgain = "the library looks again a moment later, and goes on";

constexpr const char* kWaitsNoLonger = "the post that follows tells whether the thread is ready";
constexpr const char* kChangesLost = "changes of a drive that are lost are lost";
constexpr const char* kUnseen = "what can't be listed is not part of the copy";
constexpr UINT kAllFiles = 0xFFFFFFFF;  // asks DragQueryFileW for the count

// The cache is cleaned, and copied folders are walked, on one thread each.
thread_local bool tSearchesCache = false;

bool noteSearch(LPCWSTR path, LPWIN32_FIND_DATAW /*found*/)
{
    tSearchesCache = std::wcsstr(path, L"\\cache\\") != nullptr;
    return true;
}

// The library queries a data object right after it has registered the object's formats.
thread_local bool tQueriesNext = false;

bool noteRegistration(LPCWSTR /*name*/)
{
    tQueriesNext = true;
    return true;
}

void noteFile(HANDLE handle)
{
    LibraryHandles::note(handle);
}

void addClipboard(Imports& imports)
{
    SWEPT(OpenClipboard).fails("denied", FALSE, ERROR_ACCESS_DENIED).isSilent(kLooksAgain).varies(kChanges);
    SWEPT(CloseClipboard)
        .failsAfterwards("not open", FALSE, ERROR_CLIPBOARD_NOT_OPEN)
        .isSilent(kClosing)
        .varies(kChanges);
    SWEPT(EmptyClipboard)
        .fails("not open", FALSE, ERROR_CLIPBOARD_NOT_OPEN)
        .isSilent("what is set next takes its place");
    SWEPT(GetClipboardData)
        .fails("no data", FALSE, ERROR_NOT_FOUND)
        .fails("denied", FALSE, ERROR_ACCESS_DENIED)
        .logs("Get clipboard data failed! error code ")
        .varies(kChanges);
    SWEPT(SetClipboardData)
        .fails("no memory", FALSE, ERROR_NOT_ENOUGH_MEMORY)
        .fails("not open", FALSE, ERROR_CLIPBOARD_NOT_OPEN)
        .logs("Failed to set drop file clipboard data!")
        .isSilent(kBesides, [](UINT format, HANDLE) { return format != CF_HDROP; });
    SWEPT(EnumClipboardFormats)
        .fails("not open", 0, ERROR_CLIPBOARD_NOT_OPEN)
        .varies(kChanges)
        .isSilent("the formats of an update count, too");
    SWEPT(GetUpdatedClipboardFormats)
        .fails("no room", FALSE, ERROR_INSUFFICIENT_BUFFER)
        .logs("GetUpdatedClipboardFormats return error, error code ")
        .varies(kChanges);
    SWEPT(GetClipboardOwner).fails("no owner", FALSE, ERROR_SUCCESS).isSilent("nobody's copy is emptied then");
}

void addFormats(Imports& imports)
{
    SWEPT(AddClipboardFormatListener)
        .fails("no memory", FALSE, ERROR_NOT_ENOUGH_MEMORY)
        .logs("AddClipboardFormatListener fail.");
    SWEPT(RemoveClipboardFormatListener)
        .fails("no window", FALSE, ERROR_INVALID_WINDOW_HANDLE)
        .logs("Remove clipboard listener failed, error code: ");
    SWEPT(RegisterClipboardFormatW)
        .fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY)
        .countsOnly(&noteRegistration)
        .isSilent("a format without a number is not offered");
    SWEPT(DragQueryFileW)
        .fails("nothing", 0, ERROR_SUCCESS)
        .logs("DragQueryFile error, Files == 0!")
        .logs("Invalid copy files!")
        .varies(kChanges)
        .isSilent("a path that the platform does not give is left out",
                  [](HDROP, UINT index, LPWSTR, UINT) { return index != kAllFiles; });
}

void addWindows(Imports& imports)
{
    SWEPT(RegisterClassExA).fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY).logs("RegisterClassEx failed. error");
    SWEPT(CreateWindowExA).fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY).logs("CreateWindow return zero, err: ");
    SWEPT(LoadCursorW).fails("no resource", 0, ERROR_RESOURCE_NAME_NOT_FOUND).logs("RegisterClassEx failed. error");
    SWEPT(RegisterWindowMessageA).fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY).isSilent("the number 0 serves, too");
    SWEPT(PostThreadMessageW)
        .fails("quota", FALSE, ERROR_NOT_ENOUGH_QUOTA)
        .fails("no thread", FALSE, ERROR_INVALID_THREAD_ID)
        .logs("PostThreadMessage failed! errCode: ")
        .isSilent("the next wake serves, too", [](DWORD, UINT message, WPARAM, LPARAM) { return message == WM_NULL; })
        .varies("a wait that lasts wakes the thread once a second");
    SWEPT(GetMessageW)
        .fails("no window", -1, ERROR_INVALID_WINDOW_HANDLE)
        .isSilent("the thread goes on to the next message");
}

void addOle(Imports& imports)
{
    SWEPT(OleInitialize)
        .returns("no memory", E_OUTOFMEMORY)
        .returns("other apartment", RPC_E_CHANGED_MODE)
        .logs("ole initialize failed");
    SWEPT(CoGetApartmentType).returns("not joined", CO_E_NOTINITIALIZED);
    SWEPT(CountClipboardFormats).returns("none", 0);
    SWEPT(OleSetClipboard)
        .returns("busy", CLIPBRD_E_CANT_OPEN)
        .silently(kLooksAgain)
        .returns("not emptied", CLIPBRD_E_CANT_EMPTY)
        .returns("not set", CLIPBRD_E_CANT_SET)
        .logs("OleSetClipboard return ")
        .isSilent("an emptying that fails leaves what is there", [](IDataObject* data) { return data == nullptr; })
        .varies("a clipboard that somebody else has open is tried again");
    SWEPT(OleIsCurrentClipboard)
        .returns("not current", S_FALSE)
        .isSilent("the list counts as replaced by another program's");
    SWEPT(SHCreateDataObject).returns("no memory", E_OUTOFMEMORY).isSilent("the format is refused");
    SWEPT(SHCreateStdEnumFmtEtc).returns("no memory", E_OUTOFMEMORY).logs("OleSetClipboard return ");
    // The platform queries, too, and may expect what the library has in its table.
    SWEPT(QISearch)
        .returns("no interface", E_NOINTERFACE)
        .clears([](void*, LPCQITAB, REFIID, void** object) { *object = nullptr; })
        .countsOnly([](void*, LPCQITAB, REFIID, void**) { return std::exchange(tQueriesNext, false); })
        .logs("QueryInterface return ");
}

void addMemory(Imports& imports)
{
    SWEPT(GlobalAlloc)
        .fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY)
        .logs("GlobalAlloc gMem fail.")
        .logs("Failed to alloc drop file memory!")
        .isSilent(kBesides, [](UINT, SIZE_T size) { return size == sizeof(DWORD); });
    SWEPT(GlobalLock)
        .fails("no block", 0, ERROR_INVALID_HANDLE)
        .logs("GlobalLock gMem fail.")
        .logs("Failed to free drop file memory!")
        .logs("GlobalLock error!")
        .varies(kChanges)
        .isSilent(kBesides, [](HGLOBAL block) { return GlobalSize(block) == sizeof(DWORD); });
    SWEPT(GlobalUnlock).failsAfterwards("not locked", FALSE, ERROR_NOT_LOCKED).isSilent(kClosing).varies(kChanges);
    SWEPT(GlobalFree).failsAfterwards("no block", 1, ERROR_INVALID_HANDLE).isSilent(kClosing);
    SWEPT(GlobalSize).fails("no block", 0, ERROR_INVALID_HANDLE);
    SWEPT(MultiByteToWideChar)
        .fails("no translation", 0, ERROR_NO_UNICODE_TRANSLATION)
        .fails("no room", 0, ERROR_INSUFFICIENT_BUFFER)
        .isSilent(kEmptyText)
        .varies(kReads);
    SWEPT(WideCharToMultiByte)
        .fails("no translation", 0, ERROR_NO_UNICODE_TRANSLATION)
        .fails("no room", 0, ERROR_INSUFFICIENT_BUFFER)
        .isSilent(kEmptyText)
        .varies(kReads);
}

void addThreads(Imports& imports)
{
    SWEPT(CreateThread)
        .fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY)
        .logs("CreateThread failed! errCode: ")
        .notes(&noteFile);
    SWEPT(_beginthreadex)
        .failsInRuntime("no memory", 0, EAGAIN)
        .logs("Clipboard engine can't be made: ")
        .logs("The first sync can't be started: ")
        .logs("Drive can't be watched: ");
    SWEPT(CreateEventW)
        .fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY)
        .logs("Failed to create event ")
        .notes(&noteFile)
        .isSilent(kWaitsNoLonger,
                  [](LPSECURITY_ATTRIBUTES, BOOL isManual, BOOL, LPCWSTR) { return isManual != FALSE; });
    SWEPT(SetEvent)
        .fails("no event", FALSE, ERROR_INVALID_HANDLE)
        .countsOnly(&LibraryHandles::has)
        .isSilent(kWaitsNoLonger);
    SWEPT(WaitForSingleObject)
        .fails("no event", static_cast<std::intptr_t>(WAIT_FAILED), ERROR_INVALID_HANDLE)
        .countsOnly([](HANDLE handle, DWORD) { return LibraryHandles::has(handle); })
        .isSilent(kChangesLost)
        .varies(kReads);
    SWEPT(WaitForMultipleObjects)
        .fails("no event", static_cast<std::intptr_t>(WAIT_FAILED), ERROR_INVALID_HANDLE)
        .countsOnly([](DWORD, const HANDLE* handles, BOOL, DWORD) { return LibraryHandles::has(handles[0]); })
        .isSilent(kWaitsNoLonger);
    SWEPT(CloseHandle)
        .failsAfterwards("no handle", FALSE, ERROR_INVALID_HANDLE)
        .countsOnly(&LibraryHandles::close)
        .logs("Failed to close sparce file(");
    SWEPT(GetModuleHandleExW)
        .fails("no module", FALSE, ERROR_MOD_NOT_FOUND)
        .isSilent("only who unloads the library is in danger then");
    SWEPT(SystemTimeToFileTime).fails("no time", FALSE, ERROR_INVALID_PARAMETER);
}

void addFiles(Imports& imports)
{
    SWEPT(CreateFileW)
        .fails("denied", kInvalidHandle, ERROR_ACCESS_DENIED)
        .fails("full disk", kInvalidHandle, ERROR_DISK_FULL)
        .logs("Failed to create file - ")
        .notes(&noteFile)
        .isSilent("a placeholder that is not there is offered all the same",
                  [](LPCWSTR, DWORD, DWORD, LPSECURITY_ATTRIBUTES, DWORD disposition, DWORD, HANDLE) {
                      return disposition == CREATE_ALWAYS;
                  });
    SWEPT(CreateDirectoryW)
        .fails("denied", FALSE, ERROR_ACCESS_DENIED)
        .fails("full disk", FALSE, ERROR_DISK_FULL)
        .logs("Could not create cache directory(");
    SWEPT(DeleteFileW)
        .fails("denied", FALSE, ERROR_ACCESS_DENIED)
        .fails("in use", FALSE, ERROR_SHARING_VIOLATION)
        .logs("Failed to delete file: ")
        .logs("Failed to remove target file after lazy rendering failed due to ")
        .varies(kReads);
    SWEPT(FindFirstFileW)
        .fails("denied", kInvalidHandle, ERROR_ACCESS_DENIED)
        .logs("Failed to get the first file in the directory. Error: ")
        .countsOnly(&noteSearch)
        .isSilent(kUnseen, [](LPCWSTR, LPWIN32_FIND_DATAW) { return !tSearchesCache; });
    SWEPT(FindNextFileW)
        .fails("no memory", FALSE, ERROR_NOT_ENOUGH_MEMORY)
        .logs("FindNextFile encountered an error. Error: ")
        .isSilent(kUnseen, [](HANDLE, LPWIN32_FIND_DATAW) { return !tSearchesCache; });
    SWEPT(FindClose).failsAfterwards("no handle", FALSE, ERROR_INVALID_HANDLE).isSilent(kClosing);
    SWEPT(GetFileAttributesW)
        .fails("denied", static_cast<std::intptr_t>(INVALID_FILE_ATTRIBUTES), ERROR_ACCESS_DENIED)
        .isSilent("the attributes count as unknown");
    SWEPT(GetFullPathNameW)
        .fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY)
        .logs("Failed to get the first file in the directory. Error: ");
    SWEPT(MoveFileExW).fails("denied", FALSE, ERROR_ACCESS_DENIED);
}

void addDrives(Imports& imports)
{
    SWEPT(GetLogicalDriveStringsW)
        .fails("no memory", 0, ERROR_NOT_ENOUGH_MEMORY)
        .logs("GetLogicalDriveStrings() failed with error code: ");
    SWEPT(GetVolumeInformationW).fails("not ready", FALSE, ERROR_NOT_READY).logs("Drive: ");
    SWEPT(ReadDirectoryChangesW)
        .fails("denied", FALSE, ERROR_ACCESS_DENIED)
        .logs("Failed to monitor drive directory changes - ")
        .inOwnProcess()
        .varies(kReads);
    SWEPT(GetOverlappedResult).fails("lost", FALSE, ERROR_NOTIFY_ENUM_DIR).isSilent(kChangesLost).varies(kReads);
    SWEPT(CancelIoEx).fails("nothing", FALSE, ERROR_NOT_FOUND);
}

void addRuntime(Imports& imports)
{
    SWEPT(_access)
        .failsInRuntime("denied", -1, EACCES)
        .isSilent("a missing folder shows when the first slice can't be opened");
    SWEPT(_mkdir)
        .failsInRuntime("denied", -1, EACCES)
        .failsInRuntime("full disk", -1, ENOSPC)
        .isSilent("a missing folder shows when the first slice can't be opened");
    SWEPT(_wstat64).failsInRuntime("none", -1, ENOENT).isSilent("the listing of the folder tells the same");
    SWEPT(fopen)
        .failsInRuntime("denied", 0, EACCES)
        .failsInRuntime("full disk", 0, ENOSPC)
        .logs("is open:0")
        .logs("isOpen:0");
    SWEPT(_write).failsInRuntime("full disk", -1, ENOSPC).isSilent("the sums go on; who pastes finds the file short");
    SWEPT(_read).failsInRuntime("broken", -1, EIO).isSilent("a slice ends where it can't be read on");
    SWEPT(_lseeki64).failsInRuntime("no file", -1, EBADF).isSilent("a slice ends with a later delivery");
    SWEPT(_fstat64).failsInRuntime("no file", -1, EBADF);
    SWEPT(fflush).failsInRuntime("full disk", EOF, ENOSPC);
    SWEPT(fclose).failsInRuntimeAfterwards("full disk", EOF, ENOSPC).isSilent(kClosing);
    SWEPT(_wfopen).failsInRuntime("denied", 0, EACCES);
    SWEPT(remove).failsInRuntime("denied", -1, EACCES);
}

Imports makeAll()
{
    Imports imports;
    addClipboard(imports);
    addFormats(imports);
    addWindows(imports);
    addOle(imports);
    addMemory(imports);
    addThreads(imports);
    addFiles(imports);
    addDrives(imports);
    addRuntime(imports);
    return imports;
}

}  // namespace

const std::vector<std::unique_ptr<SweptImport>>& SweptImports::all()
{
    static const auto& imports = *new Imports(makeAll());
    return imports;
}

SweptImport* SweptImports::find(const std::string& name)
{
    for (const auto& import : all()) {
        if (import->name() == name)
            return import.get();
    }
    return nullptr;
}

void SweptImports::replaceIn(HMODULE module)
{
    for (const auto& import : all())
        import->replaceIn(module);
}
