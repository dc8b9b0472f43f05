#pragma once

#include <cstddef>
#include <string>
#include <string_view>
#include <vector>

/* Conversions between binary, hexadecimal, decimal and calendar forms. Stateless, but for
 * GenerateRandomString(). */
namespace Norvik
{

/** Drops leading 0x00 bytes by moving the rest to the front; @p length shrinks to match, to 0 when all are
 * 0x00. */
void RemoveLeadingNulls(unsigned char* buffer, unsigned long& length);

/**
 * Writes a big-endian number in decimal.
 *
 * @param output  receives the digits and a NUL; (5 x count) / 2 + 3 bytes are always enough
 * @return number of digits; all bits set when @p bytes is null or @p count is 0
 */
unsigned long bin2decStr(const unsigned char* bytes, unsigned long count, char* output);

/**
 * The decimal number in @p count characters of @p text; characters that are not there end it.
 *
 * @return 0 for more than four characters
 */
int SubStrToInt(std::string_view text, std::size_t start, std::size_t count);

/**
 * Writes @p bytes as upper-case hexadecimal, two digits each, into @p text.
 *
 * @return length of the text
 */
unsigned long BinData2HexStr(const std::vector<unsigned char>& bytes, std::string& text);

/**
 * The same into an array; no NUL is written.
 *
 * @param capacity  in: room in @p output, 0 asks for the size; out on success: characters written
 * @return size of the text, -1 when it does not fit
 */
long BinData2HexStr(const unsigned char* bytes, unsigned long length, char* output, unsigned long& capacity);

/**
 * Appends one byte to @p bytes for each pair of digits, upper or lower case.
 *
 * Keeps no copy of the text and wipes what it held of it, since PINs pass through here.
 * @return length of @p bytes
 * @throws std::out_of_range on an odd number of digits
 */
unsigned long HexStr2BinData(const std::string& text, std::vector<unsigned char>& bytes);

/** The same into an array; @p capacity and the result as in BinData2HexStr(). */
long HexStr2BinData(const char* text, unsigned long length, unsigned char* output, unsigned long& capacity);

/** The same for a NUL-terminated text. */
std::vector<unsigned char> HexStr2BinData(const char* text);

/** The text in base 16, as strtol reads it: 0 when it does not begin with a number. */
long hex2int(const char* text);

/** @p number in base 2 without leading zeros. */
std::string int2bin(unsigned int number);
/** The number that stands in base 2 at the beginning of @p text. */
unsigned int bin2int(const std::string& text);
/** The same number in base 10. */
std::string bin2dec(const std::string& text);
/** @p number in base 10. */
std::string int2str(unsigned int number);

/** ASCII only, whatever the locale. */
bool isdigit(char character);
bool isalpha(char character);

void ReverseBytes(unsigned char* bytes, unsigned long count);

/** Swaps the four low bytes; the upper half of the result is 0. */
unsigned long SwitchEndian(unsigned long value);

/**
 * Letters and digits without 0; empty for a count below 1.
 *
 * Not for cryptographic use: restarts the generator of the C library with the time on each call.
 */
std::string GenerateRandomString(int count = 10);

/**
 * Looks for @p needle from @p start on; a negative start counts as 0.
 *
 * @return offset of the first match; -1 if there is none, for negative lengths and for an empty needle
 */
long MyMemfind(const unsigned char* haystack, long haystackLength, const unsigned char* needle,
               long needleLength, long start);

} // namespace Norvik
