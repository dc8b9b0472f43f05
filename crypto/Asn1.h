#pragma once

#include <ctime>
#include <string>

struct asn1_string_st;

/*
 * Small readers of DER. Positions are byte offsets into the buffer; each routine moves the caller's position
 * past what it read. Unless said otherwise no bound is checked: the caller has made sure that the whole value
 * is there.
 */
namespace Norvik
{

/** What parseValue() met; in brackets the tag. */
enum eASN1Type
{
    eAsn1OctetString = 1,     ///< 0x04
    eAsn1NumericString = 2,   ///< 0x12
    eAsn1GeneralizedTime = 3, ///< 0x18
    eAsn1Utf8String = 4,      ///< 0x0C
    eAsn1Integer = 5,         ///< 0x02
    eAsn1PrintableString = 6, ///< 0x13
};

/**
 * The length at @p position, at most 65535.
 *
 * Reads one byte, two behind 0x81, three behind 0x82. Every other byte is the length itself, 0x80 and those
 * above 0x82 as well.
 */
unsigned long getLen(const unsigned char* buffer, int& position);

/**
 * Reads a value with one of the tags of eASN1Type.
 *
 * @param output  receives the content, without a bound
 * @param length  receives the length of the content
 * @return false on any other tag; nothing is touched then
 */
bool parseValue(const unsigned char* buffer, int& position, eASN1Type& type, unsigned char* output,
                unsigned long& length);

/**
 * Reads a BIT STRING that has no unused bits; @p position stands on the length, behind the tag.
 *
 * @param output  receives the bits
 * @param length  in: room in @p output; out: length of the bits, also when some of them are unused
 * @return false when the value is empty, does not fit or has unused bits; @p output is untouched then
 */
bool ReadBitString(const unsigned char* buffer, int& position, unsigned char* output, unsigned long& length);

/** The text whose length stands at @p position; it ends at a NUL within. */
std::string ReadUtf8String(const unsigned char* buffer, int& position);

/**
 * The content of an OBJECT IDENTIFIER as numbers with @p separator between them; empty for no bytes.
 *
 * Intended: every byte behind the first is a number of its own, arcs above 127 are not put together.
 */
std::string OID2Str(const unsigned char* bytes, unsigned long count, char separator);

/**
 * Seconds since the epoch of a UTCTime or GeneralizedTime; 0 for any other type.
 *
 * Intended: the digits are read as local time of the host, whatever zone the text names. Only a
 * GeneralizedTime of 23 characters has its offset applied.
 */
std::time_t ASN1_TIME_to_time_t(const asn1_string_st* time);

} // namespace Norvik
