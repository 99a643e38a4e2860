#include <windows.h>

#include <objidl.h>
#include <ole2.h>
#include <wrl/client.h>

#include "stress/stress_paster.h"
#include "sweep_host.h"
#include "sweep_route.h"

using Microsoft::WRL::ComPtr;

namespace {

// A host that begins, offers its first list, and ends its part.
std::string start(SweepHost& host)
{
    host.start();
    if (host.clipboard() == nullptr)
        return {};
    const auto list = SweepHost::makeList();
    host.offer(list);
    host.awaitQuiet();
    host.clipboard()->UnInit();
    return {};
}

std::string copyLocally(SweepHost& host)
{
    host.copyFiles();
    host.awaitQuiet();
    const std::size_t count = host.receiveFiles();
    return count > SweepHost::kCopiedFiles ? "the copy has " + std::to_string(count) + " files" : std::string();
}

// What applications ask for besides the files.
void askForEverything()
{
    ComPtr<IDataObject> data;
    if (FAILED(OleGetClipboard(data.GetAddressOf())))
        return;
    for (const wchar_t* const name : {L"AsyncFlag", L"Unknown"}) {
        FORMATETC format = {static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name)), nullptr, DVASPECT_CONTENT, -1,
                            TYMED_HGLOBAL};
        data->QueryGetData(&format);
        STGMEDIUM medium = {};
        if (data->GetData(&format, &medium) == S_OK)
            ReleaseStgMedium(&medium);
    }
    ComPtr<IEnumFORMATETC> formats;
    data->EnumFormatEtc(DATADIR_GET, formats.GetAddressOf());
}

std::string pasteStreamed(SweepHost& host)
{
    host.removeCache();
    const auto list = SweepHost::makeList();
    host.offer(list);
    host.awaitQuiet();
    host.inApplication([] {
        askForEverything();
        StressPaster::pasteAll();
    });
    list->end();
    host.emptyClipboard();
    host.awaitQuiet();
    return {};
}

std::string landLazily(SweepHost& host)
{
    constexpr int kLongestLanding = 1500;  // milliseconds
    const auto list = std::make_shared<LazyList>();
    host.offerLazily(list);
    host.awaitQuiet();
    const std::wstring path = host.landOn(L'C');
    if (!path.empty())
        LazyReads::shared().waitUntilHandled(path, kLongestLanding);
    host.clipboard()->NotifyFileLazyRenderingComplete(0);
    DeleteFileW(path.c_str());
    return {};
}

}  // namespace

const SweepRoute kStartRoute = {"start", &start, true};
const SweepRoute kLocalCopyRoute = {"local copy", &copyLocally};
const SweepRoute kOlePasteRoute = {"OLE paste", &pasteStreamed};
const SweepRoute kLazyLandingRoute = {"lazy landing", &landLazily};
