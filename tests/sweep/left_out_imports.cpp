// What the sweep leaves alone, by reason; and the imports in the table of a module.
#include <initializer_list>

#include "swept_imports.h"

namespace {

struct LeftOut {
    const char* reason;
    std::initializer_list<const char*> names;
};

const LeftOut kLeftOut[] = {
    {"it can't fail",
     {"DefWindowProcW",
      "DispatchMessageW",
      "GetCurrentProcess",
      "GetCurrentProcessId",
      "GetCurrentThread",
      "GetCurrentThreadId",
      "GetLastError",
      "GetSystemTime",
      "GetSystemTimeAsFileTime",
      "GetSystemTimePreciseAsFileTime",
      "GetTickCount64",
      "IsDebuggerPresent",
      "OutputDebugStringA",
      "QueryPerformanceCounter",
      "QueryPerformanceFrequency",
      "SHChangeNotify",
      "SetLastError",
      "Sleep",
      "TranslateMessage",
      "_errno",
      "lumoraLogPrint"}},
    {"its failure is its ordinary answer: no message, no accelerator", {"PeekMessageW", "TranslateAcceleratorW"}},
    {"memory for objects: an exception that every operation lets pass",
     {"calloc", "free", "malloc", "realloc", "_strdup"}},
    {"text and bytes in memory: it can't fail",
     {"___lc_codepage_func",
      "___mb_cur_max_func",
      "IsDBCSLeadByteEx",
      "_ultoa",
      "iswctype",
      "localeconv",
      "memchr",
      "memcmp",
      "memcpy",
      "memmove",
      "memset",
      "setlocale",
      "strcmp",
      "strcoll",
      "strerror",
      "strftime",
      "strlen",
      "strncmp",
      "strxfrm",
      "towlower",
      "towupper",
      "wcscmp",
      "wcscoll",
      "wcsftime",
      "wcslen",
      "wcsxfrm"}},
    {"only the runtime's locks and threads call it; where they fail there is an exception, or none can be started",
     {"AddVectoredExceptionHandler",
      "CreateEventA",
      "CreateSemaphoreA",
      "DeleteCriticalSection",
      "DuplicateHandle",
      "EnterCriticalSection",
      "GetHandleInformation",
      "GetProcessAffinityMask",
      "GetThreadContext",
      "GetThreadPriority",
      "InitializeCriticalSection",
      "LeaveCriticalSection",
      "OpenProcess",
      "RaiseException",
      "ReleaseSemaphore",
      "RemoveVectoredExceptionHandler",
      "ResetEvent",
      "ResumeThread",
      "SetProcessAffinityMask",
      "SetThreadContext",
      "SetThreadPriority",
      "SuspendThread",
      "TlsAlloc",
      "TlsGetValue",
      "TlsSetValue",
      "TryEnterCriticalSection",
      "_endthreadex"}},
    {"only the runtime calls it, for exceptions and at the beginning and the end of a module",
     {"GetModuleHandleA",
      "GetModuleHandleW",
      "GetProcAddress",
      "LoadLibraryW",
      "RtlCaptureContext",
      "RtlLookupFunctionEntry",
      "RtlUnwindEx",
      "RtlVirtualUnwind",
      "VirtualProtect",
      "VirtualQuery",
      "__C_specific_handler",
      "__iob_func",
      "_amsg_exit",
      "_initterm",
      "_lock",
      "_setjmp",
      "_unlock",
      "abort",
      "exit",
      "longjmp",
      "signal"}},
    {"the runtime has it for clocks, messages and streams that the library does not use",
     {"FileTimeToSystemTime", "FormatMessageA", "GetProcessTimes", "GetSystemTimeAdjustment", "GetThreadTimes",
      "LocalFree", "SetSystemTime", "_close", "_fdopen", "_fileno", "fprintf", "fputc", "fputs", "fwrite", "printf",
      "setvbuf", "vfprintf"}},
};

const std::map<std::string, std::string> kUnreached = {
    {"CancelIoEx", "called only after another call has failed"},
    {"CoGetApartmentType", "asked where a list is taken off the clipboard, which no route does"},
    {"CountClipboardFormats", "asked where a list is taken off the clipboard, which no route does"},
    {"_fstat64", "the runtime asks how much of a file is left, for which nobody asks it"},
    {"_wfopen", "a stream on a local file, which no route opens"},
    {"fflush", "the runtime writes slices past its own buffers"},
    {"GlobalSize", "called for text, which no route reads"},
    {"MoveFileExW", "the renaming of a target, which no route uses"},
    {"SystemTimeToFileTime", "called only while the clock stands at 1970 or before"},
    {"remove", "the removal of a file, which no route uses"},
};

}  // namespace

const std::map<std::string, std::string>& SweptImports::leftOut()
{
    static const auto& names = *new std::map<std::string, std::string>([] {
        std::map<std::string, std::string> all;
        for (const LeftOut& some : kLeftOut) {
            for (const char* const name : some.names)
                all.emplace(name, some.reason);
        }
        return all;
    }());
    return names;
}

const std::map<std::string, std::string>& SweptImports::unreached()
{
    return kUnreached;
}

std::vector<std::string> SweptImports::namesIn(HMODULE module)
{
    auto* const base = reinterpret_cast<BYTE*>(module);
    const auto* dos = reinterpret_cast<const IMAGE_DOS_HEADER*>(base);
    const auto* headers = reinterpret_cast<const IMAGE_NT_HEADERS*>(base + dos->e_lfanew);
    const DWORD table = headers->OptionalHeader.DataDirectory[IMAGE_DIRECTORY_ENTRY_IMPORT].VirtualAddress;
    std::vector<std::string> names;
    for (auto* dll = reinterpret_cast<const IMAGE_IMPORT_DESCRIPTOR*>(base + table); dll->Name != 0; ++dll) {
        auto* import = reinterpret_cast<const IMAGE_THUNK_DATA*>(base + dll->OriginalFirstThunk);
        for (; import->u1.AddressOfData != 0; ++import) {
            names.emplace_back(
                IMAGE_SNAP_BY_ORDINAL(import->u1.Ordinal)
                    ? "#" + std::to_string(IMAGE_ORDINAL(import->u1.Ordinal))
                    : reinterpret_cast<const IMAGE_IMPORT_BY_NAME*>(base + import->u1.AddressOfData)->Name);
        }
    }
    return names;
}
