#include "host_listener.h"

#include <algorithm>
#include <limits>
#include <memory>
#include <utility>

#include "example_support/console.h"
#include "file_table.h"
#include "sd/clip/clipboard_data.h"

namespace {

using sd::clip::ClipboardFormat;

constexpr std::size_t kShownRows = 40;

const char* nameOf(ClipboardFormat format)
{
    switch (format) {
        case ClipboardFormat::Text:
            return "Text";
        case ClipboardFormat::Image:
            return "Image";
        case ClipboardFormat::File:
            return "File";
        case ClipboardFormat::FileLazy:
            return "FileLazy";
        case ClipboardFormat::Richtext:
            return "Richtext";
    }
    return "unknown";
}

std::string formatReport(const std::vector<ClipboardFormat>& formats)
{
    std::string text = "formats:";
    for (const ClipboardFormat format : formats)
        text += std::string(" ") + nameOf(format);
    return text + (formats.empty() ? " none\n" : "\n");
}

}  // namespace

HostListener::HostListener(const HostOptions& options, std::function<void()> goalReached)
    : mOptions(options), mGoalReached(std::move(goalReached))
{
}

void HostListener::OnClipboardFormats(const std::vector<ClipboardFormat>& formats)
{
    printText(formatReport(formats));
    if (std::find(formats.begin(), formats.end(), ClipboardFormat::File) != formats.end())
        fetchFiles();
    ++mReports;
    if (mOptions.hasGoal() && isGoalReached())
        mGoalReached();
}

void HostListener::fetchFiles()
{
    const auto data = sd::clip::Clipboard::Get()->GetClipboardData(ClipboardFormat::File);
    const auto fileData = std::dynamic_pointer_cast<sd::clip::ClipboardFileData>(data);
    if (fileData == nullptr) {
        // Another program has changed the clipboard since the report; a new report is on its way.
        printText("the files could not be read\n");
        return;
    }
    // Here a host sends the list to its guest. The record holds names only: contents are read when the guest pastes.
    const auto& files = fileData->GetFiles();
    printText(formatFileTable(files, mOptions.allRows ? std::numeric_limits<std::size_t>::max() : kShownRows));
    if (!files.empty())
        ++mLists;
}

void HostListener::OnClipboardEvent(std::string operation, std::string stage, std::string dataType, std::int64_t number,
                                    std::string message, std::string result, std::string errorCode,
                                    std::string errorDetail)
{
    printText("event: operation=\"" + operation + "\" stage=\"" + stage + "\" dataType=\"" + dataType +
              "\" number=" + std::to_string(number) + " message=\"" + message + "\" result=\"" + result +
              "\" errorCode=\"" + errorCode + "\" errorDetail=\"" + errorDetail + "\"\n");
}

bool HostListener::isGoalReached() const
{
    return mLists >= mOptions.lists && mReports >= mOptions.reports;
}
