#include "crypto/slCertificate.h"

#include "crypto/LowLevelKeys.h"
#include "crypto/PublicKey.h"
#include "tests/crypto/Bytes.h"

#include <gtest/gtest.h>

namespace
{

using Norvik::ByteArray;
using Norvik::slCertificate;

slCertificate LoadedFixture(const std::string& name)
{
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(Fixture(name + ".der")));
    return certificate;
}

/** The key's SubjectPublicKeyInfo with another byte at a place in it. */
slCertificate WithChangedByte(const std::string& name, const ByteArray& before, unsigned char changed)
{
    ByteArray der = Fixture(name + ".der");
    const auto place = std::search(der.begin(), der.end(), before.begin(), before.end());
    EXPECT_NE(place, der.end());
    *(place + static_cast<std::ptrdiff_t>(before.size()) - 1) = changed;
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(der));
    return certificate;
}

struct KeyCase
{
    const char* name;
    const char* fixture;
    bool bRsa;
    bool bEcdsa;
    int algorithm;
};

class CertificateKey : public testing::TestWithParam<KeyCase>
{};

TEST_P(CertificateKey, HasAType)
{
    const slCertificate certificate = LoadedFixture(GetParam().fixture);

    EXPECT_EQ(certificate.IsRsaKey(), GetParam().bRsa);
    EXPECT_EQ(certificate.IsEcdsaKey(), GetParam().bEcdsa);
    EXPECT_EQ(certificate.GetKeyAlgorithm(), GetParam().algorithm);
}

TEST_P(CertificateKey, IsGivenAsTheTypeThatItHas)
{
    const slCertificate certificate = LoadedFixture(GetParam().fixture);
    rsa_st* rsa = nullptr;
    ec_key_st* ecKey = nullptr;
    std::vector<unsigned char> modulus = {0x99};
    std::vector<unsigned char> exponent = {0x99};

    EXPECT_EQ(certificate.GetRsaPublicKey(&rsa), GetParam().bRsa);
    EXPECT_EQ(certificate.GetEcdsaPublicKey(&ecKey), GetParam().bEcdsa);
    EXPECT_EQ(certificate.GetRsaPubKeyComponents(modulus, exponent), GetParam().bRsa);
    const Norvik::RsaPtr rsaOwner(rsa);
    const Norvik::EcKeyPtr ecOwner(ecKey);

    EXPECT_EQ(rsa != nullptr, GetParam().bRsa);
    EXPECT_EQ(ecKey != nullptr, GetParam().bEcdsa);
    EXPECT_EQ(modulus.empty(), !GetParam().bRsa);
    EXPECT_EQ(exponent.empty(), !GetParam().bRsa);
}

INSTANTIATE_TEST_SUITE_P(All, CertificateKey,
                         testing::Values(KeyCase{"Rsa", "holder-rsa", true, false, 1},
                                         KeyCase{"P192", "holder-p192", false, true, 0},
                                         KeyCase{"P256", "holder-p256", false, true, 0},
                                         KeyCase{"ExplicitParameters", "explicit-p224", false, true, 0},
                                         KeyCase{"Ed25519", "holder-ed25519", false, false, 3}),
                         [](const auto& row) { return row.param.name; });

TEST(CertificateRsaKey, IsTheOneOfTheCertificate)
{
    const slCertificate certificate = LoadedFixture("holder-rsa");
    std::vector<unsigned char> modulus;
    std::vector<unsigned char> exponent;
    rsa_st* rsa = nullptr;
    ByteArray modulusOfKey;
    PublicKey key;

    ASSERT_TRUE(certificate.GetRsaPubKeyComponents(modulus, exponent));
    ASSERT_TRUE(certificate.GetRsaPublicKey(&rsa));
    const Norvik::RsaPtr owner(rsa);
    ASSERT_TRUE(key.SetRsaKey(rsa));
    ASSERT_TRUE(key.GetRsaModulus(modulusOfKey));

    EXPECT_EQ(modulus, Bytes(Described("holder-rsa", "modulus")));
    EXPECT_EQ(exponent, Bytes("01 00 01"));
    EXPECT_EQ(modulusOfKey, Bytes(Described("holder-rsa", "modulus")));
}

TEST(CertificateEcKey, IsTheOneOfTheCertificate)
{
    const slCertificate certificate = LoadedFixture("holder-p192");
    ec_key_st* ecKey = nullptr;
    unsigned char* value = nullptr;
    unsigned long length = 0;
    PublicKey key;
    ByteArray x;
    ByteArray y;

    ASSERT_TRUE(certificate.GetEcdsaPublicKey(&ecKey));
    const Norvik::EcKeyPtr owner(ecKey);
    ASSERT_TRUE(certificate.GetPublicKeyValue(&value, &length));
    const std::unique_ptr<unsigned char[]> valueOwner(value);
    ASSERT_TRUE(key.SetEccKey(ecKey));
    ASSERT_TRUE(key.GetEccKeyValues(x, y));

    // An uncompressed point: 04 x y.
    ASSERT_EQ(length, 49U);
    EXPECT_EQ(value[0], 0x04);
    EXPECT_EQ(x, ByteArray(value + 25 - x.size(), x.size()));
    EXPECT_EQ(y, ByteArray(value + 49 - y.size(), y.size()));
}

TEST(CertificateKeyValue, IsTheContentOfTheBitString)
{
    const slCertificate certificate = LoadedFixture("holder-rsa");
    unsigned char* value = nullptr;
    unsigned long length = 0;

    ASSERT_TRUE(certificate.GetPublicKeyValue(&value, &length));
    const std::unique_ptr<unsigned char[]> owner(value);

    EXPECT_EQ(ByteArray(value, length), Bytes(Described("holder-rsa", "keyBits")));
}

TEST(CertificateKeyHash, IsSha1OverTheBitString)
{
    const slCertificate certificate = LoadedFixture("holder-rsa");

    EXPECT_EQ(certificate.GetPubKeyHashBytes(), Bytes(Described("holder-rsa", "keySha1")));
    EXPECT_EQ(certificate.GetPubKeyHashB64(), Described("holder-rsa", "keySha1Base64"));
}

TEST(CertificateKeyHash, InHexIsTheBytesThemselves)
{
    const ByteArray hash = Bytes(Described("holder-rsa", "keySha1"));

    EXPECT_EQ(LoadedFixture("holder-rsa").GetPubKeyHashHex(), std::string(hash.begin(), hash.end()));
}

// 03 32 00 04: the BIT STRING that holds the uncompressed point of a 192-bit curve.
TEST(CertificateOddKey, WithAnUnknownPointFormIsNoKey)
{
    const slCertificate certificate = WithChangedByte("holder-p192", Bytes("03 32 00 04"), 0x05);
    ec_key_st* ecKey = nullptr;

    EXPECT_FALSE(certificate.IsEcdsaKey());
    EXPECT_FALSE(certificate.GetEcdsaPublicKey(&ecKey));
    EXPECT_EQ(certificate.GetKeyAlgorithm(), 3);
}

TEST(CertificateOddKey, WithAPointOffTheCurveIsNoKey)
{
    const slCertificate original = LoadedFixture("holder-p192");
    unsigned char* value = nullptr;
    unsigned long length = 0;
    ASSERT_TRUE(original.GetPublicKeyValue(&value, &length));
    const std::unique_ptr<unsigned char[]> owner(value);
    const auto changed = static_cast<unsigned char>(value[length - 1] ^ 0x01U);

    const slCertificate certificate = WithChangedByte("holder-p192", ByteArray(value, length), changed);

    EXPECT_FALSE(certificate.IsEcdsaKey());
}

} // namespace
