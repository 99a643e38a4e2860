// What tests of the placeholder route share: the real DLL in the test's own process as the host's, with its real drive
// watchers, and lists whose placeholders clip-paste moves.
#pragma once

#include <gtest/gtest.h>

#include <condition_variable>
#include <functional>
#include <memory>
#include <mutex>
#include <string>
#include <vector>

#include "guest_paste.h"
#include "lazy_reads.h"

// What the host is told of a landing.
struct Landing {
    std::string root;
    std::string relativePath;
    std::string fileName;
};

// A guest's list for the placeholder route. Its record keeps it.
class LazyList : public std::enable_shared_from_this<LazyList> {
public:
    // Called inside the host's callback, on a drive thread; its result is the callback's. Set before it is offered.
    std::function<int(const Landing& landing)> duringLanding;

    std::shared_ptr<sd::clip::ClipboardFileDataEx> makeRecord(const std::vector<std::string>& fileNames);

    std::vector<Landing> landings() const;
    bool waitForLandings(std::size_t count, int milliseconds = 30000) const;

private:
    int land(sd::clip::ClipboardFileDataEx& record);

    mutable std::mutex mMutex;
    mutable std::condition_variable mChanged;
    std::vector<Landing> mLandings;
};

// Before the watchers start. A base, since it must stand before the fixture that starts them.
struct WatchedReads {
    LazyReads& mReads = LazyReads::shared();
};

// A new, empty folder at the root of a drive.
class DriveFolder {
public:
    explicit DriveFolder(wchar_t drive);
    ~DriveFolder();  // removes it with all that is in it
    DriveFolder(const DriveFolder&) = delete;
    DriveFolder& operator=(const DriveFolder&) = delete;

    const std::wstring& path() const
    {
        return mPath;
    }

private:
    std::wstring mPath;
};

class LazyTest : protected WatchedReads, public PasteTest {
protected:
    LazyTest();

    // Offers a list, and waits until the library has recognised its own write: a copy before that would count as its
    // own, too. @return whether the list was taken
    bool offerLazily(const std::shared_ptr<LazyList>& list, const std::vector<std::string>& fileNames);

    // The same, for lists that must be taken.
    std::shared_ptr<LazyList> arm(const std::vector<std::string>& fileNames = {"report.txt"},
                                  std::function<int(const Landing&)> duringLanding = {});

    std::wstring placeholderName() const;

    // Waits until the drive's watcher has seen all that happened before, so that what comes next is in a read of its
    // own.
    void settle(wchar_t drive);

    // Runs clip-paste, and waits until the watcher has handled the file that came to stand in the folder.
    // @return its exit code; what it printed is in mOutput
    DWORD pasteInto(const std::wstring& folder, std::vector<std::wstring> options = {});

    // Makes the placeholder's file in the folder as a paste would, and waits for the same.
    void landIn(const std::wstring& folder);

    // Until the watcher has handled the file. It passes over the last of several records, and another program may have
    // made a file at that very moment: then the file is made once more.
    void awaitHandling(const std::wstring& path);

    // Whether the list has landed there once more than before, and was told nothing but the directory.
    void expectLanded(const LazyList& list, std::size_t count, const std::wstring& folder) const;

    // How many clipboard changes the library took for its own since the test began.
    static std::size_t countOwnChanges();

    DriveFolder mOther{L'D'};
    std::wstring mPlaceholder;  // the one path that was on the clipboard after the last arm
};

// Empty files, as an application makes them.
void makeEmptyFile(const std::wstring& path);

bool fileExists(const std::wstring& path);

// Reads a folder, as a file manager that shows it does. Under Wine that makes the watchers see into a folder that is
// older than they.
void lookIntoFolder(const std::wstring& folder);
