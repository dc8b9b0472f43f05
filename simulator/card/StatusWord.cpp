#include "simulator/card/StatusWord.h"

namespace
{

struct StatusWordRow
{
    std::uint16_t statusWord;
    const char* meaning;
};

constexpr StatusWordRow kRows[] = {
    {0x9000, "ok"},
    {0x6282, "end of file reached before Le bytes"},
    {0x6300, "authentication failed"},
    {0x6400, "PIN entry timed out, or execution error"},
    {0x6401, "PIN entry cancelled"},
    {0x6402, "the two new PINs differ"},
    {0x6403, "PIN too short or too long"},
    {0x6581, "memory failure"},
    {0x6700, "wrong length"},
    {0x6982, "security status not satisfied"},
    {0x6983, "PIN blocked"},
    {0x6984, "reference data not usable"},
    {0x6985, "conditions of use not satisfied"},
    {0x6986, "no current EF"},
    {0x6988, "incorrect secure messaging data"},
    {0x6A80, "incorrect data field"},
    {0x6A81, "function not supported"},
    {0x6A82, "file not found"},
    {0x6A84, "not enough memory in the file"},
    {0x6A86, "incorrect P1-P2"},
    {0x6A87, "Lc inconsistent with P1-P2"},
    {0x6A88, "referenced data not found"},
    {0x6B00, "offset outside the file"},
    {0x6B80, "invalid parameter in PIN structure"},
    {0x6D00, "instruction not supported"},
    {0x6E00, "class not supported"},
    {0x6F00, "no precise diagnosis"},
};

} // namespace

namespace Simulator::StatusWord
{

std::string Meaning(std::uint16_t statusWord)
{
    if ((statusWord & 0xFFF0U) == kTriesLeft)
    {
        return "wrong PIN, " + std::to_string(statusWord & 0x0FU) + " tries left";
    }
    for (const StatusWordRow& row : kRows)
    {
        if (row.statusWord == statusWord)
        {
            return row.meaning;
        }
    }
    return "unknown status word";
}

} // namespace Simulator::StatusWord
