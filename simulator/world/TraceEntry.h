#pragma once

#include "simulator/card/Bytes.h"

#include <chrono>
#include <cstddef>
#include <string>

namespace Simulator
{

enum class TraceKind
{
    Insert, ///< note: the kind of card
    Remove,
    PowerOn, ///< answer: the ATR
    Reset,   ///< answer: the ATR
    PowerOff,
    Command, ///< command and answer; note: the files current after it
    Control  ///< command: control code in 4 bytes, big-endian, then the input; answer: the output
};

/** One event of a reader. */
struct TraceEntry
{
    std::chrono::microseconds time{0}; ///< since the world began
    std::size_t reader = 0;
    TraceKind kind = TraceKind::Command;
    Bytes command;
    Bytes answer; ///< empty when the card or the reader gave none
    std::string note;
};

} // namespace Simulator
