// The base data object's identity, table, factory and initialisation.
#include "data_object/c_data_object.h"

#include <ole2.h>

#include <thread>

#include "data_object_fixture.h"
#include "support/failing_allocation.h"
#include "support/journal.h"
#include "support/recording_log.h"
#include "support/slot_number.h"

namespace {

HRESULT WINAPI failToJoin(LPVOID)
{
    return E_OUTOFMEMORY;
}

HRESULT gJoined = S_OK;

HRESULT WINAPI join(LPVOID reserved)
{
    EXPECT_EQ(reserved, nullptr);
    Journal::shared().add("OleInitialize");
    return gJoined;
}

UINT WINAPI registerInOrder(LPCWSTR name)
{
    const std::wstring wide = name;
    Journal::shared().add(std::string(wide.begin(), wide.end()));
    return static_cast<UINT>(0xC000 + Journal::shared().entries().size());
}

// Counts the ends of its objects.
class CountedObject : public CDataObject {
public:
    static inline std::atomic<int> sDestroyed{0};

    virtual HRESULT STDMETHODCALLTYPE ownOperation()
    {
        return S_OK;
    }

protected:
    ~CountedObject() override
    {
        ++sDestroyed;
    }
};

}  // namespace

// ---- Identity and lifetime ----

TEST_F(DataObject, IsBornWithOneReferenceAndNothingElse)
{
    EXPECT_EQ(TestAccess::references(*mClass), 1u);
    EXPECT_EQ(TestAccess::shell(*mClass), nullptr);
    EXPECT_EQ(TestAccess::formats(*mClass), (std::vector<std::uint32_t>{0, 0, 0}));
}

TEST_F(DataObject, MembersStandInTheirOrderBehindTheTable)
{
    const auto members = TestAccess::members(*mClass);
    EXPECT_GT(members[0], static_cast<const void*>(mClass));
    for (std::size_t i = 1; i < members.size(); ++i)
        EXPECT_LT(members[i - 1], members[i]) << "member " << i;
    EXPECT_EQ(sizeof(CDataObject), 2 * sizeof(void*) + 4 * sizeof(std::uint32_t));
}

TEST_F(DataObject, AddRefAndReleaseReturnTheNewCount)
{
    EXPECT_EQ(mObject->AddRef(), 2u);
    EXPECT_EQ(mObject->AddRef(), 3u);
    EXPECT_EQ(mObject->Release(), 2u);
    EXPECT_EQ(mObject->Release(), 1u);
}

TEST(DataObjectLifetime, TheLastReleaseReturnsZeroAndFreesTheObject)
{
    CountedObject::sDestroyed = 0;
    IDataObject* const object = new CountedObject;
    object->AddRef();
    EXPECT_EQ(object->Release(), 1u);
    EXPECT_EQ(CountedObject::sDestroyed, 0);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_EQ(CountedObject::sDestroyed, 1);
}

TEST(DataObjectLifetime, ReferencesOfManyThreadsAreCounted)
{
    CountedObject::sDestroyed = 0;
    IDataObject* const object = new CountedObject;
    std::vector<std::thread> users;
    for (int i = 0; i < 4; ++i) {
        object->AddRef();
        users.emplace_back([object] {
            for (int k = 0; k < 20000; ++k) {
                object->AddRef();
                object->Release();
            }
            object->Release();
        });
    }
    for (std::thread& user : users)
        user.join();
    EXPECT_EQ(CountedObject::sDestroyed, 0);
    EXPECT_EQ(object->Release(), 0u);
    EXPECT_EQ(CountedObject::sDestroyed, 1);
}

TEST_F(DataObject, IsFoundAsUnknownAndAsDataObjectAtOneAddress)
{
    for (const IID& id : {IID_IUnknown, IID_IDataObject}) {
        void* found = nullptr;
        EXPECT_EQ(mObject->QueryInterface(id, &found), S_OK);
        EXPECT_EQ(found, mObject.Get());
        EXPECT_EQ(TestAccess::references(*mClass), 2u);
        static_cast<IUnknown*>(found)->Release();
    }
}

TEST_F(DataObject, HasNoOtherInterface)
{
    for (const IID& id : {IID_IStream, IID_IDropSource, IID_IDataObjectAsyncCapability, IID_IMarshal, IID_NULL}) {
        void* found = mObject.Get();
        EXPECT_EQ(mObject->QueryInterface(id, &found), E_NOINTERFACE);
        EXPECT_EQ(found, nullptr);
    }
    EXPECT_EQ(TestAccess::references(*mClass), 1u);
}

TEST_F(DataObject, AQueryWithNowhereToPutTheAnswerIsRefused)
{
    EXPECT_EQ(mObject->QueryInterface(IID_IDataObject, nullptr), E_POINTER);
    EXPECT_EQ(TestAccess::references(*mClass), 1u);
}

// Through the raw table, as a caller of any compiler reaches it.
TEST_F(DataObject, TheOperationsStandInTheInterfacesOrder)
{
    using Count = ULONG(STDMETHODCALLTYPE*)(void*);
    using Query = HRESULT(STDMETHODCALLTYPE*)(void*, const IID*, void**);
    using Get = HRESULT(STDMETHODCALLTYPE*)(void*, FORMATETC*, STGMEDIUM*);
    using Ask = HRESULT(STDMETHODCALLTYPE*)(void*, FORMATETC*);
    using Canonical = HRESULT(STDMETHODCALLTYPE*)(void*, FORMATETC*, FORMATETC*);
    using Set = HRESULT(STDMETHODCALLTYPE*)(void*, FORMATETC*, STGMEDIUM*, BOOL);
    using Enumerate = HRESULT(STDMETHODCALLTYPE*)(void*, DWORD, IEnumFORMATETC**);
    using Advise = HRESULT(STDMETHODCALLTYPE*)(void*, FORMATETC*, DWORD, IAdviseSink*, DWORD*);
    using Unadvise = HRESULT(STDMETHODCALLTYPE*)(void*, DWORD);
    using EnumerateAdvise = HRESULT(STDMETHODCALLTYPE*)(void*, IEnumSTATDATA**);
    void* const object = mObject.Get();
    void* const* const table = *static_cast<void***>(object);
    ShellObject shell;
    shell.answer = kShellsAnswer;
    const WithShell platform({&shell});

    void* found = nullptr;
    EXPECT_EQ(reinterpret_cast<Query>(table[0])(object, &IID_IUnknown, &found), S_OK);
    EXPECT_EQ(reinterpret_cast<Count>(table[1])(object), 3u);
    EXPECT_EQ(reinterpret_cast<Count>(table[2])(object), 2u);
    EXPECT_EQ(reinterpret_cast<Count>(table[2])(object), 1u);
    FORMATETC format = formatOf(kForeignFormat);
    STGMEDIUM medium = {};
    EXPECT_EQ(reinterpret_cast<Get>(table[3])(object, &format, &medium), kShellsAnswer);
    EXPECT_EQ(reinterpret_cast<Get>(table[4])(object, &format, &medium), DV_E_FORMATETC);
    EXPECT_EQ(reinterpret_cast<Ask>(table[5])(object, &format), kShellsAnswer);
    FORMATETC canonical = {};
    EXPECT_EQ(reinterpret_cast<Canonical>(table[6])(object, &format, &canonical), E_NOTIMPL);
    EXPECT_EQ(reinterpret_cast<Set>(table[7])(object, &format, &medium, TRUE), kShellsAnswer);
    IEnumFORMATETC* formats = nullptr;
    EXPECT_EQ(reinterpret_cast<Enumerate>(table[8])(object, DATADIR_SET, &formats), E_NOTIMPL);
    DWORD connection = 9;
    EXPECT_EQ(reinterpret_cast<Advise>(table[9])(object, &format, 0, nullptr, &connection), E_NOTIMPL);
    EXPECT_EQ(reinterpret_cast<Unadvise>(table[10])(object, 1), E_NOTIMPL);
    EXPECT_EQ(reinterpret_cast<EnumerateAdvise>(table[11])(object, nullptr), E_NOTIMPL);
    EXPECT_EQ(shell.calls, (std::vector<std::string>{"GetData", "QueryGetData", "SetData"}));
}

#if defined(__GNUC__)
TEST(DataObjectTable, TheDestructorStandsBehindTheInterfaceAndNothingElseDoes)
{
    EXPECT_EQ(slotNumber(&CDataObject::EnumDAdvise), 11);
    EXPECT_EQ(slotNumber(&CountedObject::ownOperation), 14);  // this compiler's destructors take 12 and 13
}
#endif

// ---- The factory ----

TEST(DataObjectFactory, GivesTheInterfaceWithItsOnlyReference)
{
    for (const IID& id : {IID_IUnknown, IID_IDataObject}) {
        IUnknown* object = nullptr;
        ASSERT_EQ(CDataObject::Create(id, reinterpret_cast<void**>(&object)), S_OK);
        ASSERT_NE(object, nullptr);
        EXPECT_EQ(object->Release(), 0u);
    }
}

TEST(DataObjectFactory, AnUnknownInterfaceGivesTheQuerysAnswerAndNothing)
{
    int untouched = 0;
    void* object = &untouched;
    EXPECT_EQ(CDataObject::Create(IID_IStream, &object), E_NOINTERFACE);
    EXPECT_EQ(object, nullptr);
}

TEST(DataObjectFactory, WithoutMemoryItSaysSoAndClearsTheOutput)
{
    int untouched = 0;
    void* object = &untouched;
    const FailingAllocation failing(1);
    EXPECT_EQ(CDataObject::Create(IID_IDataObject, &object), E_OUTOFMEMORY);
    EXPECT_TRUE(failing.failed());
    EXPECT_EQ(object, nullptr);
}

TEST(DataObjectFactory, NowhereToPutTheObjectIsRefused)
{
    EXPECT_EQ(CDataObject::Create(IID_IDataObject, nullptr), E_POINTER);
}

// ---- DataObjectInit ----

TEST_F(DataObject, InitJoinsOleAndThenRegistersTheFormatsInTheirOrder)
{
    const ImportHook<decltype(&OleInitialize)> ole(nullptr, "OleInitialize", join);
    const ImportHook<decltype(&RegisterClipboardFormatW)> formats(nullptr, "RegisterClipboardFormatW", registerInOrder);
    gJoined = S_OK;
    EXPECT_EQ(mClass->DataObjectInit(), 0);
    EXPECT_EQ(Journal::shared().entries(),
              (std::vector<std::string>{"OleInitialize", "FileGroupDescriptorW", "FileContents", "AsyncFlag"}));
    EXPECT_EQ(TestAccess::formats(*mClass), (std::vector<std::uint32_t>{0xC002, 0xC003, 0xC004}));
    EXPECT_TRUE(RecordingLog::lines().empty());
}

TEST_F(DataObject, InitGivesTheNumbersThatTheDesktopKnows)
{
    std::thread([this] {
        EXPECT_EQ(mClass->DataObjectInit(), S_OK);
        EXPECT_EQ(mClass->DataObjectInit(), S_FALSE);  // the thread has joined before
        OleUninitialize();
        OleUninitialize();
    }).join();
    EXPECT_EQ(TestAccess::formats(*mClass), (std::vector<std::uint32_t>{RegisterClipboardFormatW(CFSTR_FILEDESCRIPTORW),
                                                                        RegisterClipboardFormatW(CFSTR_FILECONTENTS),
                                                                        RegisterClipboardFormatW(L"AsyncFlag")}));
}

TEST_F(DataObject, InitCountsAThreadThatJoinedBeforeAsSuccess)
{
    const ImportHook<decltype(&OleInitialize)> ole(nullptr, "OleInitialize", join);
    gJoined = S_FALSE;
    EXPECT_EQ(mClass->DataObjectInit(), 1);
    EXPECT_NE(TestAccess::formats(*mClass)[0], 0u);
}

TEST_F(DataObject, InitThatCanNotJoinIsLoggedAndRegistersNothing)
{
    const ImportHook<decltype(&OleInitialize)> ole(nullptr, "OleInitialize", failToJoin);
    const ImportHook<decltype(&RegisterClipboardFormatW)> formats(nullptr, "RegisterClipboardFormatW", registerInOrder);
    EXPECT_EQ(mClass->DataObjectInit(), -1);
    EXPECT_EQ(Journal::shared().entries(), std::vector<std::string>{"log 6 ole initialize failed"});
    EXPECT_EQ(TestAccess::formats(*mClass), (std::vector<std::uint32_t>{0, 0, 0}));
}
