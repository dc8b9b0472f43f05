#include "readers/PinControlCodes.h"

#include "tests/doubles/ScriptedPcscCalls.h"

#include <string>

#include <gtest/gtest.h>

namespace
{
PinControlCodes Parse(const std::string& hex)
{
    const std::string bytes = ScriptedPcscCalls::Unhex(hex);
    return PinControlCodes::FromFeatureList(
        {reinterpret_cast<const unsigned char*>(bytes.data()), bytes.size()});
}
} // namespace

TEST(PinControlCodesTest, NewCodesOfferNothing)
{
    const PinControlCodes codes;

    EXPECT_FALSE(codes.CanVerify());
    EXPECT_FALSE(codes.CanModify());
    EXPECT_EQ(codes.getKeyPressed, 0U);
    EXPECT_EQ(codes.verifyPinFinish, 0U);
    EXPECT_EQ(codes.modifyPinFinish, 0U);
}

TEST(PinControlCodesTest, EachTagHasItsCodeMostSignificantByteFirst)
{
    const PinControlCodes codes =
        Parse("01 04 42 33 00 01  02 04 42 33 00 02  03 04 42 33 00 03  04 04 42 33 00 04"
              "05 04 42 33 00 05  06 04 42 33 00 06  07 04 FF EE DD CC");

    EXPECT_EQ(codes.verifyPinStart, 0x42330001U);
    EXPECT_EQ(codes.verifyPinFinish, 0x42330002U);
    EXPECT_EQ(codes.modifyPinStart, 0x42330003U);
    EXPECT_EQ(codes.modifyPinFinish, 0x42330004U);
    EXPECT_EQ(codes.getKeyPressed, 0x42330005U);
    EXPECT_EQ(codes.verifyPinDirect, 0x42330006U);
    EXPECT_EQ(codes.modifyPinDirect, 0xFFEEDDCCU);
}

TEST(PinControlCodesTest, OtherTagsAreSkipped)
{
    const PinControlCodes codes =
        Parse("00 04 42 33 00 01  08 04 42 33 00 08  0A 04 42 33 00 0A  12 04 42 33 00 12"
              "FF 04 42 33 00 FF  06 04 42 33 00 06");

    EXPECT_EQ(codes.verifyPinDirect, 0x42330006U);
    EXPECT_EQ(codes.verifyPinStart, 0U);
    EXPECT_FALSE(codes.CanModify());
}

TEST(PinControlCodesTest, IncompleteTailIsIgnored)
{
    EXPECT_FALSE(Parse("06 04 42 33 00").CanVerify());
    EXPECT_FALSE(Parse("06").CanVerify());
    EXPECT_FALSE(Parse("").CanVerify());

    const PinControlCodes codes = Parse("06 04 42 33 00 06  07 04 42 33 00");
    EXPECT_TRUE(codes.CanVerify());
    EXPECT_FALSE(codes.CanModify());
}

TEST(PinControlCodesTest, LengthByteDoesNotCount)
{
    EXPECT_EQ(Parse("06 FF 42 33 00 06  07 00 42 33 00 07").modifyPinDirect, 0x42330007U);
}

TEST(PinControlCodesTest, LastEntryOfATagCounts)
{
    EXPECT_EQ(Parse("06 04 00 00 00 01  06 04 00 00 00 02").verifyPinDirect, 2U);
    EXPECT_FALSE(Parse("06 04 00 00 00 01  06 04 00 00 00 00").CanVerify());
}

TEST(PinControlCodesTest, StartOrDirectIsEnough)
{
    EXPECT_TRUE(Parse("01 04 00 00 00 01").CanVerify());
    EXPECT_TRUE(Parse("06 04 00 00 00 01").CanVerify());
    EXPECT_FALSE(Parse("02 04 00 00 00 01  05 04 00 00 00 01").CanVerify());
    EXPECT_TRUE(Parse("03 04 00 00 00 01").CanModify());
    EXPECT_TRUE(Parse("07 04 00 00 00 01").CanModify());
    EXPECT_FALSE(Parse("04 04 00 00 00 01  05 04 00 00 00 01").CanModify());
}
