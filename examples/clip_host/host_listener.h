#pragma once

#include <atomic>
#include <functional>
#include <string>
#include <vector>

#include "host_options.h"
#include "sd/clip/clipboard.h"

/// Prints what the library tells, and fetches the copied files.
/// Threads: the library calls it on its worker, never on the thread that pumps messages, so it may take its time here;
/// a host with much to do would hand the work on to a thread of its own.
class HostListener final : public sd::clip::ClipboardListener {
public:
    /// @param goalReached called, on any thread, once as many lists or reports came as the options ask for
    HostListener(const HostOptions& options, std::function<void()> goalReached);

    void OnClipboardFormats(const std::vector<sd::clip::ClipboardFormat>& formats) override;
    void OnClipboardEvent(std::string operation, std::string stage, std::string dataType, std::int64_t number,
                          std::string message, std::string result, std::string errorCode,
                          std::string errorDetail) override;

    /// @return whether as many lists and reports came as the options ask for
    bool isGoalReached() const;

private:
    void fetchFiles();

    const HostOptions mOptions;
    const std::function<void()> mGoalReached;
    std::atomic<unsigned> mLists{0};
    std::atomic<unsigned> mReports{0};
};
