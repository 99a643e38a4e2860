#include "stream_keeper.h"

#include <cstdio>
#include <memory>

#include "clip_paste/offered_files.h"
#include "example_support/joined_ole.h"
#include "example_support/message_pump.h"
#include "reading_application.h"
#include "sha256.h"
#include "support/test_roles.h"

namespace {

constexpr wchar_t kReadOn[] = L"stream-keeper-reads-on";
constexpr wchar_t kRelease[] = L"stream-keeper-releases";
constexpr char kBegan[] = "began\n";

// Reads to the end, or to the first failure. @return the last result
HRESULT readAll(IStream& stream, std::string& bytes)
{
    for (;;) {
        std::string piece(65536, '\0');
        ULONG count = 0;
        const HRESULT result = stream.Read(piece.data(), static_cast<ULONG>(piece.size()), &count);
        if (FAILED(result) || count == 0)
            return result;
        bytes.append(piece, 0, count);
    }
}

const TestRole keepingRole("keep-stream", [](const std::vector<std::string>& arguments) {
    const HANDLE readOn = OpenEventW(SYNCHRONIZE, FALSE, kReadOn);
    const HANDLE release = OpenEventW(SYNCHRONIZE, FALSE, kRelease);
    const JoinedOle ole;
    auto offered = std::make_unique<OfferedFiles>();
    auto stream = offered->openContents(0);
    std::string bytes = readExactly(*stream.Get(), std::stoul(arguments.at(1)));
    if (arguments.at(0) == "let-go")
        offered.reset();
    printLine("began");
    constexpr DWORD kPause = 20;  // milliseconds
    for (bool hasReadOn = false; !pumpMessagesUntil(release, kPause);) {
        if (hasReadOn || WaitForSingleObject(readOn, 0) != WAIT_OBJECT_0)
            continue;
        hasReadOn = true;
        const HRESULT last = readAll(*stream.Get(), bytes);
        printLine(StreamKeeper::describeReading(bytes, last));
    }
    stream.Reset();
    offered.reset();
    return 0;
});

}  // namespace

StreamKeeper::StreamKeeper(Object object, std::size_t firstPiece)
    : mReadOn(CreateEventW(nullptr, TRUE, FALSE, kReadOn)),
      mRelease(CreateEventW(nullptr, TRUE, FALSE, kRelease)),
      mChild(ChildProcess::inRole(L"keep-stream",
                                  {object == Object::kKept ? L"keep" : L"let-go", std::to_wstring(firstPiece)}))
{
}

StreamKeeper::~StreamKeeper()
{
    CloseHandle(mReadOn);
    CloseHandle(mRelease);
}

bool StreamKeeper::waitUntilItHasBegun() const
{
    return mChild.waitForOutput(kBegan);
}

void StreamKeeper::readOn()
{
    SetEvent(mReadOn);
}

std::string StreamKeeper::waitForReading() const
{
    if (!mChild.waitForOutput(" last "))
        return "";
    const std::string output = mChild.output();
    const std::size_t begin = output.find(kBegan) + sizeof kBegan - 1;
    return output.substr(begin, output.find('\n', begin) - begin);
}

bool StreamKeeper::release()
{
    SetEvent(mRelease);
    return mChild.waitForExit() == 0;
}

std::string StreamKeeper::describeReading(const std::string& bytes, HRESULT lastResult)
{
    char last[16] = {};
    std::snprintf(last, sizeof last, "0x%08lX", static_cast<unsigned long>(lastResult));
    return std::to_string(bytes.size()) + " bytes " + sha256Of(bytes) + " last " + last;
}
