#pragma once

#include <windows.h>

#include <condition_variable>
#include <cstdint>
#include <deque>
#include <filesystem>
#include <memory>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "guest_files.h"
#include "sd/clip/clipboard_data.h"

/// Brings the files of one list to wherever the list's placeholder lands, on a thread of its own. It copies them; a
/// real host fetches them from its guest.
class GuestLandings {
public:
    using FileList = std::vector<sd::clip::ClipfileDescription>;

    explicit GuestLandings(std::shared_ptr<const FileList> files);
    ~GuestLandings();

    /// Takes a landing and returns at once: the library calls, even after end, on a thread that holds the lock of the
    /// whole placeholder route.
    /// @param directory as the library tells it: "D:\dest", or "D:" for the root of a drive
    /// @return whether the files will be brought there
    bool land(std::string directory);

    /// To be called before another list takes this one's place: the library takes one notification for each list, and a
    /// later one would be counted for the other.
    void retire();

    /// Ends a copy that runs, and waits for that.
    void end();

private:
    void bringAll();
    void bring(const std::string& directory);
    bool bringFile(const sd::clip::ClipfileDescription& file, const std::filesystem::path& place);
    void notifyOnce(std::int32_t result);
    bool isEnded();
    static DWORD CALLBACK stopAtEnd(LARGE_INTEGER size, LARGE_INTEGER sent, LARGE_INTEGER streamSize,
                                    LARGE_INTEGER streamSent, DWORD stream, DWORD reason, HANDLE source, HANDLE target,
                                    LPVOID landings);

    const std::shared_ptr<const FileList> mFiles;

    std::mutex mMutex;  // of all that follows, but for what stands below mNotifyMutex
    std::condition_variable mChanged;
    std::deque<std::string> mDirectories;  // still to be served
    std::thread mThread;
    bool mEnded = false;

    std::mutex mNotifyMutex;  // held during a notification, so that retire waits for it
    bool mNotified = false;
};
