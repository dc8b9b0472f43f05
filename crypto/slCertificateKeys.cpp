#include "crypto/slCertificate.h"

#include "crypto/Base64.h"
#include "crypto/LowLevelKeys.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <algorithm>
#include <span>

#include <openssl/ec.h>
#include <openssl/rsa.h>

namespace Norvik
{

namespace
{

constexpr int kAlgorithmEcdsa = 0;
constexpr int kAlgorithmRsa = 1;
constexpr int kAlgorithmOther = 3;

EvpPkeyPtr KeyOf(const X509Ptr& certificate)
{
    return EvpPkeyPtr(certificate != nullptr ? X509_get_pubkey(certificate.get()) : nullptr);
}

bool HasKeyType(const X509Ptr& certificate, int type)
{
    const ErrorQueueGuard errorQueue;
    const EvpPkeyPtr key = KeyOf(certificate);
    return key != nullptr && EVP_PKEY_get_id(key.get()) == type;
}

/** The content of the subjectPublicKey BIT STRING, borrowed from the certificate. */
std::span<const unsigned char> KeyBits(const X509Ptr& certificate)
{
    const ASN1_BIT_STRING* const bits =
        certificate != nullptr ? X509_get0_pubkey_bitstr(certificate.get()) : nullptr;
    if (bits == nullptr || ASN1_STRING_length(bits) <= 0)
    {
        return {};
    }
    return {ASN1_STRING_get0_data(bits), static_cast<std::size_t>(ASN1_STRING_length(bits))};
}

void AssignNumber(const BIGNUM* number, std::vector<unsigned char>& bytes)
{
    bytes.resize(static_cast<std::size_t>(BN_num_bytes(number)));
    if (!bytes.empty())
    {
        BN_bn2bin(number, bytes.data());
    }
}

} // namespace

int slCertificate::GetKeyAlgorithm() const
{
    if (IsRsaKey())
    {
        return kAlgorithmRsa;
    }
    return IsEcdsaKey() ? kAlgorithmEcdsa : kAlgorithmOther;
}

bool slCertificate::IsRsaKey() const
{
    return HasKeyType(m_Certificate, EVP_PKEY_RSA);
}

bool slCertificate::IsEcdsaKey() const
{
    return HasKeyType(m_Certificate, EVP_PKEY_EC);
}

bool slCertificate::GetRsaPublicKey(rsa_st** rsa) const
{
    const ErrorQueueGuard errorQueue;
    const EvpPkeyPtr key = KeyOf(m_Certificate);
    const RSA* const certificateKey = key != nullptr ? EVP_PKEY_get0_RSA(key.get()) : nullptr;
    RsaPtr copy(certificateKey != nullptr ? RSAPublicKey_dup(certificateKey) : nullptr);
    if (copy == nullptr)
    {
        return false;
    }
    *rsa = copy.release();
    return true;
}

bool slCertificate::GetEcdsaPublicKey(ec_key_st** key) const
{
    const ErrorQueueGuard errorQueue;
    const EvpPkeyPtr pkey = KeyOf(m_Certificate);
    const EC_KEY* const certificateKey = pkey != nullptr ? EVP_PKEY_get0_EC_KEY(pkey.get()) : nullptr;
    EcKeyPtr copy(certificateKey != nullptr ? EC_KEY_dup(certificateKey) : nullptr);
    if (copy == nullptr)
    {
        return false;
    }
    *key = copy.release();
    return true;
}

bool slCertificate::GetRsaPubKeyComponents(std::vector<unsigned char>& modulus,
                                           std::vector<unsigned char>& exponent) const
{
    modulus.clear();
    exponent.clear();
    if (!IsRsaKey())
    {
        return false;
    }
    const ErrorQueueGuard errorQueue;
    const EvpPkeyPtr key = KeyOf(m_Certificate);
    const RSA* const rsa = key != nullptr ? EVP_PKEY_get0_RSA(key.get()) : nullptr;
    if (rsa == nullptr)
    {
        return false;
    }
    AssignNumber(RSA_get0_n(rsa), modulus);
    AssignNumber(RSA_get0_e(rsa), exponent);
    return !modulus.empty() && !exponent.empty();
}

bool slCertificate::GetPublicKeyValue(unsigned char** value, unsigned long* length) const
{
    const std::span<const unsigned char> bits = KeyBits(m_Certificate);
    if (bits.empty())
    {
        return false;
    }
    auto array = std::make_unique<unsigned char[]>(bits.size());
    std::copy(bits.begin(), bits.end(), array.get());
    *value = array.release();
    *length = bits.size();
    return true;
}

std::vector<unsigned char> slCertificate::GetPubKeyHashBytes() const
{
    std::vector<unsigned char> hash;
    if (m_Certificate != nullptr)
    {
        const std::span<const unsigned char> bits = KeyBits(m_Certificate);
        Hash(std::vector<unsigned char>(bits.begin(), bits.end()), hash, HashAlgorithm::Sha1, false);
    }
    return hash;
}

std::string slCertificate::GetPubKeyHashHex() const
{
    const std::vector<unsigned char> hash = GetPubKeyHashBytes();
    return {hash.begin(), hash.end()};
}

std::string slCertificate::GetPubKeyHashB64() const
{
    return b64Encode(GetPubKeyHashBytes());
}

} // namespace Norvik
