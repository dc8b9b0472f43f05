#pragma once

#include "crypto/ByteArray.h"

/** The hash of a signature request. Not to be confused with Norvik::HashAlgorithm, that of the digest
 * routines. */
enum HashAlgorithm
{
    HashUnknown = 0,
    HashNone = 1, ///< the data is already final
    HashSha1 = 2,
    HashSha224 = 3, ///< known to the mechanism table only
    HashSha256 = 4,
    HashSha384 = 5,
    HashSha512 = 6,
    HashRipemd160 = 7,
    HashAny = 8, ///< any digest: nothing is computed or added, a DigestInfo is stripped
};

/** What the card gets of a digest. */
enum PaddingType
{
    PaddingUnknown = 0,
    PaddingNone = 1,  ///< the data as it stands
    PaddingPkcs1 = 2, ///< a DigestInfo (RFC 8017, section 9.2)
    PkcsPSS = 3,      ///< refused
    PaddingEcdsa = 4, ///< the bare digest
};

/** Hashes @p in; HashNone and HashAny copy. SHA-224 is refused, as meant. */
bool HashData(const Norvik::ByteArray& in, Norvik::ByteArray& out, HashAlgorithm hash);

/** Brings a digest or DigestInfo into the form that the card expects. */
bool PrepareDigest(const Norvik::ByteArray& in, Norvik::ByteArray& out, HashAlgorithm hash,
                   PaddingType padding);

/** Strips a DigestInfo where there is one. */
bool RemoveDigestInfoForSignature(const Norvik::ByteArray& in, Norvik::ByteArray& out);
