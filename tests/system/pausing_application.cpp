#include "pausing_application.h"

#include "clip_paste/offered_files.h"
#include "example_support/joined_ole.h"
#include "example_support/message_pump.h"
#include "reading_application.h"
#include "sha256.h"
#include "support/test_roles.h"

namespace {

constexpr wchar_t kReadOn[] = L"application-reads-on";
constexpr char kBegan[] = "began\n";

const TestRole pausingRole("pause-after-a-piece", [](const std::vector<std::string>&) {
    const HANDLE readOn = OpenEventW(SYNCHRONIZE, FALSE, kReadOn);
    const JoinedOle ole;
    const OfferedFiles offered;
    auto stream = offered.openContents(0);
    std::string bytes = readPiece(*stream.Get());
    printLine("began");
    if (!pumpMessagesUntil(readOn, 60000))
        return 1;
    printLine(sha256Of(bytes + readToEnd(*stream.Get())));
    for (std::size_t i = 1; i < offered.files().size(); ++i) {
        if (!offered.files()[i].directory)
            printLine(sha256Of(readToEnd(*offered.openContents(i).Get())));
    }
    return 0;
});

}  // namespace

PausingApplication::PausingApplication()
    : mReadOn(CreateEventW(nullptr, TRUE, FALSE, kReadOn)), mChild(ChildProcess::inRole(L"pause-after-a-piece"))
{
}

PausingApplication::~PausingApplication()
{
    CloseHandle(mReadOn);
}

bool PausingApplication::waitForFirstPiece() const
{
    return mChild.waitForOutput(kBegan);
}

void PausingApplication::readOn()
{
    SetEvent(mReadOn);
}

std::string PausingApplication::waitForSums(int milliseconds)
{
    const bool isDone = mChild.waitForExit(milliseconds) == 0;
    const std::string output = mChild.output();
    return isDone && output.rfind(kBegan, 0) == 0 ? output.substr(sizeof kBegan - 1) : "";
}
