#include "example_support/wine_stream_fix.h"

#include <windows.h>

#include <ole2.h>
#include <wrl/client.h>

#include "example_support/runs_under_wine.h"

using Microsoft::WRL::ComPtr;

WineStreamFix::WineStreamFix()
{
    if (!runsUnderWine())
        return;
    ComPtr<IStream> stream;
    ComPtr<IStream> packet;
    if (FAILED(CreateStreamOnHGlobal(nullptr, TRUE, stream.GetAddressOf())) ||
        FAILED(CreateStreamOnHGlobal(nullptr, TRUE, packet.GetAddressOf())))
        return;
    // A packet that may be read any number of times, which nobody does. It keeps the stream until the thread leaves
    // OLE.
    CoMarshalInterface(packet.Get(), IID_IStream, stream.Get(), MSHCTX_LOCAL, nullptr, MSHLFLAGS_TABLESTRONG);
}
