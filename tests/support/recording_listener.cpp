#include "support/recording_listener.h"

#include <algorithm>
#include <chrono>

using sd::clip::ClipboardFormat;

void RecordingListener::OnClipboardFormats(const std::vector<ClipboardFormat>& formats)
{
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mReports.push_back(formats);
        mThreadOfLastReport = std::this_thread::get_id();
        mChanged.notify_all();
    }
    if (duringFormats)
        duringFormats(formats);
}

void RecordingListener::OnClipboardEvent(std::string operation, std::string stage, std::string dataType,
                                         std::int64_t number, std::string message, std::string result,
                                         std::string errorCode, std::string errorDetail)
{
    const RecordedEvent event = {
        operation, stage, dataType, number, message, result, errorCode, errorDetail, std::this_thread::get_id()};
    {
        std::lock_guard<std::mutex> lock(mMutex);
        mEvents.push_back(event);
        mChanged.notify_all();
    }
    if (duringEvent)
        duringEvent(event);
}

std::vector<std::vector<ClipboardFormat>> RecordingListener::reports() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mReports;
}

std::vector<RecordedEvent> RecordingListener::events() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mEvents;
}

std::thread::id RecordingListener::threadOfLastReport() const
{
    std::lock_guard<std::mutex> lock(mMutex);
    return mThreadOfLastReport;
}

bool RecordingListener::waitForReports(std::size_t count, int milliseconds) const
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::milliseconds(milliseconds),
                             [this, count] { return mReports.size() >= count; });
}

bool RecordingListener::waitForFiles(std::size_t firstReport, int milliseconds) const
{
    std::unique_lock<std::mutex> lock(mMutex);
    return mChanged.wait_for(lock, std::chrono::milliseconds(milliseconds), [this, firstReport] {
        for (std::size_t i = firstReport; i < mReports.size(); ++i) {
            if (std::count(mReports[i].begin(), mReports[i].end(), ClipboardFormat::File) > 0)
                return true;
        }
        return false;
    });
}

void RecordingListener::clear()
{
    std::lock_guard<std::mutex> lock(mMutex);
    mReports.clear();
    mEvents.clear();
}
