#include "data_object/c_data_object.h"

#include <ole2.h>
#include <shlobj.h>
#include <shlwapi.h>

#include <cstring>
#include <new>

#include "base/log.h"
#include "support/owned_block.h"

namespace sd::clip {

namespace {

// The one text that a plain object offers.
constexpr char kDummyText[] = "Clipboard Contents";

// Narrow characters under the number of a wide format: a plain object is never put on a clipboard, and whoever makes
// one expects these bytes.
HRESULT renderDummyText(STGMEDIUM& medium)
{
    OwnedBlock block(GlobalAlloc(GPTR, sizeof kDummyText));
    if (block == nullptr)
        return E_OUTOFMEMORY;
    std::memcpy(block.Get(), kDummyText, sizeof kDummyText);  // a fixed block's handle is its address
    block.GiveTo(medium);
    return S_OK;
}

}  // namespace

HRESULT CDataObject::Create(REFIID id, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    *object = nullptr;
    auto* const made = new (std::nothrow) CDataObject;
    if (made == nullptr)
        return E_OUTOFMEMORY;
    const HRESULT result = made->QueryInterface(id, object);
    made->Release();
    return result;
}

CDataObject::~CDataObject()
{
    if (IDataObject* const shell = mShellDataObject)
        shell->Release();
}

// ---- IUnknown ----

HRESULT CDataObject::QueryInterface(REFIID id, void** object)
{
    if (object == nullptr)
        return E_POINTER;
    static const QITAB kInterfaces[] = {{&IID_IDataObject, 0}, {nullptr, 0}};
    return QISearch(static_cast<IDataObject*>(this), kInterfaces, id, object);
}

ULONG CDataObject::AddRef()
{
    return ++mRefCount;
}

ULONG CDataObject::Release()
{
    const ULONG count = --mRefCount;
    if (count == 0)
        delete this;
    return count;
}

// ---- IDataObject ----

HRESULT CDataObject::GetData(FORMATETC* format, STGMEDIUM* medium)
{
    if (medium == nullptr)
        return E_INVALIDARG;
    *medium = STGMEDIUM();
    if (format == nullptr)
        return E_INVALIDARG;
    if (format->cfFormat != CF_UNICODETEXT)
        return FAILED(EnsureShellDataObject()) ? DV_E_FORMATETC : shellDataObject()->GetData(format, medium);
    if ((format->tymed & TYMED_HGLOBAL) == 0)
        return DV_E_FORMATETC;
    return renderDummyText(*medium);
}

HRESULT CDataObject::GetDataHere(FORMATETC* /*format*/, STGMEDIUM* /*medium*/)
{
    return DV_E_FORMATETC;
}

HRESULT CDataObject::QueryGetData(FORMATETC* format)
{
    if (format == nullptr)
        return E_INVALIDARG;
    if (format->cfFormat == CF_UNICODETEXT)
        return S_OK;
    return FAILED(EnsureShellDataObject()) ? S_FALSE : shellDataObject()->QueryGetData(format);
}

HRESULT CDataObject::GetCanonicalFormatEtc(FORMATETC* /*format*/, FORMATETC* canonical)
{
    if (canonical == nullptr)
        return E_INVALIDARG;
    canonical->ptd = nullptr;
    return E_NOTIMPL;
}

HRESULT CDataObject::SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release)
{
    if (format == nullptr || medium == nullptr)
        return E_INVALIDARG;
    const HRESULT result = EnsureShellDataObject();
    return FAILED(result) ? result : shellDataObject()->SetData(format, medium, release);
}

HRESULT CDataObject::EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats)
{
    if (formats == nullptr)
        return E_INVALIDARG;
    *formats = nullptr;
    if (direction != DATADIR_GET)
        return E_NOTIMPL;
    // Kind and index stay 0 here, though 1 and -1 are usual.
    const FORMATETC text = {CF_UNICODETEXT, nullptr, 0, 0, TYMED_HGLOBAL};
    return SHCreateStdEnumFmtEtc(1, &text, formats);
}

HRESULT CDataObject::DAdvise(FORMATETC* /*format*/, DWORD /*flags*/, IAdviseSink* /*sink*/, DWORD* /*connection*/)
{
    return E_NOTIMPL;
}

HRESULT CDataObject::DUnadvise(DWORD /*connection*/)
{
    return E_NOTIMPL;
}

HRESULT CDataObject::EnumDAdvise(IEnumSTATDATA** /*connections*/)
{
    return E_NOTIMPL;
}

// ---- Own operations ----

std::int32_t CDataObject::DataObjectInit()
{
    const HRESULT joined = OleInitialize(nullptr);
    if (FAILED(joined)) {
        CLIP_LOG(kLogError, "ole initialize failed");
        return -1;
    }
    mFormatFileDesc = RegisterClipboardFormatW(L"FileGroupDescriptorW");
    mFormatFileContent = RegisterClipboardFormatW(L"FileContents");
    mFormatAsyncFlag = RegisterClipboardFormatW(L"AsyncFlag");
    return joined;
}

HRESULT CDataObject::EnsureShellDataObject()
{
    if (shellDataObject() != nullptr)
        return S_OK;
    IDataObject* made = nullptr;
    const HRESULT result =
        SHCreateDataObject(nullptr, 0, nullptr, nullptr, IID_IDataObject, reinterpret_cast<void**>(&made));
    if (FAILED(result))
        return result;
    if (made == nullptr)
        return E_UNEXPECTED;
    // Of two first calls at once each has made one; the later one's goes.
    IDataObject* none = nullptr;
    if (!mShellDataObject.compare_exchange_strong(none, made))
        made->Release();
    return result;
}

}  // namespace sd::clip
