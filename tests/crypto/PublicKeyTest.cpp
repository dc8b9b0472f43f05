#include "crypto/PublicKey.h"

#include "crypto/LibCardImpl.h"
#include "crypto/LowLevelKeys.h"
#include "tests/crypto/Bytes.h"
#include "tests/support/CapturedLog.h"

#include <limits>

#include <gtest/gtest.h>
#include <openssl/bn.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/rsa.h>

namespace
{

using Norvik::ByteArray;
using Norvik::RsaPtr;
using Lines = std::vector<std::string>;

constexpr LogBridge kBridge = {LibCardImpl::SetErrorLoggingFunc, LibCardImpl::SetMessageLoggingFunc,
                               LibCardImpl::SetDebugLoggingFunc};

struct PkeyFree
{
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using PkeyPtr = std::unique_ptr<EVP_PKEY, PkeyFree>;

/** A key of 1536 bits, as the cards have it, made once. */
const EVP_PKEY* CardKey()
{
    static const PkeyPtr key(EVP_RSA_gen(1536));
    return key.get();
}

RSA* CardRsa()
{
    return const_cast<RSA*>(EVP_PKEY_get0_RSA(CardKey()));
}

ByteArray Modulus()
{
    ByteArray modulus;
    modulus.resize(192);
    BN_bn2bin(RSA_get0_n(CardRsa()), modulus.data());
    return modulus;
}

/** What a card returns: @p data behind the padding of RFC 8017, section 9.2. */
ByteArray Sign(const ByteArray& data)
{
    ByteArray signature;
    signature.resize(192);
    RSA_private_encrypt(static_cast<int>(data.size()), data.data(), signature.data(), CardRsa(),
                        RSA_PKCS1_PADDING);
    return signature;
}

ByteArray SignBlock(const ByteArray& block)
{
    ByteArray signature;
    signature.resize(192);
    RSA_private_encrypt(static_cast<int>(block.size()), block.data(), signature.data(), CardRsa(),
                        RSA_NO_PADDING);
    return signature;
}

class PublicKeyRsa : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_Key.SetRsaKey(CardRsa())); }

    const CapturedLog m_Log{kBridge};
    const ByteArray m_DigestInfo = Repeated(0xD1, 51);
    PublicKey m_Key;
    bool m_bOk = false;
};

TEST(PublicKeyAfterConstruction, IsAnRsaKeyWithoutData)
{
    const CapturedLog log{kBridge};
    PublicKey key;
    bool bOk = true;
    unsigned long exponent = 77;
    ByteArray modulus = Bytes("99");

    EXPECT_EQ(key.GetKeyType(), KeyTypeRSA);
    EXPECT_FALSE(key.Verify(Repeated(0x01, 192), Repeated(0x02, 20), bOk));
    EXPECT_FALSE(bOk);
    EXPECT_FALSE(key.GetRsaExponent(exponent));
    EXPECT_FALSE(key.GetRsaModulus(modulus));

    EXPECT_EQ(exponent, 77U);
    EXPECT_EQ(modulus, Bytes("99"));
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"ERROR keydata not set", "ERROR keydata not set", "ERROR keydata not set"}));
}

TEST_F(PublicKeyRsa, AcceptsItsSignature)
{
    EXPECT_TRUE(m_Key.Verify(Sign(m_DigestInfo), m_DigestInfo, m_bOk));

    EXPECT_TRUE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE rsa verfiy ok "}));
}

TEST_F(PublicKeyRsa, ComparesTheLastBytesOnly)
{
    ByteArray block = Repeated(0x00, 192);
    block[1] = 0x77;
    std::copy(m_DigestInfo.begin(), m_DigestInfo.end(), block.end() - 51);

    EXPECT_TRUE(m_Key.VerifyRsa(SignBlock(block), m_DigestInfo, m_bOk));
    EXPECT_TRUE(m_bOk);
}

TEST_F(PublicKeyRsa, ComparesAWholeBlockOfTheSameLength)
{
    ByteArray block = Repeated(0x11, 192);
    const ByteArray signature = SignBlock(block);

    EXPECT_TRUE(m_Key.VerifyRsa(signature, block, m_bOk));
    EXPECT_TRUE(m_bOk);

    block[0] ^= 0x01;
    EXPECT_TRUE(m_Key.VerifyRsa(signature, block, m_bOk));
    EXPECT_FALSE(m_bOk);
}

TEST_F(PublicKeyRsa, RefusesAnotherHash)
{
    ByteArray other = m_DigestInfo;
    other.front() ^= 0x01;
    m_bOk = true;

    EXPECT_TRUE(m_Key.VerifyRsa(Sign(m_DigestInfo), other, m_bOk));

    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR invalid data 'decrypted hash<=>hash' "}));
}

TEST_F(PublicKeyRsa, RefusesAHashLongerThanTheBlock)
{
    m_bOk = true;

    EXPECT_TRUE(m_Key.VerifyRsa(Sign(m_DigestInfo), Repeated(0x00, 193), m_bOk));

    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR invalid length 'decrypted hash < hash' "}));
}

TEST_F(PublicKeyRsa, CannotCheckASignatureOfAnotherLength)
{
    for (const std::size_t length : {0U, 1U, 191U, 193U, 4096U})
    {
        m_bOk = true;
        EXPECT_FALSE(m_Key.VerifyRsa(Repeated(0x01, length), m_DigestInfo, m_bOk)) << length;
        EXPECT_FALSE(m_bOk);
    }
    EXPECT_EQ(CapturedLog::Lines(), Lines(5, "ERROR error loading exponent and modulus from buffer"));
}

TEST_F(PublicKeyRsa, CannotCheckASignatureAboveTheModulus)
{
    EXPECT_FALSE(m_Key.VerifyRsa(Repeated(0xFF, 192), m_DigestInfo, m_bOk));
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR error loading exponent and modulus from buffer"}));
}

TEST_F(PublicKeyRsa, GivesExponentAndModulus)
{
    unsigned long exponent = 0;
    ByteArray modulus = Bytes("99");

    EXPECT_TRUE(m_Key.GetRsaExponent(exponent));
    EXPECT_TRUE(m_Key.GetRsaModulus(modulus));

    EXPECT_EQ(exponent, 65537U);
    EXPECT_EQ(modulus, Modulus());
}

TEST_F(PublicKeyRsa, FromNumbersIsTheSameKey)
{
    PublicKey key;

    ASSERT_TRUE(key.SetRsaKey(65537, Modulus()));

    EXPECT_TRUE(key.VerifyRsa(Sign(m_DigestInfo), m_DigestInfo, m_bOk));
    EXPECT_TRUE(m_bOk);
}

TEST_F(PublicKeyRsa, FromNumbersHasNoLeadingZeroInItsModulus)
{
    PublicKey key;
    ByteArray modulus;

    ASSERT_TRUE(key.SetRsaKey(3, Bytes("00 00 01 02 03")));

    EXPECT_TRUE(key.GetRsaModulus(modulus));
    EXPECT_EQ(modulus, Bytes("01 02 03"));
}

TEST_F(PublicKeyRsa, TakesAnExponentOfAWholeWord)
{
    PublicKey key;
    unsigned long exponent = 0;

    ASSERT_TRUE(key.SetRsaKey(std::numeric_limits<unsigned long>::max(), Modulus()));

    EXPECT_TRUE(key.GetRsaExponent(exponent));
    EXPECT_EQ(exponent, std::numeric_limits<unsigned long>::max());
}

TEST_F(PublicKeyRsa, RefusesToShowALongerExponent)
{
    const RsaPtr rsa(RSA_new());
    BIGNUM* const e = BN_new();
    BN_lshift(e, BN_value_one(), 64);
    RSA_set0_key(rsa.get(), BN_dup(RSA_get0_n(CardRsa())), e, nullptr);
    ASSERT_TRUE(m_Key.SetRsaKey(rsa.get()));
    unsigned long exponent = 77;

    EXPECT_FALSE(m_Key.GetRsaExponent(exponent));

    EXPECT_EQ(exponent, 77U);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR rsa exponent cannot be represented as an unsigned long"}));
}

TEST_F(PublicKeyRsa, ReplacesAnEarlierKeyAndItsType)
{
    const RsaPtr other(RSA_new());

    EXPECT_FALSE(m_Key.SetEccKey(nullptr));
    EXPECT_EQ(m_Key.GetKeyType(), KeyTypeECDSA);
    EXPECT_TRUE(m_Key.SetRsaKey(CardRsa()));
    EXPECT_EQ(m_Key.GetKeyType(), KeyTypeRSA);
    EXPECT_FALSE(m_Key.SetRsaKey(other.get())) << "a key without numbers cannot be duplicated";
    EXPECT_FALSE(m_Key.Verify(Sign(m_DigestInfo), m_DigestInfo, m_bOk));
    EXPECT_FALSE(m_Key.SetRsaKey(nullptr));
}

TEST_F(PublicKeyRsa, IsEmptyAfterFree)
{
    m_Key.Free();
    m_Key.Free();

    EXPECT_FALSE(m_Key.Verify(Sign(m_DigestInfo), m_DigestInfo, m_bOk));
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR keydata not set"}));
}

TEST_F(PublicKeyRsa, AnswersNoQuestionForCurves)
{
    ByteArray x = Bytes("99");
    ByteArray y;
    m_bOk = true;

    EXPECT_FALSE(m_Key.VerifyEcc(Repeated(0x01, 48), m_DigestInfo, m_bOk));
    EXPECT_FALSE(m_Key.GetEccKeyValues(x, y));

    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(x, Bytes("99"));
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"ERROR invalid keytype for VerifyRsa", "ERROR invalid keytype for VerifyRsa"}));
}

TEST_F(PublicKeyRsa, WithAModulusOfZeroHasNone)
{
    for (const ByteArray& zero : {ByteArray(), Repeated(0x00, 192)})
    {
        CapturedLog::Lines().clear();
        ByteArray modulus = Bytes("99");
        ASSERT_TRUE(m_Key.SetRsaKey(65537, zero));

        EXPECT_FALSE(m_Key.GetRsaModulus(modulus));

        EXPECT_TRUE(modulus.empty());
        ASSERT_EQ(CapturedLog::Lines().size(), 2U);
        EXPECT_EQ(CapturedLog::Lines()[0], "ERROR modlen is <= 0");
        EXPECT_EQ(CapturedLog::Lines()[1].rfind("ERROR error:", 0), 0U);
    }
}

struct OddKeyCase
{
    const char* name;
    unsigned long exponent;
    const char* modulus;
    std::size_t signatureLength;
};

class PublicKeyOddRsa : public testing::TestWithParam<OddKeyCase>
{};

TEST_P(PublicKeyOddRsa, CannotCheckAnything)
{
    const CapturedLog log{kBridge};
    PublicKey key;
    bool bOk = true;
    ASSERT_TRUE(key.SetRsaKey(GetParam().exponent, Bytes(GetParam().modulus)));

    EXPECT_FALSE(key.VerifyRsa(Repeated(0x01, GetParam().signatureLength), Bytes("02"), bOk));

    EXPECT_FALSE(bOk);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR error loading exponent and modulus from buffer"}));
}

INSTANTIATE_TEST_SUITE_P(All, PublicKeyOddRsa,
                         testing::Values(OddKeyCase{"ZeroModulus", 65537, "00", 0},
                                         OddKeyCase{"ZeroModulusAndASignature", 65537, "00", 1},
                                         OddKeyCase{"EmptyModulus", 65537, "", 1},
                                         OddKeyCase{"BothZero", 0, "", 0},
                                         OddKeyCase{"EvenModulus", 3, "FF 00 00 00 00 00 00 00", 8},
                                         OddKeyCase{"ExponentAboveModulus", 65537, "7F", 1}),
                         [](const auto& row) { return row.param.name; });

TEST_F(PublicKeyRsa, WithAnExponentOfZeroChecksAgainstOne)
{
    ASSERT_TRUE(m_Key.SetRsaKey(0, Modulus()));

    EXPECT_TRUE(m_Key.VerifyRsa(Sign(m_DigestInfo), m_DigestInfo, m_bOk));
    EXPECT_FALSE(m_bOk);
}

TEST_F(PublicKeyRsa, LeavesTheErrorQueueOfTheHost)
{
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 1);
    const unsigned long before = ERR_peek_error();

    m_Key.VerifyRsa(Repeated(0xFF, 192), m_DigestInfo, m_bOk);
    m_Key.SetRsaKey(nullptr);

    EXPECT_EQ(ERR_get_error(), before);
    EXPECT_EQ(ERR_get_error(), 0U);
}

TEST(Bn2Bin, AppendsWithoutALeadingZero)
{
    ByteArray out = Bytes("99");
    BIGNUM* const number = BN_new();
    BN_set_word(number, 0x010203);

    PublicKey::bn2bin_ByteArray(number, out);
    BN_zero(number);
    PublicKey::bn2bin_ByteArray(number, out);
    PublicKey::bn2bin_ByteArray(nullptr, out);

    EXPECT_EQ(out, Bytes("99 01 02 03"));
    BN_free(number);
}

} // namespace
