#include "data_object/medium_rendering.h"

#include <gtest/gtest.h>
#include <shlobj.h>

#include <cstring>
#include <ctime>

#include "support/file_times.h"
#include "support/import_hook.h"
#include "support/journal.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

ClipfileDescription makeFile(const std::string& name, std::uint64_t size = 0)
{
    ClipfileDescription file;
    file.fileName = name;
    file.size = size;
    return file;
}

// A rendered block, locked for the test's look at it.
class Rendered {
public:
    explicit Rendered(const std::vector<ClipfileDescription>& files) : result(RenderFileGroupDescriptor(files, mMedium))
    {
        if (result == S_OK)
            group = static_cast<FILEGROUPDESCRIPTORW*>(GlobalLock(mMedium.hGlobal));
    }
    ~Rendered()
    {
        if (group != nullptr)
            GlobalUnlock(mMedium.hGlobal);
        ReleaseStgMedium(&mMedium);
    }
    Rendered(const Rendered&) = delete;
    Rendered& operator=(const Rendered&) = delete;

    const FILEDESCRIPTORW& entry(std::size_t index) const
    {
        return group->fgd[index];
    }
    const STGMEDIUM& medium() const
    {
        return mMedium;
    }

private:
    STGMEDIUM mMedium = {};

public:
    const HRESULT result;
    FILEGROUPDESCRIPTORW* group = nullptr;
};

// No block can be locked; the last one that was freed is kept, and not freed.
struct NoLock {
    NoLock()
    {
        freed = nullptr;
    }

    static inline HGLOBAL freed = nullptr;
    const ImportHook<decltype(&GlobalLock)> lock{nullptr, "GlobalLock", +[](HGLOBAL) -> LPVOID { return nullptr; }};
    const ImportHook<decltype(&GlobalFree)> free{nullptr, "GlobalFree", +[](HGLOBAL block) -> HGLOBAL {
                                                     Journal::shared().add("free");
                                                     freed = block;
                                                     return nullptr;
                                                 }};
};

// The clock from which an entry has its times shows these seconds.
class FixedClock {
public:
    explicit FixedClock(std::int64_t seconds)
    {
        sSeconds = seconds;
    }

private:
    static inline std::int64_t sSeconds = 0;
    const ImportHook<decltype(&GetSystemTimePreciseAsFileTime)> mHook{
        nullptr, "GetSystemTimePreciseAsFileTime", +[](FILETIME* time) { *time = unixFileTime(sSeconds); }};
};

// Memory that is not asked for as zeroed is not.
class DirtyMemory {
public:
    DirtyMemory()
    {
        sReal = mHook.real();
    }

private:
    static HGLOBAL WINAPI allocate(UINT flags, SIZE_T size)
    {
        const HGLOBAL block = sReal(flags, size);
        if ((flags & GMEM_ZEROINIT) == 0) {
            std::memset(GlobalLock(block), 0xCC, size);
            GlobalUnlock(block);
        }
        return block;
    }

    static inline decltype(&GlobalAlloc) sReal = nullptr;
    const ImportHook<decltype(&GlobalAlloc)> mHook{nullptr, "GlobalAlloc", &allocate};
};

}  // namespace

TEST(FileGroupDescriptor, AnEmptyListIsABlockOfFourBytesWithACountOfZero)
{
    const Rendered rendered({});
    ASSERT_EQ(rendered.result, S_OK);
    EXPECT_EQ(rendered.medium().tymed, static_cast<DWORD>(TYMED_HGLOBAL));
    EXPECT_EQ(rendered.medium().pUnkForRelease, nullptr);
    EXPECT_EQ(GlobalSize(rendered.medium().hGlobal), 4u);
    EXPECT_EQ(rendered.group->cItems, 0u);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"totalFileCount:0."});
}

TEST(FileGroupDescriptor, EntriesStandInTheOrderOfTheListWithTheirRelativeNames)
{
    ClipfileDescription nested = makeFile("gr\xC3\xBC\xF0\x9F\x98\x80.txt", 7);
    nested.relativePath = "a\\b";
    const Rendered rendered({makeFile("first"), nested});
    ASSERT_EQ(rendered.result, S_OK);
    EXPECT_EQ(GlobalSize(rendered.medium().hGlobal), 596u + 592u);
    EXPECT_EQ(rendered.group->cItems, 2u);
    EXPECT_STREQ(rendered.entry(0).cFileName, L"first");
    EXPECT_STREQ(rendered.entry(1).cFileName, L"a\\b\\gr\u00FC\U0001F600.txt");
    EXPECT_EQ(rendered.entry(1).nFileSizeLow, 7u);
    EXPECT_EQ(rendered.entry(0).dwFlags, 0x8000407Eu);
    EXPECT_EQ(rendered.entry(1).dwFlags, 0x8000407Eu);
}

TEST(FileGroupDescriptor, ASizeOf4GiBStandsInTheHighHalf)
{
    const Rendered rendered({makeFile("a", 4294967296)});
    EXPECT_EQ(rendered.entry(0).nFileSizeHigh, 1u);
    EXPECT_EQ(rendered.entry(0).nFileSizeLow, 0u);
}

TEST(FileGroupDescriptor, AttributesThatAreMissingComeFromTheMode)
{
    ClipfileDescription directory = makeFile("d");
    directory.mode = 0x4000;
    ClipfileDescription unknown = makeFile("u");
    unknown.attributes = 0xFFFFFFFF;
    ClipfileDescription kept = makeFile("k");
    kept.attributes = 0x20;
    kept.mode = 0x4000;
    const Rendered rendered({directory, unknown, kept});
    EXPECT_EQ(rendered.entry(0).dwFileAttributes, 0x10u);
    EXPECT_EQ(ticks(rendered.entry(0).ftCreationTime) + ticks(rendered.entry(0).ftLastAccessTime) +
                  ticks(rendered.entry(0).ftLastWriteTime),
              0u);
    EXPECT_EQ(rendered.entry(1).dwFileAttributes, 0x80u);
    EXPECT_EQ(rendered.entry(2).dwFileAttributes, 0x20u);
}

TEST(FileGroupDescriptor, EveryFileHasThePresentTimeInWholeSecondsAndNotTheGuests)
{
    ClipfileDescription file = makeFile("a");
    file.writeTime = 1;
    const Rendered rendered({file});
    const std::uint64_t time = ticks(rendered.entry(0).ftLastWriteTime);
    EXPECT_EQ(time, ticks(rendered.entry(0).ftCreationTime));
    EXPECT_EQ(time, ticks(rendered.entry(0).ftLastAccessTime));
    EXPECT_EQ(time % 10000000, 116444736000000000u % 10000000);
    const auto seconds = static_cast<std::int64_t>((time - 116444736000000000u) / 10000000);
    EXPECT_NEAR(static_cast<double>(seconds), static_cast<double>(std::time(nullptr)), 2);

    Sleep(1100);
    EXPECT_GT(ticks(Rendered({file}).entry(0).ftLastWriteTime), time);
}

TEST(FileGroupDescriptor, AttributesThatAreMissingAreTheDirectorysOrNone)
{
    ClipfileDescription unknownDirectory = makeFile("d");
    unknownDirectory.attributes = 0xFFFFFFFF;
    unknownDirectory.mode = 0x41FF;
    const Rendered rendered({unknownDirectory, makeFile("f")});
    EXPECT_EQ(rendered.entry(0).dwFileAttributes, 0x10u);
    EXPECT_EQ(rendered.entry(1).dwFileAttributes, 0x80u);
}

TEST(FileGroupDescriptor, TheShownAttributesAndNotTheModeDecideWhetherAnEntryHasTimes)
{
    ClipfileDescription shownAsFile = makeFile("f");
    shownAsFile.attributes = 0x20;
    shownAsFile.mode = 0x4000;
    ClipfileDescription shownAsDirectory = makeFile("d");
    shownAsDirectory.attributes = 0x10;
    shownAsDirectory.mode = 0x8000;
    ClipfileDescription directoryWithMore = makeFile("e");
    directoryWithMore.attributes = 0x31;
    const Rendered rendered({shownAsFile, shownAsDirectory, directoryWithMore});
    EXPECT_NE(ticks(rendered.entry(0).ftCreationTime), 0u);
    EXPECT_NE(ticks(rendered.entry(0).ftLastAccessTime), 0u);
    EXPECT_NE(ticks(rendered.entry(0).ftLastWriteTime), 0u);
    for (const std::size_t directory : {1, 2}) {
        EXPECT_EQ(ticks(rendered.entry(directory).ftCreationTime), 0u);
        EXPECT_EQ(ticks(rendered.entry(directory).ftLastAccessTime), 0u);
        EXPECT_EQ(ticks(rendered.entry(directory).ftLastWriteTime), 0u);
    }
}

// The word is fixed: it promises times that a directory does not have, and a place that nothing has.
TEST(FileGroupDescriptor, WhatADirectoryDoesNotHaveIsZeroUnderTheSameFlags)
{
    const DirtyMemory memory;
    ClipfileDescription directory = makeFile("d");
    directory.attributes = 0x10;
    directory.createTime = directory.accessTime = directory.writeTime = 1;
    const Rendered rendered({makeFile("a rather long name of a file"), directory});
    FILEDESCRIPTORW expected = {};
    expected.dwFlags = 0x8000407E;
    expected.dwFileAttributes = 0x10;
    expected.cFileName[0] = L'd';
    EXPECT_EQ(std::memcmp(&rendered.entry(1), &expected, sizeof expected), 0);
}

TEST(FileGroupDescriptor, OfAFileClassSizeAndPlaceOnTheScreenAreZero)
{
    const DirtyMemory memory;
    const FixedClock clock(1000000000);
    const Rendered rendered({makeFile("f", 0x200000003)});
    FILEDESCRIPTORW expected = {};
    expected.dwFlags = 0x8000407E;
    expected.dwFileAttributes = 0x80;
    expected.ftCreationTime = expected.ftLastAccessTime = expected.ftLastWriteTime = unixFileTime(1000000000);
    expected.nFileSizeHigh = 2;
    expected.nFileSizeLow = 3;
    expected.cFileName[0] = L'f';
    EXPECT_EQ(std::memcmp(&rendered.entry(0), &expected, sizeof expected), 0);
}

// The second clock is the slower one, and there may be a hundred thousand entries.
TEST(FileGroupDescriptor, TheSystemTimeIsNotAskedForWhileTheClockIsRight)
{
    static int asked;
    asked = 0;
    const ImportHook<decltype(&GetSystemTime)> system(
        nullptr, "GetSystemTime", +[](LPSYSTEMTIME) { ++asked; });
    const Rendered rendered({makeFile("a"), makeFile("b")});
    EXPECT_NE(ticks(rendered.entry(1).ftLastWriteTime), 0u);
    EXPECT_EQ(asked, 0);
}

TEST(FileGroupDescriptor, AClockAtOrBefore1970IsReplacedByTheSystemTime)
{
    // 3 February 2001, 4:05:06.789
    const ImportHook<decltype(&GetSystemTime)> system(
        nullptr, "GetSystemTime", +[](LPSYSTEMTIME time) { *time = {2001, 2, 6, 3, 4, 5, 6, 789}; });
    const std::uint64_t systemTime = 116444736000000000 + std::uint64_t{9811731067890000};
    for (const std::int64_t seconds : {std::int64_t{0}, std::int64_t{-1}, std::int64_t{-11644473600}}) {
        const FixedClock clock(seconds);
        const Rendered rendered({makeFile("f")});
        EXPECT_EQ(ticks(rendered.entry(0).ftCreationTime), systemTime) << seconds;
        EXPECT_EQ(ticks(rendered.entry(0).ftLastAccessTime), systemTime) << seconds;
        EXPECT_EQ(ticks(rendered.entry(0).ftLastWriteTime), systemTime) << seconds;
    }
    const FixedClock clock(1);
    EXPECT_EQ(ticks(Rendered({makeFile("f")}).entry(0).ftLastWriteTime), 116444736010000000u);
}

TEST(FileGroupDescriptor, ANameMayCarryItsTerminator)
{
    const Rendered rendered({makeFile(std::string("a.txt\0", 6))});
    EXPECT_STREQ(rendered.entry(0).cFileName, L"a.txt");
}

TEST(FileGroupDescriptor, ANameOf259UnitsFits)
{
    const Rendered rendered({makeFile(std::string(259, 'x'))});
    EXPECT_EQ(std::wstring(rendered.entry(0).cFileName), std::wstring(259, L'x'));
}

TEST(FileGroupDescriptor, AFailedAllocationIsLoggedAndRefused)
{
    const ImportHook<decltype(&GlobalAlloc)> hook(
        nullptr, "GlobalAlloc", +[](UINT flags, SIZE_T size) -> HGLOBAL {
            EXPECT_EQ(flags, 0x2042u);
            EXPECT_EQ(size, 596u);
            return nullptr;
        });
    const Rendered rendered({makeFile("a")});
    EXPECT_EQ(rendered.result, DV_E_FORMATETC);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"GlobalAlloc gMem fail."});
}

TEST(FileGroupDescriptor, AListThatIsTooLongIsLoggedAndNoMemoryAskedFor)
{
    static SIZE_T asked = 0;
    const ImportHook<decltype(&GlobalAlloc)> hook(
        nullptr, "GlobalAlloc", +[](UINT, SIZE_T size) -> HGLOBAL {
            asked = size;
            return nullptr;
        });
    for (const std::uint64_t count : {std::uint64_t{7255013}, std::uint64_t{1} << 32}) {
        RecordingLog::clear();
        EXPECT_EQ(AllocateDescriptorBlock(count), nullptr);
        EXPECT_EQ(RecordingLog::messages(), std::vector<std::string>{"The list of " + std::to_string(count) +
                                                                     " files is too long for a descriptor"});
        EXPECT_EQ(RecordingLog::messages(6).size(), 1u);
    }
    EXPECT_EQ(asked, 0u);
    EXPECT_EQ(AllocateDescriptorBlock(7255012), nullptr);
    EXPECT_EQ(asked, 4294967108u);  // the longest that fits
}

TEST(FileGroupDescriptor, AFailedLockIsLoggedAndTheBlockFreed)
{
    const NoLock platform;
    const Rendered rendered({makeFile("a")});
    EXPECT_EQ(rendered.result, DV_E_FORMATETC);
    EXPECT_NE(NoLock::freed, nullptr);
    EXPECT_EQ(RecordingLog::messages(6), std::vector<std::string>{"GlobalLock gMem fail."});
}

TEST(FileGroupDescriptor, AFailedLockIsLoggedBeforeTheBlockIsFreed)
{
    const NoLock platform;
    const Rendered rendered({makeFile("a")});
    EXPECT_EQ(Journal::shared().entries(), (std::vector<std::string>{"log 6 GlobalLock gMem fail.", "free"}));
}

TEST(RenderedBlocks, AreGivenAwayUnlocked)
{
    STGMEDIUM descriptor = {};
    STGMEDIUM flag = {};
    ASSERT_EQ(RenderFileGroupDescriptor({makeFile("a")}, descriptor), S_OK);
    ASSERT_EQ(RenderAsyncFlag(flag), S_OK);
    for (STGMEDIUM* const medium : {&descriptor, &flag}) {
        EXPECT_EQ(GlobalFlags(medium->hGlobal) & GMEM_LOCKCOUNT, 0u);
        ReleaseStgMedium(medium);
    }
}

TEST(AsyncFlag, IsTheValueOneInABlockOfFourBytes)
{
    STGMEDIUM medium = {};
    ASSERT_EQ(RenderAsyncFlag(medium), S_OK);
    EXPECT_EQ(medium.tymed, static_cast<DWORD>(TYMED_HGLOBAL));
    EXPECT_EQ(*static_cast<DWORD*>(GlobalLock(medium.hGlobal)), 1u);
    GlobalUnlock(medium.hGlobal);
    ReleaseStgMedium(&medium);
}

TEST(AsyncFlag, WithoutMemoryTheAnswerSaysSo)
{
    const ImportHook<decltype(&GlobalAlloc)> hook(
        nullptr, "GlobalAlloc", +[](UINT, SIZE_T) -> HGLOBAL { return nullptr; });
    STGMEDIUM medium = {};
    EXPECT_EQ(RenderAsyncFlag(medium), E_OUTOFMEMORY);
    EXPECT_EQ(medium.hGlobal, nullptr);
}

TEST(AsyncFlag, ABlockThatCanNotBeLockedIsFreedAndCountsAsNoMemory)
{
    const NoLock platform;
    STGMEDIUM medium = {};
    EXPECT_EQ(RenderAsyncFlag(medium), E_OUTOFMEMORY);
    EXPECT_NE(NoLock::freed, nullptr);
    EXPECT_EQ(medium.hGlobal, nullptr);
}
