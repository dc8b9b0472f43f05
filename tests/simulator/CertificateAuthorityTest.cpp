// The made-up certificates and the identity link, looked at by OpenSSL.

#include "simulator/data/CertificateAuthority.h"

#include "simulator/cards/Acos03.h"

#include <memory>
#include <string>

#include <gtest/gtest.h>
#include <openssl/evp.h>
#include <openssl/x509.h>
#include <openssl/x509v3.h>

namespace
{

using Simulator::Bytes;

struct FreeCertificate
{
    void operator()(X509* certificate) const { X509_free(certificate); }
};
using CertificatePtr = std::unique_ptr<X509, FreeCertificate>;

CertificatePtr Parse(const Bytes& der)
{
    const unsigned char* position = der.data();
    return CertificatePtr(d2i_X509(nullptr, &position, static_cast<long>(der.size())));
}

class CertificateOnCard : public testing::TestWithParam<const char*>
{
protected:
    std::shared_ptr<Simulator::Card> m_Card = Simulator::MakeAcos03();
    CertificatePtr m_Certificate = Parse(m_Card->File(GetParam()).content);
};

TEST_P(CertificateOnCard, IsIssuedByTheAuthority)
{
    const CertificatePtr authority = Parse(Simulator::CertificateAuthority::Certificate());
    EXPECT_EQ(X509_check_issued(authority.get(), m_Certificate.get()), X509_V_OK);
    EXPECT_EQ(X509_verify(m_Certificate.get(), X509_get0_pubkey(authority.get())), 1);
    EXPECT_EQ(X509_check_ca(authority.get()), 1);
    EXPECT_EQ(X509_check_ca(m_Certificate.get()), 0);
}

TEST_P(CertificateOnCard, IsValidNowAndForLong)
{
    EXPECT_LT(X509_cmp_current_time(X509_get0_notBefore(m_Certificate.get())), 0);
    EXPECT_GT(X509_cmp_current_time(X509_get0_notAfter(m_Certificate.get())), 0);
}

TEST_P(CertificateOnCard, NamesTheHolder)
{
    char text[64] = "";
    X509_NAME_get_text_by_NID(X509_get_subject_name(m_Certificate.get()), NID_commonName, text, sizeof text);
    EXPECT_STREQ(text, "Maria Musterfrau");
}

TEST_P(CertificateOnCard, IsTheSameOnEveryCardOfTheSameHolder)
{
    EXPECT_EQ(m_Card->File(GetParam()).content, Simulator::MakeAcos03()->File(GetParam()).content);
}

INSTANTIATE_TEST_SUITE_P(All, CertificateOnCard, testing::Values("EF_C_CH_EKEY", "EF_C_CH_SIGKEY"),
                         [](const auto& row) { return std::string(row.param); });

TEST(CertificateUsage, SeparatesTheKeys)
{
    const auto card = Simulator::MakeAcos03();
    const CertificatePtr encryption = Parse(card->File("EF_C_CH_EKEY").content);
    const CertificatePtr signature = Parse(card->File("EF_C_CH_SIGKEY").content);
    EXPECT_EQ(X509_get_key_usage(encryption.get()),
              static_cast<unsigned>(KU_DIGITAL_SIGNATURE | KU_KEY_ENCIPHERMENT | KU_DATA_ENCIPHERMENT));
    EXPECT_EQ(X509_get_key_usage(signature.get()), static_cast<unsigned>(KU_NON_REPUDIATION));
    EXPECT_EQ(EVP_PKEY_get_bits(X509_get0_pubkey(encryption.get())), 1536);
    EXPECT_EQ(EVP_PKEY_get_bits(X509_get0_pubkey(signature.get())), 192);
}

} // namespace
