// One landing among thousands of files that have nothing to do with it.
#include <atomic>
#include <cstddef>
#include <cstdio>
#include <cstring>
#include <thread>
#include <vector>

#include "example_support/utf8_arguments.h"
#include "lazy_test.h"
#include "support/recording_log.h"

namespace {

constexpr int kFilesOfStorm = 20000;
constexpr int kFilesOfFolder = 500;   // a file costs more the more its folder holds
constexpr DWORD kBufferSize = 16384;  // bytes, as the library's watchers have it

// A reader of drive C of the test's own, with the buffer size and the flags of the library's watchers. It tells what
// the system reports of a file, whatever becomes of it in the library.
class OwnReader {
public:
    explicit OwnReader(const std::wstring& path)
        : mName(path.substr(3)),  // without the root
          mDirectory(CreateFileW(L"C:\\", FILE_LIST_DIRECTORY, FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE,
                                 nullptr, OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OVERLAPPED, nullptr)),
          mStop(CreateEventW(nullptr, TRUE, FALSE, nullptr)),
          mThread([this] { readUntilStopped(); })
    {
        WaitForSingleObject(mStarted, INFINITE);
    }
    ~OwnReader()
    {
        SetEvent(mStop);
        mThread.join();
        CloseHandle(mStop);
        CloseHandle(mStarted);
        CloseHandle(mDirectory);
    }
    OwnReader(const OwnReader&) = delete;
    OwnReader& operator=(const OwnReader&) = delete;

    bool isFileReported() const
    {
        return mIsFileReported;
    }
    int overflows() const
    {
        return mOverflows;
    }

private:
    void readUntilStopped()
    {
        std::vector<unsigned char> buffer(kBufferSize);
        const HANDLE done = CreateEventW(nullptr, FALSE, FALSE, nullptr);
        const HANDLE awaited[] = {done, mStop};
        OVERLAPPED read = {};
        DWORD bytes = 0;
        for (;;) {
            read = {};
            read.hEvent = done;
            ReadDirectoryChangesW(mDirectory, buffer.data(), kBufferSize, TRUE, FILE_NOTIFY_CHANGE_FILE_NAME, nullptr,
                                  &read, nullptr);
            SetEvent(mStarted);
            if (WaitForMultipleObjects(2, awaited, FALSE, INFINITE) != WAIT_OBJECT_0)
                break;
            if (!GetOverlappedResult(mDirectory, &read, &bytes, FALSE))
                continue;
            mOverflows += bytes == 0 ? 1 : 0;
            look(buffer.data(), bytes);
        }
        CancelIoEx(mDirectory, &read);
        GetOverlappedResult(mDirectory, &read, &bytes, TRUE);
        CloseHandle(done);
    }

    void look(const unsigned char* next, DWORD bytes)
    {
        constexpr std::size_t kHeader = offsetof(FILE_NOTIFY_INFORMATION, FileName);
        const unsigned char* const end = next + bytes;
        while (next + kHeader <= end) {
            DWORD head[3] = {};  // offset of the next record, action, bytes of the name
            std::memcpy(head, next, sizeof head);
            std::wstring name(head[2] / sizeof(wchar_t), L'\0');
            std::memcpy(name.data(), next + kHeader, head[2]);
            if (head[1] == FILE_ACTION_ADDED && name == mName)
                mIsFileReported = true;
            if (head[0] == 0)
                return;
            next += head[0];
        }
    }

    const std::wstring mName;
    const HANDLE mDirectory;
    const HANDLE mStop;
    const HANDLE mStarted = CreateEventW(nullptr, TRUE, FALSE, nullptr);
    std::atomic<bool> mIsFileReported{false};
    std::atomic<int> mOverflows{0};
    std::thread mThread;
};

class LazyStorm : public LazyTest {
protected:
    // Makes that many files below the folder, and the one file when half of them are made.
    static void makeFiles(const std::wstring& folder, int count, const std::wstring& between)
    {
        for (int i = 0; i < count; ++i) {
            const std::wstring sub = folder + L"\\" + std::to_wstring(i / kFilesOfFolder);
            if (i % kFilesOfFolder == 0)
                CreateDirectoryW(sub.c_str(), nullptr);
            makeEmptyFile(sub + L"\\file" + std::to_wstring(i));
            if (i == count / 2)
                makeEmptyFile(between);
        }
    }
};

}  // namespace

TEST_F(LazyStorm, OfTwentyThousandFilesHidesALandingOnlyWhereTheSystemDoesOrTheLastRecordIsPassedOver)
{
    const std::wstring folder = mFolder.addFolder(L"pasted");
    const auto list = arm();
    const std::wstring landed = folder + L"\\" + placeholderName();
    settle(L'C');
    {
        const OwnReader reader(landed);
        makeFiles(mFolder.addFolder(L"storm"), kFilesOfStorm, landed);
        settle(L'C');
        EXPECT_TRUE(waitUntil([&] { return reader.isFileReported() || reader.overflows() > 0; }));
    }
    const auto noticed = mReads.find(landed);
    const char* const outcome = !noticed                   ? "lost by the system"
                                : noticed->isLastOfSeveral ? "the last of several records"
                                                           : "seen";
    std::printf("the landing is %s; reads of several records: %d, overflows: %d\n", outcome,
                mReads.countReadsOfSeveral(L'C'), mReads.countOverflows(L'C'));
    EXPECT_TRUE(noticed || mReads.countOverflows(L'C') > 0);
    const bool mustBeTold = noticed && !noticed->isLastOfSeveral;
    EXPECT_EQ(list->landings().size(), mustBeTold ? 1U : 0U);
    EXPECT_EQ(fileExists(landed), !mustBeTold);
    // After it all is well.
    DeleteFileW(landed.c_str());
    const std::size_t before = list->landings().size();
    landIn(folder);
    expectLanded(*list, before + 1, folder);
}

TEST_F(LazyStorm, OnOneDriveHidesNothingOnTheOther)
{
    const auto list = arm();
    std::thread storm([this] { makeFiles(mFolder.addFolder(L"storm"), 4000, mFolder.path() + L"\\between"); });
    for (std::size_t i = 1; i <= 10; ++i) {
        landIn(mOther.path());
        expectLanded(*list, i, mOther.path());
    }
    storm.join();
}
