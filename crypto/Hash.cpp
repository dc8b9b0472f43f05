#include "crypto/Hash.h"

#include "crypto/LibCrypto.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <algorithm>
#include <array>
#include <iterator>
#include <span>

namespace Norvik
{

namespace
{

constexpr std::size_t kReadBlockBytes = 5012;

struct PrefixRow
{
    HashAlgorithm algorithm;
    std::span<const unsigned char> digestInfoPrefix;
};

constexpr PrefixRow kPrefixes[] = {
    {HashAlgorithm::Sha1, Sha1Pkcs01DigestInfo},     {HashAlgorithm::Ripemd160, Ripemd160Pkcs01DigestInfo},
    {HashAlgorithm::Sha256, Sha256Pkcs01DigestInfo}, {HashAlgorithm::Sha384, Sha384Pkcs01DigestInfo},
    {HashAlgorithm::Sha512, Sha512Pkcs01DigestInfo},
};

std::span<const unsigned char> DigestInfoPrefix(HashAlgorithm algorithm)
{
    for (const PrefixRow& row : kPrefixes)
    {
        if (row.algorithm == algorithm)
        {
            return row.digestInfoPrefix;
        }
    }
    return {};
}

/** Takes the digest for a caller with room for @p outputLength bytes; null when it does not fit or exist. */
const EVP_MD* DigestForOutput(HashAlgorithm algorithm, unsigned long& outputLength)
{
    unsigned long digestLength = 0;
    const EVP_MD* const digest = intern::GetHashAlgo(algorithm, digestLength);
    if (digest == nullptr)
    {
        return nullptr;
    }
    if (outputLength < digestLength)
    {
        LibCrypto::LogError("PKCS11 outputsize ist zu klein");
        return nullptr;
    }
    outputLength = digestLength;
    return digest;
}

bool IsOutputGiven(const unsigned char* output)
{
    if (output == nullptr)
    {
        LibCrypto::LogError("PKCS11 output == NULL");
    }
    return output != nullptr;
}

/** Feeds the rest of @p file into @p context; false when a read or the digest fails. */
bool UpdateFromFile(EVP_MD_CTX* context, std::FILE* file)
{
    std::array<unsigned char, kReadBlockBytes> block;
    std::size_t bytesRead = 0;
    do
    {
        bytesRead = std::fread(block.data(), 1, block.size(), file);
        if (EVP_DigestUpdate(context, block.data(), bytesRead) != 1)
        {
            return false;
        }
    } while (bytesRead == block.size());

    if (std::ferror(file) != 0)
    {
        LibCrypto::LogError("PKCS11 file read error");
        return false;
    }
    return true;
}

} // namespace

bool Hash(const unsigned char* input, unsigned long inputLength, unsigned char* output,
          unsigned long& outputLength, HashAlgorithm algorithm)
{
    if (input == nullptr)
    {
        LibCrypto::LogError("PKCS11 input == NULL");
        return false;
    }
    if (!IsOutputGiven(output))
    {
        return false;
    }
    const EVP_MD* const digest = DigestForOutput(algorithm, outputLength);
    if (digest == nullptr)
    {
        return false;
    }
    const ErrorQueueGuard errorQueue;
    return EVP_Digest(input, inputLength, output, nullptr, digest, nullptr) == 1;
}

bool Hash(const std::vector<unsigned char>& input, std::vector<unsigned char>& output,
          HashAlgorithm algorithm, bool bWithDigestInfo)
{
    // An empty vector may have no storage, and the digest of nothing is as good as any other.
    static constexpr unsigned char kNothing = 0;
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned long digestLength = digest.size();
    if (!Hash(input.empty() ? &kNothing : input.data(), input.size(), digest.data(), digestLength, algorithm))
    {
        return false;
    }
    const std::span<const unsigned char> prefix =
        bWithDigestInfo ? DigestInfoPrefix(algorithm) : std::span<const unsigned char>();
    output.reserve(output.size() + prefix.size() + digestLength);
    output.insert(output.end(), digest.data(), digest.data() + digestLength);
    output.insert(output.begin(), prefix.begin(), prefix.end());
    return true;
}

bool HashFile(std::FILE* file, unsigned char* output, unsigned long& outputLength, HashAlgorithm algorithm)
{
    if (file == nullptr)
    {
        LibCrypto::LogError("PKCS11 infile is NULL");
        return false;
    }
    if (!IsOutputGiven(output))
    {
        return false;
    }
    const EVP_MD* const digest = DigestForOutput(algorithm, outputLength);
    if (digest == nullptr)
    {
        return false;
    }
    const ErrorQueueGuard errorQueue;
    const EvpMdCtxPtr context(EVP_MD_CTX_new());
    if (context == nullptr || EVP_DigestInit_ex(context.get(), digest, nullptr) != 1)
    {
        return false;
    }
    const bool bComplete = UpdateFromFile(context.get(), file);
    return EVP_DigestFinal_ex(context.get(), output, nullptr) == 1 && bComplete;
}

bool HashFile(std::FILE* file, std::vector<unsigned char>& output, HashAlgorithm algorithm)
{
    std::array<unsigned char, EVP_MAX_MD_SIZE> digest;
    unsigned long digestLength = digest.size();
    if (!HashFile(file, digest.data(), digestLength, algorithm))
    {
        return false;
    }
    output.insert(output.end(), digest.data(), digest.data() + digestLength);
    return true;
}

} // namespace Norvik
