#include "cards/profiles/CardTokenECardG2.h"

#include "tests/cards/profiles/ProfileFixture.h"

#include <stdexcept>

namespace
{

constexpr const char* kSelectMf = "00A4000C023F00";
constexpr const char* kSelectEnc = "00A4040C08D040000017001301";
constexpr const char* kSelectSig = "00A4040C08D040000017001201";
constexpr const char* kSelectInfobox = "00A4040C08D040000017001801";
constexpr const char* kReadChipId = "00B0820000";
constexpr const char* kChip = "0A0B0102030405060708090A9000";

class CardTokenECardG2Test : public ProfileTest<CardTokenECardG2>
{
protected:
    unsigned long SignSig(HashAlgorithm hash, const std::string& digest)
    {
        return m_Token.DoSignatureSig(hash, PaddingEcdsa, FromHex(digest), m_Value);
    }

    Norvik::ByteArray m_Value = FromHex("01D0");
};

TEST_F(CardTokenECardG2Test, NamesItself)
{
    EXPECT_EQ(m_Token.GetCardType(), CardTypeECardG2);
    EXPECT_EQ(m_Token.GetTokenLabel(), "k.mark premium e");
    EXPECT_EQ(m_Token.GetManufacturerID(), "SV");
    EXPECT_EQ(m_Token.GetTokenModel(), "eCard G2");
}

TEST_F(CardTokenECardG2Test, KeySizesAre192And256)
{
    EXPECT_EQ(m_Token.GetKeySize(AppEncryption), 192U);
    EXPECT_EQ(m_Token.GetKeySize(AppSignature), 256U);
    EXPECT_EQ(m_Token.GetKeySize(AppInfobox), kAllOnes);
}

TEST_F(CardTokenECardG2Test, AllKeysHaveTheEcdsaMechanisms)
{
    const std::vector<unsigned long> expected = {0x1041, 0x1042};
    for (const unsigned long handle : {1001UL, 1002UL, 1004UL, 1005UL})
    {
        EXPECT_EQ(MechanismsOf(handle), expected) << handle;
    }
    EXPECT_EQ(m_Token.GetObjectMap().size(), 7U);
    EXPECT_EQ(m_Token.GetCardObject(1001)->GetAttribute(CKA_KEY_TYPE)->GetBytes(),
              FromHex("0300000000000000"));
}

TEST_F(CardTokenECardG2Test, DoesNotDecipher)
{
    EXPECT_EQ(m_Token.Decrypt(AppEncryption, FromHex("01"), m_Value), 3U);
    EXPECT_EQ(Log(), (Lines{"ERROR Decrypt not yet implemented"}));
}

TEST_F(CardTokenECardG2Test, OtherOperationsAreNamedAndRefused)
{
    PublicKey key;
    EXPECT_EQ(m_Token.TokenGetAttributeValue(1000, CKA_VALUE, m_Value), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(m_Token.TokenSetAttributeValue(1000, nullptr), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(m_Token.UnblockPin(AppSignature), CKR_FUNCTION_FAILED);
    EXPECT_FALSE(m_Token.ReadPublicKey(AppEncryption, &key));
    EXPECT_EQ(Log(), (Lines{"MESSAGE CardTokenECardG2::TokenGetAttributeValue",
                            "MESSAGE CardTokenECardG2::TokenSetAttributeValue",
                            "MESSAGE CardTokenECardG2::UnblockPin"}));
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG2Test, SignatureIsOneTransactionOfThreeCommands)
{
    m_Reader.Expect("002241B60A 8403800200 8903133510", "9000");
    m_Reader.Expect("002A90A016 9014 000102030405060708090A0B0C0D0E0F10111213", "9000");
    m_Reader.Expect("002A9E9A00", "AABB9000");

    EXPECT_EQ(SignSig(HashSha1, "000102030405060708090A0B0C0D0E0F10111213"), 0U);

    EXPECT_EQ(m_Value, FromHex("AABB"));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 002241B60A84038002008903133510",
                                     "SendApdu 002A90A0169014000102030405060708090A0B0C0D0E0F10111213",
                                     "SendApdu 002A9E9A00", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureSig", "MESSAGE manage security environment",
                            "MESSAGE Put Hash", "MESSAGE PSO compute signature", "MESSAGE after CheckApduSW",
                            "MESSAGE after buffer copy"}));
}

TEST_F(CardTokenECardG2Test, EncryptionKeySignsAlikeAndRipemd160HasAReferenceOfItsOwn)
{
    m_Reader.Expect("002241B60A 8403800200 8903133520", "9000").Expect("002A90A016 9001 5A", "9000");
    m_Reader.Expect("002A9E9A00", "AA9000");

    EXPECT_EQ(m_Token.DoSignatureEnc(HashRipemd160, PaddingEcdsa, FromHex("5A"), m_Value), 0U);
    EXPECT_EQ(Log().front(), "MESSAGE DoSignatureEnc");
}

TEST_F(CardTokenECardG2Test, HashOfAnotherKindIsRefusedWithoutTouchingTheCard)
{
    for (const HashAlgorithm hash :
         {HashUnknown, HashNone, HashSha224, HashSha256, HashSha384, HashSha512, HashAny})
    {
        CapturedLog::Lines().clear();
        EXPECT_EQ(SignSig(hash, "5A"), 3U) << hash;
        EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureSig", "ERROR error invalid hash algo"}));
    }
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG2Test, LengthOfTheHashCommandDoesNotFollowTheDigest)
{
    m_Reader.Expect("002241B60A 8403800200 8903133510", "9000");
    m_Reader.Expect("002A90A016 9013 000102030405060708090A0B0C0D0E0F101112", "9000");
    m_Reader.Expect("002A9E9A00", "AA9000");
    EXPECT_EQ(SignSig(HashSha1, "000102030405060708090A0B0C0D0E0F101112"), 0U);
}

TEST_F(CardTokenECardG2Test, DigestThatNoLengthByteCanTellIsRefused)
{
    EXPECT_EQ(SignSig(HashSha1, std::string(512, '5')), 2U);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG2Test, SignatureWithRefusedEnvironmentGives1)
{
    m_Reader.Expect("002241B60A 8403800200 8903133510", "6A88");
    EXPECT_EQ(SignSig(HashSha1, "5A"), 1U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenECardG2Test, SignatureWithoutTransactionGives1)
{
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(SignSig(HashSha1, "5A"), 1U);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenECardG2Test, SignatureWithRefusedHashGives2)
{
    m_Reader.Expect("002241B60A 8403800200 8903133510", "9000").Expect("002A90A016 9001 5A", "6700");

    EXPECT_EQ(SignSig(HashSha1, "5A"), 2U);

    EXPECT_EQ(m_Value, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE DoSignatureSig", "MESSAGE manage security environment", "MESSAGE Put Hash",
                     "ERROR Apdu SW: 0x67 0x0 - expected: 0x90 0x0", "MESSAGE PSO compute signature"}));
}

TEST_F(CardTokenECardG2Test, SignatureThatTheCardRefusesGives2)
{
    m_Reader.Expect("002241B60A 8403800200 8903133510", "9000").Expect("002A90A016 9001 5A", "9000");
    m_Reader.Expect("002A9E9A00", "6982");
    EXPECT_EQ(SignSig(HashSha1, "5A"), 2U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenECardG2Test, ChipIdIsTheHexTextOfTwelveBytes)
{
    m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, kChip);
    std::string text = "old";

    EXPECT_TRUE(m_Token.InternalGetChipId(text));

    EXPECT_EQ(text, "0a0b0102030405060708090a");
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4000C023F00", "SendApdu 00B0820000",
                                     "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE InternalGetChipId"}));
}

// Thirteen bytes are enough: eleven of data, and the first of the status word.
TEST_F(CardTokenECardG2Test, ChipIdOfElevenBytesHoldsAByteOfTheStatusWord)
{
    m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, "0102030405060708090A0B9000");
    std::string text;
    EXPECT_TRUE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(text, "0102030405060708090a0b90");
}

TEST_F(CardTokenECardG2Test, ShorterChipIdIsEmptyAndStillGood)
{
    m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, "0102030405060708090A9000");
    std::string text = "old";
    EXPECT_TRUE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(text, "");
}

TEST_F(CardTokenECardG2Test, ChipIdStopsAtTheFirstFailure)
{
    std::string text = "old";
    m_Reader.Expect(kSelectMf, "6A82");
    EXPECT_FALSE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(text, "");
    m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, "6A82");
    EXPECT_FALSE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    m_Reader.Calls.clear();
    m_Reader.bBeginTransaction = false;
    EXPECT_FALSE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenECardG2Test, CardIdentifierIsTheChipTextWithoutItsFirstTwoBytes)
{
    m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, kChip);
    std::string text = "old";

    EXPECT_TRUE(m_Token.InternalGetCardIdentifier(text));

    EXPECT_EQ(text, "0102030405060708090a");
    EXPECT_EQ(Log(), (Lines{"MESSAGE InternalGetCardIdentifier", "MESSAGE InternalGetChipId"}));
}

TEST_F(CardTokenECardG2Test, CardIdentifierIsNeverWellFormedButStaysInTheOutput)
{
    for (int round = 0; round < 3; ++round)
    {
        m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, kChip);
    }
    std::string text;

    EXPECT_FALSE(m_Token.GetCardIdentifier(text));

    EXPECT_EQ(text, "0102030405060708090a");
    EXPECT_TRUE(Logged("MESSAGE identifier length != 16"));
}

TEST_F(CardTokenECardG2Test, CardIdentifierWithoutChipTextRaisesOutOfRange)
{
    m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, "9000");
    std::string text;
    EXPECT_THROW(m_Token.InternalGetCardIdentifier(text), std::out_of_range);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenECardG2Test, CardIdentifierFailsWithTheChipId)
{
    m_Reader.Expect(kSelectMf, "6A82");
    std::string text = "old";
    EXPECT_FALSE(m_Token.InternalGetCardIdentifier(text));
    EXPECT_EQ(text, "");
}

TEST_F(CardTokenECardG2Test, IdentifiersWithoutReaderAreLogged)
{
    m_Token.SetReader(nullptr);
    std::string text = "old";
    EXPECT_FALSE(m_Token.InternalGetChipId(text));
    EXPECT_EQ(text, "");
    text = "old";
    EXPECT_FALSE(m_Token.InternalGetCardIdentifier(text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE InternalGetChipId", "ERROR CardTokenECardG2::InternalGetChipId, Reader is NULL",
                     "MESSAGE InternalGetCardIdentifier",
                     "ERROR CardTokenECardG2::InternalGetCardIdentifier, Reader is NULL"}));
}

TEST_F(CardTokenECardG2Test, WithoutReaderNothingIsFollowed)
{
    m_Token.SetReader(nullptr);
    EXPECT_EQ(SignSig(HashSha1, "5A"), 1U);
    EXPECT_FALSE(m_Token.DeauthenticatePin(AppEncryption));
    EXPECT_EQ(m_Value, FromHex("01D0"));
}

TEST_F(CardTokenECardG2Test, CertificatesAreReadWithoutPinAndNeverWritten)
{
    m_Reader.Expect(kSelectSig, "9000").Expect("00A4020C02C000", "9000").Expect("00B00000FF", "300105 9000");
    m_Reader.Expect(kSelectEnc, "9000").Expect("00A4020C022F01", "9000").Expect("00B00000FF", "300106 9000");
    Norvik::ByteArray out;
    EXPECT_TRUE(m_Token.GetCertificate(AppSignature, out));
    EXPECT_EQ(out, FromHex("300105"));
    EXPECT_TRUE(m_Token.GetCertificate(AppEncryption, out));
    EXPECT_EQ(out, FromHex("300106"));
    EXPECT_FALSE(TokenFiles::SigCert(m_Token)->Update(FromHex("3000")));
    EXPECT_FALSE(TokenFiles::EncCert(m_Token)->Update(FromHex("3000")));
}

// The file has no directory of its own: the infobox PIN flow leaves the right one selected.
TEST_F(CardTokenECardG2Test, IdentityLinkIsReadWhereTheInfoboxLoginEnds)
{
    ReaderHasKeypad();
    for (int round = 0; round < 3; ++round)
    {
        m_Reader.Expect(kSelectMf, "9000").Expect(kReadChipId, kChip);
    }
    m_Reader.Expect(kSelectInfobox, "9000").ExpectKeypad("0020000108 20FFFFFFFFFFFFFF", 0, "9000");
    m_Reader.Expect("00A4020C02EF01", "9000").Expect("00B00000FF", "300105 9000");
    Norvik::ByteArray out;

    EXPECT_TRUE(TokenFiles::Infobox(m_Token)->Read(out, true));
    EXPECT_EQ(out, FromHex("300105"));
    EXPECT_FALSE(TokenFiles::Infobox(m_Token)->Update(FromHex("3000")));
    EXPECT_EQ(TokenFiles::Rfu1(m_Token), nullptr);
    EXPECT_EQ(TokenFiles::Rfu2(m_Token), nullptr);
}

} // namespace
