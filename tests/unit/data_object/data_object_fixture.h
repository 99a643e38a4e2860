// What the tests of the base data object share. For one source file of a test program.
#pragma once

#include <gtest/gtest.h>
#include <shlobj.h>
#include <windows.h>
#include <wrl/client.h>

#include <atomic>
#include <string>
#include <utility>
#include <vector>

#include "data_object/c_data_object.h"
#include "support/import_hook.h"

namespace sd::clip {

class TestAccess {
public:
    static std::vector<const void*> members(const CDataObject& object)
    {
        return {&object.mShellDataObject, &object.mFormatFileDesc, &object.mFormatFileContent, &object.mFormatAsyncFlag,
                &object.mRefCount};
    }
    static std::vector<std::uint32_t> formats(const CDataObject& object)
    {
        return {object.mFormatFileDesc, object.mFormatFileContent, object.mFormatAsyncFlag};
    }
    static std::uint32_t references(const CDataObject& object)
    {
        return object.mRefCount;
    }
    static IDataObject* shell(const CDataObject& object)
    {
        return object.mShellDataObject;
    }
};

}  // namespace sd::clip

using Microsoft::WRL::ComPtr;
using sd::clip::CDataObject;
using sd::clip::TestAccess;

inline constexpr CLIPFORMAT kForeignFormat = 0xC123;
inline constexpr HRESULT kShellsAnswer = static_cast<HRESULT>(0x80041234);

inline FORMATETC formatOf(CLIPFORMAT number, DWORD tymed = TYMED_HGLOBAL)
{
    return {number, nullptr, DVASPECT_CONTENT, -1, tymed};
}

// The platform's data object, which answers what the test wants and keeps what it was given.
class ShellObject : public IDataObject {
public:
    HRESULT answer = S_OK;
    FORMATETC* format = nullptr;
    STGMEDIUM* medium = nullptr;
    BOOL release = FALSE;
    std::vector<std::string> calls;
    std::atomic<ULONG> references{1};  // the test holds it by value, so nothing deletes it

    ShellObject() = default;
    ~ShellObject()
    {
        EXPECT_LE(references, 1u);  // who still holds it would release what is gone
    }
    ShellObject(const ShellObject&) = delete;
    ShellObject& operator=(const ShellObject&) = delete;

    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID, void** object) override
    {
        *object = nullptr;
        return E_NOINTERFACE;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return ++references;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        return --references;
    }
    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* asked, STGMEDIUM* given) override
    {
        format = asked;
        medium = given;
        calls.emplace_back("GetData");
        given->tymed = TYMED_ISTREAM;
        return answer;
    }
    HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC*, STGMEDIUM*) override
    {
        calls.emplace_back("GetDataHere");
        return answer;
    }
    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* asked) override
    {
        format = asked;
        calls.emplace_back("QueryGetData");
        return answer;
    }
    HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override
    {
        calls.emplace_back("GetCanonicalFormatEtc");
        return answer;
    }
    HRESULT STDMETHODCALLTYPE SetData(FORMATETC* asked, STGMEDIUM* given, BOOL released) override
    {
        format = asked;
        medium = given;
        release = released;
        calls.emplace_back("SetData");
        return answer;
    }
    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD, IEnumFORMATETC**) override
    {
        calls.emplace_back("EnumFormatEtc");
        return answer;
    }
    HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override
    {
        calls.emplace_back("DAdvise");
        return answer;
    }
    HRESULT STDMETHODCALLTYPE DUnadvise(DWORD) override
    {
        calls.emplace_back("DUnadvise");
        return answer;
    }
    HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA**) override
    {
        calls.emplace_back("EnumDAdvise");
        return answer;
    }
};

using MakeShellObject = HRESULT WINAPI(PCIDLIST_ABSOLUTE, UINT, PCUITEMID_CHILD_ARRAY, IDataObject*, REFIID, void**);

inline std::vector<ShellObject*> gShellObjects;  // what the platform gives, one for each call
inline std::atomic<std::size_t> gShellCalls{0};
inline HRESULT gShellResult = S_OK;

inline HRESULT WINAPI giveShellObject(PCIDLIST_ABSOLUTE folder, UINT count, PCUITEMID_CHILD_ARRAY items,
                                      IDataObject* inner, REFIID id, void** object)
{
    EXPECT_EQ(folder, nullptr);
    EXPECT_EQ(count, 0u);
    EXPECT_EQ(items, nullptr);
    EXPECT_EQ(inner, nullptr);
    EXPECT_TRUE(IsEqualIID(id, IID_IDataObject));
    const std::size_t call = gShellCalls++;
    *object = nullptr;
    if (FAILED(gShellResult))
        return gShellResult;
    *object = gShellObjects.empty() ? nullptr : static_cast<IDataObject*>(gShellObjects.at(call));
    return gShellResult;
}

// A platform whose data object the test supplies.
class WithShell {
public:
    explicit WithShell(std::vector<ShellObject*> objects, HRESULT result = S_OK,
                       MakeShellObject* replacement = giveShellObject)
        : mHook(nullptr, "SHCreateDataObject", replacement)
    {
        gShellObjects = std::move(objects);
        gShellCalls = 0;
        gShellResult = result;
    }

private:
    ImportHook<MakeShellObject*> mHook;
};

// A plain object, held by the one reference it is born with; its class for what is no interface operation.
class DataObject : public testing::Test {
protected:
    DataObject()
    {
        *mObject.GetAddressOf() = mClass;  // Attach adds a reference with MinGW's headers
    }

    ShellObject mShell;  // before what may hold it
    ShellObject mOtherShell;
    CDataObject* const mClass = new CDataObject;
    ComPtr<IDataObject> mObject;
};
