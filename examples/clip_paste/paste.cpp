#include "paste.h"

#include <atomic>
#include <stdexcept>

#include "destination.h"
#include "example_support/console.h"
#include "example_support/utf8_arguments.h"
#include "progress.h"
#include "relative_name.h"
#include "written_file.h"

namespace {

std::atomic<bool> gStopAsked{false};

/// @return where each entry of the list goes
std::vector<std::wstring> findPlaces(const std::vector<OfferedFile>& files, const std::wstring& destination)
{
    std::vector<std::wstring> places;
    for (const OfferedFile& file : files) {
        const auto place = findPlaceBelow(file.name);
        if (!place)
            throw std::runtime_error("refused, nothing is written: \"" + toUtf8(file.name) +
                                     "\" would be written outside the destination");
        places.push_back(destination + L'\\' + *place);
    }
    return places;
}

/// A paste that runs: its totals, and when it has to stop.
class Paste {
public:
    Paste(const OfferedFiles& offered, const PasteOptions& options)
        : mOffered(offered), mOptions(options), mProgress(sumSizes(offered.files())), mBuffer(options.chunk)
    {
    }

    /// @return whether it is whole; else the paste was stopped
    bool writeFile(std::size_t index, const std::wstring& path)
    {
        const auto stream = mOffered.openContents(index);
        WrittenFile file(path);
        std::uint64_t size = 0;
        for (;;) {
            if (isStopped())
                return false;
            const ULONG count = read(*stream.Get());
            if (count == 0)
                break;  // S_FALSE with fewer bytes than asked for is not the end
            file.write(mBuffer.data(), count);
            size += count;
            mBytes += count;
            mProgress.show(mBytes);
            pauseOnce();
        }
        checkSize(mOffered.files()[index], size);
        file.keep();
        ++mFiles;
        return true;
    }

    void endProgress()
    {
        mProgress.end();
    }

    std::string describe(PasteResult result) const
    {
        return describePaste(result, mFiles, mBytes);
    }

private:
    static std::uint64_t sumSizes(const std::vector<OfferedFile>& files)
    {
        std::uint64_t total = 0;
        for (const OfferedFile& file : files)
            total += file.directory ? 0 : file.size.value_or(0);
        return total;
    }

    static void checkSize(const OfferedFile& file, std::uint64_t size)
    {
        if (file.size && *file.size != size)
            throw std::runtime_error(std::to_string(size) + " bytes came of " + std::to_string(*file.size));
    }

    ULONG read(IStream& stream)
    {
        ULONG count = 0;
        const HRESULT result = stream.Read(mBuffer.data(), static_cast<ULONG>(mBuffer.size()), &count);
        if (FAILED(result))
            throw std::runtime_error(describeFailure("reading", result));
        return count;
    }

    bool isStopped() const
    {
        return isStopAsked() || (mOptions.stopAt && mBytes >= *mOptions.stopAt);
    }

    void pauseOnce()
    {
        if (mPaused || !mOptions.pauseAt || mBytes < *mOptions.pauseAt)
            return;
        mPaused = true;
        Sleep(mOptions.pause);
    }

    const OfferedFiles& mOffered;
    const PasteOptions& mOptions;
    Progress mProgress;
    std::vector<unsigned char> mBuffer;
    std::size_t mFiles = 0;
    std::uint64_t mBytes = 0;
    bool mPaused = false;
};

/// Throws std::runtime_error at the first failure.
PasteResult writeAll(Paste& paste, const std::vector<OfferedFile>& files, const std::vector<std::wstring>& places)
{
    for (std::size_t i = 0; i < files.size(); ++i) {
        if (files[i].directory) {
            makeFolders(places[i]);
            continue;
        }
        makeFolders(places[i].substr(0, places[i].rfind(L'\\')));  // the list need not name it
        try {
            if (!paste.writeFile(i, places[i]))
                return PasteResult::Stopped;
        } catch (const std::runtime_error& error) {
            throw std::runtime_error(toUtf8(files[i].name) + ": " + error.what());
        }
    }
    return PasteResult::Written;
}

}  // namespace

bool askToStop()
{
    return !gStopAsked.exchange(true);
}

bool isStopAsked()
{
    return gStopAsked;
}

std::string describePaste(PasteResult result, std::size_t fileCount, std::uint64_t byteCount)
{
    const std::string files = std::to_string(fileCount) + " files";
    const std::string bytes = std::to_string(byteCount) + " bytes";
    if (result == PasteResult::Written)
        return "wrote " + files + ", " + bytes;
    return (result == PasteResult::Stopped ? "stopped after " : "failed after ") + bytes + ": wrote " + files;
}

PasteResult pasteFiles(const OfferedFiles& offered, const PasteOptions& options)
{
    const std::wstring destination = findDestination(options.destination);
    const auto places = findPlaces(offered.files(), destination);
    makeFolders(destination);
    Paste paste(offered, options);
    PasteResult result = PasteResult::Failed;
    try {
        result = writeAll(paste, offered.files(), places);
        paste.endProgress();
    } catch (const std::runtime_error& error) {
        paste.endProgress();
        printError(std::string("clip-paste: ") + error.what() + "\n");
    }
    printText(paste.describe(result) + " to " + options.destination + "\n");
    return result;
}
