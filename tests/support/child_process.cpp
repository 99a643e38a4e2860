#include "support/child_process.h"

#include <atomic>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <utility>

namespace {

std::wstring ownPath()
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return path;
}

// As CommandLineToArgvW takes it apart again.
std::wstring quote(const std::wstring& argument)
{
    std::wstring quoted = L"\"";
    std::size_t backslashes = 0;
    for (const wchar_t c : argument) {
        if (c == L'\\') {
            ++backslashes;
            continue;
        }
        quoted.append(c == L'"' ? backslashes * 2 + 1 : backslashes, L'\\');
        backslashes = 0;
        quoted += c;
    }
    quoted.append(backslashes * 2, L'\\');
    return quoted + L"\"";
}

// Standard output and standard error share the handle, and with it the place where the next text goes. Appending would
// not do: under Wine, two threads that append at once write over each other.
HANDLE createOutputFile(const std::wstring& path)
{
    SECURITY_ATTRIBUTES inheritable = {sizeof inheritable, nullptr, TRUE};
    return CreateFileW(path.c_str(), GENERIC_WRITE, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                       &inheritable, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr);
}

HANDLE createKillingJob()
{
    const HANDLE job = CreateJobObjectW(nullptr, nullptr);
    JOBOBJECT_EXTENDED_LIMIT_INFORMATION limits = {};
    limits.BasicLimitInformation.LimitFlags = JOB_OBJECT_LIMIT_KILL_ON_JOB_CLOSE;
    SetInformationJobObject(job, JobObjectExtendedLimitInformation, &limits, sizeof limits);
    return job;
}

std::wstring makeOutputPath()
{
    static std::atomic<int> count{0};
    return L"C:\\child-" + std::to_wstring(GetCurrentProcessId()) + L"-" + std::to_wstring(++count) + L".txt";
}

}  // namespace

std::wstring ownFolder()
{
    return std::filesystem::path(ownPath()).parent_path().wstring();
}

ChildProcess::ChildProcess(const std::wstring& program, const std::vector<std::wstring>& arguments)
    : mOutputPath(makeOutputPath())
{
    std::wstring command = quote(ownFolder() + L"\\" + program);
    for (const std::wstring& argument : arguments)
        command += L" " + quote(argument);

    const HANDLE output = createOutputFile(mOutputPath);
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    startup.dwFlags = STARTF_USESTDHANDLES;
    startup.hStdOutput = output;
    startup.hStdError = output;
    PROCESS_INFORMATION process = {};
    const BOOL started = CreateProcessW(nullptr, command.data(), nullptr, nullptr, TRUE,
                                        CREATE_NO_WINDOW | CREATE_SUSPENDED, nullptr, nullptr, &startup, &process);
    const DWORD error = GetLastError();
    CloseHandle(output);
    if (!started)
        throw std::runtime_error("a child process can't be started, error " + std::to_string(error));
    mJob = createKillingJob();
    AssignProcessToJobObject(mJob, process.hProcess);
    ResumeThread(process.hThread);
    CloseHandle(process.hThread);
    mProcess = process.hProcess;
}

ChildProcess ChildProcess::inRole(const std::wstring& role, std::vector<std::wstring> arguments)
{
    arguments.insert(arguments.begin(), {L"--role", role});
    return ChildProcess(std::filesystem::path(ownPath()).filename().wstring(), arguments);
}

ChildProcess::ChildProcess(ChildProcess&& other) noexcept
    : mJob(std::exchange(other.mJob, nullptr)),
      mProcess(std::exchange(other.mProcess, nullptr)),
      mOutputPath(std::move(other.mOutputPath))
{
}

ChildProcess::~ChildProcess()
{
    if (mProcess == nullptr)
        return;
    terminate(1);
    WaitForSingleObject(mProcess, 5000);
    CloseHandle(mProcess);
    CloseHandle(mJob);
    DeleteFileW(mOutputPath.c_str());
}

DWORD ChildProcess::waitForExit(int milliseconds)
{
    DWORD code = STILL_ACTIVE;
    WaitForSingleObject(mProcess, static_cast<DWORD>(milliseconds));
    GetExitCodeProcess(mProcess, &code);
    return code;
}

void ChildProcess::terminate(UINT exitCode)
{
    TerminateProcess(mProcess, exitCode);
}

bool ChildProcess::running() const
{
    return WaitForSingleObject(mProcess, 0) == WAIT_TIMEOUT;
}

std::string ChildProcess::output() const
{
    std::ifstream file(std::filesystem::path(mOutputPath), std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(file), {});
}

bool ChildProcess::waitForOutput(const std::string& text, int milliseconds) const
{
    const ULONGLONG end = GetTickCount64() + static_cast<ULONGLONG>(milliseconds);
    while (output().find(text) == std::string::npos) {
        if (GetTickCount64() >= end || !running())
            return output().find(text) != std::string::npos;
        Sleep(5);
    }
    return true;
}
