// What every data object of the library stands on: COM identity, the registered formats, and the platform's own data
// object for each format that the library does not render.
#pragma once

#include <objidl.h>
#include <windows.h>

#include <atomic>
#include <cstdint>

#include "base/thread_annotations.h"

namespace sd::clip {

// Made by plain new, with one reference; it deletes itself with the last.
//
// Threads: any for the references and the platform object; DataObjectInit runs before others see the object.
class CDataObject : public IDataObject {
public:
    // Gives a plain object's interface, or clears the output. E_OUTOFMEMORY, or what QueryInterface answers.
    static HRESULT Create(REFIID id, void** object);

    CDataObject() = default;
    CDataObject(const CDataObject&) = delete;
    CDataObject& operator=(const CDataObject&) = delete;

    // IUnknown:
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID id, void** object) override;
    ULONG STDMETHODCALLTYPE AddRef() override;
    ULONG STDMETHODCALLTYPE Release() override;

    // IDataObject:
    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override;
    HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC* format, STGMEDIUM* medium) override;
    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* format) override;
    HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC* format, FORMATETC* canonical) override;
    HRESULT STDMETHODCALLTYPE SetData(FORMATETC* format, STGMEDIUM* medium, BOOL release) override;
    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override;
    HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC* format, DWORD flags, IAdviseSink* sink, DWORD* connection) override;
    HRESULT STDMETHODCALLTYPE DUnadvise(DWORD connection) override;
    HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA** connections) override;

    // Joins the calling thread to OLE, for good, and registers the formats. To be called on the thread that will serve
    // the object, once. Negative if the thread can't be joined.
    std::int32_t DataObjectInit();

    // Makes the platform's data object if there is none yet. A failure is forgotten: the next call tries again.
    HRESULT EnsureShellDataObject();

protected:
    // Behind the slots of IDataObject, so that callers through the interface never see it. Run by Release.
    virtual ~CDataObject();

    // Not for the caller to release; valid while this object lives. Null until EnsureShellDataObject has succeeded.
    IDataObject* shellDataObject() const
    {
        return mShellDataObject;
    }

private:
    friend class TestAccess;

    std::atomic<IDataObject*> mShellDataObject{nullptr};  // one reference is held

protected:
    // Registered numbers, 0 until DataObjectInit.
    std::uint32_t mFormatFileDesc CLIP_UNGUARDED("constant after DataObjectInit") = 0;
    std::uint32_t mFormatFileContent CLIP_UNGUARDED("constant after DataObjectInit") = 0;
    std::uint32_t mFormatAsyncFlag CLIP_UNGUARDED("constant after DataObjectInit") = 0;

private:
    std::atomic<std::uint32_t> mRefCount{1};
};

}  // namespace sd::clip
