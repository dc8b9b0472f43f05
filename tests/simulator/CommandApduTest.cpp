#include "simulator/card/CommandApdu.h"

#include <ostream>

#include <gtest/gtest.h>

namespace
{

using Simulator::Bytes;
using Simulator::CommandApdu;
using Simulator::FromHex;

struct ApduCase
{
    const char* name;
    const char* command;
    int apduCase; ///< 0: refused
    const char* data;
    std::size_t le; ///< 0: none
};

void PrintTo(const ApduCase& row, std::ostream* out)
{
    *out << row.name;
}

class CommandApduParse : public testing::TestWithParam<ApduCase>
{};

TEST_P(CommandApduParse, TakesTheCommandApart)
{
    const auto apdu = CommandApdu::Parse(FromHex(GetParam().command));
    ASSERT_EQ(apdu.has_value(), GetParam().apduCase != 0);
    if (apdu.has_value())
    {
        EXPECT_EQ(apdu->Case(), GetParam().apduCase);
        EXPECT_EQ(apdu->data, FromHex(GetParam().data));
        EXPECT_EQ(apdu->le.value_or(0), GetParam().le);
        EXPECT_EQ(apdu->P1P2(), 0x8182);
    }
}

INSTANTIATE_TEST_SUITE_P(All, CommandApduParse,
                         testing::Values(ApduCase{"Case1", "00 20 81 82", 1, "", 0},
                                         ApduCase{"Case2", "00 B0 81 82 05", 2, "", 5},
                                         ApduCase{"Case2Le256", "00 B0 81 82 00", 2, "", 256},
                                         ApduCase{"Case3", "00 D6 81 82 02 AA BB", 3, "AA BB", 0},
                                         ApduCase{"Case4", "00 D6 81 82 02 AA BB 00", 4, "AA BB", 256},
                                         ApduCase{"Empty", "", 0, "", 0},
                                         ApduCase{"HeaderCut", "00 20 81", 0, "", 0},
                                         ApduCase{"DataMissing", "00 D6 81 82 03 AA BB", 0, "", 0},
                                         ApduCase{"TwoBytesTooMany", "00 D6 81 82 01 AA BB CC", 0, "", 0},
                                         ApduCase{"ExtendedForm", "00 D6 81 82 00 00 01 AA", 0, "", 0}),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(Hexadecimal, OddOrForeignTextIsRefused)
{
    EXPECT_EQ(FromHex("0a FF"), (Bytes{0x0A, 0xFF}));
    EXPECT_EQ(Simulator::ToHex(Bytes{0x0A, 0xFF}), "0AFF");
    EXPECT_THROW(FromHex("0"), std::invalid_argument);
    EXPECT_THROW(FromHex("0G"), std::invalid_argument);
}

} // namespace
