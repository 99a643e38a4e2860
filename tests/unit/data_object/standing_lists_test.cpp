// Which files of the cache are slices that an application may still read.
#include "data_object/standing_lists.h"

#include <gtest/gtest.h>

#include "data_object/file_request.h"
#include "data_object/slice_path.h"
#include "guest_list.h"

using namespace sd::clip;

namespace {

std::wstring sliceName(const std::string& key, int index = 0)
{
    const std::string name = MakeSlicePath("", key, index);
    return {name.begin(), name.end()};
}

bool isStanding(const std::wstring& fileName)
{
    return StandingLists::Instance().OwnSlice(fileName);
}

// A data object with a list, with the reference of its creation.
class StandingObject {
public:
    explicit StandingObject(std::shared_ptr<ClipboardData> record)
    {
        mObject->SetClipboardData(std::move(record));
    }
    ~StandingObject()
    {
        mObject->Release();
    }
    StandingObject(const StandingObject&) = delete;
    StandingObject& operator=(const StandingObject&) = delete;

    std::shared_ptr<FileRequest> request() const
    {
        return mObject->GetRequest();
    }

private:
    ClipDataObject* const mObject = new ClipDataObject;
};

class StandingListsTest : public testing::Test {
protected:
    GuestList mGuest{{10, 20}};
};

}  // namespace

TEST_F(StandingListsTest, SlicesOfAListStandAsLongAsItsObjectLives)
{
    EXPECT_FALSE(isStanding(sliceName("file0")));
    {
        const StandingObject object(mGuest.record);
        EXPECT_TRUE(isStanding(sliceName("file0")));
        EXPECT_TRUE(isStanding(sliceName("file1", 17)));
        EXPECT_FALSE(isStanding(sliceName("file2")));
        EXPECT_FALSE(isStanding(L"report.txt.12345678"));
    }
    EXPECT_FALSE(isStanding(sliceName("file0")));
}

TEST_F(StandingListsTest, ASinkThatOutlivesTheObjectKeepsNoSlices)
{
    std::shared_ptr<FileRequest> kept;
    {
        const StandingObject object(mGuest.record);
        kept = object.request();
        EXPECT_TRUE(isStanding(sliceName("file0")));
    }
    EXPECT_FALSE(isStanding(sliceName("file0")));
}

TEST_F(StandingListsTest, OfTwoListsTheSlicesOfBothStand)
{
    const GuestList other({1, 1, 1});
    const StandingObject object(mGuest.record);
    {
        const StandingObject second(other.record);
        EXPECT_TRUE(isStanding(sliceName("file2")));
    }
    EXPECT_FALSE(isStanding(sliceName("file2")));
    EXPECT_TRUE(isStanding(sliceName("file0")));
}

// Its application may go on reading what has come.
TEST_F(StandingListsTest, ACancelledListsSlicesStandAsLongAsItsObjectLives)
{
    const StandingObject object(mGuest.record);
    bool rejected = false;
    ASSERT_TRUE(object.request()->startRequestFileData(mGuest.files[0], rejected));
    mGuest.deliver(0, "0123456789");
    object.request()->CancelRemoteTransfer();
    EXPECT_TRUE(isStanding(sliceName("file0")));
    EXPECT_FALSE(isStanding(sliceName("file1")));
}

TEST_F(StandingListsTest, ARecordOfAnotherKindHasNoSlices)
{
    const StandingObject object(ClipboardRichtextData::Create());
    const StandingObject empty(nullptr);
    EXPECT_FALSE(isStanding(sliceName("file0")));
}
