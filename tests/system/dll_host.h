// A host in the test's own process: the real DLL, a listener, a thread that pumps. The other programs are real ones.
#pragma once

#include <memory>
#include <string>
#include <vector>

#include "example_support/import_patch.h"
#include "example_support/wine_window_fix.h"
#include "sd/clip/clipboard.h"
#include "sd/clip/clipboard_data.h"
#include "support/pumping_thread.h"
#include "support/recording_listener.h"

// One for each process, as the engine is; never destroyed, as the engine is not. Its log goes to RecordingLog.
class DllHost {
public:
    // Ready to receive: initialised, and its first report is through.
    static DllHost& shared();

    sd::clip::Clipboard& clipboard()
    {
        return *mClipboard;
    }
    RecordingListener& listener()
    {
        return *mListener;
    }

    // Takes the place of a listener that a test has installed.
    void listenAgain();

    // Has every change of the clipboard so far reported, so that none comes late into a test. Leaves it empty.
    void settle();

    // Has clip-copy put something on the clipboard, and waits until the change was reported.
    void copy(const std::vector<std::wstring>& arguments);

    // What is on the clipboard, as the record that a host sends to the guest.
    std::vector<sd::clip::ClipfileDescription> receive();

private:
    DllHost();

    HMODULE mDll;
    ImportPatch mLog;
    WineWindowFix mFix;
    std::shared_ptr<sd::clip::Clipboard> mClipboard;
    std::shared_ptr<RecordingListener> mListener;
    PumpingThread mThread;
};
