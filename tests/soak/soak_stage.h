// What the actions of the soak share: the host, the other programs, the folders, and the figures.
#pragma once

#include <cstdint>
#include <functional>
#include <map>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

#include "soak_host.h"
#include "stress/seeded_random.h"
#include "support/child_process.h"
#include "system/guest_list.h"

// Tells what was expected or awaited, and what was seen.
struct SoakFailure : std::runtime_error {
    using std::runtime_error::runtime_error;
};

void expect(bool condition, const std::string& what);

struct SoakFigures {
    std::uint64_t files = 0;  // compared
    std::uint64_t bytes = 0;  // compared
    int faults = 0;           // provoked
    int landingsAgain = 0;    // that had to be made once more
};

class SoakStage {
public:
    explicit SoakStage(std::uint64_t seed);
    ~SoakStage();
    SoakStage(const SoakStage&) = delete;
    SoakStage& operator=(const SoakStage&) = delete;

    SoakHost& host()
    {
        return mHost;
    }
    SeededRandom& random()
    {
        return mRandom;
    }
    SoakFigures& figures()
    {
        return mFigures;
    }

    // What is awaited now, for who looks from another thread.
    static std::string awaited();

    // Fails if the condition does not come true in time.
    void await(const std::string& what, const std::function<bool()>& condition, int milliseconds = 60000);

    // ---- The guest ----
    // Files with new contents, under the names of always.
    std::vector<GuestFile> makeFiles();
    std::string makeContents(std::size_t size);
    std::shared_ptr<GuestList> makeList(std::vector<GuestFile> files, Delivery delivery = {});
    void offer(const std::shared_ptr<GuestList>& list);

    // ---- Other programs ----
    ChildProcess startPaste(const std::wstring& target, std::vector<std::wstring> options = {});
    // @return what it printed
    std::string waitForPaste(ChildProcess& paste, DWORD expectedCode);
    std::string paste(const std::wstring& target, DWORD expectedCode, std::vector<std::wstring> options = {});
    void copy(const std::vector<std::wstring>& arguments);

    // ---- Files ----
    std::wstring folder(const std::wstring& target) const;
    void emptyFolder(const std::wstring& folder);
    // The folder holds all files with the sums of their sources, and nothing else.
    void expectFiles(const std::vector<GuestFile>& files, const std::wstring& folder);
    void countCompared(const std::vector<GuestFile>& files);

    // Ends the lists and takes the last one off the clipboard, until the library holds nothing of them any more.
    void rest();

private:
    SoakHost& mHost = SoakHost::shared();
    SeededRandom mRandom;
    SoakFigures mFigures;
    std::vector<std::shared_ptr<GuestList>> mLists;
};

std::string nameBelow(const GuestFile& file);
