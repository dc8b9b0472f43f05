#include "simulator/data/IdentityLink.h"

#include "simulator/data/CertificateAuthority.h"
#include "simulator/data/Der.h"

#include <openssl/evp.h>

namespace
{

using namespace Simulator;

Bytes KeyDigest(const CardKey& key)
{
    const Bytes info = key.PublicKeyDer();
    Bytes digest(static_cast<std::size_t>(EVP_MD_get_size(EVP_sha256())));
    EVP_Digest(info.data(), info.size(), digest.data(), nullptr, EVP_sha256(), nullptr);
    return Der::OctetString(digest);
}

} // namespace

namespace Simulator
{

Bytes MakeIdentityLink(const Holder& holder, const CardKey& encryptionKey, const CardKey& signatureKey)
{
    const Bytes version = Der::SmallInteger(1);
    const Bytes issued = Der::GeneralizedTime("20240229120000Z");
    const Bytes person =
        Der::Sequence({Der::Utf8String(holder.givenName), Der::Utf8String(holder.surname),
                       Der::Utf8String(holder.dateOfBirth), Der::Utf8String("TXVzdGVyZnJhdSwgTWFyaWE=")});
    const Bytes keys = Der::Sequence({KeyDigest(encryptionKey), KeyDigest(signatureKey)});
    const Bytes signature = CertificateAuthority::Sign(Der::Sequence({version, issued, person, keys}));
    return Der::Sequence({version, issued, person, keys, Der::BitString(signature)});
}

} // namespace Simulator
