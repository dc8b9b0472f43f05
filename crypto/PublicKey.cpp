#include "crypto/PublicKey.h"

#include "crypto/LibCardImpl.h"
#include "crypto/LowLevelKeys.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <algorithm>
#include <cstddef>
#include <cstdio>
#include <vector>

#include <openssl/ec.h>
#include <openssl/rsa.h>

namespace
{

Norvik::BignumPtr NumberFromBytes(const Norvik::ByteArray& bytes)
{
    return Norvik::BignumPtr(Norvik::FitsInt(bytes.size())
                                 ? BN_bin2bn(bytes.data(), static_cast<int>(bytes.size()), nullptr)
                                 : nullptr);
}

} // namespace

PublicKey::~PublicKey()
{
    Free();
}

void PublicKey::Free()
{
    switch (m_KeyType)
    {
    case KeyTypeRSA:
        RSA_free(static_cast<RSA*>(m_KeyData));
        break;
    case KeyTypeECDSA:
        EC_KEY_free(static_cast<EC_KEY*>(m_KeyData));
        break;
    }
    m_KeyData = nullptr;
}

bool PublicKey::HoldsKey(KeyType expected, const char* wrongTypeText) const
{
    if (m_KeyType != expected)
    {
        LibCardImpl::LogError(wrongTypeText);
        return false;
    }
    if (m_KeyData == nullptr)
    {
        LibCardImpl::LogError("keydata not set");
        return false;
    }
    return true;
}

bool PublicKey::SetRsaKey(rsa_st* rsa)
{
    const Norvik::ErrorQueueGuard errorQueue;
    RSA* const duplicate = rsa != nullptr ? RSAPublicKey_dup(rsa) : nullptr;
    Free();
    m_KeyType = KeyTypeRSA;
    m_KeyData = duplicate;
    return m_KeyData != nullptr;
}

bool PublicKey::SetRsaKey(unsigned long exponent, const Norvik::ByteArray& modulus)
{
    const Norvik::ErrorQueueGuard errorQueue;
    Free();
    m_KeyType = KeyTypeRSA;
    Norvik::RsaPtr rsa(RSA_new());
    if (rsa == nullptr)
    {
        LibCardImpl::LogError("error creating new rsa key object");
        return false;
    }
    Norvik::BignumPtr e(BN_new());
    Norvik::BignumPtr n = NumberFromBytes(modulus);
    if (e == nullptr || n == nullptr || BN_set_word(e.get(), exponent) != 1)
    {
        char text[320] = {};
        std::snprintf(text, sizeof(text), "OpenSSL error: %s.\n", Norvik::OpenSslErrorText().c_str());
        LibCardImpl::LogError(text);
        return false;
    }
    // Takes both numbers; it refuses only absent ones.
    RSA_set0_key(rsa.get(), n.release(), e.release(), nullptr);
    m_KeyData = rsa.release();
    return true;
}

bool PublicKey::GetRsaExponent(unsigned long& exponent)
{
    if (!HoldsKey(KeyTypeRSA, "invalid keytype for GetRsaExponent"))
    {
        return false;
    }
    const BIGNUM* const e = RSA_get0_e(static_cast<RSA*>(m_KeyData));
    if (static_cast<std::size_t>(BN_num_bytes(e)) > sizeof(exponent))
    {
        LibCardImpl::LogError("rsa exponent cannot be represented as an unsigned long");
        return false;
    }
    exponent = BN_get_word(e);
    return true;
}

bool PublicKey::GetRsaModulus(Norvik::ByteArray& modulus)
{
    if (!HoldsKey(KeyTypeRSA, "invalid keytype for GetRsaModulus"))
    {
        return false;
    }
    modulus.clear();
    bn2bin_ByteArray(RSA_get0_n(static_cast<RSA*>(m_KeyData)), modulus);
    if (modulus.empty())
    {
        LibCardImpl::LogError("modlen is <= 0");
        LibCardImpl::LogError(Norvik::OpenSslErrorText());
        return false;
    }
    return true;
}

void PublicKey::bn2bin_ByteArray(const bignum_st* number, Norvik::ByteArray& out)
{
    if (number == nullptr || BN_is_zero(number))
    {
        return;
    }
    std::vector<unsigned char> bytes(static_cast<std::size_t>(BN_num_bytes(number)));
    BN_bn2bin(number, bytes.data());
    out.Add(bytes.data(), bytes.size());
}

bool PublicKey::Verify(const Norvik::ByteArray& signature, const Norvik::ByteArray& hash, bool& ok)
{
    switch (m_KeyType)
    {
    case KeyTypeRSA:
        return VerifyRsa(signature, hash, ok);
    case KeyTypeECDSA:
        return VerifyEcc(signature, hash, ok);
    }
    return false;
}

bool PublicKey::VerifyRsa(const Norvik::ByteArray& signature, const Norvik::ByteArray& hash, bool& ok)
{
    ok = false;
    if (!HoldsKey(KeyTypeRSA, "invalid keytype for VerifyRsa"))
    {
        return false;
    }
    const Norvik::ErrorQueueGuard errorQueue;
    auto* const key = static_cast<RSA*>(m_KeyData);
    Norvik::ByteArray block;
    block.resize(static_cast<std::size_t>(RSA_size(key)));
    const int blockLength = Norvik::FitsInt(signature.size())
                                ? RSA_public_encrypt(static_cast<int>(signature.size()), signature.data(),
                                                     block.data(), key, RSA_NO_PADDING)
                                : -1;
    if (blockLength < 0)
    {
        LibCardImpl::LogError("error loading exponent and modulus from buffer");
        return false;
    }
    block.resize(static_cast<std::size_t>(blockLength));
    if (block.size() < hash.size())
    {
        LibCardImpl::LogError("invalid length 'decrypted hash < hash' ");
        return true;
    }
    // Intended: the end of the block alone counts, the padding in front of it is not looked at.
    if (!std::equal(hash.rbegin(), hash.rend(), block.rbegin()))
    {
        LibCardImpl::LogError("invalid data 'decrypted hash<=>hash' ");
        return true;
    }
    LibCardImpl::LogMessage("rsa verfiy ok ");
    ok = true;
    return true;
}
