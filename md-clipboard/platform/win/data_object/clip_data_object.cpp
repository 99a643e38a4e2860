#include "data_object/clip_data_object.h"

#include <shlobj.h>
#include <wrl/client.h>

#include <iterator>
#include <new>
#include <utility>

#include "base/log.h"
#include "data_object/medium_rendering.h"
#include "data_object/standing_lists.h"
#include "file_stream/file_stream.h"
#include "file_utilities/detail_file_description.h"
#include "support/clipboard_engine.h"
#include "support/clipboard_events.h"
#include "support/without_exceptions.h"

namespace sd::clip {

namespace {

// The record if it is the list that this object offers; null for any other.
std::shared_ptr<ClipboardFileDataImpl> asFileRecord(const std::shared_ptr<ClipboardData>& data)
{
    const bool isFile = data != nullptr && data->GetFormat() == ClipboardFormat::File;
    return isFile ? std::dynamic_pointer_cast<ClipboardFileDataImpl>(data) : nullptr;
}

}  // namespace

ClipDataObject::ClipDataObject() : mRequest(std::make_shared<FileRequest>())
{
    CLIP_LOG(kLogInfo, "create %p", static_cast<void*>(this));
}

ClipDataObject::~ClipDataObject()
{
    CLIP_LOG(kLogInfo, "destroy %p", static_cast<void*>(this));
    mRequest->Cut();
    StandingLists::Instance().Remove(*mRequest);  // not before its streams are told
    ClipboardEngine::Current().resetClipCObjectData(this);
}

// With the short prefix, as this one line always had.
void ClipDataObject::SetClipboardData(std::shared_ptr<ClipboardData> data)
{
    const int format = data != nullptr ? static_cast<int>(data->GetFormat()) : 0;
    lumoraLogPrint(0, kLogInfo, "clipboard", "%s %s(%d): SetClipboardData format:%d", CLIP_LOG_FILE, __func__, __LINE__,
                   format);
    mRequest->SetClipboardData(std::move(data));
    StandingLists::Instance().Add(mRequest);
}

HRESULT ClipDataObject::QueryInterface(REFIID id, void** object)
{
    return CDataObject::QueryInterface(id, object);
}

ULONG ClipDataObject::AddRef()
{
    return CDataObject::AddRef();
}

ULONG ClipDataObject::Release()
{
    return CDataObject::Release();
}

HRESULT ClipDataObject::GetData(FORMATETC* format, STGMEDIUM* medium)
{
    if (medium != nullptr)
        *medium = {};
    if (format == nullptr || medium == nullptr)
        return E_INVALIDARG;
    // A veto empties the clipboard, which may hold the last reference but this.
    const Microsoft::WRL::ComPtr<IDataObject> self(this);
    return callWithoutExceptions([&] { return renderData(*format, *medium); });
}

HRESULT ClipDataObject::renderData(FORMATETC& format, STGMEDIUM& medium)
{
    const auto record = asFileRecord(mRequest->GetClipboardData());
    if (record == nullptr)
        return DV_E_FORMATETC;
    if (format.cfFormat == mFormatFileDesc) {
        CLIP_LOG(kLogInfo, "formatFileDesc");
        return (format.tymed & TYMED_HGLOBAL) != 0 ? RenderFileGroupDescriptor(record->GetFiles(), medium)
                                                   : DV_E_FORMATETC;
    }
    if (format.cfFormat == mFormatFileContent)
        return renderContents(format, medium, *record);
    if (format.cfFormat == mFormatAsyncFlag)
        return RenderAsyncFlag(medium);
    return SUCCEEDED(EnsureShellDataObject()) ? shellDataObject()->GetData(&format, &medium) : DV_E_FORMATETC;
}

HRESULT ClipDataObject::renderContents(const FORMATETC& format, STGMEDIUM& medium, ClipboardFileDataImpl& record)
{
    if ((format.tymed & TYMED_ISTREAM) == 0)
        return DV_E_FORMATETC;
    if (!record.GetFileRequestFunc()) {
        CLIP_LOG(kLogError, "request file data func is null");
        return DV_E_FORMATETC;
    }
    const std::vector<ClipfileDescription>& files = record.GetFiles();
    RaiseContentsRequested(ClipboardEngine::Current(), static_cast<std::int64_t>(files.size()));
    const auto index = static_cast<std::uint64_t>(static_cast<std::int64_t>(format.lindex));  // -1 counts as huge
    if (index >= files.size()) {
        CLIP_LOG(kLogError, "file list invalid");
        return DV_E_FORMATETC;
    }
    const ClipfileDescription file = files[index];
    if (index == 0 && mRequest->IsUnderWay()) {
        CLIP_LOG(kLogError, "Detect new copy while copy event processing, ignore.");
        return DV_E_FORMATETC;
    }
    bool rejected = false;
    mRequest->startRequestFileData(file, rejected);
    if (rejected) {
        CLIP_LOG(kLogError, "Request file data failed, reject by policy.");
        return DV_E_FORMATETC;
    }
    FileStream* const stream = streamFor(file, record);
    if (stream == nullptr)
        return DV_E_FORMATETC;
    medium.pstm = stream;  // with a reference of its own
    medium.tymed = TYMED_ISTREAM;
    return S_OK;
}

// One stream serves all files in turn: whoever pastes finishes one before asking for the next. A stream that is busy
// with another file is given out all the same; the failure is in the log only.
// @return with a reference of its own, which the caller owns; null without memory
FileStream* ClipDataObject::streamFor(const ClipfileDescription& file, ClipboardFileDataImpl& record)
{
    const auto description = std::make_shared<DetailFileDescription>(file);
    const FileCancelFunc cancel = record.GetFileCancelFunc();
    CLIP_LOG(kLogInfo, "Create filestream(%s) to copy to destination. fileData->GetFileCancelFunc():%p",
             file.fileName.c_str(), static_cast<const void*>(&cancel));
    if (Microsoft::WRL::ComPtr<FileStream> stream = mRequest->GetStream()) {
        if (!stream->SetFile(description, record.GetFileRequestFunc(), cancel, kFileModeTransfer))
            CLIP_LOG(kLogError, "The last file has not been copied yet.");
        return stream.Detach();
    }
    Microsoft::WRL::ComPtr<FileStream> stream;
    // Not by Attach, which takes one reference too many in MinGW-w64's header.
    *stream.GetAddressOf() = new (std::nothrow) FileStream(description, mRequest, kFileModeTransfer);
    if (!stream) {
        CLIP_LOG(kLogError, "Create FileStream failed!");
        return nullptr;
    }
    mRequest->SetStream(stream.Get());
    return stream.Detach();
}

HRESULT ClipDataObject::QueryGetData(FORMATETC* format)
{
    return format != nullptr ? callWithoutExceptions([&] { return queryData(*format); }) : E_INVALIDARG;
}

HRESULT ClipDataObject::queryData(FORMATETC& format)
{
    if (asFileRecord(mRequest->GetClipboardData()) == nullptr)
        return S_FALSE;
    if (format.cfFormat == mFormatFileDesc || format.cfFormat == mFormatFileContent ||
        format.cfFormat == mFormatAsyncFlag)
        return S_OK;
    return SUCCEEDED(EnsureShellDataObject()) ? shellDataObject()->QueryGetData(&format) : S_FALSE;
}

HRESULT ClipDataObject::EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats)
{
    if (formats == nullptr)
        return E_INVALIDARG;
    *formats = nullptr;
    if (direction != DATADIR_GET)
        return E_NOTIMPL;
    return callWithoutExceptions([&] { return enumerateFormats(formats); });
}

HRESULT ClipDataObject::enumerateFormats(IEnumFORMATETC** formats) const
{
    const auto data = mRequest->GetClipboardData();
    if (asFileRecord(data) == nullptr) {
        // A rich text is asked for its items, which nobody offers yet.
        if (auto* const richtext = dynamic_cast<ClipboardRichtextData*>(data.get()))
            richtext->GetItems();
        return E_NOTIMPL;
    }
    const FORMATETC offered[] = {
        {static_cast<CLIPFORMAT>(mFormatFileDesc), nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL},
        {static_cast<CLIPFORMAT>(mFormatAsyncFlag), nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL},
        {static_cast<CLIPFORMAT>(mFormatFileContent), nullptr, DVASPECT_CONTENT, -1, TYMED_ISTREAM},
    };
    return SHCreateStdEnumFmtEtc(static_cast<UINT>(std::size(offered)), offered, formats);
}

bool ClipDataObject::startRequestFileData(const ClipfileDescription& file, bool& rejected)
{
    return mRequest->startRequestFileData(file, rejected);
}

TransferFile* ClipDataObject::GetTransferFile(const ClipfileDescription& file)
{
    return mRequest->GetTransferFile(file);
}

RequestFileState ClipDataObject::GetRequestFileState()
{
    return mRequest->GetRequestFileState();
}

bool ClipDataObject::IsDataTransfering()
{
    return mRequest->IsDataTransfering();
}

void ClipDataObject::CancelRemoteTransfer()
{
    mRequest->CancelRemoteTransfer();
}

void ClipDataObject::NotifyFileTransferFailed()
{
    mRequest->NotifyFileTransferFailed();
}

}  // namespace sd::clip
