#pragma once

#include <cstddef>
#include <cstdint>

/**
 * What driver and world say to each other over a UNIX socket of whole messages (SOCK_SEQPACKET).
 *
 * The driver opens two connections for each reader. On the first it asks and the world answers:
 *
 *     driver: operation (1 byte), then what belongs to it
 *     world:  outcome (1 byte), then what belongs to it
 *
 * The second one carries the insertions and removals. The world sends the number of the last change, at once
 * and after each further change; the driver sends it back in Watching when the service has acted on it and
 * waits again. All numbers have 8 bytes but the reader's and the control code, which have 4, in host order.
 */
namespace Simulator::WorldProtocol
{

enum class Operation : std::uint8_t
{
    OpenCommands = 1, ///< number of the reader; the first message of a connection
    OpenEvents = 2,   ///< number of the reader; answered by the number of the last change alone
    IsPresent = 3,
    PowerOn = 4, ///< answered with the ATR
    Reset = 5,   ///< answered with the ATR
    PowerOff = 6,
    Transmit = 7, ///< command; answered with data and status word
    Control = 8,  ///< control code, input; answered with the output
    Watching = 9  ///< number of a change; not answered
};

enum class Outcome : std::uint8_t
{
    Ok = 0,
    NoCard = 1, ///< IsPresent: the reader is empty; else no card, no power or no answer
    NotSupported = 2
};

constexpr std::size_t kLongestMessage = 70000;

} // namespace Simulator::WorldProtocol
