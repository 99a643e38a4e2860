// Tells the host where the files are wanted, and takes its report that they are there.
#include <chrono>

#include "base/log.h"
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_clipboard_lazy_renderer/target_file.h"
#include "file_utilities/encoding.h"

namespace sd::clip {

namespace {

constexpr auto kReportPause = std::chrono::milliseconds(15000);

std::shared_ptr<ClipboardFileData> makeTargetRecord(const std::string& targetDir, const std::string& relativePath,
                                                    const std::string& fileName)
{
    ClipfileDescription target;
    target.root = cutAtLastBackslash(targetDir);
    target.relativePath = relativePath;
    target.fileName = fileName;
    CLIP_LOG(kLogInfo, "Full post process mode enabled, report file path without file name");
    target.fileName.clear();
    auto record = ClipboardFileData::Create();
    record->SetFiles({target});
    return record;
}

ClipfileDescription firstTarget(ClipboardFileDataEx& data)
{
    const std::shared_ptr<ClipboardFileData> target = data.GetTargetClipboardData();
    const bool isKnown = target != nullptr && !target->GetFiles().empty();
    return isKnown ? target->GetFiles().front() : ClipfileDescription();
}

}  // namespace

// The sense of the result is the reverse of what the name suggests, and nobody reads it.
// @return whether the host's callback failed
bool FileClipboardLazyRenderer::lazyRenderFileCopy(const std::string& targetDir, const std::string& relativePath,
                                                   const std::string& fileName)
{
    CLIP_LOG(kLogInfo, "Try to start lazy rendering file copy: %s%s%s", targetDir.c_str(), relativePath.c_str(),
             fileName.c_str());
    const auto data = std::dynamic_pointer_cast<ClipboardFileDataExImpl>(mLazyFileData);
    if (data == nullptr)
        return false;
    data->SetTargetClipboardData(makeTargetRecord(targetDir, relativePath, fileName));
    TargetFile(Utf8ToWide(targetDir + fileName)).Remove();
    const int code = data->GetFileLazyRenderingCallback()(data);
    if (code != 0)
        CLIP_LOG(kLogFatal, "Lazy rendering file copy start failed(%d) for %s%s%s", code, targetDir.c_str(),
                 relativePath.c_str(), fileName.c_str());
    else
        CLIP_LOG(kLogFatal, "Lazy rendering file copy(FullPostProcessMode) remove original file for %s%s%s",
                 targetDir.c_str(), relativePath.c_str(), fileName.c_str());
    return code != 0;
}

void FileClipboardLazyRenderer::NotifyFileLazyRenderingComplete(std::int32_t result)
{
    CLIP_LOG(kLogInfo, "Notify file lazy rendering copy done(%d)", static_cast<int>(result));
    std::shared_ptr<std::promise<std::int32_t>> promise;
    {
        LockScope lock(mStateMutex);
        promise = mFileLazyRenderingPromise;
    }
    if (promise == nullptr) {
        CLIP_LOG(kLogInfo, "FileLazyRenderingPromise is NULL!");
        return;
    }
    promise->set_value(result);
}

// What a flow that has to know the end of the host's copy would wait with; no flow does so far.
// @return whether the host reported success; false too if nothing is armed or a newer preparation came meanwhile
bool FileClipboardLazyRenderer::waitLazyFileRenderingComplete()
{
    const Arming current = arming();
    if (current.data == nullptr || !current.done.valid())
        return false;
    const ClipfileDescription target = firstTarget(*current.data);
    while (current.done.wait_for(kReportPause) != std::future_status::ready)
        CLIP_LOG(kLogInfo, "Lazy rendering file copy not complete since laste check for %s%s%s", target.root.c_str(),
                 target.relativePath.c_str(), target.fileName.c_str());
    try {
        const std::int32_t result = current.done.get();
        CLIP_LOG(kLogInfo, "Lazy rendering file copy done(%d) for %s%s%s", static_cast<int>(result),
                 target.root.c_str(), target.relativePath.c_str(), target.fileName.c_str());
        disarm(current);
        return result == 0;
    } catch (const std::future_error&) {
        return false;  // the promise went with its preparation
    }
}

FileClipboardLazyRenderer::Arming FileClipboardLazyRenderer::arming() const
{
    LockScope lock(mMutex);
    LockScope state(mStateMutex);
    return {mLazyFileData, mFileLazyRenderingPromise, mFileLazyRenderingDone};
}

// A newer preparation stays armed. It has another promise; its record may be the same.
void FileClipboardLazyRenderer::disarm(const Arming& ended)
{
    LockScope lock(mMutex);
    LockScope state(mStateMutex);
    if (mFileLazyRenderingPromise != ended.promise.lock())
        return;
    mLazyFileData = nullptr;  // goes with the caller's
    mSparseSuffix.clear();
    mFileLazyRenderingPromise = nullptr;
}

}  // namespace sd::clip
