// Ends the process at once, past all handlers, as for an invalid argument: for a text that must not be cut off.
#pragma once

#include <windows.h>

namespace sd::clip {

// Exit code 0xC0000409.
[[noreturn]] inline void endProcessAtOnce()
{
    constexpr unsigned int kInvalidArgument = 5;  // FAST_FAIL_INVALID_ARG
#if defined(_MSC_VER)
    __fastfail(kInvalidArgument);
#else
    // MinGW-w64 declares the intrinsic in a comment only; this is what it stands for.
    __asm__ volatile("int $0x29" : : "c"(kInvalidArgument) : "memory");
    __builtin_unreachable();
#endif
}

}  // namespace sd::clip
