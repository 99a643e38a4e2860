// clip-paste on a list of paths: it copies or moves as a file manager does, and loses nothing.
#include <gtest/gtest.h>
#include <shlobj.h>

#include <filesystem>
#include <fstream>
#include <iterator>

#include "example_support/utf8_arguments.h"
#include "paste_exit_codes.h"
#include "support/child_process.h"
#include "support/clipboard_owner.h"
#include "support/temporary_folder.h"

namespace fs = std::filesystem;

namespace {

constexpr DWORD kNoEffect = 0;
constexpr DWORD kCopyEffects = DROPEFFECT_COPY | DROPEFFECT_LINK;

std::string contentsOf(const std::wstring& path)
{
    std::ifstream file(fs::path(path), std::ios::binary);
    return file.is_open() ? std::string(std::istreambuf_iterator<char>(file), {}) : "there is no such file";
}

class LazyDropList : public testing::Test {
protected:
    static void putPaths(const std::vector<std::wstring>& paths, DWORD effect)
    {
        ClipboardOwner owner;
        owner.open();
        owner.addDropList(paths);
        if (effect != kNoEffect)
            owner.addBlock(RegisterClipboardFormatW(CFSTR_PREFERREDDROPEFFECT), &effect, sizeof effect);
        owner.close();
    }

    DWORD paste(std::vector<std::wstring> options = {})
    {
        options.insert(options.begin(), mTarget);
        ChildProcess child(L"clip-paste.exe", options);
        const DWORD code = child.waitForExit(60000);
        mOutput = child.output();
        return code;
    }

    void expectRefused(const std::vector<std::wstring>& paths)
    {
        putPaths(paths, DROPEFFECT_MOVE);
        EXPECT_EQ(paste(), kPasteFailed) << mOutput;
        EXPECT_NE(mOutput.find("refused, nothing is written"), std::string::npos) << mOutput;
        EXPECT_FALSE(fs::exists(mTarget));
        EXPECT_EQ(contentsOf(mFile), "12345");
    }

    TemporaryFolder mFolder;
    const std::wstring mFile = mFolder.addFile(L"from\\gr\u00FC\u00DFe.txt", "12345");
    const std::wstring mTree = mFolder.addFolder(L"from\\tree");
    const std::wstring mInside = mFolder.addFile(L"from\\tree\\sub\\inside.bin", std::string(200000, 'x'));
    const std::wstring mEmpty = mFolder.addFolder(L"from\\tree\\empty");
    const std::wstring mTarget = mFolder.path() + L"\\to\\deeper";
    std::string mOutput;
};

}  // namespace

TEST_F(LazyDropList, WithoutAnEffectOrWithThatOfCopiedFilesIsCopied)
{
    for (const DWORD effect : {kNoEffect, kCopyEffects}) {
        putPaths({mFile, mTree}, effect);
        EXPECT_EQ(paste(), kPasteWritten) << mOutput;
        EXPECT_NE(mOutput.find("wrote 2 files, 200005 bytes to " + toUtf8(mTarget)), std::string::npos) << mOutput;
        EXPECT_EQ(contentsOf(mTarget + L"\\gr\u00FC\u00DFe.txt"), "12345");
        EXPECT_EQ(contentsOf(mTarget + L"\\tree\\sub\\inside.bin"), std::string(200000, 'x'));
        EXPECT_TRUE(fs::is_directory(mTarget + L"\\tree\\empty"));
        EXPECT_EQ(contentsOf(mFile), "12345");
        EXPECT_EQ(contentsOf(mInside), std::string(200000, 'x'));
        fs::remove_all(mTarget);
    }
}

TEST_F(LazyDropList, OfCutFilesIsMoved)
{
    putPaths({mFile, mTree}, DROPEFFECT_MOVE);
    EXPECT_EQ(paste(), kPasteWritten) << mOutput;
    EXPECT_NE(mOutput.find("wrote 2 files, 200005 bytes to " + toUtf8(mTarget)), std::string::npos) << mOutput;
    EXPECT_EQ(contentsOf(mTarget + L"\\gr\u00FC\u00DFe.txt"), "12345");
    EXPECT_EQ(contentsOf(mTarget + L"\\tree\\sub\\inside.bin"), std::string(200000, 'x'));
    EXPECT_TRUE(fs::is_directory(mTarget + L"\\tree\\empty"));
    EXPECT_FALSE(fs::exists(mFile));
    EXPECT_FALSE(fs::exists(mTree));
}

TEST_F(LazyDropList, OfCutFilesIsMovedByRenameIfAskedFor)
{
    putPaths({mFile, mTree}, DROPEFFECT_MOVE);
    EXPECT_EQ(paste({L"--rename"}), kPasteWritten) << mOutput;
    EXPECT_NE(mOutput.find("wrote 2 files, 200005 bytes"), std::string::npos) << mOutput;
    EXPECT_EQ(contentsOf(mTarget + L"\\tree\\sub\\inside.bin"), std::string(200000, 'x'));
    EXPECT_FALSE(fs::exists(mFile));
    EXPECT_FALSE(fs::exists(mTree));
}

TEST_F(LazyDropList, OfCopiedFilesIsNeverMovedByRename)
{
    putPaths({mFile}, kCopyEffects);
    EXPECT_EQ(paste({L"--rename"}), kPasteWritten) << mOutput;
    EXPECT_EQ(contentsOf(mFile), "12345");
    EXPECT_EQ(contentsOf(mTarget + L"\\gr\u00FC\u00DFe.txt"), "12345");
}

TEST_F(LazyDropList, ReplacesNothingAndThenRemovesNothing)
{
    const std::wstring there = mFolder.addFile(L"to\\deeper\\gr\u00FC\u00DFe.txt", "precious");
    for (const auto& options : {std::vector<std::wstring>(), std::vector<std::wstring>{L"--rename"}}) {
        putPaths({mFile}, DROPEFFECT_MOVE);
        EXPECT_EQ(paste(options), kPasteFailed) << mOutput;
        EXPECT_NE(mOutput.find("wrote 0 files"), std::string::npos) << mOutput;
        EXPECT_EQ(contentsOf(there), "precious");
        EXPECT_EQ(contentsOf(mFile), "12345");
    }
}

TEST_F(LazyDropList, IntoTheFolderThatTheFilesLieInChangesNothing)
{
    putPaths({mFile, mTree}, DROPEFFECT_MOVE);
    ChildProcess child(L"clip-paste.exe", {mFolder.path() + L"\\from"});
    EXPECT_EQ(child.waitForExit(), kPasteFailed) << child.output();
    EXPECT_EQ(contentsOf(mFile), "12345");
    EXPECT_EQ(contentsOf(mInside), std::string(200000, 'x'));
}

TEST_F(LazyDropList, ThatLeadsOutOfTheTargetOrNowhereIsRefused)
{
    expectRefused({mFile, L"C:\\"});
    expectRefused({mFile, mTree + L"\\.."});
    expectRefused({mFile, mTree + L"\\"});
    expectRefused({mFile, mFolder.path() + L"\\missing.txt"});
    expectRefused({mFile, L"relative.txt"});
    expectRefused({mFile, mFolder.path()});
}

TEST_F(LazyDropList, OfAFolderIntoItselfIsRefusedInAnyLetters)
{
    std::wstring inside = mTree;
    CharUpperBuffW(inside.data(), static_cast<DWORD>(inside.size()));
    for (const std::wstring& target : {mTree, inside, inside + L"\\sub"}) {
        putPaths({mTree}, DROPEFFECT_MOVE);
        ChildProcess child(L"clip-paste.exe", {target});
        EXPECT_EQ(child.waitForExit(), kPasteFailed) << child.output();
        EXPECT_NE(child.output().find("cannot be pasted into itself"), std::string::npos) << child.output();
        EXPECT_EQ(contentsOf(mInside), std::string(200000, 'x'));
    }
}

TEST_F(LazyDropList, OfAPathBeyond260CharactersIsCopied)
{
    std::wstring folder = L"\\\\?\\" + mFolder.path();
    for (int i = 0; i < 6; ++i) {
        folder += L"\\" + std::wstring(60, L'a');
        ASSERT_TRUE(CreateDirectoryW(folder.c_str(), nullptr));
    }
    const std::wstring path = folder + L"\\deep.txt";
    ASSERT_TRUE(CopyFileW(mFile.c_str(), path.c_str(), TRUE));
    putPaths({path.substr(4)}, kCopyEffects);
    EXPECT_EQ(paste(), kPasteWritten) << mOutput;
    EXPECT_EQ(contentsOf(mTarget + L"\\deep.txt"), "12345");
}

TEST_F(LazyDropList, IsShownWithSizesIfAskedFor)
{
    putPaths({mFile, mTree}, DROPEFFECT_MOVE);
    ChildProcess child(L"clip-paste.exe", {L"--list"});
    EXPECT_EQ(child.waitForExit(), kPasteWritten);
    EXPECT_NE(child.output().find("5\tgr\xC3\xBC\xC3\x9F"
                                  "e.txt\n"),
              std::string::npos)
        << child.output();
    EXPECT_NE(child.output().find("directory\ttree\n"), std::string::npos) << child.output();
    EXPECT_NE(child.output().find("200000\ttree\\sub\\inside.bin\n"), std::string::npos) << child.output();
    EXPECT_EQ(contentsOf(mFile), "12345");
}

// The list of paths is what another program put beside its streams for programs that know no streams.
TEST_F(LazyDropList, BesideStreamsIsNotUsed)
{
    const UINT none = 0;
    ClipboardOwner owner;
    owner.open();
    owner.addDropList({mFile});
    owner.addBlock(RegisterClipboardFormatW(CFSTR_FILEDESCRIPTORW), &none, sizeof none);
    owner.close();
    EXPECT_EQ(paste(), kPasteFailed);
    EXPECT_NE(mOutput.find("the clipboard holds no files that can be pasted as streams"), std::string::npos) << mOutput;
    EXPECT_FALSE(fs::exists(mTarget));
}
