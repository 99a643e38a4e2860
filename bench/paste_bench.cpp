#include "paste_bench.h"

#include <windows.h>

#include <ole2.h>
#include <wrl/client.h>

#include <functional>
#include <memory>
#include <stdexcept>
#include <utility>
#include <vector>

#include "bench_folder.h"
#include "bench_transfer.h"
#include "example_support/joined_ole.h"
#include "example_support/message_pump.h"
#include "memory_object.h"
#include "sd/clip/clipboard.h"
#include "second_process.h"
#include "workthread/remote_format_file.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

constexpr std::size_t kFileSize = 16777216;
constexpr std::size_t kTurn = 1048576;
constexpr std::size_t kChunk = 65536;
constexpr int kRounds = 21;
constexpr DWORD kPatience = 60000;  // milliseconds for any step of the other process
constexpr wchar_t kGoName[] = L"bench-paste-go";
constexpr wchar_t kDoneName[] = L"bench-paste-done";
constexpr wchar_t kTimesName[] = L"bench-paste-times";
enum Times { kMemoryTime, kSlicesTime, kTimes };  // positions of the shared numbers

// ---- The process that pastes ----

// Throws std::runtime_error if the clipboard does not offer it.
ComPtr<IStream> openContents()
{
    ComPtr<IDataObject> data;
    if (FAILED(OleGetClipboard(data.GetAddressOf())))
        throw std::runtime_error("the clipboard can't be taken");
    FORMATETC format = {static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents")), nullptr, DVASPECT_CONTENT,
                        0, TYMED_ISTREAM};
    STGMEDIUM medium;
    if (FAILED(data->GetData(&format, &medium)))
        throw std::runtime_error("nothing can be pasted");
    ComPtr<IStream> stream = medium.pstm;
    ReleaseStgMedium(&medium);
    return stream;
}

// @return counts of the shared clock. Throws std::runtime_error if bytes are missing.
LONGLONG timeTurn(IStream& stream, std::vector<unsigned char>& buffer)
{
    const LONGLONG begun = sharedNow();
    for (std::size_t total = 0; total < kTurn;) {
        ULONG count = 0;
        if (FAILED(stream.Read(buffer.data(), static_cast<ULONG>(buffer.size()), &count)) || count == 0)
            throw std::runtime_error("bytes are missing");
        total += count;
    }
    return sharedNow() - begun;
}

// The two streams take turns, so that other work on the machine slows them alike.
void readBoth(IStream& memory, IStream& slices, volatile LONGLONG* times)
{
    std::vector<unsigned char> buffer(kChunk);
    LONGLONG memoryTime = 0;
    LONGLONG slicesTime = 0;
    memory.Seek({}, STREAM_SEEK_SET, nullptr);
    for (std::size_t begin = 0; begin < kFileSize; begin += kTurn) {
        memoryTime += timeTurn(memory, buffer);
        slicesTime += timeTurn(slices, buffer);
    }
    times[kMemoryTime] = memoryTime;
    times[kSlicesTime] = slicesTime;
}

// ---- The process that is measured ----

// The process that pastes, and what both share.
class Paster {
public:
    Paster()
        : mGo(CreateEventW(nullptr, FALSE, FALSE, kGoName)),
          mDone(CreateEventW(nullptr, FALSE, FALSE, kDoneName)),
          mMapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kTimes * sizeof(LONGLONG),
                                      kTimesName)),
          mTimes(mapSharedNumbers(mMapping)),
          mProcess(startSecondProcess(L"--paster"))
    {
    }
    ~Paster()
    {
        TerminateProcess(mProcess, 0);
        for (const HANDLE handle : {mProcess, mMapping, mDone, mGo})
            CloseHandle(handle);
    }
    Paster(const Paster&) = delete;
    Paster& operator=(const Paster&) = delete;

    // Its steps: opens the stream over memory; opens the one over slices; reads both, any number of times.
    void step() const
    {
        SetEvent(mGo);
        if (!pumpMessagesUntil(mDone, kPatience))
            throw std::runtime_error("the other process does not paste");
    }

    // @return rate of the slices over that of the memory
    double readBoth() const
    {
        step();
        return static_cast<double>(mTimes[kMemoryTime]) / static_cast<double>(mTimes[kSlicesTime]);
    }

private:
    const HANDLE mGo;
    const HANDLE mDone;
    const HANDLE mMapping;
    volatile LONGLONG* const mTimes;
    const HANDLE mProcess;
};

void runOnWorkThread(std::function<void()> function)
{
    if (RemoteFormatFile::Instance().MoveToThread(std::move(function)).get() != FuncExecStatus::Executed)
        throw std::runtime_error("the work thread did not run it");
}

// On the thread that serves the library's own data objects.
void offerMemory()
{
    ComPtr<MemoryObject> object;
    *object.GetAddressOf() = new MemoryObject(kFileSize);
    object->DataObjectInit();
    OleSetClipboard(object.Get());
}

// Puts a guest's list on the clipboard and delivers it once the other process has opened its file: so every slice is
// on disk before the reading begins.
void pasteSlices(const Paster& paster)
{
    FileDataRequestCallback sink;
    const std::vector<ClipfileDescription> files = makeGuestFiles(1, kFileSize);
    const auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles(files);
    record->SetFileFuncs(
        [&sink](const ClipfileDescription&, FileDataRequestCallback given) {
            sink = std::move(given);
            return std::string();
        },
        [](const ClipfileDescription&) {});
    if (!Clipboard::Get()->SetClipboardData(ClipboardFormat::File, record))
        throw std::runtime_error("the list is refused");
    paster.step();
    if (!sink)
        throw std::runtime_error("the files are not requested");
    std::vector<unsigned char> bytes(kTurn, 0x5A);
    for (std::size_t begin = 0; begin < kFileSize; begin += bytes.size())
        sink(files.front(), bytes.data(), bytes.size());
}

}  // namespace

int runPaster()
{
    const JoinedOle joined;
    const HANDLE go = OpenEventW(SYNCHRONIZE, FALSE, kGoName);
    const HANDLE done = OpenEventW(EVENT_MODIFY_STATE, FALSE, kDoneName);
    volatile LONGLONG* const times = mapSharedNumbers(OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, kTimesName));
    const auto waitForGo = [go] { return pumpMessagesUntil(go, kPatience); };
    if (!waitForGo())
        return 1;
    const ComPtr<IStream> memory = openContents();
    SetEvent(done);
    if (!waitForGo())
        return 1;
    openContents();  // has the guest's files requested
    SetEvent(done);
    while (waitForGo()) {
        readBoth(*memory.Get(), *openContents().Get(), times);
        SetEvent(done);
    }
    return 0;
}

BenchResult measurePaste(const std::wstring& work)
{
    const JoinedOle joined;
    const BenchFolder folder(work);
    const auto clipboard = Clipboard::Get();
    clipboard->SetFileClipboardSupported(true);
    clipboard->InitFileLazyRenderer(folder.cacheDirectory());
    const Paster paster;
    OleSetClipboard(nullptr);  // as the library does first, on the thread that will wait
    runOnWorkThread(offerMemory);
    paster.step();
    pasteSlices(paster);
    const Rounds ratios = runRounds(kRounds, [&] { return paster.readBoth(); });
    runOnWorkThread([] { OleSetClipboard(nullptr); });
    return {"paste_vs_memory", ratios, "ratio", 0.9, "higher"};
}
