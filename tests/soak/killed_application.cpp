#include "killed_application.h"

#include <wrl/client.h>

#include <atomic>
#include <utility>
#include <vector>

using Microsoft::WRL::ComPtr;

namespace {

std::atomic<bool> gIsExpected{false};

// Of the thread that serves OLE.
bool gIsNoting = false;
std::vector<ComPtr<IUnknown>> gHeld;

using GetDataFunction = HRESULT(STDMETHODCALLTYPE*)(IDataObject*, FORMATETC*, STGMEDIUM*);
GetDataFunction gRealGetData = nullptr;

// What the application is given.
HRESULT STDMETHODCALLTYPE getData(IDataObject* object, FORMATETC* format, STGMEDIUM* medium)
{
    const HRESULT result = gRealGetData(object, format, medium);
    if (gIsNoting && SUCCEEDED(result) && medium->tymed == TYMED_ISTREAM)
        gHeld.emplace_back(medium->pstm);
    return result;
}

// In the table of operations, which all data objects of the library share.
void watchGetData(IDataObject* object)
{
    constexpr int kSlot = 3;  // behind those of IUnknown
    void** const slot = *reinterpret_cast<void***>(object) + kSlot;
    DWORD protection = 0;
    if (gRealGetData != nullptr || !VirtualProtect(slot, sizeof *slot, PAGE_READWRITE, &protection))
        return;
    gRealGetData = reinterpret_cast<GetDataFunction>(*slot);
    *slot = reinterpret_cast<void*>(&getData);
    VirtualProtect(slot, sizeof *slot, protection, &protection);
}

void letGo()
{
    for (const auto& object : std::exchange(gHeld, {}))
        CoDisconnectObject(object.Get(), 0);
}

// With null it is called on other threads.
HRESULT WINAPI setClipboard(IDataObject* object)
{
    const HRESULT result = OleSetClipboard(object);
    if (object == nullptr || FAILED(result))
        return result;
    letGo();
    watchGetData(object);
    gIsNoting = gIsExpected.exchange(false);
    if (gIsNoting)
        gHeld.emplace_back(object);
    return result;
}

}  // namespace

KilledApplication::KilledApplication(HMODULE library) : mSetClipboard(library, "OleSetClipboard", &setClipboard) {}

void KilledApplication::expect()
{
    gIsExpected = true;
}
