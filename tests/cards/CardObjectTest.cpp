#include "cards/CardObject.h"

#include "tests/cards/TokenTestSupport.h"

#include <cstring>

#include <gtest/gtest.h>

namespace
{

/** An object that answers from its attributes alone. */
class PlainObject final : public CardObject
{
public:
    using CardObject::CardObject;

    std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) override
    {
        ++Requests;
        return FindAttribute(type);
    }

    int Requests = 0;
};

class CardObjectTest : public testing::Test
{
protected:
    CK_ATTRIBUTE Template(unsigned long type, const std::string& value)
    {
        m_Values.push_back(std::make_unique<std::string>(value));
        return {type, m_Values.back()->data(), m_Values.back()->size()};
    }

    TestToken m_Token;
    CardFile m_File{&m_Token, "file"};
    PlainObject m_Object{"PK.CH.SIG", m_File, AppSignature};
    CapturedLog m_Log{kCardLog};

private:
    std::vector<std::unique_ptr<std::string>> m_Values;
};

} // namespace

TEST_F(CardObjectTest, ANewObjectHasItsApplicationAndNothingElse)
{
    EXPECT_EQ(m_Object.GetApp(), AppSignature);
    EXPECT_TRUE(m_Object.GetMechanismList().empty());
    EXPECT_EQ(m_Object.GetAttribute(CKA_LABEL), nullptr);
}

TEST_F(CardObjectTest, TheLastValueOfATypeWins)
{
    EXPECT_TRUE(m_Object.AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("first")));
    EXPECT_TRUE(m_Object.AddAttribute(CKA_LABEL, std::make_unique<CardAttribute>("second").release()));

    EXPECT_EQ(Text(m_Object.GetAttribute(CKA_LABEL)->GetBytes()), "second");
}

TEST_F(CardObjectTest, AnyNumberOfTypesHasRoom)
{
    for (unsigned long type = 0; type < 300; ++type)
    {
        m_Object.AddAttribute(type, std::make_shared<CardAttribute>(type));
    }
    m_Object.AddAttribute(250, std::make_shared<CardAttribute>(1000UL));

    for (unsigned long type = 0; type < 300; ++type)
    {
        const auto attribute = m_Object.GetAttribute(type);
        ASSERT_NE(attribute, nullptr) << type;
        unsigned long value = 0;
        std::memcpy(&value, attribute->Bytes().data(), sizeof(value));
        EXPECT_EQ(value, type == 250 ? 1000UL : type);
    }
    EXPECT_EQ(m_Object.GetAttribute(300), nullptr);
}

TEST_F(CardObjectTest, AReplacedValueIsReleased)
{
    const auto first = std::make_shared<CardAttribute>("first");
    m_Object.AddAttribute(CKA_LABEL, first);

    m_Object.AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("second"));

    EXPECT_EQ(first.use_count(), 1);
}

TEST_F(CardObjectTest, AddMechanismKeepsOrderAndDuplicates)
{
    EXPECT_TRUE(m_Object.AddMechanism(CKM_ECDSA_SHA1));
    EXPECT_TRUE(m_Object.AddMechanism(CKM_ECDSA));
    EXPECT_TRUE(m_Object.AddMechanism(CKM_ECDSA_SHA1));

    EXPECT_EQ(m_Object.GetMechanismList(), (std::vector<unsigned long>{0x1042, 0x1041, 0x1042}));
}

TEST_F(CardObjectTest, CopyMechanismFromTwiceDoublesTheList)
{
    PlainObject other("SK.CH.SIG", m_File, AppSignature);
    other.AddMechanism(CKM_ECDSA);
    other.AddMechanism(CKM_ECDSA_SHA1);
    CK_MECHANISM ecdsaSha1{CKM_ECDSA_SHA1, nullptr, 0};
    CK_MECHANISM rsa{CKM_RSA_PKCS, nullptr, 0};

    m_Object.CopyMechanismFrom(&other);
    m_Object.CopyMechanismFrom(&other);

    EXPECT_EQ(m_Object.GetMechanismList(), (std::vector<unsigned long>{0x1041, 0x1042, 0x1041, 0x1042}));
    EXPECT_TRUE(m_Object.CheckMechanism(&ecdsaSha1));
    EXPECT_FALSE(m_Object.CheckMechanism(&rsa));
}

TEST_F(CardObjectTest, CopyMechanismFromItselfDoublesTheList)
{
    m_Object.AddMechanism(CKM_ECDSA);

    m_Object.CopyMechanismFrom(&m_Object);

    EXPECT_EQ(m_Object.GetMechanismList(), (std::vector<unsigned long>{0x1041, 0x1041}));
}

TEST_F(CardObjectTest, CheckMechanismWithoutMechanismsIsFalse)
{
    CK_MECHANISM mechanism{CKM_RSA_PKCS, nullptr, 0};

    EXPECT_FALSE(m_Object.CheckMechanism(&mechanism));
}

TEST_F(CardObjectTest, CheckMechanismDoesNotLookAtTheParameter)
{
    m_Object.AddMechanism(CKM_RSA_PKCS);
    char parameter = 'x';
    CK_MECHANISM mechanism{CKM_RSA_PKCS, &parameter, 1};

    EXPECT_TRUE(m_Object.CheckMechanism(&mechanism));
}

TEST_F(CardObjectTest, AnEmptyTemplateMatches)
{
    EXPECT_TRUE(m_Object.Match(nullptr, 0));
}

TEST_F(CardObjectTest, ATemplateMatchesWhenAllValuesAreEqual)
{
    m_Object.AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("label"));
    m_Object.AddAttribute(CKA_ID, std::make_shared<CardAttribute>("id"));
    CK_ATTRIBUTE wanted[] = {Template(CKA_LABEL, "label"), Template(CKA_ID, "id")};

    EXPECT_TRUE(m_Object.Match(wanted, 2));
}

TEST_F(CardObjectTest, MatchEndsAtTheFirstDifference)
{
    m_Object.AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("label"));
    m_Object.AddAttribute(CKA_ID, std::make_shared<CardAttribute>("id"));
    CK_ATTRIBUTE wanted[] = {Template(CKA_LABEL, "lAbel"), Template(CKA_ID, "id")};

    EXPECT_FALSE(m_Object.Match(wanted, 2));
    EXPECT_EQ(m_Object.Requests, 1);
}

TEST_F(CardObjectTest, ADifferenceInTheLastByteOfTheLastEntryCounts)
{
    m_Object.AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("label"));
    m_Object.AddAttribute(CKA_ID, std::make_shared<CardAttribute>("id"));
    CK_ATTRIBUTE wanted[] = {Template(CKA_LABEL, "label"), Template(CKA_ID, "iD")};

    EXPECT_FALSE(m_Object.Match(wanted, 2));
}

TEST_F(CardObjectTest, APrefixDoesNotMatch)
{
    m_Object.AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("label"));
    CK_ATTRIBUTE shorter = Template(CKA_LABEL, "labe");
    CK_ATTRIBUTE longer = Template(CKA_LABEL, "labels");

    EXPECT_FALSE(m_Object.Match(&shorter, 1));
    EXPECT_FALSE(m_Object.Match(&longer, 1));
    EXPECT_TRUE(CapturedLog::Lines().empty());
}

TEST_F(CardObjectTest, AMissingAttributeDoesNotMatch)
{
    CK_ATTRIBUTE wanted = Template(CKA_LABEL, "");

    EXPECT_FALSE(m_Object.Match(&wanted, 1));
}

TEST_F(CardObjectTest, ABooleanMustBeOneByteAndANumberEight)
{
    m_Object.AddAttribute(CKA_TOKEN, std::make_shared<CardAttribute>(static_cast<unsigned char>(1)));
    m_Object.AddAttribute(CKA_CLASS, std::make_shared<CardAttribute>(3UL));
    CK_BBOOL byte = 1;
    CK_ULONG number = 3;
    CK_ULONG wideTrue = 1;
    CK_BBOOL narrowClass = 3;
    CK_ATTRIBUTE good[] = {{CKA_TOKEN, &byte, 1}, {CKA_CLASS, &number, 8}};
    CK_ATTRIBUTE wide = {CKA_TOKEN, &wideTrue, 8};
    CK_ATTRIBUTE narrow = {CKA_CLASS, &narrowClass, 1};

    EXPECT_TRUE(m_Object.Match(good, 2));
    EXPECT_FALSE(m_Object.Match(&wide, 1));
    EXPECT_FALSE(m_Object.Match(&narrow, 1));
}

TEST_F(CardObjectTest, AnEntryOfLengthZeroMatchesAnEmptyValue)
{
    m_Object.AddAttribute(CKA_SUBJECT, std::make_shared<CardAttribute>(false));
    CK_ATTRIBUTE wanted = {CKA_SUBJECT, nullptr, 0};

    EXPECT_TRUE(m_Object.Match(&wanted, 1));
}

TEST_F(CardObjectTest, AnEntryAgainstAnEmptyValueIsReportedAtDebugLevel)
{
    m_Object.AddAttribute(CKA_SUBJECT, std::make_shared<CardAttribute>(false));
    CK_ATTRIBUTE wanted = Template(CKA_SUBJECT, "12345678");

    EXPECT_FALSE(m_Object.Match(&wanted, 1));
    EXPECT_EQ(
        CapturedLog::Lines(),
        std::vector<std::string>{
            "DEBUG CardObject::Match() Found attribute with zero length.  May need to be retrieved from "
            "the card first.  CardObject: PK.CH.SIG  Attribute Type: 257"});
}

TEST_F(CardObjectTest, LogInfoTellsLabelAndCounts)
{
    m_Object.AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("label"));
    m_Object.AddAttribute(CKA_ID, std::make_shared<CardAttribute>("id"));
    m_Object.AddMechanism(CKM_ECDSA);

    m_Object.LogInfo();

    EXPECT_EQ(
        CapturedLog::Lines(),
        std::vector<std::string>{"MESSAGE CardObject: PK.CH.SIG   attribute count: 2   mechanism count: 1"});
}

TEST_F(CardObjectTest, FreeEmptiesTheValuesAndDropsThem)
{
    const auto attribute = std::make_shared<CardAttribute>("label");
    m_Object.AddAttribute(CKA_LABEL, attribute);
    m_Object.AddMechanism(CKM_ECDSA);

    m_Object.Free();

    EXPECT_EQ(attribute->GetLength(), 0U);
    EXPECT_EQ(attribute.use_count(), 1);
    EXPECT_EQ(m_Object.GetAttribute(CKA_LABEL), nullptr);
    EXPECT_EQ(m_Object.GetMechanismList().size(), 1U);
}

TEST_F(CardObjectTest, TheDestructorFreesTheAttributes)
{
    const auto attribute = std::make_shared<CardAttribute>("label");
    {
        PlainObject object("label", m_File, AppSignature);
        object.AddAttribute(CKA_LABEL, attribute);
    }

    EXPECT_EQ(attribute->GetLength(), 0U);
}

namespace
{

struct DateCase
{
    const char* name;
    unsigned short year;
    unsigned short month;
    unsigned short day;
    const char* digits;
};

constexpr DateCase kDateCases[] = {
    {"Filled", 2029, 12, 31, "20291231"},
    {"ZeroFilled", 24, 3, 1, "00240301"},
    {"Zero", 0, 0, 0, "00000000"},
    {"TheFirstDigitsOfNumbersThatAreTooLong", 65535, 123, 45678, "65531245"},
};

class FillCkDateTest : public testing::TestWithParam<DateCase>
{};

} // namespace

TEST_P(FillCkDateTest, PutsTheDigitsIntoTheThreeFields)
{
    // The guard shows that no terminator is written behind the date.
    struct
    {
        CK_DATE date;
        unsigned char guard = 0xEE;
    } place{};
    std::memset(&place.date, 0xEE, sizeof(place.date));

    CardObject::FillCkDate(place.date, GetParam().year, GetParam().month, GetParam().day);

    std::string digits(8, ' ');
    std::memcpy(digits.data(), &place.date, 8);
    EXPECT_EQ(digits, GetParam().digits);
    EXPECT_EQ(place.guard, 0xEE);
}

TEST_P(FillCkDateTest, TheTokensFormIsTheSame)
{
    CK_DATE date{};

    TestToken::FillCkDate(date, GetParam().year, GetParam().month, GetParam().day);

    std::string digits(8, ' ');
    std::memcpy(digits.data(), &date, 8);
    EXPECT_EQ(digits, GetParam().digits);
}

INSTANTIATE_TEST_SUITE_P(All, FillCkDateTest, testing::ValuesIn(kDateCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });
