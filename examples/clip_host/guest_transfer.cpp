#include "guest_transfer.h"

#include <algorithm>
#include <fstream>
#include <utility>

#include "example_support/console.h"
#include "example_support/joined_ole.h"
#include "example_support/message_pump.h"
#include "guest_files.h"
#include "sd/clip/clipboard.h"

using sd::clip::ClipfileDescription;
using sd::clip::FileDataRequestCallback;

namespace {

using Clock = std::chrono::steady_clock;

/// The value of NotifyFileTransferFailed that ends the transfer.
constexpr std::uint32_t kTransferFailed = 1;

std::string formatBytes(std::uint64_t bytes)
{
    return std::to_string(bytes) + " bytes";
}

}  // namespace

GuestTransfer::GuestTransfer(const GuestOptions& options, std::shared_ptr<const FileList> files)
    : mOptions(options),
      mFiles(std::move(files)),
      mTotal(sumUp(*mFiles).bytes),
      mStop(CreateEventW(nullptr, TRUE, FALSE, nullptr))
{
}

GuestTransfer::~GuestTransfer()
{
    end();
}

void GuestTransfer::start(FileDataRequestCallback sink)
{
    const std::lock_guard<std::mutex> lock(mThreadMutex);
    if (mEnded || mThread.joinable())
        return;
    mThread = std::thread([this, sink = std::move(sink)] {
        const JoinedOle ole;
        deliverAll(sink);
    });
}

void GuestTransfer::cancel()
{
    if (mOptions.stopOnCancel)
        SetEvent(mStop.get());
}

void GuestTransfer::end()
{
    std::thread thread;
    {
        const std::lock_guard<std::mutex> lock(mThreadMutex);
        mEnded = true;
        thread.swap(mThread);
    }
    SetEvent(mStop.get());
    if (thread.joinable())
        thread.join();
}

void GuestTransfer::deliverAll(const FileDataRequestCallback& sink)
{
    mBuffer.resize(static_cast<std::size_t>(std::min(mOptions.piece, std::max<std::uint64_t>(mTotal, 1))));
    if (pumpMessagesUntil(mStop.get(), mOptions.delay))
        return;
    mBegin = mLastReport = Clock::now();
    for (const ClipfileDescription& file : *mFiles) {
        if (isDirectory(file))
            continue;  // the list says all there is to it
        if (!deliverFile(file, sink)) {
            printText("delivery ended after " + formatBytes(mSent) + "\n");
            return;
        }
    }
    printText("delivered " + formatGuestTotals(sumUp(*mFiles)) + "\n");
}

/// @return whether the delivery goes on
bool GuestTransfer::deliverFile(const ClipfileDescription& file, const FileDataRequestCallback& sink)
{
    std::ifstream source(findSource(file), std::ios::binary);
    std::uint64_t left = file.size;
    do {  // an empty file has one delivery too: by that the library knows that it is complete
        if (!passFaults() || !waitForTurn())
            return false;
        const std::uint64_t size = limitPiece(left);
        source.read(reinterpret_cast<char*>(mBuffer.data()), static_cast<std::streamsize>(size));
        if (!source.is_open() || static_cast<std::uint64_t>(source.gcount()) != size) {
            reportFailure(file.fileName + " has changed or cannot be read");
            return false;
        }
        sink(file, mBuffer.data(), size);
        left -= size;
        mSent += size;
        printProgress();
    } while (left > 0);
    return true;
}

/// @return what to send next, so that each fault comes at its very byte
std::uint64_t GuestTransfer::limitPiece(std::uint64_t left) const
{
    std::uint64_t size = std::min<std::uint64_t>(left, mBuffer.size());
    for (const auto& fault : {mOptions.failAt, mOptions.stallAt}) {
        if (fault)
            size = std::min(size, *fault - mSent);
    }
    return size;
}

/// @return whether the delivery goes on
bool GuestTransfer::passFaults()
{
    if (mOptions.failAt && mSent >= *mOptions.failAt) {
        reportFailure("as asked for");
        return false;
    }
    if (mOptions.stallAt && mSent >= *mOptions.stallAt) {
        printText("silent after " + formatBytes(mSent) + "\n");
        pumpMessagesUntil(mStop.get(), INFINITE);
        return false;
    }
    return true;
}

/// Waits as long as the rate asks for, and serves this thread's messages in any case. @return whether it goes on
bool GuestTransfer::waitForTurn()
{
    DWORD wait = 0;
    if (mOptions.rate > 0) {
        const std::chrono::duration<double> due(static_cast<double>(mSent) / static_cast<double>(mOptions.rate));
        const std::chrono::duration<double, std::milli> early = due - (Clock::now() - mBegin);
        wait = static_cast<DWORD>(std::max(0.0, early.count()));
    }
    return !pumpMessagesUntil(mStop.get(), wait);
}

void GuestTransfer::reportFailure(const std::string& reason) const
{
    printText("reports a failed transfer after " + formatBytes(mSent) + ": " + reason + "\n");
    sd::clip::Clipboard::Get()->NotifyFileTransferFailed(kTransferFailed);
}

void GuestTransfer::printProgress()
{
    const auto now = Clock::now();
    if (now - mLastReport < std::chrono::seconds(1))
        return;
    mLastReport = now;
    printText("delivered " + std::to_string(mSent) + " of " + formatBytes(mTotal) + "\n");
}
