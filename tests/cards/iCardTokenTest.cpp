#include "cards/iCardToken.h"

#include "tests/cards/TokenTestSupport.h"

#include <gtest/gtest.h>

namespace
{

using Lines = std::vector<std::string>;

const unsigned char* Name(const char* text)
{
    return reinterpret_cast<const unsigned char*>(text);
}

class iCardTokenTest : public testing::Test
{
protected:
    iCardTokenTest()
    {
        m_Token.SetReader(&m_Reader);
        CapturedLog::Lines().clear();
    }

    ScriptedCardReader m_Reader;
    CapturedLog m_Log{kTokenLog};
    TestToken m_Token;
};

} // namespace

TEST(iCardTokenLifeTest, ANewTokenHasTheDefaultsOfAllCards)
{
    const CapturedLog log{kTokenLog};

    TestToken token;

    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE iCardToken constructor"});
    EXPECT_EQ(token.GetFlags(), 1294U);
    EXPECT_FALSE(token.IsLoggedIn());
    EXPECT_FALSE(token.GetCurrentDF().IsOk());
    EXPECT_TRUE(token.objects.empty());
    EXPECT_EQ(token.encCertIndex, -1);
    EXPECT_EQ(token.encPrivateIndex, -1);
    EXPECT_EQ(token.encPublicIndex, -1);
    EXPECT_EQ(token.sigCertIndex, -1);
    EXPECT_EQ(token.sigPrivateIndex, -1);
    EXPECT_EQ(token.sigPublicIndex, -1);
    EXPECT_EQ(token.infoboxIndex, -1);
    EXPECT_FALSE(token.sigCertFile || token.encCertFile || token.infoboxFile || token.rfu1File ||
                 token.rfu2File);
}

TEST(iCardTokenLifeTest, TheDestructorFreesObjectsAndFilesAndSendsNothing)
{
    ScriptedCardReader reader;
    std::shared_ptr<CardAttribute> label;
    std::weak_ptr<CardFile> file;
    const CapturedLog log{kTokenLog};
    {
        TestToken token(&reader);
        token.encCertFile = MakeFreeFile(token, 10);
        token.sigCertFile = token.encCertFile;
        file = token.encCertFile;
        label = token.GetObjectMap()[0]->GetAttribute(CKA_LABEL);
        token.objects.push_back(nullptr);
        CapturedLog::Lines().clear();
    }

    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE iCardToken destructor"});
    EXPECT_EQ(label->GetLength(), 0U) << "freed before it went";
    EXPECT_EQ(label.use_count(), 1);
    EXPECT_TRUE(file.expired());
    EXPECT_TRUE(reader.Calls.empty());
}

TEST_F(iCardTokenTest, AWrongPinRaisesTheLowCounterFlag)
{
    m_Token.UpdateFlags(0xA0, 2);

    EXPECT_EQ(m_Token.GetFlags(), 0x1050EU);
}

TEST_F(iCardTokenTest, TheFinalTryFlagStaysUntilASuccess)
{
    m_Token.UpdateFlags(0xA0, 1);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);

    m_Token.UpdateFlags(0xA0, 5);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);

    m_Token.UpdateFlags(0, 5);
    EXPECT_EQ(m_Token.GetFlags(), 0x50EU);
}

TEST_F(iCardTokenTest, ALockedPinRaisesItsFlagAndASuccessClearsIt)
{
    m_Token.UpdateFlags(0xA0, 0);
    m_Token.UpdateFlags(0xA4, 0);
    EXPECT_EQ(m_Token.GetFlags(), 0x5050EU);

    m_Token.UpdateFlags(0, 0);
    EXPECT_EQ(m_Token.GetFlags(), 0x50EU);
}

TEST_F(iCardTokenTest, AnyOtherResultLeavesTheFlags)
{
    m_Token.UpdateFlags(6, 0);
    EXPECT_EQ(m_Token.GetFlags(), 0x50EU);

    m_Token.UpdateFlags(0xA0, 1);
    m_Token.UpdateFlags(6, 1);
    m_Token.UpdateFlags(0xA2, 1);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);
}

TEST_F(iCardTokenTest, GetAtrAsksTheReader)
{
    Norvik::ByteArray atr;
    EXPECT_FALSE(m_Token.GetATR(atr));

    m_Reader.Atr = "3B00";
    EXPECT_TRUE(m_Token.GetATR(atr));
    EXPECT_EQ(ToHex(atr), "3B00");
}

TEST_F(iCardTokenTest, SetReaderGivesTheReaderToTheFileSelectionToo)
{
    m_Reader.Expect(kSelectDf, "9000");

    EXPECT_TRUE(m_Token.Impl().SelectFile(ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x71)));
}

TEST_F(iCardTokenTest, ResetCardDisconnectsAndConnectsAgain)
{
    EXPECT_TRUE(m_Token.ResetCard());

    EXPECT_EQ(m_Reader.Calls, (Lines{"Disconnect", "ConnectReader", "ConnectCard"}));
    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE ResetCard"});
}

TEST_F(iCardTokenTest, ResetCardKeepsLoginFlagsAndDirectory)
{
    ChipStructureObject df = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x71);
    m_Token.SetCurrentDF(df);
    m_Token.loggedIn = true;
    m_Token.UpdateFlags(0xA0, 1);

    m_Token.ResetCard();

    EXPECT_EQ(m_Token.GetCurrentDF(), df);
    EXPECT_TRUE(m_Token.IsLoggedIn());
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);
}

namespace
{

struct ResetCase
{
    const char* name;
    bool ScriptedCardReader::*step;
    Lines calls;
    const char* line;
};

const ResetCase kResetCases[] = {
    {"Disconnect", &ScriptedCardReader::bDisconnect, {"Disconnect"}, "ERROR error disconnect reader"},
    {"ConnectReader",
     &ScriptedCardReader::bConnectReader,
     {"Disconnect", "ConnectReader"},
     "ERROR error connet reader"},
    {"ConnectCard",
     &ScriptedCardReader::bConnectCard,
     {"Disconnect", "ConnectReader", "ConnectCard"},
     "ERROR error connect card"},
};

class FailedResetTest : public iCardTokenTest, public testing::WithParamInterface<ResetCase>
{};

} // namespace

TEST_P(FailedResetTest, EndsAtTheStepThatFails)
{
    m_Reader.*GetParam().step = false;

    EXPECT_FALSE(m_Token.ResetCard());

    EXPECT_EQ(m_Reader.Calls, GetParam().calls);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE ResetCard", GetParam().line}));
}

TEST_P(FailedResetTest, FailsTheResetAttribute)
{
    m_Reader.*GetParam().step = false;
    m_Reader.Atr = "3B00";
    Norvik::ByteArray out;

    EXPECT_EQ(m_Token.CommonCardAttribute(Name("Reset"), out, nullptr), 6U);

    EXPECT_TRUE(out.empty());
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE reset card", "MESSAGE ResetCard", GetParam().line, "ERROR error reset card"}));
}

INSTANTIATE_TEST_SUITE_P(All, FailedResetTest, testing::ValuesIn(kResetCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

namespace
{

struct AttributeNameCase
{
    const char* name;
    const char* attribute;
    unsigned long rv;
    Lines calls;
    Lines log;
};

const AttributeNameCase kAttributeNames[] = {
    {"Atr", "ATR", 0, {"GetAtr"}, {"MESSAGE read ATR from token"}},
    {"BeginsWithAtr", "ATRium", 0, {"GetAtr"}, {"MESSAGE read ATR from token"}},
    {"Reset",
     "Reset",
     0,
     {"Disconnect", "ConnectReader", "ConnectCard", "GetAtr"},
     {"MESSAGE reset card", "MESSAGE ResetCard"}},
    {"BeginsWithReset",
     "Resetting",
     0,
     {"Disconnect", "ConnectReader", "ConnectCard", "GetAtr"},
     {"MESSAGE reset card", "MESSAGE ResetCard"}},
    {"LowerCase", "atr", 6, {}, {}},
    {"ShorterThanThePrefix", "AT", 6, {}, {}},
    {"ShorterThanReset", "Rese", 6, {}, {}},
    {"Empty", "", 6, {}, {}},
    {"Unknown", "SV-Personendaten/EHIC", 6, {}, {}},
};

class CommonCardAttributeTest : public iCardTokenTest, public testing::WithParamInterface<AttributeNameCase>
{};

} // namespace

TEST_P(CommonCardAttributeTest, GoesByThePrefixAndLeavesTheLength)
{
    m_Reader.Atr = "3B00";
    Norvik::ByteArray out;
    unsigned long length = 42;

    EXPECT_EQ(m_Token.CommonCardAttribute(Name(GetParam().attribute), out, &length), GetParam().rv);

    EXPECT_EQ(ToHex(out), GetParam().rv == 0 ? "3B00" : "");
    EXPECT_EQ(length, 42U);
    EXPECT_EQ(m_Reader.Calls, GetParam().calls);
    EXPECT_EQ(CapturedLog::Lines(), GetParam().log);
}

INSTANTIATE_TEST_SUITE_P(All, CommonCardAttributeTest, testing::ValuesIn(kAttributeNames),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(iCardTokenTest, AnUnknownAtrFailsTheAtrAttributeSilently)
{
    Norvik::ByteArray out;

    EXPECT_EQ(m_Token.CommonCardAttribute(Name("ATR"), out, nullptr), 6U);

    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE read ATR from token"});
}

TEST_F(iCardTokenTest, AnUnknownAtrAfterTheResetIsReported)
{
    Norvik::ByteArray out;

    EXPECT_EQ(m_Token.CommonCardAttribute(Name("Reset"), out, nullptr), 6U);

    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE reset card", "MESSAGE ResetCard", "ERROR error get ATR"}));
}

TEST_F(iCardTokenTest, CardTransmitSendsTheCommandInATransaction)
{
    m_Reader.Expect("80F60000 08", "6A82");
    Norvik::ByteArray response;

    EXPECT_TRUE(m_Token.CardTransmit(FromHex("80F60000 08"), response)) << "the status word is the caller's";

    EXPECT_EQ(ToHex(response), "6A82");
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 80F6000008", "EndTransaction"}));
    EXPECT_TRUE(CapturedLog::Lines().empty());
}

TEST_F(iCardTokenTest, CardTransmitLeavesTheKnownDirectory)
{
    ChipStructureObject df = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x71);
    m_Token.SetCurrentDF(df);
    m_Reader.Expect("00A4000C023F00", "9000");
    Norvik::ByteArray response;

    m_Token.CardTransmit(FromHex("00A4000C023F00"), response);

    EXPECT_EQ(m_Token.GetCurrentDF(), df);
}

TEST_F(iCardTokenTest, CardTransmitWithoutTransactionSendsNothingButEndsIt)
{
    m_Reader.bBeginTransaction = false;
    Norvik::ByteArray response;

    EXPECT_FALSE(m_Token.CardTransmit(FromHex("80F60000 08"), response));

    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
    EXPECT_TRUE(CapturedLog::Lines().empty());
}

TEST_F(iCardTokenTest, CardTransmitReportsAFailedExchangeAndEndsTheTransaction)
{
    m_Reader.ExpectFailing("80F60000 08");
    Norvik::ByteArray response;

    EXPECT_FALSE(m_Token.CardTransmit(FromHex("80F60000 08"), response));

    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE iCardToken::CardTransmit SendAPDU failed"});
}

TEST_F(iCardTokenTest, CardTransmitWithoutReaderReportsIt)
{
    m_Token.SetReader(nullptr);
    Norvik::ByteArray response;

    EXPECT_FALSE(m_Token.CardTransmit(FromHex("80F60000 08"), response));

    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE iCardToken::CardTransmit Reader is NULL"});
}

TEST_F(iCardTokenTest, EverythingWithoutReaderFails)
{
    m_Token.SetReader(nullptr);
    Norvik::ByteArray out;

    EXPECT_FALSE(m_Token.GetATR(out));
    EXPECT_FALSE(m_Token.ResetCard());
    EXPECT_FALSE(m_Token.Write(FromHex("01")));
    EXPECT_EQ(m_Token.CommonCardAttribute(Name("ATR"), out, nullptr), 6U);
    EXPECT_EQ(m_Token.CommonCardAttribute(Name("Reset"), out, nullptr), 6U);
}

TEST_F(iCardTokenTest, WriteOf129BytesSendsTwoCommands)
{
    const std::string first(256, 'A');
    m_Reader.Expect("00D60000 80" + first, "9000").Expect("00D60080 01 BB", "9000");

    EXPECT_TRUE(m_Token.Write(FromHex(first + "BB")));
    EXPECT_EQ(CapturedLog::Lines(), Lines{"MESSAGE writing to cardobject"});
}

TEST_F(iCardTokenTest, WriteOf128BytesSendsOneCommand)
{
    const std::string data(256, 'A');
    m_Reader.Expect("00D60000 80" + data, "9000");

    EXPECT_TRUE(m_Token.Write(FromHex(data)));
}

TEST_F(iCardTokenTest, WriteCarriesTheOffsetIntoP1)
{
    const std::string chunk(256, 'A');
    m_Reader.Expect("00D60000 80" + chunk, "9000")
        .Expect("00D60080 80" + chunk, "9000")
        .Expect("00D60100 02 BBCC", "9000");

    EXPECT_TRUE(m_Token.Write(FromHex(chunk + chunk + "BBCC")));
}

TEST_F(iCardTokenTest, WriteOfNothingIsAnError)
{
    EXPECT_FALSE(m_Token.Write({}));

    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE writing to cardobject", "ERROR writing 0 Bytes ??"}));
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(iCardTokenTest, WriteEndsAtTheFirstStatusButSuccess)
{
    const std::string chunk(256, 'A');
    m_Reader.Expect("00D60000 80" + chunk, "6282");

    EXPECT_FALSE(m_Token.Write(FromHex(chunk + "BB")));
}

TEST_F(iCardTokenTest, WriteEndsAtAFailedExchange)
{
    const std::string chunk(256, 'A');
    m_Reader.ExpectFailing("00D60000 80" + chunk, "9000");

    EXPECT_FALSE(m_Token.Write(FromHex(chunk + "BB")));
}

TEST_F(iCardTokenTest, WriteDoesNotTakeTheStatusOfTheCommandBefore)
{
    const std::string chunk(256, 'A');
    m_Reader.Expect("00D60000 80" + chunk, "9000").Expect("00D60080 01 BB", "");

    EXPECT_FALSE(m_Token.Write(FromHex(chunk + "BB")));
}

TEST_F(iCardTokenTest, SetCurrentDfReplacesTheDirectoryWithoutTraffic)
{
    ChipStructureObject df = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x70);

    m_Token.SetCurrentDF(df);

    EXPECT_EQ(m_Token.GetCurrentDF(), df);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

namespace
{

struct TextCase
{
    const char* name;
    const char* text;
    const char* line; // null for a good text
};

constexpr TextCase kIdentifiers[] = {
    {"Digits", "0123456789012345", nullptr},
    {"Fifteen", "012345678901234", "MESSAGE identifier length != 16"},
    {"Seventeen", "01234567890123456", "MESSAGE identifier length != 16"},
    {"Empty", "", "MESSAGE identifier length != 16"},
    {"HexDigit", "012345678901234a", "MESSAGE invalid char in identifier"},
    {"BelowZero", "/123456789012345", "MESSAGE invalid char in identifier"},
    {"AboveNine", ":123456789012345", "MESSAGE invalid char in identifier"},
};

constexpr TextCase kChipIds[] = {
    {"AllHexDigits", "09AFaf1234567890", nullptr},
    {"LongerThanNeeded", "0123456789abcdef0123", nullptr},
    {"OtherCharacterAtPlace18", "0123456789abcdef0Z23", nullptr},
    {"OtherCharacterAtPlace16", "0123456789abcdeZ", "MESSAGE invalid char in identifier"},
    {"G", "G123456789abcdef", "MESSAGE invalid char in identifier"},
    {"SmallG", "g123456789abcdef", "MESSAGE invalid char in identifier"},
    {"At", "@123456789abcdef", "MESSAGE invalid char in identifier"},
    {"Backtick", "`123456789abcdef", "MESSAGE invalid char in identifier"},
    {"Fifteen", "0123456789abcde", "MESSAGE identifier length < 16"},
    {"Empty", "", "MESSAGE identifier length < 16"},
};

class IdentifierTest : public testing::TestWithParam<TextCase>
{
protected:
    static Lines ExpectedLines() { return GetParam().line == nullptr ? Lines{} : Lines{GetParam().line}; }

    CapturedLog m_Log{kTokenLog};
};
using ChipIdTest = IdentifierTest;

} // namespace

TEST_P(IdentifierTest, IsSixteenDecimalDigits)
{
    EXPECT_EQ(iCardToken::IsIdentifierOk(GetParam().text), GetParam().line == nullptr);
    EXPECT_EQ(CapturedLog::Lines(), ExpectedLines());
}

INSTANTIATE_TEST_SUITE_P(All, IdentifierTest, testing::ValuesIn(kIdentifiers),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_P(ChipIdTest, BeginsWithSixteenHexDigits)
{
    EXPECT_EQ(iCardToken::IsChipIdOk(GetParam().text), GetParam().line == nullptr);
    EXPECT_EQ(CapturedLog::Lines(), ExpectedLines());
}

INSTANTIATE_TEST_SUITE_P(All, ChipIdTest, testing::ValuesIn(kChipIds),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(iCardTokenTest, GetCardIdentifierTakesTheFirstGoodText)
{
    std::string text = "what stood here";

    EXPECT_TRUE(m_Token.GetCardIdentifier(text));

    EXPECT_EQ(text, "8040000012345678");
    EXPECT_EQ(m_Token.Calls, Lines{"InternalGetCardIdentifier"});
}

TEST_F(iCardTokenTest, GetCardIdentifierTriesThreeTimesWhenTheCardGives15Digits)
{
    m_Token.OnIdentifier = [](std::string& text) {
        text = "804000001234567";
        return true;
    };
    std::string text;

    EXPECT_FALSE(m_Token.GetCardIdentifier(text));

    EXPECT_EQ(text, "804000001234567") << "what the last round left";
    EXPECT_EQ(m_Token.Calls, Lines(3, "InternalGetCardIdentifier"));
    EXPECT_EQ(CapturedLog::Lines(), Lines(3, "MESSAGE identifier length != 16"));
}

TEST_F(iCardTokenTest, GetCardIdentifierNeedsTheProfilesConsent)
{
    int round = 0;
    m_Token.OnIdentifier = [&round](std::string& text) {
        EXPECT_EQ(text.empty(), round == 0) << "emptied once, before the first round";
        text = "8040000012345678";
        return ++round == 3;
    };
    std::string text = "what stood here";

    EXPECT_TRUE(m_Token.GetCardIdentifier(text));
    EXPECT_EQ(round, 3);
}

TEST_F(iCardTokenTest, GetChipIdReadsTheCardAlthoughTheIdIsKnown)
{
    m_Token.SetChipId("ffffffffffffffff");
    std::string text;

    EXPECT_TRUE(m_Token.GetChipId(text));

    EXPECT_EQ(text, "0123456789abcdef");
    EXPECT_EQ(m_Token.Calls, Lines{"InternalGetChipId"});
}

TEST_F(iCardTokenTest, GetChipIdTriesThreeTimesAndKeepsNothingOfAKnownId)
{
    m_Token.SetChipId("ffffffffffffffff");
    m_Token.OnChipId = [](std::string& text) {
        EXPECT_TRUE(text.empty());
        return true;
    };
    std::string text = "what stood here";

    EXPECT_FALSE(m_Token.GetChipId(text));

    EXPECT_EQ(text, "");
    EXPECT_EQ(m_Token.chipId, "");
    EXPECT_EQ(m_Token.Calls, Lines(3, "InternalGetChipId"));
    EXPECT_EQ(CapturedLog::Lines(), Lines(3, "MESSAGE identifier length < 16"));
}

TEST_F(iCardTokenTest, GetChipIdTakesTheFirstGoodText)
{
    int round = 0;
    m_Token.OnChipId = [&round](std::string& text) {
        text = ++round == 2 ? "0123456789abcdef0Z" : "short";
        return true;
    };
    std::string text;

    EXPECT_TRUE(m_Token.GetChipId(text));

    EXPECT_EQ(text, "0123456789abcdef0Z");
    EXPECT_EQ(m_Token.chipId, "0123456789abcdef0Z");
    EXPECT_EQ(round, 2);
}
