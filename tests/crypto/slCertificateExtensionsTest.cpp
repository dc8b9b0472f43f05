#include "crypto/slCertificate.h"

#include "tests/crypto/Bytes.h"
#include "tests/crypto/OddCertificate.h"

#include <gtest/gtest.h>

namespace
{

using Norvik::slCertificate;
using Texts = std::vector<std::string>;

class CertificateExtensions : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_Holder.LoadFromBuffer(Fixture("holder-rsa.der")));
        ASSERT_TRUE(m_Authority.LoadFromBuffer(Fixture("authority.der")));
    }

    slCertificate m_Holder;
    slCertificate m_Authority;
};

slCertificate WithExtensions(std::vector<OddCertificate::Extension> extensions)
{
    OddCertificate odd;
    odd.extensions = std::move(extensions);
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(odd.Der()));
    return certificate;
}

TEST_F(CertificateExtensions, AreFoundByNameOrNumbers)
{
    EXPECT_TRUE(m_Holder.GetExtAvailable("subjectKeyIdentifier"));
    EXPECT_TRUE(m_Holder.GetExtAvailable("2.5.29.14"));
    EXPECT_TRUE(m_Holder.GetExtAvailable("X509v3 Key Usage"));
    EXPECT_TRUE(m_Holder.GetExtAvailable("1.3.6.1.4.1.99999.1"));
}

TEST_F(CertificateExtensions, AreNotFoundWhenAbsentOrUnknown)
{
    EXPECT_FALSE(m_Holder.GetExtAvailable("2.5.29.99"));
    EXPECT_FALSE(m_Holder.GetExtAvailable("no such name"));
    EXPECT_FALSE(m_Holder.GetExtAvailable(""));
}

TEST_F(CertificateExtensions, AtIndexZeroCountAsAbsent)
{
    const slCertificate trueFirst =
        WithExtensions({{"1.3.6.1.4.1.99999.1", Bytes("01 01 FF")}, {"1.3.6.1.4.1.99999.2", Bytes("05 00")}});

    EXPECT_FALSE(m_Holder.GetExtAvailable("basicConstraints"));
    EXPECT_FALSE(trueFirst.GetExtAvailable("1.3.6.1.4.1.99999.1"));
    EXPECT_FALSE(trueFirst.GetBoolExt("1.3.6.1.4.1.99999.1"));
    EXPECT_TRUE(trueFirst.GetExtAvailable("1.3.6.1.4.1.99999.2"));
}

TEST_F(CertificateExtensions, OfABooleanAreTrueForFFAlone)
{
    EXPECT_TRUE(m_Holder.GetBoolExt("1.3.6.1.4.1.99999.1"));
    EXPECT_FALSE(m_Holder.GetBoolExt("1.3.6.1.4.1.99999.2")) << "a BOOLEAN of 01";
    EXPECT_FALSE(m_Holder.GetBoolExt("1.3.6.1.4.1.99999.3")) << "a text";
    EXPECT_FALSE(m_Holder.GetBoolExt("1.3.6.1.4.1.99999.77")) << "absent";
}

TEST_F(CertificateExtensions, WithoutAGoodValueAreNotTrue)
{
    for (const char* const value : {"", "01", "01 01", "01 00", "01 02 FF FF", "FF FF FF"})
    {
        const slCertificate certificate =
            WithExtensions({{"1.3.6.1.4.1.99999.5", {}}, {"1.3.6.1.4.1.99999.1", Bytes(value)}});
        EXPECT_TRUE(certificate.GetExtAvailable("1.3.6.1.4.1.99999.1"));
        EXPECT_FALSE(certificate.GetBoolExt("1.3.6.1.4.1.99999.1")) << value;
    }
}

TEST_F(CertificateExtensions, TellAnAuthority)
{
    EXPECT_TRUE(m_Authority.IsCaCert());
    EXPECT_FALSE(m_Holder.IsCaCert());
}

TEST_F(CertificateExtensions, TellAnOcspSigner)
{
    EXPECT_TRUE(m_Holder.IsOcspSigner());
    EXPECT_FALSE(m_Authority.IsOcspSigner());
}

TEST_F(CertificateExtensions, GiveKeyIdentifiersRaw)
{
    const Norvik::ByteArray identifier = Bytes("04 14" + Described("holder-rsa", "keySha1"));

    EXPECT_EQ(m_Holder.GetSKI(), identifier);
    ASSERT_EQ(m_Holder.GetAKI().size(), 24U);
    EXPECT_EQ(Norvik::ByteArray(m_Holder.GetAKI().data(), 4), Bytes("30 16 80 14"));
    EXPECT_TRUE(m_Authority.GetAKI().empty());
}

TEST_F(CertificateExtensions, GiveDnsNamesAlone)
{
    EXPECT_EQ(m_Holder.Get_SAN_DNS(), (Texts{"card.example.test", "second.example.test"}));
    EXPECT_TRUE(m_Authority.Get_SAN_DNS().empty());
}

TEST_F(CertificateExtensions, GiveTheUrisOfTheRevocationLists)
{
    EXPECT_EQ(m_Holder.Get_CRL_Dp(), (Texts{"http://crl.example.test/a.crl", "ldap://crl.example.test/b"}));
    EXPECT_TRUE(m_Authority.Get_CRL_Dp().empty());
}

TEST_F(CertificateExtensions, GiveTheAccessDescriptionsThatTheyKnow)
{
    EXPECT_EQ(m_Holder.Get_AIA(),
              (Texts{"ocsp:http://ocsp.example.test/", "ca:http://ca.example.test/ca.cer"}));
    EXPECT_EQ(m_Holder.Get_AIA_OCSP(), (Texts{"http://ocsp.example.test/"}));
    EXPECT_EQ(m_Holder.Get_AIA_CAIssuers(), (Texts{"http://ca.example.test/ca.cer"}));
    EXPECT_TRUE(m_Authority.Get_AIA().empty());
}

// Distribution points without a name, with a relative name, and with a full name of another type.
TEST_F(CertificateExtensions, SkipDistributionPointsWithoutUri)
{
    const slCertificate certificate =
        WithExtensions({{"2.5.29.31", Bytes("30 22"
                                            "30 03 81 01 06"
                                            "30 11 A0 0F A1 0D 30 0B 06 03 55 04 03 0C 04 6E 61 6D 65"
                                            "30 08 A0 06 A0 04 82 02 61 62")}});

    EXPECT_TRUE(certificate.Get_CRL_Dp().empty());
}

TEST_F(CertificateExtensions, OfNoGoodDerAreEmpty)
{
    const Norvik::ByteArray broken = Bytes("30 05 FF");
    const slCertificate certificate = WithExtensions({{"2.5.29.17", broken},
                                                      {"2.5.29.31", broken},
                                                      {"1.3.6.1.5.5.7.1.1", broken},
                                                      {"2.5.29.37", broken},
                                                      {"2.5.29.14", {}}});

    EXPECT_TRUE(certificate.Get_SAN_DNS().empty());
    EXPECT_TRUE(certificate.Get_CRL_Dp().empty());
    EXPECT_TRUE(certificate.Get_AIA().empty());
    EXPECT_FALSE(certificate.IsOcspSigner());
    EXPECT_TRUE(certificate.GetSKI().empty());
}

} // namespace
