#include "clipboard_win/clipboard_impl.h"

#include <chrono>
#include <exception>
#include <thread>
#include <utility>

#include "base/log.h"
#include "clipboard_win/local_copy_reader.h"
#include "clipboard_win/offered_formats.h"
#include "sd/clip/clipboard_data.h"
#include "support/clipboard_events.h"

namespace sd::clip {

namespace {

constexpr auto kFirstSyncDelay = std::chrono::seconds(2);

struct CacheDirectory {
    Mutex mutex;  // a leaf
    std::string path CLIP_GUARDED_BY(mutex);
};

CacheDirectory& storedCacheDirectory()
{
    static auto& directory = *new CacheDirectory;  // never destroyed: threads read it until the process ends
    return directory;
}

// Keeps this module loaded for the rest of the process: its threads are never joined, so unloading would pull the code
// away from under them.
void pinModule()
{
    HMODULE module = nullptr;
    GetModuleHandleExW(GET_MODULE_HANDLE_EX_FLAG_PIN | GET_MODULE_HANDLE_EX_FLAG_FROM_ADDRESS,
                       reinterpret_cast<LPCWSTR>(&pinModule), &module);
}

std::shared_ptr<ClipboardImpl> makeEngine()
{
    pinModule();
    std::shared_ptr<ClipboardImpl> engine(new ClipboardImpl, [](ClipboardImpl*) {});
    ClipboardEngine::Register(*engine);
    return engine;
}

LRESULT CALLBACK clipboardWindowProcedure(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (!HiddenWindow::isClipboardMessage(message))
        return DefWindowProcW(window, message, wParam, lParam);
    if (const auto engine = ClipboardImpl::instance())
        engine->onMessage(window, message, wParam, lParam);
    return 0;
}

}  // namespace

std::shared_ptr<Clipboard> Clipboard::Get()
{
    return ClipboardImpl::instance();
}

std::shared_ptr<ClipboardImpl> ClipboardImpl::instance()
{
    try {
        // Never destroyed either; a failure leaves it unmade, and the next call tries again.
        static auto& engine = *new std::shared_ptr<ClipboardImpl>(makeEngine());
        return engine;
    } catch (const std::exception& failure) {
        CLIP_LOG(kLogFatal, "Clipboard engine can't be made: %s", failure.what());
        return nullptr;
    }
}

ClipboardImpl::ClipboardImpl() : mWindow(&clipboardWindowProcedure) {}

std::string ClipboardImpl::GetCacheDirectory()
{
    CacheDirectory& cache = storedCacheDirectory();
    LockScope lock(cache.mutex);
    return cache.path;
}

std::string ClipboardImpl::cacheDirectory() const
{
    return GetCacheDirectory();
}

HWND ClipboardImpl::InitInstance(HINSTANCE module)
{
    return mWindow.create(module);
}

// False on every way, success included: hosts were told so, and none reads it.
bool ClipboardImpl::Init()
{
    const HWND window = InitInstance(nullptr);
    if (window == nullptr) {
        CLIP_LOG(kLogError, "InitInstance fail");
        return false;
    }
    if (!HiddenWindow::startListening(window))
        return false;
    try {
        std::thread(&ClipboardImpl::syncClipboardDataToClient, this).detach();
    } catch (const std::exception& failure) {
        CLIP_LOG(kLogFatal, "The first sync can't be started: %s", failure.what());
        return false;
    }
    CLIP_LOG(kLogInfo, "Init end.");
    return false;
}

bool ClipboardImpl::UnInit()
{
    mWindow.stopListening();
    return false;
}

void ClipboardImpl::onMessage(HWND window, UINT message, WPARAM wParam, LPARAM lParam)
{
    if (message != WM_CLIPBOARDUPDATE)
        return;
    try {
        mDetectThread.Detach();
        mDetectThread.PostLatest([this, window, wParam, lParam] { onDetectCopy(window, wParam, lParam); });
    } catch (const std::exception& failure) {
        CLIP_LOG(kLogFatal, "A clipboard change is lost: %s", failure.what());
    }
}

// Two seconds after Init, what the clipboard already holds is reported as if it had just been copied.
void ClipboardImpl::syncClipboardDataToClient()
{
    CLIP_LOG(kLogInfo, "Sync clipboard to client begin.");
    std::this_thread::sleep_for(kFirstSyncDelay);
    if (const auto engine = instance()) {
        engine->onMessage(nullptr, WM_CLIPBOARDUPDATE, 0, 0);
        CLIP_LOG(kLogInfo, "Sync clipboard to client end.");
    }
}

bool ClipboardImpl::Open()
{
    return mGuard.Open();
}

bool ClipboardImpl::Close()
{
    return mGuard.Close();
}

void ClipboardImpl::SetFileClipboardSupported(bool supported)
{
    mFileClipboardSupported = supported;
}

std::shared_ptr<Clipboard> ClipboardImpl::SetListener(std::shared_ptr<ClipboardListener> listener)
{
    {
        LockScope lock(mStateMutex);
        mListener.swap(listener);
    }
    // The earlier listener is released here, outside the lock: its destructor is the host's.
    listener.reset();
    return Get();
}

void ClipboardImpl::onDetectCopy(HWND /*window*/, unsigned long long /*wParam*/, long long /*lParam*/)
{
    if (mFileLazyRenderer.ConsumeCopy()) {
        CLIP_LOG(kLogInfo, "File clipboard lazy renderer is ready, skip onDetectCopy");
        return;
    }
    if (mNoted.isDataTransfering()) {
        CLIP_LOG(kLogError, "not support onDetectCopy when file is transferring");
        RaiseCopyDuringTransfer(*this);
        return;
    }
    const std::vector<ClipboardFormat> formats = OfferedFormats::Read().forGuest(
        [this](UINT platformFormat) { return clipFormatFromPlatform(platformFormat); }, mFileClipboardSupported, *this);
    if (const auto current = listener())
        current->OnClipboardFormats(formats);
}

ClipboardFormat ClipboardImpl::clipFormatFromPlatform(UINT platformFormat)
{
    return mFormats.fromPlatform(platformFormat);
}

std::shared_ptr<ClipboardData> ClipboardImpl::GetClipboardData(ClipboardFormat format)
{
    const UINT platformFormat = mFormats.toPlatform(format);
    CLIP_LOG(kLogInfo, "clipformat:%d, cfformat:%d from %p", static_cast<int>(format), static_cast<int>(platformFormat),
             static_cast<void*>(this));
    switch (platformFormat) {
        case CF_TEXT:
        case CF_OEMTEXT:
        case CF_UNICODETEXT:
        case CF_DSPTEXT:
            return readText();
        case CF_BITMAP:
        case CF_DIB:
        case CF_DIBV5:
        case CF_DSPBITMAP:
            return std::make_shared<ClipboardImageDataImpl>();  // says only that an image is there
        case CF_HDROP:
            return readFiles();
        default:
            return nullptr;
    }
}

std::shared_ptr<ClipboardData> ClipboardImpl::readText()
{
    CLIP_LOG(kLogInfo, "try to open clipboard from %p", static_cast<void*>(this));
    return LocalCopyReader(mGuard).readText();
}

std::shared_ptr<ClipboardData> ClipboardImpl::readFiles()
{
    if (!mFileClipboardSupported) {
        CLIP_LOG(kLogInfo, "Qsp file clipboard disabled");
        return nullptr;
    }
    const auto paths = GetFilesFromClipboard();
    if (paths == nullptr || paths->empty())
        return nullptr;
    // In full post-process mode a copied directory stays one entry: the host walks it by its own means.
    auto record = LocalCopyReader::describe(*paths, !mFileLazyRenderer.GetSupportFileClipboardFullPostProcessMode());
    keepClipData(record);
    return record;
}

std::shared_ptr<std::vector<std::string>> ClipboardImpl::GetFilesFromClipboard()
{
    CLIP_LOG(kLogInfo, "try to open clipboard from %p", static_cast<void*>(this));
    return LocalCopyReader(mGuard).readPaths();
}

std::vector<ClipboardFormat> ClipboardImpl::GetAvailableFormats()
{
    return {};
}

bool ClipboardImpl::IsFormatAvailable(ClipboardFormat /*format*/)
{
    return false;
}

bool ClipboardImpl::InitFileLazyRenderer(std::string directory)
{
    {
        CacheDirectory& cache = storedCacheDirectory();
        LockScope lock(cache.mutex);
        cache.path = directory;
    }
    return mFileLazyRenderer.Init(directory);
}

void ClipboardImpl::SetSupportFileClipboardFullPostProcessMode(bool supported)
{
    mFileLazyRenderer.SetSupportFileClipboardFullPostProcessMode(supported);
}

void ClipboardImpl::notifyClipboardEvent(std::string operation, std::string stage, std::string dataType,
                                         std::int64_t number, std::string message, std::string result,
                                         std::string errorCode, std::string errorDetail)
{
    if (const auto current = listener()) {
        current->OnClipboardEvent(std::move(operation), std::move(stage), std::move(dataType), number,
                                  std::move(message), std::move(result), std::move(errorCode), std::move(errorDetail));
    }
}

void ClipboardImpl::resetClipCObjectData(ClipDataObject* object)
{
    CLIP_LOG(kLogInfo, "mClipDataObject=%p, object:%p", static_cast<void*>(mNoted.object()),
             static_cast<void*>(object));
    mNoted.forgetObject(object);
}

std::shared_ptr<ClipboardListener> ClipboardImpl::listener() const
{
    LockScope lock(mStateMutex);
    return mListener;
}

void ClipboardImpl::keepClipData(std::shared_ptr<ClipboardData> data)
{
    // The earlier record goes with `data`, after the lock: its functions are the host's.
    LockScope lock(mStateMutex);
    mClipData.swap(data);
}

}  // namespace sd::clip
