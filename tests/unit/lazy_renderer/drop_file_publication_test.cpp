// The placeholder on the clipboard: a drop list and the effect that a paste is to have.
#include <gtest/gtest.h>
#include <windows.h>

#include <shellapi.h>

#include <cstring>

#include "clipboard_holder.h"
#include "renderer_access.h"
#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

constexpr std::uint32_t kMove = 2;
const std::wstring kPath = L"C:\\cache\\a.txt.12345678";

std::string copyBlock(HANDLE block)
{
    std::string bytes(GlobalSize(block), '\0');
    if (const void* const data = GlobalLock(block))
        std::memcpy(bytes.data(), data, bytes.size());
    GlobalUnlock(block);
    return bytes;
}

std::string readClipboard(UINT format)
{
    EXPECT_TRUE(OpenClipboard(nullptr));
    const HANDLE block = GetClipboardData(format);
    std::string bytes = block != nullptr ? copyBlock(block) : "none";
    CloseClipboard();
    return bytes;
}

UINT effectFormat()
{
    return RegisterClipboardFormatW(L"Preferred DropEffect");
}

template <class T>
T readAt(const std::string& bytes, std::size_t offset)
{
    T value = {};
    std::memcpy(&value, bytes.data() + offset, sizeof value);
    return value;
}

std::wstring textAt(const std::string& bytes, std::size_t offset)
{
    std::wstring text((bytes.size() - offset) / sizeof(wchar_t), L'\0');
    std::memcpy(text.data(), bytes.data() + offset, text.size() * sizeof(wchar_t));
    return text;
}

void expectDropFiles(const std::string& bytes, std::size_t size, const std::wstring& list)
{
    ASSERT_EQ(bytes.size(), size);
    EXPECT_EQ(readAt<std::uint32_t>(bytes, 0), 20u);  // pFiles
    EXPECT_EQ(readAt<std::uint64_t>(bytes, 4), 0u);   // pt
    EXPECT_EQ(readAt<std::uint32_t>(bytes, 12), 0u);  // fNC
    EXPECT_EQ(readAt<std::uint32_t>(bytes, 16), 1u);  // fWide
    EXPECT_EQ(textAt(bytes, 20), list);
}

// ---- what the platform is asked, with the calls that are to fail ----

struct Failing {
    bool open = false;
    bool registration = false;
    SIZE_T allocationOf = 0;  // bytes
    SIZE_T lockOf = 0;        // bytes of the block
    UINT setOf = 0;           // format
} gFailing;

decltype(&OpenClipboard) gOpen = nullptr;
decltype(&EmptyClipboard) gEmpty = nullptr;
decltype(&CloseClipboard) gClose = nullptr;
decltype(&SetClipboardData) gSet = nullptr;
decltype(&RegisterClipboardFormatW) gRegister = nullptr;
decltype(&GlobalAlloc) gAlloc = nullptr;
decltype(&GlobalLock) gLock = nullptr;
decltype(&GlobalUnlock) gUnlock = nullptr;
decltype(&GlobalFree) gFree = nullptr;

void note(const std::string& text)
{
    Journal::shared().add(text);
}

std::string describe(HGLOBAL block)
{
    return block == nullptr ? "null" : std::to_string(GlobalSize(block));
}

BOOL WINAPI open(HWND owner)
{
    note(owner == nullptr ? "open" : "open for a window");
    return !gFailing.open && gOpen(owner);
}

HANDLE WINAPI set(UINT format, HANDLE block)
{
    note("set " + std::to_string(format) + " " + describe(block));
    return format == gFailing.setOf || format == 0 ? nullptr : gSet(format, block);
}

UINT WINAPI registerFormat(LPCWSTR name)
{
    EXPECT_STREQ(name, L"Preferred DropEffect");
    return gFailing.registration ? 0 : gRegister(name);
}

HGLOBAL WINAPI allocate(UINT flags, SIZE_T size)
{
    EXPECT_EQ(flags, 0x42u);
    note("alloc " + std::to_string(size));
    return size == gFailing.allocationOf ? nullptr : gAlloc(flags, size);
}

LPVOID WINAPI lock(HGLOBAL block)
{
    note("lock " + describe(block));
    return GlobalSize(block) == gFailing.lockOf ? nullptr : gLock(block);
}

// All calls go to the journal.
struct WatchedPlatform {
    explicit WatchedPlatform(Failing failing)
    {
        gFailing = failing;
        gOpen = openHook.real();
        gEmpty = emptyHook.real();
        gClose = closeHook.real();
        gSet = setHook.real();
        gRegister = registerHook.real();
        gAlloc = allocHook.real();
        gLock = lockHook.real();
        gUnlock = unlockHook.real();
        gFree = freeHook.real();
    }

    const ImportHook<decltype(&OpenClipboard)> openHook{nullptr, "OpenClipboard", &open};
    const ImportHook<decltype(&EmptyClipboard)> emptyHook{nullptr, "EmptyClipboard", +[]() -> BOOL {
                                                              note("empty");
                                                              return gEmpty();
                                                          }};
    const ImportHook<decltype(&CloseClipboard)> closeHook{nullptr, "CloseClipboard", +[]() -> BOOL {
                                                              note("close");
                                                              return gClose();
                                                          }};
    const ImportHook<decltype(&SetClipboardData)> setHook{nullptr, "SetClipboardData", &set};
    const ImportHook<decltype(&RegisterClipboardFormatW)> registerHook{nullptr, "RegisterClipboardFormatW",
                                                                       &registerFormat};
    const ImportHook<decltype(&GlobalAlloc)> allocHook{nullptr, "GlobalAlloc", &allocate};
    const ImportHook<decltype(&GlobalLock)> lockHook{nullptr, "GlobalLock", &lock};
    const ImportHook<decltype(&GlobalUnlock)> unlockHook{nullptr, "GlobalUnlock", +[](HGLOBAL block) -> BOOL {
                                                             note("unlock " + describe(block));
                                                             return gUnlock(block);
                                                         }};
    const ImportHook<decltype(&GlobalFree)> freeHook{nullptr, "GlobalFree", +[](HGLOBAL block) -> HGLOBAL {
                                                         note("free " + describe(block));
                                                         return gFree(block);
                                                     }};
};

class DropFilePublication : public testing::Test {
protected:
    DropFilePublication()
    {
        mOwner.putText(L"before");
    }

    // The calls of a publication of kPath, whose block has 24 + 2 * 23 = 70 bytes.
    JournalEntries publishWith(Failing failing, bool expected)
    {
        const WatchedPlatform platform(failing);
        Journal::shared().clear();
        EXPECT_EQ(TestAccess::publish({kPath}, kMove), expected);
        return Journal::shared().entries();
    }

    ClipboardOwner mOwner;
    const std::string mEffect = std::to_string(effectFormat());
};

}  // namespace

TEST_F(DropFilePublication, OnePathOfNCharactersGivesABlockOf24And2N)
{
    for (const std::size_t n : {1u, 3u, 23u, 259u, 5000u}) {
        const std::wstring path(n, L'x');
        const HGLOBAL block = TestAccess::makeDropFiles({path});
        ASSERT_NE(block, nullptr);
        EXPECT_EQ(GlobalFlags(block) & GMEM_LOCKCOUNT, 0u);
        expectDropFiles(copyBlock(block), 24 + 2 * n, path + std::wstring(2, L'\0'));
        GlobalFree(block);
    }
}

TEST_F(DropFilePublication, AnEmptyListGivesABlockOf22WithAnEmptyList)
{
    const HGLOBAL block = TestAccess::makeDropFiles({});
    ASSERT_NE(block, nullptr);
    expectDropFiles(copyBlock(block), 22, std::wstring(1, L'\0'));
    GlobalFree(block);
}

TEST_F(DropFilePublication, EachPathHasItsTerminatorAndTheListOneMore)
{
    const HGLOBAL block = TestAccess::makeDropFiles({L"C:\\a", L"", L"C:\\bc"});
    ASSERT_NE(block, nullptr);
    expectDropFiles(copyBlock(block), 20 + 10 + 2 + 12 + 2, std::wstring(L"C:\\a\0\0C:\\bc\0\0", 13));
    GlobalFree(block);
}

TEST_F(DropFilePublication, AnyApplicationReadsTheFileAndTheEffect)
{
    for (const std::uint32_t effect : {kMove, 5u, 0xFFFFFFFFu}) {
        EXPECT_TRUE(TestAccess::publish({kPath}, effect));
        expectDropFiles(readClipboard(CF_HDROP), 70, kPath + std::wstring(2, L'\0'));
        EXPECT_EQ(readAt<std::uint32_t>(readClipboard(effectFormat()), 0), effect);
        EXPECT_EQ(readClipboard(effectFormat()).size(), 4u);
        EXPECT_FALSE(IsClipboardFormatAvailable(CF_UNICODETEXT));  // what was there before
        EXPECT_EQ(GetClipboardOwner(), nullptr);
    }
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST_F(DropFilePublication, TheStepsFollowInTheirOrder)
{
    EXPECT_EQ(publishWith({}, true),
              (JournalEntries{"open", "empty", "alloc 70", "lock 70", "unlock 70", "set 15 70", "alloc 4", "lock 4",
                              "unlock 4", "set " + mEffect + " 4", "close"}));
}

TEST_F(DropFilePublication, AClipboardThatCantBeOpenedIsTriedOnceAndNothingIsLogged)
{
    Failing failing;
    failing.open = true;
    EXPECT_EQ(publishWith(failing, false), JournalEntries{"open"});
    EXPECT_TRUE(IsClipboardFormatAvailable(CF_UNICODETEXT));
}

TEST_F(DropFilePublication, WhileAnotherProcessHoldsTheClipboardItIsFalseAtOnce)
{
    const ClipboardHolder holder;
    ASSERT_TRUE(holder.holds());
    EXPECT_FALSE(TestAccess::publish({kPath}, kMove));
    EXPECT_TRUE(RecordingLog::messages().empty());
}

TEST_F(DropFilePublication, WithoutMemoryForTheListItIsFalseAndTheClipboardIsEmpty)
{
    Failing failing;
    failing.allocationOf = 70;
    EXPECT_EQ(publishWith(failing, false),
              (JournalEntries{"open", "empty", "alloc 70", "log 7 Failed to alloc drop file memory!", "close",
                              "free null", "log 7 Failed to set drop file clipboard data!"}));
    EXPECT_EQ(CountClipboardFormats(), 0);
}

TEST_F(DropFilePublication, ABlockThatCantBeLockedIsFreedInWordsThatStay)
{
    Failing failing;
    failing.lockOf = 70;
    EXPECT_EQ(
        publishWith(failing, false),
        (JournalEntries{"open", "empty", "alloc 70", "lock 70", "free 70", "log 7 Failed to free drop file memory!",
                        "close", "free null", "log 7 Failed to set drop file clipboard data!"}));
    EXPECT_EQ(CountClipboardFormats(), 0);
}

TEST_F(DropFilePublication, AListThatTheClipboardRefusesIsFreedAfterTheClosing)
{
    Failing failing;
    failing.setOf = CF_HDROP;
    EXPECT_EQ(publishWith(failing, false),
              (JournalEntries{"open", "empty", "alloc 70", "lock 70", "unlock 70", "set 15 70", "close", "free 70",
                              "log 7 Failed to set drop file clipboard data!"}));
    EXPECT_EQ(CountClipboardFormats(), 0);
}

TEST_F(DropFilePublication, WithoutMemoryForTheEffectTheListAloneIsASuccess)
{
    Failing failing;
    failing.allocationOf = 4;
    EXPECT_EQ(publishWith(failing, true),
              (JournalEntries{"open", "empty", "alloc 70", "lock 70", "unlock 70", "set 15 70", "alloc 4", "close"}));
    EXPECT_EQ(readClipboard(effectFormat()), "none");
    EXPECT_EQ(readClipboard(CF_HDROP).size(), 70u);
}

TEST_F(DropFilePublication, AnEffectThatCantBeLockedIsFreedAndTheListAloneIsASuccess)
{
    Failing failing;
    failing.lockOf = 4;
    EXPECT_EQ(publishWith(failing, true), (JournalEntries{"open", "empty", "alloc 70", "lock 70", "unlock 70",
                                                          "set 15 70", "alloc 4", "lock 4", "free 4", "close"}));
    EXPECT_EQ(readClipboard(effectFormat()), "none");
}

TEST_F(DropFilePublication, AFormatThatCantBeRegisteredFreesTheEffectAndIsASuccess)
{
    Failing failing;
    failing.registration = true;
    EXPECT_EQ(publishWith(failing, true),
              (JournalEntries{"open", "empty", "alloc 70", "lock 70", "unlock 70", "set 15 70", "alloc 4", "lock 4",
                              "unlock 4", "set 0 4", "free 4", "close"}));
    EXPECT_EQ(readClipboard(CF_HDROP).size(), 70u);
}

TEST_F(DropFilePublication, AnEffectThatTheClipboardRefusesIsFreedAndTheListAloneIsASuccess)
{
    Failing failing;
    failing.setOf = effectFormat();
    EXPECT_EQ(publishWith(failing, true),
              (JournalEntries{"open", "empty", "alloc 70", "lock 70", "unlock 70", "set 15 70", "alloc 4", "lock 4",
                              "unlock 4", "set " + mEffect + " 4", "free 4", "close"}));
    EXPECT_EQ(readClipboard(effectFormat()), "none");
}
