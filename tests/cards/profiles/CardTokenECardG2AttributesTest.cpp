#include "cards/profiles/CardTokenECardG2.h"

#include "tests/cards/profiles/ProfileFixture.h"

namespace
{

constexpr const char* kSelectMf = "00A4000C023F00";
constexpr const char* kSelectEnc = "00A4040C08D040000017001301";
constexpr const char* kSelectSig = "00A4040C08D040000017001201";
constexpr const char* kSelectSvPers = "00A4040C08D040000017010101";

/** The named data of the second generation. */
class CardTokenECardG2AttributesTest : public ProfileTest<CardTokenECardG2>
{
protected:
    unsigned long Attribute(const char* name)
    {
        return m_Token.C_CardAttribute(reinterpret_cast<const unsigned char*>(name), m_Value, nullptr);
    }

    Norvik::ByteArray m_Value = FromHex("01D0");
};

struct PinStatusCase
{
    const char* name;
    const char* response;
    unsigned long result;
    const char* value;
};

class CardTokenECardG2PinStatus : public CardTokenECardG2AttributesTest,
                                  public testing::WithParamInterface<PinStatusCase>
{};

TEST_P(CardTokenECardG2PinStatus, BecomesOneByte)
{
    m_Reader.Expect("00200081", GetParam().response);
    EXPECT_EQ(m_Token.ReadPinStatus(0x81, m_Value), GetParam().result);
    EXPECT_EQ(m_Value, FromHex(GetParam().value));
}

constexpr PinStatusCase kPinStatusCases[] = {
    {"ThreeTries", "63C3", CKR_OK, "03"},
    {"TwoTries", "63C2", CKR_OK, "02"},
    {"NoTries", "63C0", CKR_OK, "00"},
    {"NoCounter", "6300", CKR_OK, "40"},
    {"Wrapped", "63FF", CKR_OK, "3F"},
    {"Unusable", "6984", CKR_OK, "FF"},
    {"NoInformation", "6400", CKR_OK, "FF"},
    {"SuccessIsInvalid", "9000", CKR_FUNCTION_FAILED, "01D0"},
    {"Blocked", "6983", CKR_FUNCTION_FAILED, "01D0"},
    {"OneByte", "63", CKR_FUNCTION_FAILED, "01D0"},
    {"Nothing", "", CKR_FUNCTION_FAILED, "01D0"},
};
INSTANTIATE_TEST_SUITE_P(All, CardTokenECardG2PinStatus, testing::ValuesIn(kPinStatusCases),
                         [](const testing::TestParamInfo<PinStatusCase>& row) { return row.param.name; });

TEST_F(CardTokenECardG2AttributesTest, InvalidPinStatusIsLogged)
{
    m_Reader.Expect("00200001", "9000");
    EXPECT_EQ(m_Token.ReadPinStatus(0x01, m_Value), CKR_FUNCTION_FAILED);
    EXPECT_EQ(Log(), (Lines{"ERROR invalid response from Verify Pin Status"}));
}

TEST_F(CardTokenECardG2AttributesTest, UnsentPinStatusFails)
{
    m_Reader.ExpectFailing("00200001", "63C3");
    EXPECT_EQ(m_Token.ReadPinStatus(0x01, m_Value), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Value, FromHex("01D0"));
}

TEST_F(CardTokenECardG2AttributesTest, EhicIsReadInOneTransaction)
{
    m_Reader.Expect(kSelectSvPers, "9000")
        .Expect("00A4020C02EF02", "9000")
        .Expect("00B00000FF", "300105 9000");

    EXPECT_EQ(Attribute("SV-Personendaten/EHIC"), CKR_OK);

    EXPECT_EQ(m_Value, FromHex("300105"));
    EXPECT_EQ(m_Reader.Calls.front(), "BeginTransaction");
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(), (Lines{"MESSAGE read ehic/grunddaten", "MESSAGE select ehic"}));
}

TEST_F(CardTokenECardG2AttributesTest, GrunddatenLieBesideTheEhic)
{
    m_Reader.Expect(kSelectSvPers, "9000")
        .Expect("00A4020C02EF01", "9000")
        .Expect("00B00000FF", "300105 9000");

    EXPECT_EQ(Attribute("SV-Personendaten/Grunddaten and more"), CKR_OK);

    EXPECT_EQ(Log(), (Lines{"MESSAGE read ehic/grunddaten", "MESSAGE select grunddaten"}));
}

TEST_F(CardTokenECardG2AttributesTest, SocialInsuranceDataNeedTheEndOfTheTransaction)
{
    m_Reader.bEndTransaction = false;
    m_Reader.Expect(kSelectSvPers, "9000")
        .Expect("00A4020C02EF02", "9000")
        .Expect("00B00000FF", "300105 9000");
    EXPECT_EQ(Attribute("SV-Personendaten/EHIC"), CKR_FUNCTION_FAILED);
}

TEST_F(CardTokenECardG2AttributesTest, SocialInsuranceDataStopAtTheFirstFailure)
{
    m_Reader.Expect(kSelectSvPers, "6A82");
    EXPECT_EQ(Attribute("SV-Personendaten/EHIC"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE read ehic/grunddaten", "ERROR Apdu SW: 0x6a 0x82 - expected: 0x90 0x0"}));

    m_Reader.Expect(kSelectSvPers, "9000").Expect("00A4020C02EF02", "6A82");
    EXPECT_EQ(Attribute("SV-Personendaten/EHIC"), CKR_FUNCTION_FAILED);

    m_Reader.Expect("00A4020C02EF02", "9000").Expect("00B00000FF", "6982");
    EXPECT_EQ(Attribute("SV-Personendaten/EHIC"), CKR_FUNCTION_FAILED);

    m_Reader.Calls.clear();
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(Attribute("SV-Personendaten/EHIC"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenECardG2AttributesTest, PinStatusOfTheSignatureIsAskedInItsDirectory)
{
    m_Reader.Expect(kSelectSig, "9000").Expect("00200081", "63C2");

    EXPECT_EQ(Attribute("SicSig/PIN-Status"), CKR_OK);

    EXPECT_EQ(m_Value, FromHex("02"));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4040C08D040000017001201",
                                     "SendApdu 00200081", "EndTransaction"}));
    EXPECT_EQ(Log(), (Lines{"MESSAGE read pin status sig"}));
}

TEST_F(CardTokenECardG2AttributesTest, PinStatusOfTheEncryptionIsAskedInItsDirectory)
{
    m_Reader.Expect(kSelectEnc, "9000").Expect("00200001", "6984");
    EXPECT_EQ(Attribute("GewSig/PIN-Status"), CKR_OK);
    EXPECT_EQ(m_Value, FromHex("FF"));
    EXPECT_EQ(Log(), (Lines{"MESSAGE read pin status dec"}));
}

TEST_F(CardTokenECardG2AttributesTest, NameThatGoesOnBehindPinStatusStillMatches)
{
    m_Reader.Expect(kSelectSig, "9000").Expect("00200081", "63C2");
    EXPECT_EQ(Attribute("SicSig/PIN-StatusXYZ"), CKR_OK);
    EXPECT_EQ(m_Value, FromHex("02"));
}

TEST_F(CardTokenECardG2AttributesTest, PinStatusWithoutTransactionOrDirectoryIsOkAndUntouched)
{
    m_Reader.Expect(kSelectSig, "6A82");
    EXPECT_EQ(Attribute("SicSig/PIN-Status"), CKR_OK);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    m_Reader.Calls.clear();
    m_Reader.bBeginTransaction = false;
    EXPECT_EQ(Attribute("GewSig/PIN-Status"), CKR_OK);
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
    EXPECT_EQ(m_Value, FromHex("01D0"));
}

TEST_F(CardTokenECardG2AttributesTest, PinStatusThatTheCardDoesNotGiveFails)
{
    m_Reader.Expect(kSelectSig, "9000").Expect("00200081", "9000");
    EXPECT_EQ(Attribute("SicSig/PIN-Status"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenECardG2AttributesTest, ResetSelectsTheMasterFile)
{
    m_Reader.Atr = "3BBD18";
    m_Reader.Expect(kSelectMf, "9000");

    EXPECT_EQ(Attribute("Reset"), CKR_OK);

    EXPECT_EQ(m_Value, FromHex("3BBD18"));
    EXPECT_EQ(m_Reader.Calls,
              (Lines{"Disconnect", "ConnectReader", "ConnectCard", "GetAtr", "SendApdu 00A4000C023F00"}));
    EXPECT_TRUE(Logged("MESSAGE select master file"));
}

TEST_F(CardTokenECardG2AttributesTest, ResetFailsWhenTheMasterFileCannotBeSelected)
{
    m_Reader.Atr = "3BBD18";
    m_Reader.Expect(kSelectMf, "6A82");
    EXPECT_EQ(Attribute("Reset"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(Log().back(), "ERROR error selecting master df -> ignore");
}

TEST_F(CardTokenECardG2AttributesTest, ResetThatFailsSelectsNothing)
{
    m_Reader.bDisconnect = false;
    EXPECT_EQ(Attribute("Reset"), CKR_FUNCTION_FAILED);
    EXPECT_TRUE(m_Reader.Commands().empty());
    EXPECT_FALSE(Logged("MESSAGE select master file"));
}

TEST_F(CardTokenECardG2AttributesTest, OtherNamesAreTheCommonOnes)
{
    m_Reader.Atr = "3BBD18";
    EXPECT_EQ(Attribute("ATR"), CKR_OK);
    EXPECT_EQ(m_Value, FromHex("3BBD18"));
    for (const char* name : {"", "S", "SV-Personendaten", "SV-Personendaten/EHI", "SicSig/PIN-Statu", "Rese"})
    {
        EXPECT_EQ(Attribute(name), CKR_FUNCTION_FAILED) << name;
    }
    EXPECT_TRUE(m_Reader.Commands().empty());
}

TEST_F(CardTokenECardG2AttributesTest, WithoutReaderNothingIsFollowed)
{
    m_Token.SetReader(nullptr);
    EXPECT_EQ(Attribute("SV-Personendaten/EHIC"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(Attribute("SicSig/PIN-Status"), CKR_OK);
    EXPECT_EQ(Attribute("Reset"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Token.ReadPinStatus(0x81, m_Value), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Value, FromHex("01D0"));
}

} // namespace
