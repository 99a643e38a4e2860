#include <gtest/gtest.h>

#include <atomic>
#include <memory>
#include <thread>

#include "sd/clip/clipboard_data.h"

using namespace sd::clip;

namespace {

constexpr int kTurns = 2000;

// A record whose target another thread replaces again and again, as the landings of a placeholder do.
class TargetDataThreads : public testing::Test {
protected:
    ~TargetDataThreads() override
    {
        endLandings();
    }

    void beginLandings()
    {
        mLandings = std::thread([this] {
            for (int i = 0; !mEnds; ++i) {
                mRecord.SetTargetClipboardData(i % 2 == 0 ? mFirst : mSecond);
                mHasBegun = true;
            }
        });
        while (!mHasBegun)
            std::this_thread::yield();
    }

    void endLandings()
    {
        mEnds = true;
        if (mLandings.joinable())
            mLandings.join();
    }

    bool isLanding(const std::shared_ptr<ClipboardFileData>& target) const
    {
        return target == mFirst || target == mSecond;
    }

    const std::shared_ptr<ClipboardFileData> mFirst = ClipboardFileData::Create();
    const std::shared_ptr<ClipboardFileData> mSecond = ClipboardFileData::Create();
    ClipboardFileDataExImpl mRecord;

private:
    std::atomic<bool> mHasBegun{false};
    std::atomic<bool> mEnds{false};
    std::thread mLandings;
};

TEST_F(TargetDataThreads, ARecordIsCopiedWhileItsTargetIsReplaced)
{
    beginLandings();
    for (int i = 0; i < kTurns; ++i) {
        ClipboardFileDataExImpl copy(mRecord);
        ASSERT_TRUE(isLanding(copy.GetTargetClipboardData()));
    }
    endLandings();
}

TEST_F(TargetDataThreads, ARecordIsAssignedWhileItsTargetIsReplaced)
{
    ClipboardFileDataExImpl assigned;
    beginLandings();
    for (int i = 0; i < kTurns; ++i) {
        assigned = mRecord;
        ASSERT_TRUE(isLanding(assigned.GetTargetClipboardData()));
    }
    endLandings();
}

TEST_F(TargetDataThreads, ARecordTakesAnAssignmentWhileItsTargetIsReplaced)
{
    const auto assignedTarget = ClipboardFileData::Create();
    ClipboardFileDataExImpl source;
    source.SetTargetClipboardData(assignedTarget);
    beginLandings();
    for (int i = 0; i < kTurns; ++i) {
        mRecord = source;
        const auto target = mRecord.GetTargetClipboardData();
        ASSERT_TRUE(target == assignedTarget || isLanding(target));
    }
    endLandings();
    mRecord = source;
    EXPECT_EQ(mRecord.GetTargetClipboardData(), assignedTarget);
    // What was replaced was let go: this test, the source and the record hold the target.
    EXPECT_EQ(assignedTarget.use_count(), 3);
    EXPECT_EQ(mFirst.use_count(), 1);
    EXPECT_EQ(mSecond.use_count(), 1);
}

TEST_F(TargetDataThreads, ARecordIsAssignedToItselfWhileItsTargetIsReplaced)
{
    const ClipboardFileDataExImpl& same = mRecord;
    beginLandings();
    for (int i = 0; i < kTurns; ++i) {
        mRecord = same;
        ASSERT_TRUE(isLanding(mRecord.GetTargetClipboardData()));
    }
    endLandings();
}

// What a copy of a record holds beside its target.
ClipfileDescription makeFile()
{
    ClipfileDescription file;
    file.fileName = "a.txt";
    return file;
}

TEST(TargetDataCopies, CarryFilesFunctionsAndTarget)
{
    const auto target = ClipboardFileData::Create();
    ClipboardFileDataExImpl record;
    record.SetFiles({makeFile()});
    record.SetFileFuncs([](const ClipfileDescription& file, const FileDataRequestCallback&) { return file.fileName; },
                        [](const ClipfileDescription&) {});
    record.SetFileLazyRenderingCallback([](const std::shared_ptr<ClipboardFileDataEx>&) { return 7; });
    record.SetTargetClipboardData(target);
    record.SetTransferredSize(5);

    const auto expectWhole = [&target](ClipboardFileDataExImpl& copy) {
        ASSERT_EQ(copy.GetFiles().size(), 1U);
        EXPECT_EQ(copy.GetFiles()[0].fileName, "a.txt");
        EXPECT_EQ(copy.GetFileRequestFunc()(makeFile(), nullptr), "a.txt");
        EXPECT_TRUE(copy.GetFileCancelFunc());
        ASSERT_TRUE(copy.GetFileLazyRenderingCallback());
        EXPECT_EQ(copy.GetFileLazyRenderingCallback()(nullptr), 7);
        EXPECT_EQ(copy.GetTargetClipboardData(), target);
        EXPECT_EQ(copy.GetTransferredSize(), 5U);
    };
    ClipboardFileDataExImpl copy(record);
    expectWhole(copy);
    ClipboardFileDataExImpl assigned;
    EXPECT_EQ(&(assigned = record), &assigned);
    expectWhole(assigned);
    const ClipboardFileDataExImpl& same = assigned;
    assigned = same;  // nothing is lost
    expectWhole(assigned);
}

}  // namespace
