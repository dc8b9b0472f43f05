#include "crypto/slCertificate.h"

#include "tests/crypto/Bytes.h"
#include "tests/crypto/OddCertificate.h"
#include "tests/crypto/ScopedTimeZone.h"

#include <array>

#include <gtest/gtest.h>
#include <openssl/asn1.h>

namespace
{

using Norvik::slCertificate;
using Parts = std::array<unsigned short, 6>;

Parts PartsFrom(const slCertificate& certificate)
{
    Parts parts = {1, 1, 1, 1, 1, 1};
    certificate.ValidFrom(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    return parts;
}

Parts PartsTo(const slCertificate& certificate)
{
    Parts parts = {1, 1, 1, 1, 1, 1};
    certificate.ValidTo(parts[0], parts[1], parts[2], parts[3], parts[4], parts[5]);
    return parts;
}

slCertificate LoadedFixture(const char* name)
{
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(Fixture(name)));
    return certificate;
}

slCertificate ValidFromTo(const OddCertificate::Time& from, const OddCertificate::Time& to)
{
    OddCertificate odd;
    odd.notBefore = from;
    odd.notAfter = to;
    slCertificate certificate;
    EXPECT_TRUE(certificate.LoadFromBuffer(odd.Der()));
    return certificate;
}

TEST(CertificateValidity, IsGivenInParts)
{
    const ScopedTimeZone utc("UTC0");
    const slCertificate certificate = LoadedFixture("holder-rsa.der");

    EXPECT_EQ(PartsFrom(certificate), (Parts{2021, 3, 15, 10, 11, 12}));
    EXPECT_EQ(PartsTo(certificate), (Parts{2031, 3, 14, 23, 59, 58}));
}

TEST(CertificateValidity, IsGivenAsText)
{
    const ScopedTimeZone utc("UTC0");
    const slCertificate certificate = LoadedFixture("holder-p256.der");

    EXPECT_EQ(certificate.ValidFrom(), "1970-01-02 03:04:05");
    EXPECT_EQ(certificate.ValidTo(), "2031-03-14 23:59:58");
}

TEST(CertificateValidity, KnowsGeneralizedTime)
{
    const ScopedTimeZone utc("UTC0");

    EXPECT_EQ(LoadedFixture("holder-p192.der").ValidTo(), "2061-03-14 23:59:58");
}

TEST(CertificateValidity, IsOffByTheZoneOfTheHost)
{
    const ScopedTimeZone fiveHoursEast("XXX-5");
    const slCertificate certificate = LoadedFixture("holder-rsa.der");

    EXPECT_EQ(certificate.ValidFrom(), "2021-03-15 05:11:12");
    EXPECT_EQ(PartsTo(certificate), (Parts{2031, 3, 14, 18, 59, 58}));
}

TEST(CertificateValidity, OfAnEmptyObjectIsZero)
{
    EXPECT_EQ(PartsFrom(slCertificate()), Parts{});
    EXPECT_EQ(PartsTo(slCertificate()), Parts{});
}

TEST(CertificateValidity, IncludesBothEnds)
{
    const ScopedTimeZone utc("UTC0");
    const slCertificate certificate = LoadedFixture("holder-rsa.der");
    constexpr long kNotBefore = 1615803072; // by "date -u +%s"
    constexpr long kNotAfter = 1931299198;

    EXPECT_FALSE(certificate.IsValid(kNotBefore - 1));
    EXPECT_TRUE(certificate.IsValid(kNotBefore));
    EXPECT_TRUE(certificate.IsValid(kNotAfter));
    EXPECT_FALSE(certificate.IsValid(kNotAfter + 1));
}

struct OddTimeCase
{
    const char* name;
    int type;
    const char* text;
    const char* shown;
};

class CertificateOddTime : public testing::TestWithParam<OddTimeCase>
{};

// OpenSSL loads such certificates; what is not in the text reads as 0.
TEST_P(CertificateOddTime, IsShownWithoutReadingPastItsEnd)
{
    const ScopedTimeZone utc("UTC0");
    const OddCertificate::Time time = {GetParam().type, GetParam().text};

    const slCertificate certificate = ValidFromTo(time, time);

    EXPECT_EQ(certificate.ValidFrom(), GetParam().shown);
    EXPECT_EQ(certificate.ValidTo(), GetParam().shown);
}

INSTANTIATE_TEST_SUITE_P(
    All, CertificateOddTime,
    testing::Values(
        OddTimeCase{"EmptyUtc", V_ASN1_UTCTIME, "", "1970-01-01 00:00:00"},
        OddTimeCase{"ShortUtc", V_ASN1_UTCTIME, "2103", "1970-01-01 00:00:00"},
        OddTimeCase{"LettersInUtc", V_ASN1_UTCTIME, "abcdefghijkl", "1999-11-30 00:00:00"},
        OddTimeCase{"ShortGeneralized", V_ASN1_GENERALIZEDTIME, "20210315", "2021-03-15 00:00:00"},
        // The year before year 0 has no place in the parts.
        OddTimeCase{"EmptyGeneralized", V_ASN1_GENERALIZEDTIME, "", "0000-00-00 00:00:00"},
        OddTimeCase{"NegativeYear", V_ASN1_GENERALIZEDTIME, "-99901010000Z0", "0000-00-00 00:00:00"}),
    [](const auto& row) { return row.param.name; });

} // namespace
