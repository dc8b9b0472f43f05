#include "simulator/trace/TraceDecoder.h"
#include "simulator/trace/TraceFile.h"

#include "simulator/card/StatusWord.h"

#include <ostream>

#include <gtest/gtest.h>

namespace
{

using Simulator::DecodeTraceLine;
using Simulator::FromHex;
using Simulator::TraceEntry;
using Simulator::TraceKind;
using Simulator::TraceLine;

TraceEntry Command(const char* command, const char* answer)
{
    return {std::chrono::microseconds(1234567),
            1,
            TraceKind::Command,
            FromHex(command),
            FromHex(answer),
            "DF_DEC"};
}

TEST(TraceFile, LineHasSixFieldsAndComesBack)
{
    const TraceLine line = TraceLine::From(Command("00 A4 00 0C 02 DF 71", "90 00"));
    EXPECT_EQ(line.ToText(), "1234567\t1\tcommand\t00A4000C02DF71\t9000\tDF_DEC");
    const auto again = TraceLine::Parse(line.ToText());
    ASSERT_TRUE(again.has_value());
    EXPECT_EQ(again->ToText(), line.ToText());
    EXPECT_FALSE(TraceLine::Parse("no trace").has_value());
    EXPECT_FALSE(TraceLine::Parse("1\t2\t3\t4\t5\t6\t7").has_value());
}

struct HiddenCase
{
    const char* name;
    const char* command;
    const char* shown;
};

void PrintTo(const HiddenCase& row, std::ostream* out)
{
    *out << row.name;
}

class TraceHides : public testing::TestWithParam<HiddenCase>
{};

TEST_P(TraceHides, WhatMayBeAPin)
{
    const TraceLine line = TraceLine::From(Command(GetParam().command, "90 00"));
    EXPECT_EQ(line.command, GetParam().shown);
    EXPECT_EQ(DecodeTraceLine(line).find("3132"), std::string::npos);
}

INSTANTIATE_TEST_SUITE_P(
    All, TraceHides,
    testing::Values(HiddenCase{"Verify", "00 20 00 81 08 31 32 33 34 00 00 00 00",
                               "0020008108****************"},
                    HiddenCase{"VerifyUnderOtherClass", "0C 20 00 81 02 31 32", "0C20008102****"},
                    HiddenCase{"VerifyWithoutData", "00 20 00 81", "00200081"},
                    HiddenCase{"ChangeReferenceData", "00 24 00 81 04 31 32 33 34", "0024008104********"},
                    HiddenCase{"ResetRetryCounter", "00 2C 00 81 02 31 32", "002C008102****"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(TraceFile, InputOfAControlCodeIsHidden)
{
    const TraceEntry entry = {{}, 0, TraceKind::Control, FromHex("42 00 00 01 31 32"), FromHex("90 00"), {}};
    EXPECT_EQ(TraceLine::From(entry).command, "42000001****");
}

struct DecodeCase
{
    const char* name;
    const char* command;
    const char* answer;
    const char* text;
};

void PrintTo(const DecodeCase& row, std::ostream* out)
{
    *out << row.name;
}

class TraceDecodes : public testing::TestWithParam<DecodeCase>
{
protected:
    // Blanks that only align columns don't count.
    static std::string Squeezed(const std::string& text)
    {
        std::string squeezed;
        for (const char character : text)
        {
            if (character != ' ' || (!squeezed.empty() && squeezed.back() != ' '))
            {
                squeezed.push_back(character);
            }
        }
        return squeezed;
    }
};

TEST_P(TraceDecodes, ToWords)
{
    const TraceLine line = TraceLine::From(Command(GetParam().command, GetParam().answer));
    EXPECT_EQ(Squeezed(DecodeTraceLine(line)), "1.234567 1 " + std::string(GetParam().text) + " DF_DEC");
}

INSTANTIATE_TEST_SUITE_P(
    All, TraceDecodes,
    testing::Values(
        DecodeCase{"Select", "00 A4 00 0C 02 DF 71", "90 00", "SELECT DF71 9000 ok"},
        DecodeCase{"SelectNothing", "00 A4 00 0C", "67 00", "SELECT nothing 6700 wrong length"},
        DecodeCase{"Read", "00 B0 01 00 FF", "AA BB 62 82",
                   "READ BINARY offset 256 Le 255 6282 end of file reached before Le bytes, 2 bytes"},
        DecodeCase{"ReadShortId", "00 B0 82 04 00", "90 00", "READ BINARY SFI 2 offset 4 Le 256 9000 ok"},
        DecodeCase{"Update", "00 D6 00 10 02 AA BB", "90 00", "UPDATE BINARY offset 16 2 bytes 9000 ok"},
        DecodeCase{"Verify", "00 20 00 81 01 31", "63 C2",
                   "VERIFY PIN 81 (hidden) 63C2 wrong PIN, 2 tries left"},
        DecodeCase{"VerifyStatus", "00 20 00 81", "69 83", "VERIFY PIN 81 (status) 6983 PIN blocked"},
        DecodeCase{"Change", "00 24 00 88 01 31", "90 00", "CHANGE REFERENCE DATA PIN 88 (hidden) 9000 ok"},
        DecodeCase{"Mse", "00 22 81 B6 06 84 01 88 80 01 14", "90 00", "MSE SET 81B6 840188800114 9000 ok"},
        DecodeCase{"MseRestore", "00 22 F3 01", "90 00", "MSE RESTORE F301 9000 ok"},
        DecodeCase{"Hash", "00 2A 90 81 02 AA BB", "90 00", "PSO HASH 2 bytes 9000 ok"},
        DecodeCase{"Sign", "00 2A 9E 9A 00", "AA 90 00", "PSO COMPUTE DIGITAL SIGNATURE 9000 ok, 1 bytes"},
        DecodeCase{"Authenticate", "00 88 10 00 01 AA 00", "90 00", "INTERNAL AUTHENTICATE 1 bytes 9000 ok"},
        DecodeCase{"ChipId", "80 F6 00 00 08", "90 00", "GET CHIP ID 9000 ok"},
        DecodeCase{"NoAnswer", "00 A4 00 0C 02 3F 00", "", "SELECT 3F00 no answer"},
        DecodeCase{"Unknown", "00 12 00 00", "12 34", "unknown command 00120000 1234 unknown status word"},
        DecodeCase{"Cut", "00", "67 00", "unknown command 00 6700 wrong length"},
        DecodeCase{"Empty", "", "67 00", "unknown command 6700 wrong length"},
        DecodeCase{"LcBeyondTheEnd", "00 2A 90 81 FF AA", "67 00", "PSO HASH 1 bytes 6700 wrong length"}),
    [](const auto& row) { return std::string(row.param.name); });

TEST(TraceDecoder, OtherEventsAreTold)
{
    const TraceEntry insert = {{}, 0, TraceKind::Insert, {}, {}, "acos03"};
    EXPECT_NE(DecodeTraceLine(TraceLine::From(insert)).find("card inserted: acos03"), std::string::npos);
    const TraceEntry reset = {{}, 0, TraceKind::Reset, {}, FromHex("3B 00"), {}};
    EXPECT_NE(DecodeTraceLine(TraceLine::From(reset)).find("reset 3B00"), std::string::npos);
    const TraceEntry control = {{}, 0, TraceKind::Control, FromHex("42 00 0D 48"), FromHex("06 04"), {}};
    EXPECT_NE(DecodeTraceLine(TraceLine::From(control)).find("control 42000D48: 2 bytes"), std::string::npos);
    const TraceEntry removal = {{}, 0, TraceKind::Remove, {}, {}, {}};
    EXPECT_NE(DecodeTraceLine(TraceLine::From(removal)).find("remove"), std::string::npos);
}

} // namespace
