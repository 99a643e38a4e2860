// The host of the stress test: the real DLL in this process, and all that is quiet before and after the stress.
#pragma once

#include <windows.h>

#include <memory>
#include <optional>
#include <string>

#include "copying_program.h"
#include "example_support/wine_window_fix.h"
#include "process_counts.h"
#include "sd/clip/clipboard.h"
#include "sd/clip/clipboard_data.h"
#include "second_close_shield.h"
#include "support/import_hook.h"
#include "support/pumping_thread.h"
#include "support/temporary_folder.h"
#include "wine_clipboard_fix.h"

// What the process holds. By decision some things are kept for ever; they are subtracted by name.
struct Holdings {
    std::size_t handles = 0;
    std::size_t threads = 0;
    std::ptrdiff_t blocks = 0;  // of memory
    int dataObjects = 0;        // without those of a failed OleSetClipboard
    int kept = 0;               // data objects of a failed OleSetClipboard
};

// One for each process, as the engine is; never destroyed, as the engine is not.
class StressHost {
public:
    static StressHost& shared();

    sd::clip::Clipboard& clipboard()
    {
        return *mClipboard;
    }

    // With a separator at its end, as a host names it. There are two of them.
    std::string cacheDirectory(std::size_t which) const;
    const TemporaryFolder& folder() const
    {
        return *mFolder;
    }

    // At the end: the host itself stays.
    void removeFiles();

    // Makes the engine's window on the thread that pumps.
    void init();

    // As another program with a window. @return false if the clipboard stays busy
    bool copyFiles(const std::vector<std::wstring>& paths);
    bool copyText();
    bool emptyClipboard();

    // Copies the files that look like placeholders into a new folder of their own. @return how many
    int landPlaceholders();

    // While it is on, the library's pauses are short, and its clock can be moved.
    static void hurry(bool on);
    static void moveClock();

    // Ends whatever goes on, once nobody calls any more.
    void calmDown();

    // The next copy is reported, the next streamed paste is whole, the next placeholder lands.
    void expectAllWorks();

    // What the process holds once that has stopped changing, or after a while.
    static Holdings settle();

private:
    StressHost();
    static Holdings hold();
    void expectCopyIsReported();
    void expectPasteIsWhole();
    void expectPlaceholderLands();

    const HMODULE mDll;
    LiveBlocks mBlocks;
    ImportPatch mLog;
    WineWindowFix mWindowFix;
    WineClipboardFix mClipboardFix;
    SecondCloseShield mShield;
    ImportHook<decltype(&Sleep)> mSleep;
    ImportHook<decltype(&GetSystemTimePreciseAsFileTime)> mTime;
    std::shared_ptr<sd::clip::Clipboard> mClipboard;
    std::optional<TemporaryFolder> mFolder{std::in_place};
    PumpingThread mWindowThread;
    CopyingProgram mCopying;
    PumpingThread mPasteThread;  // joined OLE
    int mFolders = 0;
};
