#pragma once

#include <atomic>
#include <cstddef>
#include <cstdint>
#include <cstring>

/**
 * What the module and P11Gui agree on: one POSIX memory segment, its layout, and the state word in front of
 * it.
 *
 * All numbers are 32 bits wide in machine order. The state word alone is the handshake: each side writes it
 * after everything that belongs to it, and reads nothing else before it has seen the value that it waits for.
 * Neither side trusts a length that the other one wrote.
 */
namespace DialogSegment
{

/** Of the segment, behind the leading slash of its POSIX name. */
inline constexpr char Name[] = "{C9034F36-6695-4de4-BCE5-79C7810FACAF}";
/** Bytes. */
inline constexpr std::size_t Size = 0x10000;

/** Values of the state word. */
enum State : std::int32_t
{
    GuiRequestPin0 = 5435,        ///< module: ask for the PIN of application 0
    GuiRequestPin1 = 5436,        ///< module: ask for the PIN of application 1
    GuiRequestPinChange0 = 5438,  ///< module: ask for old and new PIN of application 0
    GuiRequestPinChange1 = 5439,  ///< module: ask for old and new PIN of application 1
    GuiShowInfo = 5440,           ///< module: show a box with a title and a text
    GuiResponsePin0 = 5442,       ///< P11Gui: the PIN of application 0 is there
    GuiResponsePin1 = 5443,       ///< P11Gui: the PIN of application 1 is there
    GuiResponsePinChange0 = 5445, ///< P11Gui: the PINs of application 0 are there
    GuiResponsePinChange1 = 5446, ///< P11Gui: the PINs of application 1 are there
    GuiEnded = 5447,              ///< P11Gui: the dialog ended without a result
    GuiInfoDone = 5448,           ///< P11Gui: the box was shown and is over
    GuiKill = 5449,               ///< module: close what is showing
};

inline constexpr std::size_t WordSize = sizeof(std::uint32_t);
inline constexpr std::size_t StateOffset = 0;

/** Request for a PIN, or for the two of a change. */
namespace PinRequest
{
inline constexpr std::size_t MinLengthOffset = 4;
inline constexpr std::size_t MaxLengthOffset = 8;
inline constexpr std::size_t TimeoutOffset = 12; ///< seconds
} // namespace PinRequest

/** Answer to a request for a PIN; the PIN has no terminator. */
namespace PinAnswer
{
inline constexpr std::size_t LengthOffset = 4;
inline constexpr std::size_t PinOffset = 8;
} // namespace PinAnswer

/** Answer to a request for a PIN change. */
namespace PinChangeAnswer
{
inline constexpr std::size_t OldLengthOffset = 4;
inline constexpr std::size_t NewLengthOffset = 8;
inline constexpr std::size_t OldPinOffset = 12;

/** The place of the new PIN doesn't depend on the old PIN's length. May lie beyond the segment. */
constexpr std::size_t NewPinOffset(std::uint32_t maxLength)
{
    return OldPinOffset + std::size_t{maxLength};
}
} // namespace PinChangeAnswer

/** Request for an info box: title, text and time-out follow each other without a gap or a terminator. */
namespace InfoRequest
{
inline constexpr std::size_t TitleLengthOffset = 4;
inline constexpr std::size_t TextLengthOffset = 8;
inline constexpr std::size_t TitleOffset = 12;
/** What title and text may take together. */
inline constexpr std::size_t MaxTextBytes = Size - TitleOffset - WordSize;

constexpr std::size_t TextOffset(std::size_t titleLength)
{
    return TitleOffset + titleLength;
}
/** Seconds; -1 leaves the box until it is killed. May be unaligned. */
constexpr std::size_t TimeoutOffset(std::size_t titleLength, std::size_t textLength)
{
    return TextOffset(titleLength) + textLength;
}
} // namespace InfoRequest

static_assert(sizeof(State) == WordSize);
static_assert(PinRequest::TimeoutOffset + WordSize == 16);
static_assert(PinAnswer::PinOffset == 2 * WordSize);
static_assert(PinChangeAnswer::NewPinOffset(8) == 20);
static_assert(InfoRequest::TimeoutOffset(InfoRequest::MaxTextBytes, 0) + WordSize == Size);
static_assert(std::atomic_ref<std::int32_t>::is_always_lock_free, "the other end is another process");

/** Reads the state word; what the other side wrote before it is visible afterwards. */
inline std::int32_t LoadState(char* segment)
{
    return std::atomic_ref(*reinterpret_cast<std::int32_t*>(segment + StateOffset))
        .load(std::memory_order_acquire);
}

/** Writes the state word, after everything that was written before. */
inline void StoreState(char* segment, std::int32_t state)
{
    std::atomic_ref(*reinterpret_cast<std::int32_t*>(segment + StateOffset))
        .store(state, std::memory_order_release);
}

/** Reads one aligned word exactly once, so that a check of it holds although the other side may change it. */
inline std::uint32_t LoadWord(char* segment, std::size_t offset)
{
    return std::atomic_ref(*reinterpret_cast<std::uint32_t*>(segment + offset))
        .load(std::memory_order_relaxed);
}

/** Writes one word, aligned or not. */
inline void StoreWord(char* segment, std::size_t offset, std::uint32_t value)
{
    std::memcpy(segment + offset, &value, sizeof(value));
}

} // namespace DialogSegment
