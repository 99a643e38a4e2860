#include "data_object/descriptor_size.h"

#include <gtest/gtest.h>

using sd::clip::DescriptorBlockSize;

TEST(DescriptorSize, AnEmptyListHasItsCountAlone)
{
    EXPECT_EQ(DescriptorBlockSize(0), 4u);
}

TEST(DescriptorSize, EachEntryAddsOneDescriptor)
{
    EXPECT_EQ(DescriptorBlockSize(1), 596u);
    EXPECT_EQ(DescriptorBlockSize(2), 596u + 592u);
    EXPECT_EQ(DescriptorBlockSize(100000), 4u + 100000u * 592u);
}

TEST(DescriptorSize, TheLongestListThatFitsIsTheLast)
{
    EXPECT_EQ(DescriptorBlockSize(7255012), 4294967108u);
    EXPECT_EQ(DescriptorBlockSize(7255013), std::nullopt);
}

TEST(DescriptorSize, NoCountComesOutTooSmallByWrapping)
{
    EXPECT_EQ(DescriptorBlockSize(0xFFFFFFFF), std::nullopt);
    EXPECT_EQ(DescriptorBlockSize(0x100000000), std::nullopt);
    EXPECT_EQ(DescriptorBlockSize(0x100000001), std::nullopt);
    EXPECT_EQ(DescriptorBlockSize(0xFFFFFFFFFFFFFFFF), std::nullopt);
}
