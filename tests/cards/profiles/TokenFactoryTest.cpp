#include "cards/TokenFactory.h"

#include "cards/iCardToken.h"
#include "readers/LibReaderAndCard.h"
#include "tests/doubles/ScriptedCardReader.h"
#include "tests/support/CapturedLog.h"

#include <memory>
#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using Lines = std::vector<std::string>;

constexpr const char* kAcos04 = "3BBF13008131FE45455041";
constexpr const char* kAcos03 = "3BBF11008131FE45455041";
constexpr const char* kAtos53 = "3BDF18008131FE588031B05202046405C903AC73B7B1D422";
constexpr const char* kStarcosG2 = "3BBD18008131FE45805102";
constexpr const char* kStarcosG3 = "3BDD96FF81B1FE451F038031B0520203";
constexpr const char* kStarcos = "3BBF94008131FE65454C5520417573747269612931 2E313B";

constexpr const char* kSelectDec = "00A4000C02DF71";
constexpr const char* kSelectAcosInfo = "00A4000C02D002";
constexpr const char* kSelectInfobox = "00A4040C08D040000017001801";
constexpr const char* kSelectECardInfo = "00A4020C02C002";

class TokenFactoryTest : public testing::Test
{
protected:
    TokenFactoryTest() { CapturedLog::Lines().clear(); }

    static const Lines& Log() { return CapturedLog::Lines(); }
    CardType Detect(const std::string& atr) { return GetCardTypeFromATR(FromHex(atr), &m_Reader); }

    CapturedLog m_Log{
        {&LibReaderAndCard::SetErrorLoggingFunc, &LibReaderAndCard::SetMessageLoggingFunc, nullptr}};
    ScriptedCardReader m_Reader;
};

struct AtrCase
{
    const char* name;
    std::string atr;
    CardType type;
    Lines log;
};

class TokenFactoryAtr : public TokenFactoryTest, public testing::WithParamInterface<AtrCase>
{};

TEST_P(TokenFactoryAtr, TellsTheCardWithoutTouchingIt)
{
    EXPECT_EQ(Detect(GetParam().atr), GetParam().type);
    EXPECT_EQ(Log(), GetParam().log);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

const std::string kCut = "0011223344";
const AtrCase kAtrCases[] = {
    {"Empty", "", CardTypeUnknown, {"ERROR ATR Buffer is empty"}},
    {"OneByte", "3B", CardTypeUnknown, {}},
    {"TenBytes", std::string(kAcos04).substr(0, 20), CardTypeUnknown, {}},
    {"Acos04", kAcos04, CardTypeAcos04, {"MESSAGE ACOS 04 detected"}},
    {"Acos04AndMore", kAcos04 + kCut, CardTypeAcos04, {"MESSAGE ACOS 04 detected"}},
    {"Atos", kAtos53, CardTypeECardG4, {"MESSAGE ATOS 53 - ECard G4 detected"}},
    {"AtosAndMore", kAtos53 + kCut, CardTypeECardG4, {"MESSAGE ATOS 53 - ECard G4 detected"}},
    {"AtosOf23Bytes", std::string(kAtos53).substr(0, 46), CardTypeUnknown, {}},
    {"StarcosG2", kStarcosG2, CardTypeECardG2, {"MESSAGE STACOS - eCard G2 detected"}},
    {"StarcosG2AndMore", kStarcosG2 + kCut, CardTypeECardG2, {"MESSAGE STACOS - eCard G2 detected"}},
    {"StarcosG3Of15Bytes", std::string(kStarcosG3).substr(0, 30), CardTypeUnknown, {}},
    {"Starcos", kStarcos, CardTypeStarcos, {"MESSAGE STARCOS detected"}},
    {"StarcosOf23Bytes", std::string(kStarcos).substr(0, 47), CardTypeUnknown, {}},
    {"OtherOf11Bytes", "3BBF12008131FE45455041", CardTypeUnknown, {}},
    {"OtherOf24Bytes", "3BBF12008131FE4545504100112233445566778899AABBCC", CardTypeUnknown, {}},
};
INSTANTIATE_TEST_SUITE_P(All, TokenFactoryAtr, testing::ValuesIn(kAtrCases),
                         [](const testing::TestParamInfo<AtrCase>& row) { return row.param.name; });

TEST_F(TokenFactoryTest, Acos03AtrOfAYoungerChipIsFoundByItsFile)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectAcosInfo, "9000").Expect("00B0000000", "02 00 9000");

    EXPECT_EQ(Detect(kAcos03), CardTypeAcos04);

    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4000C02DF71", "SendApdu 00A4000C02D002",
                                     "SendApdu 00B0000000", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE ACOS detected", "MESSAGE ACOS 04 detected"}));
}

TEST_F(TokenFactoryTest, Acos03IsFoundByAnotherFirstByte)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectAcosInfo, "9000").Expect("00B0000000", "01 02 9000");
    EXPECT_EQ(Detect(kAcos03 + kCut), CardTypeAcos03);
    EXPECT_EQ(Log(), (Lines{"MESSAGE ACOS detected", "MESSAGE ACOS 03 detected"}));
}

TEST_F(TokenFactoryTest, Acos03WithoutTheFileTakesTwoCommands)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectAcosInfo, "6A82");
    EXPECT_EQ(Detect(kAcos03), CardTypeAcos03);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(m_Reader.Commands().size(), 2U);
}

TEST_F(TokenFactoryTest, AcosProbeDoesNotLookAtTheStatusWord)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectAcosInfo, "9000").Expect("00B0000000", "02 6281");
    EXPECT_TRUE(IsAcos04(&m_Reader));
}

TEST_F(TokenFactoryTest, AcosProbeTakesASingleByte)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectAcosInfo, "9000").Expect("00B0000000", "02");
    EXPECT_TRUE(IsAcos04(&m_Reader));
}

TEST_F(TokenFactoryTest, AcosProbeWithoutAnswerIsFalse)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectAcosInfo, "9000").Expect("00B0000000", "");
    EXPECT_FALSE(IsAcos04(&m_Reader));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(TokenFactoryTest, AcosProbeThatCannotBeSentIsFalse)
{
    m_Reader.Expect(kSelectDec, "9000")
        .Expect(kSelectAcosInfo, "9000")
        .ExpectFailing("00B0000000", "02 9000");
    EXPECT_FALSE(IsAcos04(&m_Reader));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(TokenFactoryTest, Acos03WithoutTransactionIsAcos03)
{
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(Detect(kAcos03), CardTypeAcos03);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(TokenFactoryTest, Acos03WithoutReaderIsLoggedAndAcos03)
{
    EXPECT_EQ(GetCardTypeFromATR(FromHex(kAcos03), nullptr), CardTypeAcos03);
    EXPECT_EQ(Log(), (Lines{"MESSAGE ACOS detected", "ERROR isAcos04 -> reader is NULL",
                            "MESSAGE ACOS 03 detected"}));
}

TEST_F(TokenFactoryTest, IgnoredSubVersionIsNotProbed)
{
    EXPECT_EQ(GetCardTypeFromATR(FromHex(kAcos03), &m_Reader, true), CardTypeAcos03);
    EXPECT_EQ(Log(), (Lines{"MESSAGE ACOS detected", "MESSAGE Ignore ACOS subversion -> use ACOS03"}));
    EXPECT_TRUE(m_Reader.Calls.empty());
    EXPECT_EQ(GetCardTypeFromATR(FromHex(kAcos04), &m_Reader, true), CardTypeAcos04);
}

TEST_F(TokenFactoryTest, G3bIsFoundByItsInfobox)
{
    m_Reader.Expect(kSelectInfobox, "9000").Expect(kSelectECardInfo, "9000");

    EXPECT_EQ(Detect(kStarcosG3), CardTypeECardG3b);

    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4040C08D040000017001801",
                                     "SendApdu 00A4020C02C002", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE STACOS - eCard G3 detected", "MESSAGE eCard G3b detected"}));
}

TEST_F(TokenFactoryTest, G3HasNoInfobox)
{
    m_Reader.Expect(kSelectInfobox, "9000").Expect(kSelectECardInfo, "6A82");
    EXPECT_EQ(Detect(kStarcosG3 + kCut), CardTypeECardG3);
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE STACOS - eCard G3 detected", "ERROR Apdu SW: 0x6a 0x82 - expected: 0x90 0x0",
                     "MESSAGE eCard G3(a) detected"}));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(TokenFactoryTest, G3WithoutTransactionIsG3)
{
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(Detect(kStarcosG3), CardTypeECardG3);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(TokenFactoryTest, G3WithoutReaderIsLoggedAndG3)
{
    EXPECT_FALSE(IsECardG3b(nullptr));
    EXPECT_EQ(Log(), (Lines{"ERROR IsECardG3b -> reader is NULL"}));
    EXPECT_EQ(GetCardTypeFromATR(FromHex(kStarcosG3), nullptr), CardTypeECardG3);
}

TEST_F(TokenFactoryTest, TypesHaveTheirClassesAndTheGivenReader)
{
    m_Reader.Atr = "3BBF";
    for (const CardType type : {CardTypeAcos03, CardTypeAcos04, CardTypeECardG2, CardTypeECardG3,
                                CardTypeECardG3b, CardTypeECardG4})
    {
        const std::unique_ptr<iCardToken> token(GetCardTokenFromType(type, &m_Reader));
        ASSERT_NE(token, nullptr);
        EXPECT_EQ(token->GetCardType(), type);
        Norvik::ByteArray atr;
        EXPECT_TRUE(token->GetATR(atr));
    }
}

TEST_F(TokenFactoryTest, TokenOfATypeAloneHasNoReader)
{
    const std::unique_ptr<iCardToken> token(GetCardTokenFromType(CardTypeECardG4));
    ASSERT_NE(token, nullptr);
    Norvik::ByteArray atr;
    EXPECT_FALSE(token->GetATR(atr));
    std::string text;
    EXPECT_FALSE(token->InternalGetChipId(text));
    EXPECT_EQ(Log().back(), "ERROR CardTokenECardG4::InternalGetChipId, Reader is NULL");
}

TEST_F(TokenFactoryTest, TypesWithoutClassGiveNoToken)
{
    for (const CardType type : {CardTypeUnknown, CardTypeStarcos})
    {
        CapturedLog::Lines().clear();
        EXPECT_EQ(GetCardTokenFromType(type, &m_Reader), nullptr);
        EXPECT_EQ(Log(), (Lines{"ERROR unknown card type"}));
    }
}

TEST_F(TokenFactoryTest, AtrGivesAToken)
{
    const std::unique_ptr<iCardToken> token(GetCardTokenFromATR(FromHex(kStarcosG2), &m_Reader));
    ASSERT_NE(token, nullptr);
    EXPECT_EQ(token->GetCardType(), CardTypeECardG2);
}

TEST_F(TokenFactoryTest, AtrOfNoCardGivesNoToken)
{
    EXPECT_EQ(GetCardTokenFromATR(FromHex("3B00"), &m_Reader), nullptr);
    EXPECT_EQ(Log(), (Lines{"ERROR unknown card type"}));
}

TEST_F(TokenFactoryTest, RecognisedCardWithoutClassGivesNoToken)
{
    EXPECT_EQ(GetCardTokenFromATR(FromHex(kStarcos), &m_Reader), nullptr);
    EXPECT_EQ(Log(), (Lines{"MESSAGE STARCOS detected", "ERROR unknown card type"}));
}

// The probe forgets what it selected: the token's first selection is sent.
TEST_F(TokenFactoryTest, NewTokenRemembersNoDirectory)
{
    m_Reader.Expect(kSelectDec, "9000").Expect(kSelectAcosInfo, "6A82");
    const std::unique_ptr<iCardToken> token(GetCardTokenFromATR(FromHex(kAcos03), &m_Reader));
    ASSERT_NE(token, nullptr);
    m_Reader.Expect(kSelectDec, "9000").Expect("00A4000C02D001", "9000");
    m_Reader.Expect("00B0000000", "80400000123456789000");
    std::string identifier;
    EXPECT_TRUE(token->GetCardIdentifier(identifier));
}

} // namespace
