#include "second_process.h"

#include <stdexcept>

namespace {

HANDLE startProcess(std::wstring command)
{
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    if (!CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE, 0, nullptr, nullptr, &startup, &process))
        throw std::runtime_error("the second process can't be started");
    CloseHandle(process.hThread);
    return process.hProcess;
}

}  // namespace

HANDLE startSecondProcess(const std::wstring& option)
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    return startProcess(L"\"" + path + L"\" " + option);
}

DWORD runSecondProcess(const std::wstring& moreOptions)
{
    const HANDLE process = startProcess(GetCommandLineW() + (L" " + moreOptions));
    DWORD code = 0;
    WaitForSingleObject(process, INFINITE);
    GetExitCodeProcess(process, &code);
    CloseHandle(process);
    return code;
}

LONGLONG sharedNow()
{
    LARGE_INTEGER count;
    QueryPerformanceCounter(&count);
    return count.QuadPart;
}

double toSharedMilliseconds(LONGLONG count)
{
    LARGE_INTEGER frequency;
    QueryPerformanceFrequency(&frequency);
    return static_cast<double>(count) * 1000 / static_cast<double>(frequency.QuadPart);
}

volatile LONGLONG* mapSharedNumbers(HANDLE mapping)
{
    return static_cast<volatile LONGLONG*>(MapViewOfFile(mapping, FILE_MAP_ALL_ACCESS, 0, 0, 0));
}
