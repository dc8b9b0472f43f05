#include "cards/profiles/CardTokenECardG2.h"
#include "cards/profiles/CardTokenECardG4.h"

#include "tests/cards/profiles/ProfileFixture.h"

namespace
{

/** The PIN rules of the second generation, which the third inherits and the fourth repeats. */
template <typename Token>
class ECardPinTest : public ProfileTest<Token>
{
protected:
    // The card identifier is never well formed on these cards, so it is read three times.
    void ExpectIdentifier()
    {
        for (int round = 0; round < 3; ++round)
        {
            this->m_Reader.Expect("00A4000C023F00", "9000")
                .Expect("00B0820000", "0A0B0102030405060708090A9000");
        }
    }
};

using Generations = testing::Types<CardTokenECardG2, CardTokenECardG4>;
TYPED_TEST_SUITE(ECardPinTest, Generations);

TYPED_TEST(ECardPinTest, EachApplicationHasOnePinLength)
{
    for (int length = -1; length < 10; ++length)
    {
        EXPECT_EQ(this->m_Token.CheckPinLen(AppEncryption, length), length == 4) << length;
        EXPECT_EQ(this->m_Token.CheckPinLen(AppSignature, length), length == 6) << length;
        EXPECT_EQ(this->m_Token.CheckPinLen(AppInfobox, length), length == 4) << length;
        EXPECT_EQ(this->m_Token.CheckPinLen(AppInvalid, length), length == 0) << length;
    }
}

TYPED_TEST(ECardPinTest, SignaturePinIsVerifiedInARestoredEnvironment)
{
    this->ExpectIdentifier();
    this->m_Reader.Expect("00A4040C08D040000017001201", "9000").Expect("0022F301", "9000");
    this->m_Reader.Expect("0020008108 26123456FFFFFFFF", "9000");
    unsigned long retries = 0;

    EXPECT_EQ(this->m_Token.AuthenticatePin(AppSignature, std::string("123456"), &retries), CKR_OK);

    EXPECT_EQ(retries, 3U);
    EXPECT_EQ(this->m_Reader.Calls.front(), "BeginTransaction");
    EXPECT_EQ(this->m_Reader.Calls.back(), "EndTransaction");
    EXPECT_TRUE(this->Logged("MESSAGE VerifyReturnValue OK"));
}

TYPED_TEST(ECardPinTest, RefusedEnvironmentKeepsThePinBack)
{
    this->ExpectIdentifier();
    this->m_Reader.Expect("00A4040C08D040000017001201", "9000").Expect("0022F301", "6A88");
    unsigned long retries = 0;

    EXPECT_EQ(this->m_Token.AuthenticatePin(AppSignature, std::string("123456"), &retries),
              CKR_FUNCTION_FAILED);
    EXPECT_EQ(retries, 3U);
}

TYPED_TEST(ECardPinTest, EncryptionPinIsVerifiedInItsDirectory)
{
    this->ExpectIdentifier();
    this->m_Reader.Expect("00A4040C08D040000017001301", "9000").Expect("0020000108 241234FFFFFFFFFF", "63C2");
    unsigned long retries = 0;

    EXPECT_EQ(this->m_Token.AuthenticatePin(AppEncryption, std::string("1234"), &retries), CKR_PIN_INCORRECT);
    EXPECT_EQ(retries, 2U);
}

TYPED_TEST(ECardPinTest, InfoboxIsOpenedByTheEncryptionPin)
{
    this->ExpectIdentifier();
    this->m_Reader.Expect("00A4040C08D040000017001801", "9000").Expect("0020000108 241234FFFFFFFFFF", "9000");
    unsigned long retries = 0;

    EXPECT_EQ(this->m_Token.AuthenticatePin(AppInfobox, std::string("1234"), &retries), CKR_OK);
    EXPECT_EQ(retries, 10U);
}

TYPED_TEST(ECardPinTest, KeypadGetsAFormat2Block)
{
    this->ReaderHasKeypad();
    this->ExpectIdentifier();
    this->m_Reader.Expect("00A4040C08D040000017001301", "9000");
    this->m_Reader.ExpectKeypad("0020000108 20FFFFFFFFFFFFFF", 0, "9000");
    unsigned long retries = 0;

    EXPECT_EQ(this->m_Token.AuthenticatePin(AppEncryption, {}, &retries), CKR_OK);

    ASSERT_NE(this->m_Reader.LastPinData, nullptr);
    EXPECT_EQ(this->m_Reader.LastPinData->application, AppEncryption);
    EXPECT_EQ(this->m_Reader.LastPinData->format, PinFormat2);
    EXPECT_EQ(this->m_Reader.LastPinData->minLength, 4);
    EXPECT_EQ(this->m_Reader.LastPinData->maxLength, 4);
    EXPECT_EQ(this->m_Reader.LastPinData->pinBlockString, 0x47);
}

TYPED_TEST(ECardPinTest, SignaturePinHasSixDigits)
{
    this->ReaderHasKeypad();
    this->ExpectIdentifier();
    this->m_Reader.Expect("00A4040C08D040000017001201", "9000").Expect("0022F301", "9000");
    this->m_Reader.ExpectKeypad("0020008108 20FFFFFFFFFFFFFF", 0, "9000");
    unsigned long retries = 0;

    EXPECT_EQ(this->m_Token.AuthenticatePin(AppSignature, {}, &retries), CKR_OK);

    ASSERT_NE(this->m_Reader.LastPinData, nullptr);
    EXPECT_EQ(this->m_Reader.LastPinData->application, AppSignature);
    EXPECT_EQ(this->m_Reader.LastPinData->minLength, 6);
    EXPECT_EQ(this->m_Reader.LastPinData->maxLength, 6);
    EXPECT_EQ(this->m_Reader.LastPinData->pinBlockString, 0x47);
}

TYPED_TEST(ECardPinTest, SignaturePinIsChangedInARestoredEnvironment)
{
    this->UserTypes("123456", "654321");
    this->ExpectIdentifier();
    this->m_Reader.Expect("00A4040C08D040000017001201", "9000").Expect("0022F301", "9000");
    this->m_Reader.Expect("0024008110 26123456FFFFFFFF 26654321FFFFFFFF", "9000");

    EXPECT_EQ(this->m_Token.ChangePin(AppSignature), CKR_OK);
    EXPECT_EQ(FakeLibInput::Instance().Calls, (Lines{"GetPinChangeSoftwareEntry(1, 6, 6)"}));
}

TYPED_TEST(ECardPinTest, EncryptionPinIsChangedUnderItsReference)
{
    for (const auto& [app, select] :
         {std::pair{AppEncryption, "00A4040C08D040000017001301"}, {AppInfobox, "00A4040C08D040000017001801"}})
    {
        this->UserTypes("1234", "4321");
        this->ExpectIdentifier();
        this->m_Reader.Expect(select, "9000").Expect("0024000110 241234FFFFFFFFFF 244321FFFFFFFFFF", "9000");
        EXPECT_EQ(this->m_Token.ChangePin(app), CKR_OK);
    }
    EXPECT_EQ(FakeLibInput::Instance().Calls,
              (Lines{"GetPinChangeSoftwareEntry(0, 4, 4)", "GetPinChangeSoftwareEntry(0, 4, 4)"}));
}

TYPED_TEST(ECardPinTest, OtherApplicationsHaveNoPin)
{
    unsigned long retries = 77;
    EXPECT_EQ(this->m_Token.AuthenticatePin(AppInvalid, std::string("1234"), &retries), CKR_FUNCTION_FAILED);
    EXPECT_EQ(retries, 10U);
    EXPECT_EQ(this->m_Token.ChangePin(AppInvalid), CKR_FUNCTION_FAILED);
    EXPECT_TRUE(this->m_Reader.Calls.empty());
}

TYPED_TEST(ECardPinTest, DeauthenticateSelectsTheMasterFile)
{
    this->m_Reader.Expect("00A4000C023F00", "9000");
    EXPECT_TRUE(this->m_Token.DeauthenticatePin(AppSignature));
    EXPECT_EQ(this->m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4000C023F00", "EndTransaction"}));
    this->m_Reader.Expect("00A4000C023F00", "6A82");
    EXPECT_FALSE(this->m_Token.DeauthenticatePin(AppSignature));
}

TYPED_TEST(ECardPinTest, DeauthenticateWithoutTransactionSendsNothing)
{
    this->m_Reader.bBeginTransaction = false;
    EXPECT_FALSE(this->m_Token.DeauthenticatePin(AppSignature));
    EXPECT_EQ(this->m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

constexpr StatusCase kStatusCases[] = {
    {"Success", "9000", CKR_OK, "MESSAGE VerifyReturnValue OK", 7},
    {"TwoTries", "63C2", CKR_PIN_INCORRECT, "ERROR Falscher PIN (noch 2 Versuche)", 2},
    {"NoTryIsStillAWrongPin", "63C0", CKR_PIN_INCORRECT, "ERROR Falscher PIN (noch 0 Versuche)", 0},
    {"Locked", "6983", CKR_PIN_LOCKED, "ERROR PIN gesperrt", 7},
    {"Length", "6700", CKR_PIN_LEN_RANGE, "ERROR Falsche PIN-L\xC3\xA4nge", 7},
    {"KeypadTimeout", "6400", CKR_FUNCTION_CANCELED, "ERROR PIN-Eingabe abgelaufen", 7},
    {"KeypadCancel", "6401", CKR_FUNCTION_CANCELED, "ERROR PIN-Eingabe abgebrochen", 7},
    {"SecurityStatus", "6982", CKR_GENERAL_ERROR, "ERROR Fehler", 7},
    {"SuccessWithSw2", "9001", CKR_GENERAL_ERROR, "ERROR Fehler", 7},
    {"BelowTheCounter", "63BF", CKR_GENERAL_ERROR, "ERROR Fehler", 7},
    {"AboveTheCounter", "63D0", CKR_GENERAL_ERROR, "ERROR Fehler", 7},
    {"Empty", "", CKR_GENERAL_ERROR, "ERROR Fehler", 7},
    {"OneByteIsNoStatusWord", "90", CKR_GENERAL_ERROR, "ERROR Fehler", 7},
};

TYPED_TEST(ECardPinTest, StatusWordBecomesAResultATextAndARetryCount)
{
    for (const StatusCase& row : kStatusCases)
    {
        SCOPED_TRACE(row.name);
        CapturedLog::Lines().clear();
        unsigned long retries = 7;
        EXPECT_EQ(this->m_Token.VerifyReturnValue(FromHex(row.response), &retries), row.result);
        EXPECT_EQ(retries, row.retries);
        EXPECT_EQ(this->Log(), (Lines{row.line}));
        EXPECT_EQ(this->m_Token.VerifyReturnValue(FromHex(row.response), nullptr), row.result);
    }
}

} // namespace
