#pragma once

#include "crypto/ByteArray.h"

struct bignum_st;
struct ec_key_st;
struct rsa_st;

enum KeyType : int
{
    KeyTypeRSA = 0,
    KeyTypeECDSA = 1,
};

/** The public part of a card key; checks signatures in software. */
class PublicKey final
{
public:
    PublicKey() = default;
    ~PublicKey();
    PublicKey(const PublicKey&) = delete;
    PublicKey& operator=(const PublicKey&) = delete;

    [[nodiscard]] KeyType GetKeyType() const { return m_KeyType; }

    /** Stores a duplicate of @p rsa. */
    bool SetRsaKey(rsa_st* rsa);
    /** Builds the key from its numbers; @p modulus is big-endian. */
    bool SetRsaKey(unsigned long exponent, const Norvik::ByteArray& modulus);
    /** Stores a duplicate of @p key. */
    bool SetEccKey(ec_key_st* key);

    bool GetRsaExponent(unsigned long& exponent);
    bool GetRsaModulus(Norvik::ByteArray& modulus);
    bool GetEccKeyValues(Norvik::ByteArray& x, Norvik::ByteArray& y);
    /** Appends the big-endian bytes of @p number, without a leading zero byte. */
    static void bn2bin_ByteArray(const bignum_st* number, Norvik::ByteArray& out);

    /**
     * Checks @p signature over @p hash.
     *
     * @param ok whether the signature holds
     * @return whether the check could be carried out
     */
    bool Verify(const Norvik::ByteArray& signature, const Norvik::ByteArray& hash, bool& ok);
    bool VerifyRsa(const Norvik::ByteArray& signature, const Norvik::ByteArray& hash, bool& ok);
    bool VerifyEcc(const Norvik::ByteArray& signature, const Norvik::ByteArray& hash, bool& ok);

    void Free();

private:
    /** Whether there is a key of this type; logs @p wrongTypeText for another type. */
    [[nodiscard]] bool HoldsKey(KeyType expected, const char* wrongTypeText) const;

    KeyType m_KeyType = KeyTypeRSA;
    void* m_KeyData = nullptr; ///< an RSA or an EC_KEY, by m_KeyType; owned
};
