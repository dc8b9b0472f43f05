#include "crypto/slCertificate.h"

#include "crypto/slCertificateLog.h"
#include "tests/crypto/Bytes.h"
#include "tests/crypto/OddCertificate.h"
#include "tests/support/TemporaryDirectory.h"

#include <fstream>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/x509.h>

namespace
{

using Norvik::HashAlgorithm;
using Norvik::slCertificate;

class Certificate : public testing::Test
{
protected:
    void SetUp() override { ASSERT_TRUE(m_Certificate.LoadFromBuffer(m_Der)); }

    const Norvik::ByteArray m_Der = Fixture("holder-rsa.der");
    const Norvik::ByteArray m_Pem = Fixture("holder-rsa.pem");
    slCertificate m_Certificate;
};

TEST(EmptyCertificate, AnswersEveryQuestionWithNothing)
{
    const slCertificate empty;
    std::vector<unsigned char> first = {0x99};
    std::vector<unsigned char> second = {0x99};
    unsigned char* array = nullptr;
    unsigned long longLength = 77;
    unsigned int length = 77;
    rsa_st* rsa = nullptr;
    ec_key_st* ecKey = nullptr;

    for (const std::string& text : {empty.ToB64(),
                                    empty.GetSubject(),
                                    empty.GetIssuer(),
                                    empty.GetSubjectWithFormat(0),
                                    empty.GetIssuerWithFormat(0),
                                    empty.GetIssuerSepByComa(),
                                    empty.GetSerialNumber(),
                                    empty.GetSubjectVal(13),
                                    empty.GetIssuerVal(13),
                                    empty.GetSubjectCN(),
                                    empty.GetSubjectOU(),
                                    empty.GetSubjectGN(),
                                    empty.GetSubjectSN(),
                                    empty.GetSubjectSerial(),
                                    empty.GetIssuerCN(),
                                    empty.GetIssuerC(),
                                    empty.GetIssuerO(),
                                    empty.GetIssuerOU(),
                                    empty.GetSubjectNameHash(),
                                    empty.GetIssuerNameHash(),
                                    empty.ValidFrom(),
                                    empty.ValidTo(),
                                    empty.GetPubKeyHashHex(),
                                    empty.GetPubKeyHashB64()})
    {
        EXPECT_EQ(text, "");
    }
    EXPECT_EQ(empty.GetThumbprint(), L"");
    for (const bool bAnswer :
         {empty.GetExtAvailable("basicConstraints"), empty.GetBoolExt("basicConstraints"), empty.IsCaCert(),
          empty.IsSelfSigned(), empty.IsOcspSigner(), empty.IsValid(0), empty.IsRsaKey(), empty.IsEcdsaKey(),
          empty.LogCertificate("title"), empty.SaveCert("/dev/null"), empty.GetSubjectDER(nullptr, length),
          empty.GetIssuerDER(nullptr, length), empty.GetSerialNumberDER(nullptr, length),
          empty.GetRsaPublicKey(&rsa), empty.GetEcdsaPublicKey(&ecKey),
          empty.GetPublicKeyValue(&array, &longLength), empty.GetThumbprint(first, HashAlgorithm::Sha1),
          empty.GetThumbprint(&array, &longLength)})
    {
        EXPECT_FALSE(bAnswer);
    }
    EXPECT_EQ(first, Bytes("99"));
    EXPECT_FALSE(empty.GetRsaPubKeyComponents(first, second));
    EXPECT_TRUE(first.empty() && second.empty());
    EXPECT_TRUE(empty.ToBin().empty() && empty.GetSKI().empty() && empty.GetAKI().empty());
    EXPECT_TRUE(empty.Get_SAN_DNS().empty() && empty.Get_CRL_Dp().empty() && empty.Get_AIA().empty());
    EXPECT_TRUE(empty.Get_AIA_OCSP().empty() && empty.Get_AIA_CAIssuers().empty());
    EXPECT_TRUE(empty.GetPubKeyHashBytes().empty());
    EXPECT_EQ(empty.GetSerialNumberInt(), 0);
    EXPECT_EQ(empty.GetKeyAlgorithm(), 3);
    EXPECT_EQ(empty.GetSerialNumberAsn1(), nullptr);
    EXPECT_EQ(empty.GetX509(), nullptr);
    EXPECT_EQ(empty.GetX509Copy(), nullptr);
    EXPECT_EQ(array, nullptr);
    EXPECT_EQ(length, 77U);
    EXPECT_EQ(longLength, 77U);
}

TEST_F(Certificate, LoadsDer)
{
    EXPECT_EQ(m_Certificate.ToBin(), m_Der);
}

TEST_F(Certificate, IgnoresWhatFollowsTheDer)
{
    Norvik::ByteArray padded = m_Der;
    padded.resize(padded.size() + 100);
    slCertificate certificate;

    EXPECT_TRUE(certificate.LoadFromBuffer(padded));
    EXPECT_EQ(certificate.ToBin(), m_Der);
}

TEST_F(Certificate, DoesNotLoadCutOrOtherBytes)
{
    for (const Norvik::ByteArray& bytes :
         {Norvik::ByteArray(), Bytes("30"), Bytes("30 82"), Bytes("30 84 FF FF FF FF"), Bytes("30 80"),
          Norvik::ByteArray(m_Der.data(), m_Der.size() - 1),
          Norvik::ByteArray(std::string("no certificate"))})
    {
        slCertificate certificate;
        EXPECT_FALSE(certificate.LoadFromBuffer(bytes));
        EXPECT_EQ(certificate.GetX509(), nullptr);
    }
}

TEST_F(Certificate, OverwritesAnEarlierOneWithoutReleasingIt)
{
    x509_st* const first = m_Certificate.GetX509();

    EXPECT_FALSE(m_Certificate.LoadFromBuffer(Bytes("30 00")));

    EXPECT_EQ(m_Certificate.GetX509(), nullptr);
    EXPECT_EQ(X509_get_version(first), 2);
    X509_free(first);
}

TEST_F(Certificate, CopiesDeeply)
{
    const slCertificate copied(m_Certificate);
    const slCertificate ofX509(m_Certificate.GetX509());
    slCertificate assigned;
    assigned = m_Certificate;
    const slCertificate& itself = assigned;
    assigned = itself;
    slCertificate loaded;
    EXPECT_TRUE(loaded.LoadFromX509(m_Certificate.GetX509()));

    for (const slCertificate* const each :
         {&copied, &ofX509, &std::as_const(assigned), &std::as_const(loaded)})
    {
        EXPECT_EQ(each->ToBin(), m_Der);
        EXPECT_NE(each->GetX509(), m_Certificate.GetX509());
    }
}

TEST_F(Certificate, CopiesOfNothingAreNothing)
{
    const slCertificate empty;
    // NOLINTNEXTLINE(performance-unnecessary-copy-initialization): the copy is the subject
    const slCertificate copied(empty);
    const slCertificate ofNull(nullptr);
    EXPECT_FALSE(m_Certificate.LoadFromX509(nullptr));

    EXPECT_EQ(copied.GetX509(), nullptr);
    EXPECT_EQ(ofNull.GetX509(), nullptr);
    EXPECT_EQ(m_Certificate.GetX509(), nullptr);
}

TEST_F(Certificate, GivesACopyForTheCaller)
{
    x509_st* const copy = m_Certificate.GetX509Copy();

    EXPECT_NE(copy, m_Certificate.GetX509());
    EXPECT_EQ(X509_cmp(copy, m_Certificate.GetX509()), 0);
    X509_free(copy);
}

TEST_F(Certificate, IsEqualToItselfAlone)
{
    slCertificate same;
    same.LoadFromBuffer(m_Der);

    EXPECT_FALSE(m_Certificate == same);
    EXPECT_TRUE(m_Certificate == m_Certificate);
    EXPECT_TRUE(slCertificate() == slCertificate());
}

TEST_F(Certificate, LoadsPemAndBase64)
{
    slCertificate pem;
    slCertificate base64;

    EXPECT_TRUE(pem.LoadFromB64(std::string(m_Pem.begin(), m_Pem.end())));
    EXPECT_TRUE(base64.LoadFromB64(m_Certificate.ToB64()));

    EXPECT_EQ(pem.ToBin(), m_Der);
    EXPECT_EQ(base64.ToBin(), m_Der);
}

TEST_F(Certificate, DoesNotLoadOtherText)
{
    slCertificate certificate;

    EXPECT_FALSE(certificate.LoadFromB64(""));
    EXPECT_FALSE(certificate.LoadFromB64("no certificate"));
    EXPECT_FALSE(certificate.LoadFromB64("Zm9vYmFy"));
}

// With OpenSSL's own callback this test would wait for a passphrase.
TEST_F(Certificate, DoesNotAskForThePassphraseOfAnEncryptedPem)
{
    std::string pem(m_Pem.begin(), m_Pem.end());
    pem.insert(pem.find('\n') + 1,
               "Proc-Type: 4,ENCRYPTED\nDEK-Info: AES-128-CBC,00112233445566778899AABBCCDDEEFF\n\n");
    const TemporaryDirectory directory;
    std::ofstream(directory.File("encrypted.pem")) << pem;
    slCertificate certificate;

    EXPECT_FALSE(certificate.LoadFromB64(pem));
    EXPECT_FALSE(certificate.LoadFromFile(directory.File("encrypted.pem")));
}

TEST_F(Certificate, LoadsFilesOfBothForms)
{
    slCertificate pem;
    slCertificate der;

    EXPECT_TRUE(pem.LoadFromFile(KMARK_CRYPTO_FIXTURES "/holder-rsa.pem"));
    EXPECT_TRUE(der.LoadFromFile(KMARK_CRYPTO_FIXTURES "/holder-rsa.der"));

    EXPECT_EQ(pem.ToBin(), m_Der);
    EXPECT_EQ(der.ToBin(), m_Der);
}

TEST_F(Certificate, StaysWhenAFileDoesNotOpen)
{
    EXPECT_FALSE(m_Certificate.LoadFromFile("/nonexistent/certificate"));
    EXPECT_EQ(m_Certificate.ToBin(), m_Der);
}

TEST_F(Certificate, DoesNotLoadAFileOfSomethingElse)
{
    slCertificate certificate;

    EXPECT_FALSE(certificate.LoadFromFile(KMARK_CRYPTO_FIXTURES "/holder-rsa.txt"));
    EXPECT_FALSE(certificate.LoadFromFile("/"));
}

TEST_F(Certificate, IsSavedAsPem)
{
    const TemporaryDirectory directory;

    EXPECT_TRUE(m_Certificate.SaveCert(directory.File("saved.pem")));

    std::ifstream file(directory.File("saved.pem"), std::ios::binary);
    EXPECT_EQ(std::string(std::istreambuf_iterator<char>(file), {}), std::string(m_Pem.begin(), m_Pem.end()));
}

TEST_F(Certificate, IsNotSavedWhereNothingCanBeWritten)
{
    EXPECT_FALSE(m_Certificate.SaveCert("/nonexistent/saved.pem"));
    EXPECT_FALSE(m_Certificate.SaveCert("/dev/full"));
}

struct ThumbprintCase
{
    const char* name;
    HashAlgorithm algorithm;
};

class Thumbprint : public testing::TestWithParam<ThumbprintCase>
{};

TEST_P(Thumbprint, IsTheDigestOfTheDer)
{
    slCertificate certificate;
    certificate.LoadFromBuffer(Fixture("holder-rsa.der"));
    std::vector<unsigned char> thumbprint = {0x99};

    EXPECT_TRUE(certificate.GetThumbprint(thumbprint, GetParam().algorithm));
    EXPECT_EQ(thumbprint, Bytes(Described("holder-rsa", GetParam().name)));
}

INSTANTIATE_TEST_SUITE_P(All, Thumbprint,
                         testing::Values(ThumbprintCase{"sha1", HashAlgorithm::Sha1},
                                         ThumbprintCase{"sha256", HashAlgorithm::Sha256},
                                         ThumbprintCase{"sha512", HashAlgorithm::Sha512},
                                         ThumbprintCase{"md5", HashAlgorithm::Md5},
                                         ThumbprintCase{"md4", HashAlgorithm::Md4},
                                         ThumbprintCase{"ripemd160", HashAlgorithm::Ripemd160}),
                         [](const auto& row) { return row.param.name; });

TEST_F(Certificate, HasNoThumbprintWithoutADigest)
{
    std::vector<unsigned char> thumbprint = {0x99};

    EXPECT_FALSE(m_Certificate.GetThumbprint(thumbprint, HashAlgorithm::None));
    EXPECT_EQ(thumbprint, Bytes("99"));
}

TEST_F(Certificate, GivesItsSha1ThumbprintAsAnArray)
{
    unsigned char* array = nullptr;
    unsigned long length = 0;

    ASSERT_TRUE(m_Certificate.GetThumbprint(&array, &length));
    const std::unique_ptr<unsigned char[]> owner(array);

    EXPECT_EQ(Norvik::ByteArray(array, length), Bytes(Described("holder-rsa", "sha1")));
}

TEST(WideThumbprint, HasOneDigitForAByteBelow0x10)
{
    // Serial numbers are tried until the thumbprint has a byte below 0x10.
    OddCertificate odd;
    slCertificate certificate;
    std::vector<unsigned char> bytes;
    std::wstring expected;
    do
    {
        ++odd.serial;
        certificate = slCertificate();
        ASSERT_TRUE(certificate.LoadFromBuffer(odd.Der()));
        ASSERT_TRUE(certificate.GetThumbprint(bytes, HashAlgorithm::Sha1));
    } while (std::none_of(bytes.begin(), bytes.end(), [](unsigned char byte) { return byte < 0x10; }));
    for (const unsigned char byte : bytes)
    {
        wchar_t digits[3] = {};
        std::swprintf(digits, 3, L"%X", static_cast<unsigned int>(byte));
        expected += digits;
    }

    EXPECT_LT(certificate.GetThumbprint().size(), 40U);
    EXPECT_EQ(certificate.GetThumbprint(), expected);
}

TEST_F(Certificate, IsLoggedAsPemBehindATitle)
{
    static std::vector<std::string> lines;
    lines.clear();
    Norvik::SLCERT_SetDebugLoggingFunc([](std::string text) { lines.push_back(text); });

    EXPECT_TRUE(m_Certificate.LogCertificate("holder"));
    Norvik::SLCERT_SetDebugLoggingFunc(nullptr);
    EXPECT_TRUE(m_Certificate.LogCertificate("nobody listens"));

    EXPECT_EQ(lines, (std::vector<std::string>{"holder: " + std::string(m_Pem.begin(), m_Pem.end())}));
}

TEST(LongCertificate, IsLoggedUpTo8000Bytes)
{
    static std::string line;
    OddCertificate odd;
    odd.extensions.push_back({"1.3.6.1.4.1.99999.3", Repeated(0x41, 9000)});
    slCertificate certificate;
    ASSERT_TRUE(certificate.LoadFromBuffer(odd.Der()));
    Norvik::SLCERT_SetDebugLoggingFunc([](std::string text) { line = text; });

    EXPECT_TRUE(certificate.LogCertificate("long"));
    Norvik::SLCERT_SetDebugLoggingFunc(nullptr);

    EXPECT_EQ(line.size(), 8000U + 6U);
    EXPECT_EQ(line.rfind("long: -----BEGIN CERTIFICATE-----\n", 0), 0U);
}

TEST(CertificateLog, HandsEachLevelToItsHook)
{
    static std::vector<std::string> lines;
    Norvik::SLCERT_SetErrorLoggingFunc([](std::string text) { lines.push_back("ERROR " + text); });
    Norvik::SLCERT_SetMessageLoggingFunc([](std::string text) { lines.push_back("MESSAGE " + text); });
    Norvik::SLCERT_SetDebugLoggingFunc([](std::string text) { lines.push_back("DEBUG " + text); });

    Norvik::SLCERT_LogError("a");
    Norvik::SLCERT_LogMessage("b");
    Norvik::SLCERT_LogDebug("c");
    Norvik::SLCERT_SetErrorLoggingFunc(nullptr);
    Norvik::SLCERT_SetMessageLoggingFunc(nullptr);
    Norvik::SLCERT_SetDebugLoggingFunc(nullptr);
    Norvik::SLCERT_LogError("d");
    Norvik::SLCERT_LogMessage("e");
    Norvik::SLCERT_LogDebug("f");

    EXPECT_EQ(lines, (std::vector<std::string>{"ERROR a", "MESSAGE b", "DEBUG c"}));
}

TEST_F(Certificate, LeavesTheErrorQueueOfTheHost)
{
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 1);
    const unsigned long before = ERR_peek_error();
    slCertificate other;

    other.LoadFromBuffer(Bytes("30 01"));
    other.LoadFromB64("no certificate");
    other.LoadFromFile(KMARK_CRYPTO_FIXTURES "/holder-rsa.der");
    static_cast<void>(m_Certificate.GetExtAvailable("no such name"));
    static_cast<void>(m_Certificate.SaveCert("/nonexistent/saved.pem"));

    EXPECT_EQ(ERR_get_error(), before);
    EXPECT_EQ(ERR_get_error(), 0U);
}

} // namespace
