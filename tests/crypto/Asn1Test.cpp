#include "crypto/Asn1.h"

#include "tests/crypto/Bytes.h"

#include <gtest/gtest.h>

namespace
{

struct LengthCase
{
    const char* name;
    const char* bytes;
    unsigned long length;
    int position;
};

class GetLen : public testing::TestWithParam<LengthCase>
{};

TEST_P(GetLen, ReadsTheThreeForms)
{
    const Norvik::ByteArray bytes = Bytes(GetParam().bytes);
    int position = 0;

    EXPECT_EQ(Norvik::getLen(bytes.data(), position), GetParam().length);
    EXPECT_EQ(position, GetParam().position);
}

INSTANTIATE_TEST_SUITE_P(All, GetLen,
                         testing::Values(LengthCase{"Zero", "00", 0, 1}, LengthCase{"Short", "7F", 127, 1},
                                         LengthCase{"IndefiniteIsANumber", "80", 128, 1},
                                         LengthCase{"OneByte", "81 FF", 255, 2},
                                         LengthCase{"TwoBytes", "82 12 34", 0x1234, 3},
                                         LengthCase{"LargestTwoBytes", "82 FF FF", 65535, 3},
                                         LengthCase{"ThreeBytesIsANumber", "83 01 02 03", 0x83, 1},
                                         LengthCase{"Largest", "FF", 255, 1}),
                         [](const auto& row) { return row.param.name; });

TEST(GetLenPosition, IsWhereReadingStarts)
{
    const Norvik::ByteArray bytes = Bytes("30 81 05");
    int position = 1;

    EXPECT_EQ(Norvik::getLen(bytes.data(), position), 5U);
    EXPECT_EQ(position, 3);
}

struct TagCase
{
    const char* name;
    unsigned char tag;
    int type;
};

class ParseValue : public testing::TestWithParam<TagCase>
{};

TEST_P(ParseValue, ReadsTheTagsThatItKnows)
{
    const Norvik::ByteArray bytes = {
        std::vector<unsigned char>{0x99, GetParam().tag, 0x81, 0x03, 'a', 'b', 'c', 'd'}};
    int position = 1;
    auto type = static_cast<Norvik::eASN1Type>(0);
    unsigned char output[8] = {};
    unsigned long length = 0;

    ASSERT_TRUE(Norvik::parseValue(bytes.data(), position, type, output, length));

    EXPECT_EQ(static_cast<int>(type), GetParam().type);
    EXPECT_EQ(length, 3U);
    EXPECT_EQ(Norvik::ByteArray(output, 4), Bytes("61 62 63 00"));
    EXPECT_EQ(position, 7);
}

INSTANTIATE_TEST_SUITE_P(All, ParseValue,
                         testing::Values(TagCase{"OctetString", 0x04, 1}, TagCase{"NumericString", 0x12, 2},
                                         TagCase{"GeneralizedTime", 0x18, 3}, TagCase{"Utf8String", 0x0C, 4},
                                         TagCase{"Integer", 0x02, 5}, TagCase{"PrintableString", 0x13, 6}),
                         [](const auto& row) { return row.param.name; });

TEST(ParseValueOfAnotherTag, TouchesNothing)
{
    for (const unsigned char tag : Bytes("03 05 06 17 30 31"))
    {
        const unsigned char bytes[] = {tag, 0x01, 0xFF};
        int position = 0;
        auto type = Norvik::eAsn1Integer;
        unsigned char output[1] = {0x55};
        unsigned long length = 77;

        EXPECT_FALSE(Norvik::parseValue(bytes, position, type, output, length));

        EXPECT_EQ(position, 0);
        EXPECT_EQ(type, Norvik::eAsn1Integer);
        EXPECT_EQ(output[0], 0x55);
        EXPECT_EQ(length, 77U);
    }
}

struct BitStringCase
{
    const char* name;
    const char* bytes; ///< from the length on
    unsigned long capacity;
    bool bRead;
    int position;
    unsigned long length;
    const char* output; ///< all eight bytes of it
};

class ReadBitString : public testing::TestWithParam<BitStringCase>
{};

TEST_P(ReadBitString, FollowsCapacityAndUnusedBits)
{
    const Norvik::ByteArray bytes = Bytes(GetParam().bytes);
    int position = 0;
    unsigned char output[8] = {0x55, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55, 0x55};
    unsigned long length = GetParam().capacity;

    EXPECT_EQ(Norvik::ReadBitString(bytes.data(), position, output, length), GetParam().bRead);

    EXPECT_EQ(position, GetParam().position);
    EXPECT_EQ(length, GetParam().length);
    EXPECT_EQ(Norvik::ByteArray(output, 8), Bytes(GetParam().output));
}

// The buffers end with the value, so that a sanitizer sees every byte read behind it.
INSTANTIATE_TEST_SUITE_P(
    All, ReadBitString,
    testing::Values(
        BitStringCase{"NoUnusedBits", "04 00 A1 A2 A3", 8, true, 5, 3, "A1 A2 A3 55 55 55 55 55"},
        BitStringCase{"NoBits", "01 00", 8, true, 2, 0, "55 55 55 55 55 55 55 55"},
        BitStringCase{"FitsExactly", "04 00 A1 A2 A3", 4, true, 5, 3, "A1 A2 A3 55 55 55 55 55"},
        BitStringCase{"DoesNotFit", "04 00 A1 A2 A3", 3, false, 5, 3, "55 55 55 55 55 55 55 55"},
        BitStringCase{"UnusedBits", "03 04 A1 A0", 8, false, 4, 2, "55 55 55 55 55 55 55 55"},
        BitStringCase{"UnusedBitsAsLength81", "04 81 00 A1 A2", 8, true, 5, 2, "00 A1 55 55 55 55 55 55"},
        BitStringCase{"UnusedBitsAsLength82", "05 82 00 00 A1 A2", 8, true, 6, 2, "00 00 55 55 55 55 55 55"},
        BitStringCase{"UnusedBitsAsLength82NotNull", "04 82 01 00 A1", 8, false, 5, 1,
                      "55 55 55 55 55 55 55 55"},
        BitStringCase{"EmptyValue", "00", 8, false, 1, 8, "55 55 55 55 55 55 55 55"},
        BitStringCase{"PrefixPastTheValue81", "01 81", 8, false, 2, 8, "55 55 55 55 55 55 55 55"},
        BitStringCase{"PrefixPastTheValue82", "02 82 00", 8, false, 3, 8, "55 55 55 55 55 55 55 55"},
        BitStringCase{"PrefixPastTheCapacity", "02 82 00", 2, false, 3, 2, "55 55 55 55 55 55 55 55"},
        BitStringCase{"NoCapacity", "01 00", 0, false, 2, 0, "55 55 55 55 55 55 55 55"}),
    [](const auto& row) { return row.param.name; });

TEST(ReadUtf8String, ReturnsTheValueAndMovesBehindIt)
{
    const Norvik::ByteArray bytes = Bytes("0C 03 C3 BC 41 FF");
    int position = 1;

    EXPECT_EQ(Norvik::ReadUtf8String(bytes.data(), position), "\xC3\xBC"
                                                              "A");
    EXPECT_EQ(position, 5);
}

TEST(ReadUtf8String, StopsAtANulAndStillMovesBehindTheValue)
{
    const Norvik::ByteArray bytes = Bytes("04 41 00 42 43");
    int position = 0;

    EXPECT_EQ(Norvik::ReadUtf8String(bytes.data(), position), "A");
    EXPECT_EQ(position, 5);
}

TEST(ReadUtf8String, OfNoBytesIsEmpty)
{
    const Norvik::ByteArray bytes = Bytes("00");
    int position = 0;

    EXPECT_EQ(Norvik::ReadUtf8String(bytes.data(), position), "");
    EXPECT_EQ(position, 1);
}

struct OidCase
{
    const char* name;
    const char* bytes;
    char separator;
    const char* text;
};

class Oid2Str : public testing::TestWithParam<OidCase>
{};

TEST_P(Oid2Str, WritesEachByteAsANumber)
{
    const Norvik::ByteArray bytes = Bytes(GetParam().bytes);

    EXPECT_EQ(Norvik::OID2Str(bytes.data(), bytes.size(), GetParam().separator), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(All, Oid2Str,
                         testing::Values(OidCase{"BasicConstraints", "55 1D 13", '.', "2.5.29.19"},
                                         OidCase{"ArcsAreNotMerged", "2A 86 48", '.', "1.2.134.72"},
                                         OidCase{"OneByte", "2A", '.', "1.2"},
                                         OidCase{"OtherSeparator", "55 1D", ' ', "2 5 29"},
                                         OidCase{"NoBytes", "", '.', ""}),
                         [](const auto& row) { return row.param.name; });

} // namespace
