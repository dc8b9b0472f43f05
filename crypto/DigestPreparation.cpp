#include "crypto/DigestPreparation.h"

#include "crypto/Hash.h"
#include "crypto/LibCardImpl.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <span>

namespace
{

/** What belongs to one hash of a signature request. */
struct HashRow
{
    HashAlgorithm hash;
    Norvik::HashAlgorithm algorithm;
    std::size_t digestLength;
    std::span<const unsigned char> digestInfoPrefix;
};

// In the order in which a DigestInfo is looked for. SHA-224 is missing: it is refused, as meant.
constexpr HashRow kHashes[] = {
    {HashSha1, Norvik::HashAlgorithm::Sha1, Norvik::Sha1DigestLen, Norvik::Sha1Pkcs01DigestInfo},
    {HashRipemd160, Norvik::HashAlgorithm::Ripemd160, Norvik::Ripemd160DigestLen,
     Norvik::Ripemd160Pkcs01DigestInfo},
    {HashSha256, Norvik::HashAlgorithm::Sha256, Norvik::Sha256DigestLen, Norvik::Sha256Pkcs01DigestInfo},
    {HashSha384, Norvik::HashAlgorithm::Sha384, Norvik::Sha384DigestLen, Norvik::Sha384Pkcs01DigestInfo},
    {HashSha512, Norvik::HashAlgorithm::Sha512, Norvik::Sha512DigestLen, Norvik::Sha512Pkcs01DigestInfo},
};

const HashRow* FindHash(HashAlgorithm hash)
{
    const auto* const row = std::find_if(std::begin(kHashes), std::end(kHashes),
                                         [hash](const HashRow& each) { return each.hash == hash; });
    return row != std::end(kHashes) ? row : nullptr;
}

bool IsDigestInfo(const Norvik::ByteArray& in, const HashRow& row)
{
    const std::span<const unsigned char> prefix = row.digestInfoPrefix;
    return in.size() == prefix.size() + row.digestLength &&
           std::equal(prefix.begin(), prefix.end(), in.begin());
}

const HashRow* FindDigestInfo(const Norvik::ByteArray& in)
{
    const auto* const row = std::find_if(std::begin(kHashes), std::end(kHashes),
                                         [&in](const HashRow& each) { return IsDigestInfo(in, each); });
    return row != std::end(kHashes) ? row : nullptr;
}

bool AppendDigestInfo(const Norvik::ByteArray& in, Norvik::ByteArray& out, HashAlgorithm hash)
{
    if (hash == HashAny)
    {
        return true;
    }
    const HashRow* const row = FindHash(hash);
    if (row == nullptr)
    {
        LibCardImpl::LogError("Unsupported/Unknown Hash Algorithm");
        return false;
    }
    // Intended: the whole input follows, also where the digest of another algorithm was stripped from it.
    out.Add(row->digestInfoPrefix.data(), row->digestInfoPrefix.size());
    out.Add(in.data(), in.size());
    return true;
}

bool ApplyPadding(const Norvik::ByteArray& in, Norvik::ByteArray& out, HashAlgorithm hash,
                  PaddingType padding)
{
    if (padding == PkcsPSS)
    {
        LibCardImpl::LogError("Unsupported Padding -> PkcsPSS");
        return false;
    }
    return padding != PaddingPkcs1 || AppendDigestInfo(in, out, hash);
}

} // namespace

bool HashData(const Norvik::ByteArray& in, Norvik::ByteArray& out, HashAlgorithm hash)
{
    if (hash == HashNone || hash == HashAny)
    {
        out = in;
        return true;
    }
    const HashRow* const row = FindHash(hash);
    if (row == nullptr)
    {
        LibCardImpl::LogError("Unsupported/Unknown Hash Algorithm");
        return false;
    }
    return Norvik::Hash(in, out, row->algorithm, false);
}

bool PrepareDigest(const Norvik::ByteArray& in, Norvik::ByteArray& out, HashAlgorithm hash,
                   PaddingType padding)
{
    out.clear();
    if (hash == HashNone && padding == PaddingNone)
    {
        out = in;
        return true;
    }
    const HashRow* const form = hash != HashNone ? FindDigestInfo(in) : nullptr;
    if (form != nullptr)
    {
        if (form->hash == hash && padding == PaddingPkcs1)
        {
            out = in;
            return true;
        }
        out.Add(in.data() + form->digestInfoPrefix.size(), form->digestLength);
    }
    if (!ApplyPadding(in, out, hash, padding))
    {
        return false;
    }
    if (out.empty())
    {
        out = in;
    }
    return true;
}

bool RemoveDigestInfoForSignature(const Norvik::ByteArray& in, Norvik::ByteArray& out)
{
    return PrepareDigest(in, out, HashAny, PaddingEcdsa);
}
