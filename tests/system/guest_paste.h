// What tests of pastes share: the real DLL in the test's own process as the host's, a guest's lists, and clip-paste as
// the other program.
#pragma once

#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <string>
#include <vector>

#include "dll_host.h"
#include "guest_list.h"
#include "paste_exit_codes.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"
#include "support/wait_until.h"

class PasteTest : public testing::Test {
protected:
    PasteTest();
    ~PasteTest() override;
    void TearDown() override;  // after a failure, shows what the library logged last

    std::shared_ptr<GuestList> makeList(std::vector<GuestFile> files, Delivery delivery = {});

    // Offers it as a host does: on a thread that joined OLE and has been the first to do so. @return whether it was
    // taken
    bool offer(const std::shared_ptr<GuestList>& list);
    bool offer(const std::shared_ptr<sd::clip::ClipboardFileDataImpl>& record);
    std::shared_ptr<GuestList> offerNew(std::vector<GuestFile> files, Delivery delivery = {});

    // Starts clip-paste, into a folder of this test.
    ChildProcess startPaste(const std::wstring& target, std::vector<std::wstring> options = {}) const;

    // Runs clip-paste to its end. @return its exit code; what it printed is in mOutput
    DWORD paste(const std::wstring& target, std::vector<std::wstring> options = {});

    // The folder holds all of the list with the sums of its files, and nothing else.
    void expectPasted(const GuestList& list, const std::wstring& target) const;

    // Pastes another list, to see that all is well.
    void expectNextListWorks();

    std::size_t countEvents(const std::string& operation) const;
    bool waitForEvents(const std::string& operation, std::size_t count) const;

    DllHost& mHost = DllHost::shared();
    TemporaryFolder mFolder;
    std::string mOutput;
    Gate mGate;  // for a list's delivery; open at the end

private:
    std::vector<std::shared_ptr<GuestList>> mLists;
};
