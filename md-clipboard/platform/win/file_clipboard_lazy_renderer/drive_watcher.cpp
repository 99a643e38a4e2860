#include "file_clipboard_lazy_renderer/drive_watcher.h"

#include <cstring>
#include <memory>
#include <new>
#include <utility>

#include "base/exception_text.h"
#include "base/log.h"
#include "file_clipboard_lazy_renderer/notification_walk.h"
#include "file_utilities/encoding.h"
#include "support/owned_handle.h"

namespace sd::clip {

namespace {

constexpr DWORD kBufferSize = 16384;     // bytes
constexpr DWORD kVolumeNameUnits = 261;  // MAX_PATH and a terminator

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

DriveWatcher::DriveWatcher(std::wstring root, AddedFileCallback onAddedFile)
    : mRoot(std::move(root)), mOnAddedFile(std::move(onAddedFile))
{
}

void DriveWatcher::Run()
{
    const std::string shownRoot = WideToUtf8(mRoot);
    CLIP_LOG(kLogInfo, "WatchDirectory %s", shownRoot.c_str());
    if (!hasVolume(mRoot, shownRoot))
        return;
    OwnedHandle directory(CreateFileW(mRoot.c_str(), FILE_LIST_DIRECTORY,
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
    watchChanges(directory.Get(), event.Get(), buffer.get());
    buffer.reset();  // before event and directory
}

// Until the drive fails. A read that ends with nothing means that changes were lost: the zeroed buffer drops the round.
void DriveWatcher::watchChanges(HANDLE directory, HANDLE event, unsigned char* buffer)
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
            handleChanges(buffer);
    }
}

void DriveWatcher::handleChanges(const unsigned char* buffer)
{
    try {
        walkNotifications(buffer, kBufferSize, [this](std::uint32_t action, const std::u16string& name) {
            const std::string shownName = WideToUtf8(toWide(name));
            if (shownName.empty())
                return WalkStep::kAbandon;
            handleChange(action, shownName);
            return WalkStep::kGoOn;
        });
    } catch (...) {
        logLostLanding();  // no memory for a name: the rest of this read is lost, the drive goes on being watched
    }
}

// What is thrown costs this file, and none of the same read.
void DriveWatcher::handleChange(std::uint32_t action, const std::string& name)
{
    try {
        if (action == FILE_ACTION_ADDED)
            mOnAddedFile(name);
    } catch (...) {
        logLostLanding();
    }
}

}  // namespace sd::clip
