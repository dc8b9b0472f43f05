#pragma once

#include "crypto/ByteArray.h"

#include <array>
#include <cstddef>

struct PINVerifyData;

/** What a reader gets for PIN entry on its keypad: the PIN_VERIFY or PIN_MODIFY structure of PC/SC part 10.
 */
struct PinBlock
{
    static constexpr std::size_t kSize = 2048;

    std::array<unsigned char, kSize> bytes{};
    unsigned int length = 0; ///< bytes in use
};

/**
 * Puts @p command, a command with an empty PIN field, into a PIN_VERIFY structure.
 *
 * @return false for an unknown PIN format, which is logged, and for a command of more than 2029 bytes
 */
bool BuildPinVerifyBlock(const Norvik::ByteArray& command, const PINVerifyData& data, PinBlock& block);

/**
 * Puts @p command, a command with two empty PIN fields, into a PIN_MODIFY structure.
 *
 * @return false for an unknown PIN format, which is logged, and for a command of more than 2024 bytes
 */
bool BuildPinModifyBlock(const Norvik::ByteArray& command, const PINVerifyData& data, PinBlock& block);
