// What a watcher makes of the records of its reads, which the test writes.
#include <gtest/gtest.h>
#include <windows.h>

#include <cstring>
#include <stdexcept>

#include "landing_target.h"
#include "renderer_access.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

using Bytes = std::string;
using Roots = std::vector<std::string>;

const std::wstring kLanding = L"\\a.txt.12345678";
constexpr DWORD kHeaderSize = 12;

struct Record {
    std::wstring name;
    DWORD action = FILE_ACTION_ADDED;
    DWORD nameLength = 0;  // bytes; 0 is the true one
    DWORD nextOffset = 0;  // bytes; 0 is the true one
};

// As the platform lays them out: each on a border of four bytes, the last without a way to a next one.
Bytes makeBuffer(const std::vector<Record>& records)
{
    Bytes bytes;
    for (std::size_t i = 0; i < records.size(); ++i) {
        const Record& record = records[i];
        const auto trueLength = static_cast<DWORD>(record.name.size() * sizeof(wchar_t));
        const DWORD trueNext = i + 1 == records.size() ? 0 : (kHeaderSize + trueLength + 3) / 4 * 4;
        const DWORD header[] = {record.nextOffset != 0 ? record.nextOffset : trueNext, record.action,
                                record.nameLength != 0 ? record.nameLength : trueLength};
        Bytes piece(reinterpret_cast<const char*>(header), sizeof header);
        piece.append(reinterpret_cast<const char*>(record.name.data()), trueLength);
        piece.resize(trueNext != 0 ? trueNext : piece.size());
        bytes += piece;
    }
    return bytes;
}

std::vector<Bytes> gBuffers;
std::size_t gReads = 0;

BOOL WINAPI giveBuffer(HANDLE /*directory*/, LPVOID buffer, DWORD size, BOOL /*subtree*/, DWORD /*filter*/,
                       LPDWORD /*bytes*/, LPOVERLAPPED read, LPOVERLAPPED_COMPLETION_ROUTINE /*routine*/)
{
    if (gReads == gBuffers.size())
        return FALSE;
    EXPECT_LE(gBuffers[gReads].size(), size);
    std::memcpy(buffer, gBuffers[gReads].data(), gBuffers[gReads].size());
    ++gReads;
    SetEvent(read->hEvent);
    return TRUE;
}

class WatchedRecords : public testing::Test {
protected:
    WatchedRecords()
    {
        arm([this](const std::shared_ptr<ClipboardFileDataEx>& data) {
            mRoots.push_back(data->GetTargetClipboardData()->GetFiles().at(0).root);
            return 0;
        });
    }

    void arm(FileLazyRenderingCallback callback)
    {
        TestAccess::arm(mRenderer, makeGuestRecord({"a.txt"}, std::move(callback)), "12345678");
    }

    // A watcher that gets these buffers, one for each read, and ends.
    Roots watch(std::vector<Bytes> buffers)
    {
        mRoots.clear();
        RecordingLog::clear();
        Journal::shared().clear();
        gBuffers = std::move(buffers);
        gReads = 0;
        const ImportHook<decltype(&ReadDirectoryChangesW)> read(nullptr, "ReadDirectoryChangesW", &giveBuffer);
        TestAccess::watch(mRenderer, L"C:\\");
        EXPECT_EQ(gReads, gBuffers.size());
        return mRoots;
    }
    Roots watch(const std::vector<Record>& records)
    {
        return watch(std::vector<Bytes>{makeBuffer(records)});
    }

    static Record added(const std::wstring& folder)
    {
        return {folder + kLanding};
    }

    // As long as can be, or longer, and a landing all the same.
    static Record addedWithLength(std::size_t units)
    {
        return {L"long\\" + std::wstring(units - 5 - kLanding.size(), L'x') + kLanding};
    }

    FileClipboardLazyRenderer mRenderer;
    InventedTarget mTarget;
    Roots mRoots;  // of the targets that the host was told
};

}  // namespace

TEST_F(WatchedRecords, ABufferWithOneAddedFileIsHandled)
{
    EXPECT_EQ(watch({added(L"1")}), Roots{"C:\\1"});
    EXPECT_EQ(RecordingLog::count(5, "Sparce file a.txt.12345678, temp file matched: C:\\:\\1\\a.txt.12345678"), 1);
}

TEST_F(WatchedRecords, OfTwoRecordsInOneBufferOnlyTheFirstIsHandled)
{
    EXPECT_EQ(watch({added(L"1"), added(L"2")}), Roots{"C:\\1"});
}

TEST_F(WatchedRecords, OfThreeRecordsInOneBufferOnlyTheFirstTwoAreHandled)
{
    EXPECT_EQ(watch({added(L"1"), added(L"2"), added(L"3")}), (Roots{"C:\\1", "C:\\2"}));
}

TEST_F(WatchedRecords, OneBufferFollowsTheOther)
{
    EXPECT_EQ(watch(std::vector<Bytes>{makeBuffer({added(L"1")}), makeBuffer({added(L"2")}), Bytes(),
                                       makeBuffer({added(L"3")})}),
              (Roots{"C:\\1", "C:\\2", "C:\\3"}));
}

TEST_F(WatchedRecords, ARemovedModifiedOrRenamedFileIsIgnored)
{
    for (const DWORD action : {FILE_ACTION_REMOVED, FILE_ACTION_MODIFIED, FILE_ACTION_RENAMED_OLD_NAME,
                               FILE_ACTION_RENAMED_NEW_NAME, 0, 6}) {
        EXPECT_EQ(watch({{L"1" + kLanding, action}}), Roots()) << action;
        EXPECT_FALSE(RecordingLog::hasLine(5, "Sparce file"));
    }
    EXPECT_EQ(watch({{L"1" + kLanding, FILE_ACTION_REMOVED}, added(L"2"), added(L"3")}), Roots{"C:\\2"});
}

TEST_F(WatchedRecords, ANameOf4096CharactersIsHandled)
{
    const std::string root = "C:\\long\\" + std::string(4096 - 5 - kLanding.size(), 'x');
    EXPECT_EQ(watch({addedWithLength(4096)}), Roots{root});
    EXPECT_EQ(watch({addedWithLength(4096), added(L"2"), added(L"3")}), (Roots{root, "C:\\2"}));
}

TEST_F(WatchedRecords, ANameOf4097CharactersDropsTheRestOfTheBuffer)
{
    EXPECT_EQ(watch({addedWithLength(4097)}), Roots());
    EXPECT_EQ(watch({added(L"1"), addedWithLength(4097), added(L"3"), added(L"4")}), Roots{"C:\\1"});
}

TEST_F(WatchedRecords, AnEmptyNameDropsTheRestOfTheBuffer)
{
    EXPECT_EQ(watch({added(L"1"), {L""}, added(L"3"), added(L"4")}), Roots{"C:\\1"});
}

TEST_F(WatchedRecords, ABufferThatLiesIsDroppedFromThereOn)
{
    Record odd = added(L"2");
    odd.nameLength = 31;
    EXPECT_EQ(watch({added(L"1"), odd, added(L"3"), added(L"4")}), Roots{"C:\\1"});

    Record pastTheEnd = added(L"2");
    pastTheEnd.nextOffset = 16384;
    EXPECT_EQ(watch({added(L"1"), pastTheEnd, added(L"3"), added(L"4")}), (Roots{"C:\\1", "C:\\2"}));

    Record backwards = added(L"2");
    backwards.nextOffset = static_cast<DWORD>(-44);
    EXPECT_EQ(watch({added(L"1"), backwards, added(L"3"), added(L"4")}), (Roots{"C:\\1", "C:\\2"}));

    Record intoItself = added(L"2");
    intoItself.nextOffset = 8;
    EXPECT_EQ(watch({added(L"1"), intoItself, added(L"3"), added(L"4")}), (Roots{"C:\\1", "C:\\2"}));
}

TEST_F(WatchedRecords, ANameThatCantBeConvertedDropsTheRestOfTheBuffer)
{
    static const auto real = findInKernel32<decltype(&WideCharToMultiByte)>("WideCharToMultiByte");
    const ImportHook<decltype(&WideCharToMultiByte)> convert(
        nullptr, "WideCharToMultiByte",
        +[](UINT page, DWORD flags, LPCWCH text, int length, LPSTR output, int capacity, LPCCH unknown,
            LPBOOL usedUnknown) -> int {
            const bool isName = length > 1 && text[0] == L'2' && text[1] == L'\\';
            return isName ? 0 : real(page, flags, text, length, output, capacity, unknown, usedUnknown);
        });
    EXPECT_EQ(watch({added(L"1"), added(L"2"), added(L"3"), added(L"4")}), Roots{"C:\\1"});
}

TEST_F(WatchedRecords, WithoutAnArmedRecordNothingIsCompared)
{
    TestAccess::arm(mRenderer, nullptr, "");
    EXPECT_EQ(watch({added(L"1")}), Roots());
    EXPECT_FALSE(RecordingLog::hasLine(5, "Sparce file"));
}

TEST_F(WatchedRecords, ARecordWithoutACallbackIsTreatedAsNotArmed)
{
    arm(nullptr);
    EXPECT_EQ(watch({added(L"1")}), Roots());
    EXPECT_FALSE(RecordingLog::hasLine(5, "Sparce file"));
}

TEST_F(WatchedRecords, APlainRecordIsTreatedAsNotArmed)
{
    const auto plain = std::make_shared<ClipboardFileDataImpl>();
    plain->SetFiles(makeGuestRecord({"a.txt"})->GetFiles());
    TestAccess::arm(mRenderer, plain, "12345678");
    EXPECT_EQ(watch({added(L"1")}), Roots());
    EXPECT_FALSE(RecordingLog::hasLine(5, "Sparce file"));
}

TEST_F(WatchedRecords, AnArmedRecordWithoutFilesMatchesNothing)
{
    const auto record = makeGuestRecord({}, [](const std::shared_ptr<ClipboardFileDataEx>&) {
        ADD_FAILURE() << "the host was called";
        return 0;
    });
    TestAccess::arm(mRenderer, record, "12345678");
    EXPECT_EQ(watch({added(L"1")}), Roots());
}

TEST_F(WatchedRecords, AnAddedFileWaitsForAPreparationToEnd)
{
    auto lock = TestAccess::lock(mRenderer);
    auto watching = std::async(std::launch::async, [this] { return watch({added(L"1")}); });
    EXPECT_EQ(watching.wait_for(std::chrono::milliseconds(200)), std::future_status::timeout);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Sparce file"));
    TestAccess::arm(mRenderer, nullptr, "");
    lock.unlock();
    EXPECT_EQ(watching.get(), Roots());
    EXPECT_FALSE(RecordingLog::hasLine(5, "Sparce file"));
}

TEST_F(WatchedRecords, TheHostIsCalledUnderTheLockOnTheWatchersThread)
{
    bool locked = false;
    std::thread::id thread;
    arm([&](const std::shared_ptr<ClipboardFileDataEx>&) {
        locked = TestAccess::isLocked(mRenderer);
        thread = std::this_thread::get_id();
        return 0;
    });
    watch({added(L"1")});
    EXPECT_TRUE(locked);
    EXPECT_EQ(thread, std::this_thread::get_id());
    EXPECT_FALSE(TestAccess::isLocked(mRenderer));
}

TEST_F(WatchedRecords, AHostThatFailsChangesNothingForTheNext)
{
    int calls = 0;
    arm([&](const std::shared_ptr<ClipboardFileDataEx>&) { return ++calls; });
    watch(std::vector<Bytes>{makeBuffer({added(L"1")}), makeBuffer({added(L"2")})});
    EXPECT_EQ(calls, 2);
}

TEST_F(WatchedRecords, AHostThatThrowsLosesThisLandingOnly)
{
    int calls = 0;
    arm([&](const std::shared_ptr<ClipboardFileDataEx>&) -> int {
        switch (++calls) {
            case 1:
                throw std::runtime_error("no room");
            case 2:
                throw 5;  // NOLINT(hicpp-exception-baseclass): a host may throw whatever it likes
            default:
                return 0;
        }
    });
    watch(std::vector<Bytes>{makeBuffer({added(L"1")}), makeBuffer({added(L"2")}), makeBuffer({added(L"3")})});
    EXPECT_EQ(calls, 3);
    const std::vector<std::string> failures = RecordingLog::messages(7);
    ASSERT_EQ(failures.size(), 4u);
    EXPECT_EQ(failures[0], "A landing can't be handled: no room");
    EXPECT_EQ(failures[1], "A landing can't be handled: unknown exception");
    EXPECT_EQ(failures[2],
              "Lazy rendering file copy(FullPostProcessMode) remove original file for C:\\3\\a.txt.12345678");
    EXPECT_FALSE(TestAccess::isLocked(mRenderer));
}

TEST_F(WatchedRecords, AHostThatThrowsLosesNoOtherLandingOfTheSameRead)
{
    arm([this](const std::shared_ptr<ClipboardFileDataEx>& data) -> int {
        mRoots.push_back(data->GetTargetClipboardData()->GetFiles().at(0).root);
        if (mRoots.back() == "C:\\1")
            throw std::runtime_error("no room");
        return 0;
    });
    EXPECT_EQ(watch({added(L"1"), added(L"2"), added(L"3"), added(L"4")}), (Roots{"C:\\1", "C:\\2", "C:\\3"}));
    EXPECT_EQ(RecordingLog::count(7, "A landing can't be handled: no room"), 1);
    EXPECT_EQ(RecordingLog::count(
                  7, "Lazy rendering file copy(FullPostProcessMode) remove original file for C:\\2\\a.txt.12345678"),
              1);
    EXPECT_FALSE(TestAccess::isLocked(mRenderer));
}
