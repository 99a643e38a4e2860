// The host of the soak: the real DLL in this process, for all rounds, with counts of what it holds.
#pragma once

#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "killed_application.h"
#include "leak_watch.h"
#include "sd/clip/clipboard.h"
#include "sd/clip/clipboard_data.h"
#include "stress/process_counts.h"
#include "support/pumping_thread.h"
#include "support/recording_listener.h"
#include "system/dll_host.h"

// One for each process, as the engine is; never destroyed, as the engine is not.
class SoakHost {
public:
    using FileList = std::vector<sd::clip::ClipfileDescription>;

    static SoakHost& shared();

    sd::clip::Clipboard& clipboard()
    {
        return mDllHost.clipboard();
    }

    // Offers a list as a host does: on a thread that joined OLE and was the first to do so. @return whether it was
    // taken
    bool offer(sd::clip::ClipboardFormat route, const std::shared_ptr<sd::clip::ClipboardData>& record);

    // ---- What the host was told since the last forget ----
    void forget();
    std::size_t countReports() const;
    bool wasToldOfFiles() const;
    std::vector<FileList> receivedLists() const;  // what it fetched, a list for each report of files
    std::size_t countEvents(const std::string& operation) const;

    // ---- What it holds ----
    // Data objects of the library that have not died, but for those of a failed OleSetClipboard, which are kept for
    // ever by decision.
    int countDataObjects();

    // As soon as that has stopped changing, or after a while.
    Holdings hold() const;

private:
    SoakHost();
    void fetch();
    void countObjects();

    LiveBlocks mBlocks;  // before all else that allocates
    DllHost& mDllHost = DllHost::shared();
    KilledApplication mKilled;
    const std::shared_ptr<RecordingListener> mListener = std::make_shared<RecordingListener>();
    PumpingThread mCallingThread;

    mutable std::mutex mMutex;  // of mReceived
    std::vector<FileList> mReceived;

    int mDataObjects = 0;
};
