#include "sd/clip/clipboard.h"

#include <gtest/gtest.h>

#include <type_traits>

#include "support/slot_number.h"

using namespace sd::clip;

TEST(Clipboard, FormatsHaveTheNumbersThatHostsKnow)
{
    EXPECT_EQ(sizeof(ClipboardFormat), 4u);
    EXPECT_EQ(static_cast<int>(ClipboardFormat::Text), 1);
    EXPECT_EQ(static_cast<int>(ClipboardFormat::Image), 2);
    EXPECT_EQ(static_cast<int>(ClipboardFormat::File), 6);
    EXPECT_EQ(static_cast<int>(ClipboardFormat::FileLazy), 8);
    EXPECT_EQ(static_cast<int>(ClipboardFormat::Richtext), 9);
}

TEST(Clipboard, InterfacesHoldNothingButTheirTable)
{
    EXPECT_EQ(sizeof(Clipboard), sizeof(void*));
    EXPECT_EQ(sizeof(ClipboardListener), sizeof(void*));
    EXPECT_EQ(sizeof(ClipboardData), sizeof(void*));
    EXPECT_TRUE(std::is_abstract<Clipboard>::value);
    EXPECT_TRUE(std::is_abstract<ClipboardListener>::value);
    EXPECT_TRUE(std::is_abstract<ClipboardData>::value);
}

#if defined(__GNUC__)

TEST(Clipboard, OperationsStandInTheOrderOfTheirSlots)
{
    int slot = 0;
    EXPECT_EQ(slotNumber(&Clipboard::Init), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::UnInit), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::Open), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::Close), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::SetFileClipboardSupported), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::SetListener), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::GetClipboardData), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::GetAvailableFormats), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::IsFormatAvailable), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::SetClipboardData), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::InitFileLazyRenderer), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::NotifyFileTransferFailed), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::NotifyFileLazyRenderingComplete), slot++);
    EXPECT_EQ(slotNumber(&Clipboard::SetSupportFileClipboardFullPostProcessMode), slot++);
}

TEST(ClipboardListener, OperationsStandInTheOrderOfTheirSlots)
{
    EXPECT_EQ(slotNumber(&ClipboardListener::OnClipboardFormats), 0);
    EXPECT_EQ(slotNumber(&ClipboardListener::OnClipboardEvent), 1);
}

TEST(ClipboardData, TheDestructorsStandBeforeTheFormat)
{
    EXPECT_EQ(slotNumber(&ClipboardData::GetFormat), 2);
    EXPECT_TRUE(std::has_virtual_destructor<ClipboardData>::value);
}

#endif
