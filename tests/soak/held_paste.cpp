#include "held_paste.h"

#include <utility>

#include "support/recording_log.h"
#include "system/paste_exit_codes.h"

namespace {

constexpr std::size_t kSlice = 1048576;

ChildProcess offerAndStartPaste(SoakStage& stage, const std::shared_ptr<GuestList>& list)
{
    stage.offer(list);
    return stage.startPaste(L"held");
}

}  // namespace

std::shared_ptr<GuestList> makeHeldList(SoakStage& stage, const std::shared_ptr<Gate>& gate)
{
    std::vector<GuestFile> files = stage.makeFiles();
    files.insert(files.begin(), {"", "held.bin", stage.makeContents(2 * kSlice + stage.random().below(2 * kSlice))});
    Delivery delivery;
    delivery.before = [gate](std::uint64_t sent) {
        if (sent > kSlice)
            gate->pass();
    };
    return stage.makeList(std::move(files), std::move(delivery));
}

void expectServedOnce(const GuestList& list)
{
    expect(list.requests() == 1, "one request, and there were " + std::to_string(list.requests()));
    expect(list.cancels() == 0, "no cancel, and there were " + std::to_string(list.cancels()));
}

HeldPaste::HeldPaste(SoakStage& stage)
    : mStage(stage), mList(makeHeldList(stage, mGate)), mPaste(offerAndStartPaste(stage, mList))
{
    stage.await("the middle of a list", [this] { return mGate->waitForArrival(10); });
    stage.await("the first read", [] { return RecordingLog::hasLine(5, "Start Read(0)"); });
}

void HeldPaste::complete()
{
    expect(mPaste.running(), "the held paste waits");
    mGate->open();
    mStage.waitForPaste(mPaste, kPasteWritten);
    mStage.expectFiles(mList->files(), mStage.folder(L"held"));
    expectServedOnce(*mList);
}

void HeldPaste::expectFailure()
{
    mStage.waitForPaste(mPaste, kPasteFailed);
    mGate->open();
}
