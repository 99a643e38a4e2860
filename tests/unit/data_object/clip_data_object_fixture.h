// What the tests of the data object on offer share: a guest's list, its data object, and an application that asks it
// through interface pointers only. For one source file of a test program.
#pragma once

#include <gtest/gtest.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <memory>
#include <string>

#include "file_stream/read_heartbeat.h"
#include "guest_list.h"
#include "support/recording_log.h"

inline CLIPFORMAT formatNumber(const wchar_t* name)
{
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name));
}

inline const CLIPFORMAT kDescriptor = formatNumber(L"FileGroupDescriptorW");
inline const CLIPFORMAT kContents = formatNumber(L"FileContents");
inline const CLIPFORMAT kAsyncFlag = formatNumber(L"AsyncFlag");

// A data object that offers a record, with the reference of its interface pointer only.
struct OfferedRecord {
    explicit OfferedRecord(std::shared_ptr<sd::clip::ClipboardData> record)
    {
        auto* const object = new sd::clip::ClipDataObject;
        object->SetClipboardData(std::move(record));
        EXPECT_GE(object->DataObjectInit(), 0);
        request = object->GetRequest();
        EXPECT_EQ(object->QueryInterface(IID_IDataObject, reinterpret_cast<void**>(data.GetAddressOf())), S_OK);
        object->Release();
    }

    // The medium is released; its stream may be kept.
    HRESULT getData(CLIPFORMAT format, LONG index, DWORD tymed, Microsoft::WRL::ComPtr<IStream>* stream = nullptr) const
    {
        FORMATETC wanted = {format, nullptr, DVASPECT_CONTENT, index, tymed};
        STGMEDIUM medium;
        const HRESULT result = data->GetData(&wanted, &medium);
        EXPECT_EQ(medium.tymed == TYMED_NULL, result != S_OK);
        if (result == S_OK && stream != nullptr)
            *stream = medium.pstm;
        if (result == S_OK)
            ReleaseStgMedium(&medium);
        return result;
    }

    HRESULT getContents(LONG index, Microsoft::WRL::ComPtr<IStream>* stream = nullptr) const
    {
        return getData(kContents, index, TYMED_ISTREAM, stream);
    }

    HRESULT query(CLIPFORMAT format, DWORD tymed = TYMED_HGLOBAL) const
    {
        FORMATETC wanted = {format, nullptr, DVASPECT_CONTENT, -1, tymed};
        return data->QueryGetData(&wanted);
    }

    HRESULT enumerate(Microsoft::WRL::ComPtr<IEnumFORMATETC>& formats, DWORD direction = DATADIR_GET) const
    {
        return data->EnumFormatEtc(direction, formats.ReleaseAndGetAddressOf());
    }

    std::shared_ptr<sd::clip::FileRequest> request;
    Microsoft::WRL::ComPtr<IDataObject> data;
};

struct StreamRead {
    HRESULT result = E_UNEXPECTED;
    std::string bytes;
};

inline StreamRead readStream(IStream& stream, ULONG length)
{
    StreamRead read;
    read.bytes.resize(length);
    ULONG count = 0xCCCCCCCC;
    read.result = stream.Read(read.bytes.data(), length, &count);
    read.bytes.resize(count <= length ? count : 0);
    return read;
}

class ClipDataObjectTest : public testing::Test {
protected:
    ClipDataObjectTest()
    {
        sd::clip::gLastReadTime = 0;
        sd::clip::gReadState = sd::clip::ReadState::kNeverRead;
        RecordingLog::clear();
    }

    // Bytes that a working stream gives.
    static std::string read(IStream& stream, ULONG length)
    {
        const StreamRead found = readStream(stream, length);
        EXPECT_TRUE(found.result == S_OK || found.result == S_FALSE) << std::hex << found.result;
        return found.bytes;
    }

    GuestList mGuest{{10, 3, 5}};
    OfferedRecord mOffer{mGuest.record};
};
