#include "cards/profiles/CardTokenECardG3.h"

#include "tests/cards/profiles/ProfileFixture.h"

namespace
{

constexpr const char* kSetEncryptionKey = "002241B608 8403800300 800102";
constexpr const char* kSetSignatureKey = "002241B606 840182 800104";
constexpr const char* kSetDecipherKey = "002241B808 8403800300 800181";

class CardTokenECardG3Test : public ProfileTest<CardTokenECardG3>
{
protected:
    unsigned long SignEnc(const std::string& digest, HashAlgorithm hash = HashNone)
    {
        return m_Token.DoSignatureEnc(hash, PaddingPkcs1, FromHex(digest), m_Value);
    }
    unsigned long Decrypt(std::size_t cryptogramBytes)
    {
        return m_Token.Decrypt(AppEncryption, FromHex(std::string(2 * cryptogramBytes, '5')), m_Value);
    }
    unsigned long Attribute(const char* name)
    {
        return m_Token.C_CardAttribute(reinterpret_cast<const unsigned char*>(name), m_Value, nullptr);
    }

    Norvik::ByteArray m_Value = FromHex("01D0");
};

TEST_F(CardTokenECardG3Test, NamesItself)
{
    EXPECT_EQ(m_Token.GetCardType(), CardTypeECardG3);
    EXPECT_EQ(m_Token.GetTokenLabel(), "k.mark premium e");
    EXPECT_EQ(m_Token.GetManufacturerID(), "SV");
    EXPECT_EQ(m_Token.GetTokenModel(), "eCard G3");
}

TEST_F(CardTokenECardG3Test, KeySizesAreLogged)
{
    EXPECT_EQ(m_Token.GetKeySize(AppEncryption), 1536U);
    EXPECT_EQ(m_Token.GetKeySize(AppSignature), 256U);
    EXPECT_EQ(m_Token.GetKeySize(AppInfobox), kAllOnes);
    EXPECT_EQ(Log(), (Lines{"MESSAGE GetKeySize", "MESSAGE GetKeySize", "MESSAGE GetKeySize"}));
}

TEST_F(CardTokenECardG3Test, EncryptionKeyIsRsaAndSignatureKeyIsNot)
{
    const std::vector<unsigned long> rsa = {0x1, 0x6, 0x8, 0x40, 0x41, 0x46};
    const std::vector<unsigned long> ecdsa = {0x1041, 0x1042};
    EXPECT_EQ(MechanismsOf(1001), rsa);
    EXPECT_EQ(MechanismsOf(1002), rsa);
    EXPECT_EQ(MechanismsOf(1004), ecdsa);
    EXPECT_EQ(MechanismsOf(1005), ecdsa);
    EXPECT_EQ(m_Token.GetObjectMap().size(), 7U);
    EXPECT_EQ(m_Token.GetCardObject(1001)->GetAttribute(CKA_KEY_TYPE)->GetBytes(),
              FromHex("0000000000000000"));
}

TEST_F(CardTokenECardG3Test, TokenAttributesAreThoseOfTheSecondGeneration)
{
    EXPECT_EQ(m_Token.TokenGetAttributeValue(1000, CKA_VALUE, m_Value), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(Log(), (Lines{"MESSAGE CardTokenECardG2::TokenGetAttributeValue"}));
}

TEST_F(CardTokenECardG3Test, RsaSignatureIsOneTransactionOfTwoCommands)
{
    m_Reader.Expect(kSetEncryptionKey, "9000").Expect("002A9E9A02 0102 00", "AABB9000");

    EXPECT_EQ(SignEnc("0102"), 0U);

    EXPECT_EQ(m_Value, FromHex("AABB"));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 002241B6088403800300800102",
                                     "SendApdu 002A9E9A02010200", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureEnc", "MESSAGE hashlength: 2",
                            "MESSAGE manage security environment", "MESSAGE compute digital signature"}));
}

TEST_F(CardTokenECardG3Test, EcSignatureTakesTheOtherKey)
{
    m_Reader.Expect(kSetSignatureKey, "9000").Expect("002A9E9A02 0102 00", "AABB9000");

    EXPECT_EQ(m_Token.DoSignatureSig(HashNone, PaddingEcdsa, FromHex("0102"), m_Value), 0U);

    EXPECT_EQ(m_Value, FromHex("AABB"));
    EXPECT_EQ(Log().front(), "MESSAGE DoSignatureSig");
}

// The card builds the padding itself.
TEST_F(CardTokenECardG3Test, RsaSignatureWithAHashGetsTheBareDigest)
{
    const std::string digest(64, '5');
    m_Reader.Expect(kSetEncryptionKey, "9000").Expect("002A9E9A20" + digest + "00", "AA9000");
    EXPECT_EQ(SignEnc(digest, HashSha256), 0U);
}

TEST_F(CardTokenECardG3Test, SignatureFailuresAreOneAndTwo)
{
    m_Reader.Expect(kSetEncryptionKey, "6A88");
    EXPECT_EQ(SignEnc("01"), 1U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");

    m_Reader.ExpectFailing(kSetEncryptionKey, "9000");
    EXPECT_EQ(SignEnc("01"), 1U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");

    m_Reader.Expect(kSetEncryptionKey, "9000").Expect("002A9E9A01 01 00", "6982");
    EXPECT_EQ(SignEnc("01"), 2U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");

    m_Reader.Expect(kSetEncryptionKey, "9000").Expect("002A9E9A01 01 00", "");
    EXPECT_EQ(SignEnc("01"), 2U);

    m_Reader.Calls.clear();
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(SignEnc("01"), 1U);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
    EXPECT_EQ(m_Value, FromHex("01D0"));
}

TEST_F(CardTokenECardG3Test, SignatureOverMoreThanOneCommandHoldsIsRefused)
{
    EXPECT_EQ(SignEnc(std::string(512, '5')), 2U);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG3Test, DecipherIsOneTransactionOfTwoCommands)
{
    m_Reader.Expect(kSetDecipherKey, "9000");
    m_Reader.Expect("002A8086C100" + std::string(384, '5') + "00", "0102039000");

    EXPECT_EQ(Decrypt(192), 0U);

    EXPECT_EQ(m_Value, FromHex("010203"));
    EXPECT_EQ(m_Reader.Calls.front(), "BeginTransaction");
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(), (Lines{"MESSAGE Decrypt", "MESSAGE GetKeySize", "MESSAGE manage security environment",
                            "MESSAGE decipher"}));
}

TEST_F(CardTokenECardG3Test, DecipherFillsUpAShorterCryptogramInFront)
{
    m_Reader.Expect(kSetDecipherKey, "9000");
    m_Reader.Expect("002A8086C100" + std::string(382, '0') + "5500", "019000");
    EXPECT_EQ(Decrypt(1), 0U);
}

TEST_F(CardTokenECardG3Test, DecipherRefusesALongerCryptogramWithoutCardTraffic)
{
    EXPECT_EQ(Decrypt(193), 3U);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG3Test, DecipherServesTheEncryptionKeyOnly)
{
    EXPECT_EQ(m_Token.Decrypt(AppSignature, FromHex("01"), m_Value), 3U);
    EXPECT_EQ(Log(), (Lines{"MESSAGE Decrypt", "ERROR Decrypt only supported for enc certificate"}));
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG3Test, DecipherTellsNoStatusWordApart)
{
    m_Reader.Expect(kSetDecipherKey, "9000");
    m_Reader.Expect("002A8086C100" + std::string(384, '5') + "00", "6982");
    EXPECT_EQ(Decrypt(192), 3U);
    EXPECT_EQ(m_Value, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenECardG3Test, DecipherNamesItsStepsAlsoWhenNothingIsSent)
{
    m_Reader.bBeginTransaction = false;

    EXPECT_EQ(Decrypt(192), 3U);

    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE Decrypt", "MESSAGE GetKeySize", "MESSAGE manage security environment",
                            "MESSAGE decipher"}));
}

TEST_F(CardTokenECardG3Test, DecipherStopsAtARefusedEnvironment)
{
    m_Reader.Expect(kSetDecipherKey, "6A88");
    EXPECT_EQ(Decrypt(192), 3U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log().back(), "MESSAGE decipher");
}

TEST_F(CardTokenECardG3Test, PinStatusOfTheEncryptionIsAskedAtTheMasterFile)
{
    m_Reader.Expect("00A4000C023F00", "9000").Expect("00200001", "63C3");

    EXPECT_EQ(Attribute("GewSig/PIN-Status"), CKR_OK);

    EXPECT_EQ(m_Value, FromHex("03"));
    EXPECT_EQ(m_Reader.Calls,
              (Lines{"BeginTransaction", "SendApdu 00A4000C023F00", "SendApdu 00200001", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE read pin status dec"}));
}

TEST_F(CardTokenECardG3Test, PinStatusWithoutTransactionOrMasterFileIsOkAndUntouched)
{
    m_Reader.Expect("00A4000C023F00", "6A82");
    EXPECT_EQ(Attribute("GewSig/PIN-Status"), CKR_OK);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(Attribute("GewSig/PIN-Status"), CKR_OK);
    EXPECT_EQ(m_Value, FromHex("01D0"));
}

TEST_F(CardTokenECardG3Test, OtherCardAttributesAreThoseOfTheSecondGeneration)
{
    m_Reader.Expect("00A4040C08D040000017001201", "9000").Expect("00200081", "63C1");
    EXPECT_EQ(Attribute("SicSig/PIN-Status"), CKR_OK);
    EXPECT_EQ(m_Value, FromHex("01"));
}

TEST_F(CardTokenECardG3Test, WithoutReaderNothingIsFollowed)
{
    m_Token.SetReader(nullptr);
    EXPECT_EQ(SignEnc("01"), 1U);
    EXPECT_EQ(Decrypt(192), 3U);
    EXPECT_EQ(Attribute("GewSig/PIN-Status"), CKR_OK);
}

// In contrast to G3b.
TEST_F(CardTokenECardG3Test, IdentityLinkCannotBeWritten)
{
    EXPECT_FALSE(TokenFiles::Infobox(m_Token)->Update(FromHex("3000")));
    EXPECT_EQ(TokenFiles::Rfu1(m_Token), nullptr);
}

} // namespace
