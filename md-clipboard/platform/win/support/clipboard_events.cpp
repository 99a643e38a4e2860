#include "support/clipboard_events.h"

#include <string>

#include "support/clipboard_engine.h"

namespace sd::clip {

namespace {

constexpr std::int64_t kNoNumber = -1;

// Hosts compare the words of all events, so their spelling stays.
void raise(ClipboardEngine& engine, const char* operation, const char* stage, std::int64_t number,
           const std::string& message)
{
    engine.notifyClipboardEvent(operation, stage, "file", number, message, "sucess", "", "");
}

void raiseError(ClipboardEngine& engine, const char* operation, const char* stage, std::int64_t number,
                const std::string& message, const char* code, const char* detail)
{
    engine.notifyClipboardEvent(operation, stage, "file", number, message, "error", code, detail);
}

// "words: done/whole"
std::string withSizes(const char* words, std::int64_t done, std::int64_t whole)
{
    return words + std::to_string(done) + "/" + std::to_string(whole);
}

}  // namespace

void RaiseCopyDuringTransfer(ClipboardEngine& engine)
{
    raise(engine, "clipboardFileCopy", "condition", kNoNumber,
          "client copy file when some file is transferring, ignore");
}

void RaiseCopyUnsupported(ClipboardEngine& engine)
{
    raise(engine, "clipboardFileCopy", "condition", kNoNumber, "client copy file but guest not support");
}

void RaiseCopyWithPicture(ClipboardEngine& engine)
{
    raise(engine, "clipboardFileCopy", "condition", kNoNumber, "client copy file when pic copy at same time, ignore");
}

void RaiseListUnsupported(ClipboardEngine& engine, std::int64_t fileCount)
{
    raise(engine, "setClipboard", "condition", fileCount, "received guest file list but guest not support");
}

void RaiseListDuringTransfer(ClipboardEngine& engine, std::int64_t fileCount)
{
    raise(engine, "setClipboard", "condition", fileCount,
          "received guest file list when some file is transferring, ignore");
}

void RaiseListFailed(ClipboardEngine& engine, std::int64_t fileCount)
{
    raiseError(engine, "setClipboard", "setFail", fileCount, "set guest file list to clipboard fail", "1501",
               "set data to ole clipboard fail");
}

void RaiseListComplete(ClipboardEngine& engine, std::int64_t fileCount)
{
    raise(engine, "setClipboard", "setComplete", fileCount, "set guest file list to clipboard complete");
}

void RaiseContentsRequested(ClipboardEngine& engine, std::int64_t fileCount)
{
    raise(engine, "clientPaste", "getFileContent", fileCount, "pformatetcIn->cfFormat == mFormatFileContent");
}

void RaiseTransferStarted(ClipboardEngine& engine)
{
    raise(engine, "triggerClipboardFilePaste", "", kNoNumber, "start request file transfer");
}

void RaiseUserCancel(ClipboardEngine& engine)
{
    raise(engine, "cancelTransfer", "userCancel", kNoNumber, "user cancel file transfer");
}

void RaiseFileFinished(ClipboardEngine& engine, std::int64_t readySize, std::int64_t fileSize)
{
    raise(engine, "transferFinish", "oneFileFinish", fileSize, withSizes("readySize/fileSize:", readySize, fileSize));
}

void RaiseTransferFinished(ClipboardEngine& engine, std::int64_t totalSize)
{
    raise(engine, "endClipboardFile", "", totalSize, "all file transfer complete");
}

void RaiseDownloadTimeout(ClipboardEngine& engine, std::int64_t copiedSize, std::int64_t fileSize)
{
    raiseError(engine, "transferFail", "downloadError", fileSize,
               withSizes("transfer fail when downloadSize/fileSize:", copiedSize, fileSize), "1502",
               "download timeout");
}

}  // namespace sd::clip
