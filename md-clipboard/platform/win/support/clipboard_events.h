// The events that a host's listener is told: one function for each, and nowhere else their words.
#pragma once

#include <cstdint>

namespace sd::clip {

class ClipboardEngine;

// Threads: any; the listener of the engine is called on the calling thread. Each throws what the listener throws.

// ---- A local copy that the guest is not told ----
void RaiseCopyDuringTransfer(ClipboardEngine& engine);
void RaiseCopyUnsupported(ClipboardEngine& engine);
void RaiseCopyWithPicture(ClipboardEngine& engine);

// ---- A list from the guest ----
// @param fileCount entries of the list
void RaiseListUnsupported(ClipboardEngine& engine, std::int64_t fileCount);
void RaiseListDuringTransfer(ClipboardEngine& engine, std::int64_t fileCount);
void RaiseListFailed(ClipboardEngine& engine, std::int64_t fileCount);
void RaiseListComplete(ClipboardEngine& engine, std::int64_t fileCount);

// ---- A paste ----
// An application asks for the contents of a file; once for each file.
// @param fileCount entries of the list
void RaiseContentsRequested(ClipboardEngine& engine, std::int64_t fileCount);

// The host is about to be asked for the list's files.
void RaiseTransferStarted(ClipboardEngine& engine);

// The application reads no more.
void RaiseUserCancel(ClipboardEngine& engine);

// All bytes of one file are here.
// @param readySize bytes that came, and so the size once more
// @param fileSize bytes of the file
void RaiseFileFinished(ClipboardEngine& engine, std::int64_t readySize, std::int64_t fileSize);

// All bytes of the list are here.
// @param totalSize bytes of all files
void RaiseTransferFinished(ClipboardEngine& engine, std::int64_t totalSize);

// A slice did not come in time.
// @param copiedSize bytes that the application has read so far
// @param fileSize bytes of the file
void RaiseDownloadTimeout(ClipboardEngine& engine, std::int64_t copiedSize, std::int64_t fileSize);

}  // namespace sd::clip
