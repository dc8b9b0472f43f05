#include "cards/profiles/CardTokenAcos03.h"

#include "tests/cards/profiles/ProfileFixture.h"

namespace
{

constexpr const char* kHash20 = "000102030405060708090A0B0C0D0E0F10111213";
constexpr const char* kSetAuthentication = "0022 41A4 06 840188 800101";
constexpr const char* kSetSha1 = "0022 81B6 06 840188 800114";
constexpr const char* kComputeSignature = "002A9E9A00";

std::string Repeat(const std::string& pair, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
    {
        text += pair;
    }
    return text;
}

class CardTokenAcos03KeyTest : public ProfileTest<CardTokenAcos03>
{
protected:
    unsigned long SignSig(const std::string& digest)
    {
        return m_Token.DoSignatureSig(HashSha1, PaddingEcdsa, FromHex(digest), m_Signature);
    }
    unsigned long SignEnc(const std::string& digest, HashAlgorithm hash = HashNone,
                          PaddingType padding = PaddingNone)
    {
        return m_Token.DoSignatureEnc(hash, padding, FromHex(digest), m_Signature);
    }

    Norvik::ByteArray m_Signature = FromHex("01D0");
};

TEST_F(CardTokenAcos03KeyTest, EcSignatureIsOneTransactionOfThreeCommands)
{
    m_Reader.Expect(kSetSha1, "9000").Expect(std::string("002A908114") + kHash20, "9000");
    m_Reader.Expect(kComputeSignature, "AABBCC 9000");

    EXPECT_EQ(SignSig(kHash20), 0U);

    EXPECT_EQ(m_Signature, FromHex("AABBCC"));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 002281B606840188800114",
                                     "SendApdu 002A908114000102030405060708090A0B0C0D0E0F10111213",
                                     "SendApdu 002A9E9A00", "EndTransaction"}));
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE DoSignatureSig", "MESSAGE manage security environment", "MESSAGE put hash",
                     "MESSAGE compute signature", "MESSAGE after CheckApduSW", "MESSAGE after buffer copy"}));
}

struct AlgorithmCase
{
    int digestBytes;
    const char* reference;
};

class CardTokenAcos03Algorithm : public CardTokenAcos03KeyTest,
                                 public testing::WithParamInterface<AlgorithmCase>
{};

TEST_P(CardTokenAcos03Algorithm, FollowsTheLengthOfTheDigest)
{
    const std::string digest = Repeat("5A", GetParam().digestBytes);
    const unsigned char length = static_cast<unsigned char>(GetParam().digestBytes);
    m_Reader.Expect(std::string("002281B6068401888001") + GetParam().reference, "9000");
    m_Reader.Expect("002A9081" + ToHex(Norvik::ByteArray(&length, 1)) + digest, "9000");
    m_Reader.Expect(kComputeSignature, "AA9000");

    EXPECT_EQ(SignSig(digest), 0U);
}

INSTANTIATE_TEST_SUITE_P(All, CardTokenAcos03Algorithm,
                         testing::Values(AlgorithmCase{0, "14"}, AlgorithmCase{20, "14"},
                                         AlgorithmCase{27, "14"}, AlgorithmCase{28, "34"},
                                         AlgorithmCase{31, "14"}, AlgorithmCase{32, "44"},
                                         AlgorithmCase{33, "14"}, AlgorithmCase{48, "14"},
                                         AlgorithmCase{255, "14"}),
                         [](const testing::TestParamInfo<AlgorithmCase>& row) {
                             return "Digest" + std::to_string(row.param.digestBytes);
                         });

TEST_F(CardTokenAcos03KeyTest, EcSignatureGetsTheBareDigestOfADigestInfo)
{
    m_Reader.Expect(kSetSha1, "9000").Expect(std::string("002A908114") + kHash20, "9000");
    m_Reader.Expect(kComputeSignature, "AA9000");

    EXPECT_EQ(SignSig(std::string("3021300906052B0E03021A05000414") + kHash20), 0U);
}

TEST_F(CardTokenAcos03KeyTest, EcSignatureWithoutTransactionGives1)
{
    m_Reader.bBeginTransaction = false;

    EXPECT_EQ(SignSig(kHash20), 1U);

    EXPECT_EQ(m_Signature, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenAcos03KeyTest, EcSignatureWithRefusedEnvironmentGives1)
{
    m_Reader.Expect(kSetSha1, "6A88");

    EXPECT_EQ(SignSig(kHash20), 1U);

    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureSig", "MESSAGE manage security environment",
                            "ERROR Apdu SW: 0x6a 0x88 - expected: 0x90 0x0"}));
}

TEST_F(CardTokenAcos03KeyTest, EcSignatureWithUnsentEnvironmentGives1)
{
    m_Reader.ExpectFailing(kSetSha1, "9000");
    EXPECT_EQ(SignSig(kHash20), 1U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

// The lines behind a refused hash come all the same.
TEST_F(CardTokenAcos03KeyTest, EcSignatureWithRefusedHashGives3)
{
    m_Reader.Expect(kSetSha1, "9000").Expect(std::string("002A908114") + kHash20, "6985");

    EXPECT_EQ(SignSig(kHash20), 3U);

    EXPECT_EQ(m_Signature, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE DoSignatureSig", "MESSAGE manage security environment", "MESSAGE put hash",
                     "ERROR Apdu SW: 0x69 0x85 - expected: 0x90 0x0", "MESSAGE compute signature",
                     "MESSAGE after CheckApduSW", "MESSAGE after buffer copy"}));
}

TEST_F(CardTokenAcos03KeyTest, EcSignatureThatTheCardRefusesGives3)
{
    m_Reader.Expect(kSetSha1, "9000").Expect(std::string("002A908114") + kHash20, "9000");
    m_Reader.Expect(kComputeSignature, "6982");

    EXPECT_EQ(SignSig(kHash20), 3U);
    EXPECT_EQ(m_Signature, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

// The 90 00 of the hash must not stand for a signature that never came.
TEST_F(CardTokenAcos03KeyTest, EcSignatureWithoutAnswerIsNoSignature)
{
    m_Reader.Expect(kSetSha1, "9000").Expect(std::string("002A908114") + kHash20, "9000");
    m_Reader.Expect(kComputeSignature, "");

    EXPECT_EQ(SignSig(kHash20), 3U);
    EXPECT_EQ(m_Signature, FromHex("01D0"));
}

TEST_F(CardTokenAcos03KeyTest, EcSignatureOverMoreThanOneCommandHoldsIsRefused)
{
    EXPECT_EQ(SignSig(Repeat("5A", 256)), 3U);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenAcos03KeyTest, RsaSignatureIsOneTransactionOfTwoCommands)
{
    m_Reader.Expect(kSetAuthentication, "9000")
        .Expect(std::string("0088100014") + kHash20 + "00", "AABBCC9000");

    EXPECT_EQ(SignEnc(kHash20), 0U);

    EXPECT_EQ(m_Signature, FromHex("AABBCC"));
    EXPECT_EQ(m_Reader.Calls,
              (Lines{"BeginTransaction", "SendApdu 002241A406840188800101",
                     "SendApdu 0088100014000102030405060708090A0B0C0D0E0F1011121300", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureEnc", "MESSAGE manage security environment",
                            "MESSAGE internal authenticate", "MESSAGE after CheckApduSW",
                            "MESSAGE after buffer copy"}));
}

TEST_F(CardTokenAcos03KeyTest, RsaSignatureOfAHashingMechanismGetsADigestInfo)
{
    m_Reader.Expect(kSetAuthentication, "9000");
    m_Reader.Expect(std::string("0088100023 3021300906052B0E03021A05000414") + kHash20 + "00", "AA9000");

    EXPECT_EQ(SignEnc(kHash20, HashSha1, PaddingPkcs1), 0U);
}

TEST_F(CardTokenAcos03KeyTest, RsaSignatureThatCannotBePreparedGives3)
{
    EXPECT_EQ(SignEnc(kHash20, HashNone, PaddingPkcs1), 3U);

    EXPECT_TRUE(m_Reader.Calls.empty());
    EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureEnc", "ERROR error in PrepareDigest"}));
}

TEST_F(CardTokenAcos03KeyTest, RsaSignatureWithoutTransactionGives1)
{
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(SignEnc(kHash20), 1U);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenAcos03KeyTest, RsaSignatureWithRefusedEnvironmentGives1)
{
    m_Reader.Expect(kSetAuthentication, "6985");
    EXPECT_EQ(SignEnc(kHash20), 1U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03KeyTest, RsaSignatureThatTheCardRefusesGives2)
{
    m_Reader.Expect(kSetAuthentication, "9000").Expect(std::string("0088100014") + kHash20 + "00", "6982");

    EXPECT_EQ(SignEnc(kHash20), 2U);

    EXPECT_EQ(m_Signature, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE DoSignatureEnc", "MESSAGE manage security environment",
                     "MESSAGE internal authenticate", "ERROR Apdu SW: 0x69 0x82 - expected: 0x90 0x0"}));
}

TEST_F(CardTokenAcos03KeyTest, RsaSignatureOverMoreThanOneCommandHoldsIsRefused)
{
    EXPECT_EQ(SignEnc(Repeat("5A", 256)), 3U);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

class CardTokenAcos03Decrypt : public CardTokenAcos03KeyTest
{
protected:
    static constexpr const char* kSetConfidentiality = "0022 41B8 06 840188 800102";

    unsigned long Decrypt(int cryptogramBytes)
    {
        return m_Token.Decrypt(AppEncryption, FromHex(Repeat("5A", cryptogramBytes)), m_Out);
    }
    static std::string Decipher(const std::string& cryptogram) { return "002A8086C100" + cryptogram + "00"; }

    Norvik::ByteArray m_Out = FromHex("01D0");
};

TEST_F(CardTokenAcos03Decrypt, IsOneTransactionOfTwoCommands)
{
    m_Reader.Expect(kSetConfidentiality, "9000").Expect(Decipher(Repeat("5A", 192)), "0102039000");

    EXPECT_EQ(Decrypt(192), 0U);

    EXPECT_EQ(m_Out, FromHex("010203"));
    EXPECT_EQ(m_Reader.Calls.front(), "BeginTransaction");
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(), (Lines{"MESSAGE manage security environment", "MESSAGE PSO - DECIPHER"}));
}

TEST_F(CardTokenAcos03Decrypt, FillsUpAShorterCryptogramInFront)
{
    m_Reader.Expect(kSetConfidentiality, "9000").Expect(Decipher("00" + Repeat("5A", 191)), "019000");
    EXPECT_EQ(Decrypt(191), 0U);
}

TEST_F(CardTokenAcos03Decrypt, RefusesALongerCryptogramWithoutCardTraffic)
{
    EXPECT_EQ(Decrypt(193), 2U);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenAcos03Decrypt, ServesTheEncryptionKeyOnly)
{
    for (const SmartCardApplication app : {AppSignature, AppInfobox, AppInvalid})
    {
        CapturedLog::Lines().clear();
        EXPECT_EQ(m_Token.Decrypt(app, FromHex("5A"), m_Out), 2U);
        EXPECT_EQ(Log(), (Lines{"ERROR Decrypt only supported for enc certificate"}));
    }
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenAcos03Decrypt, TellsAMissingPinApart)
{
    m_Reader.Expect(kSetConfidentiality, "9000").Expect(Decipher(Repeat("5A", 192)), "6982");
    EXPECT_EQ(Decrypt(192), 1U);
    EXPECT_EQ(m_Out, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03Decrypt, TakesNothingButTheBareStatusWordForAMissingPin)
{
    for (const char* response : {"006982", "698200"})
    {
        m_Reader.Expect(kSetConfidentiality, "9000").Expect(Decipher(Repeat("5A", 192)), response);
        EXPECT_EQ(Decrypt(192), 2U) << response;
    }
}

TEST_F(CardTokenAcos03Decrypt, ReportsOtherRefusalsAs2)
{
    m_Reader.Expect(kSetConfidentiality, "9000").Expect(Decipher(Repeat("5A", 192)), "6A80");
    EXPECT_EQ(Decrypt(192), 2U);
    EXPECT_EQ(m_Out, FromHex("01D0"));
}

TEST_F(CardTokenAcos03Decrypt, WithRefusedEnvironmentGives1)
{
    m_Reader.Expect(kSetConfidentiality, "6A88");
    EXPECT_EQ(Decrypt(192), 1U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03Decrypt, WithoutTransactionGives1)
{
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(Decrypt(192), 1U);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

class CardTokenAcos03PublicKey : public CardTokenAcos03KeyTest
{
protected:
    void ExpectSelection() { m_Reader.Expect("00A4000C02DF71", "9000").Expect("00A4000C02B001", "9000"); }

    PublicKey m_Key;
};

TEST_F(CardTokenAcos03PublicKey, IsReadFromItsFile)
{
    const std::string modulus = Repeat("C3", 192);
    ExpectSelection();
    m_Reader.Expect("00B00000C0", modulus + "9000");

    EXPECT_TRUE(m_Token.ReadPublicKey(AppEncryption, &m_Key));

    Norvik::ByteArray read;
    unsigned long exponent = 0;
    EXPECT_TRUE(m_Key.GetRsaModulus(read));
    EXPECT_TRUE(m_Key.GetRsaExponent(exponent));
    EXPECT_EQ(read, FromHex(modulus));
    EXPECT_EQ(exponent, 65537U);
    EXPECT_EQ(m_Reader.Calls.front(), "BeginTransaction");
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03PublicKey, OfAnotherApplicationIsNotOnTheCard)
{
    for (const SmartCardApplication app : {AppSignature, AppInfobox, AppInvalid})
    {
        EXPECT_FALSE(m_Token.ReadPublicKey(app, &m_Key));
    }
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenAcos03PublicKey, WithoutItsFileIsLeftToTheCertificate)
{
    m_Reader.Expect("00A4000C02DF71", "9000").Expect("00A4000C02B001", "6A82");
    EXPECT_FALSE(m_Token.ReadPublicKey(AppEncryption, &m_Key));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03PublicKey, ThatIsTooShortIsLeftToTheCertificate)
{
    ExpectSelection();
    m_Reader.Expect("00B00000C0", Repeat("C3", 100) + "9000").Expect("00B000645C", "6B00");
    EXPECT_FALSE(m_Token.ReadPublicKey(AppEncryption, &m_Key));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03PublicKey, WithoutTransactionIsNotRead)
{
    m_Reader.bBeginTransaction = false;
    EXPECT_FALSE(m_Token.ReadPublicKey(AppEncryption, &m_Key));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenAcos03KeyTest, WithoutReaderNoKeyIsUsed)
{
    m_Token.SetReader(nullptr);
    PublicKey key;
    EXPECT_EQ(SignSig(kHash20), 1U);
    EXPECT_EQ(SignEnc(kHash20), 1U);
    EXPECT_EQ(m_Token.Decrypt(AppEncryption, FromHex("5A"), m_Signature), 1U);
    EXPECT_FALSE(m_Token.ReadPublicKey(AppEncryption, &key));
}

} // namespace
