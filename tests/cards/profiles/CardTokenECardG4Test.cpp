#include "cards/profiles/CardTokenECardG4.h"

#include "tests/cards/profiles/ProfileFixture.h"

#include <stdexcept>

namespace
{

constexpr const char* kSetEncryptionKey = "002241B606 840183 950140";
constexpr const char* kSelectApplication = "00A4040C08 D040000017001201 00";

class CardTokenECardG4Test : public ProfileTest<CardTokenECardG4>
{
protected:
    unsigned long SignSig(const std::string& digest)
    {
        return m_Token.DoSignatureSig(HashNone, PaddingEcdsa, FromHex(digest), m_Value);
    }

    Norvik::ByteArray m_Value = FromHex("01D0");
};

TEST_F(CardTokenECardG4Test, NamesItself)
{
    EXPECT_EQ(m_Token.GetCardType(), CardTypeECardG4);
    EXPECT_EQ(m_Token.GetTokenLabel(), "k.mark premium e");
    EXPECT_EQ(m_Token.GetManufacturerID(), "Norvik");
    EXPECT_EQ(m_Token.GetTokenModel(), "ATOS 5.3");
}

TEST_F(CardTokenECardG4Test, BothKeysCountAs256Bits)
{
    EXPECT_EQ(m_Token.GetKeySize(AppEncryption), 256U);
    EXPECT_EQ(m_Token.GetKeySize(AppSignature), 256U);
    EXPECT_EQ(m_Token.GetKeySize(AppInfobox), kAllOnes);
}

TEST_F(CardTokenECardG4Test, MechanismsAreThoseOfTheThirdGeneration)
{
    const std::vector<unsigned long> rsa = {0x1, 0x6, 0x8, 0x40, 0x41, 0x46};
    const std::vector<unsigned long> ecdsa = {0x1041, 0x1042};
    EXPECT_EQ(MechanismsOf(1001), rsa);
    EXPECT_EQ(MechanismsOf(1002), rsa);
    EXPECT_EQ(MechanismsOf(1004), ecdsa);
    EXPECT_EQ(MechanismsOf(1005), ecdsa);
    EXPECT_EQ(m_Token.GetObjectMap().size(), 7U);
}

TEST_F(CardTokenECardG4Test, OtherOperationsAreNotSupported)
{
    PublicKey key;
    EXPECT_EQ(m_Token.TokenGetAttributeValue(1000, CKA_VALUE, m_Value), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(m_Token.TokenSetAttributeValue(1000, nullptr), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(m_Token.UnblockPin(AppSignature), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_FALSE(m_Token.ReadPublicKey(AppEncryption, &key));
    for (const char* name : {"Reset", "ATR", "SicSig/PIN-Status", "SV-Personendaten/EHIC"})
    {
        EXPECT_EQ(m_Token.C_CardAttribute(reinterpret_cast<const unsigned char*>(name), m_Value, nullptr),
                  CKR_FUNCTION_NOT_SUPPORTED)
            << name;
    }
    EXPECT_TRUE(Log().empty());
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG4Test, DoesNotDecipherForAnyApplication)
{
    for (const SmartCardApplication app : {AppEncryption, AppSignature, AppInfobox, AppInvalid})
    {
        EXPECT_EQ(m_Token.Decrypt(app, FromHex("01"), m_Value), 2U);
    }
    EXPECT_TRUE(Log().empty());
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenECardG4Test, RsaSignatureIsOneTransactionOfTwoCommands)
{
    m_Reader.Expect(kSetEncryptionKey, "9000").Expect("002A9E9A02 0102 00", "AABB9000");

    EXPECT_EQ(m_Token.DoSignatureEnc(HashSha256, PaddingPkcs1, FromHex("0102"), m_Value), 0U);

    EXPECT_EQ(m_Value, FromHex("AABB"));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 002241B606840183950140",
                                     "SendApdu 002A9E9A02010200", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureEnc", "MESSAGE hashlength: 2",
                            "MESSAGE manage security environment", "MESSAGE compute digital signature"}));
}

TEST_F(CardTokenECardG4Test, RsaSignatureFailuresAreOneAndTwo)
{
    m_Reader.Expect(kSetEncryptionKey, "6A88");
    EXPECT_EQ(m_Token.DoSignatureEnc(HashNone, PaddingNone, FromHex("01"), m_Value), 1U);
    m_Reader.Expect(kSetEncryptionKey, "9000").Expect("002A9E9A01 01 00", "6982");
    EXPECT_EQ(m_Token.DoSignatureEnc(HashNone, PaddingNone, FromHex("01"), m_Value), 2U);
    EXPECT_EQ(m_Value, FromHex("01D0"));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenECardG4Test, EcSignatureSelectsItsApplication)
{
    m_Reader.Expect(kSelectApplication, "9000").Expect("002A9E9A02 0102 00", "AABB9000");

    EXPECT_EQ(SignSig("0102"), 0U);

    EXPECT_EQ(m_Value, FromHex("AABB"));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4040C08D04000001700120100",
                                     "SendApdu 002A9E9A02010200", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE DoSignatureSig", "MESSAGE hashlength: 2",
                            "MESSAGE manage security environment", "MESSAGE compute digital signature"}));
}

// The select goes past the engine that remembers the directory: it is sent anew, and what is remembered
// stays.
TEST_F(CardTokenECardG4Test, EcSignatureSelectsAlsoWhatIsSelectedAlready)
{
    m_Reader.Expect("00A4040C08D040000017001201", "9000");
    ASSERT_TRUE(m_Token.Impl().SelectFile(
        ChipStructureObject(FromHex("D040000017001201").data(), 8, ChipStructureDF, 0x04)));
    m_Reader.Expect(kSelectApplication, "9000").Expect("002A9E9A01 01 00", "AA9000");
    m_Reader.Expect(kSelectApplication, "9000").Expect("002A9E9A01 01 00", "AA9000");

    EXPECT_EQ(SignSig("01"), 0U);
    EXPECT_EQ(SignSig("01"), 0U);
    EXPECT_TRUE(m_Token.GetCurrentDF().IsOk());
}

TEST_F(CardTokenECardG4Test, EcSignatureDoesNotTellTheRememberedDirectory)
{
    m_Reader.Expect(kSelectApplication, "9000").Expect("002A9E9A01 01 00", "AA9000");
    EXPECT_EQ(SignSig("01"), 0U);
    EXPECT_FALSE(m_Token.GetCurrentDF().IsOk());
}

TEST_F(CardTokenECardG4Test, EcSignatureFailuresAreOneAndTwo)
{
    m_Reader.Expect(kSelectApplication, "6A82");
    EXPECT_EQ(SignSig("01"), 1U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    m_Reader.ExpectFailing(kSelectApplication, "9000");
    EXPECT_EQ(SignSig("01"), 1U);
    m_Reader.Expect(kSelectApplication, "9000").Expect("002A9E9A01 01 00", "6982");
    EXPECT_EQ(SignSig("01"), 2U);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    m_Reader.Calls.clear();
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(SignSig("01"), 1U);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
    EXPECT_EQ(m_Value, FromHex("01D0"));
}

TEST_F(CardTokenECardG4Test, IdentifiersAreReadLikeThoseOfTheSecondGeneration)
{
    m_Reader.Expect("00A4000C023F00", "9000").Expect("00B0820000", "0A0B0102030405060708090A9000");
    std::string text;
    EXPECT_TRUE(m_Token.InternalGetCardIdentifier(text));
    EXPECT_EQ(text, "0102030405060708090a");
    EXPECT_EQ(Log(), (Lines{"MESSAGE InternalGetCardIdentifier", "MESSAGE InternalGetChipId"}));
}

TEST_F(CardTokenECardG4Test, CardIdentifierWithoutChipTextRaisesOutOfRange)
{
    m_Reader.Expect("00A4000C023F00", "9000").Expect("00B0820000", "9000");
    std::string text;
    EXPECT_THROW(m_Token.InternalGetCardIdentifier(text), std::out_of_range);
}

TEST_F(CardTokenECardG4Test, IdentifiersWithoutReaderAreLogged)
{
    m_Token.SetReader(nullptr);
    std::string text = "old";
    EXPECT_FALSE(m_Token.InternalGetChipId(text));
    EXPECT_FALSE(m_Token.InternalGetCardIdentifier(text));
    EXPECT_EQ(text, "");
    EXPECT_EQ(SignSig("01"), 1U);
    EXPECT_TRUE(Logged("ERROR CardTokenECardG4::InternalGetChipId, Reader is NULL"));
    EXPECT_TRUE(Logged("ERROR CardTokenECardG4::InternalGetCardIdentifier, Reader is NULL"));
}

TEST_F(CardTokenECardG4Test, CertificatesAreReadWithoutPinAndNeverWritten)
{
    m_Reader.Expect("00A4040C08D040000017001201", "9000").Expect("00A4020C02C000", "9000");
    m_Reader.Expect("00B00000FF", "300105 9000");
    m_Reader.Expect("00A4040C08D040000017001301", "9000").Expect("00A4020C022F01", "9000");
    m_Reader.Expect("00B00000FF", "300106 9000");
    Norvik::ByteArray out;
    EXPECT_TRUE(m_Token.GetCertificate(AppSignature, out));
    EXPECT_EQ(out, FromHex("300105"));
    EXPECT_TRUE(m_Token.GetCertificate(AppEncryption, out));
    EXPECT_EQ(out, FromHex("300106"));
    EXPECT_FALSE(TokenFiles::SigCert(m_Token)->Update(FromHex("3000")));
    EXPECT_FALSE(TokenFiles::EncCert(m_Token)->Update(FromHex("3000")));
    EXPECT_FALSE(TokenFiles::Infobox(m_Token)->Update(FromHex("3000")));
    EXPECT_EQ(TokenFiles::Rfu1(m_Token), nullptr);
}

TEST_F(CardTokenECardG4Test, IdentityLinkIsReadWhereTheInfoboxLoginEnds)
{
    ReaderHasKeypad();
    for (int round = 0; round < 3; ++round)
    {
        m_Reader.Expect("00A4000C023F00", "9000").Expect("00B0820000", "0A0B0102030405060708090A9000");
    }
    m_Reader.Expect("00A4040C08D040000017001801", "9000")
        .ExpectKeypad("0020000108 20FFFFFFFFFFFFFF", 0, "9000");
    m_Reader.Expect("00A4020C02EF01", "9000").Expect("00B00000FF", "300105 9000");
    Norvik::ByteArray out;
    EXPECT_TRUE(TokenFiles::Infobox(m_Token)->Read(out, true));
    EXPECT_EQ(out, FromHex("300105"));
}

} // namespace
