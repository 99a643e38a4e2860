// What FreeLibrary does to the DLL. This program does not import from it, so that it can be unloaded at all.
#include <gtest/gtest.h>
#include <windows.h>

#include <memory>
#include <string>

#include "sd/clip/clipboard.h"
#include "support/child_process.h"
#include "support/test_roles.h"

#if defined(_MSC_VER)
constexpr char kNameOfGet[] = "?Get@Clipboard@clip@sd@@SA?AV?$shared_ptr@VClipboard@clip@sd@@@std@@XZ";
#else
constexpr char kNameOfGet[] = "_ZN2sd4clip9Clipboard3GetEv";
#endif

namespace {

bool isLoaded()
{
    return GetModuleHandleW(L"md-clipboard.dll") != nullptr;
}

const TestRole unused("unload-unused", [](const std::vector<std::string>&) {
    const HMODULE library = LoadLibraryW(L"md-clipboard.dll");
    FreeLibrary(library);
    return library != nullptr && !isLoaded() ? 0 : 1;
});

const TestRole used("unload-used", [](const std::vector<std::string>&) {
    const HMODULE library = LoadLibraryW(L"md-clipboard.dll");
    using Get = std::shared_ptr<sd::clip::Clipboard> (*)();
    const auto get = reinterpret_cast<Get>(reinterpret_cast<void*>(GetProcAddress(library, kNameOfGet)));
    if (get == nullptr || get() == nullptr)
        return 1;
    for (int i = 0; i < 100; ++i)
        FreeLibrary(library);
    Sleep(300);  // the worker would run into nothing
    return isLoaded() && get() != nullptr ? 0 : 2;
});

DWORD exitCodeOf(const std::wstring& role)
{
    return ChildProcess::inRole(role).waitForExit(60000);
}

}  // namespace

TEST(LibraryUnload, TheDllIsUnloadedWhileItWasNotUsed)
{
    EXPECT_EQ(exitCodeOf(L"unload-unused"), 0u);
}

TEST(LibraryUnload, TheDllStaysOnceItsWorkerRuns)
{
    EXPECT_EQ(exitCodeOf(L"unload-used"), 0u);
}
