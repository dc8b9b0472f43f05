#include "cards/iCardToken.h"

#include "tests/cards/TokenTestSupport.h"
#include "tests/doubles/FakeLibInput.h"
#include "tests/support/FreedSecretWatch.h"

#include <stdexcept>

#include <gtest/gtest.h>

namespace
{

using Lines = std::vector<std::string>;

constexpr PINVerifyData kAsciiPin(AppSignature, PinFormatAscii, 4, 6, 0x08);
constexpr PINVerifyData kFormat2Pin(AppEncryption, PinFormat2, 6, 12, 0x47);
constexpr PINVerifyData kBcdPin(AppEncryption, PinFormatBcd, 6, 12, 0x47);
constexpr PINVerifyData kInfoboxPin(AppInfobox, PinFormatAscii, 4, 4, 0x08);

const ChipStructureObject kDirectory = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x70);
const ChipStructureObject kNoDirectory;

constexpr const char* kSelect = "00A4000C02DF70";

/** A token with a scripted reader and a user; all calls to both are in the reader's list, in order. */
class PinFlowTest : public testing::Test
{
protected:
    PinFlowTest()
    {
        FakeLibInput::Reset();
        User().OnCall = [this](const std::string& call) { m_Reader.Calls.push_back(call); };
        m_Token.OnIdentifier = [this](std::string& text) {
            m_Reader.Calls.emplace_back("identifier");
            text = "8040000012345678";
            return true;
        };
        CapturedLog::Lines().clear();
    }
    ~PinFlowTest() override { FakeLibInput::Reset(); }

    static FakeLibInput& User() { return FakeLibInput::Instance(); }

    void GiveTheReaderAKeypad()
    {
        m_Reader.bCanVerify = true;
        m_Reader.bCanModify = true;
    }
    static void TheUserTypes(const std::string& pin, const std::string& newPin = "")
    {
        User().bConfirm = true;
        User().Pin = pin;
        User().NewPin = newPin;
    }
    unsigned long Authenticate(const std::string& pin, const PINVerifyData& data = kAsciiPin,
                               const ChipStructureObject& df = kDirectory)
    {
        return m_Token.DoAuthenticatePin(df, &m_Verify, data, Bytes(pin), &m_Retries);
    }
    unsigned long Change(const std::string& pin, const PINVerifyData& data = kAsciiPin)
    {
        return m_Token.DoChangePin(kDirectory, &m_Change, data, Bytes(pin), &m_Retries);
    }

    ScriptedCardReader m_Reader;
    CapturedLog m_Log{kTokenLog};
    TestToken m_Token{&m_Reader};
    Apdu m_Verify{0x00, 0x20, 0x00, 0x81, 0x08};
    Apdu m_Change{0x00, 0x24, 0x00, 0x81, 0x10};
    unsigned long m_Retries = 3;
};

} // namespace

// The roads of a PIN to the card.

TEST_F(PinFlowTest, AGivenPinIsSentAsACommand)
{
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate("1234"), 0U);

    EXPECT_EQ(m_Reader.Calls, (Lines{"BeginTransaction", "identifier", "SendApdu 00A4000C02DF70",
                                     "SendApdu 00200081083132333400000000", "EndTransaction"}));
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK",
                                           "MESSAGE Software PIN Entry", "MESSAGE Verify PIN OK"}));
}

TEST_F(PinFlowTest, AGivenPinIsSentAsACommandAlsoWhereTheReaderHasAKeypad)
{
    GiveTheReaderAKeypad();
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate("1234"), 0U);

    EXPECT_EQ(m_Reader.Calls.front(), "BeginTransaction") << "the reader is not asked what it can do";
    EXPECT_TRUE(User().Calls.empty()) << "no hint";
}

TEST_F(PinFlowTest, AnEmptyPinIsAskedForInADialog)
{
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate(""), 0U);

    EXPECT_EQ(m_Reader.Calls, (Lines{"CheckReaderCapabilities", "BeginTransaction", "identifier",
                                     "SendApdu 00A4000C02DF70", "GetPinSoftwareEntry(1, 4, 6, room 256)",
                                     "SendApdu 00200081083132333400000000", "EndTransaction"}));
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK",
                     "MESSAGE Software PIN Entry - Pin Dialog", "MESSAGE Verify PIN OK"}));
}

TEST_F(PinFlowTest, AnEmptyPinIsTypedOnTheKeypad)
{
    GiveTheReaderAKeypad();
    m_Reader.Expect(kSelect, "9000").ExpectKeypad("0020008108 0000000000000000", 0, "9000");

    EXPECT_EQ(Authenticate(""), 0U);

    EXPECT_EQ(m_Reader.Calls,
              (Lines{"CheckReaderCapabilities", "BeginTransaction", "identifier", "SendApdu 00A4000C02DF70",
                     "StartExternalEntry(1, 4, 6, test token, 8040000012345678, verify)",
                     "Keypad 00200081080000000000000000", "KillInfo()", "EndTransaction"}));
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK",
                                           "MESSAGE External PIN Entry", "MESSAGE Verify PIN OK"}));
    EXPECT_EQ(m_Reader.LastPinData, &kAsciiPin);
    EXPECT_EQ(ToHex(m_Verify), "0020008108") << "the template stays as it is";
}

TEST_F(PinFlowTest, TheResponseOfAKeypadIsJudgedLikeThatOfACommand)
{
    GiveTheReaderAKeypad();
    m_Reader.Expect(kSelect, "9000").ExpectKeypad("0020008108 0000000000000000", 0, "63C1");

    EXPECT_EQ(Authenticate(""), 0xA0U);

    EXPECT_EQ(m_Retries, 1U);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);
    EXPECT_EQ(CapturedLog::Lines().back(), "ERROR Verify PIN ERROR");
}

TEST_F(PinFlowTest, AKeypadThatIsNoneLeadsToTheDialogInTheSameCall)
{
    GiveTheReaderAKeypad();
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000")
        .ExpectKeypad("0020008108 0000000000000000", 2, "")
        .Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate(""), 0U);

    EXPECT_EQ(User().Calls, (Lines{"StartExternalEntry(1, 4, 6, test token, 8040000012345678, verify)",
                                   "KillInfo()", "GetPinSoftwareEntry(1, 4, 6, room 256)"}));
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK", "MESSAGE External PIN Entry",
                     "ERROR External PIN Entry Error -> Retry with Software PIN Entry, Set Secure to false",
                     "MESSAGE Software PIN Entry - Pin Dialog", "MESSAGE Verify PIN OK"}));
}

TEST_F(PinFlowTest, AfterAKeypadThatIsNoneLaterCallsGoStraightToTheDialog)
{
    GiveTheReaderAKeypad();
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000")
        .ExpectKeypad("0020008108 0000000000000000", 2, "")
        .Expect("0020008108 3132333400000000", "9000");
    Authenticate("");
    EXPECT_FALSE(m_Reader.IsSecure());
    User().Calls.clear();
    m_Verify = Apdu(0x00, 0x20, 0x00, 0x81, 0x08);

    m_Reader.Expect("0020008108 3132333400000000", "9000");
    EXPECT_EQ(Authenticate(""), 0U);

    EXPECT_EQ(User().Calls, Lines{"GetPinSoftwareEntry(1, 4, 6, room 256)"});
}

TEST_F(PinFlowTest, TheResponseOfAKeypadThatIsNoneIsForgotten)
{
    GiveTheReaderAKeypad();
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000")
        .ExpectKeypad("0020008108 0000000000000000", 2, "9000")
        .Expect("0020008108 3132333400000000", "");

    EXPECT_EQ(Authenticate(""), 5U) << "no byte came back for the PIN";
}

TEST_F(PinFlowTest, AReaderThatCanVerifyButNotChangeIsNotUsedAsAKeypad)
{
    m_Reader.bCanVerify = true;
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate(""), 0U);
}

// Changing a PIN.

TEST_F(PinFlowTest, AChangeOfAGivenPinIsAChangeToTheSameValue)
{
    m_Reader.Expect(kSelect, "9000").Expect("0024008110 26123456FFFFFFFF 26123456FFFFFFFF", "9000");

    EXPECT_EQ(Change("123456", kFormat2Pin), 0U);

    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoChangePin", "MESSAGE SELECT DF OK",
                                           "MESSAGE Software PIN Entry", "MESSAGE Verify PIN OK"}));
    EXPECT_EQ(ToHex(m_Change), "0024008110"
                               "26123456FFFFFFFF"
                               "26123456FFFFFFFF");
}

TEST_F(PinFlowTest, AChangeAsksForOldAndNewPin)
{
    TheUserTypes("1234", "567890");
    m_Reader.Expect(kSelect, "9000").Expect("0024008110 3132333400000000 3536373839300000", "9000");

    EXPECT_EQ(Change(""), 0U);

    EXPECT_EQ(User().Calls, Lines{"GetPinChangeSoftwareEntry(1, 4, 6)"});
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE DoChangePin", "MESSAGE SELECT DF OK",
                     "MESSAGE Software PIN Entry - PinChange Dialog", "MESSAGE Verify PIN OK"}));
}

TEST_F(PinFlowTest, AChangeOnTheKeypadHasTwoEmptyFields)
{
    GiveTheReaderAKeypad();
    m_Reader.Expect(kSelect, "9000").ExpectKeypad("0024008110 20FFFFFFFFFFFFFF 20FFFFFFFFFFFFFF", 0, "9000");

    EXPECT_EQ(Change("", kFormat2Pin), 0U);

    EXPECT_EQ(User().Calls,
              (Lines{"StartExternalEntry(0, 6, 12, test token, 8040000012345678, change)", "KillInfo()"}));
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoChangePin", "MESSAGE SELECT DF OK",
                                           "MESSAGE External PIN Entry", "MESSAGE Verify PIN OK"}));
    EXPECT_EQ(ToHex(m_Change), "0024008110");
}

TEST_F(PinFlowTest, ACancelledChangeSendsNothing)
{
    m_Reader.Expect(kSelect, "9000");

    EXPECT_EQ(Change(""), 6U);

    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoChangePin", "MESSAGE SELECT DF OK",
                                           "MESSAGE Software PIN Entry - PinChange Dialog",
                                           "ERROR software pin entry failed", "ERROR Verify PIN ERROR"}));
}

TEST_F(PinFlowTest, AChangeSendsItsPreCommands)
{
    m_Reader.Expect(kSelect, "9000")
        .Expect("0022C1A4", "9000")
        .Expect("0024008110 3132333400000000 3132333400000000", "9000");

    EXPECT_EQ(m_Token.DoChangePin(kDirectory, {Apdu(0x00, 0x22, 0xC1, 0xA4)}, &m_Change, kAsciiPin,
                                  Bytes("1234"), &m_Retries),
              0U);
}

// What goes before the PIN.

TEST_F(PinFlowTest, WithoutDirectoryNothingIsSelected)
{
    m_Reader.Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate("1234", kAsciiPin, kNoDirectory), 0U);

    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE Software PIN Entry", "MESSAGE Verify PIN OK"}));
}

TEST_F(PinFlowTest, AFailedSelectEndsWithoutPin)
{
    m_Reader.Expect(kSelect, "6A82");

    EXPECT_EQ(Authenticate(""), 6U);

    EXPECT_TRUE(User().Calls.empty());
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE DoAuthenticatePin", "ERROR Apdu SW: 0x6a 0x82 - expected: 0x90 0x0",
                     "ERROR Verify PIN ERROR"}));
}

TEST_F(PinFlowTest, AFailedBeginEndsWithoutPinButStillEndsTheTransaction)
{
    m_Reader.bBeginTransaction = false;

    EXPECT_EQ(Authenticate(""), 6U);

    EXPECT_EQ(m_Reader.Calls,
              (Lines{"CheckReaderCapabilities", "BeginTransaction", "identifier", "EndTransaction"}))
        << "the identifier is read all the same";
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoAuthenticatePin", "ERROR Verify PIN ERROR"}));
}

TEST_F(PinFlowTest, PreCommandsGoInTheirOrder)
{
    m_Reader.Expect(kSelect, "9000")
        .Expect("0022C1A4", "9000")
        .Expect("0084000008", "9000")
        .Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(m_Token.DoAuthenticatePin(kDirectory,
                                        {Apdu(0x00, 0x22, 0xC1, 0xA4), Apdu(0x00, 0x84, 0x00, 0x00, 0x08)},
                                        &m_Verify, kAsciiPin, Bytes("1234"), &m_Retries),
              0U);
}

TEST_F(PinFlowTest, ThePreCommandThatFailsIsTheLast)
{
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000").Expect("0001", "9000").Expect("0002", "6982");
    Apdu first;
    first.Append(FromHex("0001"));
    Apdu second;
    second.Append(FromHex("0002"));
    Apdu third;
    third.Append(FromHex("0003"));

    EXPECT_EQ(m_Token.DoAuthenticatePin(kDirectory, {first, second, third}, &m_Verify, kAsciiPin, Bytes(""),
                                        &m_Retries),
              6U);

    EXPECT_TRUE(User().Calls.empty()) << "no PIN is asked for";
    EXPECT_EQ(ToHex(m_Verify), "0020008108");
}

TEST_F(PinFlowTest, APreCommandThatCannotBeSentIsTheLast)
{
    m_Reader.Expect(kSelect, "9000").ExpectFailing("0022C1A4", "9000");

    EXPECT_EQ(m_Token.DoAuthenticatePin(kDirectory, {Apdu(0x00, 0x22, 0xC1, 0xA4)}, &m_Verify, kAsciiPin,
                                        Bytes("1234"), &m_Retries),
              6U);
}

TEST_F(PinFlowTest, APreCommandDoesNotTakeTheStatusOfTheOneBefore)
{
    m_Reader.Expect(kSelect, "9000").Expect("0001", "9000").Expect("0002", "");
    Apdu first;
    first.Append(FromHex("0001"));
    Apdu second;
    second.Append(FromHex("0002"));

    EXPECT_EQ(m_Token.DoAuthenticatePin(kDirectory, {first, second}, &m_Verify, kAsciiPin, Bytes("1234"),
                                        &m_Retries),
              6U);
}

TEST_F(PinFlowTest, AnUnreadableIdentifierIsNoFailure)
{
    m_Token.OnIdentifier = [](std::string&) { return false; };
    GiveTheReaderAKeypad();
    m_Reader.Expect(kSelect, "9000").ExpectKeypad("0020008108 0000000000000000", 0, "9000");

    EXPECT_EQ(Authenticate(""), 0U);

    EXPECT_EQ(User().Calls.front(), "StartExternalEntry(1, 4, 6, test token, , verify)");
}

// Failures of the PIN itself.

TEST_F(PinFlowTest, ACancelledDialogSendsNothing)
{
    m_Reader.Expect(kSelect, "9000");

    EXPECT_EQ(Authenticate(""), 6U);

    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(ToHex(m_Verify), "0020008108");
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK",
                                           "MESSAGE Software PIN Entry - Pin Dialog",
                                           "ERROR software pin entry failed", "ERROR Verify PIN ERROR"}));
    EXPECT_EQ(m_Token.GetFlags(), 0x50EU);
    EXPECT_EQ(std::count(m_Token.Calls.begin(), m_Token.Calls.end(), "VerifyReturnValue"), 0);
}

TEST_F(PinFlowTest, TheInfoboxPinHasNoDialog)
{
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000");

    EXPECT_EQ(Authenticate("", kInfoboxPin), 6U);
}

TEST_F(PinFlowTest, ACommandThatCannotBeSentIsNotJudged)
{
    m_Reader.Expect(kSelect, "9000").ExpectFailing("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate("1234"), 6U);

    EXPECT_EQ(std::count(m_Token.Calls.begin(), m_Token.Calls.end(), "VerifyReturnValue"), 0);
    EXPECT_EQ(CapturedLog::Lines().back(), "ERROR Verify PIN ERROR");
}

TEST_F(PinFlowTest, AKeypadErrorEndsWithoutDialog)
{
    GiveTheReaderAKeypad();
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000").ExpectKeypad("0020008108 0000000000000000", 1, "9000");

    EXPECT_EQ(Authenticate(""), 6U);

    EXPECT_TRUE(m_Reader.IsSecure()) << "the keypad stays in use";
    EXPECT_EQ(User().Calls.back(), "KillInfo()");
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK", "MESSAGE External PIN Entry",
                     "ERROR External PIN Entry Error", "ERROR Verify PIN ERROR"}));
}

TEST_F(PinFlowTest, AnUnknownKeypadResultIsAnError)
{
    GiveTheReaderAKeypad();
    TheUserTypes("1234");
    m_Reader.Expect(kSelect, "9000").ExpectKeypad("0020008108 0000000000000000", 3, "9000");

    EXPECT_EQ(Authenticate(""), 6U);

    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK", "MESSAGE External PIN Entry",
                     "ERROR External PIN Entry returns unknown result -> ERROR", "ERROR Verify PIN ERROR"}));
}

TEST_F(PinFlowTest, AWrongPinGivesTheProfilesResultAndMovesTheFlags)
{
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3132333400000000", "63C1");

    EXPECT_EQ(Authenticate("1234"), 0xA0U);

    EXPECT_EQ(m_Retries, 1U);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);
    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoAuthenticatePin", "MESSAGE SELECT DF OK",
                                           "MESSAGE Software PIN Entry", "ERROR Verify PIN ERROR"}));
}

TEST_F(PinFlowTest, ALockedPinMovesTheFlags)
{
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3132333400000000", "6983");

    EXPECT_EQ(Authenticate("1234"), 0xA4U);

    EXPECT_EQ(m_Token.GetFlags(), 0x4050EU);
}

TEST_F(PinFlowTest, AFailedEndOfTheTransactionIsNoFailure)
{
    m_Reader.bEndTransaction = false;
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3132333400000000", "9000");

    EXPECT_EQ(Authenticate("1234"), 0U);
}

TEST_F(PinFlowTest, AFormatWithoutBlockSendsTheTemplateAsItIs)
{
    m_Reader.Expect(kSelect, "9000").Expect("0020008108", "6700");

    EXPECT_EQ(Authenticate("1234", kBcdPin), 5U);
}

TEST_F(PinFlowTest, WithoutReaderThePinFlowFails)
{
    m_Token.SetReader(nullptr);

    EXPECT_EQ(Authenticate("1234"), 6U);

    EXPECT_EQ(CapturedLog::Lines(), (Lines{"MESSAGE DoAuthenticatePin", "ERROR Verify PIN ERROR"}));
}

// Exceptions that pass.

TEST_F(PinFlowTest, APinLongerThanItsBlockLeavesWithTheTransactionEnded)
{
    m_Reader.Expect(kSelect, "9000");

    EXPECT_THROW(Authenticate("123456789"), std::length_error);

    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
    EXPECT_EQ(m_Token.GetFlags(), 0x50EU);
}

TEST_F(PinFlowTest, AnExceptionOfTheDialogLeavesWithTheTransactionEnded)
{
    User().Exception = std::make_exception_ptr(std::runtime_error("segment"));
    m_Reader.Expect(kSelect, "9000");

    EXPECT_THROW(Authenticate(""), std::runtime_error);

    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(PinFlowTest, AnExceptionOfTheHintLeavesWithTheTransactionEnded)
{
    GiveTheReaderAKeypad();
    User().Exception = std::make_exception_ptr(std::runtime_error("segment"));
    m_Reader.Expect(kSelect, "9000").ExpectKeypad("0020008108 0000000000000000", 0, "9000");

    EXPECT_THROW(Authenticate(""), std::runtime_error);

    EXPECT_EQ(m_Reader.Calls.back(), "EndTransaction");
}

TEST_F(PinFlowTest, TheTokenWorksAfterAnException)
{
    m_Reader.Expect(kSelect, "9000");
    EXPECT_THROW(Authenticate("123456789"), std::length_error);

    m_Reader.Expect("0020008108 3132333400000000", "9000");
    m_Verify = Apdu(0x00, 0x20, 0x00, 0x81, 0x08);
    EXPECT_EQ(Authenticate("1234"), 0U);
}

// No copy of a PIN stays behind.

namespace
{

struct SecretCase
{
    const char* name;
    bool bChange;
    bool bDialog;
    const PINVerifyData& data;
    const char* secret; // the PIN where it is sent as such, else its block
    const char* wire;
};

constexpr const char* kPin = "73519284";
constexpr const char* kPinBlock = "\x28\x73\x51\x92\x84\xFF";
constexpr PINVerifyData kLongAsciiPin(AppSignature, PinFormatAscii, 4, 8, 0x08);

constexpr SecretCase kSecretCases[] = {
    {"GivenAscii", false, false, kLongAsciiPin, kPin, "0020008108 3733353139323834"},
    {"GivenFormat2", false, false, kFormat2Pin, kPinBlock, "0020008108 2873519284FFFFFF"},
    {"DialogAscii", false, true, kLongAsciiPin, kPin, "0020008108 3733353139323834"},
    {"DialogFormat2", false, true, kFormat2Pin, kPinBlock, "0020008108 2873519284FFFFFF"},
    {"ChangeGivenAscii", true, false, kLongAsciiPin, kPin, "0024008110 3733353139323834 3733353139323834"},
    {"ChangeGivenFormat2", true, false, kFormat2Pin, kPinBlock,
     "0024008110 2873519284FFFFFF 2873519284FFFFFF"},
    {"ChangeDialogAscii", true, true, kLongAsciiPin, kPin, "0024008110 3733353139323834 3733353139323834"},
    {"ChangeDialogFormat2", true, true, kFormat2Pin, kPinBlock,
     "0024008110 2873519284FFFFFF 2873519284FFFFFF"},
};

class PinSecretTest : public PinFlowTest, public testing::WithParamInterface<SecretCase>
{};

} // namespace

TEST_P(PinSecretTest, NoFreedMemoryHoldsThePin)
{
    if (GetParam().bDialog)
    {
        TheUserTypes(kPin, kPin);
    }
    const Norvik::ByteArray pin = Bytes(GetParam().bDialog ? "" : kPin);
    m_Reader.Expect(kSelect, "9000").Expect(GetParam().wire, "9000");
    const FreedSecretWatch watch(GetParam().secret);

    const unsigned long rv =
        GetParam().bChange
            ? m_Token.DoChangePin(kDirectory, &m_Change, GetParam().data, pin, &m_Retries)
            : m_Token.DoAuthenticatePin(kDirectory, &m_Verify, GetParam().data, pin, &m_Retries);

    EXPECT_EQ(rv, 0U);
    EXPECT_EQ(watch.Leaks(), 0U);
}

INSTANTIATE_TEST_SUITE_P(All, PinSecretTest, testing::ValuesIn(kSecretCases),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

TEST_F(PinFlowTest, NoFreedMemoryHoldsThePinWhenAnExceptionPasses)
{
    const Norvik::ByteArray pin = Bytes("735192846");
    m_Reader.Expect(kSelect, "9000");
    const FreedSecretWatch watch("735192846");

    EXPECT_THROW(m_Token.DoChangePin(kDirectory, &m_Change, kAsciiPin, pin, &m_Retries), std::length_error);

    EXPECT_EQ(watch.Leaks(), 0U);
}

// Padding.

namespace
{

struct PaddingCase
{
    const char* name;
    PINFormat format;
    const char* pin;
    bool bDone;
    const char* command;
};

constexpr PaddingCase kPaddings[] = {
    {"Ascii", PinFormatAscii, "1234", true,
     "0020008108"
     "3132333400000000"},
    {"AsciiFull", PinFormatAscii, "12345678", true,
     "0020008108"
     "3132333435363738"},
    {"AsciiEmpty", PinFormatAscii, "", true,
     "0020008108"
     "0000000000000000"},
    {"Format2", PinFormat2, "123456", true,
     "0020008108"
     "26123456FFFFFFFF"},
    {"Format2Empty", PinFormat2, "", true,
     "0020008108"
     "20FFFFFFFFFFFFFF"},
    {"Format2TenDigits", PinFormat2, "1234567890", true,
     "0020008108"
     "2A1234567890FFFF"},
    {"Bcd", PinFormatBcd, "1234", false, "0020008108"},
    {"Unknown", static_cast<PINFormat>(3), "1234", false, "0020008108"},
};

class PinPaddingTest : public PinFlowTest, public testing::WithParamInterface<PaddingCase>
{};

} // namespace

TEST_P(PinPaddingTest, AppendsABlockOfEightBytesOrNothing)
{
    EXPECT_EQ(m_Token.DoPinPadding(&m_Verify, GetParam().format, Bytes(GetParam().pin)), GetParam().bDone);
    EXPECT_EQ(ToHex(m_Verify), GetParam().command);
}

INSTANTIATE_TEST_SUITE_P(All, PinPaddingTest, testing::ValuesIn(kPaddings),
                         [](const auto& testCase) { return std::string(testCase.param.name); });

// Login and logout.

TEST_F(PinFlowTest, LoginRemembersASuccess)
{
    unsigned long retries = 0;

    EXPECT_EQ(m_Token.Login(AppSignature, Bytes("1234"), &retries), 0U);

    EXPECT_TRUE(m_Token.IsLoggedIn());
    EXPECT_EQ(m_Token.Calls, Lines{"AuthenticatePin 1"});
}

TEST_F(PinFlowTest, LoginPassesThePinOnAndMovesTheFlags)
{
    unsigned long retries = 0;
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray& pin,
                                   unsigned long* counter) {
        EXPECT_EQ(Text(pin), "1234");
        *counter = 1;
        return CKR_PIN_INCORRECT;
    };

    EXPECT_EQ(m_Token.Login(AppEncryption, Bytes("1234"), &retries), 0xA0U);

    EXPECT_FALSE(m_Token.IsLoggedIn());
    EXPECT_EQ(retries, 1U);
    EXPECT_EQ(m_Token.GetFlags(), 0x3050EU);
}

TEST_F(PinFlowTest, AFailedSecondLoginLeavesTheTokenLoggedIn)
{
    unsigned long retries = 0;
    m_Token.Login(AppSignature, Bytes("1234"), &retries);
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_INCORRECT;
    };

    EXPECT_EQ(m_Token.Login(AppSignature, Bytes("9999"), &retries), 0xA0U);

    EXPECT_TRUE(m_Token.IsLoggedIn());
}

TEST_F(PinFlowTest, TheFinalTryFlagStaysUntilAPinOperationSucceeds)
{
    m_Reader.Expect(kSelect, "9000").Expect("0020008108 3939393900000000", "63C1");
    Authenticate("9999");
    EXPECT_EQ(m_Token.GetFlags() & CKF_USER_PIN_FINAL_TRY, CKF_USER_PIN_FINAL_TRY);

    EXPECT_TRUE(m_Token.ResetCard());
    EXPECT_EQ(m_Token.GetFlags() & CKF_USER_PIN_FINAL_TRY, CKF_USER_PIN_FINAL_TRY);

    m_Verify = Apdu(0x00, 0x20, 0x00, 0x81, 0x08);
    m_Reader.Expect("0020008108 3132333400000000", "9000");
    Authenticate("1234");
    EXPECT_EQ(m_Token.GetFlags(), 0x50EU);
}

TEST_F(PinFlowTest, LoginWithoutPinAsksForOne)
{
    unsigned long retries = 0;
    m_Token.OnAuthenticatePin = [](SmartCardApplication app, const Norvik::ByteArray& pin, unsigned long*) {
        EXPECT_TRUE(pin.empty());
        return app == AppInfobox ? CKR_OK : CKR_FUNCTION_FAILED;
    };

    EXPECT_FALSE(m_Token.Login(AppEncryption, &retries));
    EXPECT_FALSE(m_Token.IsLoggedIn());
    EXPECT_TRUE(m_Token.Login(AppInfobox, &retries));
    EXPECT_TRUE(m_Token.IsLoggedIn());
}

TEST_F(PinFlowTest, LogoutForgetsTheLoginWhateverTheCardSays)
{
    unsigned long retries = 0;
    m_Token.Login(AppSignature, Bytes("1234"), &retries);
    m_Token.bDeauthenticatePin = false;

    EXPECT_FALSE(m_Token.Logout(AppEncryption));

    EXPECT_FALSE(m_Token.IsLoggedIn());
    EXPECT_EQ(m_Token.Calls.back(), "DeauthenticatePin 0");

    m_Token.bDeauthenticatePin = true;
    EXPECT_TRUE(m_Token.Logout(AppSignature));
}
