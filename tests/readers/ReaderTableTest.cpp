#include "readers/ReaderTable.h"

#include "tests/doubles/ScriptedPcscCalls.h"

#include <cstring>
#include <string>

#include <gtest/gtest.h>

namespace
{
struct ExpectedRow
{
    const char* terminalId;
    const char* name;
    const char* vendor;
    int flagA;
    int flagB;
    int flagC;
    int columnD;
    int columnE;
};

// clang-format off
constexpr ExpectedRow kExpectedRows[] = {
    {"DExxxCT399", "KOBIL KAAN Professional", "KOBIL", 1, 1, 1, 1, 10000},
    {"DEKOBCT399", "KOBIL KAAN Professional", "KOBIL", 1, 1, 1, 1, 10000},
    {"DExxxCT198", "KOBIL KAAN Standard plus", "KOBIL", 1, 1, 1, 0, 15000},
    {"DExxxCT101V1.70", "KOBIL KAAN Standard plus", "KOBIL", 1, 1, 1, 0, 15000},
    {"DExxxCT199", "KOBIL B1 S", "KOBIL", 1, 0, 1, 0, 10000},
    {"DExxxCT101V2.06", "KOBIL B1 PCMCIA", "KOBIL", 1, 0, 1, 0, 10000},
    {"DExxxCT199V1.63", "KOBIL B1 PCMCIA", "KOBIL", 1, 0, 1, 0, 10000},
    {"DEUTICM   ", "Cardman 8630", "Utimaco", 1, 1, 1, 1, 5000},
    {"DEUTI3621 ", "Cardman 3621", "Utimaco", 1, 1, 1, 1, 5000},
    {"DESCTECUSB", "cyberJack e-com", "REINER SCT", 1, 1, 1, 1, 5000},
    {"DESCTECLPT", "cyberJack e-com", "REINER SCT", 1, 1, 1, 1, 5000},
    {"DESCTCJECA", "cyberJack e-com", "REINER SCT", 1, 1, 1, 1, 5000},
    {"DESCTPPUSB", "cyberJack pinpad", "REINER SCT", 1, 1, 1, 2, 5000},
    {"DESCTPPLPT", "cyberJack pinpad", "REINER SCT", 1, 1, 1, 2, 5000},
    {"DESCTCJPPA", "cyberJack pinpad", "REINER SCT", 1, 1, 1, 2, 5000},
    {"DESCTCJECP", "cyberJack e-com plus", "REINER SCT", 1, 1, 1, 2, 5000},
    {"DESCTCJSEC", "cyberJack Secoder", "REINER SCT", 1, 1, 1, 2, 5000},
    {"DESCT     ", "cyberJack kb", "REINER SCT", 1, 1, 1, 0, 10000},
    {"DECYMPC/SC", "Cherry G83-67xx", "Cherry GmbH", 1, 1, 1, 0, 5000},
    {"DESCMSCR24", "SCM SCR241", "SCM", 0, 0, 1, 0, 5000},
    {"DESCMSPRx3", "SCM SPR532", "SCM", 0, 1, 1, 0, 5000},
    {"ATSAGCT600", "Siemens Signator", "Siemens", 1, 1, 1, 0, 5000},
    {"", "", "", 1, 1, 1, 0, 0},
};
// clang-format on

std::string FieldOf(const unsigned char* field, std::size_t width)
{
    return std::string(field, field + width);
}

std::string Padded(const char* text, std::size_t width)
{
    std::string field = text;
    field.resize(width, '\0');
    return field;
}

std::int32_t NumberAt(const unsigned char* field)
{
    std::int32_t number = 0;
    std::memcpy(&number, field, sizeof(number));
    return number;
}

template <std::size_t Size>
std::string HexOf(const std::array<unsigned char, Size>& bytes)
{
    return ScriptedPcscCalls::Hex(bytes.data(), bytes.size());
}
} // namespace

TEST(ReaderTableTest, RowsStandAtTheirOffsets)
{
    static_assert(std::size(kExpectedRows) == 23);
    static_assert(sizeof(strReaderTable) == std::size_t{23} * 108);
    const auto* const table = reinterpret_cast<const unsigned char*>(strReaderTable.data());
    for (std::size_t i = 0; i < std::size(kExpectedRows); ++i)
    {
        const ExpectedRow& expected = kExpectedRows[i];
        const unsigned char* const row = table + i * 108;
        SCOPED_TRACE(i);
        EXPECT_EQ(FieldOf(row, 16), Padded(expected.terminalId, 16));
        EXPECT_EQ(FieldOf(row + 16, 40), Padded(expected.name, 40));
        EXPECT_EQ(FieldOf(row + 56, 40), Padded(expected.vendor, 40));
        EXPECT_EQ(row[96], expected.flagA);
        EXPECT_EQ(row[97], expected.flagB);
        EXPECT_EQ(row[98], expected.flagC);
        EXPECT_EQ(NumberAt(row + 100), expected.columnD);
        EXPECT_EQ(NumberAt(row + 104), expected.columnE);
    }
}

TEST(ReaderTableTest, LibraryNames)
{
    EXPECT_STREQ(CTAPI_Libs[0], "libct.so");
    EXPECT_STREQ(CTAPI_Libs[1], "libctapi.so");
}

TEST(ReaderTableTest, CommandTemplates)
{
    EXPECT_EQ(HexOf(sGET_STATUS), "2013004600");
    EXPECT_EQ(HexOf(sCommandVerifyEnc), "0020009708");
    EXPECT_EQ(HexOf(sCommandVerifySig), "0020009008");
    EXPECT_EQ(HexOf(sCommandRequestICC), "2012");
    EXPECT_EQ(HexOf(sCommandPerformVerification), "2018");
}
