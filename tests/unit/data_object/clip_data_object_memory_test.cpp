// The data object on offer where memory runs out: each allocation of a request fails in its turn.
#include <algorithm>
#include <functional>

#include "clip_data_object_fixture.h"
#include "file_stream/file_stream.h"
#include "support/failing_allocation.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/platform_function.h"

using namespace sd::clip;
using Microsoft::WRL::ComPtr;

namespace {

using State = RequestFileState;

const char kNoStream[] = "Create FileStream failed!";

// The blocks of global memory that were made and not freed.
class GlobalBlocks {
public:
    GlobalBlocks()
    {
        sLive.clear();
    }
    GlobalBlocks(const GlobalBlocks&) = delete;
    GlobalBlocks& operator=(const GlobalBlocks&) = delete;

    static std::size_t count()
    {
        return sLive.size();
    }

private:
    static HGLOBAL WINAPI allocate(UINT flags, SIZE_T size)
    {
        const HGLOBAL block = sAllocate(flags, size);
        if (block != nullptr)
            sLive.push_back(block);
        return block;
    }
    static HGLOBAL WINAPI release(HGLOBAL block)
    {
        EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u);
        sLive.erase(std::remove(sLive.begin(), sLive.end(), block), sLive.end());
        return sRelease(block);
    }

    static inline std::vector<HGLOBAL> sLive = [] {
        std::vector<HGLOBAL> blocks;
        blocks.reserve(16);  // the test's own memory does not run out
        return blocks;
    }();
    static inline decltype(&GlobalAlloc) sAllocate = findInKernel32<decltype(&GlobalAlloc)>("GlobalAlloc");
    static inline decltype(&GlobalFree) sRelease = findInKernel32<decltype(&GlobalFree)>("GlobalFree");
    const ImportHook<decltype(&GlobalAlloc)> mAllocate{nullptr, "GlobalAlloc", &allocate};
    const ImportHook<decltype(&GlobalFree)> mRelease{nullptr, "GlobalFree", &release};
};

class ClipDataObjectMemory : public testing::Test {
protected:
    // Names that are too long for a string to hold them without memory.
    ClipDataObjectMemory()
    {
        gLastReadTime = 0;
        gReadState = ReadState::kNeverRead;
        std::vector<ClipfileDescription>& files = mGuest.record->GetFiles();
        for (ClipfileDescription& file : files) {
            file.root = "C:\\a folder of the guest's";
            file.relativePath = "a folder that is copied";
            file.fileName = "a file with a long name " + file.fileName;
        }
        mGuest.files = files;
    }

    struct Medium : STGMEDIUM {
        Medium() : STGMEDIUM{} {}
        ~Medium()
        {
            if (tymed == TYMED_ISTREAM)
                pstm->Release();
            if (tymed == TYMED_HGLOBAL)
                GlobalFree(hGlobal);  // not by the platform, whose call would not be counted
        }
        Medium(const Medium&) = delete;
        Medium& operator=(const Medium&) = delete;
    };

    // @return whether an allocation failed
    static bool failAllocation(int which, const OfferedRecord& offer, FORMATETC format, HRESULT& result)
    {
        Medium medium;
        bool hasFailed = false;
        {
            const FailingAllocation failing(which);
            result = offer.data->GetData(&format, &medium);
            hasFailed = failing.failed();
        }
        EXPECT_EQ(medium.tymed != TYMED_NULL, result == S_OK);
        return hasFailed;
    }

    // They keep their memory, so that one request allocates as often as the next.
    void clearRecordings()
    {
        mGuest.requested.clear();
        mGuest.cancelled.clear();
        mGuest.sink = nullptr;
        RecordingLog::clear();
        Journal::shared().clear();
        mGuest.listener->clear();
    }

    long long liveBlocks()
    {
        clearRecordings();
        return FailingAllocation::liveBlocks;
    }

    // Every allocation of one request in turn, up to the request that gets them all.
    // @return how many failed
    int failEach(FORMATETC format, const std::function<void(const OfferedRecord&)>& prepare,
                 const std::function<void(const OfferedRecord&, HRESULT, bool)>& check)
    {
        const GlobalBlocks blocks;
        bool hasFailed = true;
        int which = 0;
        long long liveBefore = 0;
        while (hasFailed) {
            SCOPED_TRACE(which);
            {
                mGuest.record->SetTransferredSize(0);  // the offers share it
                const OfferedRecord offer(mGuest.record);
                prepare(offer);
                clearRecordings();
                HRESULT result = E_UNEXPECTED;
                hasFailed = failAllocation(++which, offer, format, result);
                check(offer, result, hasFailed);
                EXPECT_EQ(GlobalBlocks::count(), 0u);
            }
            const long long live = liveBlocks();
            if (which > 1) {  // the first attempt gives the recordings their memory
                EXPECT_EQ(live, liveBefore);
            }
            liveBefore = live;
        }
        return which - 1;
    }

    static FORMATETC formatOf(CLIPFORMAT format, LONG index, DWORD tymed)
    {
        return {format, nullptr, DVASPECT_CONTENT, index, tymed};
    }

    // As the application pastes again: what the host was asked for comes first.
    void expectPaste(const OfferedRecord& offer)
    {
        const auto deliverAll = [this] {
            mGuest.deliver(0, "0123456789");
            mGuest.deliver(1, "abc");
            mGuest.deliver(2, "uvxyz");
        };
        const bool isAsked = mGuest.sink != nullptr;
        EXPECT_EQ(offer.request->IsUnderWay(), isAsked);
        if (isAsked)
            deliverAll();
        ComPtr<IStream> stream;
        ASSERT_EQ(offer.getContents(0, &stream), S_OK);
        EXPECT_EQ(mGuest.requested.size(), 1u);
        if (!isAsked)
            deliverAll();
        EXPECT_EQ(readStream(*stream.Get(), 100).bytes, "0123456789");
        EXPECT_EQ(offer.request->GetRequestFileState(), State::kRequestFinished);
    }

    GuestList mGuest{{10, 3, 5}};
};

ULONG referencesOf(IStream& stream)
{
    stream.AddRef();
    return stream.Release();
}

}  // namespace

TEST_F(ClipDataObjectMemory, WithoutMemoryADescriptorIsRefusedAndItsBlockIsFreed)
{
    const int failures = failEach(
        formatOf(kDescriptor, -1, TYMED_HGLOBAL), [](const OfferedRecord&) {},
        [this](const OfferedRecord& offer, HRESULT result, bool hasFailed) {
            EXPECT_EQ(result, hasFailed ? E_OUTOFMEMORY : S_OK);
            EXPECT_EQ(offer.request->GetRequestFileState(), State::kRequestIdle);
            expectPaste(offer);
        });
    EXPECT_GE(failures, 6);  // two texts for each file
}

TEST_F(ClipDataObjectMemory, WithoutMemoryAnAsyncFlagIsRefusedOrGiven)
{
    failEach(
        formatOf(kAsyncFlag, -1, TYMED_HGLOBAL), [](const OfferedRecord&) {},
        [this](const OfferedRecord& offer, HRESULT result, bool hasFailed) {
            EXPECT_EQ(result, hasFailed ? E_OUTOFMEMORY : S_OK);
            expectPaste(offer);
        });
}

TEST_F(ClipDataObjectMemory, WithoutMemoryARequestIsRefusedAndALaterPasteWorks)
{
    int withoutStream = 0;
    const int failures = failEach(
        formatOf(kContents, 0, TYMED_ISTREAM), [](const OfferedRecord&) {},
        [&](const OfferedRecord& offer, HRESULT result, bool hasFailed) {
            const bool isStreamMissing = RecordingLog::count(6, kNoStream) == 1;
            withoutStream += isStreamMissing ? 1 : 0;
            EXPECT_EQ(result, !hasFailed ? S_OK : isStreamMissing ? DV_E_FORMATETC : E_OUTOFMEMORY);
            EXPECT_EQ(offer.request->GetStream() != nullptr, !hasFailed);
            expectPaste(offer);
        });
    EXPECT_EQ(withoutStream, 1);
    EXPECT_GT(failures, 10);
}

TEST_F(ClipDataObjectMemory, WithoutMemoryAFurtherFileIsRefusedAndItsStreamKeepsItsReferences)
{
    ComPtr<IStream> stream;
    ULONG references = 0;
    const int failures = failEach(
        formatOf(kContents, 1, TYMED_ISTREAM),
        [&](const OfferedRecord& offer) {
            ASSERT_EQ(offer.getContents(0, &stream), S_OK);
            mGuest.deliver(0, "0123456789");
            mGuest.deliver(1, "abc");
            mGuest.deliver(2, "uvxyz");
            references = referencesOf(*stream.Get());
        },
        [&](const OfferedRecord& offer, HRESULT result, bool hasFailed) {
            EXPECT_EQ(result, hasFailed ? E_OUTOFMEMORY : S_OK);
            EXPECT_EQ(referencesOf(*stream.Get()), references);
            ASSERT_EQ(offer.getContents(1, &stream), S_OK);
            EXPECT_EQ(readStream(*stream.Get(), 100).bytes, "abc");
            stream.Reset();
        });
    EXPECT_GT(failures, 5);
}
