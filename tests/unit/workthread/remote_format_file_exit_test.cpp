// How a program ends that is linked with the library's own objects, with the OLE work thread in each of its states.
#include <objbase.h>
#include <ole2.h>

#include <cstdio>

#include "data_object/c_data_object.h"
#include "support/child_process.h"
#include "support/test_roles.h"
#include "work_thread_fixture.h"

using namespace sd::clip;

namespace {

constexpr int kExitCode = 42;

// A static that is destroyed after the instance's end, if it was made before the instance.
struct ThreadWitness {
    ~ThreadWitness()
    {
        const HANDLE thread = TestAccess::threadHandle(RemoteFormatFile::Instance());
        const bool ended = WaitForSingleObject(thread, 0) == WAIT_OBJECT_0;
        std::puts(thread == nullptr ? "there was no thread" : ended ? "the thread has ended" : "the thread runs");
        std::fflush(stdout);
    }
};

RemoteFormatFile& witnessedInstance()
{
    static const ThreadWitness witness;
    return RemoteFormatFile::Instance();
}

int runAndLeave(std::function<void()> job)
{
    auto future = witnessedInstance().MoveToThread(std::move(job));
    return future.get() == FuncExecStatus::Executed ? kExitCode : 1;
}

const TestRole unused("unused", [](const std::vector<std::string>&) {
    witnessedInstance();
    return kExitCode;
});

const TestRole idle("idle", [](const std::vector<std::string>&) { return runAndLeave([] {}); });

const TestRole busy("busy", [](const std::vector<std::string>&) {
    std::promise<void> begun;
    witnessedInstance().MoveToThread([&begun] {
        begun.set_value();
        Sleep(300);
    });
    begun.get_future().wait();
    return kExitCode;
});

const TestRole serving("serving", [](const std::vector<std::string>&) {
    HRESULT result = E_FAIL;
    const int code = runAndLeave([&result] {
        OleInitialize(nullptr);
        IDataObject* object = nullptr;
        CDataObject::Create(IID_IDataObject, reinterpret_cast<void**>(&object));
        for (int i = 0; i < 100 && FAILED(result); ++i) {
            result = OleSetClipboard(object);  // somebody else may have the clipboard open
            if (FAILED(result))
                Sleep(20);
        }
        object->Release();
    });
    return SUCCEEDED(result) ? code : 1;
});

// The host's own loop on the thread takes the message that is to end it, and drops it.
const TestRole looping("looping", [](const std::vector<std::string>&) {
    std::promise<void> begun;
    RemoteFormatFile& file = witnessedInstance();
    file.MoveToThread([&begun, last = TestAccess::exitMessage(file)] {
        begun.set_value();
        MSG message;
        while (GetMessageW(&message, nullptr, 0, 0) > 0 && message.message != last)
            DispatchMessageW(&message);
    });
    begun.get_future().wait();
    return kExitCode;
});

// Other threads go on placing jobs while the program's statics are destroyed.
const TestRole callersGoOn("callers-go-on", [](const std::vector<std::string>&) {
    const int code = runAndLeave([] {});
    for (int i = 0; i < 2; ++i) {
        std::thread([] {
            for (;;)
                RemoteFormatFile::Instance().MoveToThread([] {});
        }).detach();
    }
    Sleep(50);
    return code;
});

class ProgramExit : public testing::TestWithParam<std::pair<const wchar_t*, const char*>> {};

}  // namespace

TEST_P(ProgramExit, KeepsItsCodeAndFindsTheThreadEnded)
{
    ChildProcess child = ChildProcess::inRole(GetParam().first);
    EXPECT_EQ(child.waitForExit(60000), static_cast<DWORD>(kExitCode)) << child.output();
    EXPECT_NE(child.output().find(GetParam().second), std::string::npos) << child.output();
}

INSTANTIATE_TEST_SUITE_P(InEveryState, ProgramExit,
                         testing::Values(std::pair(L"unused", "there was no thread"),
                                         std::pair(L"idle", "the thread has ended"),
                                         std::pair(L"busy", "the thread has ended"),
                                         std::pair(L"serving", "the thread has ended"),
                                         std::pair(L"looping", "the thread has ended"),
                                         std::pair(L"callers-go-on", "the thread has ended")));
