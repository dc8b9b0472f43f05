#pragma once

#include "simulator/card/Card.h"
#include "simulator/cards/Acos03.h"

#include <memory>
#include <ostream>
#include <string>

#include <gtest/gtest.h>

/** An ACOS 03 card with its defaults, spoken to in hexadecimal pairs. */
class Acos03Fixture : public testing::Test
{
protected:
    /** The answer in capital pairs without blanks. */
    std::string Send(const std::string& command) { return SendTo(*m_Card, command); }
    static std::string SendTo(Simulator::Card& card, const std::string& command)
    {
        return Simulator::ToHex(card.Transmit(Simulator::FromHex(command)));
    }
    void Expect9000(const std::string& command) { ASSERT_EQ(Send(command), "9000") << command; }

    static constexpr const char* kSelectMf = "00 A4 00 0C 02 3F 00";
    static constexpr const char* kSelectDec = "00 A4 00 0C 02 DF 71";
    static constexpr const char* kSelectSig = "00 A4 00 0C 02 DF 70";
    static constexpr const char* kVerifyEncryption = "00 20 00 81 08 31 32 33 34 00 00 00 00";
    static constexpr const char* kVerifySignature = "00 20 00 81 08 31 32 33 34 35 36 00 00";
    static constexpr const char* kVerifyInfobox = "00 20 00 83 08 34 33 32 31 00 00 00 00";
    static constexpr const char* kWrongPin = "00 20 00 81 08 39 39 39 39 00 00 00 00";

    std::shared_ptr<Simulator::Card> m_Card = Simulator::MakeAcos03();
};

/** One command and what the card must answer to it, in the state that @p before leads to. */
struct CommandCase
{
    const char* name;
    const char* before; ///< commands, separated by ';', each of which must succeed
    const char* command;
    const char* answer;
};

inline void PrintTo(const CommandCase& row, std::ostream* out)
{
    *out << row.name;
}

class CommandCaseTest : public Acos03Fixture, public testing::WithParamInterface<CommandCase>
{
protected:
    void RunRow()
    {
        std::string before = GetParam().before;
        while (!before.empty())
        {
            const std::size_t end = before.find(';');
            Expect9000(before.substr(0, end));
            before = end == std::string::npos ? std::string() : before.substr(end + 1);
        }
        EXPECT_EQ(Send(GetParam().command), GetParam().answer);
    }
};
