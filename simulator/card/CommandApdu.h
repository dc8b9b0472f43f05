#pragma once

#include "simulator/card/Bytes.h"

#include <cstddef>
#include <optional>

namespace Simulator
{

/** A command in one of the four short forms of ISO 7816-4. */
struct CommandApdu
{
    std::uint8_t cla = 0;
    std::uint8_t ins = 0;
    std::uint8_t p1 = 0;
    std::uint8_t p2 = 0;
    Bytes data;                    ///< empty in cases 1 and 2, never empty in cases 3 and 4
    std::optional<std::size_t> le; ///< 1 to 256, absent in cases 1 and 3

    [[nodiscard]] std::uint16_t P1P2() const { return static_cast<std::uint16_t>(p1 * 256 + p2); }
    /** 1 to 4. */
    [[nodiscard]] int Case() const;

    /** @return nothing when the lengths contradict each other or are of the extended form */
    static std::optional<CommandApdu> Parse(ByteView command);
};

} // namespace Simulator
