#include "example_support/console.h"

#include <windows.h>

namespace {

void writeTo(DWORD standardHandle, std::string_view text)
{
    DWORD written = 0;
    WriteFile(GetStdHandle(standardHandle), text.data(), static_cast<DWORD>(text.size()), &written, nullptr);
}

}  // namespace

void useUtf8Console()
{
    SetConsoleOutputCP(CP_UTF8);
}

void printText(std::string_view text)
{
    writeTo(STD_OUTPUT_HANDLE, text);
}

void printError(std::string_view text)
{
    writeTo(STD_ERROR_HANDLE, text);
}
