// A host's listener that keeps what it is told, with knobs for what it does meanwhile.
#pragma once

#include <condition_variable>
#include <cstdint>
#include <functional>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

#include "sd/clip/clipboard.h"

struct RecordedEvent {
    std::string operation;
    std::string stage;
    std::string dataType;
    std::int64_t number = 0;
    std::string message;
    std::string result;
    std::string errorCode;
    std::string errorDetail;
    std::thread::id thread;
};

class RecordingListener : public sd::clip::ClipboardListener {
public:
    // Called inside OnClipboardFormats, after it was recorded. Set before the listener is installed.
    std::function<void(const std::vector<sd::clip::ClipboardFormat>&)> duringFormats;

    // Called inside OnClipboardEvent, after it was recorded. Set before anything can raise an event.
    std::function<void(const RecordedEvent&)> duringEvent;

    void OnClipboardFormats(const std::vector<sd::clip::ClipboardFormat>& formats) override;
    void OnClipboardEvent(std::string operation, std::string stage, std::string dataType, std::int64_t number,
                          std::string message, std::string result, std::string errorCode,
                          std::string errorDetail) override;

    // One entry for each call of OnClipboardFormats.
    std::vector<std::vector<sd::clip::ClipboardFormat>> reports() const;
    std::vector<RecordedEvent> events() const;
    std::thread::id threadOfLastReport() const;

    // Waits until there are that many reports.
    bool waitForReports(std::size_t count, int milliseconds = 30000) const;
    // Waits until a report from the given one on lists files.
    bool waitForFiles(std::size_t firstReport = 0, int milliseconds = 30000) const;
    void clear();

private:
    mutable std::mutex mMutex;
    mutable std::condition_variable mChanged;
    std::vector<std::vector<sd::clip::ClipboardFormat>> mReports;
    std::vector<RecordedEvent> mEvents;
    std::thread::id mThreadOfLastReport;
};
