// Pastes that do not come to their end.
#include <atomic>

#include "held_paste.h"
#include "sd/clip/clipboard.h"
#include "soak_actions.h"
#include "support/recording_log.h"
#include "system/paste_exit_codes.h"

using sd::clip::ClipboardFormat;

namespace {

constexpr std::size_t kSlice = 1048576;

// It lasts longer than the silence that counts as a cancel.
std::shared_ptr<GuestList> offerSlowList(SoakStage& stage)
{
    constexpr std::size_t kLong = 9000000;  // bytes, at no more than a million a second
    std::vector<GuestFile> files = stage.makeFiles();
    files.insert(files.begin(), {"", "long.bin", stage.makeContents(kLong)});
    auto list = stage.makeList(std::move(files), {20000, 20});
    stage.offer(list);
    return list;
}

// The guest is told once, whether it ends its delivery or goes on.
void expectOneCancel(SoakStage& stage, GuestList& list)
{
    stage.await("the event of a cancel", [&] { return stage.host().countEvents("cancelTransfer") > 0; });
    stage.await("the cancel", [&] { return list.cancels() > 0; });
    if (stage.random().oneIn(2))
        Sleep(static_cast<DWORD>(stage.random().below(1000)));
    list.end();
    expect(list.requests() == 1 && list.cancels() == 1, "one request and one cancel");
    expect(stage.host().countEvents("cancelTransfer") == 1, "one event of a cancel");
    expect(stage.host().countEvents("endClipboardFile") == 0, "no event of a whole list");
}

}  // namespace

void stopPaste(SoakStage& stage)
{
    const auto list = offerSlowList(stage);
    const std::size_t bytes = 1 + stage.random().below(2 * kSlice);
    stage.paste(L"stopped", kPasteStopped, {L"--stop-after", std::to_wstring(bytes)});
    expectOneCancel(stage, *list);
}

void killPaste(SoakStage& stage)
{
    constexpr UINT kKilled = 3;
    KilledApplication::expect();
    const auto list = offerSlowList(stage);
    {
        ChildProcess child = stage.startPaste(L"killed");
        stage.await("the second slice", [] { return RecordingLog::hasLine(5, "Start Read(1)"); });
        Sleep(static_cast<DWORD>(stage.random().below(300)));
        expect(child.running(), "the application reads");
        child.terminate(kKilled);
        stage.waitForPaste(child, kKilled);
    }
    expectOneCancel(stage, *list);
}

// Told while the application does something else. One that waits for a slice would learn of it only after its thirty
// seconds, and so would the host. The guest goes on to deliver, which must do no harm.
void failTransfer(SoakStage& stage)
{
    constexpr std::uint32_t kFailed = 1;
    const auto hasFailed = std::make_shared<std::atomic<bool>>(false);
    std::vector<GuestFile> files = stage.makeFiles();
    files.insert(files.begin(), {"", "failing.bin", stage.makeContents(3 * kSlice)});
    Delivery delivery;
    delivery.before = [hasFailed, &stage](std::uint64_t sent) {
        if (sent <= kSlice || *hasFailed)
            return;
        RecordingLog::waitForLine(5, "Start Read(0)", 30000);
        Sleep(100);
        stage.host().clipboard().NotifyFileTransferFailed(kFailed);
        *hasFailed = true;
    };
    const auto list = stage.makeList(std::move(files), delivery);
    stage.offer(list);
    stage.paste(L"failed", kPasteFailed, {L"--pause-at", L"1", L"--pause", L"1000"});
    stage.await("the report of a failure", [&] { return hasFailed->load(); });
    expect(list->requests() == 1, "one request");
}

void vetoPaste(SoakStage& stage)
{
    const auto list = stage.makeList(stage.makeFiles());
    const auto record = list->makeRecord();
    const auto vetoes = std::make_shared<std::atomic<int>>(0);
    record->SetOLEClipboardPasteFunc([vetoes] {
        ++*vetoes;
        return false;
    });
    expect(stage.host().offer(ClipboardFormat::File, record), "the list is taken");
    const std::string output = stage.paste(L"refused", kPasteFailed);
    expect(output.find("asking for the contents gives 0x80040064") != std::string::npos, "a refused paste: " + output);
    expect(*vetoes == 1, "one veto");
    expect(list->requests() == 0 && list->cancels() == 0, "the guest hears nothing of a refused paste");
}

// Five seconds without a first byte end the file.
void startTooLate(SoakStage& stage)
{
    const auto gate = std::make_shared<Gate>();
    Delivery delivery;
    delivery.before = [gate](std::uint64_t /*sent*/) { gate->pass(); };
    const auto list = stage.makeList(stage.makeFiles(), delivery);
    stage.offer(list);
    stage.paste(L"too late", kPasteFailed);
    expect(list->requests() == 1 && list->cancels() == 0, "one request and no cancel");
    gate->open();
    // Nobody reads any more, which may count as a cancel.
    stage.await("the end of the list",
                [&] { return stage.host().countEvents("endClipboardFile") > 0 || list->cancels() > 0; });
}

// Thirty seconds without a slice end the transfer.
void stallForGood(SoakStage& stage)
{
    HeldPaste held(stage);
    held.expectFailure();
    expect(stage.host().countEvents("transferFail") == 1, "one event of a failure");
    expect(stage.host().countEvents("cancelTransfer") == 0, "no event of a cancel");
    expect(held.list().requests() == 1 && held.list().cancels() == 1, "one request and one cancel");
}
