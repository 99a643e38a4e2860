#include "file_utilities/detail_file_description.h"

#include <gtest/gtest.h>

#include <type_traits>
#include <utility>

namespace sd::clip {
namespace {

TEST(DetailFileDescription, KnowsNoAttributesAtFirst)
{
    const DetailFileDescription description;
    EXPECT_EQ(0xFFFFFFFFu, description.attributes);
    EXPECT_EQ(0, description.mode);
    EXPECT_EQ(0u, description.size);
    EXPECT_EQ(0, description.createTime);
    EXPECT_EQ(0, description.accessTime);
    EXPECT_EQ(0, description.writeTime);
    EXPECT_EQ("", description.root);
    EXPECT_EQ("", description.relativePath);
    EXPECT_EQ("", description.fileName);
}

TEST(DetailFileDescription, CopiesADescriptionMemberByMember)
{
    ClipfileDescription source;
    source.root = "C:\\dir";
    source.relativePath = "sub";
    source.fileName = "a.txt";
    source.attributes = 0x20;
    source.mode = 0x81B6;
    source.size = 5000000000;
    source.createTime = 1;
    source.accessTime = 2;
    source.writeTime = 3;

    const DetailFileDescription copy(source);
    EXPECT_EQ("C:\\dir", copy.root);
    EXPECT_EQ("sub", copy.relativePath);
    EXPECT_EQ("a.txt", copy.fileName);
    EXPECT_EQ(0x20u, copy.attributes);
    EXPECT_EQ(0x81B6, copy.mode);
    EXPECT_EQ(5000000000u, copy.size);
    EXPECT_EQ(1, copy.createTime);
    EXPECT_EQ(2, copy.accessTime);
    EXPECT_EQ(3, copy.writeTime);
}

TEST(DetailFileDescription, AddsNothingToWhatItDescribes)
{
    EXPECT_EQ(sizeof(ClipfileDescription), sizeof(DetailFileDescription));
}

TEST(DetailFileDescription, IsMovedWhenAListGrows)
{
    EXPECT_TRUE(std::is_nothrow_move_constructible_v<DetailFileDescription>);
}

}  // namespace
}  // namespace sd::clip
