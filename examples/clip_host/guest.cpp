#include "guest.h"

#include <utility>

#include "example_support/console.h"
#include "example_support/joined_ole.h"
#include "example_support/message_pump.h"
#include "example_support/utf8_arguments.h"
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
        [transfer](const ClipfileDescription& file, sd::clip::FileDataSink sink) {
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
}

void Guest::offerUntilStopped()
{
    const JoinedOle ole;
    do
        offer();
    while (!pumpMessagesUntil(mStop.get(), mOptions.again > 0 ? mOptions.again : INFINITE));
}

void Guest::offer()
{
    const auto transfer = std::make_shared<GuestTransfer>(mOptions, mFiles);
    mTransfers.push_back(transfer);
    const auto record = makeRecord(transfer, *mFiles, mOptions.veto);
    const bool taken = sd::clip::Clipboard::Get()->SetClipboardData(sd::clip::ClipboardFormat::File, record);
    printText(taken ? "offered " + formatGuestTotals(sumUp(*mFiles)) + "\n" : "the list was not taken\n");
}
