#include "crypto/Hash.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <array>
#include <cstddef>
#include <iterator>

/*
 * Where the digests come from. An EVP_MD that is fetched once spares every digest the search for an
 * implementation. The holders are function-local statics: made by whichever thread comes first, and released
 * when the library is unloaded or the process ends. OpenSSL is initialised while they are made, so they go
 * before it does.
 */
namespace Norvik::intern
{

namespace
{

enum class Source
{
    Host, ///< the default library context of the host process
    Own,  ///< a context of our own: in OpenSSL 3 these digests are in the legacy provider, which hosts rarely
          ///< load
};

struct DigestRow
{
    const char* name;
    unsigned long length;
    HashAlgorithm algorithm;
    Source source;
};

constexpr DigestRow kDigests[] = {
    {"SHA1", Sha1DigestLen, HashAlgorithm::Sha1, Source::Host},
    {"RIPEMD160", Ripemd160DigestLen, HashAlgorithm::Ripemd160, Source::Own},
    {"SHA224", Sha224DigestLen, HashAlgorithm::Sha224, Source::Host},
    {"SHA256", Sha256DigestLen, HashAlgorithm::Sha256, Source::Host},
    {"SHA512", Sha512DigestLen, HashAlgorithm::Sha512, Source::Host},
    {"MD5", Md5DigestLen, HashAlgorithm::Md5, Source::Host},
    {"MD4", Md4DigestLen, HashAlgorithm::Md4, Source::Own},
    {"SHA384", Sha384DigestLen, HashAlgorithm::Sha384, Source::Host},
};

/** The rows of one source, fetched; by their place in kDigests. A digest that is not to be had stays null. */
class FetchedDigests final
{
public:
    FetchedDigests(Source source, OSSL_LIB_CTX* context)
    {
        const ErrorQueueGuard errorQueue;
        for (std::size_t i = 0; i < m_Digests.size(); ++i)
        {
            if (kDigests[i].source == source)
            {
                m_Digests[i].reset(EVP_MD_fetch(context, kDigests[i].name, nullptr));
            }
        }
    }

    [[nodiscard]] const EVP_MD* At(std::size_t row) const { return m_Digests[row].get(); }

private:
    std::array<EvpMdPtr, std::size(kDigests)> m_Digests;
};

/** A library context that the host process doesn't see, and the digests fetched from it. */
class OwnContext final
{
public:
    [[nodiscard]] const EVP_MD* At(std::size_t row) const { return m_Digests.At(row); }

private:
    ProviderPtr Load(const char* provider) const
    {
        const ErrorQueueGuard errorQueue;
        return ProviderPtr(m_Context != nullptr ? OSSL_PROVIDER_load(m_Context.get(), provider) : nullptr);
    }

    // Released from the last to the first.
    LibCtxPtr m_Context{OSSL_LIB_CTX_new()};
    ProviderPtr m_Legacy = Load("legacy");
    ProviderPtr m_Default = Load("default");
    FetchedDigests m_Digests{Source::Own, m_Context.get()};
};

const EVP_MD* FetchedDigest(const DigestRow& row)
{
    const auto place = static_cast<std::size_t>(&row - std::begin(kDigests));
    if (row.source == Source::Own)
    {
        static const OwnContext own;
        return own.At(place);
    }
    static const FetchedDigests host(Source::Host, nullptr);
    return host.At(place);
}

} // namespace

const evp_md_st* GetHashAlgo(HashAlgorithm algorithm, unsigned long& length)
{
    for (const DigestRow& row : kDigests)
    {
        if (row.algorithm != algorithm)
        {
            continue;
        }
        const EVP_MD* const digest = FetchedDigest(row);
        if (digest != nullptr)
        {
            length = row.length;
        }
        return digest;
    }
    return nullptr;
}

} // namespace Norvik::intern
