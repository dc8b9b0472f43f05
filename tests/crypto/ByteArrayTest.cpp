#include "crypto/ByteArray.h"

#include <limits>
#include <stdexcept>

#include <gtest/gtest.h>

using Norvik::ByteArray;

namespace
{

TEST(ByteArray, IsEmptyWithoutStorageAfterConstruction)
{
    const ByteArray bytes;

    EXPECT_TRUE(bytes.empty());
    EXPECT_EQ(bytes.capacity(), 0U);
}

TEST(ByteArray, CopiesTheBytesOfAnArray)
{
    unsigned char source[] = {0x01, 0x00, 0xFF};

    const ByteArray bytes(source, sizeof(source));
    source[0] = 0x77;

    EXPECT_EQ(bytes, (std::vector<unsigned char>{0x01, 0x00, 0xFF}));
}

TEST(ByteArray, OfLengthZeroDoesNotReadItsSource)
{
    EXPECT_TRUE(ByteArray(nullptr, 0).empty());
}

TEST(ByteArray, TakesEveryCharOfATextAndNoTerminator)
{
    EXPECT_EQ(ByteArray(std::string("1\0\xFC", 3)), (std::vector<unsigned char>{0x31, 0x00, 0xFC}));
}

TEST(ByteArray, TakesTwoBytesOfEachWideCharacterLowByteFirst)
{
    EXPECT_EQ(ByteArray(std::wstring(L"A\u20AC")), (std::vector<unsigned char>{0x41, 0x00, 0xAC, 0x20}));
}

TEST(ByteArray, DropsTheHighBitsOfAWideCharacter)
{
    EXPECT_EQ(ByteArray(std::wstring(1, static_cast<wchar_t>(0x1F600))),
              (std::vector<unsigned char>{0x00, 0xF6}));
}

TEST(ByteArray, ComparesSizeAndContent)
{
    const ByteArray bytes(std::string("abc"));

    EXPECT_TRUE(bytes == bytes);
    EXPECT_TRUE(bytes == ByteArray(std::string("abc")));
    EXPECT_TRUE(bytes != ByteArray(std::string("abd")));
    EXPECT_TRUE(bytes != ByteArray(std::string("ab")));
    const ByteArray nothing;
    EXPECT_TRUE(nothing == ByteArray(nullptr, 0));
}

TEST(ByteArrayAdd, AppendsAtTheEnd)
{
    ByteArray bytes(std::string("ab"));
    const unsigned char more[] = {'c', 'd'};

    bytes.Add(more, sizeof(more));

    EXPECT_EQ(bytes, ByteArray(std::string("abcd")));
}

TEST(ByteArrayAdd, OfLengthZeroChangesNothing)
{
    ByteArray bytes(std::string("ab"));

    bytes.Add(nullptr, 0);

    EXPECT_EQ(bytes, ByteArray(std::string("ab")));
}

TEST(ByteArrayAdd, GrowsByTheLargerOfOldSizeAndLength)
{
    const unsigned char more[5] = {};
    ByteArray shortOne(std::string("ab"));
    ByteArray longOne(std::string("abcdefgh"));

    shortOne.Add(more, 5);
    longOne.Add(more, 1);

    EXPECT_EQ(shortOne.capacity(), 7U);
    EXPECT_EQ(longOne.capacity(), 16U);
}

TEST(ByteArrayAdd, PastTheAddressRangeIsALengthError)
{
    ByteArray bytes(std::string("ab"));
    const unsigned char byte = 0;

    EXPECT_THROW(bytes.Add(&byte, std::numeric_limits<unsigned long>::max()), std::length_error);
    EXPECT_EQ(bytes, ByteArray(std::string("ab")));
}

struct HexCase
{
    const char* name;
    unsigned short flags;
    const char* text;
};

class ByteArrayToHexString : public testing::TestWithParam<HexCase>
{};

TEST_P(ByteArrayToHexString, FollowsTheFlags)
{
    const unsigned char source[] = {0x0A, 0xFF};

    EXPECT_EQ(ByteArray(source, 2).ToHexString(GetParam().flags), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, ByteArrayToHexString,
    testing::Values(HexCase{"None", 0, "0a ff"}, HexCase{"Upper", ByteArray::UPPERCASE, "0A FF"},
                    HexCase{"NotSpaced", ByteArray::NOT_SPACED, "0aff"},
                    HexCase{"Both", ByteArray::NOT_SPACED | ByteArray::UPPERCASE, "0AFF"}),
    [](const auto& row) { return row.param.name; });

TEST(ByteArrayHexText, OfOneByteIsTwoDigits)
{
    EXPECT_EQ(ByteArray(std::string("\n")).ToHexString(0), "0a");
}

TEST(ByteArrayHexText, OfAnEmptyBufferIsOutOfRange)
{
    EXPECT_THROW(static_cast<void>(ByteArray().ToHexString(0)), std::out_of_range);
    EXPECT_THROW(static_cast<void>(ByteArray().ToHexString(ByteArray::NOT_SPACED)), std::out_of_range);
}

} // namespace
