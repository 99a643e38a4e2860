// What tests of clip-host with a guest share: the host is a process of its own, clip-paste is another.
#pragma once

#include <gtest/gtest.h>

#include <optional>
#include <string>
#include <vector>

#include "paste_exit_codes.h"
#include "support/child_process.h"
#include "support/temporary_folder.h"

class HostProcess {
public:
    HostProcess();

    // A file of the guest, with bytes without a pattern.
    void addGuestFile(const std::wstring& name, std::size_t size) const;

    // Starts clip-host with the guest's folder; ready when its list is on the clipboard.
    void startHost(const std::vector<std::wstring>& options);

    // Has it leave, as it does when a local copy takes the list's place. That it is told of the copy also shows that it
    // is well, and is no longer transferring. @return its exit code
    DWORD endHost();

    std::string hostOutput() const;
    bool waitForHost(const std::string& text, int milliseconds = 30000) const;
    int countInHostOutput(const std::string& text) const;

    ChildProcess startPaste(const std::wstring& target, std::vector<std::wstring> options = {}) const;

    // Runs clip-paste to its end. @return its exit code; what it printed is in mOutput
    DWORD paste(const std::wstring& target, std::vector<std::wstring> options = {});

    // The folder holds the guest's folders and files, these with their sums, and nothing else.
    void expectPasted(const std::wstring& target) const;

    TemporaryFolder mFolder;
    std::string mOutput;

private:
    std::optional<ChildProcess> mHost;
};

class HostProcessTest : public testing::Test, protected HostProcess {
protected:
    void TearDown() override;  // after a failure, shows what the host printed at last
};
