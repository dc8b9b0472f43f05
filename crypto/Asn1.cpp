#include "crypto/Asn1.h"

#include "crypto/Conversion.h"

#include <cstddef>
#include <cstring>
#include <string_view>

#include <openssl/asn1.h>

namespace Norvik
{

namespace
{

struct TagRow
{
    unsigned char tag;
    eASN1Type type;
};

constexpr TagRow kTags[] = {
    {0x04, eAsn1OctetString}, {0x12, eAsn1NumericString}, {0x18, eAsn1GeneralizedTime},
    {0x0C, eAsn1Utf8String},  {0x02, eAsn1Integer},       {0x13, eAsn1PrintableString},
};

const TagRow* FindTag(unsigned char tag)
{
    for (const TagRow& row : kTags)
    {
        if (row.tag == tag)
        {
            return &row;
        }
    }
    return nullptr;
}

/** getLen() gives at most 65535. */
void Advance(int& position, unsigned long length)
{
    position += static_cast<int>(length);
}

constexpr std::size_t kShortestUtcTime = 10;
constexpr std::size_t kGeneralizedTimeWithShortYear = 12;
constexpr std::size_t kGeneralizedTimeWithOffset = 23;
constexpr std::size_t kOffsetSignAt = 18;

std::tm EmptyTime()
{
    std::tm time{};
    // The C library finds out by itself whether summer time was in force.
    time.tm_isdst = -1;
    return time;
}

/** The fields from month to minute, which follow the year. */
void ReadMonthToMinute(std::string_view text, std::size_t start, std::tm& time)
{
    time.tm_mon = SubStrToInt(text, start, 2) - 1;
    time.tm_mday = SubStrToInt(text, start + 2, 2);
    time.tm_hour = SubStrToInt(text, start + 4, 2);
    time.tm_min = SubStrToInt(text, start + 6, 2);
}

bool IsZoneMark(char character)
{
    return character == 'Z' || character == '+' || character == '-';
}

std::time_t ReadUtcTime(std::string_view text)
{
    if (text.size() < kShortestUtcTime)
    {
        return 0;
    }
    std::tm time = EmptyTime();
    time.tm_year = SubStrToInt(text, 0, 2);
    if (time.tm_year < 70)
    {
        time.tm_year += 100;
    }
    ReadMonthToMinute(text, 2, time);
    if (text.size() > kShortestUtcTime && !IsZoneMark(text[kShortestUtcTime]))
    {
        time.tm_sec = SubStrToInt(text, kShortestUtcTime, 2);
    }
    // Intended: an offset behind the digits is not applied.
    return std::mktime(&time);
}

std::time_t ReadGeneralizedTime(std::string_view text)
{
    if (text.size() == kGeneralizedTimeWithShortYear)
    {
        return ReadUtcTime(text);
    }
    std::tm time = EmptyTime();
    time.tm_year = SubStrToInt(text, 0, 4) - 1900;
    ReadMonthToMinute(text, 4, time);
    time.tm_sec = SubStrToInt(text, 12, 2);
    const std::time_t seconds = std::mktime(&time);

    if (text.size() != kGeneralizedTimeWithOffset)
    {
        return seconds;
    }
    const std::time_t offset =
        SubStrToInt(text, kOffsetSignAt + 1, 2) * 3600 + SubStrToInt(text, kOffsetSignAt + 3, 2) * 60;
    switch (text[kOffsetSignAt])
    {
    case '+':
        return seconds + offset;
    case '-':
        return seconds - offset;
    default:
        return seconds;
    }
}

} // namespace

unsigned long getLen(const unsigned char* buffer, int& position)
{
    const unsigned char first = buffer[position++];
    if (first == 0x81)
    {
        return buffer[position++];
    }
    if (first == 0x82)
    {
        const unsigned long high = buffer[position++];
        const unsigned long low = buffer[position++];
        return high << 8U | low;
    }
    return first;
}

bool parseValue(const unsigned char* buffer, int& position, eASN1Type& type, unsigned char* output,
                unsigned long& length)
{
    const TagRow* const row = FindTag(buffer[position]);
    if (row == nullptr)
    {
        return false;
    }
    type = row->type;
    ++position;
    length = getLen(buffer, position);
    if (length > 0)
    {
        std::memcpy(output, buffer + position, length);
    }
    Advance(position, length);
    return true;
}

bool ReadBitString(const unsigned char* buffer, int& position, unsigned char* output, unsigned long& length)
{
    const unsigned long valueLength = getLen(buffer, position);
    const unsigned char* const value = buffer + position;
    Advance(position, valueLength);
    if (valueLength == 0 || valueLength > length)
    {
        return false;
    }
    // Intended: the count of unused bits is read like a length, so it may have a prefix.
    const unsigned long prefixBytes = value[0] == 0x82 ? 3 : value[0] == 0x81 ? 2 : 1;
    if (prefixBytes > valueLength)
    {
        return false;
    }
    int consumed = 0;
    const unsigned long unusedBits = getLen(value, consumed);
    length = valueLength - prefixBytes;
    if (unusedBits != 0)
    {
        return false;
    }
    if (length > 0)
    {
        std::memmove(output, value + 1, length);
    }
    return true;
}

std::string ReadUtf8String(const unsigned char* buffer, int& position)
{
    const unsigned long length = getLen(buffer, position);
    const std::string_view value(reinterpret_cast<const char*>(buffer + position), length);
    Advance(position, length);
    return std::string(value.substr(0, value.find('\0')));
}

std::string OID2Str(const unsigned char* bytes, unsigned long count, char separator)
{
    if (count == 0)
    {
        return {};
    }
    std::string text = std::to_string(bytes[0] / 40) + separator + std::to_string(bytes[0] % 40);
    for (unsigned long i = 1; i < count; ++i)
    {
        text += separator;
        text += std::to_string(bytes[i]);
    }
    return text;
}

std::time_t ASN1_TIME_to_time_t(const asn1_string_st* time)
{
    if (time == nullptr)
    {
        return 0;
    }
    const int length = ASN1_STRING_length(time);
    std::string_view text;
    if (length > 0)
    {
        text = {reinterpret_cast<const char*>(ASN1_STRING_get0_data(time)), static_cast<std::size_t>(length)};
    }
    switch (ASN1_STRING_type(time))
    {
    case V_ASN1_UTCTIME:
        return ReadUtcTime(text);
    case V_ASN1_GENERALIZEDTIME:
        return ReadGeneralizedTime(text);
    default:
        return 0;
    }
}

} // namespace Norvik
