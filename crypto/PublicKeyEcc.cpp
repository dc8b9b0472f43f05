#include "crypto/PublicKey.h"

#include "crypto/LibCardImpl.h"
#include "crypto/OpenSslErrors.h"
#include "crypto/OpenSslPtr.h"

#include <cstddef>
#include <optional>

#include <openssl/ec.h>

namespace
{

constexpr unsigned char kDerSequence = 0x30;
constexpr unsigned char kDerInteger = 0x02;
constexpr unsigned char kUncompressedPoint = 0x04;
/** SEQUENCE head and two INTEGER heads around r and s. */
constexpr std::size_t kDerOverhead = 6;

struct CurveRow
{
    int curveName;
    std::size_t pointLength;
    std::size_t rawSignatureLength;
};

constexpr CurveRow kCurves[] = {
    {NID_X9_62_prime192v1, 24, 48},
    {NID_X9_62_prime256v1, 32, 64},
};

/** Bytes of a coordinate; 0 when neither the curve nor the signature tells. */
std::size_t PointLength(const EC_KEY* key, std::size_t signatureLength)
{
    const EC_GROUP* const group = EC_KEY_get0_group(key);
    const int curveName = group != nullptr ? EC_GROUP_get_curve_name(group) : NID_undef;
    for (const CurveRow& row : kCurves)
    {
        if (row.curveName == curveName)
        {
            return row.pointLength;
        }
    }
    LibCardImpl::LogDebug("curve name not set - deriving point length from signature length");
    for (const CurveRow& row : kCurves)
    {
        if (row.rawSignatureLength == signatureLength)
        {
            return row.pointLength;
        }
    }
    return 0;
}

/** 30 (4 + 2L) 02 L r 02 L s. Intended: no zero goes in front of a number with its top bit set. */
Norvik::ByteArray DerFromPair(const unsigned char* pair, std::size_t pointLength)
{
    const auto length = static_cast<unsigned char>(pointLength);
    const unsigned char sequenceHead[] = {kDerSequence, static_cast<unsigned char>(4 + 2 * length)};
    const unsigned char integerHead[] = {kDerInteger, length};

    Norvik::ByteArray der;
    der.reserve(kDerOverhead + 2 * pointLength);
    der.Add(sequenceHead, sizeof(sequenceHead));
    der.Add(integerHead, sizeof(integerHead));
    der.Add(pair, pointLength);
    der.Add(integerHead, sizeof(integerHead));
    der.Add(pair + pointLength, pointLength);
    return der;
}

bool IsDerPair(const Norvik::ByteArray& signature, std::size_t pointLength)
{
    const std::size_t second = 4 + pointLength;
    return signature[0] == kDerSequence && signature[1] == 4 + 2 * pointLength &&
           signature[2] == kDerInteger && signature[3] == pointLength && signature[second] == kDerInteger &&
           signature[second + 1] == pointLength;
}

/** The signature as DER: empty when it has no known form, nothing when it claims to be DER and isn't. */
std::optional<Norvik::ByteArray> DerFromSignature(const Norvik::ByteArray& signature, std::size_t pointLength)
{
    if (signature.size() == 2 * pointLength)
    {
        return DerFromPair(signature.data(), pointLength);
    }
    if (signature.size() == 2 * pointLength + 1 && signature[0] == kUncompressedPoint)
    {
        return DerFromPair(signature.data() + 1, pointLength);
    }
    if (signature.size() != kDerOverhead + 2 * pointLength || signature[0] != kDerSequence)
    {
        return Norvik::ByteArray();
    }
    if (!IsDerPair(signature, pointLength))
    {
        return std::nullopt;
    }
    return signature;
}

bool EcdsaVerify(const Norvik::ByteArray& der, const Norvik::ByteArray& hash, EC_KEY* key)
{
    static constexpr unsigned char kNothing = 0;
    // ECDSA_verify itself looks neither for a curve nor for a buffer.
    if (der.empty() || EC_KEY_get0_group(key) == nullptr || !Norvik::FitsInt(hash.size()))
    {
        return false;
    }
    return ECDSA_verify(0, hash.empty() ? &kNothing : hash.data(), static_cast<int>(hash.size()), der.data(),
                        static_cast<int>(der.size()), key) == 1;
}

} // namespace

bool PublicKey::SetEccKey(ec_key_st* key)
{
    const Norvik::ErrorQueueGuard errorQueue;
    EC_KEY* const duplicate = key != nullptr ? EC_KEY_dup(key) : nullptr;
    Free();
    m_KeyType = KeyTypeECDSA;
    m_KeyData = duplicate;
    return m_KeyData != nullptr;
}

bool PublicKey::GetEccKeyValues(Norvik::ByteArray& x, Norvik::ByteArray& y)
{
    // Intended: the text of the RSA check.
    if (!HoldsKey(KeyTypeECDSA, "invalid keytype for VerifyRsa"))
    {
        return false;
    }
    const Norvik::ErrorQueueGuard errorQueue;
    const auto* const key = static_cast<EC_KEY*>(m_KeyData);
    const EC_GROUP* const group = EC_KEY_get0_group(key);
    const EC_POINT* const point = EC_KEY_get0_public_key(key);
    const Norvik::BignumPtr xNumber(BN_new());
    const Norvik::BignumPtr yNumber(BN_new());
    if (group == nullptr || point == nullptr || xNumber == nullptr || yNumber == nullptr)
    {
        return false;
    }
    // Intended: the function for binary fields, whatever the curve.
    if (EC_POINT_get_affine_coordinates_GF2m(group, point, xNumber.get(), yNumber.get(), nullptr) != 1)
    {
        return false;
    }
    bn2bin_ByteArray(xNumber.get(), x);
    bn2bin_ByteArray(yNumber.get(), y);
    return !x.empty() && !y.empty();
}

bool PublicKey::VerifyEcc(const Norvik::ByteArray& signature, const Norvik::ByteArray& hash, bool& ok)
{
    ok = false;
    // Intended: the text of the RSA check.
    if (!HoldsKey(KeyTypeECDSA, "invalid keytype for VerifyRsa"))
    {
        return false;
    }
    auto* const key = static_cast<EC_KEY*>(m_KeyData);
    const std::size_t pointLength = PointLength(key, signature.size());
    if (pointLength == 0)
    {
        LibCardImpl::LogError("invalid ec key -> unknown curve");
        return false;
    }
    const std::optional<Norvik::ByteArray> der = DerFromSignature(signature, pointLength);
    if (!der.has_value())
    {
        LibCardImpl::LogError("invalid signature format");
        return false;
    }
    const Norvik::ErrorQueueGuard errorQueue;
    ok = EcdsaVerify(*der, hash, key);
    if (!ok)
    {
        LibCardImpl::LogError("error verify ecdsa signature");
        LibCardImpl::LogError(Norvik::OpenSslErrorText());
    }
    return true;
}
