#include "crypto/Base64.h"

#include "tests/crypto/Bytes.h"

#include <memory>

#include <gtest/gtest.h>

namespace
{

/** @p count times the digits of 00 00 00, of which four stand for three bytes. */
std::string As(std::size_t count)
{
    return std::string(count, 'A');
}

struct EncodeCase
{
    const char* name;
    std::size_t zeros;
    std::string text;
};

class B64Encode : public testing::TestWithParam<EncodeCase>
{};

TEST_P(B64Encode, BreaksTheLineBehind76Characters)
{
    EXPECT_EQ(Norvik::b64Encode(Repeated(0x00, GetParam().zeros)), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(
    All, B64Encode,
    testing::Values(EncodeCase{"Nothing", 0, ""}, EncodeCase{"OneByte", 1, "AA=="},
                    EncodeCase{"TwoBytes", 2, "AAA="}, EncodeCase{"FullLineWithPadding", 56, As(75) + "="},
                    EncodeCase{"FullSecondLineWithPadding", 112, As(76) + "\r\n" + As(74) + "=="},
                    EncodeCase{"FullLine", 57, As(76) + "\r\n"},
                    EncodeCase{"OneByteMore", 58, As(76) + "\r\nAA=="},
                    EncodeCase{"TwoFullLines", 114, As(76) + "\r\n" + As(76) + "\r\n"}),
    [](const auto& row) { return row.param.name; });

struct VectorCase
{
    const char* name;
    const char* bytes;
    const char* text;
};

// RFC 4648, section 10, and one value with both characters beyond letters and digits.
const VectorCase kVectors[] = {
    {"f", "66", "Zg=="},
    {"fo", "66 6f", "Zm8="},
    {"foo", "66 6f 6f", "Zm9v"},
    {"foob", "66 6f 6f 62", "Zm9vYg=="},
    {"fooba", "66 6f 6f 62 61", "Zm9vYmE="},
    {"foobar", "66 6f 6f 62 61 72", "Zm9vYmFy"},
    {"PlusAndSlash", "fb ff bf", "+/+/"},
};

class B64Vectors : public testing::TestWithParam<VectorCase>
{};

TEST_P(B64Vectors, EncodesAndDecodes)
{
    EXPECT_EQ(Norvik::b64Encode(Bytes(GetParam().bytes)), GetParam().text);
    EXPECT_EQ(Norvik::b64Decode(std::string(GetParam().text)), Bytes(GetParam().bytes));
}

INSTANTIATE_TEST_SUITE_P(Rfc4648, B64Vectors, testing::ValuesIn(kVectors),
                         [](const auto& row) { return row.param.name; });

TEST(B64EncodeArray, EndsWithANul)
{
    const unsigned char bytes[] = {0x66, 0x6F};

    const std::unique_ptr<char[]> text(Norvik::b64Encode(bytes, 2));
    const std::unique_ptr<char[]> none(Norvik::b64Encode(bytes, 0));
    const std::unique_ptr<char[]> negative(Norvik::b64Encode(bytes, -1));

    EXPECT_STREQ(text.get(), "Zm8=");
    EXPECT_STREQ(none.get(), "");
    EXPECT_STREQ(negative.get(), "");
}

TEST(B64Decode, IgnoresBlanksAndLineEnds)
{
    EXPECT_EQ(Norvik::b64Decode(std::string(" Zm9\r\nv Ym\nFy \r\n")), Bytes("66 6f 6f 62 61 72"));
}

TEST(B64Decode, OfNothingIsEmpty)
{
    EXPECT_TRUE(Norvik::b64Decode(std::string()).empty());
    EXPECT_TRUE(Norvik::b64Decode(std::string(" \r\n")).empty());
}

TEST(B64Decode, OfOtherTextIsEmpty)
{
    EXPECT_TRUE(Norvik::b64Decode(std::string("!?!?")).empty());
}

TEST(B64Decode, TakesAWholeLongText)
{
    const Norvik::ByteArray bytes = Repeated(0x00, 60000);

    EXPECT_EQ(Norvik::b64Decode(std::string(80000, 'A')), bytes);
}

TEST(B64DecodeArray, GivesTheNumberOfBytes)
{
    unsigned long length = 99;
    unsigned long lengthOfNothing = 99;

    const std::unique_ptr<unsigned char[]> bytes(Norvik::b64Decode("Zm9v YmFy", length));
    const std::unique_ptr<unsigned char[]> nothing(Norvik::b64Decode("", lengthOfNothing));

    EXPECT_EQ(Norvik::ByteArray(bytes.get(), length), Bytes("66 6f 6f 62 61 72"));
    EXPECT_NE(nothing, nullptr);
    EXPECT_EQ(lengthOfNothing, 0U);
}

} // namespace
