// Makes one placeholder and arms the renderer with it.
#include <random>
#include <utility>

#include "base/log.h"
#include "data_object/standing_lists.h"
#include "file_clipboard_lazy_renderer/cache_cleaning.h"
#include "file_clipboard_lazy_renderer/file_clipboard_lazy_renderer.h"
#include "file_clipboard_lazy_renderer/placeholder_name.h"
#include "file_utilities/encoding.h"
#include "support/owned_handle.h"
#include "support/sent_messages.h"

namespace sd::clip {

namespace {

constexpr int kSuffixDigits = 8;
constexpr DWORD kMessagePause = 10;       // milliseconds
constexpr std::uint32_t kMoveEffect = 2;  // DROPEFFECT_MOVE: a paste takes the placeholder away from the cache

// Holds the lock for a scope. A caller that joined OLE may own the clipboard that the holder of the lock is just
// emptying, which sends to it and waits for its answer: what is sent is served meanwhile.
class CLIP_SCOPED_CAPABILITY ServingLockScope {
public:
    explicit ServingLockScope(RecursiveMutex& mutex) CLIP_ACQUIRE(mutex) : mMutex(mutex)
    {
        while (!mMutex.try_lock()) {
            ServeSentMessages();
            Sleep(kMessagePause);
        }
    }
    ~ServingLockScope() CLIP_RELEASE()
    {
        mMutex.unlock();
    }
    ServingLockScope(const ServingLockScope&) = delete;
    ServingLockScope& operator=(const ServingLockScope&) = delete;

private:
    RecursiveMutex& mMutex;
};

// @param file receives what CreateFileW gave; it is closed afterwards
bool createEmptyFile(const std::wstring& path, HANDLE& file)
{
    OwnedHandle created(
        CreateFileW(path.c_str(), GENERIC_WRITE, 0, nullptr, CREATE_ALWAYS, FILE_ATTRIBUTE_NORMAL, nullptr));
    file = created.Get();
    // Decision: compared with zero and not with INVALID_HANDLE_VALUE. A file that can't be created shows in its close,
    // if at all.
    if (file == nullptr) {
        const DWORD error = GetLastError();
        CLIP_LOG(kLogFatal, "Could not create the sparce file(%d): %s", static_cast<int>(error),
                 WideToUtf8(path).c_str());
        return false;
    }
    if (!created.Close()) {
        const DWORD error = GetLastError();
        CLIP_LOG(kLogFatal, "Failed to close sparce file(%d): %s", static_cast<int>(error), WideToUtf8(path).c_str());
        return false;
    }
    return true;
}

}  // namespace

bool FileClipboardLazyRenderer::PrepareFileLazyRendering(std::shared_ptr<ClipboardFileDataEx> data)
{
    if (data == nullptr) {
        CLIP_LOG(kLogError, "No file record to render lazily");
        return false;
    }
    CLIP_LOG(kLogInfo, "Start watching file by file clipboard lazy renderer.");
    std::shared_ptr<ClipboardFileDataEx> replaced;  // goes after the lock: its functions are the host's
    ServingLockScope lock(mMutex);
    const std::shared_ptr<ClipboardFileData> target = data->GetTargetClipboardData();  // held for the call, no more

    HANDLE file = nullptr;
    if (publishPlaceholder(data, file)) {
        auto promise = std::make_shared<std::promise<std::int32_t>>();
        {
            LockScope state(mStateMutex);
            mFileLazyRenderingDone = promise->get_future();
            mFileLazyRenderingPromise.swap(promise);
        }
        replaced = std::exchange(mLazyFileData, std::move(data));
        CLIP_LOG(kLogInfo, "Start watching file by file clipboard lazy renderer done.");
        return true;
    }
    replaced = std::exchange(mLazyFileData, nullptr);
    mSparseSuffix.clear();
    mPendingOwnCopy = false;
    // Decision: a placeholder that was closed before a failed publication is closed once more, and the clipboard, which
    // is not open here, is asked to empty itself. Both fail without a sound, and both stay.
    if (file != nullptr)
        CloseHandle(file);
    EmptyClipboard();
    return false;
}

// Everything from the cleaning to the clipboard.
// @param file receives the placeholder's handle as CreateFileW gave it; it is closed before the publication
bool FileClipboardLazyRenderer::publishPlaceholder(const std::shared_ptr<ClipboardFileDataEx>& data, HANDLE& file)
{
    const std::string cacheDir = cacheDirectory();
    const std::wstring wideCacheDir = Utf8ToWide(cacheDir);
    if (!deleteAllFilesInDirectory(wideCacheDir))
        CLIP_LOG(kLogError, "Unable to clean %s", cacheDir.c_str());
    mSparseSuffix = generateRandomDigits(kSuffixDigits);
    if (data->GetFiles().empty()) {
        CLIP_LOG(kLogFatal, "No file to copy");
        return false;
    }
    const std::string name = makeSparseName(data->GetFiles().front(), mSparseSuffix);
    const std::wstring wideName = Utf8ToWide(name);
    if (wideName.empty()) {  // its path would be the cache directory, which would be offered as a cut one
        const DWORD error = GetLastError();
        CLIP_LOG(kLogFatal, "Could not create the sparce file(%d): %s", static_cast<int>(error),
                 (cacheDir + name).c_str());
        return false;
    }
    // No separator between them, on purpose: the host's directory ends in one.
    const std::wstring path = wideCacheDir + wideName;
    if (!CreateDirectoryW(wideCacheDir.c_str(), nullptr) && GetLastError() != ERROR_ALREADY_EXISTS) {
        CLIP_LOG(kLogFatal, "Could not create cache directory(%d): %s", static_cast<int>(GetLastError()),
                 cacheDir.c_str());
        return false;
    }
    if (!createEmptyFile(path, file))
        return false;
    const std::vector<std::wstring> paths = {path};
    // Before the write, since the change may be looked at before the write has returned, and with nothing between that
    // can throw: a flag without a write would swallow the user's next copy.
    mPendingOwnCopy = true;
    if (!setFilesToClipboardWithDropEffect(paths, kMoveEffect)) {
        CLIP_LOG(kLogFatal, "Failed to add file info to clipboard through file clipboard lazy renderer");
        return false;
    }
    return true;
}

// Slices that an application may still read stay: it would get a short file without a word.
bool FileClipboardLazyRenderer::deleteAllFilesInDirectory(const std::wstring& directory)
{
    return cleanDirectory(directory, [](const wchar_t* name) { return StandingLists::Instance().OwnSlice(name); });
}

std::string FileClipboardLazyRenderer::generateRandomDigits(int count)
{
    std::random_device device;
    std::mt19937 generator(device());
    std::uniform_int_distribution<int> digit(0, 9);
    std::string digits;
    for (int i = 0; i < count; ++i)
        digits += static_cast<char>('0' + digit(generator));
    return digits;
}

}  // namespace sd::clip
