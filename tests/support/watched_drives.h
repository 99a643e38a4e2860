// Starts the placeholder route as a host does, and waits for what its drive watchers log at their start: a test that
// compares log lines must not find them between its own.
#pragma once

#include <algorithm>
#include <chrono>
#include <string>
#include <thread>

#include "sd/clip/clipboard.h"
#include "support/recording_log.h"

inline std::ptrdiff_t countLinesThatBegin(const std::string& beginning)
{
    const auto messages = RecordingLog::messages();
    return std::count_if(messages.begin(), messages.end(),
                         [&](const std::string& message) { return message.rfind(beginning, 0) == 0; });
}

// @return what InitFileLazyRenderer returned
inline bool initLazyRenderer(sd::clip::Clipboard& clipboard, const std::string& cacheDirectory)
{
    const auto startedBefore = countLinesThatBegin("Start watching drive ");
    const auto readyBefore = countLinesThatBegin("Drive: ");
    const bool ready = clipboard.InitFileLazyRenderer(cacheDirectory);
    const auto started = countLinesThatBegin("Start watching drive ") - startedBefore;
    const auto end = std::chrono::steady_clock::now() + std::chrono::seconds(20);
    while (countLinesThatBegin("Drive: ") - readyBefore < started && std::chrono::steady_clock::now() < end)
        std::this_thread::sleep_for(std::chrono::milliseconds(1));
    return ready;
}
