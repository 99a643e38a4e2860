// A second process of a test. It ends with its object at the latest, and with the test program, however that ends.
#pragma once

#include <windows.h>

#include <string>
#include <vector>

class ChildProcess {
public:
    // A program that lies beside this one, such as "clip-copy.exe", with its arguments. Throws if it can't be started.
    ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments);

    // This program once more, in one of its roles.
    static ChildProcess inRole(const std::wstring& role, std::vector<std::wstring> arguments = {});

    ~ChildProcess();
    ChildProcess(ChildProcess&& other) noexcept;
    ChildProcess(const ChildProcess&) = delete;
    ChildProcess& operator=(const ChildProcess&) = delete;

    // The exit code; STILL_ACTIVE if it has not ended in time.
    DWORD waitForExit(int milliseconds = 30000);
    void terminate(UINT exitCode);
    bool running() const;

    // What it has written to standard output and standard error so far.
    std::string output() const;
    bool waitForOutput(const std::string& text, int milliseconds = 30000) const;

private:
    HANDLE mJob = nullptr;
    HANDLE mProcess = nullptr;
    std::wstring mOutputPath;
};

// The folder of this program, without a separator at its end.
std::wstring ownFolder();
