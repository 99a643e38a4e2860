#include "input_end.h"

#include <windows.h>

#include <thread>
#include <utility>

void callWhenInputEnds(std::function<void()> function)
{
    const HANDLE input = GetStdHandle(STD_INPUT_HANDLE);
    if (GetFileType(input) != FILE_TYPE_PIPE)
        return;
    std::thread thread([input, function = std::move(function)] {
        char ignored[256];
        DWORD count = 0;
        // At the end Wine goes on to give nothing, where Windows fails.
        while (ReadFile(input, ignored, sizeof ignored, &count, nullptr) && count > 0) {
        }
        function();
    });
    thread.detach();  // nothing ends a read of a pipe but the pipe, and the process
}
