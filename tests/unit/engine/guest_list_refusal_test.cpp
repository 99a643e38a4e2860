// A hostile guest's list never reaches the clipboard, on either route, and leaves what was there in place.
#include <gtest/gtest.h>
#include <ole2.h>

#include "../data_object/guest_list.h"
#include "data_object/file_request.h"
#include "engine_access.h"
#include "support/clipboard_owner.h"
#include "support/recording_log.h"

using namespace sd::clip;

namespace {

class GuestListRefusal : public testing::Test {
protected:
    GuestListRefusal()
    {
        OleInitialize(nullptr);
        mEngine->SetClipboardData(ClipboardFormat::File, mGuest.record);
        mGuest.listener->clear();
        RecordingLog::clear();
    }
    ~GuestListRefusal() override
    {
        ClipboardOwner().putNothing();
        OleUninitialize();
    }

    // The second entry of an otherwise honest list.
    static std::shared_ptr<ClipboardFileDataExImpl> listWith(const std::string& fileName, std::uint64_t size)
    {
        auto record = std::make_shared<ClipboardFileDataExImpl>();
        std::vector<ClipfileDescription> files(2);
        files[0].fileName = "honest.txt";
        files[1].fileName = fileName;
        files[1].size = size;
        record->SetFiles(files);
        return record;
    }

    const std::shared_ptr<ClipboardImpl> mEngine = ClipboardImpl::instance();
    GuestList mGuest{{10, 20}};
};

}  // namespace

TEST_F(GuestListRefusal, AnEscapingNameLeavesTheEarlierListOnTheClipboard)
{
    ClipDataObject* const before = TestAccess::notedObject(*mEngine);
    ASSERT_NE(before, nullptr);
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, listWith("..\\..\\startup.exe", 1)));
    EXPECT_EQ(TestAccess::notedObject(*mEngine), before);
    EXPECT_EQ(TestAccess::clipData(*mEngine), mGuest.record);
    EXPECT_EQ(RecordingLog::count(6, "Refuse guest file list, entry 1: its name leads to a parent folder"), 1);
    EXPECT_EQ(RecordingLog::messages(6).size(), 1u);
    EXPECT_FALSE(RecordingLog::hasLine(5, "Empty OLE Clipboard data"));
    EXPECT_TRUE(mGuest.listener->events().empty());
}

TEST_F(GuestListRefusal, ANameThatDoesNotFitTheDescriptorIsRefused)
{
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, listWith(std::string(260, 'a'), 1)));
    EXPECT_EQ(RecordingLog::count(6, "Refuse guest file list, entry 1: its name is too long"), 1);
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, listWith(std::string(259, 'a'), 1)));
}

TEST_F(GuestListRefusal, SizesThatWrapAreRefused)
{
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, listWith("a", UINT64_MAX)));
    EXPECT_EQ(RecordingLog::count(6, "Refuse guest file list, entry 1: its size is too large"), 1);
    EXPECT_TRUE(mGuest.listener->events().empty());
}

TEST_F(GuestListRefusal, TheGatesComeBeforeTheNamesAreLookedAt)
{
    mEngine->SetFileClipboardSupported(false);
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, listWith("..", 1)));
    mEngine->SetFileClipboardSupported(true);
    EXPECT_TRUE(RecordingLog::messages(6).empty());
    ASSERT_EQ(mGuest.listener->events().size(), 1u);
    EXPECT_EQ(mGuest.listener->events()[0].message, "received guest file list but guest not support");
}

TEST_F(GuestListRefusal, TheGateOfARunningTransferComesBeforeTheNamesToo)
{
    bool rejected = false;
    const auto request = TestAccess::notedObject(*mEngine)->GetRequest();
    ASSERT_TRUE(request->startRequestFileData(mGuest.files[0], rejected));
    mGuest.listener->clear();
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, listWith("..\\a", 1)));
    EXPECT_EQ(RecordingLog::messages(6),
              std::vector<std::string>{"not support set clipboard when file is transfering"});
    ASSERT_EQ(mGuest.listener->events().size(), 1u);
    EXPECT_EQ(mGuest.listener->events()[0].message, "received guest file list when some file is transferring, ignore");
}

TEST_F(GuestListRefusal, TheLazyRouteRefusesAfterItsFirstLine)
{
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::FileLazy, listWith("C:\\a", 1)));
    EXPECT_EQ(RecordingLog::messages(5),
              (std::vector<std::string>{"Enter", "Use file lazy renderer to handle file clipboard data"}));
    EXPECT_EQ(RecordingLog::messages(6),
              (std::vector<std::string>{"Refuse guest file list, entry 1: its name begins with a drive"}));
    EXPECT_TRUE(RecordingLog::messages(7).empty());
    EXPECT_TRUE(mGuest.listener->events().empty());
}

// No descriptor is made of its names.
TEST_F(GuestListRefusal, OnTheLazyRouteSizesCountAndLongNamesDoNot)
{
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::FileLazy, listWith("a", UINT64_MAX)));
    EXPECT_EQ(RecordingLog::count(6, "Refuse guest file list, entry 1: its size is too large"), 1);
    RecordingLog::clear();
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::FileLazy, listWith(std::string(260, 'a'), 1)));
    EXPECT_FALSE(RecordingLog::hasLine(6, "Refuse guest file list"));
}

TEST_F(GuestListRefusal, ATerminatorAtTheEndOfANameIsHonest)
{
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, listWith(std::string("a.txt\0", 6), 1)));
}

TEST_F(GuestListRefusal, AnHonestListAfterARefusedOneIsTaken)
{
    EXPECT_FALSE(mEngine->SetClipboardData(ClipboardFormat::File, listWith("..", 1)));
    EXPECT_TRUE(mEngine->SetClipboardData(ClipboardFormat::File, listWith("honest too.txt", 1)));
}
