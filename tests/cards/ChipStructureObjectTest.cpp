#include "cards/ChipStructureObject.h"

#include <array>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<unsigned char>;

constexpr std::array<unsigned char, 8> kName{0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07};

ChipStructureObject NamedDirectory()
{
    return {kName.data(), kName.size(), ChipStructureDF, 0x04};
}

Bytes BytesOf(const Norvik::ByteArray& buffer)
{
    return buffer;
}

TEST(ChipStructureObjectTest, DefaultObjectIsTheMasterFileWithoutIdentifier)
{
    const ChipStructureObject object;
    EXPECT_FALSE(object.IsOk());
    EXPECT_EQ(object.StructureType(), ChipStructureMF);
    EXPECT_TRUE(object.IsMF());
    EXPECT_FALSE(object.IsDF());
}

TEST(ChipStructureObjectTest, AcosFileIsSelectedByIdentifier)
{
    const ChipStructureObject file = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x70);
    EXPECT_TRUE(file.IsOk());
    EXPECT_TRUE(file.IsDF());
    EXPECT_EQ(BytesOf(file.GetSelect()), (Bytes{0x00, 0xA4, 0x00, 0x0C, 0x02, 0xDF, 0x70}));
}

TEST(ChipStructureObjectTest, ECardElementaryFileIsSelectedUnderTheCurrentDirectory)
{
    const ChipStructureObject file = ChipStructureObject::CreateECardEfSelect(0xC0, 0x02);
    EXPECT_EQ(file.StructureType(), ChipStructureEF);
    EXPECT_FALSE(file.IsDF());
    EXPECT_FALSE(file.IsMF());
    EXPECT_EQ(BytesOf(file.GetSelect()), (Bytes{0x00, 0xA4, 0x02, 0x0C, 0x02, 0xC0, 0x02}));
}

TEST(ChipStructureObjectTest, DirectoryIsSelectedByName)
{
    EXPECT_EQ(BytesOf(NamedDirectory().GetSelect()),
              (Bytes{0x00, 0xA4, 0x04, 0x0C, 0x08, 0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}));
}

TEST(ChipStructureObjectTest, SelectWithoutIdentifierHasLengthZero)
{
    EXPECT_EQ(BytesOf(ChipStructureObject().GetSelect()), (Bytes{0x00, 0xA4, 0x00, 0x0C, 0x00}));
}

TEST(ChipStructureObjectTest, ObjectKeepsACopyOfItsIdentifier)
{
    std::array<unsigned char, 2> id{0x3F, 0x00};
    const ChipStructureObject file(id.data(), id.size(), ChipStructureMF, 0x00);

    id.fill(0xEE);

    EXPECT_EQ(BytesOf(file.GetSelect()), (Bytes{0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00}));
}

TEST(ChipStructureObjectTest, ClearedObjectIsAnElementaryFileWithoutIdentifier)
{
    ChipStructureObject object = NamedDirectory();

    object.Clear();

    EXPECT_FALSE(object.IsOk());
    EXPECT_EQ(object.StructureType(), ChipStructureEF);
    EXPECT_EQ(BytesOf(object.ToBinary()), (Bytes{0x00, 0x01, 0x00}));
}

TEST(ChipStructureObjectTest, ObjectsAreEqualOnlyInAllThreeParts)
{
    const std::array<unsigned char, 2> id{0xC0, 0x02};
    const ChipStructureObject file(id.data(), id.size(), ChipStructureEF, 0x02);

    EXPECT_TRUE(file == ChipStructureObject::CreateECardEfSelect(0xC0, 0x02));
    EXPECT_TRUE(file != ChipStructureObject(id.data(), id.size(), ChipStructureEF, 0x00)) << "other P1";
    EXPECT_TRUE(file != ChipStructureObject(id.data(), id.size(), ChipStructureDF, 0x02)) << "other kind";
    EXPECT_TRUE(file != ChipStructureObject::CreateECardEfSelect(0xC0, 0x03)) << "other identifier";
    EXPECT_TRUE(file != ChipStructureObject(id.data(), 1, ChipStructureEF, 0x02)) << "shorter identifier";
}

TEST(ChipStructureObjectTest, ImageHoldsP1KindLengthAndIdentifier)
{
    EXPECT_EQ(BytesOf(NamedDirectory().ToBinary()),
              (Bytes{0x04, 0x00, 0x08, 0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}));
    EXPECT_EQ(BytesOf(ChipStructureObject::CreateECardEfSelect(0xC0, 0x02).ToBinary()),
              (Bytes{0x02, 0x01, 0x02, 0xC0, 0x02}));
}

struct ImageCase
{
    const char* name;
    Bytes image;
    bool bRead;
    Bytes imageAfterwards; ///< of an object that was a named directory before
};

class ChipStructureImage : public testing::TestWithParam<ImageCase>
{};

TEST_P(ChipStructureImage, IsReadAsFarAsItHolds)
{
    ChipStructureObject object = NamedDirectory();

    EXPECT_EQ(object.FromBinary(Norvik::ByteArray(GetParam().image)), GetParam().bRead);

    EXPECT_EQ(BytesOf(object.ToBinary()), GetParam().imageAfterwards);
}

const ImageCase kImageCases[] = {
    {"Complete", {0x02, 0x01, 0x02, 0xC0, 0x02}, true, {0x02, 0x01, 0x02, 0xC0, 0x02}},
    {"BytesBehindTheIdentifierAreIgnored",
     {0x00, 0x02, 0x02, 0x3F, 0x00, 0xEE},
     true,
     {0x00, 0x02, 0x02, 0x3F, 0x00}},
    {"EmptyIdentifierWithAByteBehind", {0x00, 0x02, 0x00, 0xEE}, true, {0x00, 0x02, 0x00}},
    {"EmptyIdentifierAloneIsRefused",
     {0x00, 0x01, 0x00},
     false,
     {0x04, 0x00, 0x08, 0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}},
    {"Nothing", {}, false, {0x04, 0x00, 0x08, 0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}},
    {"CutIdentifierLeavesP1AndKindOverwritten",
     {0x02, 0x01, 0x02, 0xDF},
     false,
     {0x02, 0x01, 0x08, 0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}},
    {"LargestLengthOnAShortImage",
     {0x00, 0x00, 0xFF, 0x01, 0x02},
     false,
     {0x00, 0x00, 0x08, 0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}},
    {"UnknownKindIsKept", {0x00, 0xFE, 0x01, 0x3F}, true, {0x00, 0xFE, 0x01, 0x3F}},
};

INSTANTIATE_TEST_SUITE_P(All, ChipStructureImage, testing::ValuesIn(kImageCases),
                         [](const auto& row) { return std::string(row.param.name); });

// The image of four bytes names two identifier bytes and has one.
TEST(ChipStructureObjectTest, RefusedImageHasAlreadyChangedP1AndKind)
{
    ChipStructureObject object = ChipStructureObject::CreateECardEfSelect(0xC0, 0x02);

    EXPECT_FALSE(object.FromBinary(Norvik::ByteArray(Bytes{0x04, 0x00, 0x02, 0xDF})));

    EXPECT_EQ(BytesOf(object.GetSelect()), (Bytes{0x00, 0xA4, 0x04, 0x0C, 0x02, 0xC0, 0x02}));
    EXPECT_TRUE(object.IsDF());
}

} // namespace
