#include "cards/Apdu.h"

#include "tests/support/FreedSecretWatch.h"

#include <stdexcept>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using Bytes = std::vector<unsigned char>;

Bytes BytesOf(const Norvik::ByteArray& buffer)
{
    return buffer;
}

TEST(ApduTest, DefaultCommandIsEmpty)
{
    EXPECT_TRUE(Apdu().empty());
}

TEST(ApduTest, FourByteHeaderStandsInWireOrder)
{
    EXPECT_EQ(BytesOf(Apdu(0x00, 0xA4, 0x04, 0x0C)), (Bytes{0x00, 0xA4, 0x04, 0x0C}));
}

TEST(ApduTest, FifthByteIsTakenAsGiven)
{
    EXPECT_EQ(BytesOf(Apdu(0x00, 0xB0, 0x01, 0x02, 0xFF)), (Bytes{0x00, 0xB0, 0x01, 0x02, 0xFF}));
}

TEST(ApduTest, SelectByNameHasThirteenBytes)
{
    const Bytes name{0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07};
    Apdu command(0x00, 0xA4, 0x04, 0x0C);

    command.Append(static_cast<unsigned char>(8));
    command.Append(Norvik::ByteArray(name));

    EXPECT_EQ(BytesOf(command),
              (Bytes{0x00, 0xA4, 0x04, 0x0C, 0x08, 0xD0, 0x01, 0x02, 0x03, 0x04, 0x05, 0x06, 0x07}));
}

TEST(ApduTest, AppendTakesTheGivenNumberOfBytes)
{
    const unsigned char data[] = {1, 2, 3};
    Apdu command;

    command.Append(data, 2);

    EXPECT_EQ(BytesOf(command), (Bytes{1, 2}));
}

TEST(ApduTest, AppendOfNothingOrLessChangesNothing)
{
    const unsigned char data[] = {1, 2, 3};
    Apdu command(1, 2, 3, 4);

    command.Append(data, 0);
    command.Append(data, -1);
    command.Append(Norvik::ByteArray());

    EXPECT_EQ(BytesOf(command), (Bytes{1, 2, 3, 4}));
}

TEST(ApduTest, AppendOfItsOwnBytesDoublesThem)
{
    Apdu command(1, 2, 3, 4);

    command.Append(command.data(), 4);

    EXPECT_EQ(BytesOf(command), (Bytes{1, 2, 3, 4, 1, 2, 3, 4}));
}

TEST(ApduTest, CommandsCompareByTheirBytes)
{
    EXPECT_TRUE(Apdu(0, 1, 2, 3, 4) == Apdu(0, 1, 2, 3, 4));
    EXPECT_TRUE(Apdu(0, 1, 2, 3) != Apdu(0, 1, 2, 3, 4));
}

TEST(ApduTest, CopyIsIndependentOfItsSource)
{
    const Apdu source(0, 1, 2, 3);
    Apdu copy = source;

    copy.SetP1(9);

    EXPECT_EQ(BytesOf(source), (Bytes{0, 1, 2, 3}));
    EXPECT_EQ(BytesOf(copy), (Bytes{0, 1, 9, 3}));
}

TEST(ApduTest, ClearRemovesTheHeaderToo)
{
    Apdu command(0, 1, 2, 3, 4);
    command.Clear();
    EXPECT_TRUE(command.empty());
}

struct ParameterCase
{
    const char* name;
    Bytes before;
    Bytes afterSetP1;
    Bytes afterSetP2;
};

class ApduParameter : public testing::TestWithParam<ParameterCase>
{};

TEST_P(ApduParameter, IsOverwrittenOnlyWhereTheCommandHasOne)
{
    const Norvik::ByteArray before(GetParam().before);
    Apdu first;
    first.Append(before);
    Apdu second = first;

    first.SetP1(0xEE);
    second.SetP2(0xEE);

    EXPECT_EQ(BytesOf(first), GetParam().afterSetP1);
    EXPECT_EQ(BytesOf(second), GetParam().afterSetP2);
}

const ParameterCase kParameterCases[] = {
    {"Empty", {}, {}, {}},
    {"TwoBytes", {1, 2}, {1, 2}, {1, 2}},
    {"ThreeBytes", {1, 2, 3}, {1, 2, 0xEE}, {1, 2, 3}},
    {"FourBytes", {1, 2, 3, 4}, {1, 2, 0xEE, 4}, {1, 2, 3, 0xEE}},
    {"FiveBytes", {1, 2, 3, 4, 5}, {1, 2, 0xEE, 4, 5}, {1, 2, 3, 0xEE, 5}},
};

INSTANTIATE_TEST_SUITE_P(All, ApduParameter, testing::ValuesIn(kParameterCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ApduTest, RemoveDataAndLengthOfAnEmptyCommandGivesFourZeros)
{
    Apdu command;
    command.RemoveDataAndLength();
    EXPECT_EQ(BytesOf(command), (Bytes{0, 0, 0, 0}));
}

TEST(ApduTest, RemoveDataAndLengthDropsTheFifthByte)
{
    Apdu command(1, 2, 3, 4, 5);
    command.RemoveDataAndLength();
    EXPECT_EQ(BytesOf(command), (Bytes{1, 2, 3, 4}));
}

TEST(ApduTest, RemoveDataAndLengthFillsUpWhatIsMissing)
{
    Apdu command;
    command.Append(static_cast<unsigned char>(0xD6));
    command.RemoveDataAndLength();
    EXPECT_EQ(BytesOf(command), (Bytes{0xD6, 0, 0, 0}));
}

TEST(ApduTest, PaddedDataIsFilledUpWithZeros)
{
    Apdu command;
    command.AppendAndPad(Norvik::ByteArray(std::string("1234")), 8);
    EXPECT_EQ(BytesOf(command), (Bytes{0x31, 0x32, 0x33, 0x34, 0, 0, 0, 0}));
}

TEST(ApduTest, PaddedDataOfTheWholeWidthStaysAsItIs)
{
    Apdu command;
    command.AppendAndPad(Norvik::ByteArray(std::string("12345678")), 8);
    EXPECT_EQ(BytesOf(command), (Bytes{0x31, 0x32, 0x33, 0x34, 0x35, 0x36, 0x37, 0x38}));
}

TEST(ApduTest, PaddedDataOfNothingIsAllZeros)
{
    Apdu command;
    command.AppendAndPad(Norvik::ByteArray(), 3);
    EXPECT_EQ(BytesOf(command), (Bytes{0, 0, 0}));
}

TEST(ApduTest, DataBeyondTheWidthIsALengthErrorAndLeavesTheCommand)
{
    Apdu command(1, 2, 3, 4);
    EXPECT_THROW(command.AppendAndPad(Norvik::ByteArray(std::string("123456789")), 8), std::length_error);
    EXPECT_EQ(BytesOf(command), (Bytes{1, 2, 3, 4}));
}

struct PinBlockCase
{
    const char* name;
    const char* pin;
    int width;
    Bytes block;
};

class ApduPinBlock : public testing::TestWithParam<PinBlockCase>
{};

TEST_P(ApduPinBlock, HasControlLengthDigitsAndFill)
{
    Apdu command(0x00, 0x20, 0x00, 0x81);

    command.AppendPinFormat2(Norvik::ByteArray(std::string(GetParam().pin)), GetParam().width);

    Bytes expected{0x00, 0x20, 0x00, 0x81};
    expected.insert(expected.end(), GetParam().block.begin(), GetParam().block.end());
    EXPECT_EQ(BytesOf(command), expected);
}

const PinBlockCase kPinBlockCases[] = {
    {"SixDigits", "123456", 8, {0x26, 0x12, 0x34, 0x56, 0xFF, 0xFF, 0xFF, 0xFF}},
    {"FourDigits", "1234", 8, {0x24, 0x12, 0x34, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    {"FiveDigits", "12345", 8, {0x25, 0x12, 0x34, 0x5F, 0xFF, 0xFF, 0xFF, 0xFF}},
    {"Empty", "", 8, {0x20, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF, 0xFF}},
    {"TenDigitsHaveALetterForTheirLength", "1234567890", 8, {0x2A, 0x12, 0x34, 0x56, 0x78, 0x90, 0xFF, 0xFF}},
    {"FourteenDigitsNeedNoFill", "12345678901234", 8, {0x2E, 0x12, 0x34, 0x56, 0x78, 0x90, 0x12, 0x34}},
    {"SixteenDigitsOverflowIntoTheControlNibble",
     "1234567890123456",
     9,
     {0x30, 0x12, 0x34, 0x56, 0x78, 0x90, 0x12, 0x34, 0x56}},
    {"EmptyAtWidthOne", "", 1, {0x20}},
};

INSTANTIATE_TEST_SUITE_P(All, ApduPinBlock, testing::ValuesIn(kPinBlockCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(ApduTest, FifteenDigitsAreALengthErrorAndLeaveTheCommand)
{
    Apdu command(0x00, 0x20, 0x00, 0x81);
    EXPECT_THROW(command.AppendPinFormat2(Norvik::ByteArray(std::string("123456789012345")), 8),
                 std::length_error);
    EXPECT_EQ(BytesOf(command), (Bytes{0x00, 0x20, 0x00, 0x81}));
}

// 32-bit counts would allocate 4 GiB first; a negative width is the same mistake.
TEST(ApduTest, NegativeWidthIsALengthErrorAtOnce)
{
    Apdu command;
    EXPECT_THROW(command.AppendAndPad(Norvik::ByteArray(std::string("1")), -1), std::length_error);
    EXPECT_THROW(command.AppendPinFormat2(Norvik::ByteArray(std::string("1")), -1), std::length_error);
    EXPECT_TRUE(command.empty());
}

TEST(ApduTest, SecondPinFieldFollowsTheFirst)
{
    Apdu command(0x00, 0x24, 0x00, 0x81, 0x10);
    const Norvik::ByteArray pin(std::string("123456"));

    command.AppendPinFormat2(pin, 8);
    command.AppendPinFormat2(pin, 8);

    EXPECT_EQ(BytesOf(command), (Bytes{0x00, 0x24, 0x00, 0x81, 0x10,                   //
                                       0x26, 0x12, 0x34, 0x56, 0xFF, 0xFF, 0xFF, 0xFF, //
                                       0x26, 0x12, 0x34, 0x56, 0xFF, 0xFF, 0xFF, 0xFF}));
}

/** PIN fields are built with nothing of the PIN left in memory that has been given back. */
class ApduSecret : public testing::Test
{
protected:
    const std::string m_Digits = "9182736455";
    const std::string m_PackedDigits = "\x91\x82\x73\x64";
    const std::string m_TooLongDigits = "918273645591827364559182736455";
    const Norvik::ByteArray m_Pin{m_Digits};
    const Norvik::ByteArray m_TooLongPin{m_TooLongDigits};
    Apdu m_Command{0x00, 0x24, 0x00, 0x81, 0x10};
};

TEST_F(ApduSecret, WatchSeesABlockThatIsNotWiped)
{
    const FreedSecretWatch watch(m_Digits);
    {
        const Norvik::ByteArray careless(m_Pin);
        EXPECT_EQ(careless.size(), 10U);
    }
    EXPECT_EQ(watch.Leaks(), 1U);
}

TEST_F(ApduSecret, PaddedPinsLeaveNoCopy)
{
    const FreedSecretWatch watch(m_Digits);

    m_Command.AppendAndPad(m_Pin, 12);
    m_Command.AppendAndPad(m_Pin, 12);
    m_Command.Append(static_cast<unsigned char>(0));

    EXPECT_EQ(m_Command.size(), 30U);
    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST_F(ApduSecret, Format2TextLeavesNoCopy)
{
    const FreedSecretWatch watch(m_Digits);

    m_Command.AppendPinFormat2(m_Pin, 12);

    EXPECT_EQ(m_Command.size(), 17U);
    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST_F(ApduSecret, Format2BlocksLeaveNoCopy)
{
    const FreedSecretWatch watch(m_PackedDigits);

    m_Command.AppendPinFormat2(m_Pin, 8);
    m_Command.AppendPinFormat2(m_Pin, 8);
    m_Command.Append(m_Command.data(), 1);

    EXPECT_EQ(m_Command.size(), 22U);
    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST_F(ApduSecret, PinsThatDoNotFitLeaveNoCopy)
{
    const FreedSecretWatch watch(m_Digits);

    EXPECT_THROW(m_Command.AppendAndPad(m_TooLongPin, 8), std::length_error);
    EXPECT_THROW(m_Command.AppendPinFormat2(m_TooLongPin, 8), std::length_error);

    EXPECT_EQ(watch.Leaks(), 0U);
}

} // namespace
