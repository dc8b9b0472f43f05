#include "cards/profiles/CardTokenAcos03.h"

#include "tests/cards/profiles/ProfileFixture.h"

#include <stdexcept>

namespace
{

class CardTokenAcos03PinTest : public ProfileTest<CardTokenAcos03>
{
protected:
    /** Every PIN operation reads the card number first. */
    void ExpectCardNumber(bool bDirectorySelected = false)
    {
        if (!bDirectorySelected)
        {
            m_Reader.Expect("00A4000C02DF71", "9000");
        }
        m_Reader.Expect("00A4000C02D001", "9000").Expect("00B0000000", "8040000012345678 9000");
    }
};

TEST_F(CardTokenAcos03PinTest, SignaturePinIsVerifiedInTheSignatureDirectory)
{
    ExpectCardNumber();
    m_Reader.Expect("00A4000C02DF70", "9000").Expect("0020008108 3132333435360000", "9000");
    unsigned long retries = 0;

    EXPECT_EQ(m_Token.AuthenticatePin(AppSignature, std::string("123456"), &retries), CKR_OK);

    EXPECT_EQ(retries, 3U);
    EXPECT_EQ(m_Reader.Calls,
              (Lines{"BeginTransaction", "BeginTransaction", "SendApdu 00A4000C02DF71",
                     "SendApdu 00A4000C02D001", "SendApdu 00B0000000", "EndTransaction",
                     "SendApdu 00A4000C02DF70", "SendApdu 00200081083132333435360000", "EndTransaction"}));
    EXPECT_EQ(Log(),
              (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE InternalGetCardIdentifier", "MESSAGE SELECT DF OK",
                     "MESSAGE Software PIN Entry", "MESSAGE VerifyReturn OK", "MESSAGE Verify PIN OK"}));
}

TEST_F(CardTokenAcos03PinTest, EncryptionPinIsVerifiedInTheEncryptionDirectory)
{
    ExpectCardNumber();
    m_Reader.Expect("0020008108 3132333400000000", "9000");
    unsigned long retries = 0;

    EXPECT_EQ(m_Token.AuthenticatePin(AppEncryption, std::string("1234"), &retries), CKR_OK);
    EXPECT_EQ(retries, 10U);
}

TEST_F(CardTokenAcos03PinTest, LoginTakesFiveCommandsAfterALogout)
{
    m_Reader.Expect("00A4000C023F00", "9000");
    ExpectCardNumber();
    m_Reader.Expect("0020008108 3132333400000000", "9000");
    unsigned long retries = 0;

    m_Token.Logout(AppInvalid);
    EXPECT_EQ(m_Token.Login(AppEncryption, std::string("1234"), &retries), CKR_OK);
    EXPECT_EQ(m_Reader.Commands().size(), 5U);
}

TEST_F(CardTokenAcos03PinTest, InfoboxPinHasAReferenceOfItsOwn)
{
    m_Reader.Expect("00A4000C02DF71", "9000");
    ExpectCardNumber(true);
    m_Reader.Expect("00A4000C02C002", "9000").Expect("0020008308 3132333400000000", "9000");
    unsigned long retries = 0;

    EXPECT_EQ(m_Token.AuthenticatePin(AppInfobox, std::string("1234"), &retries), CKR_OK);
    EXPECT_EQ(retries, 10U);
    EXPECT_EQ(m_Reader.Calls.front(), "SendApdu 00A4000C02DF71");
}

TEST_F(CardTokenAcos03PinTest, InfoboxPinNeedsItsDirectory)
{
    m_Reader.Expect("00A4000C02DF71", "6A82");
    unsigned long retries = 0;

    EXPECT_EQ(m_Token.AuthenticatePin(AppInfobox, std::string("1234"), &retries), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Reader.Calls, (Lines{"SendApdu 00A4000C02DF71"}));
}

TEST_F(CardTokenAcos03PinTest, RetriesArePresetBeforeTheCardAnswers)
{
    m_Reader.bBeginTransaction = false;
    for (const auto& [app, preset] : {std::pair{AppEncryption, 10UL}, {AppSignature, 3UL}})
    {
        unsigned long retries = 77;
        EXPECT_EQ(m_Token.AuthenticatePin(app, std::string("1234"), &retries), CKR_FUNCTION_FAILED);
        EXPECT_EQ(retries, preset) << app;
    }
    m_Reader.Expect("00A4000C02DF71", "6A82");
    unsigned long retries = 77;
    EXPECT_EQ(m_Token.AuthenticatePin(AppInfobox, std::string("1234"), &retries), CKR_FUNCTION_FAILED);
    EXPECT_EQ(retries, 10U);
}

TEST_F(CardTokenAcos03PinTest, OtherApplicationsHaveNoPin)
{
    unsigned long retries = 77;
    EXPECT_EQ(m_Token.AuthenticatePin(AppInvalid, std::string("1234"), &retries), CKR_FUNCTION_FAILED);
    EXPECT_EQ(retries, 10U);
    EXPECT_EQ(m_Token.ChangePin(AppInvalid), CKR_FUNCTION_FAILED);
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_F(CardTokenAcos03PinTest, WrongPinGivesTheTriesLeft)
{
    ExpectCardNumber();
    m_Reader.Expect("0020008108 3939393900000000", "63C1");
    unsigned long retries = 0;

    EXPECT_EQ(m_Token.Login(AppEncryption, std::string("9999"), &retries), CKR_PIN_INCORRECT);

    EXPECT_EQ(retries, 1U);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);
    EXPECT_TRUE(Logged("ERROR Falscher PIN (noch 1 Versuche)"));
}

TEST_F(CardTokenAcos03PinTest, PinLongerThanItsBlockEndsTheTransaction)
{
    ExpectCardNumber();
    unsigned long retries = 0;

    EXPECT_THROW(m_Token.AuthenticatePin(AppEncryption, std::string("123456789"), &retries),
                 std::length_error);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

struct ChangeCase
{
    const char* name;
    SmartCardApplication application;
    const char* oldPin;
    const char* newPin;
    const char* selects; ///< after the card number
    const char* command;
    const char* dialog;
};

class CardTokenAcos03Change : public CardTokenAcos03PinTest, public testing::WithParamInterface<ChangeCase>
{};

TEST_P(CardTokenAcos03Change, SendsOldAndNewPin)
{
    UserTypes(GetParam().oldPin, GetParam().newPin);
    ExpectCardNumber();
    if (GetParam().selects != nullptr)
    {
        m_Reader.Expect(GetParam().selects, "9000");
    }
    m_Reader.Expect(GetParam().command, "9000");

    EXPECT_EQ(m_Token.ChangePin(GetParam().application), CKR_OK);
    EXPECT_EQ(FakeLibInput::Instance().Calls, (Lines{GetParam().dialog}));
}

INSTANTIATE_TEST_SUITE_P(
    All, CardTokenAcos03Change,
    testing::Values(
        ChangeCase{"Signature", AppSignature, "123456", "654321", "00A4000C02DF70",
                   "0024008110 3132333435360000 3635343332310000", "GetPinChangeSoftwareEntry(1, 6, 6)"},
        ChangeCase{"Encryption", AppEncryption, "1234", "4321", nullptr,
                   "0024008110 3132333400000000 3433323100000000", "GetPinChangeSoftwareEntry(0, 4, 4)"},
        // Another reference than VERIFY takes, in the directory, and with the encryption PIN's dialog.
        ChangeCase{"Infobox", AppInfobox, "1234", "4321", nullptr,
                   "0024008810 3132333400000000 3433323100000000", "GetPinChangeSoftwareEntry(0, 4, 4)"}),
    [](const testing::TestParamInfo<ChangeCase>& row) { return row.param.name; });

TEST_F(CardTokenAcos03PinTest, LastTryOfAChangeShowsInTheFlags)
{
    UserTypes("1234", "4321");
    ExpectCardNumber();
    m_Reader.Expect("0024008110 3132333400000000 3433323100000000", "63C1");

    EXPECT_EQ(m_Token.ChangePin(AppEncryption), CKR_PIN_INCORRECT);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);
}

TEST_F(CardTokenAcos03PinTest, KeypadGetsTheBlockStringOfThePin)
{
    ReaderHasKeypad();
    ExpectCardNumber();
    m_Reader.Expect("00A4000C02DF70", "9000").ExpectKeypad("0020008108 0000000000000000", 0, "9000");
    unsigned long retries = 0;

    EXPECT_EQ(m_Token.AuthenticatePin(AppSignature, {}, &retries), CKR_OK);

    ASSERT_NE(m_Reader.LastPinData, nullptr);
    EXPECT_EQ(m_Reader.LastPinData->application, AppSignature);
    EXPECT_EQ(m_Reader.LastPinData->format, PinFormatAscii);
    EXPECT_EQ(m_Reader.LastPinData->minLength, 6);
    EXPECT_EQ(m_Reader.LastPinData->maxLength, 6);
    EXPECT_EQ(m_Reader.LastPinData->pinBlockString, 0x08);
}

TEST_F(CardTokenAcos03PinTest, DeauthenticateSelectsTheMasterFile)
{
    for (const SmartCardApplication app : {AppEncryption, AppSignature, AppInfobox, AppInvalid})
    {
        m_Reader.Expect("00A4000C023F00", "9000");
        EXPECT_TRUE(m_Token.DeauthenticatePin(app));
        EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "SendApdu 00A4000C023F00", "EndTransaction"}));
        m_Reader.Calls.clear();
    }
}

TEST_F(CardTokenAcos03PinTest, DeauthenticateReportsTheSelect)
{
    m_Reader.Expect("00A4000C023F00", "6A82");
    EXPECT_FALSE(m_Token.DeauthenticatePin(AppEncryption));
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(CardTokenAcos03PinTest, DeauthenticateDoesNotReportTheEndOfTheTransaction)
{
    m_Reader.bEndTransaction = false;
    m_Reader.Expect("00A4000C023F00", "9000");
    EXPECT_TRUE(m_Token.DeauthenticatePin(AppEncryption));
}

TEST_F(CardTokenAcos03PinTest, DeauthenticateWithoutTransactionSendsNothing)
{
    m_Reader.bBeginTransaction = false;
    EXPECT_FALSE(m_Token.DeauthenticatePin(AppEncryption));
    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "EndTransaction"}));
}

TEST_F(CardTokenAcos03PinTest, WithoutReaderNothingIsFollowed)
{
    m_Token.SetReader(nullptr);
    unsigned long retries = 0;
    EXPECT_FALSE(m_Token.DeauthenticatePin(AppEncryption));
    EXPECT_EQ(m_Token.AuthenticatePin(AppInfobox, std::string("1234"), &retries), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Token.ChangePin(AppSignature), CKR_FUNCTION_FAILED);
}

class CardTokenAcos03Status : public CardTokenAcos03PinTest, public testing::WithParamInterface<StatusCase>
{};

TEST_P(CardTokenAcos03Status, BecomesAResultATextAndARetryCount)
{
    unsigned long retries = 7;

    EXPECT_EQ(m_Token.VerifyReturnValue(FromHex(GetParam().response), &retries), GetParam().result);

    EXPECT_EQ(retries, GetParam().retries);
    EXPECT_EQ(Log(), (Lines{GetParam().line}));
    EXPECT_TRUE(m_Reader.Calls.empty());
}

TEST_P(CardTokenAcos03Status, NeedsNoRetryCounter)
{
    EXPECT_EQ(m_Token.VerifyReturnValue(FromHex(GetParam().response), nullptr), GetParam().result);
}

constexpr StatusCase kStatusCases[] = {
    {"Success", "9000", CKR_OK, "MESSAGE VerifyReturn OK", 7},
    {"ThreeTries", "63C3", CKR_PIN_INCORRECT, "ERROR Falscher PIN (noch 3 Versuche)", 3},
    {"FifteenTries", "63CF", CKR_PIN_INCORRECT, "ERROR Falscher PIN (noch 15 Versuche)", 15},
    {"NoTryIsStillAWrongPin", "63C0", CKR_PIN_INCORRECT, "ERROR Falscher PIN (noch 0 Versuche)", 0},
    {"Length", "6700", CKR_PIN_LEN_RANGE, "ERROR Falsche PIN-L\xC3\xA4nge", 7},
    {"KeypadTimeout", "6400", CKR_FUNCTION_CANCELED, "ERROR PIN-Eingabe abgelaufen", 7},
    {"KeypadCancel", "6401", CKR_FUNCTION_CANCELED, "ERROR PIN-Eingabe abgebrochen", 7},
    {"Locked", "6983", CKR_PIN_LOCKED, "ERROR PIN gesperrt", kAllOnes},
    {"SecurityStatus", "6982", CKR_USER_TYPE_INVALID, "ERROR Security Status not satisfied", 7},
    {"NoPin", "6985", CKR_PIN_INCORRECT, "ERROR incorrect key type (no PIN)", 7},
    {"PlainText", "6988", CKR_GENERAL_ERROR, "ERROR Plain text verification not allowed", 7},
    {"Parameters", "6A81", CKR_GENERAL_ERROR, "ERROR Function not supported; wrong parameters P1-P2", 7},
    {"KeyId", "6A88", CKR_GENERAL_ERROR, "ERROR KID not found", 7},
    {"Instruction", "6D00", CKR_GENERAL_ERROR, "ERROR Instruction code not supported or invalid", 7},
    {"Class", "6E00", CKR_GENERAL_ERROR, "ERROR Class not supported", 7},
    {"System", "6F81", CKR_GENERAL_ERROR, "ERROR System error", 7},
    {"Other", "6AFE", CKR_GENERAL_ERROR, "ERROR Fehler 6A fe", 7},
    {"SuccessWithSw2", "9001", CKR_GENERAL_ERROR, "ERROR Fehler 90 01", 7},
    {"BelowTheCounter", "63BF", CKR_GENERAL_ERROR, "ERROR Fehler 63 bf", 7},
    {"AboveTheCounter", "63D0", CKR_GENERAL_ERROR, "ERROR Fehler 63 d0", 7},
    {"OtherTimeout", "6402", CKR_GENERAL_ERROR, "ERROR Fehler 64 02", 7},
    {"FirstTwoBytesCount", "9000 6983", CKR_OK, "MESSAGE VerifyReturn OK", 7},
    {"Empty", "", CKR_GENERAL_ERROR, "ERROR Fehler 00 00", 7},
    {"OneByteIsNoStatusWord", "90", CKR_GENERAL_ERROR, "ERROR Fehler 90 00", 7},
};
INSTANTIATE_TEST_SUITE_P(All, CardTokenAcos03Status, testing::ValuesIn(kStatusCases), NameOf);

} // namespace
