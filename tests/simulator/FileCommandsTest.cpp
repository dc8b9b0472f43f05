#include "simulator/card/IsoCommands.h"
#include "tests/simulator/CardFixture.h"

#include <stdexcept>

namespace
{

using Simulator::AccessRule;
using Simulator::Bytes;
using Simulator::Card;
using Simulator::FromHex;

class FileCommandCase : public CommandCaseTest
{};

TEST_P(FileCommandCase, GetsItsStatusWord)
{
    RunRow();
}

constexpr CommandCase kSelectCases[] = {
    {"SelectMf", "", "00 A4 00 0C 02 3F 00", "9000"},
    {"SelectDfFromMf", "", "00 A4 00 0C 02 DF 71", "9000"},
    {"SelectOtherDf", "00 A4 00 0C 02 DF 71", "00 A4 00 0C 02 DF 70", "9000"},
    {"SelectSameDf", "00 A4 00 0C 02 DF 71", "00 A4 00 0C 02 DF 71", "9000"},
    {"SelectMfFromDf", "00 A4 00 0C 02 DF 71", "00 A4 00 0C 02 3F 00", "9000"},
    {"SelectEf", "00 A4 00 0C 02 DF 71", "00 A4 00 0C 02 C0 01", "9000"},
    {"SelectEfUnderCurrentDf", "00 A4 00 0C 02 DF 71", "00 A4 02 0C 02 C0 01", "9000"},
    {"SelectEfOfOtherDf", "00 A4 00 0C 02 DF 70", "00 A4 00 0C 02 C0 01", "6A82"},
    {"SelectEfFromMf", "", "00 A4 00 0C 02 C0 01", "6A82"},
    {"SelectDfUnderCurrentDf", "", "00 A4 02 0C 02 DF 71", "6A82"},
    {"SelectUnknownName", "", "00 A4 04 0C 08 D0 40 00 00 17 00 12 01", "6A82"},
    {"SelectNoData", "", "00 A4 00 0C", "6700"},
    {"SelectOneByte", "", "00 A4 00 0C 01 3F", "6700"},
    {"SelectThreeBytes", "", "00 A4 02 0C 03 3F 00 00", "6700"},
    {"SelectNameOf17Bytes", "", "00 A4 04 0C 11 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10", "6700"},
    {"SelectOtherP1", "", "00 A4 08 0C 02 3F 00", "6A86"},
    {"SelectOtherP2", "", "00 A4 00 04 02 3F 00", "6A86"},
    {"SelectFciOfEf", "00 A4 00 0C 02 DF 71", "00 A4 00 00 02 D0 01 00", "6F0B800200088201018302D0019000"},
    {"SelectFciOfDf", "", "00 A4 00 00 02 DF 71 00", "6F078201388302DF719000"},
    {"SelectFciNotAskedFor", "", "00 A4 00 00 02 DF 71", "9000"},
};

constexpr CommandCase kReadCases[] = {
    {"ReadCardNumber", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 00 00", "80400000123456789000"},
    {"ReadPart", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 02 03", "0000129000"},
    {"ReadExactly", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 00 08", "80400000123456789000"},
    {"ReadPastTheEnd", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 06 03", "56786282"},
    {"ReadAtTheEnd", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 08 01", "6B00"},
    {"ReadAllAtTheEnd", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 08 00", "6B00"},
    {"ReadFarBehindTheEnd", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 7F FF 01", "6B00"},
    {"ReadWithoutEf", "00 A4 00 0C 02 DF 71", "00 B0 00 00 00", "6986"},
    {"ReadAfterReselectedDf", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01;00 A4 00 0C 02 DF 71",
     "00 B0 00 00 00", "6986"},
    {"ReadWithoutLe", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 00", "6700"},
    {"ReadWithData", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 D0 01", "00 B0 00 00 01 00", "6700"},
    {"ReadInfoboxWithoutPin", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 02", "00 B0 00 00 01", "6982"},
    {"ReadInfoboxWithOtherPin",
     "00 A4 00 0C 02 DF 71;00 20 00 81 08 31 32 33 34 00 00 00 00;00 A4 00 0C 02 C0 02", "00 B0 00 00 01",
     "6982"},
    {"ReadInfoboxWithPin", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 02;00 20 00 83 08 34 33 32 31 00 00 00 00",
     "00 B0 00 00 01", "309000"},
    {"ReadInfoboxAfterOtherDf",
     "00 A4 00 0C 02 DF 71;00 20 00 83 08 34 33 32 31 00 00 00 00;00 A4 00 0C 02 DF 70;00 A4 00 0C 02 DF 71;"
     "00 A4 00 0C 02 C0 02",
     "00 B0 00 00 01", "6982"},
    {"ReadInfoboxAfterOtherEf",
     "00 A4 00 0C 02 DF 71;00 20 00 83 08 34 33 32 31 00 00 00 00;00 A4 00 0C 02 D0 01;00 A4 00 0C 02 C0 02",
     "00 B0 00 00 01", "309000"},
    {"ReadByUnknownShortId", "00 A4 00 0C 02 DF 71", "00 B0 82 00 00", "6A82"},
    {"ReadByShortIdZero", "00 A4 00 0C 02 DF 71", "00 B0 80 00 00", "6A86"},
    {"ReadByReservedP1", "00 A4 00 0C 02 DF 71", "00 B0 A2 00 00", "6A86"},
};

constexpr CommandCase kUpdateCases[] = {
    {"UpdateCertificate", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 01", "00 D6 00 00 01 00", "6982"},
    {"UpdateInfoboxWithoutPin", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 02", "00 D6 00 00 01 00", "6982"},
    {"UpdateInfobox", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 02;00 20 00 83 08 34 33 32 31 00 00 00 00",
     "00 D6 02 BB 01 5A", "9000"},
    {"UpdateAcrossTheEnd", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 02;00 20 00 83 08 34 33 32 31 00 00 00 00",
     "00 D6 02 BB 02 5A 5A", "6A84"},
    {"UpdateBehindTheEnd", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 02;00 20 00 83 08 34 33 32 31 00 00 00 00",
     "00 D6 02 BC 01 5A", "6B00"},
    {"UpdateWithoutEf", "00 A4 00 0C 02 DF 71", "00 D6 00 00 01 00", "6986"},
    {"UpdateWithoutData", "00 A4 00 0C 02 DF 71;00 A4 00 0C 02 C0 02", "00 D6 00 00 01", "6700"},
};

const auto kNameOf = [](const auto& row) { return std::string(row.param.name); };

INSTANTIATE_TEST_SUITE_P(Select, FileCommandCase, testing::ValuesIn(kSelectCases), kNameOf);
INSTANTIATE_TEST_SUITE_P(Read, FileCommandCase, testing::ValuesIn(kReadCases), kNameOf);
INSTANTIATE_TEST_SUITE_P(Update, FileCommandCase, testing::ValuesIn(kUpdateCases), kNameOf);

TEST_F(Acos03Fixture, FailedSelectLeavesTheSelection)
{
    Expect9000(kSelectDec);
    Expect9000("00 A4 00 0C 02 D0 01");
    EXPECT_EQ(Send("00 A4 00 0C 02 12 34"), "6A82");
    EXPECT_EQ(m_Card->CurrentPath(), "DF_DEC/EF_CIN_CSN");
    EXPECT_EQ(Send("00 B0 00 00 01"), "809000");
}

TEST_F(Acos03Fixture, UpdatedBytesAreReadAndTheRestIsUntouched)
{
    Expect9000(kSelectDec);
    Expect9000("00 A4 00 0C 02 C0 02");
    Expect9000(kVerifyInfobox);
    const Bytes before = m_Card->File("EF_INFOBOX").content;
    Expect9000("00 D6 00 01 02 AA BB");
    Bytes expected = before;
    expected[1] = 0xAA;
    expected[2] = 0xBB;
    EXPECT_EQ(m_Card->File("EF_INFOBOX").content, expected);
    EXPECT_EQ(Send("00 B0 00 00 04").substr(0, 6), "30AABB");
}

/** Names, short identifiers and a second level of directories, which other cards have. */
class NamedFiles : public testing::Test
{
protected:
    NamedFiles() : m_Card("test", {})
    {
        m_Card.AddCommands(Simulator::FileCommands());
        m_Card.AddCommands(Simulator::PinCommands());
        auto& outer = m_Card.MasterFile().AddDirectory("OUTER", 0x1000, FromHex("D0 40 00 00 17 00 12 01"));
        auto& inner = outer.AddDirectory("INNER", 0x2000, FromHex("D0 40 00 00 17 00 13 01"));
        m_Card.MasterFile().AddFile(
            {"EF_MF", 0x2F02, 2, AccessRule::Always(), AccessRule::Always(), {1, 2, 3}});
        outer.AddFile({"EF_OUTER", 0x2F01, 2, AccessRule::AfterPin(0x01), AccessRule::Never(), {4, 5, 6}});
        inner.AddFile({"EF_INNER", 0x2F01, 1, AccessRule::AfterPin(0x81), AccessRule::Never(), {7, 8, 9}});
        const auto format2 = Simulator::PinBlockFormat::Format2;
        m_Card.MasterFile().AddPin({"global", 0x01, 0x01, format2, "1234", 4, 4, 3});
        outer.AddPin({"local", 0x81, 0x81, format2, "4321", 4, 4, 3});
    }
    std::string Send(const char* command) { return Simulator::ToHex(m_Card.Transmit(FromHex(command))); }

    Card m_Card;
};

TEST_F(NamedFiles, DfIsFoundByItsWholeNameFromAnywhere)
{
    EXPECT_EQ(Send("00 A4 04 0C 08 D0 40 00 00 17 00 13 01"), "9000");
    EXPECT_EQ(m_Card.CurrentPath(), "INNER");
    EXPECT_EQ(Send("00 A4 04 0C 08 D0 40 00 00 17 00 12 01 00"), "9000");
    EXPECT_EQ(m_Card.CurrentPath(), "OUTER");
    EXPECT_EQ(Send("00 A4 04 0C 07 D0 40 00 00 17 00 12"), "6A82");
}

TEST_F(NamedFiles, FciTellsTheName)
{
    EXPECT_EQ(Send("00 A4 04 00 08 D0 40 00 00 17 00 12 01 00"),
              "6F11820138830210008408D0400000170012019000");
}

TEST_F(NamedFiles, ParentIsFoundByItsFileIdentifier)
{
    Send("00 A4 04 0C 08 D0 40 00 00 17 00 13 01");
    EXPECT_EQ(Send("00 A4 00 0C 02 10 00"), "9000");
    EXPECT_EQ(m_Card.CurrentPath(), "OUTER");
}

TEST_F(NamedFiles, ShortIdentifierSelectsUnderTheCurrentDf)
{
    EXPECT_EQ(Send("00 B0 82 01 00"), "02039000");
    EXPECT_EQ(m_Card.CurrentPath(), "MF/EF_MF");
    EXPECT_EQ(Send("00 D6 82 00 01 FF"), "9000");
    EXPECT_EQ(Send("00 B0 00 00 01"), "FF9000");
    EXPECT_EQ(Send("00 B0 82 03 00"), "6B00");
}

TEST_F(NamedFiles, PinOfTheMfHoldsInEveryDfUntilTheMfIsSelected)
{
    EXPECT_EQ(Send("00 20 00 01 08 24 12 34 FF FF FF FF FF"), "9000");
    Send("00 A4 04 0C 08 D0 40 00 00 17 00 12 01");
    EXPECT_EQ(Send("00 B0 82 00 01"), "049000");
    Send("00 A4 00 0C 02 3F 00");
    Send("00 A4 04 0C 08 D0 40 00 00 17 00 12 01");
    EXPECT_EQ(Send("00 B0 82 00 01"), "6982");
}

TEST_F(NamedFiles, PinOfADfHoldsBelowItAndEndsWhenItIsLeft)
{
    Send("00 A4 04 0C 08 D0 40 00 00 17 00 12 01");
    EXPECT_EQ(Send("00 20 00 81 08 24 43 21 FF FF FF FF FF"), "9000");
    Send("00 A4 04 0C 08 D0 40 00 00 17 00 13 01");
    EXPECT_EQ(Send("00 B0 81 00 01"), "079000");
    Send("00 A4 00 0C 02 3F 00");
    EXPECT_EQ(Send("00 20 00 81"), "6A88");
    Send("00 A4 04 0C 08 D0 40 00 00 17 00 13 01");
    EXPECT_EQ(Send("00 20 00 81"), "63C3");
}

TEST_F(NamedFiles, MissingNamesAreToldToTheProgram)
{
    EXPECT_THROW(static_cast<void>(m_Card.File("EF_NOBODY")), std::out_of_range);
    EXPECT_THROW(static_cast<void>(m_Card.PinNamed("nobody")), std::out_of_range);
}

} // namespace
