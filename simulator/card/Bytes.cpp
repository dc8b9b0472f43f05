#include "simulator/card/Bytes.h"

#include <stdexcept>

namespace
{

unsigned int DigitValue(char digit)
{
    if (digit >= '0' && digit <= '9')
    {
        return static_cast<unsigned int>(digit - '0');
    }
    if (digit >= 'a' && digit <= 'f')
    {
        return static_cast<unsigned int>(digit - 'a') + 10;
    }
    if (digit >= 'A' && digit <= 'F')
    {
        return static_cast<unsigned int>(digit - 'A') + 10;
    }
    throw std::invalid_argument("not a hexadecimal digit");
}

} // namespace

namespace Simulator
{

Bytes FromHex(std::string_view text)
{
    Bytes bytes;
    bytes.reserve(text.size() / 2);
    std::size_t position = 0;
    while (position < text.size())
    {
        if (text[position] == ' ')
        {
            ++position;
            continue;
        }
        if (position + 1 == text.size())
        {
            throw std::invalid_argument("odd number of hexadecimal digits");
        }
        const unsigned int value = DigitValue(text[position]) * 16 + DigitValue(text[position + 1]);
        bytes.push_back(static_cast<std::uint8_t>(value));
        position += 2;
    }
    return bytes;
}

std::string ToHex(ByteView bytes)
{
    static constexpr std::string_view kDigits = "0123456789ABCDEF";
    std::string text;
    text.reserve(bytes.size() * 2);
    for (const std::uint8_t byte : bytes)
    {
        text.push_back(kDigits[byte >> 4U]);
        text.push_back(kDigits[byte & 0x0FU]);
    }
    return text;
}

void Append(Bytes& target, ByteView more)
{
    target.insert(target.end(), more.begin(), more.end());
}

} // namespace Simulator
