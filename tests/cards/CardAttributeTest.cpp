#include "cards/CardAttribute.h"

#include "tests/cards/TokenTestSupport.h"

#include <gtest/gtest.h>

TEST(CardAttributeTest, BoolMeansAnEmptyValueThatHasToBeFetched)
{
    const CardAttribute attribute(true);

    EXPECT_EQ(attribute.GetLength(), 0U);
    EXPECT_TRUE(attribute.CallCardObjectForData());
    EXPECT_TRUE(attribute.UpdateAllowed());
}

TEST(CardAttributeTest, BoolFalseForbidsTheUpdateOnly)
{
    const CardAttribute attribute(false);

    EXPECT_EQ(attribute.GetLength(), 0U);
    EXPECT_TRUE(attribute.CallCardObjectForData());
    EXPECT_FALSE(attribute.UpdateAllowed());
}

TEST(CardAttributeTest, UnsignedCharMeansOneByte)
{
    const CardAttribute attribute(static_cast<unsigned char>(1));

    EXPECT_EQ(ToHex(attribute.GetBytes()), "01");
    EXPECT_EQ(attribute.GetLength(), 1U);
    EXPECT_FALSE(attribute.CallCardObjectForData());
    EXPECT_FALSE(attribute.UpdateAllowed());
}

TEST(CardAttributeTest, UnsignedLongMeansEightBytesInMachineOrder)
{
    const CardAttribute attribute(0x0102030405060708UL);

    EXPECT_EQ(ToHex(attribute.GetBytes()), "0807060504030201");
    EXPECT_FALSE(attribute.CallCardObjectForData());
    EXPECT_FALSE(attribute.UpdateAllowed());
}

TEST(CardAttributeTest, TextHasNoTerminator)
{
    const CardAttribute attribute("C.CH.SIG");

    EXPECT_EQ(Text(attribute.GetBytes()), "C.CH.SIG");
    EXPECT_EQ(attribute.GetLength(), 8U);
    EXPECT_FALSE(attribute.CallCardObjectForData());
    EXPECT_FALSE(attribute.UpdateAllowed());
}

TEST(CardAttributeTest, EmptyTextIsEmptyButNotFetched)
{
    const CardAttribute attribute("");

    EXPECT_EQ(attribute.GetLength(), 0U);
    EXPECT_FALSE(attribute.CallCardObjectForData());
}

TEST(CardAttributeTest, BytesAreKeptAsTheyAre)
{
    constexpr unsigned char kBytes[] = {0x00, 0xFF, 0x00};
    const CardAttribute attribute(kBytes, sizeof(kBytes));

    EXPECT_EQ(ToHex(attribute.GetBytes()), "00FF00");
    EXPECT_FALSE(attribute.CallCardObjectForData());
    EXPECT_FALSE(attribute.UpdateAllowed());
}

TEST(CardAttributeTest, SetReplacesTheValueAndKeepsTheFlags)
{
    CardAttribute attribute(true);
    constexpr unsigned char kFirst[] = {1, 2, 3};
    constexpr unsigned char kSecond[] = {4};

    attribute.Set(kFirst, sizeof(kFirst));
    attribute.Set(kSecond, sizeof(kSecond));

    EXPECT_EQ(ToHex(attribute.GetBytes()), "04");
    EXPECT_TRUE(attribute.CallCardObjectForData());
    EXPECT_TRUE(attribute.UpdateAllowed());
}

TEST(CardAttributeTest, SetOfNothingEmptiesTheValue)
{
    CardAttribute attribute("text");

    attribute.Set(nullptr, 0);

    EXPECT_EQ(attribute.GetLength(), 0U);
}

TEST(CardAttributeTest, FreeEmptiesTheValue)
{
    CardAttribute attribute("text");

    attribute.Free();

    EXPECT_EQ(attribute.GetLength(), 0U);
}

TEST(CardAttributeTest, EveryAttributeMayBeRead)
{
    EXPECT_TRUE(CardAttribute(true).ReadAllowed());
    EXPECT_TRUE(CardAttribute("text").ReadAllowed());
}

TEST(CardAttributeTest, SetUpdateAllowedChangesTheFlag)
{
    CardAttribute attribute("text");

    attribute.SetUpdateAllowed(true);

    EXPECT_TRUE(attribute.UpdateAllowed());
}
