#pragma once

#include <string>
#include <vector>

namespace Norvik
{

/**
 * The byte buffer of the whole system: APDUs, responses, file contents, digests, signatures, PINs.
 *
 * A standard vector of bytes, copied by value. A holder of secrets puts a WipeGuard behind the declaration
 * and reserves the final size first, since a growing vector leaves copies in freed memory.
 */
class ByteArray : public std::vector<unsigned char>
{
public:
    /** Flags of ToHexString(); may be or-ed. */
    static constexpr unsigned short UPPERCASE = 1;
    static constexpr unsigned short NOT_SPACED = 2;

    ByteArray() = default;
    /** Copies @p length bytes; with length 0 @p data is not read and may be null. */
    ByteArray(const unsigned char* data, unsigned long length);
    /** One byte for each char, without the terminator. */
    ByteArray(const std::string& text);
    ByteArray(std::vector<unsigned char> bytes);
    /** Two bytes for each character, low byte first; bits above 15 are dropped. */
    ByteArray(const std::wstring& text);

    /** Appends @p length bytes; with length 0 @p data is not read. */
    void Add(const unsigned char* data, unsigned long length);

    /**
     * The bytes as pairs of hexadecimal digits, lower case and separated by one blank unless @p flags say
     * else.
     *
     * @throws std::out_of_range on an empty buffer: callers test for emptiness first
     */
    [[nodiscard]] std::string ToHexString(unsigned short flags) const;
};

} // namespace Norvik
