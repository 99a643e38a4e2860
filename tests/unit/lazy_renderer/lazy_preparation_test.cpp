// What a preparation makes: the cache directory, one placeholder, the armed state and what is on the clipboard.
#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include <cstring>
#include <regex>
#include <thread>

#include "file_utilities/encoding.h"
#include "renderer_access.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"
#include "support/temporary_folder.h"

using namespace sd::clip;

namespace {

class LazyPreparation : public testing::Test {
protected:
    LazyPreparation()
    {
        TestAccess::setCacheDirectory(mRenderer, mFolder.utf8Path() + "\\cache\\");
    }
    ~LazyPreparation() override
    {
        mOwner.putNothing();
    }

    bool prepare(const std::vector<std::string>& names = {"report.txt"})
    {
        mRecord = makeGuestRecord(names);
        return mRenderer.PrepareFileLazyRendering(mRecord);
    }

    std::wstring cache() const
    {
        return mFolder.path() + L"\\cache";
    }
    std::string suffix() const
    {
        return TestAccess::suffix(mRenderer);
    }
    std::wstring placeholder(const std::wstring& name = L"report.txt") const
    {
        return cache() + L"\\" + name + L"." + Utf8ToWide(suffix());
    }

    TemporaryFolder mFolder;
    ClipboardOwner mOwner;
    FileClipboardLazyRenderer mRenderer;
    std::shared_ptr<ClipboardFileDataExImpl> mRecord;
};

// The files on the clipboard.
std::vector<std::wstring> readDropList()
{
    std::vector<std::wstring> paths;
    EXPECT_TRUE(OpenClipboard(nullptr));
    if (const auto drop = static_cast<HDROP>(GetClipboardData(CF_HDROP))) {
        wchar_t path[1000];
        for (UINT i = 0; i < DragQueryFileW(drop, 0xFFFFFFFF, nullptr, 0); ++i)
            paths.emplace_back(path, DragQueryFileW(drop, i, path, 1000));
    }
    CloseClipboard();
    return paths;
}

std::uint32_t readEffect()
{
    std::uint32_t effect = 0;
    EXPECT_TRUE(OpenClipboard(nullptr));
    if (const HANDLE block = GetClipboardData(RegisterClipboardFormatW(L"Preferred DropEffect"))) {
        std::memcpy(&effect, GlobalLock(block), sizeof effect);
        GlobalUnlock(block);
    }
    CloseClipboard();
    return effect;
}

ULONGLONG sizeOf(const std::wstring& path)
{
    WIN32_FILE_ATTRIBUTE_DATA data = {};
    EXPECT_TRUE(GetFileAttributesExW(path.c_str(), GetFileExInfoStandard, &data));
    return (ULONGLONG{data.nFileSizeHigh} << 32) + data.nFileSizeLow;
}

}  // namespace

TEST_F(LazyPreparation, AListOfThreeFilesYieldsOneEmptyPlaceholderNamedAfterTheFirst)
{
    EXPECT_TRUE(prepare({"report.txt", "second.txt", "third.txt"}));
    EXPECT_TRUE(std::regex_match(suffix(), std::regex("[0-9]{8}"))) << suffix();
    EXPECT_EQ(listNames(cache()), std::vector<std::wstring>{L"report.txt." + Utf8ToWide(suffix())});
    EXPECT_EQ(sizeOf(placeholder()), 0u);
    EXPECT_EQ(GetFileAttributesW(placeholder().c_str()) & ~DWORD{FILE_ATTRIBUTE_NORMAL | FILE_ATTRIBUTE_ARCHIVE}, 0u);
    EXPECT_EQ(readDropList(), std::vector<std::wstring>{placeholder()});
    EXPECT_EQ(readEffect(), 2u);  // a move
}

TEST_F(LazyPreparation, ASuccessArmsTheRenderer)
{
    EXPECT_EQ(TestAccess::armedData(mRenderer), nullptr);
    EXPECT_FALSE(TestAccess::hasPromise(mRenderer));
    EXPECT_TRUE(prepare());
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    EXPECT_TRUE(TestAccess::hasPromise(mRenderer));
    EXPECT_TRUE(TestAccess::pendingOwnCopy(mRenderer));
    EXPECT_FALSE(TestAccess::isLocked(mRenderer));
    EXPECT_FALSE(mRenderer.IsReady());
}

TEST_F(LazyPreparation, TheFirstOneLogsThatThereIsNothingToCleanAndMakesTheDirectory)
{
    EXPECT_FALSE(fileExists(cache()));
    EXPECT_TRUE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"log 5 Start watching file by file clipboard lazy renderer.",
                              "log 7 Failed to get the first file in the directory. Error: 3",
                              "log 6 Unable to clean " + mFolder.utf8Path() + "\\cache\\",
                              "log 5 Start watching file by file clipboard lazy renderer done."}));
}

TEST_F(LazyPreparation, ALaterOneLogsItsBeginningAndItsEndOnly)
{
    EXPECT_TRUE(prepare());
    Journal::shared().clear();
    EXPECT_TRUE(prepare());
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"log 5 Start watching file by file clipboard lazy renderer.",
                              "log 5 Start watching file by file clipboard lazy renderer done."}));
}

TEST_F(LazyPreparation, TwoPreparationsDifferInTheirSuffixAndTheFirstPlaceholderIsGone)
{
    EXPECT_TRUE(prepare());
    const std::wstring first = placeholder();
    const auto firstDone = TestAccess::renderingDone(mRenderer);
    EXPECT_TRUE(fileExists(first));
    EXPECT_TRUE(prepare({"other.txt"}));
    EXPECT_FALSE(fileExists(first));
    EXPECT_EQ(listNames(cache()), std::vector<std::wstring>{L"other.txt." + Utf8ToWide(suffix())});
    EXPECT_NE(first, placeholder());
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    EXPECT_EQ(readDropList(), std::vector<std::wstring>{placeholder(L"other.txt")});
    EXPECT_THROW(firstDone.get(), std::future_error);  // its promise is dropped
}

TEST_F(LazyPreparation, TwentySuffixesAreTwentyNumbers)
{
    std::vector<std::string> suffixes;
    for (int i = 0; i < 20; ++i) {
        suffixes.push_back(TestAccess::randomDigits(8));
        EXPECT_TRUE(std::regex_match(suffixes.back(), std::regex("[0-9]{8}"))) << suffixes.back();
    }
    std::sort(suffixes.begin(), suffixes.end());
    EXPECT_EQ(std::unique(suffixes.begin(), suffixes.end()), suffixes.end());
    EXPECT_EQ(TestAccess::randomDigits(0), "");
}

TEST_F(LazyPreparation, EveryDigitFromZeroToNineComes)
{
    const std::string digits = TestAccess::randomDigits(2000);
    for (char digit = '0'; digit <= '9'; ++digit)
        EXPECT_GT(std::count(digits.begin(), digits.end(), digit), 100) << digit;
    EXPECT_EQ(digits.size(), 2000u);
}

TEST_F(LazyPreparation, AnEmptyListIsRefusedAfterTheCacheWasCleaned)
{
    EXPECT_TRUE(prepare());
    const std::wstring earlier = placeholder();
    Journal::shared().clear();
    EXPECT_FALSE(prepare({}));
    EXPECT_EQ(Journal::shared().entries(),
              (JournalEntries{"log 5 Start watching file by file clipboard lazy renderer.", "log 7 No file to copy"}));
    EXPECT_FALSE(fileExists(earlier));
    EXPECT_EQ(TestAccess::armedData(mRenderer), nullptr);
    EXPECT_EQ(suffix(), "");
    EXPECT_FALSE(TestAccess::pendingOwnCopy(mRenderer));
    EXPECT_EQ(readDropList(), std::vector<std::wstring>{earlier});  // the clipboard is not open when it is emptied
}

TEST_F(LazyPreparation, AFailedOneKeepsThePromiseOfTheLastSuccess)
{
    EXPECT_TRUE(prepare());
    EXPECT_FALSE(prepare({}));
    EXPECT_TRUE(TestAccess::hasPromise(mRenderer));
}

TEST_F(LazyPreparation, NoRecordIsAnsweredFalseAndChangesNothing)
{
    EXPECT_TRUE(prepare());
    const std::string before = suffix();
    Journal::shared().clear();
    EXPECT_FALSE(mRenderer.PrepareFileLazyRendering(nullptr));
    EXPECT_EQ(Journal::shared().entries(), (JournalEntries{"log 6 No file record to render lazily"}));
    EXPECT_EQ(suffix(), before);
    EXPECT_EQ(TestAccess::armedData(mRenderer), mRecord);
    EXPECT_TRUE(fileExists(placeholder()));
}

TEST_F(LazyPreparation, APlainRecordWithoutACallbackArms)
{
    ClipfileDescription file;
    file.fileName = "plain.txt";
    const auto plain = std::make_shared<ClipboardFileDataImpl>();
    plain->SetFiles({file});
    EXPECT_TRUE(mRenderer.PrepareFileLazyRendering(plain));
    EXPECT_EQ(TestAccess::armedData(mRenderer), plain);
    EXPECT_EQ(listNames(cache()), std::vector<std::wstring>{L"plain.txt." + Utf8ToWide(suffix())});
}

TEST_F(LazyPreparation, ATerminatorAtTheEndOfTheGuestsNameEndsThePlaceholdersName)
{
    EXPECT_TRUE(prepare({std::string("report.txt\0", 11)}));
    EXPECT_EQ(listNames(cache()), std::vector<std::wstring>{L"report.txt." + Utf8ToWide(suffix())});
    EXPECT_EQ(readDropList(), std::vector<std::wstring>{placeholder()});
}

TEST_F(LazyPreparation, ANameOutsideTheBasicPlaneArrives)
{
    EXPECT_TRUE(prepare({"\xC3\xBC\xF0\x9F\x98\x80.txt"}));
    EXPECT_EQ(readDropList(), std::vector<std::wstring>{placeholder(L"\u00FC\U0001F600.txt")});
    EXPECT_TRUE(fileExists(placeholder(L"\u00FC\U0001F600.txt")));
}

TEST_F(LazyPreparation, ASubfolderOfTheCacheSurvives)
{
    const std::wstring kept = mFolder.addFile(L"cache\\sub\\kept.txt", "kept");
    const std::wstring old = mFolder.addFile(L"cache\\old.txt", "old");
    EXPECT_TRUE(prepare());
    EXPECT_TRUE(fileExists(kept));
    EXPECT_FALSE(fileExists(old));
    EXPECT_EQ(listNames(cache()), (std::vector<std::wstring>{L"report.txt." + Utf8ToWide(suffix()), L"sub"}));
}

TEST_F(LazyPreparation, WithoutASeparatorThePlaceholderLandsBesideTheDirectory)
{
    mFolder.addFile(L"cache\\old.txt");
    const std::wstring beside = mFolder.addFile(L"beside.txt");
    TestAccess::setCacheDirectory(mRenderer, mFolder.utf8Path() + "\\cache");
    EXPECT_TRUE(prepare());
    const std::wstring path = mFolder.path() + L"\\cachereport.txt." + Utf8ToWide(suffix());
    EXPECT_EQ(sizeOf(path), 0u);
    EXPECT_EQ(readDropList(), std::vector<std::wstring>{path});
    EXPECT_TRUE(listNames(cache()).empty());
    EXPECT_TRUE(fileExists(beside));
}

TEST_F(LazyPreparation, TheTargetThatTheRecordHasIsReadOnceAndStays)
{
    class CountingRecord : public ClipboardFileDataExImpl {
    public:
        std::shared_ptr<ClipboardFileData> GetTargetClipboardData() override
        {
            ++reads;
            return ClipboardFileDataExImpl::GetTargetClipboardData();
        }
        int reads = 0;
    };
    const auto record = std::make_shared<CountingRecord>();
    const auto target = ClipboardFileData::Create();
    record->SetFiles(makeGuestRecord({"a.txt"})->GetFiles());
    record->SetTargetClipboardData(target);
    EXPECT_TRUE(mRenderer.PrepareFileLazyRendering(record));
    EXPECT_EQ(record->reads, 1);
    EXPECT_EQ(record->GetTargetClipboardData(), target);
}

TEST_F(LazyPreparation, AReplacedRecordGoesWithoutTheLock)
{
    bool locked = true;
    bool gone = false;
    {
        // what the host's callback holds dies with its record
        const std::shared_ptr<int> held(new int, [&](const int* number) {
            gone = true;
            locked = TestAccess::isLocked(mRenderer);
            delete number;
        });
        EXPECT_TRUE(mRenderer.PrepareFileLazyRendering(
            makeGuestRecord({"a.txt"}, [held](const std::shared_ptr<ClipboardFileDataEx>&) { return *held; })));
    }
    EXPECT_FALSE(gone);
    EXPECT_TRUE(prepare());
    EXPECT_TRUE(gone);
    EXPECT_FALSE(locked);
}

TEST_F(LazyPreparation, PreparationsAtOnceFollowOneAnother)
{
    std::atomic<int> succeeded{0};
    std::vector<std::thread> hosts;
    for (int i = 0; i < 4; ++i) {
        hosts.emplace_back([this, &succeeded] {
            for (int round = 0; round < 5; ++round)
                succeeded += mRenderer.PrepareFileLazyRendering(makeGuestRecord({"report.txt"})) ? 1 : 0;
        });
    }
    for (std::thread& host : hosts)
        host.join();
    EXPECT_EQ(succeeded, 20);
    EXPECT_EQ(listNames(cache()), std::vector<std::wstring>{L"report.txt." + Utf8ToWide(suffix())});
    EXPECT_EQ(readDropList(), std::vector<std::wstring>{placeholder()});
}
