// One drive can't be watched, or no longer: the others are, with real watchers. Those of a test go on after it, on a
// renderer of its own that is never destroyed.
#include <gtest/gtest.h>
#include <windows.h>

#include <atomic>

#include "support/clipboard_owner.h"
#include "support/import_hook.h"
#include "support/platform_function.h"
#include "watching_host.h"

using namespace sd::clip;

namespace {

using Strings = std::vector<std::string>;

const auto gRealVolume = findInKernel32<decltype(&GetVolumeInformationW)>("GetVolumeInformationW");
const auto gRealOpen = findInKernel32<decltype(&CreateFileW)>("CreateFileW");
const auto gRealRead = findInKernel32<decltype(&ReadDirectoryChangesW)>("ReadDirectoryChangesW");

std::wstring gFailingRoot;  // such as "C:\"
std::atomic<HANDLE> gFailingDirectory{nullptr};

BOOL WINAPI failForOneVolume(LPCWSTR root, LPWSTR name, DWORD nameUnits, LPDWORD serial, LPDWORD component,
                             LPDWORD flags, LPWSTR system, DWORD systemUnits)
{
    if (root != gFailingRoot)
        return gRealVolume(root, name, nameUnits, serial, component, flags, system, systemUnits);
    SetLastError(ERROR_NOT_READY);
    return FALSE;
}

HANDLE WINAPI noteOneDirectory(LPCWSTR path, DWORD access, DWORD share, LPSECURITY_ATTRIBUTES security,
                               DWORD disposition, DWORD flags, HANDLE templateFile)
{
    const HANDLE opened = gRealOpen(path, access, share, security, disposition, flags, templateFile);
    if (path == gFailingRoot)
        gFailingDirectory = opened;
    return opened;
}

BOOL WINAPI failForOneDirectory(HANDLE directory, LPVOID buffer, DWORD size, BOOL subtree, DWORD filter, LPDWORD bytes,
                                LPOVERLAPPED read, LPOVERLAPPED_COMPLETION_ROUTINE routine)
{
    HANDLE failing = directory;
    if (!gFailingDirectory.compare_exchange_strong(failing, nullptr))  // the number may be another drive's later
        return gRealRead(directory, buffer, size, subtree, filter, bytes, read, routine);
    SetLastError(ERROR_INVALID_FUNCTION);
    return FALSE;
}

// The parameter is the drive that fails.
class FailedWatcher : public testing::TestWithParam<wchar_t> {
protected:
    FailedWatcher()
    {
        gFailingRoot = {GetParam(), L':', L'\\'};
        gFailingDirectory = nullptr;
    }
    ~FailedWatcher() override
    {
        TestAccess::arm(mRenderer, nullptr, "");
        ClipboardOwner().putNothing();
    }

    // @param message the line with which the failing drive's watcher ends
    void startWatching(const std::string& message)
    {
        EXPECT_TRUE(mRenderer.Init(mFolder.utf8Path() + "\\cache\\"));
        ASSERT_TRUE(RecordingLog::waitForLine(7, message, 30000));
        EXPECT_EQ(RecordingLog::messages(7).size(), 1u);
        ASSERT_TRUE(mRenderer.PrepareFileLazyRendering(makeGuestRecord({"a.txt"}, mLandings.callback())));
    }

    // Twice: a watcher that ends after its read has told of one.
    void expectLandingsOnTheOtherDriveOnly()
    {
        const std::wstring failing = {GetParam(), L':'};
        const std::wstring watched = GetParam() == L'C' ? L"D:" : L"C:";
        const std::wstring name = L"a.txt." + Utf8ToWide(TestAccess::suffix(mRenderer));
        const std::wstring source = mFolder.path() + L"\\cache\\" + name;
        const std::wstring unseen = failing + L"\\" + name;
        ASSERT_TRUE(CopyFileW(source.c_str(), unseen.c_str(), FALSE));
        EXPECT_TRUE(pasteUntilReported(mLandings, source, watched, name));
        EXPECT_TRUE(pasteUntilReported(mLandings, source, watched, name));
        EXPECT_EQ(mLandings.roots(), Strings(2, WideToUtf8(watched)));
        EXPECT_TRUE(DeleteFileW(unseen.c_str()));  // a landing would have taken it away
    }

    FileClipboardLazyRenderer& mRenderer = *new FileClipboardLazyRenderer;
    TemporaryFolder mFolder;
    ReportedLandings mLandings;
};

INSTANTIATE_TEST_SUITE_P(OfDrive, FailedWatcher, testing::Values(L'C', L'D'));

}  // namespace

TEST_P(FailedWatcher, ADriveWithoutAVolumeKeepsNoOtherFromBeingWatched)
{
    const ImportHook<decltype(&GetVolumeInformationW)> hook(nullptr, "GetVolumeInformationW", &failForOneVolume);
    startWatching("Drive: " + WideToUtf8(gFailingRoot) + "\tVolume Name: Could not determine, error 21");
    expectLandingsOnTheOtherDriveOnly();
}

TEST_P(FailedWatcher, ADriveWhoseReadFailsEndsNoOtherWatcher)
{
    const ImportHook<decltype(&CreateFileW)> opening(nullptr, "CreateFileW", &noteOneDirectory);
    const ImportHook<decltype(&ReadDirectoryChangesW)> reading(nullptr, "ReadDirectoryChangesW", &failForOneDirectory);
    startWatching("Failed to monitor drive directory changes - 1");
    expectLandingsOnTheOtherDriveOnly();
}
