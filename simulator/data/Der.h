#pragma once

#include "simulator/card/Bytes.h"

#include <initializer_list>
#include <string_view>

/** Writes the few ASN.1 types that the card files hold, in DER. */
namespace Simulator::Der
{

Bytes Tlv(std::uint8_t tag, ByteView content);
Bytes Sequence(std::initializer_list<Bytes> elements);
Bytes SmallInteger(std::uint8_t value); ///< 0 to 127
Bytes Utf8String(std::string_view text);
Bytes OctetString(ByteView content);
Bytes BitString(ByteView content); ///< whole bytes
/** @param time year to second and Z, e.g. 20240229120000Z */
Bytes GeneralizedTime(std::string_view time);

} // namespace Simulator::Der
