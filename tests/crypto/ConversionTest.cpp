#include "crypto/Conversion.h"

#include "tests/crypto/Bytes.h"

#include <limits>
#include <set>
#include <stdexcept>

#include <gtest/gtest.h>

namespace
{

using Norvik::ByteArray;

struct NullsCase
{
    const char* name;
    const char* before;
    unsigned long length;
    const char* after; ///< the first @p length bytes
};

class RemoveLeadingNulls : public testing::TestWithParam<NullsCase>
{};

TEST_P(RemoveLeadingNulls, MovesTheRestToTheFront)
{
    ByteArray bytes = Bytes(GetParam().before);
    unsigned long length = bytes.size();

    Norvik::RemoveLeadingNulls(bytes.data(), length);

    ASSERT_EQ(length, GetParam().length);
    bytes.resize(length);
    EXPECT_EQ(bytes, Bytes(GetParam().after));
}

INSTANTIATE_TEST_SUITE_P(All, RemoveLeadingNulls,
                         testing::Values(NullsCase{"None", "01 00 02", 3, "01 00 02"},
                                         NullsCase{"Two", "00 00 01 00", 2, "01 00"},
                                         NullsCase{"Only", "00 00 00", 0, ""}, NullsCase{"Empty", "", 0, ""}),
                         [](const auto& row) { return row.param.name; });

struct DecimalCase
{
    const char* name;
    const char* bytes;
    const char* text;
};

class Bin2DecStr : public testing::TestWithParam<DecimalCase>
{};

TEST_P(Bin2DecStr, WritesTheNumberInDecimal)
{
    const ByteArray bytes = Bytes(GetParam().bytes);
    const std::string expected = GetParam().text;
    std::vector<char> output(expected.size() + 1, 'x');

    EXPECT_EQ(Norvik::bin2decStr(bytes.data(), bytes.size(), output.data()), expected.size());
    EXPECT_STREQ(output.data(), expected.c_str());
}

INSTANTIATE_TEST_SUITE_P(
    All, Bin2DecStr,
    testing::Values(DecimalCase{"LargestByte", "FF", "255"}, DecimalCase{"Zero", "00", "0"},
                    DecimalCase{"ManyZeros", "00 00 00 00", "0"}, DecimalCase{"Nine", "09", "9"},
                    DecimalCase{"LeadingZero", "00 0A", "10"}, DecimalCase{"TwoBytes", "FF FF", "65535"},
                    DecimalCase{"SixteenBytes", "FFFFFFFFFFFFFFFFFFFFFFFFFFFFFFFF",
                                "340282366920938463463374607431768211455"}),
    [](const auto& row) { return row.param.name; });

TEST(Bin2DecStrOfNothing, IsAllOnes)
{
    const unsigned char byte = 1;
    char output[] = "x";

    EXPECT_EQ(Norvik::bin2decStr(nullptr, 1, output), std::numeric_limits<unsigned long>::max());
    EXPECT_EQ(Norvik::bin2decStr(&byte, 0, output), std::numeric_limits<unsigned long>::max());
    EXPECT_STREQ(output, "x");
}

struct SubStrCase
{
    const char* name;
    const char* text;
    std::size_t start;
    std::size_t count;
    int value;
};

class SubStrToInt : public testing::TestWithParam<SubStrCase>
{};

TEST_P(SubStrToInt, ReadsAtMostFourDigits)
{
    EXPECT_EQ(Norvik::SubStrToInt(GetParam().text, GetParam().start, GetParam().count), GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    All, SubStrToInt,
    testing::Values(SubStrCase{"Middle", "20210315", 4, 2, 3}, SubStrCase{"Four", "20210315", 0, 4, 2021},
                    SubStrCase{"FiveAreTooMany", "20210315", 0, 5, 0}, SubStrCase{"None", "2021", 0, 0, 0},
                    SubStrCase{"CutByTheEnd", "2021", 3, 2, 1}, SubStrCase{"AtTheEnd", "2021", 4, 2, 0},
                    SubStrCase{"PastTheEnd", "2021", 100, 2, 0}, SubStrCase{"Letters", "ab", 0, 2, 0},
                    SubStrCase{"EndsAtALetter", "1Z", 0, 2, 1}, SubStrCase{"Octal", "08", 0, 2, 8}),
    [](const auto& row) { return row.param.name; });

TEST(BinData2HexStr, IsUpperCaseWithoutSeparator)
{
    std::string text = "before";

    EXPECT_EQ(Norvik::BinData2HexStr(Bytes("00 0a ff"), text), 6U);
    EXPECT_EQ(text, "000AFF");
}

TEST(BinData2HexStr, OfNoBytesIsEmpty)
{
    std::string text = "before";

    EXPECT_EQ(Norvik::BinData2HexStr({}, text), 0U);
    EXPECT_EQ(text, "");
}

struct ArrayCase
{
    const char* name;
    unsigned long capacity;
    long result;
    unsigned long capacityAfter;
    const char* output; ///< all eight characters or bytes of it
};

class BinData2HexStrArray : public testing::TestWithParam<ArrayCase>
{};

TEST_P(BinData2HexStrArray, FollowsTheCapacity)
{
    const unsigned char bytes[] = {0x0A, 0xFF};
    char output[9] = "xxxxxxxx";
    unsigned long capacity = GetParam().capacity;

    EXPECT_EQ(Norvik::BinData2HexStr(bytes, 2, output, capacity), GetParam().result);
    EXPECT_EQ(capacity, GetParam().capacityAfter);
    EXPECT_STREQ(output, GetParam().output);
}

INSTANTIATE_TEST_SUITE_P(All, BinData2HexStrArray,
                         testing::Values(ArrayCase{"Size", 0, 4, 0, "xxxxxxxx"},
                                         ArrayCase{"TooSmall", 3, -1, 3, "xxxxxxxx"},
                                         ArrayCase{"Exact", 4, 4, 4, "0AFFxxxx"},
                                         ArrayCase{"Ample", 8, 4, 4, "0AFFxxxx"}),
                         [](const auto& row) { return row.param.name; });

class HexStr2BinDataArray : public testing::TestWithParam<ArrayCase>
{};

TEST_P(HexStr2BinDataArray, FollowsTheCapacity)
{
    unsigned char output[9] = "xxxxxxxx";
    unsigned long capacity = GetParam().capacity;

    EXPECT_EQ(Norvik::HexStr2BinData("414243", 6, output, capacity), GetParam().result);
    EXPECT_EQ(capacity, GetParam().capacityAfter);
    EXPECT_EQ(ByteArray(output, 8), ByteArray(std::string(GetParam().output)));
}

INSTANTIATE_TEST_SUITE_P(All, HexStr2BinDataArray,
                         testing::Values(ArrayCase{"Size", 0, 3, 0, "xxxxxxxx"},
                                         ArrayCase{"TooSmall", 2, -1, 2, "xxxxxxxx"},
                                         ArrayCase{"Exact", 3, 3, 3, "ABCxxxxx"},
                                         ArrayCase{"Ample", 8, 3, 3, "ABCxxxxx"}),
                         [](const auto& row) { return row.param.name; });

TEST(HexArrays, WithoutAnOutputFail)
{
    const unsigned char byte = 0x41;
    unsigned long capacity = 8;

    EXPECT_EQ(Norvik::BinData2HexStr(&byte, 1, nullptr, capacity), -1);
    EXPECT_EQ(Norvik::HexStr2BinData("41", 2, nullptr, capacity), -1);
    EXPECT_EQ(capacity, 8U);
}

TEST(HexStr2BinData, AppendsUpperAndLowerCaseDigits)
{
    std::vector<unsigned char> bytes = {0x99};

    EXPECT_EQ(Norvik::HexStr2BinData("2aFf00", bytes), 4U);
    EXPECT_EQ(bytes, (std::vector<unsigned char>{0x99, 0x2A, 0xFF, 0x00}));
}

TEST(HexStr2BinData, ReadsWhatIsNoDigitLikeStrtol)
{
    std::vector<unsigned char> bytes;

    Norvik::HexStr2BinData("zz1z-1", bytes);

    EXPECT_EQ(bytes, (std::vector<unsigned char>{0x00, 0x01, 0xFF}));
}

TEST(HexStr2BinData, OfAnOddLengthIsOutOfRange)
{
    std::vector<unsigned char> bytes;

    EXPECT_THROW(Norvik::HexStr2BinData("414", bytes), std::out_of_range);
}

TEST(HexStr2BinData, OfNoTextAddsNothing)
{
    std::vector<unsigned char> bytes;

    EXPECT_EQ(Norvik::HexStr2BinData("", bytes), 0U);
    EXPECT_TRUE(bytes.empty());
}

TEST(HexStr2BinData, OfATextReturnsItsBytes)
{
    EXPECT_EQ(Norvik::HexStr2BinData("26123456"), (std::vector<unsigned char>{0x26, 0x12, 0x34, 0x56}));
}

TEST(Hex2Int, ReadsBase16)
{
    EXPECT_EQ(Norvik::hex2int("2a"), 42);
    EXPECT_EQ(Norvik::hex2int("FF"), 255);
    EXPECT_EQ(Norvik::hex2int("0x10"), 16);
    EXPECT_EQ(Norvik::hex2int("xyz"), 0);
}

TEST(BinaryText, IsWrittenWithoutLeadingZeros)
{
    EXPECT_EQ(Norvik::int2bin(0), "0");
    EXPECT_EQ(Norvik::int2bin(10), "1010");
    EXPECT_EQ(Norvik::int2bin(0xFFFFFFFF), "11111111111111111111111111111111");
}

TEST(BinaryText, IsReadUpToTheFirstOtherCharacter)
{
    EXPECT_EQ(Norvik::bin2int("1010"), 10U);
    EXPECT_EQ(Norvik::bin2int("0112"), 3U);
    EXPECT_EQ(Norvik::bin2int(""), 0U);
    EXPECT_EQ(Norvik::bin2int("11111111111111111111111111111111"), 0xFFFFFFFFU);
}

TEST(BinaryText, IsTurnedIntoDecimal)
{
    EXPECT_EQ(Norvik::bin2dec("11111111"), "255");
    EXPECT_EQ(Norvik::int2str(4294967295U), "4294967295");
    EXPECT_EQ(Norvik::int2str(0), "0");
}

TEST(CharacterClasses, AreThoseOfAscii)
{
    int digits = 0;
    int letters = 0;
    for (int character = 0; character < 256; ++character)
    {
        digits += Norvik::isdigit(static_cast<char>(character)) ? 1 : 0;
        letters += Norvik::isalpha(static_cast<char>(character)) ? 1 : 0;
    }

    EXPECT_EQ(digits, 10);
    EXPECT_EQ(letters, 52);
    EXPECT_TRUE(Norvik::isdigit('0') && Norvik::isdigit('9'));
    EXPECT_TRUE(Norvik::isalpha('A') && Norvik::isalpha('Z') && Norvik::isalpha('a') && Norvik::isalpha('z'));
}

TEST(ReverseBytes, ReversesInPlace)
{
    ByteArray bytes = Bytes("01 02 03");

    Norvik::ReverseBytes(bytes.data(), bytes.size());
    Norvik::ReverseBytes(nullptr, 0);

    EXPECT_EQ(bytes, Bytes("03 02 01"));
}

TEST(SwitchEndian, SwapsTheFourLowBytes)
{
    EXPECT_EQ(Norvik::SwitchEndian(0x11223344), 0x44332211UL);
    EXPECT_EQ(Norvik::SwitchEndian(0xAABBCCDD11223344), 0x44332211UL);
    EXPECT_EQ(Norvik::SwitchEndian(0x000000FF), 0xFF000000UL);
}

TEST(GenerateRandomString, HasTenCharactersUnlessToldOtherwise)
{
    EXPECT_EQ(Norvik::GenerateRandomString().size(), 10U);
    EXPECT_EQ(Norvik::GenerateRandomString(3).size(), 3U);
    EXPECT_EQ(Norvik::GenerateRandomString(0), "");
    EXPECT_EQ(Norvik::GenerateRandomString(-1), "");
}

TEST(GenerateRandomString, UsesEveryLetterAndDigitButZero)
{
    const std::string text = Norvik::GenerateRandomString(10000);
    const std::set<char> used(text.begin(), text.end());
    const std::string alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz123456789";

    EXPECT_EQ(used, std::set<char>(alphabet.begin(), alphabet.end()));
}

struct FindCase
{
    const char* name;
    const char* haystack;
    const char* needle;
    long start;
    long offset;
};

class MyMemfind : public testing::TestWithParam<FindCase>
{};

TEST_P(MyMemfind, FindsTheFirstMatchFromItsStart)
{
    const ByteArray haystack{std::string(GetParam().haystack)};
    const ByteArray needle{std::string(GetParam().needle)};

    EXPECT_EQ(Norvik::MyMemfind(haystack.data(), static_cast<long>(haystack.size()), needle.data(),
                                static_cast<long>(needle.size()), GetParam().start),
              GetParam().offset);
}

INSTANTIATE_TEST_SUITE_P(
    All, MyMemfind,
    testing::Values(FindCase{"First", "abcabc", "bc", 0, 1}, FindCase{"Second", "abcabc", "bc", 2, 4},
                    FindCase{"AtItsStart", "abcabc", "bc", 4, 4},
                    FindCase{"NegativeStart", "abcabc", "abc", -7, 0}, FindCase{"Whole", "abc", "abc", 0, 0},
                    FindCase{"None", "abc", "x", 0, -1}, FindCase{"FirstByteAlone", "aab", "ac", 0, -1},
                    FindCase{"CutByTheEnd", "xxab", "abc", 0, -1}, FindCase{"TooLong", "ab", "abc", 0, -1},
                    FindCase{"LongerThanTheRest", "abcabc", "abc", 4, -1},
                    FindCase{"StartAtTheEnd", "abc", "a", 3, -1},
                    FindCase{"StartPastTheEnd", "abc", "a", 9, -1}, FindCase{"EmptyNeedle", "abc", "", 0, -1},
                    FindCase{"EmptyHaystack", "", "a", 0, -1}),
    [](const auto& row) { return row.param.name; });

TEST(MyMemfindWithNegativeLengths, FindsNothing)
{
    const unsigned char bytes[] = {'a'};

    EXPECT_EQ(Norvik::MyMemfind(bytes, -1, bytes, 1, 0), -1);
    EXPECT_EQ(Norvik::MyMemfind(bytes, 1, bytes, -1, 0), -1);
    EXPECT_EQ(Norvik::MyMemfind(bytes, 1, bytes, 1, std::numeric_limits<long>::min()), 0);
}

} // namespace
