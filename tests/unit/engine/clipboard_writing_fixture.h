// What the tests of writing to the clipboard share: the one engine with a listener, a guest's list, and a thread that
// joined OLE as a pasting application. For one source file of a test program.
#pragma once

#include <gtest/gtest.h>
#include <ole2.h>
#include <wrl/client.h>

#include <memory>
#include <string>
#include <vector>

#include "../data_object/guest_list.h"
#include "engine_access.h"
#include "file_stream/read_heartbeat.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

inline const CLIPFORMAT kContents = static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents"));

// The eight arguments of an event, in their order.
using Fields = std::vector<std::string>;

inline Fields fieldsOf(const RecordedEvent& event)
{
    return {event.operation, event.stage,  event.dataType,  std::to_string(event.number),
            event.message,   event.result, event.errorCode, event.errorDetail};
}

class ClipboardWriting : public testing::Test {
protected:
    explicit ClipboardWriting(const std::vector<std::uint64_t>& sizes = {10, 20}) : mGuest(sizes)
    {
        OleInitialize(nullptr);
        sd::clip::gLastReadTime = 0;
        sd::clip::gReadState = sd::clip::ReadState::kNeverRead;
        RecordingLog::clear();
    }
    ~ClipboardWriting() override
    {
        ClipboardOwner().putNothing();
        OleUninitialize();
    }

    bool set()
    {
        return mEngine->SetClipboardData(sd::clip::ClipboardFormat::File, mGuest.record);
    }

    // Returns when the work thread waits for its next message: until one comes it does not look for a job whose message
    // was dropped.
    static void waitForWorkThread()
    {
        HWND window = nullptr;
        auto made = sd::clip::RemoteFormatFile::Instance().MoveToThread([&window] {
            window = CreateWindowExW(0, L"STATIC", L"", 0, 0, 0, 0, 0, HWND_MESSAGE, nullptr, nullptr, nullptr);
        });
        EXPECT_EQ(made.get(), sd::clip::FuncExecStatus::Executed);
        SendMessageW(window, WM_CLOSE, 0, 0);  // served in that wait, and destroys the window
    }

    // Asks for contents as another program does; the transfer is under way then.
    HRESULT paste(Microsoft::WRL::ComPtr<IStream>* stream = nullptr, LONG index = 0)
    {
        Microsoft::WRL::ComPtr<IDataObject> data;
        return SUCCEEDED(OleGetClipboard(data.GetAddressOf())) ? getContents(*data.Get(), stream, index) : E_FAIL;
    }

    // The same on the object itself. Wine holds the clipboard open while OLE's own object asks ours, and what empties
    // the clipboard meanwhile fails there though not on Windows.
    HRESULT pasteDirectly(Microsoft::WRL::ComPtr<IStream>* stream = nullptr, LONG index = 0)
    {
        const Microsoft::WRL::ComPtr<IDataObject> data(sd::clip::TestAccess::notedObject(*mEngine));
        return getContents(*data.Get(), stream, index);
    }

    // A whole file, in pieces, up to the first read of no bytes.
    static std::string readToEnd(IStream& stream)
    {
        std::string bytes;
        for (;;) {
            char piece[7];
            ULONG count = 0;
            const HRESULT result = stream.Read(piece, sizeof piece, &count);
            EXPECT_TRUE(result == S_OK || result == S_FALSE) << std::hex << result;
            if (FAILED(result) || count == 0)
                return bytes;
            bytes.append(piece, count);
        }
    }

    static bool isListOnClipboard()
    {
        return IsClipboardFormatAvailable(kContents) != FALSE;
    }

    RecordedEvent lastEvent() const
    {
        return mGuest.listener->events().empty() ? RecordedEvent() : mGuest.listener->events().back();
    }

    const std::shared_ptr<sd::clip::ClipboardImpl> mEngine = sd::clip::ClipboardImpl::instance();
    GuestList mGuest;

private:
    static HRESULT getContents(IDataObject& data, Microsoft::WRL::ComPtr<IStream>* stream, LONG index)
    {
        FORMATETC format = {kContents, nullptr, DVASPECT_CONTENT, index, TYMED_ISTREAM};
        STGMEDIUM medium;
        const HRESULT result = data.GetData(&format, &medium);
        if (result == S_OK && stream != nullptr)
            *stream = medium.pstm;
        if (result == S_OK)
            ReleaseStgMedium(&medium);
        return result;
    }
};
