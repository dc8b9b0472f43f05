#include "tests/cards/TokenTestSupport.h"

#include <gtest/gtest.h>

namespace
{

/** A token with its three files, and the object table built. */
class ObjectMapTest : public testing::Test
{
protected:
    ObjectMapTest()
    {
        m_Token.encCertFile = MakeFreeFile(m_Token, 10);
        m_Token.sigCertFile = MakeFreeFile(m_Token, 10);
        m_Token.infoboxFile = MakeFreeFile(m_Token, 10);
    }

    std::string TextOf(unsigned long handle, unsigned long type)
    {
        const auto attribute = m_Token.GetCardObject(handle)->GetAttribute(type);
        return attribute ? Text(attribute->GetBytes()) : "null";
    }
    std::string HexOf(unsigned long handle, unsigned long type)
    {
        const auto attribute = m_Token.GetCardObject(handle)->GetAttribute(type);
        return attribute ? ToHex(attribute->GetBytes()) : "null";
    }

    TestToken m_Token;
    CapturedLog m_Log{kTokenLog};
};

struct ObjectRow
{
    unsigned long handle;
    const char* objectClass;
    const char* label;
    const char* id;
    const char* keyType;
    SmartCardApplication storedApplication;
    SmartCardApplication application;
};

constexpr ObjectRow kRsaTable[] = {
    {1000, "0100000000000000", "C.CH.EKEY", "ckaid_92841569256EKEY", "null", AppEncryption, AppEncryption},
    {1001, "0200000000000000", "PK.CH.EKEY", "ckaid_92841569256EKEY", "0000000000000000", AppEncryption,
     AppEncryption},
    {1002, "0300000000000000", "SK.CH.EKEY", "ckaid_92841569256EKEY", "0000000000000000", AppEncryption,
     AppEncryption},
    {1003, "0100000000000000", "C.CH.SIG", "ckaid_t8090726489SIG", "null", AppSignature, AppSignature},
    {1004, "0200000000000000", "PK.CH.SIG", "ckaid_t8090726489SIG", "0300000000000000", AppSignature,
     AppSignature},
    {1005, "0300000000000000", "SK.CH.SIG", "ckaid_t8090726489SIG", "0300000000000000", AppSignature,
     AppSignature},
    {1006, "0000000000000000", "PERSONENBINDUNG", "null", "null", AppInfobox, AppInfobox},
};

} // namespace

TEST_F(ObjectMapTest, AFullTokenHasSevenObjectsInTheirOrder)
{
    EXPECT_EQ(m_Token.GetObjectMap().size(), 7U);

    for (const ObjectRow& row : kRsaTable)
    {
        EXPECT_EQ(HexOf(row.handle, CKA_CLASS), row.objectClass) << row.handle;
        EXPECT_EQ(TextOf(row.handle, CKA_LABEL), row.label) << row.handle;
        EXPECT_EQ(TextOf(row.handle, CKA_ID), row.id) << row.handle;
        EXPECT_EQ(HexOf(row.handle, CKA_KEY_TYPE), row.keyType) << row.handle;
        EXPECT_EQ(m_Token.GetCardObject(row.handle)->GetApp(), row.storedApplication) << row.handle;
        EXPECT_EQ(m_Token.ApplicationForCardObject(row.handle), row.application) << row.handle;
    }
}

TEST_F(ObjectMapTest, TheIndexMembersPointIntoTheTable)
{
    m_Token.GetObjectMap();

    EXPECT_EQ(m_Token.encCertIndex, 0);
    EXPECT_EQ(m_Token.encPublicIndex, 1);
    EXPECT_EQ(m_Token.encPrivateIndex, 2);
    EXPECT_EQ(m_Token.sigCertIndex, 3);
    EXPECT_EQ(m_Token.sigPublicIndex, 4);
    EXPECT_EQ(m_Token.sigPrivateIndex, 5);
    EXPECT_EQ(m_Token.infoboxIndex, 6);
}

TEST_F(ObjectMapTest, AnEcdsaEncryptionKeyBearsTheSignatureApplication)
{
    m_Token.EncryptionKeyType = KeyTypeECDSA;
    m_Token.GetObjectMap();

    for (const unsigned long handle : {1001UL, 1002UL})
    {
        EXPECT_EQ(HexOf(handle, CKA_KEY_TYPE), "0300000000000000");
        EXPECT_EQ(m_Token.GetCardObject(handle)->GetApp(), AppSignature);
        EXPECT_EQ(m_Token.ApplicationForCardObject(handle), AppEncryption) << "the position decides";
    }
    EXPECT_EQ(TextOf(1002, CKA_LABEL), "SK.CH.EKEY");
}

TEST_F(ObjectMapTest, ATokenWithoutInfoboxFileHasSixObjects)
{
    m_Token.infoboxFile.reset();

    EXPECT_EQ(m_Token.GetObjectMap().size(), 6U);
    EXPECT_EQ(m_Token.infoboxIndex, -1);
}

TEST_F(ObjectMapTest, ATokenWithoutCertificateFilesHasTheDataObjectAlone)
{
    m_Token.encCertFile.reset();
    m_Token.sigCertFile.reset();

    EXPECT_EQ(m_Token.GetObjectMap().size(), 1U);
    EXPECT_EQ(m_Token.encCertIndex, -1);
    EXPECT_EQ(m_Token.encPublicIndex, -1);
    EXPECT_EQ(m_Token.encPrivateIndex, -1);
    EXPECT_EQ(m_Token.sigCertIndex, -1);
    EXPECT_EQ(m_Token.sigPublicIndex, -1);
    EXPECT_EQ(m_Token.sigPrivateIndex, -1);
    EXPECT_EQ(m_Token.infoboxIndex, 0);
    EXPECT_EQ(m_Token.ApplicationForCardObject(1000), AppInfobox);
}

TEST_F(ObjectMapTest, OnlyTheRequestedPartsAreMade)
{
    m_Token.InitObjectMapCommons(false, true, false, KeyTypeRSA);

    EXPECT_EQ(m_Token.objects.size(), 3U);
    EXPECT_EQ(m_Token.sigCertIndex, 0);
    EXPECT_EQ(m_Token.encCertIndex, -1);
    EXPECT_EQ(m_Token.infoboxIndex, -1);
}

TEST_F(ObjectMapTest, CertificatesAndDataHaveNoMechanisms)
{
    m_Token.GetObjectMap();
    CK_MECHANISM mechanism{CKM_RSA_PKCS, nullptr, 0};

    EXPECT_FALSE(m_Token.GetCardObject(1000)->CheckMechanism(&mechanism));
    EXPECT_FALSE(m_Token.GetCardObject(1003)->CheckMechanism(&mechanism));
    EXPECT_FALSE(m_Token.GetCardObject(1006)->CheckMechanism(&mechanism));
}

TEST_F(ObjectMapTest, ACreatorWithoutFileMakesNothingAndIsSilent)
{
    EXPECT_EQ(m_Token.CreateCertObject("label", "id", nullptr, AppEncryption), -1);
    EXPECT_EQ(m_Token.CreatePublicKey("label", static_cast<KeyType>(7), "id", nullptr), -1);
    EXPECT_EQ(m_Token.CreatePrivateKey("label", static_cast<KeyType>(7), "id", nullptr), -1);
    EXPECT_TRUE(m_Token.objects.empty());
    EXPECT_TRUE(CapturedLog::Lines().empty());
}

TEST_F(ObjectMapTest, ACreatorWithAnUnknownKeyTypeMakesNothing)
{
    EXPECT_EQ(m_Token.CreatePublicKey("label", static_cast<KeyType>(2), "id", m_Token.encCertFile.get()), -1);
    EXPECT_EQ(m_Token.CreatePrivateKey("label", static_cast<KeyType>(2), "id", m_Token.encCertFile.get()),
              -1);
    EXPECT_TRUE(m_Token.objects.empty());
    EXPECT_EQ(CapturedLog::Lines(),
              (std::vector<std::string>{"MESSAGE invalid keytype in CreatePublicKey",
                                        "MESSAGE invalid keytype in CreatePrivateKey"}));
}

TEST_F(ObjectMapTest, ACreatorGivesTheIndexOfItsObject)
{
    EXPECT_EQ(m_Token.CreatePublicKey("PK", KeyTypeRSA, "id", m_Token.encCertFile.get()), 0);
    EXPECT_EQ(m_Token.CreatePrivateKey("SK", KeyTypeECDSA, "id", m_Token.encCertFile.get()), 1);
    EXPECT_EQ(m_Token.CreateCertObject("C", "id", m_Token.encCertFile.get(), AppSignature), 2);
    EXPECT_EQ(m_Token.objects[2]->GetApp(), AppSignature);
}

TEST_F(ObjectMapTest, AnRsaPrivateKeyShowsItsOwnLabelWhateverItIsMadeWith)
{
    m_Token.CreatePrivateKey("SK.OTHER", KeyTypeRSA, "id", m_Token.encCertFile.get());

    EXPECT_EQ(TextOf(1000, CKA_LABEL), "SK.CH.EKEY");
}

namespace
{

struct HandleCase
{
    const char* name;
    unsigned long handle;
    const char* line;
};

constexpr HandleCase kBadHandles[] = {
    {"BelowTheBase", 999,
     "ERROR Invalid handle passed to iCardToken::GetCardObject  objectID:999, index:-1, #objects:7"},
    {"BehindTheTable", 1007,
     "ERROR Invalid handle passed to iCardToken::GetCardObject  objectID:1007, index:7, #objects:7"},
    {"Zero", 0,
     "ERROR Invalid handle passed to iCardToken::GetCardObject  objectID:0, index:-1000, #objects:7"},
    {"AllOnes", 0xFFFFFFFFFFFFFFFFUL,
     "ERROR Invalid handle passed to iCardToken::GetCardObject  objectID:18446744073709551615, index:-1001, "
     "#objects:7"},
    {"TheSmallestIndex", 1000 + 0x80000000UL,
     "ERROR Invalid handle passed to iCardToken::GetCardObject  objectID:2147484648, index:-2147483648, "
     "#objects:7"},
};

class BadHandleTest : public ObjectMapTest, public testing::WithParamInterface<HandleCase>
{};

} // namespace

TEST_P(BadHandleTest, HasNoObjectAndNoApplication)
{
    m_Token.GetObjectMap();
    CapturedLog::Lines().clear();

    EXPECT_EQ(m_Token.GetCardObject(GetParam().handle), nullptr);
    EXPECT_EQ(m_Token.ApplicationForCardObject(GetParam().handle), AppInvalid);
    EXPECT_EQ(CapturedLog::Lines(),
              (std::vector<std::string>{
                  GetParam().line, "MESSAGE invalid handle passed to iCardToken::ApplicationForCardObject"}));
}

INSTANTIATE_TEST_SUITE_P(All, BadHandleTest, testing::ValuesIn(kBadHandles),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(ObjectMapTest, OnlyTheLow32BitsOfAHandleCount)
{
    m_Token.GetObjectMap();

    EXPECT_EQ(m_Token.GetCardObject(1000 + (1UL << 32)), m_Token.objects[0]);
    EXPECT_EQ(m_Token.ApplicationForCardObject(1006 + (1UL << 32)), AppInfobox);
}

TEST_F(ObjectMapTest, EveryHandleIsInvalidBeforeTheTableIsBuilt)
{
    EXPECT_EQ(m_Token.GetCardObject(1000), nullptr);
    EXPECT_EQ(
        CapturedLog::Lines(),
        std::vector<std::string>{"ERROR Invalid handle passed to iCardToken::GetCardObject  objectID:1000, "
                                 "index:0, #objects:0"});
}

TEST_F(ObjectMapTest, AnObjectThatNoMemberNamesHasNoApplication)
{
    m_Token.CreateCertObject("label", "id", m_Token.encCertFile.get(), AppEncryption);

    EXPECT_EQ(m_Token.ApplicationForCardObject(1000), AppInvalid);
    EXPECT_EQ(CapturedLog::Lines(),
              std::vector<std::string>{
                  "MESSAGE unknown application requested in iCardToken::ApplicationForCardObject"});
}

TEST_F(ObjectMapTest, TheTableIsBuiltOnce)
{
    CardObject* const first = m_Token.GetObjectMap()[0];

    EXPECT_EQ(m_Token.GetObjectMap().size(), 7U);
    EXPECT_EQ(m_Token.GetObjectMap()[0], first);
}
