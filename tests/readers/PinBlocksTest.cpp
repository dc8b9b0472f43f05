#include "readers/PinBlocks.h"

#include "cards/PINVerifyData.h"
#include "tests/readers/ReaderTestSupport.h"

namespace
{
using Builder = bool (*)(const Norvik::ByteArray&, const PINVerifyData&, PinBlock&);

// clang-format off
struct BlockCase
{
    const char* name;
    Builder build;
    PINFormat format;
    int minLength;
    int maxLength;
    unsigned char blockString;
    const char* command;
    const char* block;
};

constexpr BlockCase kBlockCases[] = {
    {"VerifyAscii", &BuildPinVerifyBlock, PinFormatAscii, 6, 8, 0x08,
     "00 20 00 81 08 00 00 00 00 00 00 00 00",
     "3C"          // bTimerOut
     "0A"          // bTimerOut2
     "02"          // bmFormatString
     "08"          // bmPINBlockString
     "00"          // bmPINLengthFormat
     "08 06"       // wPINMaxExtraDigit
     "01"          // bEntryValidationCondition
     "FF"          // bNumberMessage
     "07 04"       // wLangId
     "00"          // bMsgIndex
     "00 00 00"    // bTeoPrologue
     "0D 00 00 00" // ulDataLength
     "00 20 00 81 08 00 00 00 00 00 00 00 00"},
    {"VerifyFormat2", &BuildPinVerifyBlock, PinFormat2, 4, 12, 0x47,
     "00 20 00 90 08 20 FF FF FF FF FF FF FF",
     "3C 0A 89 47 04 0C 04 01 FF 07 04 00 00 00 00 0D 00 00 00"
     "00 20 00 90 08 2F FF FF FF FF FF FF FF"},
    {"VerifyBcd", &BuildPinVerifyBlock, PinFormatBcd, 5, 5, 0x10,
     "00 20 00 01 08 FF FF FF FF FF FF FF FF",
     "3C 0A 01 10 00 05 05 01 FF 07 04 00 00 00 00 0D 00 00 00"
     "00 20 00 01 08 FF FF FF FF FF FF FF FF"},
    {"ModifyAscii", &BuildPinModifyBlock, PinFormatAscii, 6, 8, 0x08,
     "00 24 00 81 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00",
     "3C"          // bTimerOut
     "0A"          // bTimerOut2
     "02"          // bmFormatString
     "08"          // bmPINBlockString
     "00"          // bmPINLengthFormat
     "00"          // bInsertionOffsetOld
     "08"          // bInsertionOffsetNew
     "08 06"       // wPINMaxExtraDigit
     "03"          // bConfirmPIN
     "01"          // bEntryValidationCondition
     "FF"          // bNumberMessage
     "07 04"       // wLangId
     "00 00 00"    // bMsgIndex1, bMsgIndex2, bMsgIndex3
     "00 00 00"    // bTeoPrologue
     "15 00 00 00" // ulDataLength
     "00 24 00 81 10 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00 00"},
    {"ModifyFormat2", &BuildPinModifyBlock, PinFormat2, 6, 12, 0x47,
     "00 24 00 90 10 20 FF FF FF FF FF FF FF 20 FF FF FF FF FF FF FF",
     "3C 0A 89 47 04 00 08 0C 06 03 01 FF 07 04 00 00 00 00 00 00 15 00 00 00"
     "00 24 00 90 10 2F FF FF FF FF FF FF FF 20 FF FF FF FF FF FF FF"},
    {"ModifyBcd", &BuildPinModifyBlock, PinFormatBcd, 4, 6, 0x10,
     "00 24 00 01 02 AA BB",
     "3C 0A 01 10 00 00 08 06 04 03 01 FF 07 04 00 00 00 00 00 00 07 00 00 00"
     "00 24 00 01 02 AA BB"},
    {"LengthsAboveAByteOverlap", &BuildPinVerifyBlock, PinFormatAscii, 0x101, 0x2FF, 0x00,
     "00 20 00 81",
     "3C 0A 02 00 00 FF 03 01 FF 07 04 00 00 00 00 04 00 00 00"
     "00 20 00 81"},
    {"EmptyCommand", &BuildPinVerifyBlock, PinFormatAscii, 6, 8, 0x08,
     "",
     "3C 0A 02 08 00 08 06 01 FF 07 04 00 00 00 00 00 00 00 00"},
};
// clang-format on

std::string BytesInUse(const PinBlock& block)
{
    return ScriptedPcscCalls::Hex(block.bytes.data(), block.length);
}

PINVerifyData DataOf(PINFormat format)
{
    return {AppSignature, format, 6, 8, 0x08};
}

Norvik::ByteArray CommandOf(std::size_t size)
{
    return Norvik::ByteArray(std::vector<unsigned char>(size, 0xA5));
}
} // namespace

class PinBlocksTest : public ReaderTest
{};

class PinBlocksLayoutTest : public ReaderTest, public testing::WithParamInterface<BlockCase>
{};

TEST_P(PinBlocksLayoutTest, HasTheBytesOfTheStructure)
{
    const BlockCase& row = GetParam();
    const PINVerifyData data(AppSignature, row.format, row.minLength, row.maxLength, row.blockString);
    PinBlock block;

    ASSERT_TRUE(row.build(Bytes(row.command), data, block));

    EXPECT_EQ(BytesInUse(block), Hex(Bytes(row.block)));
    EXPECT_TRUE(Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(All, PinBlocksLayoutTest, testing::ValuesIn(kBlockCases), NameOfRow<BlockCase>);

TEST_F(PinBlocksTest, Format2OnFiveBytesMarksTheByteBehindTheCommand)
{
    PinBlock block;

    ASSERT_TRUE(BuildPinVerifyBlock(Bytes("0020009008"), DataOf(PinFormat2), block));

    EXPECT_EQ(block.length, 24U);
    EXPECT_EQ(block.bytes[15], 5) << "ulDataLength";
    EXPECT_EQ(block.bytes[24], 0x2F);

    ASSERT_TRUE(BuildPinModifyBlock(Bytes("0024009010"), DataOf(PinFormat2), block));

    EXPECT_EQ(block.length, 29U);
    EXPECT_EQ(block.bytes[20], 5) << "ulDataLength";
    EXPECT_EQ(block.bytes[29], 0x2F);
}

TEST_F(PinBlocksTest, BehindTheBlockEverythingIsZero)
{
    PinBlock block;
    block.bytes.fill(0xEE);

    ASSERT_TRUE(BuildPinVerifyBlock(Bytes("00200081"), DataOf(PinFormatAscii), block));

    EXPECT_EQ(std::count(block.bytes.begin() + block.length, block.bytes.end(), 0x00),
              static_cast<long>(2048 - block.length));
}

TEST_F(PinBlocksTest, UnknownFormatIsLogged)
{
    const PINVerifyData data(AppSignature, static_cast<PINFormat>(3), 6, 8, 0x08);
    PinBlock block;

    EXPECT_FALSE(BuildPinVerifyBlock(Bytes("00200081"), data, block));
    EXPECT_FALSE(BuildPinModifyBlock(Bytes("00240081"), data, block));

    EXPECT_EQ(Lines(), (LogLines{"ERROR invalid pin format", "ERROR invalid pin format"}));
}

TEST_F(PinBlocksTest, LongestCommandFits)
{
    PinBlock block;

    ASSERT_TRUE(BuildPinVerifyBlock(CommandOf(2029), DataOf(PinFormat2), block));
    EXPECT_EQ(block.length, 2048U);
    EXPECT_EQ(block.bytes[15], 0xED);
    EXPECT_EQ(block.bytes[16], 0x07);
    EXPECT_EQ(block.bytes[24], 0x2F);
    EXPECT_EQ(block.bytes[2047], 0xA5);

    ASSERT_TRUE(BuildPinModifyBlock(CommandOf(2024), DataOf(PinFormat2), block));
    EXPECT_EQ(block.length, 2048U);
    EXPECT_EQ(block.bytes[2047], 0xA5);
}

TEST_F(PinBlocksTest, LongerCommandIsRefusedSilently)
{
    PinBlock block;

    EXPECT_FALSE(BuildPinVerifyBlock(CommandOf(2030), DataOf(PinFormat2), block));
    EXPECT_FALSE(BuildPinModifyBlock(CommandOf(2025), DataOf(PinFormat2), block));
    EXPECT_FALSE(BuildPinVerifyBlock(CommandOf(100000), DataOf(PinFormatAscii), block));

    EXPECT_TRUE(Lines().empty());
}
