#pragma once

#include <cstdint>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace Simulator
{

using Bytes = std::vector<std::uint8_t>;
using ByteView = std::span<const std::uint8_t>;

/** Hexadecimal pairs in either case, blanks allowed between pairs. @throws std::invalid_argument on anything else */
Bytes FromHex(std::string_view text);

/** Capital hexadecimal pairs without separators. */
std::string ToHex(ByteView bytes);

void Append(Bytes& target, ByteView more);

} // namespace Simulator
