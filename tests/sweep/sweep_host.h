// The host of the sweep: the real DLL in this process, with all its imports replaced, and what a user does beside it.
#pragma once

#include <windows.h>

#include <functional>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include "example_support/wine_window_fix.h"
#include "global_blocks.h"
#include "runtime_handles.h"
#include "sd/clip/clipboard.h"
#include "stress/copying_program.h"
#include "stress/second_close_shield.h"
#include "stress/wine_clipboard_fix.h"
#include "support/pumping_thread.h"
#include "support/recording_listener.h"
#include "support/temporary_folder.h"
#include "sweep_clock.h"
#include "sweep_log.h"
#include "system/guest_list.h"
#include "system/lazy_test.h"

// One for each process, as the engine is; never destroyed, as the engine is not.
class SweepHost {
public:
    // Ready to start; nothing of the library has run.
    static SweepHost& shared();

    // As a host's program does at its beginning; once more, it starts what a failure has kept from starting. Returns
    // when the library's threads have become quiet.
    void start();
    bool waitForWatchers() const;

    // Null if it could not be made.
    sd::clip::Clipboard* clipboard() const
    {
        return mClipboard.get();
    }

    // ---- The user's other programs ----
    static constexpr std::size_t kCopiedFiles = 3;  // those of copied folders are among them
    bool copyFiles();
    bool emptyClipboard();

    // Runs a function on the thread of an application that joined OLE.
    void inApplication(const std::function<void()>& function) const
    {
        mPasteThread.run(function);
    }

    // Copies the placeholder to a drive, as a paste does. @return the copy's path; empty if there is no placeholder
    std::wstring landOn(wchar_t drive);

    // ---- The host's calls, on its own thread, which joined OLE ----
    bool offer(const std::shared_ptr<GuestList>& list);
    bool offerLazily(const std::shared_ptr<LazyList>& list);
    std::size_t receiveFiles();
    static std::shared_ptr<GuestList> makeList();

    // As on a new machine: the library makes the cache directory itself.
    void removeCache() const;

    // Until the engine's worker has looked at every change.
    void awaitQuiet() const;

    // Ends whatever goes on, and empties the clipboard.
    void calmDown();

    // The next copy is reported, the next paste is whole, the next placeholder lands. @return what does not work
    std::vector<std::string> tryEverything();

private:
    SweepHost();
    void awaitWatchers() const;
    void tryCopy(std::vector<std::string>& problems);
    void tryPaste(std::vector<std::string>& problems);
    void tryLanding(std::vector<std::string>& problems);

    const HMODULE mDll;
    RuntimeHandles mRuntimeHandles;
    GlobalBlocks mBlocks;
    WineWindowFix mWindowFix;
    WineClipboardFix mClipboardFix;
    SecondCloseShield mShield;
    SweepClock mClock;
    LazyReads& mReads;
    ImportPatch mLog;
    const std::shared_ptr<RecordingListener> mListener;
    std::shared_ptr<sd::clip::Clipboard> mClipboard;
    TemporaryFolder mFolder;
    DriveFolder mOther{L'D'};
    std::string mCache;
    PumpingThread mWindowThread{[](const MSG& message) {
        if (message.message == WM_CLIPBOARDUPDATE)
            SweepLog::noteChange();
    }};
    PumpingThread mHostThread;  // joined OLE
    CopyingProgram mCopying;
    PumpingThread mPasteThread;  // joined OLE
    std::vector<std::weak_ptr<GuestList>> mLists;
};
