#include "simulator/card/Pin.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace
{

using Simulator::Bytes;
using Simulator::FromHex;
using Simulator::Pin;
using Simulator::PinBlockFormat;
using Simulator::PinSettings;

PinSettings Settings(PinBlockFormat format)
{
    return {"test", 0x81, 0x88, format, "123456", 6, 8, 3};
}

TEST(PinAscii, RightBlockSetsTheStatus)
{
    Pin pin(Settings(PinBlockFormat::Ascii));
    EXPECT_EQ(pin.Verify(FromHex("31 32 33 34 35 36 00 00")), 0x9000);
    EXPECT_TRUE(pin.IsVerified());
    EXPECT_EQ(pin.Status(), 0x9000);
}

TEST(PinAscii, WrongBlocksCountDownToBlocked)
{
    Pin pin(Settings(PinBlockFormat::Ascii));
    const Bytes wrong = FromHex("31 32 33 34 35 37 00 00");
    EXPECT_EQ(pin.Status(), 0x63C3);
    EXPECT_EQ(pin.Verify(wrong), 0x63C2);
    EXPECT_EQ(pin.Verify(FromHex("31 32 33 34 35 36 FF FF")), 0x63C1) << "wrong padding is a wrong PIN";
    EXPECT_EQ(pin.Verify(wrong), 0x63C0);
    EXPECT_EQ(pin.Verify(FromHex("31 32 33 34 35 36 00 00")), 0x6983);
    EXPECT_EQ(pin.Status(), 0x6983);
    EXPECT_FALSE(pin.IsVerified());
}

TEST(PinAscii, RightBlockRestoresTheCounter)
{
    Pin pin(Settings(PinBlockFormat::Ascii));
    pin.Verify(FromHex("00 00 00 00 00 00 00 00"));
    EXPECT_EQ(pin.TriesLeft(), 2U);
    pin.Verify(FromHex("31 32 33 34 35 36 00 00"));
    EXPECT_EQ(pin.TriesLeft(), 3U);
}

TEST(PinAscii, WrongBlockDropsTheStatus)
{
    Pin pin(Settings(PinBlockFormat::Ascii));
    pin.Verify(FromHex("31 32 33 34 35 36 00 00"));
    pin.Verify(FromHex("39 39 39 39 39 39 00 00"));
    EXPECT_FALSE(pin.IsVerified());
}

TEST(PinFormat2, BlockHasControlAndLengthNibbles)
{
    Pin pin(Settings(PinBlockFormat::Format2));
    EXPECT_EQ(pin.Verify(FromHex("26 12 34 56 FF FF FF FF")), 0x9000);
}

TEST(PinFormat2, MalformedBlockCostsNoTry)
{
    for (const char* block : {"31 32 33 34 35 36 00 00", "16 12 34 56 FF FF FF FF", "27 12 34 56 FF FF FF FF",
                              "26 12 34 56 FF FF FF F0", "2F FF FF FF FF FF FF FF"})
    {
        Pin pin(Settings(PinBlockFormat::Format2));
        EXPECT_EQ(pin.Verify(FromHex(block)), 0x6A80) << block;
        EXPECT_EQ(pin.TriesLeft(), 3U) << block;
    }
}

TEST(PinChange, NewPinCountsAndTheOldOneDoesNot)
{
    Pin pin(Settings(PinBlockFormat::Format2));
    const Bytes before = FromHex("26 12 34 56 FF FF FF FF");
    const Bytes after = FromHex("27 76 54 32 1F FF FF FF");
    EXPECT_EQ(pin.Change(before, after), 0x9000);
    EXPECT_EQ(pin.Verify(before), 0x63C2);
    EXPECT_EQ(pin.Verify(after), 0x9000);
    EXPECT_EQ(pin.Value(), "7654321");
}

TEST(PinChange, WrongOldPinCostsATry)
{
    Pin pin(Settings(PinBlockFormat::Ascii));
    EXPECT_EQ(pin.Change(FromHex("39 39 39 39 39 39 00 00"), FromHex("31 31 31 31 31 31 00 00")), 0x63C2);
    EXPECT_EQ(pin.Value(), "123456");
}

TEST(PinChange, NewBlockThatIsNoPinChangesNothing)
{
    Pin pin(Settings(PinBlockFormat::Ascii));
    const Bytes old = FromHex("31 32 33 34 35 36 00 00");
    for (const char* block :
         {"31 31 31 31 31 00 00 00", "31 31 31 31 31 41 00 00", "31 31 31 00 31 31 31 00"})
    {
        EXPECT_EQ(pin.Change(old, FromHex(block)), 0x6A80) << block;
    }
    EXPECT_EQ(pin.Value(), "123456");
    EXPECT_EQ(pin.TriesLeft(), 3U);
}

TEST(PinSettings, ImpossibleOnesAreRefused)
{
    PinSettings tooShort = Settings(PinBlockFormat::Ascii);
    tooShort.value = "12345";
    EXPECT_THROW(Pin{tooShort}, std::invalid_argument);
    PinSettings letters = Settings(PinBlockFormat::Ascii);
    letters.value = "12345a";
    EXPECT_THROW(Pin{letters}, std::invalid_argument);
    for (const unsigned int tries : {0U, 16U})
    {
        PinSettings counter = Settings(PinBlockFormat::Ascii);
        counter.tries = tries;
        EXPECT_THROW(Pin{counter}, std::invalid_argument);
    }
}

} // namespace
