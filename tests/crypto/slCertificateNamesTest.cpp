#include "crypto/slCertificate.h"

#include "tests/crypto/Bytes.h"
#include "tests/crypto/OddCertificate.h"

#include <limits>

#include <gtest/gtest.h>
#include <openssl/asn1.h>
#include <openssl/obj_mac.h>
#include <openssl/x509.h>

namespace
{

using Norvik::ByteArray;
using Norvik::slCertificate;

class CertificateNames : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_Certificate.LoadFromBuffer(Fixture("holder-rsa.der"))); }

    slCertificate m_Certificate;
};

slCertificate Loaded(const OddCertificate& odd)
{
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(odd.Der()));
    return certificate;
}

TEST_F(CertificateNames, AreShownOnOneLine)
{
    EXPECT_EQ(m_Certificate.GetSubject(),
              "/C=AT/O=Beispiel Verein/OU=Kartenstelle/CN=Erika Muster/GN=Erika/SN=Muster/"
              "serialNumber=123456789012");
    EXPECT_EQ(m_Certificate.GetIssuer(), "/C=AT/O=Beispiel Trust GmbH/CN=Beispiel Wurzel 1");
}

// By "openssl x509 -nameopt".
TEST_F(CertificateNames, FollowTheFormatFlags)
{
    EXPECT_EQ(m_Certificate.GetIssuerWithFormat(XN_FLAG_RFC2253),
              "CN=Beispiel Wurzel 1,O=Beispiel Trust GmbH,C=AT");
    EXPECT_EQ(m_Certificate.GetIssuerWithFormat(XN_FLAG_ONELINE),
              "C = AT, O = Beispiel Trust GmbH, CN = Beispiel Wurzel 1");
    EXPECT_EQ(m_Certificate.GetSubjectWithFormat(XN_FLAG_RFC2253),
              "serialNumber=123456789012,SN=Muster,GN=Erika,CN=Erika Muster,OU=Kartenstelle,O=Beispiel "
              "Verein,C=AT");
}

TEST_F(CertificateNames, GiveTheirAttributes)
{
    EXPECT_EQ(m_Certificate.GetSubjectCN(), "Erika Muster");
    EXPECT_EQ(m_Certificate.GetSubjectOU(), "Kartenstelle");
    EXPECT_EQ(m_Certificate.GetSubjectGN(), "Erika");
    EXPECT_EQ(m_Certificate.GetSubjectSN(), "Muster");
    EXPECT_EQ(m_Certificate.GetSubjectSerial(), "123456789012");
    EXPECT_EQ(m_Certificate.GetSubjectVal(NID_organizationName), "Beispiel Verein");
    EXPECT_EQ(m_Certificate.GetIssuerCN(), "Beispiel Wurzel 1");
    EXPECT_EQ(m_Certificate.GetIssuerC(), "AT");
    EXPECT_EQ(m_Certificate.GetIssuerO(), "Beispiel Trust GmbH");
    EXPECT_EQ(m_Certificate.GetIssuerOU(), "");
    EXPECT_EQ(m_Certificate.GetIssuerVal(NID_commonName), "Beispiel Wurzel 1");
    EXPECT_EQ(m_Certificate.GetSubjectVal(NID_title), "");
}

TEST(CertificateOfSeveralUnits, GivesTheFirst)
{
    OddCertificate odd;
    odd.subject = {{NID_organizationalUnitName, "first"}, {NID_organizationalUnitName, "second"}};
    odd.issuer = {{NID_organizationalUnitName, "issuing unit"}};

    EXPECT_EQ(Loaded(odd).GetSubjectOU(), "first");
    EXPECT_EQ(Loaded(odd).GetIssuerOU(), "issuing unit");
}

TEST(CertificateOfLongNames, ShowsAtMost1024Characters)
{
    OddCertificate odd;
    odd.subject = {{NID_commonName, std::string(3000, 'n')}};

    EXPECT_EQ(Loaded(odd).GetSubjectCN(), std::string(1024, 'n'));
    EXPECT_LE(Loaded(odd).GetSubject().size(), 1024U);
}

TEST(CertificateWithoutNames, HasEmptyTexts)
{
    const slCertificate certificate = Loaded({});

    EXPECT_EQ(certificate.GetSubject(), "");
    EXPECT_EQ(certificate.GetIssuerSepByComa(), "");
    EXPECT_EQ(certificate.GetSubjectCN(), "");
    EXPECT_EQ(certificate.GetSubjectWithFormat(XN_FLAG_RFC2253), "");
    EXPECT_TRUE(certificate.IsSelfSigned());
}

TEST_F(CertificateNames, OfTheIssuerComeBackInReverse)
{
    EXPECT_EQ(m_Certificate.GetIssuerSepByComa(), "CN=Beispiel Wurzel 1,O=Beispiel Trust GmbH,C=AT");
}

TEST_F(CertificateNames, HaveTheHashOfOpenSsl)
{
    EXPECT_EQ(m_Certificate.GetSubjectNameHash(), Described("holder-rsa", "subjectHash"));
    EXPECT_EQ(m_Certificate.GetIssuerNameHash(), Described("holder-rsa", "issuerHash"));
}

// "openssl asn1parse" shows the issuer of the fixture as SEQUENCE of 71 bytes.
TEST_F(CertificateNames, AreGivenAsDer)
{
    const ByteArray issuer = Bytes("30 47 31 0B 30 09 06 03 55 04 06 13 02 41 54");
    unsigned int length = 0;
    ASSERT_TRUE(m_Certificate.GetIssuerDER(nullptr, length));
    ASSERT_EQ(length, 73U);
    ByteArray der = Repeated(0x55, length + 1);
    ++length;

    EXPECT_TRUE(m_Certificate.GetIssuerDER(der.data(), length));

    EXPECT_EQ(length, 73U);
    EXPECT_EQ(ByteArray(der.data(), issuer.size()), issuer);
    EXPECT_EQ(der[73], 0x55);
}

TEST(CertificateDer, OfTheSubjectIsExact)
{
    OddCertificate odd;
    odd.subject = {{NID_commonName, "Max"}};
    const slCertificate certificate = Loaded(odd);
    const ByteArray expected = Bytes("30 0E 31 0C 30 0A 06 03 55 04 03 0C 03 4D 61 78");
    unsigned int length = 16;
    ByteArray der = Repeated(0x55, 16);

    EXPECT_TRUE(certificate.GetSubjectDER(der.data(), length));

    EXPECT_EQ(length, 16U);
    EXPECT_EQ(der, expected);
}

TEST_F(CertificateNames, DoNotFitOneByteLess)
{
    unsigned int subjectLength = 0;
    unsigned int issuerLength = 0;
    unsigned int serialLength = 0;
    ASSERT_TRUE(m_Certificate.GetSubjectDER(nullptr, subjectLength));
    ASSERT_TRUE(m_Certificate.GetIssuerDER(nullptr, issuerLength));
    ASSERT_TRUE(m_Certificate.GetSerialNumberDER(nullptr, serialLength));
    ByteArray buffer = Repeated(0x55, subjectLength);

    unsigned int length = subjectLength - 1;
    EXPECT_FALSE(m_Certificate.GetSubjectDER(buffer.data(), length));
    EXPECT_EQ(length, subjectLength - 1);
    length = issuerLength - 1;
    EXPECT_FALSE(m_Certificate.GetIssuerDER(buffer.data(), length));
    EXPECT_EQ(length, issuerLength - 1);
    length = serialLength - 1;
    EXPECT_FALSE(m_Certificate.GetSerialNumberDER(buffer.data(), length));
    EXPECT_EQ(length, serialLength - 1);
    EXPECT_EQ(buffer, Repeated(0x55, subjectLength));
}

TEST_F(CertificateNames, ComeWithTheContentOfTheSerialNumber)
{
    unsigned char serial[10] = {};
    unsigned int length = sizeof(serial);

    EXPECT_TRUE(m_Certificate.GetSerialNumberDER(serial, length));

    EXPECT_EQ(ByteArray(serial, length), Bytes("7F A1 B2 C3 D4 E5 F6 07 18"));
    EXPECT_EQ(m_Certificate.GetSerialNumber(), "0x7FA1B2C3D4E5F60718");
    EXPECT_EQ(m_Certificate.GetSerialNumberInt(), std::numeric_limits<long>::max());
    EXPECT_EQ(ASN1_STRING_length(m_Certificate.GetSerialNumberAsn1()), 9);
}

struct SerialCase
{
    const char* name;
    long serial;
    const char* text;
    long number;
};

class CertificateSerial : public testing::TestWithParam<SerialCase>
{};

TEST_P(CertificateSerial, IsShownInHexadecimal)
{
    OddCertificate odd;
    odd.serial = GetParam().serial;
    const slCertificate certificate = Loaded(odd);

    EXPECT_EQ(certificate.GetSerialNumber(), GetParam().text);
    EXPECT_EQ(certificate.GetSerialNumberInt(), GetParam().number);
}

INSTANTIATE_TEST_SUITE_P(All, CertificateSerial,
                         testing::Values(SerialCase{"Zero", 0, "0x0", 0}, SerialCase{"Small", 10, "0x0A", 10},
                                         SerialCase{"Large", 0x7ABCDEF012, "0x7ABCDEF012", 0x7ABCDEF012},
                                         // The sign stands behind "0x", where no number can begin.
                                         SerialCase{"Negative", -5, "0x-05", 0}),
                         [](const auto& row) { return row.param.name; });

TEST(SelfSigned, IsAQuestionOfNames)
{
    slCertificate authority;
    slCertificate holder;
    authority.LoadFromBuffer(Fixture("authority.der"));
    holder.LoadFromBuffer(Fixture("holder-rsa.der"));

    EXPECT_TRUE(authority.IsSelfSigned());
    EXPECT_FALSE(holder.IsSelfSigned());
}

} // namespace
