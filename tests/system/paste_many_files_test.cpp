// A list of thousands of small files, pasted by another program. Much is done for one paste, and on a busy machine it
// takes its time: so all of it is done before the first test, and each test looks at one side of it.
#include "host_process.h"

namespace {

constexpr int kFiles = 5000;
constexpr int kFolders = 50;

struct ManyFiles : HostProcess {
    ManyFiles()
    {
        for (int i = 0; i < kFiles; ++i)
            addGuestFile(L"d" + std::to_wstring(i % kFolders) + L"\\" + std::to_wstring(i) + L".txt",
                         static_cast<std::size_t>(i % 300));
        startHost({});
        exitCode = paste(L"target");
    }

    DWORD exitCode;
};

class PasteManyFiles : public testing::Test {
protected:
    static void SetUpTestSuite()
    {
        sRun = new ManyFiles;
    }
    static void TearDownTestSuite()
    {
        delete sRun;
    }

    static ManyFiles* sRun;
};

ManyFiles* PasteManyFiles::sRun = nullptr;

}  // namespace

TEST_F(PasteManyFiles, AreAllWritten)
{
    EXPECT_EQ(sRun->exitCode, kPasteWritten);
    EXPECT_NE(sRun->mOutput.find("wrote 5000 files, 737500 bytes to "), std::string::npos) << sRun->mOutput;
}

TEST_F(PasteManyFiles, ArriveWhole)
{
    sRun->expectPasted(L"target");
}

TEST_F(PasteManyFiles, AreAskedForOnceAndReportedOneByOne)
{
    EXPECT_TRUE(sRun->waitForHost("delivered 5000 files, 737500 bytes\n"));
    EXPECT_EQ(sRun->countInHostOutput("request: "), 1);
    EXPECT_EQ(sRun->countInHostOutput("cancel: "), 0);
    EXPECT_EQ(sRun->countInHostOutput("event: operation=\"transferFinish\""), kFiles);
    EXPECT_GE(sRun->countInHostOutput("event: operation=\"endClipboardFile\""), 1);
}
