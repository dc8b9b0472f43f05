#include "simulator/data/Der.h"

#include <stdexcept>

namespace
{

using Simulator::Bytes;
using Simulator::ByteView;

ByteView AsBytes(std::string_view text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.data()), text.size()};
}

} // namespace

namespace Simulator::Der
{

Bytes Tlv(std::uint8_t tag, ByteView content)
{
    const std::size_t length = content.size();
    if (length > 0xFFFF)
    {
        throw std::length_error("more than a card file holds");
    }
    const auto low = static_cast<std::uint8_t>(length & 0xFFU);
    Bytes tlv = {tag};
    if (length > 0xFF)
    {
        Append(tlv, Bytes{0x82, static_cast<std::uint8_t>(length >> 8U), low});
    }
    else if (length > 0x7F)
    {
        Append(tlv, Bytes{0x81, low});
    }
    else
    {
        tlv.push_back(low);
    }
    Append(tlv, content);
    return tlv;
}

Bytes Sequence(std::initializer_list<Bytes> elements)
{
    Bytes content;
    for (const Bytes& element : elements)
    {
        Append(content, element);
    }
    return Tlv(0x30, content);
}

Bytes SmallInteger(std::uint8_t value)
{
    return Tlv(0x02, Bytes{value});
}

Bytes Utf8String(std::string_view text)
{
    return Tlv(0x0C, AsBytes(text));
}

Bytes OctetString(ByteView content)
{
    return Tlv(0x04, content);
}

Bytes BitString(ByteView content)
{
    Bytes withUnusedBits = {0x00};
    Append(withUnusedBits, content);
    return Tlv(0x03, withUnusedBits);
}

Bytes GeneralizedTime(std::string_view time)
{
    return Tlv(0x18, AsBytes(time));
}

} // namespace Simulator::Der
