// Watches one drive for added files: nothing else tells where a placeholder was pasted.
#pragma once

#include <windows.h>

#include <cstdint>
#include <functional>
#include <string>

namespace sd::clip {

// Called on the watcher's thread for each added file. What it throws costs this file alone.
// @param name UTF-8, relative to the watched root
using AddedFileCallback = std::function<void(const std::string& name)>;

// Reads the changes of the whole drive, one read at a time. While a file is told of no read is under way: what happens
// on the drive then, the platform keeps for the next read, as far as it has room.
//
// Threads: the one that calls Run. Nothing stops it but a failure of its drive.
class DriveWatcher {
public:
    // @param root such as `C:\`
    DriveWatcher(std::wstring root, AddedFileCallback onAddedFile);
    DriveWatcher(const DriveWatcher&) = delete;
    DriveWatcher& operator=(const DriveWatcher&) = delete;

    // Returns when the drive can't be watched, or no longer; why is in the log.
    void Run();

private:
    friend class TestAccess;

    // Handles and buffer stay the caller's; the buffer holds one read, and is used during the call only.
    void watchChanges(HANDLE directory, HANDLE event, unsigned char* buffer);
    void handleChanges(const unsigned char* buffer);
    void handleChange(std::uint32_t action, const std::string& name);

    const std::wstring mRoot;
    const AddedFileCallback mOnAddedFile;
};

}  // namespace sd::clip
