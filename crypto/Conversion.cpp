#include "crypto/Conversion.h"

#include "crypto/SecretWipe.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>

namespace Norvik
{

namespace
{

constexpr std::size_t kLongestSubstring = 4;
constexpr long kDoesNotFit = -1;

/** The shared end of the array forms: answers the size question, or copies what fits. */
template <typename Source, typename Target>
long CopyToArray(const Source& converted, Target* output, unsigned long& capacity)
{
    const unsigned long size = converted.size();
    if (output != nullptr && capacity == 0)
    {
        return static_cast<long>(size);
    }
    if (output == nullptr || capacity < size)
    {
        return kDoesNotFit;
    }
    std::copy(converted.begin(), converted.end(), output);
    capacity = size;
    return static_cast<long>(size);
}

} // namespace

void RemoveLeadingNulls(unsigned char* buffer, unsigned long& length)
{
    if (length == 0 || buffer[0] != 0)
    {
        return;
    }
    unsigned char* const end = buffer + length;
    unsigned char* const first = std::find_if(buffer, end, [](unsigned char byte) { return byte != 0; });
    length = static_cast<unsigned long>(std::copy(first, end, buffer) - buffer);
}

unsigned long bin2decStr(const unsigned char* bytes, unsigned long count, char* output)
{
    if (bytes == nullptr || count == 0)
    {
        return static_cast<unsigned long>(-1);
    }
    // One decimal digit a byte, the last one at the end.
    std::vector<unsigned char> digits(5 * count / 2 + 2);
    const auto multiplyAndAdd = [&digits](unsigned int halfByte) {
        unsigned int carry = halfByte;
        for (auto digit = digits.rbegin(); digit != digits.rend(); ++digit)
        {
            carry += *digit * 16U;
            *digit = static_cast<unsigned char>(carry % 10);
            carry /= 10;
        }
    };
    for (unsigned long i = 0; i < count; ++i)
    {
        multiplyAndAdd(bytes[i] >> 4U);
        multiplyAndAdd(bytes[i] & 0x0FU);
    }
    // A value of zero keeps its last digit.
    const auto first =
        std::find_if(digits.begin(), digits.end() - 1, [](unsigned char digit) { return digit != 0; });
    char* const end = std::transform(first, digits.end(), output,
                                     [](unsigned char digit) { return static_cast<char>('0' + digit); });
    *end = '\0';
    return static_cast<unsigned long>(end - output);
}

int SubStrToInt(std::string_view text, std::size_t start, std::size_t count)
{
    if (count > kLongestSubstring || start >= text.size())
    {
        return 0;
    }
    std::array<char, kLongestSubstring + 1> digits{};
    text.copy(digits.data(), count, start);
    return static_cast<int>(std::strtol(digits.data(), nullptr, 10));
}

unsigned long BinData2HexStr(const std::vector<unsigned char>& bytes, std::string& text)
{
    static constexpr char kDigits[] = "0123456789ABCDEF";
    text.clear();
    text.reserve(2 * bytes.size());
    for (const unsigned char byte : bytes)
    {
        text += kDigits[byte >> 4U];
        text += kDigits[byte & 0x0FU];
    }
    return text.size();
}

long BinData2HexStr(const unsigned char* bytes, unsigned long length, char* output, unsigned long& capacity)
{
    std::vector<unsigned char> input(bytes, bytes + length);
    const WipeGuard inputGuard(input);
    std::string text;
    const WipeGuard textGuard(text);
    BinData2HexStr(input, text);
    return CopyToArray(text, output, capacity);
}

unsigned long HexStr2BinData(const std::string& text, std::vector<unsigned char>& bytes)
{
    // No growth on the way, which would leave copies of a PIN behind.
    bytes.reserve(bytes.size() + text.size() / 2);
    char pair[3] = {};
    const WipeGuard pairGuard(pair);
    for (std::size_t i = 0; i < text.size(); i += 2)
    {
        pair[0] = text[i];
        // Intended: the checked access refuses a digit without its twin.
        pair[1] = text.at(i + 1);
        bytes.push_back(static_cast<unsigned char>(hex2int(pair)));
    }
    return bytes.size();
}

long HexStr2BinData(const char* text, unsigned long length, unsigned char* output, unsigned long& capacity)
{
    std::string digits(text, length);
    const WipeGuard digitsGuard(digits);
    std::vector<unsigned char> bytes;
    const WipeGuard bytesGuard(bytes);
    HexStr2BinData(digits, bytes);
    return CopyToArray(bytes, output, capacity);
}

std::vector<unsigned char> HexStr2BinData(const char* text)
{
    std::string digits(text);
    const WipeGuard digitsGuard(digits);
    std::vector<unsigned char> bytes;
    HexStr2BinData(digits, bytes);
    return bytes;
}

long hex2int(const char* text)
{
    return std::strtol(text, nullptr, 16);
}

std::string int2bin(unsigned int number)
{
    std::string text;
    do
    {
        text.insert(text.begin(), (number & 1U) != 0 ? '1' : '0');
        number >>= 1U;
    } while (number != 0);
    return text;
}

unsigned int bin2int(const std::string& text)
{
    return static_cast<unsigned int>(std::strtoul(text.c_str(), nullptr, 2));
}

std::string bin2dec(const std::string& text)
{
    return int2str(bin2int(text));
}

std::string int2str(unsigned int number)
{
    return std::to_string(number);
}

bool isdigit(char character)
{
    return character >= '0' && character <= '9';
}

bool isalpha(char character)
{
    return (character >= 'A' && character <= 'Z') || (character >= 'a' && character <= 'z');
}

void ReverseBytes(unsigned char* bytes, unsigned long count)
{
    std::reverse(bytes, bytes + count);
}

unsigned long SwitchEndian(unsigned long value)
{
    return (value & 0x000000FFUL) << 24U | (value & 0x0000FF00UL) << 8U | (value & 0x00FF0000UL) >> 8U |
           (value & 0xFF000000UL) >> 24U;
}

std::string GenerateRandomString(int count)
{
    static constexpr char kAlphabet[] = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz123456789";
    constexpr int kAlphabetSize = sizeof(kAlphabet) - 1;
    static_assert(kAlphabetSize == 61);

    std::srand(static_cast<unsigned int>(std::time(nullptr)));
    std::string text;
    for (int i = 0; i < count; ++i)
    {
        text += kAlphabet[std::rand() % kAlphabetSize];
    }
    return text;
}

long MyMemfind(const unsigned char* haystack, long haystackLength, const unsigned char* needle,
               long needleLength, long start)
{
    const long first = std::max(start, 0L);
    if (haystackLength < 0 || needleLength <= 0 || first >= haystackLength ||
        needleLength > haystackLength - first)
    {
        return -1;
    }
    const auto needleSize = static_cast<std::size_t>(needleLength);
    const unsigned char* const lastPlace = haystack + (haystackLength - needleLength);
    const unsigned char* place = haystack + first;
    while (place <= lastPlace)
    {
        const auto range = static_cast<std::size_t>(lastPlace - place) + 1;
        place = static_cast<const unsigned char*>(std::memchr(place, needle[0], range));
        if (place == nullptr)
        {
            return -1;
        }
        if (std::memcmp(place, needle, needleSize) == 0)
        {
            return place - haystack;
        }
        ++place;
    }
    return -1;
}

} // namespace Norvik
