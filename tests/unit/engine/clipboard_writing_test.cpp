// A guest's list on its way to the clipboard.
#include <atomic>
#include <chrono>
#include <functional>
#include <future>
#include <mutex>
#include <set>
#include <utility>
#include <vector>

#include <shlobj.h>

#include "clipboard_writing_fixture.h"
#include "ole_turn.h"
#include "support/global_lock.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

std::atomic<decltype(&OleSetClipboard)> gOleSetClipboard{nullptr};

int gEmptied = 0;

std::mutex gInstalledMutex;
std::vector<ComPtr<IDataObject>> gInstalled;  // guarded by gInstalledMutex; kept, so that no address comes twice

HRESULT WINAPI setInTurn(IDataObject* object)
{
    const OleTurn turn;
    const HRESULT result = gOleSetClipboard.load()(object);
    if (object != nullptr && SUCCEEDED(result)) {
        const std::lock_guard<std::mutex> lock(gInstalledMutex);
        gInstalled.emplace_back(object);
    }
    return result;
}

// The result, while this thread, which owns OLE's window, serves what is sent to it.
template <class Result>
Result getWhileServing(std::future<Result> result)
{
    while (result.wait_for(std::chrono::milliseconds(1)) != std::future_status::ready) {
        MSG message;
        PeekMessageW(&message, nullptr, 0, 0, PM_NOREMOVE);
    }
    return result.get();
}

void expectEachInstalledOnce(std::size_t least, std::size_t most)
{
    std::vector<ComPtr<IDataObject>> installed;
    {
        const std::lock_guard<std::mutex> lock(gInstalledMutex);
        installed.swap(gInstalled);
    }
    std::set<IDataObject*> different;
    for (const auto& object : installed)
        EXPECT_TRUE(different.insert(object.Get()).second);
    EXPECT_GE(installed.size(), least);
    EXPECT_LE(installed.size(), most);
}

using Names = std::vector<std::wstring>;

// What a pasting application is offered.
Names readOfferedNames()
{
    ComPtr<IDataObject> data;
    FORMATETC format = {static_cast<CLIPFORMAT>(RegisterClipboardFormatW(CFSTR_FILEDESCRIPTORW)), nullptr,
                        DVASPECT_CONTENT, -1, TYMED_HGLOBAL};
    STGMEDIUM medium;
    if (FAILED(OleGetClipboard(data.GetAddressOf())) || data->GetData(&format, &medium) != S_OK)
        return {L"no list"};
    Names names;
    {
        const GlobalLockScope lock(medium.hGlobal);
        const auto* const group = static_cast<const FILEGROUPDESCRIPTORW*>(lock.data());
        const FILEDESCRIPTORW* const entries = group->fgd;
        for (UINT i = 0; i < group->cItems; ++i)
            names.emplace_back(entries[i].cFileName);
    }
    ReleaseStgMedium(&medium);
    return names;
}

// The library asks for its kind when its data object is noted already and not on its way to the work thread yet.
class AskedRecord : public ClipboardFileDataImpl {
public:
    ClipboardFormat GetFormat() override
    {
        if (const auto once = std::exchange(whenNoted, nullptr))
            once();
        return ClipboardFileDataImpl::GetFormat();
    }

    std::function<void()> whenNoted;
};

}  // namespace

TEST_F(ClipboardWriting, AListFromTheGuestStandsOnTheClipboard)
{
    EXPECT_TRUE(set());
    EXPECT_TRUE(isListOnClipboard());
    const RecordedEvent event = lastEvent();
    EXPECT_EQ(event.operation, "setClipboard");
    EXPECT_EQ(event.stage, "setComplete");
    EXPECT_EQ(event.number, 2);
    EXPECT_EQ(event.message, "set guest file list to clipboard complete");
    EXPECT_EQ(event.result, "sucess");
    EXPECT_EQ(event.thread, std::this_thread::get_id());
    EXPECT_EQ(RecordingLog::messages(5).at(0), "Enter");
    EXPECT_EQ(RecordingLog::count(5, "Empty OLE Clipboard data\n"), 1);
    EXPECT_EQ(RecordingLog::count(5, "OLE Clipboard Set Done\n"), 1);
    EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
    EXPECT_TRUE(mGuest.requested.empty());
}

TEST_F(ClipboardWriting, ASecondListReplacesTheFirstWhileNothingTransfers)
{
    ASSERT_TRUE(set());
    EXPECT_EQ(readOfferedNames(), (Names{L"file0", L"file1"}));
    ClipDataObject* const first = TestAccess::notedObject(*mEngine);
    ASSERT_NE(first, nullptr);
    const auto second = std::make_shared<ClipboardFileDataImpl>();
    second->SetFiles({GuestList::makeFile("second", 30)});
    RecordingLog::clear();
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, second));
    EXPECT_EQ(RecordingLog::count(5, "destroy " + printAddress(first)), 1);
    EXPECT_EQ(readOfferedNames(), Names{L"second"});
    EXPECT_EQ(TestAccess::clipData(*mEngine), second);
    // The note has moved on too. The new object may lie where the first lay.
    ASSERT_NE(TestAccess::notedObject(*mEngine), nullptr);
    EXPECT_EQ(TestAccess::notedObject(*mEngine)->GetRequest()->GetClipboardData(), second);
}

TEST_F(ClipboardWriting, AnyFormatButTheLazyOneTakesTheSameRoute)
{
    EXPECT_TRUE(mEngine->SetClipboardData(static_cast<ClipboardFormat>(77), mGuest.record));
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(ClipboardWriting, AGuestThatIsNotSupportedIsRefusedWithItsCount)
{
    mEngine->SetFileClipboardSupported(false);
    EXPECT_FALSE(set());
    mEngine->SetFileClipboardSupported(true);
    EXPECT_EQ(lastEvent().message, "received guest file list but guest not support");
    EXPECT_EQ(lastEvent().stage, "condition");
    EXPECT_EQ(lastEvent().number, 2);
    EXPECT_EQ(RecordingLog::messages(5), (std::vector<std::string>{"Enter", "Qsp file clipboard disabled"}));
}

TEST_F(ClipboardWriting, AnEmptyListAndNoRecordCountZero)
{
    const std::shared_ptr<ClipboardData> empty = ClipboardFileData::Create();
    for (const std::shared_ptr<ClipboardData>& data : {empty, std::shared_ptr<ClipboardData>()}) {
        set();  // what either takes off the clipboard
        mGuest.listener->clear();
        EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, data));
        ASSERT_EQ(mGuest.listener->events().size(), 1u);  // its own, and not what was told of the list before
        EXPECT_EQ(fieldsOf(lastEvent()), (Fields{"setClipboard", "setComplete", "file", "0",
                                                 "set guest file list to clipboard complete", "sucess", "", ""}));
        EXPECT_EQ(readOfferedNames(), data != nullptr ? Names() : Names{L"no list"});
        mEngine->SetFileClipboardSupported(false);
        EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, data));
        mEngine->SetFileClipboardSupported(true);
        ASSERT_EQ(mGuest.listener->events().size(), 2u);
        EXPECT_EQ(lastEvent().number, 0);
    }
}

TEST_F(ClipboardWriting, TheLazyRouteTakesFileRecordsOnlyAndSendsNoEvent)
{
    for (const auto& other : {std::shared_ptr<ClipboardData>(),
                              std::shared_ptr<ClipboardData>(std::make_shared<ClipboardTextDataImpl>())}) {
        RecordingLog::clear();
        EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::FileLazy, other));
        EXPECT_EQ(RecordingLog::messages(),
                  (std::vector<std::string>{"Enter", "Use file lazy renderer to handle file clipboard data",
                                            "No file record to render lazily"}));
    }
    EXPECT_TRUE(mGuest.listener->events().empty());
}

TEST_F(ClipboardWriting, TheReportOfALazyRenderingIsForwarded)
{
    mEngine->NotifyFileLazyRenderingComplete(-1);
    EXPECT_EQ(RecordingLog::messages(5), (std::vector<std::string>{"Notify file lazy rendering result -1",
                                                                   "Notify file lazy rendering copy done(-1)",
                                                                   "FileLazyRenderingPromise is NULL!"}));
}

TEST_F(ClipboardWriting, OwnListsAreNoCopiesOfTheUser)
{
    set();
    TestAccess::detectCopy(*mEngine);
    EXPECT_EQ(mGuest.listener->reports(), std::vector<std::vector<ClipboardFormat>>{{}});
}

TEST_F(ClipboardWriting, AVetoEmptiesTheClipboardAndTheNextListAsksAgain)
{
    int asked = 0;
    mGuest.record->SetOLEClipboardPasteFunc([&asked] {
        ++asked;
        return false;
    });
    set();
    EXPECT_NE(pasteDirectly(), S_OK);
    EXPECT_EQ(asked, 1);
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 1);
    EXPECT_FALSE(isListOnClipboard());
    set();
    EXPECT_NE(pasteDirectly(), S_OK);
    EXPECT_EQ(asked, 2);
}

TEST_F(ClipboardWriting, AResetEmptiesTheClipboardAndTouchesNoMember)
{
    set();
    ClipDataObject* const noted = TestAccess::notedObject(*mEngine);
    gEmptied = 0;
    {
        // The object would clear the note at its end.
        const ImportHook<decltype(&OleSetClipboard)> hook(
            nullptr, "OleSetClipboard", +[](IDataObject* object) -> HRESULT {
                gEmptied += object == nullptr ? 1 : 100;
                return S_OK;
            });
        mEngine->resetOleclipboard();
    }
    EXPECT_EQ(gEmptied, 1);
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 1);
    EXPECT_EQ(TestAccess::notedObject(*mEngine), noted);
    EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
    mEngine->resetOleclipboard();
    EXPECT_FALSE(isListOnClipboard());
}

TEST_F(ClipboardWriting, TwoListsAtOnceAreEachInstalledOnceAtTheMost)
{
    set();  // under Wine, OLE's window belongs to the first thread that needs it, and goes with that thread
    const ImportHook<decltype(&OleSetClipboard)> hook(nullptr, "OleSetClipboard", &setInTurn);
    gOleSetClipboard = hook.real();
    RecordingLog::clear();
    auto other = std::async(std::launch::async, [this] {
        OleInitialize(nullptr);
        for (int i = 0; i < 10; ++i)
            set();
        OleUninitialize();
    });
    for (int i = 0; i < 10; ++i)
        set();
    getWhileServing(std::move(other));
    std::size_t made = 0;
    for (const std::string& message : RecordingLog::messages(5))
        made += message.find("Create new clipdataobject:") == 0 ? 1 : 0;
    EXPECT_EQ(made, 20u);
    expectEachInstalledOnce(1, made);
    // A message of theirs that is still on its way discards the next job, and the host is told "complete" all the same.
    for (int i = 0; i < 10 && !isListOnClipboard(); ++i)
        EXPECT_TRUE(set());
    EXPECT_TRUE(isListOnClipboard());
}

TEST_F(ClipboardWriting, OfTwoListsAtOnceEachInstallsItsOwnObject)
{
    set();
    const ImportHook<decltype(&OleSetClipboard)> hook(nullptr, "OleSetClipboard", &setInTurn);
    gOleSetClipboard = hook.real();
    const auto first = std::make_shared<AskedRecord>();
    const auto second = std::make_shared<AskedRecord>();
    std::promise<void> secondIsNoted;
    std::promise<void> firstIsInstalled;
    std::future<bool> other;
    first->whenNoted = [&] {
        other =
            std::async(std::launch::async, [&] { return mEngine->SetClipboardData(ClipboardFormat::File, second); });
        secondIsNoted.get_future().wait();
    };
    second->whenNoted = [&] {
        secondIsNoted.set_value();
        firstIsInstalled.get_future().wait();
    };
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, first));
    firstIsInstalled.set_value();
    EXPECT_TRUE(getWhileServing(std::move(other)));
    expectEachInstalledOnce(2, 2);
}
