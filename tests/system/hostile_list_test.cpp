// clip-paste and a list that wants to be written somewhere else. The library refuses to offer such a list, so a data
// object of this test does.
#include <gtest/gtest.h>

#include <ole2.h>
#include <shlobj.h>
#include <wrl/client.h>

#include <atomic>
#include <filesystem>
#include <set>
#include <string>
#include <vector>

#include "paste_exit_codes.h"
#include "support/child_process.h"
#include "support/pumping_thread.h"
#include "support/temporary_folder.h"

using Microsoft::WRL::ComPtr;
namespace fs = std::filesystem;

namespace {

constexpr char kContents[] = "contents";
constexpr UINT kContentsSize = sizeof kContents - 1;

CLIPFORMAT formatOf(const wchar_t* name)
{
    return static_cast<CLIPFORMAT>(RegisterClipboardFormatW(name));
}

// A list of files with any names; each has the same contents. Counts the requests for them.
class HostileList : public IDataObject {
public:
    explicit HostileList(std::vector<std::wstring> names) : mNames(std::move(names)) {}
    virtual ~HostileList() = default;

    // IUnknown
    HRESULT STDMETHODCALLTYPE QueryInterface(REFIID iid, void** object) override
    {
        *object = iid == IID_IUnknown || iid == IID_IDataObject ? this : nullptr;
        if (*object == nullptr)
            return E_NOINTERFACE;
        AddRef();
        return S_OK;
    }
    ULONG STDMETHODCALLTYPE AddRef() override
    {
        return ++mReferences;
    }
    ULONG STDMETHODCALLTYPE Release() override
    {
        const ULONG left = --mReferences;
        if (left == 0)
            delete this;
        return left;
    }

    // IDataObject
    HRESULT STDMETHODCALLTYPE GetData(FORMATETC* format, STGMEDIUM* medium) override
    {
        *medium = {};
        if (format->cfFormat == formatOf(CFSTR_FILEDESCRIPTORW)) {
            medium->tymed = TYMED_HGLOBAL;
            medium->hGlobal = makeDescriptor();
            return S_OK;
        }
        if (format->cfFormat != formatOf(CFSTR_FILECONTENTS))
            return DV_E_FORMATETC;
        ++sRequests;
        medium->tymed = TYMED_ISTREAM;
        return makeContents(medium->pstm);
    }
    HRESULT STDMETHODCALLTYPE QueryGetData(FORMATETC* format) override
    {
        const bool isKnown =
            format->cfFormat == formatOf(CFSTR_FILEDESCRIPTORW) || format->cfFormat == formatOf(CFSTR_FILECONTENTS);
        return isKnown ? S_OK : DV_E_FORMATETC;
    }
    HRESULT STDMETHODCALLTYPE EnumFormatEtc(DWORD /*direction*/, IEnumFORMATETC** formats) override
    {
        const FORMATETC table[] = {
            {formatOf(CFSTR_FILEDESCRIPTORW), nullptr, DVASPECT_CONTENT, -1, TYMED_HGLOBAL},
            {formatOf(CFSTR_FILECONTENTS), nullptr, DVASPECT_CONTENT, -1, TYMED_ISTREAM},
        };
        return SHCreateStdEnumFmtEtc(2, table, formats);
    }
    HRESULT STDMETHODCALLTYPE GetDataHere(FORMATETC*, STGMEDIUM*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE GetCanonicalFormatEtc(FORMATETC*, FORMATETC*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE SetData(FORMATETC*, STGMEDIUM*, BOOL) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DAdvise(FORMATETC*, DWORD, IAdviseSink*, DWORD*) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE DUnadvise(DWORD) override
    {
        return E_NOTIMPL;
    }
    HRESULT STDMETHODCALLTYPE EnumDAdvise(IEnumSTATDATA**) override
    {
        return E_NOTIMPL;
    }

    static std::atomic<int> sRequests;

private:
    HGLOBAL makeDescriptor() const
    {
        const std::size_t size = offsetof(FILEGROUPDESCRIPTORW, fgd) + mNames.size() * sizeof(FILEDESCRIPTORW);
        const HGLOBAL block = GlobalAlloc(GHND, size);
        auto* const list = static_cast<FILEGROUPDESCRIPTORW*>(GlobalLock(block));
        list->cItems = static_cast<UINT>(mNames.size());
        for (std::size_t i = 0; i < mNames.size(); ++i) {
            list->fgd[i].dwFlags = FD_FILESIZE;
            list->fgd[i].nFileSizeLow = kContentsSize;
            mNames[i].copy(list->fgd[i].cFileName, MAX_PATH);  // without a terminator if it fills the field
        }
        GlobalUnlock(block);
        return block;
    }

    static HRESULT makeContents(IStream*& stream)
    {
        const HRESULT made = CreateStreamOnHGlobal(nullptr, TRUE, &stream);
        if (FAILED(made))
            return made;
        stream->Write(kContents, kContentsSize, nullptr);
        return stream->Seek({}, STREAM_SEEK_SET, nullptr);
    }

    const std::vector<std::wstring> mNames;
    std::atomic<ULONG> mReferences{1};
};

std::atomic<int> HostileList::sRequests{0};

// It lasts as long as the process: under Wine the OLE clipboard's window belongs to the first thread of a process that
// needs it, and dies with that thread.
PumpingThread& offeringThread()
{
    static auto* const thread = [] {
        auto* const made = new PumpingThread;
        made->run([] { OleInitialize(nullptr); });
        return made;
    }();
    return *thread;
}

class HostileListTest : public testing::Test {
protected:
    HostileListTest()
    {
        HostileList::sRequests = 0;
    }
    ~HostileListTest() override
    {
        offeringThread().run([] { OleSetClipboard(nullptr); });
    }

    // The exit code of clip-paste, which pastes into the folder "inner\\target".
    DWORD pasteList(const std::vector<std::wstring>& names)
    {
        offeringThread().run([&names] {
            ComPtr<IDataObject> data;
            data.Attach(new HostileList(names));
            EXPECT_EQ(OleSetClipboard(data.Get()), S_OK);
        });
        ChildProcess child(L"clip-paste.exe", {mFolder.path() + L"\\inner\\target"});
        const DWORD code = child.waitForExit();
        mOutput = child.output();
        return code;
    }

    // All that lies below this test's folder.
    std::set<std::wstring> written() const
    {
        std::set<std::wstring> names;
        for (const fs::directory_entry& entry : fs::recursive_directory_iterator(mFolder.path()))
            names.insert(entry.path().wstring().substr(mFolder.path().size() + 1));
        return names;
    }

    TemporaryFolder mFolder;
    std::string mOutput;
};

}  // namespace

TEST_F(HostileListTest, AnHonestListIsWritten)
{
    EXPECT_EQ(pasteList({L"a.txt", L"folder\\b.txt", L"folder/deeper/c.txt"}), kPasteWritten) << mOutput;
    EXPECT_EQ(written(),
              (std::set<std::wstring>{L"inner", L"inner\\target", L"inner\\target\\a.txt", L"inner\\target\\folder",
                                      L"inner\\target\\folder\\b.txt", L"inner\\target\\folder\\deeper",
                                      L"inner\\target\\folder\\deeper\\c.txt"}));
    EXPECT_EQ(HostileList::sRequests, 3);
}

TEST_F(HostileListTest, OneNameThatLeadsOutRefusesAllOfTheList)
{
    const std::wstring names[] = {
        L"..\\out.txt",
        L"../out.txt",
        L"folder\\..\\..\\out.txt",
        L"folder/../../out.txt",
        L"\\out.txt",
        L"/out.txt",
        L"C:\\out.txt",
        L"C:out.txt",
        L"\\\\server\\share\\a",
        L"..",
        L"\\\\?\\C:\\out.txt",
        L"",
    };
    for (const std::wstring& name : names) {
        SCOPED_TRACE(testing::PrintToString(name));
        EXPECT_EQ(pasteList({L"a.txt", name, L"z.txt"}), kPasteFailed);
        EXPECT_NE(mOutput.find("refused, nothing is written"), std::string::npos) << mOutput;
        EXPECT_NE(mOutput.find("would be written outside the destination"), std::string::npos) << mOutput;
        EXPECT_EQ(written(), std::set<std::wstring>());
    }
    EXPECT_FALSE(fs::exists(L"C:\\out.txt"));
    EXPECT_EQ(HostileList::sRequests, 0);
}

TEST_F(HostileListTest, ANameThatFillsItsFieldIsReadToItsEndAndNoFurther)
{
    // 260 units: a folder of 200 and a name of 59
    const std::wstring name = std::wstring(200, L'd') + L"\\" + std::wstring(59, L'f');
    EXPECT_EQ(pasteList({name, L"z.txt"}), kPasteWritten) << mOutput;
    EXPECT_TRUE(fs::exists(L"\\\\?\\" + mFolder.path() + L"\\inner\\target\\" + name));
    EXPECT_TRUE(fs::exists(mFolder.path() + L"\\inner\\target\\z.txt"));
}
