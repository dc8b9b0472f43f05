#pragma once

#include <cstdio>
#include <vector>

struct evp_md_st;

namespace Norvik
{

/** The digests of this library. Not to be confused with the global HashAlgorithm of signature requests. */
enum class HashAlgorithm
{
    Sha1 = 0,
    Ripemd160 = 1,
    Sha224 = 2,
    Sha256 = 3,
    Sha512 = 4,
    Md5 = 5,
    Md4 = 6,
    None = 7, ///< no digest: every routine refuses it
    Sha384 = 8,
};

inline constexpr unsigned long Md4DigestLen = 16;
inline constexpr unsigned long Md5DigestLen = 16;
inline constexpr unsigned long Sha1DigestLen = 20;
inline constexpr unsigned long Sha224DigestLen = 28;
inline constexpr unsigned long Sha256DigestLen = 32;
inline constexpr unsigned long Sha384DigestLen = 48;
inline constexpr unsigned long Sha512DigestLen = 64;
inline constexpr unsigned long Ripemd160DigestLen = 20;

// What stands in front of the digest in a DigestInfo (RFC 8017, section 9.2).
inline constexpr unsigned long Sha1Pkcs01DigestInfoLen = 15;
inline constexpr unsigned long Ripemd160Pkcs01DigestInfoLen = 15;
inline constexpr unsigned long Sha256Pkcs01DigestInfoLen = 19;
inline constexpr unsigned long Sha384Pkcs01DigestInfoLen = 19;
inline constexpr unsigned long Sha512Pkcs01DigestInfoLen = 19;

// clang-format off
inline constexpr unsigned char Sha1Pkcs01DigestInfo[Sha1Pkcs01DigestInfoLen] = {
    0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2B, 0x0E, 0x03, 0x02, 0x1A, 0x05, 0x00, 0x04, 0x14};
inline constexpr unsigned char Ripemd160Pkcs01DigestInfo[Ripemd160Pkcs01DigestInfoLen] = {
    0x30, 0x21, 0x30, 0x09, 0x06, 0x05, 0x2B, 0x24, 0x03, 0x02, 0x01, 0x05, 0x00, 0x04, 0x14};
inline constexpr unsigned char Sha256Pkcs01DigestInfo[Sha256Pkcs01DigestInfoLen] = {
    0x30, 0x31, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x01, 0x05, 0x00, 0x04, 0x20};
inline constexpr unsigned char Sha384Pkcs01DigestInfo[Sha384Pkcs01DigestInfoLen] = {
    0x30, 0x41, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x02, 0x05, 0x00, 0x04, 0x30};
inline constexpr unsigned char Sha512Pkcs01DigestInfo[Sha512Pkcs01DigestInfoLen] = {
    0x30, 0x51, 0x30, 0x0D, 0x06, 0x09, 0x60, 0x86, 0x48, 0x01, 0x65, 0x03, 0x04, 0x02, 0x03, 0x05, 0x00, 0x04, 0x40};
// clang-format on

/**
 * Hashes @p inputLength bytes at @p input, which must not be null.
 *
 * @param outputLength  in: room at @p output; out: length of the digest
 */
bool Hash(const unsigned char* input, unsigned long inputLength, unsigned char* output,
          unsigned long& outputLength, HashAlgorithm algorithm);

/**
 * Appends the digest of @p input to @p output; an empty input is hashed like any other.
 *
 * @param bWithDigestInfo  puts the DigestInfo prefix in front of all that @p output holds then; MD4, MD5 and
 * SHA-224 have none, and the call succeeds without
 * @return false for an algorithm without a digest; @p output is untouched then
 */
bool Hash(const std::vector<unsigned char>& input, std::vector<unsigned char>& output,
          HashAlgorithm algorithm, bool bWithDigestInfo);

/**
 * Hashes what is left of @p file, which stays open.
 *
 * @return false after a read error too; @p output holds the digest of what could be read then
 */
bool HashFile(std::FILE* file, unsigned char* output, unsigned long& outputLength, HashAlgorithm algorithm);

/** Appends the digest of what is left of @p file to @p output, which is untouched on failure. */
bool HashFile(std::FILE* file, std::vector<unsigned char>& output, HashAlgorithm algorithm);

namespace intern
{

/**
 * The OpenSSL digest of an algorithm, borrowed; it lives as long as this library stays loaded.
 *
 * MD4 and RIPEMD-160 come from a library context of our own, so they work whatever the host process has
 * configured and nothing changes for it.
 *
 * @param length  receives the length of the digest; unchanged when there is none
 * @return null for an algorithm without a digest
 */
const evp_md_st* GetHashAlgo(HashAlgorithm algorithm, unsigned long& length);

} // namespace intern

} // namespace Norvik
