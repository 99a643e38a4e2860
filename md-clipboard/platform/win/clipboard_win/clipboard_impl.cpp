#include "clipboard_win/clipboard_impl.h"

#include <chrono>
#include <exception>
#include <future>
#include <thread>
#include <utility>

#include "base/log.h"
#include "clipboard_win/cache_directory.h"
#include "clipboard_win/local_copy_reader.h"
#include "clipboard_win/offered_formats.h"
#include "clipboard_win/pending_object.h"
#include "clipboard_win/received_list.h"
#include "data_object/clip_data_object.h"
#include "data_object/data_lock.h"
#include "sd/clip/clipboard_data.h"
#include "support/clipboard_events.h"
#include "workthread/future_error_number.h"

namespace sd::clip {

namespace {

constexpr auto kFirstSyncDelay = std::chrono::seconds(2);
constexpr std::uint32_t kTransferFailed = 1;

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
    return CacheDirectory::Instance().path();
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
    auto record = LocalCopyReader::describe(
        *paths, [this] { return !mFileLazyRenderer.GetSupportFileClipboardFullPostProcessMode(); });
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

bool ClipboardImpl::SetClipboardData(ClipboardFormat format, std::shared_ptr<ClipboardData> data)
{
    CLIP_LOG(kLogInfo, "Enter");
    const ReceivedList list(data.get());
    const std::int64_t fileCount = list.count();
    if (!mFileClipboardSupported) {
        CLIP_LOG(kLogInfo, "Qsp file clipboard disabled");
        RaiseListUnsupported(*this, fileCount);
        return false;
    }
    if (format == ClipboardFormat::FileLazy) {
        CLIP_LOG(kLogInfo, "Use file lazy renderer to handle file clipboard data");
        return !WorkThreadCaller::isInsidePaste() && !list.isRefused(PasteRoute::kPlaceholder) &&
               mFileLazyRenderer.PrepareFileLazyRendering(std::dynamic_pointer_cast<ClipboardFileDataEx>(data));
    }
    if (mNoted.isDataTransfering()) {
        CLIP_LOG(kLogError, "not support set clipboard when file is transfering");
        RaiseListDuringTransfer(*this, fileCount);
        return false;
    }
    return !WorkThreadCaller::isInsidePaste() && !list.isRefused(PasteRoute::kStreamed) &&
           setFileList(std::move(data), fileCount);
}

bool ClipboardImpl::setFileList(std::shared_ptr<ClipboardData> data, std::int64_t fileCount)
{
    keepClipData(data);
    setOleDataObject(nullptr);

    auto* const object = new ClipDataObject;  // its reference goes to `pending`, and from there to the work thread
    const auto pending = std::make_shared<PendingObject>(object);
    mNoted.note(object, object->GetRequest());
    CLIP_LOG(kLogInfo, "Create new clipdataobject:%p.", static_cast<void*>(object));
    object->SetClipboardData(std::move(data));
    std::future_status status;
    try {
        status = mWorkThread.run([this, pending] { setCurrentOleDataObject(*pending); });
    } catch (const std::future_error& failure) {
        CLIP_LOG(kLogError, "handle future error code %d, %s", futureErrorNumber(failure), failure.what());
        return false;
    }
    if (status == std::future_status::timeout) {
        WorkThreadCaller::withdraw();
        RaiseListFailed(*this, fileCount);
        return false;
    }
    // What the work thread made of it is not asked: hosts are told "complete" whenever it answered.
    RaiseListComplete(*this, fileCount);
    return true;
}

// What the work thread runs. The object is this call's own: of two calls at once each installs its object, once.
void ClipboardImpl::setCurrentOleDataObject(PendingObject& pending)
{
    if (ClipDataObject* const object = pending.take())
        setOleDataObject(object);
}

bool ClipboardImpl::setOleDataObject(ClipDataObject* object)
{
    if (object != nullptr)
        return mOleClipboard.put(object);
    OleClipboard::empty();
    return true;
}

void ClipboardImpl::resetOleclipboard()
{
    if (const std::shared_ptr<FileRequest> request = mOleClipboard.request())
        resetOleclipboardOf(*request);
}

void ClipboardImpl::resetOleclipboardOf(const FileRequest& request)
{
    mOleClipboard.takeOff(request, "clear OLE Clipboard\n");
}

void ClipboardImpl::NotifyFileTransferFailed(std::uint32_t fail)
{
    CLIP_LOG(kLogInfo, "fail:%d", static_cast<int>(fail));
    const ClipDataObject* const object = mNoted.object();
    const std::shared_ptr<FileRequest> request = mNoted.request();
    if (object == nullptr || request == nullptr) {
        CLIP_LOG(kLogInfo, "ClipDataObject is nullptr, don't need reset oleclipboard");
        return;
    }
    if (!request->IsDataTransfering()) {
        CLIP_LOG(kLogError, "clipboard file request is not transfering");
        return;
    }
    if (fail != kTransferFailed)
        return;
    keepClipData(nullptr);
    request->NotifyFileTransferFailed();
    if (!mNoted.forgetRequest(request))
        return;  // while this waited for a reader somebody else's copy came, or a newer list: it stays
    // Later, if this is called from inside an event or a function that is called under a data lock.
    DataLockScope::runWithoutLock([this, request] { mOleClipboard.takeOff(*request, "Empty OLE Clipboard data\n"); });
}

void ClipboardImpl::NotifyFileLazyRenderingComplete(std::int32_t result)
{
    CLIP_LOG(kLogInfo, "Notify file lazy rendering result %d", static_cast<int>(result));
    mFileLazyRenderer.NotifyFileLazyRenderingComplete(result);
}

bool ClipboardImpl::InitFileLazyRenderer(std::string directory)
{
    CacheDirectory::Instance().set(directory);
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
