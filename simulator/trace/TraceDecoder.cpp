#include "simulator/trace/TraceDecoder.h"

#include "simulator/card/StatusWord.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstdio>

namespace
{

using namespace Simulator;

constexpr std::size_t kHeaderDigits = 8; // CLA INS P1 P2
constexpr std::size_t kStatusDigits = 4;
constexpr int kAnyP1P2 = -1;

/** The command as digits, of which some may be hidden. */
struct CommandText
{
    std::string digits;

    [[nodiscard]] unsigned int Number(std::size_t position, std::size_t count) const
    {
        unsigned int number = 0;
        const char* start = digits.data() + std::min(position, digits.size());
        std::from_chars(start, start + std::min(count, digits.size() - std::min(position, digits.size())),
                        number, 16);
        return number;
    }
    [[nodiscard]] unsigned int Cla() const { return Number(0, 2); }
    [[nodiscard]] unsigned int Ins() const { return Number(2, 2); }
    [[nodiscard]] unsigned int P1() const { return Number(4, 2); }
    [[nodiscard]] unsigned int P2() const { return Number(6, 2); }
    [[nodiscard]] int P1P2() const { return static_cast<int>(Number(4, 4)); }
    [[nodiscard]] std::size_t BodyDigits() const
    {
        return digits.size() > kHeaderDigits ? digits.size() - kHeaderDigits : 0;
    }
    /** The data field, without Lc and Le. */
    [[nodiscard]] std::string Data() const
    {
        return BodyDigits() <= 2
                   ? std::string()
                   : digits.substr(kHeaderDigits + 2, std::size_t{2} * Number(kHeaderDigits, 2));
    }
    [[nodiscard]] std::string Le() const
    {
        const unsigned int le = Number(digits.size() - 2, 2);
        return std::to_string(le == 0 ? 256 : le);
    }
};

std::string ReferenceOf(const CommandText& command)
{
    return " PIN " + command.digits.substr(6, 2);
}

std::string FileOf(const CommandText& command)
{
    return " " + (command.Data().empty() ? std::string("nothing") : command.Data());
}

std::string OffsetOf(const CommandText& command)
{
    if (command.P1() >= 0x80U)
    {
        return " SFI " + std::to_string(command.P1() & 0x1FU) + " offset " + std::to_string(command.P2());
    }
    return " offset " + std::to_string(command.P1P2());
}

std::string ReadArguments(const CommandText& command)
{
    return OffsetOf(command) + (command.BodyDigits() == 2 ? " Le " + command.Le() : std::string());
}

std::string WriteArguments(const CommandText& command)
{
    return OffsetOf(command) + " " + std::to_string(command.Data().size() / 2) + " bytes";
}

std::string VerifyArguments(const CommandText& command)
{
    return ReferenceOf(command) + (command.BodyDigits() == 0 ? " (status)" : " (hidden)");
}

std::string ChangeArguments(const CommandText& command)
{
    return ReferenceOf(command) + " (hidden)";
}

std::string EnvironmentArguments(const CommandText& command)
{
    return " " + command.digits.substr(4, 4) +
           (command.Data().empty() ? std::string() : " " + command.Data());
}

std::string DataArguments(const CommandText& command)
{
    return command.Data().empty() ? std::string()
                                  : " " + std::to_string(command.Data().size() / 2) + " bytes";
}

struct CommandName
{
    unsigned int cla;
    unsigned int ins;
    int p1p2;
    const char* name;
    std::string (*arguments)(const CommandText& command);
};

// The first match wins.
constexpr CommandName kCommandNames[] = {
    {0x00, 0x20, kAnyP1P2, "VERIFY", &VerifyArguments},
    {0x00, 0x22, 0xF301, "MSE RESTORE", &EnvironmentArguments},
    {0x00, 0x22, kAnyP1P2, "MSE SET", &EnvironmentArguments},
    {0x00, 0x24, kAnyP1P2, "CHANGE REFERENCE DATA", &ChangeArguments},
    {0x00, 0x2A, 0x8086, "PSO DECIPHER", &DataArguments},
    {0x00, 0x2A, 0x9081, "PSO HASH", &DataArguments},
    {0x00, 0x2A, 0x90A0, "PSO HASH", &DataArguments},
    {0x00, 0x2A, 0x9E9A, "PSO COMPUTE DIGITAL SIGNATURE", &DataArguments},
    {0x00, 0x2C, kAnyP1P2, "RESET RETRY COUNTER", &ChangeArguments},
    {0x00, 0x84, kAnyP1P2, "GET CHALLENGE", &DataArguments},
    {0x00, 0x88, kAnyP1P2, "INTERNAL AUTHENTICATE", &DataArguments},
    {0x00, 0xA4, kAnyP1P2, "SELECT", &FileOf},
    {0x00, 0xB0, kAnyP1P2, "READ BINARY", &ReadArguments},
    {0x00, 0xD6, kAnyP1P2, "UPDATE BINARY", &WriteArguments},
    {0x80, 0xF6, 0x0000, "GET CHIP ID", &DataArguments},
};

std::string NameOf(const CommandText& command)
{
    for (const CommandName& row : kCommandNames)
    {
        if (row.cla == command.Cla() && row.ins == command.Ins() &&
            (row.p1p2 == kAnyP1P2 || row.p1p2 == command.P1P2()))
        {
            return row.name + row.arguments(command);
        }
    }
    return "unknown command " + command.digits;
}

std::string OutcomeOf(const std::string& answer)
{
    if (answer.size() < kStatusDigits)
    {
        return "no answer";
    }
    const std::size_t dataDigits = answer.size() - kStatusDigits;
    const std::string digits = answer.substr(dataDigits);
    const CommandText statusWord{digits};
    std::string outcome =
        digits + " " + StatusWord::Meaning(static_cast<std::uint16_t>(statusWord.Number(0, kStatusDigits)));
    if (dataDigits > 0)
    {
        outcome += ", " + std::to_string(dataDigits / 2) + " bytes";
    }
    return outcome;
}

std::string Seconds(const std::string& microseconds)
{
    std::array<char, 32> text{};
    long long count = 0;
    std::from_chars(microseconds.data(), microseconds.data() + microseconds.size(), count);
    std::snprintf(text.data(), text.size(), "%10.6f", static_cast<double>(count) / 1e6);
    return text.data();
}

std::string Padded(std::string text, std::size_t width)
{
    text.resize(std::max(text.size(), width), ' ');
    return text;
}

} // namespace

namespace Simulator
{

std::string DecodeTraceLine(const TraceLine& line)
{
    constexpr std::size_t kNameWidth = 46;
    constexpr std::size_t kOutcomeWidth = 34;
    const std::string start = Seconds(line.time) + "  " + line.reader + "  ";
    if (line.kind == "command")
    {
        return start + Padded(NameOf({line.command}), kNameWidth) + "  " +
               Padded(OutcomeOf(line.answer), kOutcomeWidth) + "  " + line.note;
    }
    if (line.kind == "insert")
    {
        return start + "card inserted: " + line.note;
    }
    if (line.kind == "control")
    {
        return start + "control " + line.command.substr(0, kHeaderDigits) + ": " +
               std::to_string(line.answer.size() / 2) + " bytes";
    }
    return start + line.kind + (line.answer.empty() ? std::string() : " " + line.answer);
}

} // namespace Simulator
