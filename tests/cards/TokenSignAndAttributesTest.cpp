#include "cards/iCardToken.h"

#include "tests/cards/TokenTestSupport.h"

#include <gtest/gtest.h>

namespace
{

using Lines = std::vector<std::string>;

// openssl dgst -sha256, -sha1 of "text to be signed"
constexpr const char* kSha256 = "249D54D67A72C029FFE35F51CC08C8954D0D48BA0866DA8DD9955C0F8D351BD1";
constexpr const char* kSha1 = "61B7A0EB38EB747FE7AB5F8DC548CBB8796912AE";

constexpr unsigned long kCertificateHandle = 1000;
constexpr unsigned long kPrivateKeyHandle = 1002;
constexpr unsigned long kSignatureKeyHandle = 1005;
constexpr unsigned long kDataHandle = 1006;

class TokenOperationsTest : public testing::Test
{
protected:
    TokenOperationsTest()
    {
        m_Token.encCertFile = MakeFreeFile(m_Token, 0);
        m_Token.sigCertFile = MakeFreeFile(m_Token, 0);
        m_Token.infoboxFile = MakeFreeFile(m_Token, 0);
        m_Token.GetObjectMap();
        CapturedLog::Lines().clear();
    }

    /** The next read of @p file finds @p content. */
    void PutIntoFile(CardFile& file, const Norvik::ByteArray& content)
    {
        file.SetFileSize(content.size());
        ExpectFirstRead(m_Reader, content);
    }
    unsigned long SignText(SmartCardApplication app, HashAlgorithm hash, PaddingType padding, bool bDoHash)
    {
        return m_Token.Sign(app, hash, padding, bDoHash, m_Text, m_Signature);
    }
    unsigned long Set(unsigned long handle, const std::vector<unsigned long>& types)
    {
        std::vector<CK_ATTRIBUTE> attributes;
        for (const unsigned long type : types)
        {
            attributes.push_back({type, m_Value, 2});
        }
        return m_Token.SetAttributeValue(handle, attributes.data(), attributes.size());
    }

    ScriptedCardReader m_Reader;
    CapturedLog m_Log{kTokenLog};
    TestToken m_Token{&m_Reader};
    const Norvik::ByteArray m_Text = Bytes("text to be signed");
    Norvik::ByteArray m_Signature;
    unsigned char m_Value[2] = {0xAB, 0xCD};
};

} // namespace

// Sign.

TEST_F(TokenOperationsTest, SignWithoutHashingPassesTheDataUnchanged)
{
    m_Token.OnSignature = [this](HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) {
        EXPECT_EQ(hash, HashSha256);
        EXPECT_EQ(padding, PaddingPkcs1);
        EXPECT_EQ(digest, m_Text);
        signature = Bytes("signature");
        return CKR_OK;
    };

    EXPECT_EQ(SignText(AppEncryption, HashSha256, PaddingPkcs1, false), 0U);

    EXPECT_EQ(Text(m_Signature), "signature");
    EXPECT_EQ(m_Token.Calls, Lines{"DoSignatureEnc"});
    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE Sign"});
}

TEST_F(TokenOperationsTest, SignWithHashingPassesTheDigest)
{
    m_Token.OnSignature = [](HashAlgorithm, PaddingType, const Norvik::ByteArray& digest,
                             Norvik::ByteArray&) {
        EXPECT_EQ(ToHex(digest), kSha256);
        return CKR_OK;
    };

    EXPECT_EQ(SignText(AppSignature, HashSha256, PaddingEcdsa, true), 0U);

    EXPECT_EQ(m_Token.Calls, Lines{"DoSignatureSig"});
}

TEST_F(TokenOperationsTest, SignGivesTheResultOfTheProfile)
{
    m_Token.OnSignature = [](HashAlgorithm, PaddingType, const Norvik::ByteArray&, Norvik::ByteArray&) {
        return 2UL;
    };

    EXPECT_EQ(SignText(AppEncryption, HashNone, PaddingNone, false), 2U);
    EXPECT_EQ(SignText(AppSignature, HashNone, PaddingNone, false), 2U);
}

TEST_F(TokenOperationsTest, SignIntoItsOwnDataKeepsTheDigest)
{
    m_Signature = m_Text;
    m_Token.OnSignature = [this](HashAlgorithm, PaddingType, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) {
        signature.clear();
        EXPECT_EQ(digest, m_Text);
        return CKR_OK;
    };

    EXPECT_EQ(m_Token.Sign(AppEncryption, HashNone, PaddingNone, false, m_Signature, m_Signature), 0U);
}

TEST_F(TokenOperationsTest, SignForTheInfoboxHashesAndIsRefused)
{
    EXPECT_EQ(SignText(AppInfobox, HashSha256, PaddingPkcs1, true), 3U);

    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE Sign", "MESSAGE invalid application for Sign Command"}));
    EXPECT_TRUE(m_Token.Calls.empty());
}

TEST_F(TokenOperationsTest, SignHashesBeforeItLooksAtTheApplication)
{
    EXPECT_EQ(SignText(AppInfobox, HashSha224, PaddingPkcs1, true), 3U);

    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE Sign", "ERROR error hashing data"}));
}

TEST_F(TokenOperationsTest, SignWithAHashThatIsRefusedDoesNotReachTheCard)
{
    EXPECT_EQ(SignText(AppEncryption, HashSha224, PaddingPkcs1, true), 3U);

    EXPECT_TRUE(m_Token.Calls.empty());
}

// Verify.

TEST_F(TokenOperationsTest, VerifyChecksAnRsaSignatureWithTheKeyOfTheCertificate)
{
    PutIntoFile(*m_Token.encCertFile, Fixture("rsa1536-certificate.der"));
    bool bValid = false;

    EXPECT_TRUE(m_Token.Verify(AppEncryption, HashSha256, PaddingPkcs1, true, m_Text,
                               Fixture("rsa1536-sha256.sig"), bValid));

    EXPECT_TRUE(bValid);
    EXPECT_EQ(m_Token.Calls, Lines{"ReadPublicKey 0"});
    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE Verify"});
}

TEST_F(TokenOperationsTest, VerifyOfAReadyDigestDoesNotHash)
{
    PutIntoFile(*m_Token.encCertFile, Fixture("rsa1536-certificate.der"));
    bool bValid = false;

    EXPECT_TRUE(m_Token.Verify(AppEncryption, HashSha256, PaddingPkcs1, false, FromHex(kSha256),
                               Fixture("rsa1536-sha256.sig"), bValid));

    EXPECT_TRUE(bValid);
}

TEST_F(TokenOperationsTest, VerifyTellsAWrongSignatureFromAFailedCheck)
{
    PutIntoFile(*m_Token.encCertFile, Fixture("rsa1536-certificate.der"));
    bool bValid = true;

    EXPECT_TRUE(m_Token.Verify(AppEncryption, HashSha256, PaddingPkcs1, true, Bytes("another text"),
                               Fixture("rsa1536-sha256.sig"), bValid));

    EXPECT_FALSE(bValid);
}

TEST_F(TokenOperationsTest, VerifyChecksAnEcdsaSignature)
{
    PutIntoFile(*m_Token.sigCertFile, Fixture("p192-certificate.der"));
    bool bValid = false;

    EXPECT_TRUE(m_Token.Verify(AppSignature, HashSha1, PaddingEcdsa, false, FromHex(kSha1),
                               Fixture("p192-sha1.sig"), bValid));

    EXPECT_TRUE(bValid);
    EXPECT_EQ(m_Token.Calls, Lines{"ReadPublicKey 1"});
}

TEST_F(TokenOperationsTest, VerifyWithoutKeyFails)
{
    bool bValid = true;

    EXPECT_FALSE(m_Token.Verify(AppInfobox, HashSha256, PaddingPkcs1, true, m_Text, m_Signature, bValid));

    EXPECT_FALSE(bValid);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE Verify", "MESSAGE invalid application for GetPublicKey",
                                           "ERROR error loading token public key"}));
}

TEST_F(TokenOperationsTest, VerifyWithAHashThatIsRefusedFails)
{
    PutIntoFile(*m_Token.encCertFile, Fixture("rsa1536-certificate.der"));
    bool bValid = true;

    EXPECT_FALSE(m_Token.Verify(AppEncryption, HashSha224, PaddingPkcs1, true, m_Text, m_Signature, bValid));

    EXPECT_FALSE(bValid);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE Verify", "ERROR error hashing data"}));
}

TEST_F(TokenOperationsTest, VerifyWithAPaddingThatIsRefusedFails)
{
    PutIntoFile(*m_Token.encCertFile, Fixture("rsa1536-certificate.der"));
    bool bValid = true;

    EXPECT_FALSE(m_Token.Verify(AppEncryption, HashSha256, PkcsPSS, true, m_Text, m_Signature, bValid));

    EXPECT_FALSE(bValid);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE Verify", "ERROR error prepare digest info"}));
}

TEST_F(TokenOperationsTest, VerifyWithASignatureThatCannotBeCheckedFails)
{
    PutIntoFile(*m_Token.sigCertFile, Fixture("p192-certificate.der"));
    // As long as a DER signature, but its first number is said to have 25 bytes.
    Norvik::ByteArray signature = Fixture("p192-sha1.sig");
    signature[3] = 0x19;
    bool bValid = true;

    EXPECT_FALSE(
        m_Token.Verify(AppSignature, HashSha1, PaddingEcdsa, false, FromHex(kSha1), signature, bValid));

    EXPECT_FALSE(bValid);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE Verify", "ERROR error in publickey - verfiy"}));
}

// Keys and certificates.

TEST_F(TokenOperationsTest, ThePublicKeyOfTheCardComesFirst)
{
    m_Token.OnReadPublicKey = [](SmartCardApplication, PublicKey* key) {
        return key->SetRsaKey(65537, FromHex("C1"));
    };
    PublicKey key;

    EXPECT_TRUE(m_Token.GetPublicKey(AppEncryption, &key));

    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(TokenOperationsTest, ThePublicKeyIsReadFromTheCardEachTime)
{
    const Norvik::ByteArray certificate = Fixture("rsa1536-certificate.der");
    PutIntoFile(*m_Token.encCertFile, certificate);
    PublicKey first;
    EXPECT_TRUE(m_Token.GetPublicKey(AppEncryption, &first));

    // The directory is still selected; no cache is used.
    m_Reader.Expect(kSelectEf, "9000");
    ExpectReadBinary(m_Reader, certificate);
    PublicKey second;
    EXPECT_TRUE(m_Token.GetPublicKey(AppEncryption, &second));

    Norvik::ByteArray modulus;
    EXPECT_TRUE(second.GetRsaModulus(modulus));
    EXPECT_EQ(ToHex(modulus), Text(Fixture("rsa1536-modulus.txt")).substr(0, 384));
}

TEST_F(TokenOperationsTest, GetPublicKeyForTheInfoboxDoesNotTouchTheCard)
{
    PublicKey key;

    EXPECT_FALSE(m_Token.GetPublicKey(AppInfobox, &key));
    EXPECT_FALSE(m_Token.GetPublicKey(AppInvalid, &key));

    EXPECT_TRUE(m_Token.Calls.empty());
    EXPECT_TRUE(m_Reader.Calls.empty());
    EXPECT_EQ(CapturedLog::Lines(), Lines(2, "MESSAGE invalid application for GetPublicKey"));
}

TEST_F(TokenOperationsTest, GetPublicKeyWithoutCertificateFileFails)
{
    // The objects stay behind, but the key has no file to come from.
    TestToken token(&m_Reader);
    PublicKey key;

    EXPECT_FALSE(token.GetPublicKey(AppEncryption, &key));
    EXPECT_FALSE(token.GetPublicKey(AppSignature, &key));
}

TEST_F(TokenOperationsTest, GetPublicKeyWithAnUnreadableFileFails)
{
    m_Token.encCertFile->SetFileSize(4);
    m_Reader.ExpectFailing(kSelectDf);
    PublicKey key;

    EXPECT_FALSE(m_Token.GetPublicKey(AppEncryption, &key));
}

TEST_F(TokenOperationsTest, ParseKeyFromCertKnowsRsa)
{
    PublicKey key;

    EXPECT_TRUE(m_Token.ParseKeyFromCert(Fixture("rsa1536-certificate.der"), &key));

    Norvik::ByteArray modulus;
    EXPECT_EQ(key.GetKeyType(), KeyTypeRSA);
    EXPECT_TRUE(key.GetRsaModulus(modulus));
    EXPECT_EQ(ToHex(modulus), Text(Fixture("rsa1536-modulus.txt")).substr(0, 384));
}

TEST_F(TokenOperationsTest, ParseKeyFromCertKnowsEcdsa)
{
    PublicKey key;

    EXPECT_TRUE(m_Token.ParseKeyFromCert(Fixture("p192-certificate.der"), &key));

    EXPECT_EQ(key.GetKeyType(), KeyTypeECDSA);
}

TEST_F(TokenOperationsTest, ParseKeyFromCertKnowsNoOtherKey)
{
    PublicKey key;

    EXPECT_FALSE(m_Token.ParseKeyFromCert(Fixture("ed25519-certificate.der"), &key));

    EXPECT_EQ(CapturedLog::Lines(), Lines{"ERROR error loading public key from certificate"});
}

TEST_F(TokenOperationsTest, ParseKeyFromCertRefusesWhatIsNoCertificate)
{
    PublicKey key;

    EXPECT_FALSE(m_Token.ParseKeyFromCert(FromHex("3000"), &key));
    EXPECT_FALSE(m_Token.ParseKeyFromCert({}, &key));

    EXPECT_EQ(CapturedLog::Lines(), Lines(2, "ERROR error loading certificate"));
}

TEST_F(TokenOperationsTest, GetCertificateReadsTheFileOfTheApplicationEachTime)
{
    PutIntoFile(*m_Token.sigCertFile, Bytes("certificate"));
    Norvik::ByteArray first;
    EXPECT_TRUE(m_Token.GetCertificate(AppSignature, first));
    EXPECT_EQ(Text(first), "certificate");

    m_Reader.Expect(kSelectEf, "9000");
    ExpectReadBinary(m_Reader, Bytes("certificate"));
    Norvik::ByteArray second;
    EXPECT_TRUE(m_Token.GetCertificate(AppSignature, second));
}

TEST_F(TokenOperationsTest, GetCertificateGivesTheResultOfTheRead)
{
    m_Token.encCertFile->SetFileSize(4);
    m_Reader.ExpectFailing(kSelectDf);
    Norvik::ByteArray certificate;

    EXPECT_FALSE(m_Token.GetCertificate(AppEncryption, certificate));

    EXPECT_TRUE(CapturedLog::Lines().empty());
}

TEST_F(TokenOperationsTest, GetCertificateWithoutFileIsAnError)
{
    TestToken token(&m_Reader);
    CapturedLog::Lines().clear();
    Norvik::ByteArray certificate;

    EXPECT_FALSE(token.GetCertificate(AppEncryption, certificate));
    EXPECT_FALSE(token.GetCertificate(AppSignature, certificate));
    EXPECT_FALSE(token.GetCertificate(AppInfobox, certificate));

    EXPECT_EQ(CapturedLog::Lines(), Lines(3, "ERROR error reading certificate"));
}

// Attributes.

TEST_F(TokenOperationsTest, GetAttributeValueTakesTheObjectsBytes)
{
    Norvik::ByteArray out = Bytes("what stood here");

    EXPECT_EQ(m_Token.GetAttributeValue(kCertificateHandle, CKA_LABEL, out), 0U);

    EXPECT_EQ(Text(out), "C.CH.EKEY");
}

TEST_F(TokenOperationsTest, GetAttributeValueOfAnEmptyAttributeIsASuccess)
{
    m_Reader.ExpectFailing(kSelectDf);
    Norvik::ByteArray out = Bytes("what stood here");

    EXPECT_EQ(m_Token.GetAttributeValue(kCertificateHandle, CKA_SUBJECT, out), 0U);

    EXPECT_TRUE(out.empty());
    EXPECT_TRUE(m_Token.Calls.empty());
}

TEST_F(TokenOperationsTest, GetAttributeValueFallsBackToTheProfile)
{
    Norvik::ByteArray out;

    EXPECT_EQ(m_Token.GetAttributeValue(kCertificateHandle, CKA_CHECK_VALUE, out), 18U);

    EXPECT_EQ(m_Token.Calls, Lines{"TokenGetAttributeValue"});
}

TEST_F(TokenOperationsTest, GetAttributeValueOfAnInvalidHandleFails)
{
    Norvik::ByteArray out;

    EXPECT_EQ(m_Token.GetAttributeValue(1007, CKA_LABEL, out), 6U);

    EXPECT_TRUE(m_Token.Calls.empty());
}

// Updates through a handle.

TEST_F(TokenOperationsTest, SetAttributeValueOfAnInvalidHandleFails)
{
    EXPECT_EQ(Set(1007, {CKA_SECONDARY_AUTH}), 6U);
    EXPECT_EQ(Set(0, {CKA_SECONDARY_AUTH}), 6U);

    EXPECT_TRUE(m_Token.Calls.empty());
}

TEST_F(TokenOperationsTest, AnEmptyTemplateIsASuccess)
{
    EXPECT_EQ(Set(kPrivateKeyHandle, {}), 0U);
}

TEST_F(TokenOperationsTest, APositionThatIsTheHandleItselfMustNotBeNull)
{
    // Only a table of more than a thousand entries has that position.
    m_Token.objects.resize(1001, nullptr);

    EXPECT_EQ(Set(kCertificateHandle, {}), 6U);
    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE Object not found"});
}

TEST_F(TokenOperationsTest, AnObjectWithoutClassCannotBeUpdated)
{
    m_Token.GetCardObject(kCertificateHandle)->Free();

    EXPECT_EQ(Set(kCertificateHandle, {CKA_SECONDARY_AUTH}), 6U);
    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE CardObject has no attribute class??"});
}

namespace
{

struct UpdateCase
{
    const char* name;
    unsigned long handle;
    std::vector<unsigned long> types;
    unsigned long rv;
    Lines calls;
    Lines log;
};

constexpr const char* kChangeLine = "MESSAGE update CKA_SECONDARY_AUTH -> change pin";
constexpr const char* kUnblockLine = "MESSAGE update CKA_AUTH_PIN_FLAGS -> unblock pin";
constexpr const char* kNoPinLine = "ERROR invalid card file type should be privKey or Infobox";
constexpr const char* kValueLine = "MESSAGE update CKA_VALUE -> write persb or cert";
constexpr const char* kNoFileLine = "ERROR cardfile not found";
constexpr const char* kPrivateLine = "MESSAGE CKA_PRIVATE -> not yet implemented";
constexpr const char* kInvalidLine = "MESSAGE invalid attribute for update";

const UpdateCase kUpdates[] = {
    {"ChangeOnAPrivateKey", kPrivateKeyHandle, {CKA_SECONDARY_AUTH}, 0x54, {"ChangePin 0"}, {kChangeLine}},
    {"ChangeOnTheSignatureKey",
     kSignatureKeyHandle,
     {CKA_SECONDARY_AUTH},
     0x54,
     {"ChangePin 1"},
     {kChangeLine}},
    {"ChangeOnTheDataObject", kDataHandle, {CKA_SECONDARY_AUTH}, 0x54, {"ChangePin 2"}, {kChangeLine}},
    {"ChangeOnACertificate", kCertificateHandle, {CKA_SECONDARY_AUTH}, 7, {}, {kChangeLine, kNoPinLine}},
    {"ChangeOnAPublicKey", 1001, {CKA_SECONDARY_AUTH}, 7, {}, {kChangeLine, kNoPinLine}},
    {"UnblockOnAPrivateKeyFailsAlsoWhenItWorked",
     kPrivateKeyHandle,
     {CKA_AUTH_PIN_FLAGS},
     6,
     {"UnblockPin 0"},
     {kUnblockLine}},
    {"UnblockOnACertificate", kCertificateHandle, {CKA_AUTH_PIN_FLAGS}, 6, {}, {kUnblockLine, kNoPinLine}},
    {"ValueOfTheDataObject", kDataHandle, {CKA_VALUE}, 6, {}, {kValueLine, kNoFileLine}},
    {"ValueOfAPrivateKey", kPrivateKeyHandle, {CKA_VALUE}, 6, {}, {kValueLine, kNoFileLine}},
    {"Private", kDataHandle, {CKA_PRIVATE}, 18, {}, {kPrivateLine}},
    {"Label", kDataHandle, {CKA_LABEL}, 18, {}, {kInvalidLine}},
    {"LabelThenChange",
     kPrivateKeyHandle,
     {CKA_LABEL, CKA_SECONDARY_AUTH},
     0x54,
     {"ChangePin 0"},
     {kInvalidLine, kChangeLine}},
    {"ChangeThenPrivate",
     kPrivateKeyHandle,
     {CKA_SECONDARY_AUTH, CKA_PRIVATE},
     18,
     {"ChangePin 0"},
     {kChangeLine, kPrivateLine}},
    {"ValueThenPrivate",
     kDataHandle,
     {CKA_VALUE, CKA_PRIVATE},
     18,
     {},
     {kValueLine, kNoFileLine, kPrivateLine}},
    {"UnblockThenChange",
     kPrivateKeyHandle,
     {CKA_AUTH_PIN_FLAGS, CKA_SECONDARY_AUTH},
     0x54,
     {"UnblockPin 0", "ChangePin 0"},
     {kUnblockLine, kChangeLine}},
};

class SetAttributeValueTest : public TokenOperationsTest, public testing::WithParamInterface<UpdateCase>
{};

} // namespace

TEST_P(SetAttributeValueTest, LetsTheLastEntryDecide)
{
    // A result that no other step makes.
    m_Token.ChangePinResult = CKR_FUNCTION_NOT_SUPPORTED;

    EXPECT_EQ(Set(GetParam().handle, GetParam().types), GetParam().rv);

    EXPECT_EQ(m_Token.Calls, GetParam().calls);
    EXPECT_EQ(CapturedLog::Lines(), GetParam().log);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

INSTANTIATE_TEST_SUITE_P(All, SetAttributeValueTest, testing::ValuesIn(kUpdates),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

// Updates of a file.

namespace
{

class WriteAttributeTest : public TokenOperationsTest
{
protected:
    WriteAttributeTest()
    {
        m_File = MakeFreeFile(m_Token, 2);
        m_File->SetWriteAccess(eAccessAlways);
    }
    unsigned long Write(unsigned long objectClass, std::vector<CK_ATTRIBUTE> attributes)
    {
        return m_Token.SetAttributeValueWriteAttribute(m_File, objectClass, attributes.data(),
                                                       attributes.size(), AppInfobox);
    }
    void ExpectWrite()
    {
        m_Reader.Expect(kSelectDf, "9000").Expect(kSelectEf, "9000").Expect("00D60000 02 ABCD", "9000");
    }

    std::shared_ptr<CardFile> m_File;
};

} // namespace

TEST_F(WriteAttributeTest, AValueIsWrittenAfterTheLastEntry)
{
    ExpectWrite();

    EXPECT_EQ(Write(CKO_DATA, {{CKA_VALUE, m_Value, 2}, {CKA_SECONDARY_AUTH, nullptr, 0}}), 0U);

    EXPECT_EQ(CapturedLog::Lines(), (Lines{kValueLine, kChangeLine, "MESSAGE writing to cardobject"}));
    EXPECT_EQ(m_Token.Calls, Lines{"ChangePin 2"});
}

TEST_F(WriteAttributeTest, ACertificateMayBeWritten)
{
    ExpectWrite();

    EXPECT_EQ(Write(CKO_CERTIFICATE, {{CKA_VALUE, m_Value, 2}}), 0U);
}

TEST_F(WriteAttributeTest, TheResultOfALaterEntryStandsBesideTheWrite)
{
    ExpectWrite();

    EXPECT_EQ(Write(CKO_DATA, {{CKA_VALUE, m_Value, 2}, {CKA_LABEL, nullptr, 0}}), 18U);
}

TEST_F(WriteAttributeTest, AValueAfterAFailedEntryIsASuccess)
{
    ExpectWrite();

    EXPECT_EQ(Write(CKO_DATA, {{CKA_LABEL, nullptr, 0}, {CKA_VALUE, m_Value, 2}}), 0U);
}

TEST_F(WriteAttributeTest, AValueOfAKeyIsRefusedButWritten)
{
    ExpectWrite();

    EXPECT_EQ(Write(CKO_PRIVATE_KEY, {{CKA_VALUE, m_Value, 2}}), 7U);

    EXPECT_EQ(CapturedLog::Lines(), (Lines{kValueLine, "ERROR invalid card file type should be cert or data",
                                           "MESSAGE writing to cardobject"}));
}

TEST_F(WriteAttributeTest, ARefusedUpdateFailsAndIsWrittenAllTheSame)
{
    m_File->SetWriteAccess(eAccessNever);
    // The file goes out filled up to its size, and the card has the last word.
    m_Reader.Expect("00D60000 02 0000", "9000");

    EXPECT_EQ(Write(CKO_DATA, {{CKA_VALUE, m_Value, 2}}), 6U);
}

TEST_F(WriteAttributeTest, ARefusedUpdateOfAKeyFailsAsAnUpdate)
{
    m_File->SetWriteAccess(eAccessNever);
    m_Reader.Expect("00D60000 02 0000", "9000");

    EXPECT_EQ(Write(CKO_PRIVATE_KEY, {{CKA_VALUE, m_Value, 2}}), 6U);
}

TEST_F(WriteAttributeTest, AFailedWriteFails)
{
    m_Reader.Expect(kSelectDf, "9000").Expect(kSelectEf, "9000").Expect("00D60000 02 ABCD", "6982");

    EXPECT_EQ(Write(CKO_DATA, {{CKA_VALUE, m_Value, 2}}), 6U);

    EXPECT_EQ(CapturedLog::Lines().back(), "MESSAGE error writing file");
}

TEST_F(WriteAttributeTest, WithoutAValueNothingIsWritten)
{
    EXPECT_EQ(Write(CKO_DATA, {{CKA_LABEL, nullptr, 0}}), 18U);

    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(WriteAttributeTest, AnEmptyTemplateEmptiesTheCacheAlone)
{
    ExpectFirstRead(m_Reader, FromHex("ABCD"));
    Norvik::ByteArray content;
    m_File->Read(content, true);

    EXPECT_EQ(Write(CKO_DATA, {}), 0U);

    m_Reader.Expect(kSelectEf, "9000");
    ExpectReadBinary(m_Reader, FromHex("ABCD"));
    content.clear();
    EXPECT_TRUE(m_File->Read(content, true)) << "from the card again";
}
