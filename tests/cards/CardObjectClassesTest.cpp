#include "cards/CardObjectCert.h"
#include "cards/CardObjectData.h"
#include "cards/CardObjectPrivateKeyECDSA.h"
#include "cards/CardObjectPrivateKeyRSA.h"
#include "cards/CardObjectPublicKeyECDSA.h"
#include "cards/CardObjectPublicKeyRSA.h"

#include "tests/cards/TokenTestSupport.h"
#include "tests/support/ScopedEnvironment.h"

#include <ctime>
#include <functional>
#include <string_view>

#include <gtest/gtest.h>

namespace
{

// What an attribute of a new object may be, apart from a value.
constexpr std::string_view kAbsent = "-";
constexpr std::string_view kEmpty = "empty";
constexpr std::string_view kLoaded = "loaded";

constexpr const char* kNo = "00";
constexpr const char* kYes = "01";
constexpr const char* kNumber0 = "0000000000000000";
constexpr const char* kNumber1 = "0100000000000000";
constexpr const char* kNumber2 = "0200000000000000";
constexpr const char* kNumber3 = "0300000000000000";
constexpr const char* kLabel = "6C6162656C";               // label
constexpr const char* kEkeyLabel = "534B2E43482E454B4559"; // SK.CH.EKEY
constexpr const char* kId = "6964";                        // id

struct ExpectedAttribute
{
    unsigned long type;
    std::string_view value;
};

// The four key classes side by side.
struct ExpectedKeyAttribute
{
    unsigned long type;
    std::string_view publicRsa;
    std::string_view publicEcdsa;
    std::string_view privateRsa;
    std::string_view privateEcdsa;
};

constexpr ExpectedAttribute kCertificate[] = {
    {CKA_CLASS, kNumber1},
    {CKA_TOKEN, kYes},
    {CKA_PRIVATE, kNo},
    {CKA_MODIFIABLE, kNo},
    {CKA_LABEL, kLabel},
    {CKA_CERTIFICATE_TYPE, kNumber0},
    {CKA_TRUSTED, kYes},
    {CKA_CERTIFICATE_CATEGORY, kNumber1},
    {CKA_CHECK_VALUE, kEmpty},
    {CKA_START_DATE, kLoaded},
    {CKA_END_DATE, kLoaded},
    {CKA_SUBJECT, kLoaded},
    {CKA_ISSUER, kLoaded},
    {CKA_ID, kId},
    {CKA_SERIAL_NUMBER, kLoaded},
    {CKA_VALUE, kLoaded},
    {CKA_HASH_OF_SUBJECT_PUBLIC_KEY, kEmpty},
    {CKA_HASH_OF_ISSUER_PUBLIC_KEY, kEmpty},
    {CKA_URL, kAbsent},
    {CKA_KEY_TYPE, kAbsent},
};

constexpr ExpectedAttribute kData[] = {
    {CKA_CLASS, kNumber0},   {CKA_TOKEN, kYes},    {CKA_PRIVATE, kNo},
    {CKA_MODIFIABLE, kYes},  {CKA_LABEL, kLabel},  {CKA_APPLICATION, kEmpty},
    {CKA_OBJECT_ID, kEmpty}, {CKA_VALUE, kLoaded}, {CKA_ID, kAbsent},
};

constexpr ExpectedKeyAttribute kKeys[] = {
    {CKA_CLASS, kNumber2, kNumber2, kNumber3, kNumber3},
    {CKA_TOKEN, kYes, kYes, kYes, kYes},
    {CKA_PRIVATE, kNo, kNo, kYes, kYes},
    {CKA_MODIFIABLE, kNo, kNo, kNo, kNo},
    {CKA_LABEL, kLabel, kLabel, kEkeyLabel, kLabel},
    {CKA_ID, kId, kId, kId, kId},
    {CKA_KEY_TYPE, kNumber0, kNumber3, kNumber0, kNumber3},
    {CKA_DERIVE, kYes, kNo, kYes, kNo},
    {CKA_LOCAL, kYes, kNo, kYes, kNo},
    {CKA_START_DATE, kEmpty, kEmpty, kEmpty, kEmpty},
    {CKA_END_DATE, kEmpty, kEmpty, kEmpty, kEmpty},
    {CKA_SUBJECT, kEmpty, kEmpty, kEmpty, kEmpty},
    {CKA_KEY_GEN_MECHANISM, kEmpty, kEmpty, kEmpty, kEmpty},
    {CKA_ALLOWED_MECHANISMS, kEmpty, kEmpty, kEmpty, kEmpty},
    {CKA_VERIFY, kNo, kNo, kAbsent, kAbsent},
    {CKA_VERIFY_RECOVER, kNo, kNo, kAbsent, kAbsent},
    {CKA_WRAP, kNo, kNo, kAbsent, kAbsent},
    {CKA_TRUSTED, kYes, kYes, kAbsent, kAbsent},
    {CKA_ENCRYPT, kYes, kNo, kAbsent, kAbsent},
    {CKA_MODULUS, kLoaded, kAbsent, kLoaded, kAbsent},
    {CKA_MODULUS_BITS, kLoaded, kAbsent, kAbsent, kAbsent},
    {CKA_PUBLIC_EXPONENT, kLoaded, kAbsent, kAbsent, kAbsent},
    {CKA_PRIVATE_EXPONENT, kAbsent, kAbsent, kEmpty, kAbsent},
    {CKA_EC_PARAMS, kAbsent, kEmpty, kAbsent, kAbsent},
    {CKA_EC_POINT, kAbsent, kEmpty, kAbsent, kAbsent},
    {CKA_SENSITIVE, kAbsent, kAbsent, kYes, kYes},
    {CKA_SECONDARY_AUTH, kAbsent, kAbsent, kNo, kNo},
    {CKA_AUTH_PIN_FLAGS, kAbsent, kAbsent, kEmpty, kEmpty},
    {CKA_UNWRAP_TEMPLATE, kAbsent, kAbsent, kEmpty, kEmpty},
    {CKA_SIGN_RECOVER, kAbsent, kAbsent, kNo, kNo},
    {CKA_EXTRACTABLE, kAbsent, kAbsent, kNo, kNo},
    {CKA_WRAP_WITH_TRUSTED, kAbsent, kAbsent, kNo, kNo},
    {CKA_ALWAYS_AUTHENTICATE, kAbsent, kAbsent, kNo, kNo},
    {CKA_UNWRAP, kAbsent, kAbsent, kYes, kYes},
    {CKA_ALWAYS_SENSITIVE, kAbsent, kAbsent, kYes, kYes},
    {CKA_NEVER_EXTRACTABLE, kAbsent, kAbsent, kYes, kYes},
    {CKA_DECRYPT, kAbsent, kAbsent, kYes, kNo},
    {CKA_SIGN, kAbsent, kAbsent, kYes, kNo},
    {CKA_VALUE, kAbsent, kAbsent, kAbsent, kAbsent},
};

std::vector<ExpectedAttribute> Column(std::string_view ExpectedKeyAttribute::*column)
{
    std::vector<ExpectedAttribute> rows;
    for (const ExpectedKeyAttribute& row : kKeys)
    {
        rows.push_back({row.type, row.*column});
    }
    return rows;
}

struct ClassCase
{
    const char* name;
    std::function<std::unique_ptr<CardObject>(CardFile&)> make;
    std::vector<ExpectedAttribute> rows;
};

template <typename Class>
std::unique_ptr<CardObject> MakeObject(CardFile& file)
{
    return std::make_unique<Class>("label", "id", file, AppSignature);
}

std::unique_ptr<CardObject> MakeData(CardFile& file)
{
    return std::make_unique<CardObjectData>("label", file, AppInfobox);
}

std::vector<ClassCase> ClassCases()
{
    return {
        {"Certificate", &MakeObject<CardObjectCert>, {std::begin(kCertificate), std::end(kCertificate)}},
        {"Data", &MakeData, {std::begin(kData), std::end(kData)}},
        {"PublicKeyRSA", &MakeObject<CardObjectPublicKeyRSA>, Column(&ExpectedKeyAttribute::publicRsa)},
        {"PublicKeyECDSA", &MakeObject<CardObjectPublicKeyECDSA>, Column(&ExpectedKeyAttribute::publicEcdsa)},
        {"PrivateKeyRSA", &MakeObject<CardObjectPrivateKeyRSA>, Column(&ExpectedKeyAttribute::privateRsa)},
        {"PrivateKeyECDSA", &MakeObject<CardObjectPrivateKeyECDSA>,
         Column(&ExpectedKeyAttribute::privateEcdsa)},
    };
}

std::string Describe(CardObject& object, unsigned long type)
{
    const auto attribute = object.GetAttribute(type);
    if (!attribute)
    {
        return "null";
    }
    return attribute->GetLength() == 0 ? "length 0" : ToHex(attribute->GetBytes());
}

class ObjectAttributesTest : public testing::TestWithParam<ClassCase>
{
protected:
    TestToken m_Token;
    // Nobody may read it, so loading fails.
    CardFile m_File{&m_Token, "unreadable"};
};

} // namespace

TEST_P(ObjectAttributesTest, StartWithTheValuesOfTheClass)
{
    const std::unique_ptr<CardObject> object = GetParam().make(m_File);

    for (const ExpectedAttribute& row : GetParam().rows)
    {
        std::string expected(row.value);
        if (row.value == kAbsent || row.value == kEmpty)
        {
            expected = "null";
        }
        else if (row.value == kLoaded)
        {
            expected = "length 0";
        }
        EXPECT_EQ(Describe(*object, row.type), expected) << std::hex << "attribute 0x" << row.type;
    }
}

TEST_P(ObjectAttributesTest, AreNoMoreThanThoseOfTheClass)
{
    const std::unique_ptr<CardObject> object = GetParam().make(m_File);
    const auto count = std::count_if(GetParam().rows.begin(), GetParam().rows.end(),
                                     [](const ExpectedAttribute& row) { return row.value != kAbsent; });
    const CapturedLog log{kCardLog};

    object->LogInfo();

    EXPECT_EQ(CapturedLog::Lines(),
              std::vector<std::string>{"MESSAGE CardObject: label   attribute count: " +
                                       std::to_string(count) + "   mechanism count: 0"});
}

TEST_P(ObjectAttributesTest, ConstantsNeedNoFetchingAndMayNotBeUpdated)
{
    const std::unique_ptr<CardObject> object = GetParam().make(m_File);

    for (const ExpectedAttribute& row : GetParam().rows)
    {
        const auto attribute = object->GetAttribute(row.type);
        if (attribute)
        {
            EXPECT_EQ(attribute->CallCardObjectForData(), row.value == kLoaded) << row.type;
            EXPECT_EQ(attribute->UpdateAllowed(), row.type == CKA_VALUE) << row.type;
        }
    }
}

INSTANTIATE_TEST_SUITE_P(All, ObjectAttributesTest, testing::ValuesIn(ClassCases()),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

namespace
{

/** An object behind a file that the script answers for. */
class LoadedAttributesTest : public testing::Test
{
protected:
    LoadedAttributesTest() { tzset(); }

    // Validity is read as local time.
    ScopedEnvironment m_TimeZone{"TZ", "UTC"};
    ScriptedCardReader m_Reader;
    TestToken m_Token{&m_Reader};
    const Norvik::ByteArray m_RsaCertificate = Fixture("rsa1536-certificate.der");
    const Norvik::ByteArray m_EcCertificate = Fixture("p192-certificate.der");
    std::shared_ptr<CardFile> m_File = MakeFreeFile(m_Token, m_RsaCertificate.size());
    CardObjectCert m_Certificate{"C.CH.EKEY", "id", *m_File, AppEncryption};
    CardObjectPublicKeyRSA m_PublicKey{"PK.CH.EKEY", "id", *m_File, AppEncryption};
    CardObjectPrivateKeyRSA m_PrivateKey{"SK.CH.EKEY", "id", *m_File, AppEncryption};
};

} // namespace

TEST_F(LoadedAttributesTest, OneReadFillsAllSixOfACertificate)
{
    ExpectFirstRead(m_Reader, m_RsaCertificate);

    EXPECT_EQ(Describe(m_Certificate, CKA_SUBJECT),
              "3026"
              "310B3009060355040613024154"                       // C=AT
              "3117301506035504030C0E4572696B612042656973706965" // CN=Erika Beispiel
              "6C");
    EXPECT_TRUE(m_Reader.Done());
    const std::size_t calls = m_Reader.Calls.size();
    EXPECT_EQ(Describe(m_Certificate, CKA_ISSUER),
              "3029"
              "310B3009060355040613024154"                                 // C=AT
              "311A301806035504030C114D6164652D757020417574686F72697479"); // CN=Made-up Authority
    EXPECT_EQ(Describe(m_Certificate, CKA_SERIAL_NUMBER), "0A1B2C3D");
    EXPECT_EQ(Text(m_Certificate.GetAttribute(CKA_START_DATE)->GetBytes()), "20240301");
    EXPECT_EQ(Text(m_Certificate.GetAttribute(CKA_END_DATE)->GetBytes()), "20290228");
    EXPECT_EQ(m_Certificate.GetAttribute(CKA_VALUE)->GetBytes(), m_RsaCertificate);
    EXPECT_EQ(m_Reader.Calls.size(), calls) << "a filled attribute is not read again";
}

TEST_F(LoadedAttributesTest, TheKeysOfACertificateUseItsCachedFile)
{
    ExpectFirstRead(m_Reader, m_RsaCertificate);
    m_Certificate.GetAttribute(CKA_VALUE);
    const std::size_t calls = m_Reader.Calls.size();

    EXPECT_EQ(Describe(m_PublicKey, CKA_PUBLIC_EXPONENT), "010001");
    EXPECT_NE(Describe(m_PrivateKey, CKA_MODULUS), "length 0");
    EXPECT_EQ(m_Reader.Calls.size(), calls);
}

TEST_F(LoadedAttributesTest, ModulusBitsOfA1536BitKeyReads192)
{
    ExpectFirstRead(m_Reader, m_RsaCertificate);

    EXPECT_EQ(Describe(m_PublicKey, CKA_MODULUS_BITS), "C000000000000000");
}

TEST_F(LoadedAttributesTest, PublicKeyHoldsTheNumbersOfTheCertificate)
{
    ExpectFirstRead(m_Reader, m_RsaCertificate);
    const std::string modulus = Text(Fixture("rsa1536-modulus.txt")).substr(0, 384);

    EXPECT_EQ(Describe(m_PublicKey, CKA_MODULUS), modulus);
    EXPECT_EQ(Describe(m_PublicKey, CKA_PUBLIC_EXPONENT), "010001");
}

TEST_F(LoadedAttributesTest, PrivateKeyHoldsTheModulusAlone)
{
    ExpectFirstRead(m_Reader, m_RsaCertificate);
    const std::string modulus = Text(Fixture("rsa1536-modulus.txt")).substr(0, 384);

    EXPECT_EQ(Describe(m_PrivateKey, CKA_MODULUS), modulus);
    EXPECT_EQ(Describe(m_PrivateKey, CKA_PRIVATE_EXPONENT), "null");
}

TEST_F(LoadedAttributesTest, ACertificateWithoutRsaKeyLeavesTheNumbersEmpty)
{
    m_File->SetFileSize(m_EcCertificate.size());
    ExpectFirstRead(m_Reader, m_EcCertificate);

    EXPECT_TRUE(m_PublicKey.loadPubKeyAttributes());
    EXPECT_TRUE(m_PrivateKey.loadPrivKeyAttributes());
    EXPECT_EQ(Describe(m_PublicKey, CKA_MODULUS), "length 0");
    EXPECT_EQ(Describe(m_PublicKey, CKA_PUBLIC_EXPONENT), "length 0");
    EXPECT_EQ(Describe(m_PublicKey, CKA_MODULUS_BITS), "length 0");
    EXPECT_EQ(Describe(m_PrivateKey, CKA_MODULUS), "length 0");
}

TEST_F(LoadedAttributesTest, AFailedReadIsTriedAgainByTheNextRequest)
{
    m_Reader.ExpectFailing(kSelectDf);
    EXPECT_EQ(Describe(m_Certificate, CKA_SUBJECT), "length 0");

    m_Reader.ExpectFailing(kSelectDf);
    EXPECT_EQ(Describe(m_Certificate, CKA_SUBJECT), "length 0");

    ExpectFirstRead(m_Reader, m_RsaCertificate);
    EXPECT_NE(Describe(m_Certificate, CKA_SUBJECT), "length 0");
}

TEST_F(LoadedAttributesTest, AnUnreadableFileIsNoFailureOfTheLoaders)
{
    for (int i = 0; i < 3; ++i)
    {
        m_Reader.ExpectFailing(kSelectDf);
    }

    EXPECT_TRUE(m_Certificate.loadCertAttributes());
    EXPECT_TRUE(m_PublicKey.loadPubKeyAttributes());
    EXPECT_TRUE(m_PrivateKey.loadPrivKeyAttributes());
}

TEST_F(LoadedAttributesTest, AFileThatIsNoCertificateFailsTheLoadersAndFillsNothing)
{
    m_File->SetFileSize(3);
    ExpectFirstRead(m_Reader, FromHex("300100"));

    EXPECT_FALSE(m_Certificate.loadCertAttributes());
    EXPECT_FALSE(m_PublicKey.loadPubKeyAttributes());
    EXPECT_FALSE(m_PrivateKey.loadPrivKeyAttributes());
    EXPECT_EQ(Describe(m_Certificate, CKA_VALUE), "length 0");
    EXPECT_EQ(Describe(m_PublicKey, CKA_MODULUS), "length 0");
    EXPECT_EQ(Describe(m_PrivateKey, CKA_MODULUS), "length 0");
}

TEST_F(LoadedAttributesTest, AnEmptyCheckValueIsNullAndReadsNothing)
{
    EXPECT_EQ(Describe(m_Certificate, CKA_CHECK_VALUE), "null");
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(LoadedAttributesTest, EcPointReadsNothing)
{
    CardObjectPublicKeyECDSA key("PK.CH.SIG", "id", *m_File, AppSignature);

    EXPECT_EQ(Describe(key, CKA_EC_POINT), "null");
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(LoadedAttributesTest, MatchingOnALoadedAttributeReadsTheCard)
{
    ExpectFirstRead(m_Reader, m_RsaCertificate);
    Norvik::ByteArray value = m_RsaCertificate;
    CK_ATTRIBUTE wanted = {CKA_VALUE, value.data(), value.size()};

    EXPECT_TRUE(m_Certificate.Match(&wanted, 1));
    EXPECT_TRUE(m_Reader.Done());
}

TEST_F(LoadedAttributesTest, AnEntryOfLengthZeroMatchesWhatStayedEmptyAfterLoading)
{
    m_Reader.ExpectFailing(kSelectDf);
    CK_ATTRIBUTE wanted = {CKA_SUBJECT, nullptr, 0};

    EXPECT_TRUE(m_Certificate.Match(&wanted, 1));
}

TEST_F(LoadedAttributesTest, DataTakesTheContentOfItsFile)
{
    CardObjectData data("PERSONENBINDUNG", *m_File, AppInfobox);
    m_File->SetFileSize(4);
    ExpectFirstRead(m_Reader, Bytes("data"));

    EXPECT_EQ(Text(data.GetAttribute(CKA_VALUE)->GetBytes()), "data");
    EXPECT_EQ(data.GetApp(), AppInfobox);
}

TEST_F(LoadedAttributesTest, AReadThatFailsHalfWayFillsNothing)
{
    CardObjectData data("PERSONENBINDUNG", *m_File, AppInfobox);
    m_File->SetFileSize(256);
    m_Reader.Expect(kSelectDf, "9000")
        .Expect(kSelectEf, "9000")
        .Expect("00B00000FF", std::string(510, 'A') + "9000")
        .Expect("00B000FF01", "6B00");

    EXPECT_EQ(Describe(data, CKA_VALUE), "length 0");
}

TEST_F(LoadedAttributesTest, DataBehindAPinStartsThePinFlow)
{
    CardObjectData data("PERSONENBINDUNG", *m_File, AppInfobox);
    m_File->SetReadAccess(eAccessPinInfobox);
    m_File->SetFileSize(4);
    m_Reader.Expect(kSelectEf, "9000").Expect("00B0000004", "64617461 9000");

    EXPECT_EQ(Text(data.GetAttribute(CKA_VALUE)->GetBytes()), "data");
    EXPECT_EQ(m_Token.Calls, std::vector<std::string>{"AuthenticatePin 2"});
}

TEST_F(LoadedAttributesTest, DataBehindARefusedPinIsEmptyAndAskedForAgain)
{
    CardObjectData data("PERSONENBINDUNG", *m_File, AppInfobox);
    m_File->SetReadAccess(eAccessPinInfobox);
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_INCORRECT;
    };

    EXPECT_EQ(Describe(data, CKA_VALUE), "length 0");
    EXPECT_EQ(Describe(data, CKA_VALUE), "length 0");
    EXPECT_EQ(m_Token.Calls, (std::vector<std::string>{"AuthenticatePin 2", "AuthenticatePin 2"}));
}
