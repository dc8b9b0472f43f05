#include "cards/Apdu.h"

#include "crypto/Conversion.h"
#include "crypto/SecretWipe.h"

#include <algorithm>
#include <array>
#include <charconv>
#include <cstddef>
#include <span>
#include <string>
#include <utility>

namespace
{

constexpr std::size_t kHeaderLength = 4;
constexpr std::size_t kP1Offset = 2;
constexpr std::size_t kP2Offset = 3;

// The control nibble of a format 2 block stands above the length nibble.
constexpr std::size_t kFormat2Control = 0x20;

// A command may hold a PIN block already, so it never grows in place: that would leave the block in freed
// memory.
void AppendBytes(Norvik::ByteArray& command, std::span<const unsigned char> bytes)
{
    if (bytes.size() <= command.capacity() - command.size())
    {
        command.insert(command.end(), bytes.begin(), bytes.end());
        return;
    }
    Norvik::ByteArray bigger;
    bigger.reserve(command.size() + bytes.size());
    bigger.insert(bigger.end(), command.begin(), command.end());
    bigger.insert(bigger.end(), bytes.begin(), bytes.end());
    command.swap(bigger);
    Norvik::Wipe(bigger);
}

std::size_t AsSize(int width)
{
    return static_cast<std::size_t>(width);
}

} // namespace

Apdu::Apdu(unsigned char cla, unsigned char ins, unsigned char p1, unsigned char p2)
{
    Append(std::array{cla, ins, p1, p2}.data(), 4);
}

Apdu::Apdu(unsigned char cla, unsigned char ins, unsigned char p1, unsigned char p2, unsigned char length)
{
    Append(std::array{cla, ins, p1, p2, length}.data(), 5);
}

void Apdu::Clear()
{
    clear();
}

void Apdu::Append(const unsigned char* data, int length)
{
    if (length > 0)
    {
        AppendBytes(*this, {data, AsSize(length)});
    }
}

void Apdu::Append(unsigned char value)
{
    AppendBytes(*this, {&value, 1});
}

void Apdu::Append(Norvik::ByteArray data)
{
    AppendBytes(*this, data);
}

void Apdu::AppendAndPad(const Norvik::ByteArray& data, int width)
{
    Norvik::ByteArray block;
    const Norvik::WipeGuard guard(block);
    block.reserve(std::max(data.size(), AsSize(width)));
    block.insert(block.end(), data.begin(), data.end());
    // Intended: more data than width wraps the count, and the container's own length error leaves.
    block.insert(block.end(), AsSize(width) - data.size(), 0x00);
    AppendBytes(*this, block);
}

void Apdu::AppendPinFormat2(const Norvik::ByteArray& pin, int width)
{
    std::array<char, 2 * sizeof(std::size_t)> control{};
    const auto [controlEnd, error] =
        std::to_chars(control.data(), control.data() + control.size(), pin.size() + kFormat2Control, 16);

    const std::size_t digits = AsSize(width) * 2;
    std::string text;
    const Norvik::WipeGuard textGuard(text);
    text.reserve(std::max(digits, control.size() + pin.size()));
    text.append(control.data(), controlEnd);
    // One by one: appending a range goes through a temporary that nobody wipes.
    for (const unsigned char digit : pin)
    {
        text.push_back(static_cast<char>(digit));
    }
    // Intended: too long a PIN wraps the count, and the container's own length error leaves.
    text.append(digits - text.size(), 'F');

    Norvik::ByteArray block;
    const Norvik::WipeGuard blockGuard(block);
    block.reserve(AsSize(width));
    Norvik::HexStr2BinData(text, block);
    AppendBytes(*this, block);
}

void Apdu::SetP1(unsigned char p1)
{
    if (size() > kP1Offset)
    {
        (*this)[kP1Offset] = p1;
    }
}

void Apdu::SetP2(unsigned char p2)
{
    if (size() > kP2Offset)
    {
        (*this)[kP2Offset] = p2;
    }
}

void Apdu::RemoveDataAndLength()
{
    resize(kHeaderLength, 0x00);
}
