// Watches every drive for added files: nothing else tells where a placeholder was pasted.
#include <cstring>
#include <exception>
#include <memory>
#include <new>
#include <utility>

#include "base/exception_text.h"
#include "base/log.h"
#include "file_clipboard_lazy_renderer/drive_list.h"
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "file_clipboard_lazy_renderer/notification_walk.h"
#include "file_utilities/encoding.h"
#include "support/owned_handle.h"

namespace sd::clip {

namespace {

constexpr DWORD kBufferSize = 16384;     // bytes
constexpr DWORD kVolumeNameUnits = 261;  // MAX_PATH and a terminator

// All roots, each with its terminator; empty if they can't be told.
std::wstring readDriveStrings()
{
    std::wstring drives(GetLogicalDriveStringsW(0, nullptr), L'\0');
    if (!drives.empty() && GetLogicalDriveStringsW(static_cast<DWORD>(drives.size()), drives.data()) == 0)
        drives.clear();
    if (drives.empty())
        CLIP_LOG(kLogFatal, "GetLogicalDriveStrings() failed with error code: %d", static_cast<int>(GetLastError()));
    return drives;
}

// A card reader without a card has no volume: the only filter on drives.
bool hasVolume(const std::wstring& root, const std::string& shownRoot)
{
    wchar_t name[kVolumeNameUnits] = {};
    if (!GetVolumeInformationW(root.c_str(), name, kVolumeNameUnits, nullptr, nullptr, nullptr, nullptr, 0)) {
        CLIP_LOG(kLogFatal, "Drive: %s\tVolume Name: Could not determine, error %d", shownRoot.c_str(),
                 static_cast<int>(GetLastError()));
        return false;
    }
    CLIP_LOG(kLogInfo, "Drive: %s, Get Volume Information success", shownRoot.c_str());
    return true;
}

// Waits for the read that was started. After a failed wait the read is taken back first: the platform would go on to
// write into the buffer and the structure, which the next read uses again.
// @return whether the buffer may be looked at
bool awaitRead(HANDLE directory, OVERLAPPED& read)
{
    DWORD bytes = 0;  // of no use: what lies behind the records is zero
    if (WaitForSingleObject(read.hEvent, INFINITE) == WAIT_OBJECT_0)
        return GetOverlappedResult(directory, &read, &bytes, FALSE) != FALSE;
    CancelIoEx(directory, &read);
    GetOverlappedResult(directory, &read, &bytes, TRUE);
    return false;
}

// To be called inside a catch (...).
void logLostLanding()
{
    CLIP_LOG(kLogFatal, "A landing can't be handled: %s", DescribeException());
}

std::wstring toWide(const std::u16string& text)
{
    static_assert(sizeof(wchar_t) == sizeof(char16_t), "the platform's wide text is UTF-16");
    return std::wstring(text.begin(), text.end());
}

}  // namespace

bool FileClipboardLazyRenderer::monitorAllDrives()
{
    CLIP_LOG(kLogInfo, "Start monitoring all drives.");
    const std::wstring drives = readDriveStrings();
    if (drives.empty())
        return false;
    const std::vector<std::wstring> roots = splitByDelimiter(drives, L'\0');
    CLIP_LOG(kLogInfo, "Logical drive number: %d", static_cast<int>(roots.size()));
    for (const std::wstring& root : roots)
        watchDrive(root);
    CLIP_LOG(kLogInfo, "Finish monitoring all drives.");
    return true;
}

void FileClipboardLazyRenderer::watchDrive(std::wstring root)
{
    CLIP_LOG(kLogInfo, "Start watching drive %s", WideToUtf8(root).c_str());
    try {
        mWatchThreads.push_back(new std::thread([this, root = std::move(root)] { watchDirectory(root); }));
    } catch (const std::exception& failure) {
        CLIP_LOG(kLogFatal, "Drive can't be watched: %s", failure.what());  // as for any failed watcher: the rest go on
    }
}

void FileClipboardLazyRenderer::watchDirectory(const std::wstring& root)
{
    const std::string shownRoot = WideToUtf8(root);
    CLIP_LOG(kLogInfo, "WatchDirectory %s", shownRoot.c_str());
    if (!hasVolume(root, shownRoot))
        return;
    OwnedHandle directory(CreateFileW(root.c_str(), FILE_LIST_DIRECTORY,
                                      FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                                      FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr));
    if (!directory.IsValid()) {
        CLIP_LOG(kLogFatal, "Failed to create file - %d", static_cast<int>(GetLastError()));
        return;
    }
    std::unique_ptr<unsigned char[]> buffer(new (std::nothrow) unsigned char[kBufferSize]);
    if (buffer == nullptr) {
        CLIP_LOG(kLogFatal, "Failed to create buffer");
        directory.Release();  // decision: the directory stays open
        return;
    }
    const OwnedHandle event(CreateEventW(nullptr, FALSE, FALSE, nullptr));
    if (!event.IsValid()) {
        CLIP_LOG(kLogFatal, "Failed to create event %d", static_cast<int>(GetLastError()));
        return;
    }
    watchChanges(root, directory.Get(), event.Get(), buffer.get());
    buffer.reset();  // before event and directory
}

// Until the drive fails. A read that ends with nothing means that changes were lost: the zeroed buffer drops the round.
void FileClipboardLazyRenderer::watchChanges(const std::wstring& root, HANDLE directory, HANDLE event,
                                             unsigned char* buffer)
{
    for (;;) {
        OVERLAPPED read = {};
        read.hEvent = event;
        std::memset(buffer, 0, kBufferSize);
        if (!ReadDirectoryChangesW(directory, buffer, kBufferSize, TRUE, FILE_NOTIFY_CHANGE_FILE_NAME, nullptr, &read,
                                   nullptr)) {
            CLIP_LOG(kLogFatal, "Failed to monitor drive directory changes - %d", static_cast<int>(GetLastError()));
            return;
        }
        if (awaitRead(directory, read))
            handleChanges(root, buffer);
    }
}

void FileClipboardLazyRenderer::handleChanges(const std::wstring& root, const unsigned char* buffer)
{
    try {
        walkNotifications(buffer, kBufferSize, [this, &root](std::uint32_t action, const std::u16string& name) {
            const std::string shownName = WideToUtf8(toWide(name));
            if (shownName.empty())
                return WalkStep::kAbandon;
            handleChange(root, action, shownName);
            return WalkStep::kGoOn;
        });
    } catch (...) {
        logLostLanding();  // no memory for a name: the rest of this read is lost, the drive goes on being watched
    }
}

// What the host's callback throws costs this landing, and none of the same read.
void FileClipboardLazyRenderer::handleChange(const std::wstring& root, std::uint32_t action, const std::string& name)
{
    try {
        if (action == FILE_ACTION_ADDED)
            handleAddedFile(root, name);
    } catch (...) {
        logLostLanding();
    }
}

void FileClipboardLazyRenderer::handleAddedFile(const std::wstring& root, const std::string& name)
{
    LockScope lock(mMutex);
    const auto armed = std::dynamic_pointer_cast<ClipboardFileDataExImpl>(mLazyFileData);
    if (armed != nullptr && armed->GetFileLazyRenderingCallback())
        handleTargetFile(root, name);
}

}  // namespace sd::clip
