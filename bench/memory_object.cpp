#include "memory_object.h"

#include <ole2.h>
#include <shlobj.h>

#include <cstring>

HRESULT MemoryObject::GetData(FORMATETC* format, STGMEDIUM* medium)
{
    if (format->cfFormat != mFormatFileContent)
        return DV_E_FORMATETC;
    const HGLOBAL block = GlobalAlloc(GMEM_MOVEABLE, mSize);
    void* const bytes = block != nullptr ? GlobalLock(block) : nullptr;
    if (bytes == nullptr)
        return E_OUTOFMEMORY;
    std::memset(bytes, 0x5A, mSize);  // memory that was never touched would be made while it is read
    GlobalUnlock(block);
    *medium = {};
    medium->tymed = TYMED_ISTREAM;
    return CreateStreamOnHGlobal(block, TRUE, &medium->pstm);
}

HRESULT MemoryObject::QueryGetData(FORMATETC* format)
{
    return format->cfFormat == mFormatFileContent ? S_OK : S_FALSE;
}

HRESULT MemoryObject::EnumFormatEtc(DWORD /*direction*/, IEnumFORMATETC** formats)
{
    const FORMATETC contents = {static_cast<CLIPFORMAT>(mFormatFileContent), nullptr, DVASPECT_CONTENT, -1,
                                TYMED_ISTREAM};
    return SHCreateStdEnumFmtEtc(1, &contents, formats);
}
