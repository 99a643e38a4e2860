// One watcher from its start to its end: what it asks of the platform, and what it does when that fails.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstdlib>
#include <new>

#include "file_utilities/encoding.h"
#include "renderer_access.h"
#include "support/import_hook.h"
#include "support/platform_function.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

constexpr DWORD kCancelled = 0xC0000120;  // the status of a read that was taken back
constexpr SIZE_T kBufferSize = 16384;

const auto kRoot = reinterpret_cast<HANDLE>(0x7FFFFFF4);  // no handle of this process
const char kBegins[] = "log 5 WatchDirectory C:\\";
const char kHasVolume[] = "log 5 Drive: C:\\, Get Volume Information success";

enum class Step { kNone, kVolume, kDirectory, kBuffer, kEvent };

// What fails, in which round the reading fails, and what was seen.
struct Script {
    Step failing = Step::kNone;
    int rounds = 0;  // reads that succeed
    DWORD waitResult = WAIT_OBJECT_0;
    bool resultFails = false;
} gScript;

const auto gRealVolume = findInKernel32<decltype(&GetVolumeInformationW)>("GetVolumeInformationW");
const auto gRealCreateEvent = findInKernel32<decltype(&CreateEventW)>("CreateEventW");
const auto gRealClose = findInKernel32<decltype(&CloseHandle)>("CloseHandle");
const auto gRealWait = findInKernel32<decltype(&WaitForSingleObject)>("WaitForSingleObject");
const auto gRealResult = findInKernel32<decltype(&GetOverlappedResult)>("GetOverlappedResult");
const auto gRealRead = findInKernel32<decltype(&ReadDirectoryChangesW)>("ReadDirectoryChangesW");
const auto gRealCancel = findInKernel32<decltype(&CancelIoEx)>("CancelIoEx");

HANDLE gEvent = nullptr;
void* gBuffer = nullptr;
int gReads = 0;
DWORD gStatusAfterCancel = 0;

// Through a variable: where both are inlined, a compiler takes the pair of new and free for a mistake.
void (*volatile gFreeMemory)(void*) = std::free;

void note(const std::string& text)
{
    Journal::shared().add(text);
}

void release(void* memory)
{
    if (memory != nullptr && memory == gBuffer) {
        gBuffer = nullptr;
        note("free buffer");
    }
    gFreeMemory(memory);
}

BOOL WINAPI tellVolume(LPCWSTR root, LPWSTR name, DWORD nameUnits, LPDWORD serial, LPDWORD component, LPDWORD flags,
                       LPWSTR system, DWORD systemUnits)
{
    EXPECT_STREQ(root, L"C:\\");
    EXPECT_EQ(nameUnits, 261u);
    EXPECT_EQ(std::wstring(name, nameUnits), std::wstring(261, L'\0'));
    EXPECT_TRUE(serial == nullptr && component == nullptr && flags == nullptr && system == nullptr);
    EXPECT_EQ(systemUnits, 0u);
    SetLastError(ERROR_NOT_READY);
    return gScript.failing != Step::kVolume &&
           gRealVolume(root, name, nameUnits, serial, component, flags, system, systemUnits);
}

HANDLE WINAPI openDirectory(LPCWSTR root, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security, DWORD disposition,
                            DWORD flags, HANDLE templateFile)
{
    EXPECT_STREQ(root, L"C:\\");
    EXPECT_EQ(access, 1u);
    EXPECT_EQ(share, 7u);
    EXPECT_EQ(security, nullptr);
    EXPECT_EQ(disposition, DWORD{OPEN_EXISTING});
    EXPECT_EQ(flags, 0x42000000u);
    EXPECT_EQ(templateFile, nullptr);
    note("open directory");
    SetLastError(ERROR_ACCESS_DENIED);
    return gScript.failing == Step::kDirectory ? INVALID_HANDLE_VALUE : kRoot;
}

HANDLE WINAPI createEvent(LPSECURITY_ATTRIBUTES security, BOOL manual, BOOL signalled, LPCWSTR name)
{
    EXPECT_EQ(security, nullptr);
    EXPECT_FALSE(manual);
    EXPECT_FALSE(signalled);
    EXPECT_EQ(name, nullptr);
    note("create event");
    gEvent = gScript.failing == Step::kEvent ? nullptr : gRealCreateEvent(security, manual, signalled, name);
    SetLastError(ERROR_NO_SYSTEM_RESOURCES);
    return gEvent;
}

BOOL WINAPI closeHandle(HANDLE handle)
{
    if (handle == kRoot) {
        note("close directory");
        return TRUE;
    }
    if (handle == gEvent && gEvent != nullptr)
        note("close event");
    return gRealClose(handle);
}

// Completes at once without a record, as after an overflow, and leaves something behind that must be cleared.
BOOL WINAPI readChanges(HANDLE directory, LPVOID buffer, DWORD size, BOOL subtree, DWORD filter, LPDWORD bytes,
                        LPOVERLAPPED read, LPOVERLAPPED_COMPLETION_ROUTINE routine)
{
    EXPECT_EQ(directory, kRoot);
    EXPECT_EQ(buffer, gBuffer);
    EXPECT_EQ(size, kBufferSize);
    EXPECT_TRUE(subtree);
    EXPECT_EQ(filter, 1u);
    EXPECT_EQ(bytes, nullptr);
    EXPECT_EQ(routine, nullptr);
    auto* const memory = static_cast<unsigned char*>(buffer);
    EXPECT_EQ(std::count(memory, memory + size, 0), static_cast<std::ptrdiff_t>(size));
    EXPECT_EQ(read->hEvent, gEvent);
    EXPECT_EQ(read->Internal, 0u);
    EXPECT_EQ(read->Offset, 0u);
    note("read");
    SetLastError(ERROR_TOO_MANY_CMDS);
    if (gReads++ == gScript.rounds)
        return FALSE;
    memory[4] = 1;  // an action without a name
    memory[size - 1] = 0xFF;
    SetEvent(read->hEvent);
    return TRUE;
}

DWORD WINAPI waitForEvent(HANDLE handle, DWORD milliseconds)
{
    if (handle != gEvent)
        return gRealWait(handle, milliseconds);
    EXPECT_EQ(milliseconds, INFINITE);
    note("wait");
    return gScript.waitResult == WAIT_OBJECT_0 ? gRealWait(handle, milliseconds) : gScript.waitResult;
}

BOOL WINAPI takeResult(HANDLE directory, LPOVERLAPPED read, LPDWORD bytes, BOOL wait)
{
    EXPECT_NE(bytes, nullptr);
    note(wait ? "result, waiting" : "result");
    if (gScript.resultFails)
        return FALSE;
    const BOOL result = directory == kRoot ? TRUE : gRealResult(directory, read, bytes, wait);
    gStatusAfterCancel = static_cast<DWORD>(read->Internal);
    return result;
}

struct ScriptedPlatform {
    explicit ScriptedPlatform(Script script)
    {
        gScript = script;
        gReads = 0;
        gEvent = nullptr;
        gBuffer = nullptr;
    }
    const ImportHook<decltype(&GetVolumeInformationW)> volumeHook{nullptr, "GetVolumeInformationW", &tellVolume};
    const ImportHook<decltype(&CreateFileW)> directoryHook{nullptr, "CreateFileW", &openDirectory};
    const ImportHook<decltype(&CreateEventW)> eventHook{nullptr, "CreateEventW", &createEvent};
    const ImportHook<decltype(&CloseHandle)> closeHook{nullptr, "CloseHandle", &closeHandle};
    const ImportHook<decltype(&ReadDirectoryChangesW)> readHook{nullptr, "ReadDirectoryChangesW", &readChanges};
    const ImportHook<decltype(&WaitForSingleObject)> waitHook{nullptr, "WaitForSingleObject", &waitForEvent};
    const ImportHook<decltype(&GetOverlappedResult)> resultHook{nullptr, "GetOverlappedResult", &takeResult};
};

// The whole life of a watcher whose platform follows the script. It ends by itself.
JournalEntries runWatcher(const Script& script)
{
    FileClipboardLazyRenderer renderer;
    const ScriptedPlatform platform(script);
    TestAccess::watch(renderer, L"C:\\");
    return Journal::shared().entries();
}

}  // namespace

// The watcher's buffer is known by its size.
void* operator new(std::size_t size)
{
    if (size == kBufferSize)
        note("allocate buffer");
    const bool fails = size == kBufferSize && gScript.failing == Step::kBuffer;
    void* const memory = fails ? nullptr : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    if (size == kBufferSize)
        gBuffer = memory;
    return memory;
}

void operator delete(void* memory) noexcept
{
    release(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    release(memory);
}

TEST(DriveWatcher, ADriveWithoutAVolumeEndsIt)
{
    EXPECT_EQ(runWatcher({Step::kVolume}),
              (JournalEntries{kBegins, "log 7 Drive: C:\\\tVolume Name: Could not determine, error 21"}));
}

TEST(DriveWatcher, ARootThatCantBeOpenedEndsIt)
{
    EXPECT_EQ(runWatcher({Step::kDirectory}),
              (JournalEntries{kBegins, kHasVolume, "open directory", "log 7 Failed to create file - 5"}));
}

TEST(DriveWatcher, WithoutMemoryItEndsAndLeavesTheRootOpen)
{
    EXPECT_EQ(runWatcher({Step::kBuffer}), (JournalEntries{kBegins, kHasVolume, "open directory", "allocate buffer",
                                                           "log 7 Failed to create buffer"}));
}

TEST(DriveWatcher, WithoutAnEventItFreesTheBufferAndThenTheRoot)
{
    EXPECT_EQ(runWatcher({Step::kEvent}),
              (JournalEntries{kBegins, kHasVolume, "open directory", "allocate buffer", "create event",
                              "log 7 Failed to create event 1450", "free buffer", "close directory"}));
}

TEST(DriveWatcher, AReadThatCantBeStartedEndsItAndFreesAllInOrder)
{
    EXPECT_EQ(runWatcher({}), (JournalEntries{kBegins, kHasVolume, "open directory", "allocate buffer", "create event",
                                              "read", "log 7 Failed to monitor drive directory changes - 56",
                                              "free buffer", "close event", "close directory"}));
}

TEST(DriveWatcher, EachRoundBeginsWithAZeroedBufferAndHasOneRead)
{
    EXPECT_EQ(runWatcher({Step::kNone, 3}),
              (JournalEntries{kBegins, kHasVolume, "open directory", "allocate buffer", "create event", "read", "wait",
                              "result", "read", "wait", "result", "read", "wait", "result", "read",
                              "log 7 Failed to monitor drive directory changes - 56", "free buffer", "close event",
                              "close directory"}));
}

TEST(DriveWatcher, AResultThatFailsIsFollowedByTheNextRound)
{
    EXPECT_EQ(runWatcher({Step::kNone, 2, WAIT_OBJECT_0, true}),
              (JournalEntries{kBegins, kHasVolume, "open directory", "allocate buffer", "create event", "read", "wait",
                              "result", "read", "wait", "result", "read",
                              "log 7 Failed to monitor drive directory changes - 56", "free buffer", "close event",
                              "close directory"}));
}

TEST(DriveWatcher, ANameThatCameWithAFailedResultIsNotLookedAt)
{
    FileClipboardLazyRenderer renderer;
    bool called = false;
    TestAccess::arm(renderer,
                    makeGuestRecord({"a.txt"},
                                    [&](const std::shared_ptr<ClipboardFileDataEx>&) {
                                        called = true;
                                        return 0;
                                    }),
                    "12345678");
    static decltype(&ReadDirectoryChangesW) scripted = nullptr;
    const ScriptedPlatform platform({Step::kNone, 1, WAIT_OBJECT_0, true});
    const ImportHook<decltype(&ReadDirectoryChangesW)> readHook(
        nullptr, "ReadDirectoryChangesW",
        +[](HANDLE directory, LPVOID buffer, DWORD size, BOOL subtree, DWORD filter, LPDWORD bytes, LPOVERLAPPED read,
            LPOVERLAPPED_COMPLETION_ROUTINE routine) -> BOOL {
            const BOOL started = scripted(directory, buffer, size, subtree, filter, bytes, read, routine);
            const std::wstring name = L"x\\a.txt.12345678";
            auto* const record = static_cast<FILE_NOTIFY_INFORMATION*>(buffer);
            record->Action = FILE_ACTION_ADDED;
            record->FileNameLength = static_cast<DWORD>(name.size() * sizeof(wchar_t));
            std::copy(name.begin(), name.end(), record->FileName);
            return started;
        });
    scripted = readHook.real();
    TestAccess::watch(renderer, L"C:\\");
    EXPECT_FALSE(called);
    EXPECT_EQ(gReads, 2);
}

namespace {

// A real directory is read; the first wait fails.
struct FailingWait {
    FailingWait()
    {
        gReads = 0;
    }
    const ImportHook<decltype(&ReadDirectoryChangesW)> readHook{
        nullptr, "ReadDirectoryChangesW",
        +[](HANDLE directory, LPVOID buffer, DWORD size, BOOL subtree, DWORD filter, LPDWORD bytes, LPOVERLAPPED read,
            LPOVERLAPPED_COMPLETION_ROUTINE routine) -> BOOL {
            note("read");
            gEvent = read->hEvent;
            if (++gReads == 2) {
                SetLastError(ERROR_INVALID_FUNCTION);
                return FALSE;
            }
            return gRealRead(directory, buffer, size, subtree, filter, bytes, read, routine);
        }};
    const ImportHook<decltype(&WaitForSingleObject)> waitHook{nullptr, "WaitForSingleObject",
                                                              +[](HANDLE handle, DWORD milliseconds) -> DWORD {
                                                                  if (handle != gEvent)
                                                                      return gRealWait(handle, milliseconds);
                                                                  note("wait");
                                                                  SetLastError(ERROR_INVALID_HANDLE);
                                                                  return WAIT_FAILED;
                                                              }};
    const ImportHook<decltype(&CancelIoEx)> cancelHook{nullptr, "CancelIoEx",
                                                       +[](HANDLE directory, LPOVERLAPPED read) -> BOOL {
                                                           note("cancel");
                                                           EXPECT_NE(read, nullptr);
                                                           return gRealCancel(directory, read);
                                                       }};
    const ImportHook<decltype(&GetOverlappedResult)> resultHook{nullptr, "GetOverlappedResult", &takeResult};
};

}  // namespace

// The platform would otherwise write into the buffer and the structure of the round that follows.
TEST(DriveWatcher, AfterAFailedWaitTheReadIsTakenBackAndItsEndAwaited)
{
    const TemporaryFolder folder;
    FileClipboardLazyRenderer renderer;
    gScript = {};
    {
        const FailingWait failing;
        TestAccess::watch(renderer, folder.path().substr(0, 3));
    }
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{kBegins, kHasVolume, "allocate buffer", "read", "wait", "cancel", "result, waiting",
                              "read", "log 7 Failed to monitor drive directory changes - 1", "free buffer"}));
    EXPECT_EQ(gStatusAfterCancel, kCancelled);
}
