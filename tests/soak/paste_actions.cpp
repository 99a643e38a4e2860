// Pastes that go well, whatever else happens meanwhile.
#include "example_support/utf8_arguments.h"
#include "held_paste.h"
#include "soak_actions.h"
#include "support/recording_log.h"
#include "system/paste_exit_codes.h"
#include "system/pausing_application.h"
#include "system/sha256.h"

using sd::clip::ClipboardFormat;

namespace {

Delivery makeDelivery(SeededRandom& random)
{
    constexpr std::size_t kPieces[] = {4096, 65536, 100000, 1048576, 3000000};
    return {random.pick(kPieces), random.oneIn(4) ? DWORD{1} : DWORD{0}};
}

std::shared_ptr<GuestList> offerAndPaste(SoakStage& stage)
{
    auto list = stage.makeList(stage.makeFiles(), makeDelivery(stage.random()));
    stage.offer(list);
    stage.paste(L"pasted", kPasteWritten);
    stage.expectFiles(list->files(), stage.folder(L"pasted"));
    stage.await("the event of a whole list", [&] { return stage.host().countEvents("endClipboardFile") > 0; });
    expectServedOnce(*list);
    return list;
}

}  // namespace

void pasteWhole(SoakStage& stage)
{
    stage.host().forget();
    offerAndPaste(stage);
}

void pasteTwice(SoakStage& stage)
{
    const auto list = offerAndPaste(stage);
    stage.paste(L"again", kPasteWritten);
    stage.expectFiles(list->files(), stage.folder(L"again"));
    expectServedOnce(*list);
}

// One stream serves both, so neither needs to get what it wants; but both end, and a later one gets all.
void pasteTwoAtOnce(SoakStage& stage)
{
    const auto list = offerAndPaste(stage);
    ChildProcess left = stage.startPaste(L"left");
    ChildProcess right = stage.startPaste(L"right");
    stage.await("the end of two pastes", [&] { return !left.running() && !right.running(); });
    for (ChildProcess* const child : {&left, &right})
        expect(child->waitForExit() <= kPasteFailed, "clip-paste ends: " + child->output());
    stage.paste(L"again", kPasteWritten);
    stage.expectFiles(list->files(), stage.folder(L"again"));
    expectServedOnce(*list);
}

void pasteSecondDuringFirst(SoakStage& stage)
{
    const auto gate = std::make_shared<Gate>();
    const auto list = makeHeldList(stage, gate);
    stage.offer(list);
    PausingApplication first;
    stage.await("the first piece of a paste", [&] { return first.waitForFirstPiece(); });
    stage.await("the middle of a list", [&] { return gate->waitForArrival(10); });

    const std::string output = stage.paste(L"refused", kPasteFailed);
    expect(output.find("asking for the contents gives 0x80040064") != std::string::npos,
           "the second paste is refused: " + output);

    // Before, the guest's deliveries would find a silent reader.
    first.readOn();
    stage.await("a reader that waits", [] { return RecordingLog::hasLine(5, "Wait slice file.."); });
    gate->open();
    const std::string sums = first.waitForSums();
    std::string expected;
    for (const GuestFile& file : list->files())
        expected += file.isFolder ? "" : sha256Of(file.bytes) + "\n";
    expect(sums == expected, "the first application gets\n" + expected + "and got\n" + sums);
    stage.countCompared(list->files());
    expectServedOnce(*list);
}

void replaceList(SoakStage& stage)
{
    const auto replaced = stage.makeList(stage.makeFiles());
    stage.offer(replaced);
    offerAndPaste(stage);
    expect(replaced->requests() == 0 && replaced->cancels() == 0,
           "the guest hears nothing of a list that nobody pasted");
}

void replaceListDuringPaste(SoakStage& stage)
{
    HeldPaste held(stage);
    const auto other = stage.makeList(stage.makeFiles());
    expect(!stage.host().offer(ClipboardFormat::File, other->makeRecord()), "a list during a paste is refused");
    held.complete();
    stage.offer(other);
    stage.paste(L"other", kPasteWritten);
    stage.expectFiles(other->files(), stage.folder(L"other"));
}

void copyTextDuringPaste(SoakStage& stage)
{
    HeldPaste held(stage);
    stage.copy({L"--text", L"a text during a paste"});
    stage.await("the event of a copy", [&] { return stage.host().countEvents("clipboardFileCopy") > 0; });
    held.complete();
    const std::string output = stage.paste(L"nothing", kPasteFailed);
    expect(output.find("the clipboard holds no files") != std::string::npos, "the text is there: " + output);
}

void stallShortly(SoakStage& stage)
{
    HeldPaste held(stage);
    Sleep(static_cast<DWORD>(stage.random().below(5000)));
    held.complete();
}
