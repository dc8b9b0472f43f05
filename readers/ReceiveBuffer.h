#pragma once

#include "crypto/ByteArray.h"

#include <algorithm>
#include <array>
#include <cstddef>

/** Room for the answer of one exchange or control call. */
inline constexpr std::size_t kAnswerSize = 5012;

/**
 * What the resource manager writes into: bytes of a fixed size and a length that is never believed.
 *
 * A call that fails may leave the bytes, the length or both as they were, or report more than there is room
 * for.
 */
template <std::size_t Size>
struct ReceiveBuffer
{
    std::array<unsigned char, Size> bytes;
    unsigned long length;

    ReceiveBuffer() { Clear(); }

    /** Before each call: nothing of the call before can pass for an answer. */
    void Clear()
    {
        bytes.fill(0);
        length = Size;
    }
    /** Number of bytes that count: what was reported, at most what there is room for. */
    [[nodiscard]] std::size_t Received() const { return std::min<std::size_t>(length, Size); }
    /** Replaces @p out; keeps it when no byte came. */
    void CopyTo(Norvik::ByteArray& out) const
    {
        if (length != 0)
        {
            out.assign(bytes.begin(), bytes.begin() + static_cast<std::ptrdiff_t>(Received()));
        }
    }
};
