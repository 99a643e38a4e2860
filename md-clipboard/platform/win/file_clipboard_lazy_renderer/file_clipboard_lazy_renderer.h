// Pastes a guest's file list through one placeholder file. What stands here so far is what the engine asks of it.
#pragma once

#include <atomic>

namespace sd::clip {

// Threads: the mode flag may be set and read from any thread at any time. ConsumeCopy runs on the engine's worker.
class FileClipboardLazyRenderer {
public:
    // Whether the clipboard change that is being looked at is the library's own placeholder. Nothing is published yet,
    // so none is.
    bool ConsumeCopy();

    void SetSupportFileClipboardFullPostProcessMode(bool supported);
    bool GetSupportFileClipboardFullPostProcessMode() const;

private:
    friend class TestAccess;

    std::atomic<bool> mSupportFullPostProcessMode{false};
};

}  // namespace sd::clip
