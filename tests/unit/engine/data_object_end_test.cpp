// What others may still hold, or be in the middle of, when a data object has left the clipboard: the guest's deliveries
// and a pasting application's stream.
#include "live_transfer.h"

#include <algorithm>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <new>

#include "support/child_process.h"
#include "support/test_roles.h"

using namespace sd::clip;
namespace fs = std::filesystem;

namespace {

// One place for every data object, so that a new one stands where a dead one stood. As much memory for other things
// comes from elsewhere while it is taken.
class ObjectPlace {
public:
    static void* take(std::size_t size)
    {
        if (size != sizeof(ClipDataObject) || !sWanted || sTaken.exchange(true))
            return nullptr;
        return sPlace;
    }
    static bool giveBack(void* memory)
    {
        if (memory != sPlace)
            return false;
        sTaken = false;
        return true;
    }

    ObjectPlace()
    {
        sWanted = true;
    }
    ~ObjectPlace()
    {
        sWanted = false;
    }
    ObjectPlace(const ObjectPlace&) = delete;
    ObjectPlace& operator=(const ObjectPlace&) = delete;

private:
    alignas(std::max_align_t) static inline unsigned char sPlace[sizeof(ClipDataObject)];
    static inline std::atomic<bool> sWanted{false};
    static inline std::atomic<bool> sTaken{false};
};

class DataObjectEnd : public LiveTransfer {
protected:
    static constexpr const char* kDropped = "mClipData is nullptr. maybe use canceled.";

    // What stands in the guest's cache directory.
    std::vector<std::string> slices() const
    {
        std::vector<std::string> found;
        for (const auto& entry : fs::directory_iterator(mGuest.folder.path() + L"\\cache"))
            found.push_back(entry.path().filename().u8string() + " " + std::to_string(entry.file_size()));
        std::sort(found.begin(), found.end());
        return found;
    }

    // As a user who copies something else.
    static void copyText()
    {
        ClipboardOwner().putText(L"the user's");
    }
};

// As another program that pastes: it takes a stream, says so, and never gives it back.
int holdStream(const std::vector<std::string>& /*arguments*/)
{
    OleInitialize(nullptr);
    Microsoft::WRL::ComPtr<IDataObject> data;
    if (FAILED(OleGetClipboard(data.GetAddressOf())))
        return 2;
    const auto contents = static_cast<CLIPFORMAT>(RegisterClipboardFormatW(L"FileContents"));
    FORMATETC format = {contents, nullptr, DVASPECT_CONTENT, 0, TYMED_ISTREAM};
    STGMEDIUM medium = {};
    if (data->GetData(&format, &medium) != S_OK)
        return 3;
    std::printf("holding\n");
    std::fflush(stdout);
    Sleep(60000);
    return 0;
}

const TestRole kHoldStream("hold-stream", &holdStream);

}  // namespace

void* operator new(std::size_t size)
{
    void* const place = ObjectPlace::take(size);
    void* const memory = place != nullptr ? place : std::malloc(size == 0 ? 1 : size);
    if (memory == nullptr)
        throw std::bad_alloc();
    return memory;
}

void operator delete(void* memory) noexcept
{
    if (!ObjectPlace::giveBack(memory))
        std::free(memory);
}

void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    ::operator delete(memory);
}

// ---- Deliveries ----

TEST_F(DataObjectEnd, AnObjectAtTheAddressOfADeadOneTakesNoneOfItsDeliveries)
{
    const ObjectPlace place;
    offer();
    const void* const first = TestAccess::notedObject(*mEngine);
    ASSERT_EQ(paste(), S_OK);
    const FileDataRequestCallback earlier = mGuest.sink;
    copyText();
    ASSERT_TRUE(waitForDestruction());
    offer();
    ASSERT_EQ(TestAccess::notedObject(*mEngine), first);
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "01234");
    mDelivery.run([&] {
        std::string bytes = "wrong";
        earlier(mGuest.files[0], reinterpret_cast<unsigned char*>(bytes.data()), bytes.size());
    });
    EXPECT_EQ(RecordingLog::count(6, kDropped), 1);
    deliver(0, "56789");
    EXPECT_EQ(read(10).bytes, "0123456789");
}

TEST_F(DataObjectEnd, ADeliveryThatIsBeingTakenEndsBeforeTheObjectDoes)
{
    std::future<void> copying;
    mListener->duringEvent = [&](const RecordedEvent& event) {
        if (event.operation != "transferFinish")
            return;
        copying = mPaster.start(&copyText);
        EXPECT_TRUE(RecordingLog::waitForLine(5, "destroy ", 20000));
        Sleep(100);  // time for an object that does not wait
    };
    offer();
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "0123456789");
    copying.get();
    EXPECT_TRUE(waitForDestruction());
    const int taken = Journal::shared().find("log 5 Download file0 finish.");
    ASSERT_NE(taken, -1);
    EXPECT_LT(taken, Journal::shared().find("log 5 mClipDataObject="));
}

TEST_F(DataObjectEnd, LaterDeliveriesAreDroppedHoweverManyCome)
{
    offer();
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "01234");
    copyText();
    ASSERT_TRUE(waitForDestruction());
    const auto before = slices();
    for (int i = 0; i < 100; ++i)
        deliver(static_cast<std::size_t>(i % 2), "x");
    EXPECT_EQ(RecordingLog::count(6, kDropped), 100);
    EXPECT_EQ(slices(), before);
    EXPECT_EQ(mGuest.record->GetTransferredSize(), 5u);
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
}

TEST_F(DataObjectEnd, DeliveriesAtThatVeryMomentAreTakenOrDropped)
{
    std::atomic<bool> ends{false};
    offer();
    ASSERT_EQ(paste(), S_OK);
    auto delivering = mDelivery.start([&] {
        for (std::size_t sent = 0; !ends; ++sent)
            mGuest.deliver(sent % 2, "");
    });
    copyText();
    EXPECT_TRUE(waitForDestruction());
    RecordingLog::clear();
    EXPECT_TRUE(RecordingLog::waitForLine(6, kDropped, 20000));
    EXPECT_FALSE(RecordingLog::hasLine(5, "Download: "));
    ends = true;
    delivering.get();
}

// ---- The clipboard ----

TEST_F(DataObjectEnd, AnotherProgramsCopyEndsATransferAndStays)
{
    offer();
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "01234");
    copyText();
    ASSERT_TRUE(waitForDestruction());
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    EXPECT_EQ(RecordingLog::count(5, "clear OLE Clipboard\n"), 0);
    EXPECT_EQ(Journal::shared().find("emptied"), -1);
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
}

// ---- Streams ----

TEST_F(DataObjectEnd, AStreamIsRevertedAndMayBeReleasedLast)
{
    offer();
    ASSERT_EQ(paste(), S_OK);
    deliver(0, "0123456789");
    EXPECT_EQ(read(4).bytes, "0123");
    copyText();
    ASSERT_TRUE(waitForDestruction());
    EXPECT_EQ(read(4).result, STG_E_REVERTED);
    mPaster.run([this] {
        STATSTG statistics;
        EXPECT_EQ(mStream->Stat(&statistics, STATFLAG_NONAME), S_OK);
        EXPECT_EQ(statistics.cbSize.QuadPart, 10u);
        EXPECT_EQ(mStream.Detach()->Release(), 0u);
    });
}

TEST_F(DataObjectEnd, AStreamThatIsReadAtThatVeryMomentIsReadOrReverted)
{
    offer();
    onWorkThread([this] { EXPECT_EQ(getContents(*TestAccess::notedObject(*mEngine), 0), S_OK); });
    deliver(0, "0123456789");
    std::atomic<int> wholeReads{0};
    auto reading = mPaster.start([&] {
        HRESULT result = S_OK;
        while (SUCCEEDED(result)) {  // from the stream itself, without the platform's thread in between
            char bytes[4];
            ULONG count = 0;
            result = mStream->Read(bytes, sizeof bytes, &count);
            wholeReads += result == S_OK ? 1 : 0;
        }
        EXPECT_EQ(result, STG_E_REVERTED);
        mStream.Reset();
    });
    while (wholeReads < 10)
        Sleep(1);
    copyText();
    reading.get();
    EXPECT_TRUE(waitForDestruction());
}

TEST_F(DataObjectEnd, AnApplicationThatDiesWithItsStreamHoldsNobodyUp)
{
    offer();
    {
        ChildProcess application = ChildProcess::inRole(L"hold-stream");
        ASSERT_TRUE(application.waitForOutput("holding"));
        deliver(0, "01234");
        application.terminate(1);
        EXPECT_NE(application.waitForExit(), static_cast<DWORD>(STILL_ACTIVE));
    }
    fallSilent();
    deliver(0, "56789");
    EXPECT_EQ(mGuest.cancelled, std::vector<std::string>{"file0"});
    expectNextListWorks();
}
