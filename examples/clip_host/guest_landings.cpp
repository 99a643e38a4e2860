#include "guest_landings.h"

#include <utility>

#include "example_support/console.h"
#include "example_support/utf8_arguments.h"
#include "sd/clip/clipboard.h"

using sd::clip::ClipfileDescription;

namespace {

constexpr std::int32_t kAllBrought = 0;
constexpr std::int32_t kNotAllBrought = 1;

/// @return the path in the form that takes names of any length and in which no name means another one
std::filesystem::path placeIn(const std::string& directory, const ClipfileDescription& file)
{
    std::wstring place = L"\\\\?\\" + toUtf16(directory) + L'\\';
    if (!file.relativePath.empty())
        place += toUtf16(file.relativePath) + L'\\';
    return place + toUtf16(file.fileName);
}

bool makeFolder(const std::filesystem::path& place)
{
    return CreateDirectoryW(place.c_str(), nullptr) || GetLastError() == ERROR_ALREADY_EXISTS;
}

}  // namespace

GuestLandings::GuestLandings(std::shared_ptr<const FileList> files) : mFiles(std::move(files)) {}

GuestLandings::~GuestLandings()
{
    end();
}

bool GuestLandings::land(std::string directory)
{
    const std::lock_guard<std::mutex> lock(mMutex);
    if (mEnded)
        return false;
    mDirectories.push_back(std::move(directory));
    mChanged.notify_all();
    if (!mThread.joinable())
        mThread = std::thread([this] { bringAll(); });
    return true;
}

void GuestLandings::retire()
{
    const std::lock_guard<std::mutex> lock(mNotifyMutex);
    mNotified = true;
}

void GuestLandings::end()
{
    std::thread thread;
    {
        const std::lock_guard<std::mutex> lock(mMutex);
        mEnded = true;
        mChanged.notify_all();
        thread.swap(mThread);
    }
    if (thread.joinable())
        thread.join();
}

bool GuestLandings::isEnded()
{
    const std::lock_guard<std::mutex> lock(mMutex);
    return mEnded;
}

void GuestLandings::bringAll()
{
    for (;;) {
        std::unique_lock<std::mutex> lock(mMutex);
        mChanged.wait(lock, [this] { return mEnded || !mDirectories.empty(); });
        if (mEnded)
            return;
        const std::string directory = std::move(mDirectories.front());
        mDirectories.pop_front();
        lock.unlock();
        bring(directory);
    }
}

/// What is there already stays: it may be somebody's only copy.
void GuestLandings::bring(const std::string& directory)
{
    printText("landed in " + directory + "\n");
    const GuestTotals all = sumUp(*mFiles);
    GuestTotals brought;
    for (const ClipfileDescription& file : *mFiles) {
        if (isEnded()) {
            printText("bringing ended after " + formatGuestTotals(brought) + "\n");
            return;
        }
        if (!bringFile(file, placeIn(directory, file))) {
            const DWORD error = GetLastError();
            printError("cannot bring " + file.fileName + ", error " + std::to_string(error) + "\n");
            continue;
        }
        brought.files += isDirectory(file) ? 0 : 1;
        brought.bytes += file.size;
    }
    const bool whole = brought.files == all.files;
    printText("brought " + formatGuestTotals(brought) + (whole ? "" : " of " + formatGuestTotals(all)) + " to " +
              directory + "\n");
    notifyOnce(whole ? kAllBrought : kNotAllBrought);
}

bool GuestLandings::bringFile(const ClipfileDescription& file, const std::filesystem::path& place)
{
    if (isDirectory(file))
        return makeFolder(place);
    return CopyFileExW(findSource(file).c_str(), place.c_str(), stopAtEnd, this, nullptr, COPY_FILE_FAIL_IF_EXISTS) !=
           FALSE;
}

DWORD CALLBACK GuestLandings::stopAtEnd(LARGE_INTEGER /*size*/, LARGE_INTEGER /*sent*/, LARGE_INTEGER /*streamSize*/,
                                        LARGE_INTEGER /*streamSent*/, DWORD /*stream*/, DWORD /*reason*/,
                                        HANDLE /*source*/, HANDLE /*target*/, LPVOID landings)
{
    return static_cast<GuestLandings*>(landings)->isEnded() ? PROGRESS_CANCEL : PROGRESS_CONTINUE;
}

/// A placeholder may land more than once, but a second notification for one list throws.
void GuestLandings::notifyOnce(std::int32_t result)
{
    const std::lock_guard<std::mutex> lock(mNotifyMutex);
    if (mNotified)
        return;
    mNotified = true;
    printText("notifies completion, result " + std::to_string(result) + "\n");
    sd::clip::Clipboard::Get()->NotifyFileLazyRenderingComplete(result);
}
