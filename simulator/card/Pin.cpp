#include "simulator/card/Pin.h"

#include "simulator/card/StatusWord.h"

#include <algorithm>
#include <optional>
#include <stdexcept>

namespace
{

using Simulator::Bytes;
using Simulator::ByteView;

constexpr unsigned int kMostTries = 15;

bool IsDigit(char character)
{
    return character >= '0' && character <= '9';
}

Bytes AsciiBlock(const std::string& digits)
{
    Bytes block(digits.begin(), digits.end());
    block.resize(Simulator::Pin::kBlockLength, 0x00);
    return block;
}

Bytes Format2Block(const std::string& digits)
{
    Bytes block(Simulator::Pin::kBlockLength, 0xFF);
    block[0] = static_cast<std::uint8_t>(0x20 + digits.size());
    for (std::size_t index = 0; index < digits.size(); ++index)
    {
        const auto digit = static_cast<unsigned int>(digits[index] - '0');
        std::uint8_t& byte = block[1 + index / 2];
        byte = static_cast<std::uint8_t>(index % 2 == 0 ? (digit << 4U) | 0x0FU : (byte & 0xF0U) | digit);
    }
    return block;
}

std::optional<std::string> AsciiDigits(ByteView block)
{
    const auto end = std::find(block.begin(), block.end(), 0x00);
    if (std::any_of(end, block.end(), [](std::uint8_t byte) { return byte != 0x00; }))
    {
        return std::nullopt;
    }
    return std::string(block.begin(), end);
}

std::optional<std::string> Format2Digits(ByteView block)
{
    const std::size_t length = block[0] & 0x0FU;
    if ((block[0] & 0xF0U) != 0x20U || length > (block.size() - 1) * 2)
    {
        return std::nullopt;
    }
    std::string digits;
    for (std::size_t index = 0; index < (block.size() - 1) * 2; ++index)
    {
        const std::uint8_t byte = block[1 + index / 2];
        const unsigned int nibble = index % 2 == 0 ? byte >> 4U : byte & 0x0FU;
        if ((index < length) != (nibble <= 9) || (index >= length && nibble != 0x0FU))
        {
            return std::nullopt;
        }
        if (index < length)
        {
            digits.push_back(static_cast<char>('0' + nibble));
        }
    }
    return digits;
}

std::optional<std::string> DigitsOf(Simulator::PinBlockFormat format, ByteView block)
{
    return format == Simulator::PinBlockFormat::Ascii ? AsciiDigits(block) : Format2Digits(block);
}

} // namespace

namespace Simulator
{

Pin::Pin(PinSettings settings) : m_Settings(std::move(settings)), m_TriesLeft(m_Settings.tries)
{
    if (m_Settings.tries == 0 || m_Settings.tries > kMostTries)
    {
        throw std::invalid_argument("a try counter holds 1 to 15");
    }
    if (m_Settings.mostLength > kBlockLength || !IsValue(m_Settings.value))
    {
        throw std::invalid_argument("the PIN \"" + m_Settings.name +
                                    "\" has a wrong length or is not of digits");
    }
}

std::uint16_t Pin::Verify(ByteView block)
{
    const std::uint16_t outcome = Compare(block);
    m_bVerified = outcome == StatusWord::kOk;
    return outcome;
}

std::uint16_t Pin::Change(ByteView oldBlock, ByteView newBlock)
{
    const std::uint16_t outcome = Compare(oldBlock);
    if (outcome != StatusWord::kOk)
    {
        m_bVerified = false;
        return outcome;
    }
    const std::optional<std::string> digits = DigitsOf(m_Settings.format, newBlock);
    if (!digits.has_value() || !IsValue(*digits))
    {
        return StatusWord::kWrongData;
    }
    m_Settings.value = *digits;
    return StatusWord::kOk;
}

std::uint16_t Pin::Status() const
{
    if (m_TriesLeft == 0)
    {
        return StatusWord::kPinBlocked;
    }
    return m_bVerified ? StatusWord::kOk : static_cast<std::uint16_t>(StatusWord::kTriesLeft | m_TriesLeft);
}

bool Pin::IsValue(const std::string& digits) const
{
    return digits.size() >= m_Settings.leastLength && digits.size() <= m_Settings.mostLength &&
           std::all_of(digits.begin(), digits.end(), IsDigit);
}

bool Pin::IsWellFormed(ByteView block) const
{
    // An ASCII block is compared as it stands: only format 2 has a form of its own that a card can check.
    return m_Settings.format == PinBlockFormat::Ascii || Format2Digits(block).has_value();
}

Bytes Pin::Block() const
{
    return m_Settings.format == PinBlockFormat::Ascii ? AsciiBlock(m_Settings.value)
                                                      : Format2Block(m_Settings.value);
}

std::uint16_t Pin::Compare(ByteView block)
{
    if (m_TriesLeft == 0)
    {
        return StatusWord::kPinBlocked;
    }
    if (!IsWellFormed(block))
    {
        return StatusWord::kWrongData;
    }
    if (!std::ranges::equal(block, Block()))
    {
        --m_TriesLeft;
        return static_cast<std::uint16_t>(StatusWord::kTriesLeft | m_TriesLeft);
    }
    m_TriesLeft = m_Settings.tries;
    return StatusWord::kOk;
}

} // namespace Simulator
