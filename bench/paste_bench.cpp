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

constexpr std::size_t kFileSize = 4194304;
constexpr std::size_t kTurn = 1048576;
constexpr int kRounds = 9;
constexpr DWORD kPatience = 60000;  // milliseconds for any step of the other process
constexpr wchar_t kGoName[] = L"bench-paste-go";
constexpr wchar_t kDoneName[] = L"bench-paste-done";
constexpr wchar_t kNumbersName[] = L"bench-paste-numbers";
enum Numbers { kPiece, kMemoryTime, kSlicesTime, kNumbers };  // positions of the shared numbers

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
void readBoth(IStream& memory, IStream& slices, volatile LONGLONG* numbers)
{
    std::vector<unsigned char> buffer(static_cast<std::size_t>(numbers[kPiece]));
    LONGLONG memoryTime = 0;
    LONGLONG slicesTime = 0;
    memory.Seek({}, STREAM_SEEK_SET, nullptr);
    for (std::size_t begin = 0; begin < kFileSize; begin += kTurn) {
        memoryTime += timeTurn(memory, buffer);
        slicesTime += timeTurn(slices, buffer);
    }
    numbers[kMemoryTime] = memoryTime;
    numbers[kSlicesTime] = slicesTime;
}

// ---- The process that is measured ----

// The process that pastes, and what both share.
class Paster {
public:
    // @param piece bytes of each call, on both sides
    explicit Paster(std::size_t piece)
        : mGo(CreateEventW(nullptr, FALSE, FALSE, kGoName)),
          mDone(CreateEventW(nullptr, FALSE, FALSE, kDoneName)),
          mMapping(CreateFileMappingW(INVALID_HANDLE_VALUE, nullptr, PAGE_READWRITE, 0, kNumbers * sizeof(LONGLONG),
                                      kNumbersName)),
          mNumbers(mapSharedNumbers(mMapping)),
          mProcess(startSecondProcess(L"--paster"))
    {
        mNumbers[kPiece] = static_cast<LONGLONG>(piece);
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
        return static_cast<double>(mNumbers[kMemoryTime]) / static_cast<double>(mNumbers[kSlicesTime]);
    }

private:
    const HANDLE mGo;
    const HANDLE mDone;
    const HANDLE mMapping;
    volatile LONGLONG* const mNumbers;
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

Rounds measureRatios(const std::wstring& work, std::size_t piece)
{
    const JoinedOle joined;
    const BenchFolder folder(work);
    const auto clipboard = Clipboard::Get();
    clipboard->SetFileClipboardSupported(true);
    clipboard->InitFileLazyRenderer(folder.cacheDirectory());
    const Paster paster(piece);
    OleSetClipboard(nullptr);  // as the library does first, on the thread that will wait
    runOnWorkThread(offerMemory);
    paster.step();
    pasteSlices(paster);
    const Rounds ratios = runRounds(kRounds, [&] { return paster.readBoth(); });
    runOnWorkThread([] { OleSetClipboard(nullptr); });
    return ratios;
}

}  // namespace

int runPaster()
{
    const JoinedOle joined;
    const HANDLE go = OpenEventW(SYNCHRONIZE, FALSE, kGoName);
    const HANDLE done = OpenEventW(EVENT_MODIFY_STATE, FALSE, kDoneName);
    volatile LONGLONG* const numbers = mapSharedNumbers(OpenFileMappingW(FILE_MAP_ALL_ACCESS, FALSE, kNumbersName));
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
        readBoth(*memory.Get(), *openContents().Get(), numbers);
        SetEvent(done);
    }
    return 0;
}

BenchResult measurePaste4k(const std::wstring& work)
{
    return {"paste_4k_vs_memory", measureRatios(work, 4096), "ratio", {}, "higher"};
}

BenchResult measurePaste64k(const std::wstring& work)
{
    return {"paste_vs_memory", measureRatios(work, 65536), "ratio", 0.95, "higher"};
}

BenchResult measurePaste256k(const std::wstring& work)
{
    return {"paste_256k_vs_memory", measureRatios(work, 262144), "ratio", {}, "higher"};
}

BenchResult measurePaste1m(const std::wstring& work)
{
    return {"paste_1m_vs_memory", measureRatios(work, 1048576), "ratio", {}, "higher"};
}
