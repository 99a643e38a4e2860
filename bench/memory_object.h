// A data object of the least that one can do: the contents of its one file are in memory.
#pragma once

#include <windows.h>

#include <cstddef>

#include "data_object/c_data_object.h"

// Threads: as the library's data objects, which share its base. DataObjectInit comes before its use.
class MemoryObject final : public sd::clip::CDataObject {
public:
    // @param size bytes of the file
    explicit MemoryObject(std::size_t size) : mSize(size) {}

    // A stream of the platform over memory of its own, at its start, whatever the index.
    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override;
    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* format) override;
    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD direction, IEnumFORMATETC** formats) override;

private:
    const std::size_t mSize;
};
