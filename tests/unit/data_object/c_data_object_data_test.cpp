// What the base data object answers for formats, its own and the platform's.
#include <cstring>
#include <thread>

#include "data_object/c_data_object.h"
#include "data_object_fixture.h"

namespace {

// A medium with something in every byte, so that what was not cleared is seen.
STGMEDIUM dirtyMedium()
{
    STGMEDIUM medium;
    std::memset(&medium, 0xAA, sizeof medium);
    return medium;
}

void expectEmpty(const STGMEDIUM& medium)
{
    EXPECT_EQ(medium.tymed, 0u);
    EXPECT_EQ(medium.hGlobal, nullptr);
    EXPECT_EQ(medium.pUnkForRelease, nullptr);
}

// Both callers are inside the platform's call before either gets its object.
HRESULT WINAPI giveToTwoAtOnce(PCIDLIST_ABSOLUTE folder, UINT count, PCUITEMID_CHILD_ARRAY items, IDataObject* inner,
                               REFIID id, void** object)
{
    const HRESULT result = giveShellObject(folder, count, items, inner, id, object);
    for (int i = 0; i < 5000 && gShellCalls < 2; ++i)
        Sleep(1);
    return result;
}

UINT gFlags = 0;
SIZE_T gSize = 0;

HGLOBAL WINAPI refuseMemory(UINT flags, SIZE_T size)
{
    gFlags = flags;
    gSize = size;
    return nullptr;
}

}  // namespace

// ---- GetData ----

TEST_F(DataObject, TheDummyTextIsNarrowWithItsTerminator)
{
    FORMATETC format = formatOf(CF_UNICODETEXT, TYMED_HGLOBAL | TYMED_ISTREAM);
    STGMEDIUM medium = dirtyMedium();
    ASSERT_EQ(mObject->GetData(&format, &medium), S_OK);
    EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_HGLOBAL));
    EXPECT_EQ(medium.pUnkForRelease, nullptr);
    EXPECT_EQ(GlobalSize(medium.hGlobal), 19u);
    EXPECT_EQ(std::memcmp(GlobalLock(medium.hGlobal), "Clipboard Contents", 19), 0);
    GlobalUnlock(medium.hGlobal);
    ReleaseStgMedium(&medium);
}

TEST_F(DataObject, WithoutMemoryTheDummyTextIsRefused)
{
    const ImportHook<decltype(&GlobalAlloc)> hook(nullptr, "GlobalAlloc", refuseMemory);
    FORMATETC format = formatOf(CF_UNICODETEXT);
    STGMEDIUM medium = dirtyMedium();
    EXPECT_EQ(mObject->GetData(&format, &medium), E_OUTOFMEMORY);
    expectEmpty(medium);
    EXPECT_EQ(gFlags, 0x40u);
    EXPECT_EQ(gSize, 19u);
}

TEST_F(DataObject, TextIsPromisedForAnyMediumButGivenAsMemoryOnly)
{
    FORMATETC format = formatOf(CF_UNICODETEXT, 0);
    EXPECT_EQ(mObject->QueryGetData(&format), S_OK);
    for (const DWORD tymed : {DWORD{0}, DWORD{TYMED_ISTREAM}, ~DWORD{TYMED_HGLOBAL}}) {
        format.tymed = tymed;
        STGMEDIUM medium = dirtyMedium();
        EXPECT_EQ(mObject->GetData(&format, &medium), DV_E_FORMATETC) << tymed;
        expectEmpty(medium);
    }
}

TEST_F(DataObject, TextNeedsNoPlatformObject)
{
    const WithShell platform({}, E_FAIL);
    FORMATETC format = formatOf(CF_UNICODETEXT);
    STGMEDIUM medium = {};
    EXPECT_EQ(mObject->GetData(&format, &medium), S_OK);
    ReleaseStgMedium(&medium);
    EXPECT_EQ(mObject->QueryGetData(&format), S_OK);
    EXPECT_EQ(gShellCalls, 0u);
}

// ---- The platform's object ----

TEST_F(DataObject, AForeignFormatGetsThePlatformObjectsAnswer)
{
    ShellObject& shell = mShell;
    shell.answer = kShellsAnswer;
    const WithShell platform({&shell});
    FORMATETC format = formatOf(kForeignFormat);
    STGMEDIUM medium = dirtyMedium();
    EXPECT_EQ(mObject->GetData(&format, &medium), kShellsAnswer);
    EXPECT_EQ(shell.format, &format);
    EXPECT_EQ(shell.medium, &medium);
    EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_ISTREAM));  // as the platform's object left it
    EXPECT_EQ(medium.hGlobal, nullptr);

    FORMATETC asked = formatOf(kForeignFormat);
    EXPECT_EQ(mObject->QueryGetData(&asked), kShellsAnswer);
    EXPECT_EQ(shell.format, &asked);
    shell.answer = S_OK;
    EXPECT_EQ(mObject->QueryGetData(&asked), S_OK);

    STGMEDIUM set = {};
    shell.answer = kShellsAnswer;
    EXPECT_EQ(mObject->SetData(&format, &set, TRUE), kShellsAnswer);
    EXPECT_EQ(shell.format, &format);
    EXPECT_EQ(shell.medium, &set);
    EXPECT_EQ(shell.release, TRUE);
    EXPECT_EQ(mObject->SetData(&format, &set, FALSE), kShellsAnswer);
    EXPECT_EQ(shell.release, FALSE);
    EXPECT_EQ(gShellCalls, 1u);
}

TEST_F(DataObject, ThePlatformObjectIsReleasedWithTheObject)
{
    ShellObject& shell = mShell;
    const WithShell platform({&shell});
    EXPECT_EQ(mClass->EnsureShellDataObject(), S_OK);
    EXPECT_EQ(shell.references, 1u);
    EXPECT_EQ(mObject.Reset(), 0u);
    EXPECT_EQ(shell.references, 0u);
}

TEST_F(DataObject, EnsuringTwiceMakesOnePlatformObject)
{
    ShellObject& shell = mShell;
    const WithShell platform({&shell}, S_FALSE);
    EXPECT_EQ(mClass->EnsureShellDataObject(), S_FALSE);  // what the platform answered
    EXPECT_EQ(mClass->EnsureShellDataObject(), S_OK);
    EXPECT_EQ(gShellCalls, 1u);
    EXPECT_EQ(TestAccess::shell(*mClass), &shell);
}

TEST_F(DataObject, WithoutAPlatformObjectEachOperationRefusesInItsOwnWay)
{
    const WithShell platform({}, E_NOTIMPL);
    FORMATETC format = formatOf(kForeignFormat);
    STGMEDIUM medium = dirtyMedium();
    EXPECT_EQ(mObject->GetData(&format, &medium), DV_E_FORMATETC);
    expectEmpty(medium);
    EXPECT_EQ(mObject->QueryGetData(&format), S_FALSE);
    EXPECT_EQ(mObject->SetData(&format, &medium, FALSE), E_NOTIMPL);
    EXPECT_EQ(mClass->EnsureShellDataObject(), E_NOTIMPL);
    EXPECT_EQ(gShellCalls, 4u);  // each call tries again
    EXPECT_EQ(TestAccess::shell(*mClass), nullptr);

    ShellObject& shell = mShell;
    shell.answer = S_OK;
    const WithShell later({&shell});
    EXPECT_EQ(mObject->QueryGetData(&format), S_OK);
}

TEST_F(DataObject, APlatformThatSucceedsWithNothingCountsAsAFailure)
{
    const WithShell platform({});
    FORMATETC format = formatOf(kForeignFormat);
    STGMEDIUM medium = {};
    EXPECT_EQ(mObject->GetData(&format, &medium), DV_E_FORMATETC);
    EXPECT_EQ(mObject->QueryGetData(&format), S_FALSE);
    EXPECT_EQ(mObject->SetData(&format, &medium, FALSE), E_UNEXPECTED);
}

TEST_F(DataObject, TwoFirstCallsAtOnceKeepOnePlatformObjectAndReleaseTheOther)
{
    ShellObject& first = mShell;
    ShellObject& second = mOtherShell;
    const WithShell platform({&first, &second}, S_OK, giveToTwoAtOnce);
    std::thread other([this] { EXPECT_EQ(mClass->EnsureShellDataObject(), S_OK); });
    EXPECT_EQ(mClass->EnsureShellDataObject(), S_OK);
    other.join();
    EXPECT_EQ(gShellCalls, 2u);
    EXPECT_EQ(first.references + second.references, 1u);
    const auto* kept = TestAccess::shell(*mClass);
    EXPECT_EQ(kept, first.references == 1 ? &first : &second);
    mObject.Reset();
    EXPECT_EQ(first.references + second.references, 0u);
}

// ---- The other operations ----

TEST_F(DataObject, GetDataHereRefusesWithoutALook)
{
    FORMATETC format = formatOf(CF_UNICODETEXT);
    STGMEDIUM medium = dirtyMedium();
    EXPECT_EQ(mObject->GetDataHere(&format, &medium), DV_E_FORMATETC);
    EXPECT_EQ(medium.tymed, 0xAAAAAAAA);
    EXPECT_EQ(mObject->GetDataHere(nullptr, nullptr), DV_E_FORMATETC);
}

TEST_F(DataObject, TheCanonicalFormatLosesItsDeviceOnly)
{
    DVTARGETDEVICE device = {};
    FORMATETC canonical = {77, &device, 5, 6, 7};
    EXPECT_EQ(mObject->GetCanonicalFormatEtc(nullptr, &canonical), E_NOTIMPL);
    EXPECT_EQ(canonical.ptd, nullptr);
    EXPECT_EQ(canonical.cfFormat, 77);
    EXPECT_EQ(canonical.dwAspect, 5u);
    EXPECT_EQ(canonical.lindex, 6);
    EXPECT_EQ(canonical.tymed, 7u);
}

TEST_F(DataObject, OneTextIsEnumeratedWithZeroKindAndIndex)
{
    ComPtr<IEnumFORMATETC> formats;
    ASSERT_EQ(mObject->EnumFormatEtc(DATADIR_GET, &formats), S_OK);
    FORMATETC found[2] = {};
    ULONG count = 0;
    EXPECT_EQ(formats->Next(2, found, &count), S_FALSE);
    ASSERT_EQ(count, 1u);
    EXPECT_EQ(found[0].cfFormat, CF_UNICODETEXT);
    EXPECT_EQ(found[0].ptd, nullptr);
    EXPECT_EQ(found[0].dwAspect, 0u);
    EXPECT_EQ(found[0].lindex, 0);
    EXPECT_EQ(found[0].tymed, static_cast<DWORD>(TYMED_HGLOBAL));
}

TEST_F(DataObject, OtherDirectionsEnumerateNothing)
{
    int anything = 0;
    for (const DWORD direction : {DWORD{DATADIR_SET}, DWORD{0}, DWORD{3}}) {
        auto* formats = reinterpret_cast<IEnumFORMATETC*>(&anything);
        EXPECT_EQ(mObject->EnumFormatEtc(direction, &formats), E_NOTIMPL);
        EXPECT_EQ(formats, nullptr);
    }
}

TEST_F(DataObject, NobodyIsAdvisedAndNothingTouched)
{
    FORMATETC format = formatOf(CF_UNICODETEXT);
    DWORD connection = 9;
    EXPECT_EQ(mObject->DAdvise(&format, 0, nullptr, &connection), E_NOTIMPL);
    EXPECT_EQ(connection, 9u);
    EXPECT_EQ(mObject->DUnadvise(9), E_NOTIMPL);
    int anything = 0;
    auto* const before = reinterpret_cast<IEnumSTATDATA*>(&anything);
    IEnumSTATDATA* connections = before;
    EXPECT_EQ(mObject->EnumDAdvise(&connections), E_NOTIMPL);
    EXPECT_EQ(connections, before);
}

TEST_F(DataObject, NullPointersAreRefused)
{
    ShellObject& shell = mShell;
    const WithShell platform({&shell});
    FORMATETC format = formatOf(kForeignFormat);
    STGMEDIUM medium = dirtyMedium();
    EXPECT_EQ(mObject->GetData(nullptr, nullptr), E_INVALIDARG);
    EXPECT_EQ(mObject->GetData(&format, nullptr), E_INVALIDARG);
    EXPECT_EQ(mObject->GetData(nullptr, &medium), E_INVALIDARG);
    expectEmpty(medium);
    EXPECT_EQ(mObject->QueryGetData(nullptr), E_INVALIDARG);
    EXPECT_EQ(mObject->GetCanonicalFormatEtc(&format, nullptr), E_INVALIDARG);
    EXPECT_EQ(mObject->SetData(nullptr, &medium, FALSE), E_INVALIDARG);
    EXPECT_EQ(mObject->SetData(&format, nullptr, FALSE), E_INVALIDARG);
    EXPECT_EQ(mObject->EnumFormatEtc(DATADIR_GET, nullptr), E_INVALIDARG);
    EXPECT_EQ(mObject->DAdvise(nullptr, 0, nullptr, nullptr), E_NOTIMPL);
    EXPECT_EQ(mObject->EnumDAdvise(nullptr), E_NOTIMPL);
    EXPECT_TRUE(shell.calls.empty());
}
