#include "guest.h"

#include <utility>

#include "example_support/console.h"
#include "example_support/joined_ole.h"
#include "example_support/message_pump.h"
#include "example_support/utf8_arguments.h"
#include "example_support/wine_stream_fix.h"
#include "guest_files.h"
#include "sd/clip/clipboard_data.h"

using sd::clip::ClipfileDescription;

namespace {

std::filesystem::path findFolder(const std::string& directory)
{
    const auto folder = std::filesystem::absolute(toUtf16(directory)).lexically_normal();
    return folder.has_filename() || !folder.has_relative_path() ? folder : folder.parent_path();
}

/// The record's functions are called for as long as some application holds on to the list, so they keep the transfer
/// alive and know nothing of the guest.
std::shared_ptr<sd::clip::ClipboardFileData> makeRecord(const std::shared_ptr<GuestTransfer>& transfer,
                                                        const GuestTransfer::FileList& files, bool veto)
{
    auto record = sd::clip::ClipboardFileData::Create();
    record->SetFiles(files);
    record->SetFileFuncs(
        [transfer](const ClipfileDescription& file, sd::clip::FileDataRequestCallback sink) {
            printText("request: " + file.fileName + "\n");
            transfer->start(std::move(sink));
            return std::string();
        },
        [transfer](const ClipfileDescription& file) {
            printText("cancel: " + file.fileName + "\n");
            transfer->cancel();
        });
    record->SetOLEClipboardPasteFunc([veto] {
        if (veto)
            printText("veto\n");
        return !veto;
    });
    return record;
}

/// Its function stays with the library until another list takes its place, and knows nothing of the guest either.
std::shared_ptr<sd::clip::ClipboardFileData> makeLazyRecord(const std::shared_ptr<GuestLandings>& landings,
                                                            const GuestTransfer::FileList& files)
{
    auto record = sd::clip::ClipboardFileDataEx::Create();
    record->SetFiles(files);
    record->SetFileLazyRenderingCallback([landings](const std::shared_ptr<sd::clip::ClipboardFileDataEx>& landed) {
        constexpr int kStarted = 0;
        constexpr int kNotStarted = 1;
        const auto target = landed->GetTargetClipboardData();
        return landings->land(target->GetFiles().front().root) ? kStarted : kNotStarted;
    });
    return record;
}

}  // namespace

Guest::Guest(const GuestOptions& options) : mOptions(options), mStop(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
    if (!mOptions.directory.empty())
        mFiles = std::make_shared<const GuestTransfer::FileList>(listGuestFiles(findFolder(mOptions.directory)));
}

Guest::~Guest()
{
    stop();
}

void Guest::start()
{
    if (mFiles != nullptr)
        mThread = std::thread([this] { offerUntilStopped(); });
}

void Guest::stop()
{
    SetEvent(mStop.get());
    if (mThread.joinable())
        mThread.join();
    for (const auto& transfer : mTransfers)
        transfer->end();
    for (const auto& landings : mLandings)
        landings->end();
}

void Guest::offerUntilStopped()
{
    const JoinedOle ole;
    const WineStreamFix wineStreamFix;
    do {
        if (mOptions.lazy)
            offerPlaceholder();
        else
            offerStreams();
    } while (!pumpMessagesUntil(mStop.get(), mOptions.again > 0 ? mOptions.again : INFINITE));
}

void Guest::offerStreams()
{
    const auto transfer = std::make_shared<GuestTransfer>(mOptions, mFiles);
    mTransfers.push_back(transfer);
    offer(sd::clip::ClipboardFormat::File, makeRecord(transfer, *mFiles, mOptions.veto));
}

void Guest::offerPlaceholder()
{
    if (!mLandings.empty())
        mLandings.back()->retire();
    const auto landings = std::make_shared<GuestLandings>(mFiles);
    mLandings.push_back(landings);
    offer(sd::clip::ClipboardFormat::FileLazy, makeLazyRecord(landings, *mFiles));
}

void Guest::offer(sd::clip::ClipboardFormat route, const std::shared_ptr<sd::clip::ClipboardFileData>& record) const
{
    const bool taken = sd::clip::Clipboard::Get()->SetClipboardData(route, record);
    printText(taken ? "offered " + formatGuestTotals(sumUp(*mFiles)) + "\n" : "the list was not taken\n");
}
