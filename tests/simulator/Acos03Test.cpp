#include "simulator/cards/Acos03.h"

#include "tests/simulator/CardFixture.h"

#include <stdexcept>

#include <openssl/evp.h>
#include <openssl/rsa.h>
#include <openssl/x509.h>

namespace
{

using Simulator::Bytes;
using Simulator::CardOptions;
using Simulator::FromHex;
using Simulator::MakeAcos03;
using Simulator::ToHex;

constexpr const char* kMseAuthenticate = "00 22 41 A4 06 84 01 88 80 01 01";
constexpr const char* kMseDecipher = "00 22 41 B8 06 84 01 88 80 01 02";
constexpr const char* kMseSign20 = "00 22 81 B6 06 84 01 88 80 01 14";
constexpr const char* kHash20 = "00 2A 90 81 14 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13";
constexpr const char* kSign = "00 2A 9E 9A 00";

constexpr CommandCase kPinCases[] = {
    {"VerifyStatusFresh", "00 A4 00 0C 02 DF 71", "00 20 00 81", "63CA"},
    {"VerifyStatusSignature", "00 A4 00 0C 02 DF 70", "00 20 00 81", "63C3"},
    {"VerifyStatusVerified", "00 A4 00 0C 02 DF 71;00 20 00 81 08 31 32 33 34 00 00 00 00", "00 20 00 81",
     "9000"},
    {"VerifyAtTheMf", "", "00 20 00 81 08 31 32 33 34 00 00 00 00", "6A88"},
    {"VerifyInfoboxPinInTheOtherDf", "00 A4 00 0C 02 DF 70", "00 20 00 83 08 34 33 32 31 00 00 00 00",
     "6A88"},
    {"VerifyUnderTheChangeReference", "00 A4 00 0C 02 DF 71", "00 20 00 88 08 34 33 32 31 00 00 00 00",
     "6A88"},
    {"VerifyWithOtherP1", "00 A4 00 0C 02 DF 71", "00 20 01 81 08 31 32 33 34 00 00 00 00", "6A86"},
    {"VerifyWithFourBytes", "00 A4 00 0C 02 DF 71", "00 20 00 81 04 31 32 33 34", "6700"},
    {"VerifyWithNineBytes", "00 A4 00 0C 02 DF 71", "00 20 00 81 09 31 32 33 34 00 00 00 00 00", "6700"},
    {"VerifyWithLeAlone", "00 A4 00 0C 02 DF 71", "00 20 00 81 00", "6700"},
    {"VerifyWrong", "00 A4 00 0C 02 DF 71", "00 20 00 81 08 39 39 39 39 00 00 00 00", "63C9"},
    {"ChangeEncryptionPin", "00 A4 00 0C 02 DF 71",
     "00 24 00 81 10 31 32 33 34 00 00 00 00 38 38 38 38 00 00 00 00", "9000"},
    {"ChangeWithWrongOldPin", "00 A4 00 0C 02 DF 71",
     "00 24 00 81 10 31 32 33 35 00 00 00 00 38 38 38 38 00 00 00 00", "63C9"},
    {"ChangeToFiveDigits", "00 A4 00 0C 02 DF 71",
     "00 24 00 81 10 31 32 33 34 00 00 00 00 38 38 38 38 38 00 00 00", "6A80"},
    {"ChangeInfoboxPin", "00 A4 00 0C 02 DF 71",
     "00 24 00 88 10 34 33 32 31 00 00 00 00 38 38 38 38 00 00 00 00", "9000"},
    {"ChangeInfoboxPinUnderItsVerifyReference", "00 A4 00 0C 02 DF 71",
     "00 24 00 83 10 34 33 32 31 00 00 00 00 38 38 38 38 00 00 00 00", "6A88"},
    {"ChangeWithOneBlock", "00 A4 00 0C 02 DF 71", "00 24 00 81 08 31 32 33 34 00 00 00 00", "6700"},
    {"ChangeWithOtherP1", "00 A4 00 0C 02 DF 71",
     "00 24 01 81 10 31 32 33 34 00 00 00 00 38 38 38 38 00 00 00 00", "6A86"},
};

constexpr CommandCase kKeyCases[] = {
    {"MseAuthenticate", "00 A4 00 0C 02 DF 71", "00 22 41 A4 06 84 01 88 80 01 01", "9000"},
    {"MseAuthenticateOtherOrder", "00 A4 00 0C 02 DF 71", "00 22 41 A4 06 80 01 01 84 01 88", "9000"},
    {"MseDecipher", "00 A4 00 0C 02 DF 71", "00 22 41 B8 06 84 01 88 80 01 02", "9000"},
    {"MseSign20", "00 A4 00 0C 02 DF 70", "00 22 81 B6 06 84 01 88 80 01 14", "9000"},
    {"MseSign28", "00 A4 00 0C 02 DF 70", "00 22 81 B6 06 84 01 88 80 01 34", "9000"},
    {"MseSign32", "00 A4 00 0C 02 DF 70", "00 22 81 B6 06 84 01 88 80 01 44", "9000"},
    {"MseUnknownAlgorithm", "00 A4 00 0C 02 DF 70", "00 22 81 B6 06 84 01 88 80 01 24", "6A80"},
    {"MseUnknownKey", "00 A4 00 0C 02 DF 70", "00 22 81 B6 06 84 01 87 80 01 14", "6A88"},
    {"MseKeyOfOtherDf", "00 A4 00 0C 02 DF 71", "00 22 81 B6 06 84 01 88 80 01 14", "6A88"},
    {"MseAtTheMf", "", "00 22 41 A4 06 84 01 88 80 01 01", "6A88"},
    {"MseUnknownTemplate", "00 A4 00 0C 02 DF 71", "00 22 41 AA 06 84 01 88 80 01 01", "6A86"},
    {"MseSignUnderOtherP1", "00 A4 00 0C 02 DF 70", "00 22 41 B6 06 84 01 88 80 01 14", "6A86"},
    {"MseCutDataObject", "00 A4 00 0C 02 DF 71", "00 22 41 A4 05 84 01 88 80 01", "6A80"},
    {"MseTwiceTheSameTag", "00 A4 00 0C 02 DF 71", "00 22 41 A4 09 84 01 88 80 01 01 80 01 01", "6A80"},
    {"MseRestore", "00 A4 00 0C 02 DF 71", "00 22 F3 01", "6700"},

    {"AuthenticateWithoutMse", "00 A4 00 0C 02 DF 71;00 20 00 81 08 31 32 33 34 00 00 00 00",
     "00 88 10 00 01 AA 00", "6985"},
    {"AuthenticateWithoutPin", "00 A4 00 0C 02 DF 71;00 22 41 A4 06 84 01 88 80 01 01",
     "00 88 10 00 01 AA 00", "6982"},
    {"AuthenticateWithOtherPin",
     "00 A4 00 0C 02 DF 71;00 20 00 83 08 34 33 32 31 00 00 00 00;00 22 41 A4 06 84 01 88 80 01 01",
     "00 88 10 00 01 AA 00", "6982"},
    {"AuthenticateWithDecipherMse",
     "00 A4 00 0C 02 DF 71;00 20 00 81 08 31 32 33 34 00 00 00 00;00 22 41 B8 06 84 01 88 80 01 02",
     "00 88 10 00 01 AA 00", "6985"},
    {"AuthenticateWithoutLe", "00 A4 00 0C 02 DF 71;00 22 41 A4 06 84 01 88 80 01 01", "00 88 10 00 01 AA",
     "6700"},
    {"AuthenticateOtherP1P2", "00 A4 00 0C 02 DF 71", "00 88 00 00 01 AA 00", "6A86"},
    {"MseLostBySelectingTheDfAgainThroughTheMf",
     "00 A4 00 0C 02 DF 71;00 22 41 A4 06 84 01 88 80 01 01;00 A4 00 0C 02 3F 00;00 A4 00 0C 02 DF 71;"
     "00 20 00 81 08 31 32 33 34 00 00 00 00",
     "00 88 10 00 01 AA 00", "6985"},

    {"DecipherWithoutMse", "00 A4 00 0C 02 DF 71;00 20 00 81 08 31 32 33 34 00 00 00 00",
     "00 2A 80 86 02 00 AA 00", "6985"},
    {"DecipherShort",
     "00 A4 00 0C 02 DF 71;00 20 00 81 08 31 32 33 34 00 00 00 00;00 22 41 B8 06 84 01 88 80 01 02",
     "00 2A 80 86 02 00 AA 00", "6700"},

    {"HashWithoutMse", "00 A4 00 0C 02 DF 70", "00 2A 90 81 01 AA", "6985"},
    {"HashOfOtherLength", "00 A4 00 0C 02 DF 70;00 22 81 B6 06 84 01 88 80 01 14", "00 2A 90 81 01 AA",
     "6700"},
    {"SignWithoutMse", "00 A4 00 0C 02 DF 70", "00 2A 9E 9A 00", "6985"},
    {"SignWithoutHash",
     "00 A4 00 0C 02 DF 70;00 20 00 81 08 31 32 33 34 35 36 00 00;00 22 81 B6 06 84 01 88 80 01 14",
     "00 2A 9E 9A 00", "6985"},
    {"SignWithoutPin",
     "00 A4 00 0C 02 DF 70;00 22 81 B6 06 84 01 88 80 01 14;"
     "00 2A 90 81 14 00 01 02 03 04 05 06 07 08 09 0A 0B 0C 0D 0E 0F 10 11 12 13",
     "00 2A 9E 9A 00", "6982"},
    {"OtherPso", "00 A4 00 0C 02 DF 70", "00 2A 90 A0 01 AA", "6A86"},
};

constexpr CommandCase kOtherCases[] = {
    {"ChipId", "", "80 F6 00 00 08", "1032547698BADCFE9000"},
    {"ChipIdInADf", "00 A4 00 0C 02 DF 71", "80 F6 00 00 08", "1032547698BADCFE9000"},
    {"ChipIdOtherLe", "", "80 F6 00 00 09", "6700"},
    {"ChipIdOtherP1P2", "", "80 F6 01 00 08", "6A86"},
    {"UnknownInstruction", "", "00 12 00 00", "6D00"},
    {"UnknownClass", "", "0C A4 00 0C 02 3F 00", "6E00"},
    {"UnknownInstructionOfTheOtherClass", "", "80 A4 00 0C 02 3F 00", "6D00"},
    {"CutHeader", "", "00 A4 00", "6700"},
    {"CutData", "", "00 A4 00 0C 02 3F", "6700"},
};

class Acos03Case : public CommandCaseTest
{};

TEST_P(Acos03Case, GetsItsStatusWord)
{
    RunRow();
}

const auto kNameOf = [](const auto& row) { return std::string(row.param.name); };
INSTANTIATE_TEST_SUITE_P(Pin, Acos03Case, testing::ValuesIn(kPinCases), kNameOf);
INSTANTIATE_TEST_SUITE_P(Key, Acos03Case, testing::ValuesIn(kKeyCases), kNameOf);
INSTANTIATE_TEST_SUITE_P(Other, Acos03Case, testing::ValuesIn(kOtherCases), kNameOf);

struct FreeKey
{
    void operator()(EVP_PKEY* key) const { EVP_PKEY_free(key); }
};
using KeyPtr = std::unique_ptr<EVP_PKEY, FreeKey>;
struct FreeContext
{
    void operator()(EVP_PKEY_CTX* context) const { EVP_PKEY_CTX_free(context); }
};
using ContextPtr = std::unique_ptr<EVP_PKEY_CTX, FreeContext>;

// The key as everybody gets it: out of the certificate on the card.
KeyPtr CertifiedKey(Simulator::Card& card, const char* file)
{
    const Bytes& der = card.File(file).content;
    const unsigned char* position = der.data();
    X509* certificate = d2i_X509(nullptr, &position, static_cast<long>(der.size()));
    KeyPtr key(X509_get_pubkey(certificate));
    X509_free(certificate);
    return key;
}

std::string WithLength(const std::string& header, const Bytes& data, const std::string& le)
{
    return header + ToHex(Bytes{static_cast<std::uint8_t>(data.size())}) + ToHex(data) + le;
}

bool VerifiesRaw(EVP_PKEY* key, const Bytes& signature, const Bytes& digest)
{
    const std::size_t half = signature.size() / 2;
    ECDSA_SIG* pair = ECDSA_SIG_new();
    ECDSA_SIG_set0(pair, BN_bin2bn(signature.data(), static_cast<int>(half), nullptr),
                   BN_bin2bn(signature.data() + half, static_cast<int>(half), nullptr));
    unsigned char* der = nullptr;
    const int length = i2d_ECDSA_SIG(pair, &der);
    const ContextPtr context(EVP_PKEY_CTX_new(key, nullptr));
    EVP_PKEY_verify_init(context.get());
    const int outcome =
        EVP_PKEY_verify(context.get(), der, static_cast<std::size_t>(length), digest.data(), digest.size());
    OPENSSL_free(der);
    ECDSA_SIG_free(pair);
    return outcome == 1;
}

class Acos03Keys : public Acos03Fixture
{
protected:
    void ReadyToAuthenticate()
    {
        Expect9000(kSelectDec);
        Expect9000(kVerifyEncryption);
        Expect9000(kMseAuthenticate);
    }
    void ReadyToSign(const std::string& algorithm)
    {
        Expect9000(kSelectSig);
        Expect9000(kVerifySignature);
        Expect9000("00 22 81 B6 06 84 01 88 80 01 " + algorithm);
    }
    static Bytes DataOf(const std::string& answer)
    {
        EXPECT_EQ(answer.substr(answer.size() - 4), "9000");
        return FromHex(answer.substr(0, answer.size() - 4));
    }
};

TEST_F(Acos03Keys, InternalAuthenticatePutsPaddingOfType1AroundItsInput)
{
    ReadyToAuthenticate();
    const Bytes signature = DataOf(Send("00 88 10 00 03 AA BB CC 00"));
    ASSERT_EQ(signature.size(), 192U);
    const KeyPtr key = CertifiedKey(*m_Card, "EF_C_CH_EKEY");
    const ContextPtr context(EVP_PKEY_CTX_new(key.get(), nullptr));
    EVP_PKEY_verify_recover_init(context.get());
    EVP_PKEY_CTX_set_rsa_padding(context.get(), RSA_NO_PADDING);
    Bytes block(192);
    std::size_t length = block.size();
    ASSERT_EQ(
        EVP_PKEY_verify_recover(context.get(), block.data(), &length, signature.data(), signature.size()), 1);
    EXPECT_EQ(ToHex(block), "0001" + std::string(std::size_t{186} * 2, 'F') + "00AABBCC");
}

TEST_F(Acos03Keys, InternalAuthenticateTakesWhatLeavesRoomForThePadding)
{
    ReadyToAuthenticate();
    EXPECT_EQ(Send(WithLength("00881000", Bytes(181, 0x11), "00")).size(), (192U + 2) * 2);
    EXPECT_EQ(Send(WithLength("00881000", Bytes(182, 0x11), "00")), "6700");
    EXPECT_EQ(Send("00 88 10 00 01 AA 00").size(), (192U + 2) * 2) << "one PIN serves for many";
}

TEST_F(Acos03Keys, DecipherTakesThePaddingOff)
{
    const KeyPtr key = CertifiedKey(*m_Card, "EF_C_CH_EKEY");
    const ContextPtr context(EVP_PKEY_CTX_new(key.get(), nullptr));
    EVP_PKEY_encrypt_init(context.get());
    const Bytes secret = FromHex("53 65 63 72 65 74");
    Bytes cryptogram(192);
    std::size_t length = cryptogram.size();
    ASSERT_EQ(EVP_PKEY_encrypt(context.get(), cryptogram.data(), &length, secret.data(), secret.size()), 1);

    Expect9000(kSelectDec);
    Expect9000(kMseDecipher);
    Bytes data = {0x00};
    Simulator::Append(data, cryptogram);
    EXPECT_EQ(Send(WithLength("002A8086", data, "00")), "6982");
    Expect9000(kVerifyEncryption);
    EXPECT_EQ(DataOf(Send(WithLength("002A8086", data, "00"))), secret);
    data[0] = 0x81;
    EXPECT_EQ(Send(WithLength("002A8086", data, "00")), "6A80");
    EXPECT_EQ(Send(WithLength("002A8086", Bytes(193, 0x00), "00")), "6A80") << "zero has no padding";
    Bytes aboveModulus(193, 0xFF);
    aboveModulus[0] = 0x00;
    EXPECT_EQ(Send(WithLength("002A8086", aboveModulus, "00")), "6A80");
}

struct DigestCase
{
    const char* algorithm;
    std::size_t length;
};

class Acos03Signature : public Acos03Keys, public testing::WithParamInterface<DigestCase>
{};

TEST_P(Acos03Signature, IsARawPairThatVerifies)
{
    const Bytes digest(GetParam().length, 0x5A);
    ReadyToSign(GetParam().algorithm);
    EXPECT_EQ(Send(WithLength("002A9081", digest, "")), "9000");
    const Bytes signature = DataOf(Send(kSign));
    ASSERT_EQ(signature.size(), 48U);
    EXPECT_TRUE(VerifiesRaw(CertifiedKey(*m_Card, "EF_C_CH_SIGKEY").get(), signature, digest));
}

TEST_P(Acos03Signature, RefusesOtherDigestLengths)
{
    for (const std::size_t length : {19U, 20U, 28U, 32U, 48U})
    {
        ReadyToSign(GetParam().algorithm);
        const std::string answer = Send(WithLength("002A9081", Bytes(length, 0x5A), ""));
        EXPECT_EQ(answer, length == GetParam().length ? "9000" : "6700") << length;
    }
}

INSTANTIATE_TEST_SUITE_P(All, Acos03Signature,
                         testing::Values(DigestCase{"14", 20}, DigestCase{"34", 28}, DigestCase{"44", 32}),
                         [](const auto& row) { return "Algorithm" + std::string(row.param.algorithm); });

TEST_F(Acos03Keys, SignatureUsesUpPinAndHash)
{
    ReadyToSign("14");
    Expect9000(kHash20);
    DataOf(Send(kSign));
    EXPECT_EQ(Send(kSign), "6985");
    Expect9000(kHash20);
    EXPECT_EQ(Send(kSign), "6982");
    Expect9000(kVerifySignature);
    DataOf(Send(kSign));
}

TEST_F(Acos03Keys, SameDigestGivesAnotherSignatureEachTime)
{
    ReadyToSign("14");
    Expect9000(kHash20);
    const Bytes first = DataOf(Send(kSign));
    ReadyToSign("14");
    Expect9000(kHash20);
    EXPECT_NE(DataOf(Send(kSign)), first);
}

TEST_F(Acos03Keys, NewEnvironmentForgetsTheHash)
{
    ReadyToSign("14");
    Expect9000(kHash20);
    Expect9000(kMseSign20);
    EXPECT_EQ(Send(kSign), "6985");
}

TEST_F(Acos03Keys, RefusedEnvironmentLeavesNoKeySelected)
{
    ReadyToSign("14");
    EXPECT_EQ(Send("00 22 81 B6 06 84 01 88 80 01 99"), "6A80");
    EXPECT_EQ(Send(kHash20), "6985");
}

TEST_F(Acos03Fixture, PinsOfTheTwoDirectoriesAreNotTheSame)
{
    Expect9000(kSelectDec);
    Expect9000(kVerifyEncryption);
    Expect9000(kSelectSig);
    EXPECT_EQ(Send("00 20 00 81"), "63C3");
    EXPECT_EQ(Send(kVerifyEncryption), "63C2");
    Expect9000(kVerifySignature);
}

TEST_F(Acos03Fixture, LastTryIsCountedBeforeThePinIsBlocked)
{
    Expect9000(kSelectSig);
    EXPECT_EQ(Send(kWrongPin), "63C2");
    EXPECT_EQ(Send(kWrongPin), "63C1");
    EXPECT_EQ(Send(kWrongPin), "63C0");
    EXPECT_EQ(Send(kVerifySignature), "6983");
    m_Card->Reset();
    Expect9000(kSelectSig);
    EXPECT_EQ(Send("00 20 00 81"), "6983") << "a reset doesn't free a PIN";
}

TEST_F(Acos03Fixture, ChangedPinOutlivesAReset)
{
    Expect9000(kSelectDec);
    Expect9000("00 24 00 81 10 31 32 33 34 00 00 00 00 38 38 38 38 00 00 00 00");
    m_Card->Reset();
    Expect9000(kSelectDec);
    EXPECT_EQ(Send(kVerifyEncryption), "63C9");
    Expect9000("00 20 00 81 08 38 38 38 38 00 00 00 00");
}

TEST_F(Acos03Fixture, ResetSelectsTheMfAndDropsTheStatus)
{
    Expect9000(kSelectDec);
    Expect9000(kVerifyEncryption);
    m_Card->Reset();
    EXPECT_EQ(m_Card->CurrentPath(), "MF");
    Expect9000(kSelectDec);
    EXPECT_EQ(Send("00 20 00 81"), "63CA");
}

TEST_F(Acos03Fixture, SelectingTheSameDirectoryKeepsTheStatus)
{
    Expect9000(kSelectDec);
    Expect9000(kVerifyEncryption);
    Expect9000(kSelectDec);
    EXPECT_EQ(Send("00 20 00 81"), "9000");
}

TEST_F(Acos03Fixture, AtrIsValidAndOffersT1Alone)
{
    const Bytes atr = m_Card->Atr();
    EXPECT_EQ(ToHex(atr).substr(0, 22), "3BBF11008131FE45455041");
    EXPECT_EQ(atr.size(), 8U + 15 + 1);
    std::uint8_t check = 0;
    for (std::size_t index = 1; index < atr.size(); ++index)
    {
        check = static_cast<std::uint8_t>(check ^ atr[index]);
    }
    EXPECT_EQ(check, 0) << "all bytes behind TS, with TCK, give zero";
}

TEST_F(Acos03Fixture, PublicKeyFileHoldsTheCertifiedModulus)
{
    const KeyPtr key = CertifiedKey(*m_Card, "EF_C_CH_EKEY");
    BIGNUM* modulus = nullptr;
    ASSERT_EQ(EVP_PKEY_get_bn_param(key.get(), "n", &modulus), 1);
    Bytes expected(192);
    BN_bn2binpad(modulus, expected.data(), 192);
    BN_free(modulus);
    EXPECT_EQ(m_Card->File("EF_PK_CH_EKEY").content, expected);
}

TEST_F(Acos03Fixture, InfoFileIsNotThatOfTheSuccessorAndMayBeMissing)
{
    Expect9000(kSelectDec);
    Expect9000("00 A4 00 0C 02 D0 02");
    EXPECT_EQ(Send("00 B0 00 00 01"), "019000");
    CardOptions options;
    options.bInfoFile = false;
    const auto without = MakeAcos03(options);
    EXPECT_EQ(SendTo(*without, kSelectDec), "9000");
    EXPECT_EQ(SendTo(*without, "00 A4 00 0C 02 D0 02"), "6A82");
}

TEST_F(Acos03Fixture, InfoboxHoldsOneDerStructureAndZeros)
{
    const Bytes& content = m_Card->File("EF_INFOBOX").content;
    ASSERT_EQ(content.size(), 700U);
    ASSERT_EQ(content[0], 0x30);
    ASSERT_EQ(content[1], 0x82);
    const std::size_t end = 4 + content[2] * 256U + content[3];
    ASSERT_LT(end, content.size());
    EXPECT_NE(content[end - 1], 0x00);
    EXPECT_EQ(Bytes(content.begin() + static_cast<std::ptrdiff_t>(end), content.end()),
              Bytes(content.size() - end, 0x00));
    const std::string text(content.begin(), content.end());
    EXPECT_NE(text.find("Musterfrau"), std::string::npos);
}

TEST_F(Acos03Fixture, OptionsAreOnTheCard)
{
    CardOptions options;
    options.holder.givenName = "Jörg";
    options.holder.surname = "Müßig";
    options.cardNumber = "1111222233334444";
    options.chipId = FromHex("01 02 03 04 05 06 07 08");
    options.encryptionPin = "9876";
    options.signatureTries = 5;
    const auto card = MakeAcos03(options);
    EXPECT_EQ(ToHex(card->File("EF_CIN_CSN").content), "1111222233334444");
    EXPECT_EQ(SendTo(*card, "80 F6 00 00 08"), "01020304050607089000");
    EXPECT_EQ(SendTo(*card, kSelectDec), "9000");
    EXPECT_EQ(SendTo(*card, "00 20 00 81 08 39 38 37 36 00 00 00 00"), "9000");
    EXPECT_EQ(SendTo(*card, kSelectSig), "9000");
    EXPECT_EQ(SendTo(*card, "00 20 00 81"), "63C5");
    const Bytes& certificate = card->File("EF_C_CH_SIGKEY").content;
    const std::string text(certificate.begin(), certificate.end());
    EXPECT_NE(text.find("Jörg Müßig"), std::string::npos);
}

TEST_F(Acos03Fixture, OptionsWithoutAPlaceAreRefused)
{
    CardOptions number;
    number.cardNumber = "12345";
    EXPECT_THROW(MakeAcos03(number), std::invalid_argument);
    CardOptions chip;
    chip.chipId = FromHex("01");
    EXPECT_THROW(MakeAcos03(chip), std::invalid_argument);
    CardOptions pin;
    pin.signaturePin = "1234";
    EXPECT_THROW(MakeAcos03(pin), std::invalid_argument);
    CardOptions holder;
    holder.holder.surname = std::string(400, 'x');
    EXPECT_ANY_THROW(MakeAcos03(holder));
}

TEST_F(Acos03Fixture, HookSeesEveryCommandAndDecidesTheAnswer)
{
    m_Card->SetHook([](Simulator::ByteView command, const std::function<Bytes()>& answer) {
        return command[1] == 0xB0 ? FromHex("69 82") : answer();
    });
    Expect9000(kSelectDec);
    Expect9000("00 A4 00 0C 02 D0 01");
    EXPECT_EQ(Send("00 B0 00 00 00"), "6982");
}

TEST_F(Acos03Fixture, LatencyIsForAllCommandsOrForOne)
{
    using std::chrono::milliseconds;
    m_Card->SetLatency(milliseconds(5));
    m_Card->SetLatency(0x88, milliseconds(300));
    EXPECT_EQ(m_Card->Latency(FromHex("00 A4 00 0C")), milliseconds(5));
    EXPECT_EQ(m_Card->Latency(FromHex("00 88 10 00")), milliseconds(300));
}

} // namespace
