// Never run: shows that the test library_calls would find such calls.
#include <windows.h>

#include <cstdlib>

bool readsSettings()
{
    HKEY key = nullptr;
    return std::getenv("PATH") != nullptr && GetCommandLineW() != nullptr &&
           GetPrivateProfileIntW(L"section", L"key", 0, L"file.ini") != 0 &&
           RegOpenKeyExW(HKEY_CURRENT_USER, L"Software", 0, KEY_READ, &key) == ERROR_SUCCESS;
}
