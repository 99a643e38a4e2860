// What the data object on offer answers for each format and each kind of record, beside the files themselves.
#include <cstring>

#include "clip_data_object_fixture.h"
#include "data_object_fixture.h"
#include "support/child_process.h"
#include "support/import_hook.h"
#include "support/test_roles.h"

using namespace sd::clip;

namespace {

// A record of the host's own making.
class ForeignFileRecord : public ClipboardFileData {
public:
    ClipboardFormat GetFormat() override
    {
        return ClipboardFormat::File;
    }
    void SetFiles(std::vector<ClipfileDescription> files) override
    {
        mFiles = std::move(files);
    }
    std::vector<ClipfileDescription>& GetFiles() override
    {
        return mFiles;
    }
    bool SetFileFuncs(FileRequestFunc /*request*/, FileCancelFunc /*cancel*/) override
    {
        return true;
    }
    FileRequestFunc GetFileRequestFunc() override
    {
        return [](const ClipfileDescription&, const FileDataRequestCallback&) { return std::string(); };
    }

private:
    std::vector<ClipfileDescription> mFiles{GuestList::makeFile("file0", 1)};
};

class CountedRichtext : public ClipboardRichtextDataImpl {
public:
    int asked = 0;

    std::vector<RichtextItem> GetItems() override
    {
        ++asked;
        return ClipboardRichtextDataImpl::GetItems();
    }
};

class ClipDataObjectFormats : public ClipDataObjectTest {};

// Nothing is offered, whatever is asked for.
void expectNothingOffered(const std::shared_ptr<ClipboardData>& record)
{
    const OfferedRecord offer(record);
    for (const CLIPFORMAT format : {kDescriptor, kContents, kAsyncFlag, kForeignFormat}) {
        EXPECT_EQ(offer.getData(format, 0, TYMED_HGLOBAL | TYMED_ISTREAM), DV_E_FORMATETC);
        EXPECT_EQ(offer.query(format), S_FALSE);
    }
    ComPtr<IEnumFORMATETC> formats;
    EXPECT_EQ(offer.enumerate(formats), E_NOTIMPL);
    EXPECT_EQ(formats, nullptr);
}

// Past the engine, which refuses such a list: a wrong name must not be pasted whoever gave the record.
const TestRole longName("long-name", [](const std::vector<std::string>&) {
    const auto record = std::make_shared<ClipboardFileDataImpl>();
    record->SetFiles({GuestList::makeFile("short", 1), GuestList::makeFile(std::string(260, 'x'), 1)});
    OfferedRecord(record).getData(kDescriptor, -1, TYMED_HGLOBAL);
    return 0;
});

constexpr DWORD kFastFail = 0xC0000409;

std::vector<ULONG_PTR> reasonsOfFastFails(const std::wstring& role)
{
    std::wstring path(32768, L'\0');
    path.resize(GetModuleFileNameW(nullptr, path.data(), static_cast<DWORD>(path.size())));
    std::wstring command = L"\"" + path + L"\" --role " + role;
    STARTUPINFOW startup = {};
    startup.cb = sizeof startup;
    PROCESS_INFORMATION process = {};
    EXPECT_TRUE(CreateProcessW(nullptr, command.data(), nullptr, nullptr, FALSE,
                               DEBUG_ONLY_THIS_PROCESS | CREATE_NO_WINDOW, nullptr, nullptr, &startup, &process));
    std::vector<ULONG_PTR> reasons;
    DEBUG_EVENT event = {};
    constexpr DWORD kPatience = 30000;  // milliseconds
    while (event.dwDebugEventCode != EXIT_PROCESS_DEBUG_EVENT && WaitForDebugEvent(&event, kPatience)) {
        const EXCEPTION_RECORD& exception = event.u.Exception.ExceptionRecord;
        const bool isException = event.dwDebugEventCode == EXCEPTION_DEBUG_EVENT;
        if (isException && exception.ExceptionCode == kFastFail)
            reasons.push_back(exception.ExceptionInformation[0]);
        const bool isBreak = isException && exception.ExceptionCode == EXCEPTION_BREAKPOINT;  // the one of its start
        ContinueDebugEvent(event.dwProcessId, event.dwThreadId, isBreak ? DBG_CONTINUE : DBG_EXCEPTION_NOT_HANDLED);
    }
    TerminateProcess(process.hProcess, 1);
    CloseHandle(process.hThread);
    CloseHandle(process.hProcess);
    return reasons;
}

}  // namespace

// ---- Queries and the enumerator ----

TEST_F(ClipDataObjectFormats, QueriesAreAnsweredWhateverTheMedium)
{
    EXPECT_EQ(mOffer.query(kDescriptor, TYMED_ISTREAM), S_OK);
    EXPECT_EQ(mOffer.query(kContents, 0), S_OK);
    EXPECT_EQ(mOffer.query(kAsyncFlag), S_OK);
    EXPECT_EQ(mOffer.query(CF_UNICODETEXT), S_FALSE);  // the platform's object can't be made
}

TEST_F(ClipDataObjectFormats, ThreeFormatsAreListedInTheirOrder)
{
    ComPtr<IEnumFORMATETC> formats;
    ASSERT_EQ(mOffer.enumerate(formats), S_OK);
    FORMATETC listed[4] = {};
    ULONG count = 0;
    EXPECT_EQ(formats->Next(4, listed, &count), S_FALSE);
    ASSERT_EQ(count, 3u);
    EXPECT_EQ(listed[0].cfFormat, kDescriptor);
    EXPECT_EQ(listed[0].tymed, static_cast<DWORD>(TYMED_HGLOBAL));
    EXPECT_EQ(listed[1].cfFormat, kAsyncFlag);
    EXPECT_EQ(listed[1].tymed, static_cast<DWORD>(TYMED_HGLOBAL));
    EXPECT_EQ(listed[2].cfFormat, kContents);
    EXPECT_EQ(listed[2].tymed, static_cast<DWORD>(TYMED_ISTREAM));
    for (int i = 0; i < 3; ++i) {
        SCOPED_TRACE(i);
        EXPECT_EQ(listed[i].ptd, nullptr);
        EXPECT_EQ(listed[i].dwAspect, static_cast<DWORD>(DVASPECT_CONTENT));
        EXPECT_EQ(listed[i].lindex, -1);
    }
}

TEST_F(ClipDataObjectFormats, OtherDirectionsListNothing)
{
    for (const DWORD direction : {DWORD{DATADIR_SET}, DWORD{0}, DWORD{3}}) {
        int anything = 0;
        auto* formats = reinterpret_cast<IEnumFORMATETC*>(&anything);
        EXPECT_EQ(mOffer.data->EnumFormatEtc(direction, &formats), E_NOTIMPL);
        EXPECT_EQ(formats, nullptr);
    }
}

// ---- AsyncFlag ----

TEST_F(ClipDataObjectFormats, TheAsyncFlagIsOneInABlockWhateverTheMedium)
{
    for (const DWORD tymed : {DWORD{TYMED_HGLOBAL}, DWORD{TYMED_ISTREAM}, DWORD{TYMED_NULL}}) {
        SCOPED_TRACE(tymed);
        FORMATETC wanted = {kAsyncFlag, nullptr, DVASPECT_CONTENT, -1, tymed};
        STGMEDIUM medium;
        std::memset(&medium, 0xCC, sizeof medium);
        EXPECT_EQ(mOffer.data->GetData(&wanted, &medium), S_OK);
        EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_HGLOBAL));
        EXPECT_EQ(medium.pUnkForRelease, nullptr);
        EXPECT_EQ(GlobalSize(medium.hGlobal), 4u);
        const auto* const value = static_cast<const std::uint32_t*>(GlobalLock(medium.hGlobal));
        EXPECT_EQ(value != nullptr ? *value : 0, 1u);
        GlobalUnlock(medium.hGlobal);
        ReleaseStgMedium(&medium);
    }
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(ClipDataObjectFormats, WithoutMemoryForTheAsyncFlagTheAnswerSaysSo)
{
    const ImportHook<decltype(&GlobalAlloc)> hook(
        nullptr, "GlobalAlloc", +[](UINT, SIZE_T) -> HGLOBAL { return nullptr; });
    EXPECT_EQ(mOffer.getData(kAsyncFlag, -1, TYMED_HGLOBAL), E_OUTOFMEMORY);
}

// ---- Formats of the platform's object ----

TEST_F(ClipDataObjectFormats, AnyOtherFormatGetsTheAnswersOfThePlatformsObject)
{
    ShellObject shell;
    const WithShell platform({&shell});
    for (const HRESULT answer : {S_OK, S_FALSE, kShellsAnswer}) {
        SCOPED_TRACE(answer);
        shell.answer = answer;
        shell.calls.clear();
        FORMATETC wanted = formatOf(kForeignFormat);
        STGMEDIUM medium;
        EXPECT_EQ(mOffer.data->GetData(&wanted, &medium), answer);
        EXPECT_EQ(shell.format, &wanted);
        EXPECT_EQ(shell.medium, &medium);
        EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_ISTREAM));  // what that object put there
        FORMATETC asked = formatOf(CF_UNICODETEXT);
        EXPECT_EQ(mOffer.data->QueryGetData(&asked), answer);
        EXPECT_EQ(shell.format, &asked);
        EXPECT_EQ(shell.calls, (std::vector<std::string>{"GetData", "QueryGetData"}));
    }
    EXPECT_EQ(gShellCalls, 1u);
    mOffer.data.Reset();
    EXPECT_EQ(shell.references, 0u);
}

TEST_F(ClipDataObjectFormats, ThePlatformsObjectIsNotAskedForTheListsOwnFormats)
{
    ShellObject shell;
    shell.answer = kShellsAnswer;
    const WithShell platform({&shell});
    for (const CLIPFORMAT format : {kDescriptor, kContents, kAsyncFlag}) {
        EXPECT_EQ(mOffer.query(format), S_OK);
        EXPECT_EQ(mOffer.getData(format, 0, TYMED_HGLOBAL | TYMED_ISTREAM), S_OK);
    }
    EXPECT_EQ(gShellCalls, 0u);
}

TEST_F(ClipDataObjectFormats, APlatformWithoutAnObjectRefusesOtherFormats)
{
    const WithShell platform({}, E_NOTIMPL);
    EXPECT_EQ(mOffer.getData(kForeignFormat, -1, TYMED_HGLOBAL), DV_E_FORMATETC);
    EXPECT_EQ(mOffer.query(kForeignFormat), S_FALSE);
    EXPECT_EQ(gShellCalls, 2u);
}

// ---- Records ----

TEST(ClipDataObjectRecords, ARecordOfAnotherKindOrNoneOffersNothing)
{
    ShellObject shell;  // answers anything
    const WithShell platform({&shell});
    expectNothingOffered(nullptr);
    expectNothingOffered(std::make_shared<ClipboardTextDataImpl>());
    expectNothingOffered(std::make_shared<ClipboardImageDataImpl>());
    expectNothingOffered(ClipboardRichtextData::Create());
    EXPECT_EQ(gShellCalls, 0u);
}

// It says that it is a file list, but has not what contents are made of.
TEST(ClipDataObjectRecords, AFileRecordOfTheHostsOwnMakingOffersNothing)
{
    ShellObject shell;
    const WithShell platform({&shell});
    expectNothingOffered(std::make_shared<ForeignFileRecord>());
    EXPECT_EQ(gShellCalls, 0u);
}

TEST(ClipDataObjectRecords, ARichTextIsAskedForItsItemsByTheEnumeratorOnly)
{
    const auto record = std::make_shared<CountedRichtext>();
    const OfferedRecord offer(record);
    ComPtr<IEnumFORMATETC> formats;
    offer.getData(kContents, 0, TYMED_ISTREAM);
    offer.query(kContents);
    EXPECT_EQ(offer.enumerate(formats, DATADIR_SET), E_NOTIMPL);
    EXPECT_EQ(record->asked, 0);
    EXPECT_EQ(offer.enumerate(formats), E_NOTIMPL);
    EXPECT_EQ(record->asked, 1);
}

TEST(ClipDataObjectRecords, ANameOf260UnitsEndsTheProcess)
{
    EXPECT_EQ(ChildProcess::inRole(L"long-name").waitForExit(), kFastFail);
}

// The exit code does not tell the reason, so this program debugs the other.
TEST(ClipDataObjectRecords, ANameOf260UnitsEndsTheProcessAsAnInvalidArgument)
{
    constexpr ULONG_PTR kInvalidArgument = 5;
    const auto reasons = reasonsOfFastFails(L"long-name");
    ASSERT_EQ(reasons.size(), 1u);
    EXPECT_EQ(reasons[0], kInvalidArgument);
}
