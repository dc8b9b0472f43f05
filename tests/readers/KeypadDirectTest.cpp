#include "tests/readers/KeypadTestSupport.h"

namespace
{
/** VerifyPin() and ChangePin() side by side. */
struct Operation
{
    const char* name;
    bool bChange;
    const char* directFeature;
    unsigned long directCode;
    const char* otherFeature;
    LogLines started;
    const char* directLine;
    const char* verdict;
    const char* noHandle;
    const char* notSupported;
};

const Operation kOperations[] = {
    {"Verify",
     false,
     "0604 42330006",
     0x42330006,
     "0704 42330007",
     {"MESSAGE BaseCspReader VerifyPin", "MESSAGE CheckReaderCapabilities start"},
     "MESSAGE VerifyPinDirect",
     "ERROR SCardControl verify_direct error SPE operation timed out",
     "ERROR VerifyPin hCard is NULL",
     "MESSAGE SCardControl does not support external pin verify  (0x0, 0)"},
    {"Change",
     true,
     "0704 42330007",
     0x42330007,
     "0604 42330006",
     {"MESSAGE BaseCspReader ChangePin", "MESSAGE CheckReaderCapabilities start"},
     "MESSAGE ModifyPinDirect",
     "ERROR SCardControl modify_direct error SPE operation timed out",
     "ERROR ChangePin hCard is NULL",
     "MESSAGE SCardControl does not support external pin changee  (0x0, 0)"},
};

LogLines With(LogLines lines, const LogLines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}
} // namespace

class KeypadOperationTest : public KeypadTest, public testing::WithParamInterface<Operation>
{
protected:
    int Run() { return GetParam().bChange ? Change() : Verify(); }

    ScriptedPcsc::Step& ExpectFeatures(const std::string& features)
    {
        return m_Pcsc.Control(kCard, kFeatureRequest, "").Gives(features);
    }

    ScriptedPcsc::Step& ExpectDirect()
    {
        return m_Pcsc.Control(kCard, GetParam().directCode, GetParam().bChange ? kModifyBlock : kVerifyBlock);
    }
};

INSTANTIATE_TEST_SUITE_P(All, KeypadOperationTest, testing::ValuesIn(kOperations), NameOfRow<Operation>);

TEST_P(KeypadOperationTest, DirectEntrySucceeds)
{
    ExpectFeatures(GetParam().directFeature);
    ExpectDirect().Gives("9000").Holding(0);
    m_Response = Bytes("FF");

    EXPECT_EQ(Run(), 0);

    EXPECT_EQ(Hex(m_Response), "9000");
    EXPECT_EQ(Lines(), With(GetParam().started, {GetParam().directLine}));
}

TEST_P(KeypadOperationTest, KnownCapabilitiesAreNotAskedAgain)
{
    ExpectFeatures(GetParam().directFeature);
    ExpectDirect().Gives("9000");
    ExpectDirect().Gives("63C2");

    Run();
    EXPECT_EQ(Run(), 0);

    EXPECT_EQ(Hex(m_Response), "63C2");
}

TEST_P(KeypadOperationTest, VerdictOfTheReaderInASuccessfulCallIsForTheCaller)
{
    ExpectFeatures(GetParam().directFeature);
    ExpectDirect().Gives("6401");

    EXPECT_EQ(Run(), 0);

    EXPECT_EQ(Hex(m_Response), "6401");
    EXPECT_EQ(Lines(), With(GetParam().started, {GetParam().directLine}));
}

TEST_P(KeypadOperationTest, FailedCallIsAnErrorWithTheVerdict)
{
    ExpectFeatures(GetParam().directFeature);
    ExpectDirect().Fails(SCARD_E_NOT_TRANSACTED).Gives("6400");

    EXPECT_EQ(Run(), 1);

    EXPECT_EQ(Hex(m_Response), "6400");
    EXPECT_EQ(Lines(), With(GetParam().started, {GetParam().directLine, GetParam().verdict,
                                                 "MESSAGE error in SCardControl  (0x80100016, 80100016)"}));
}

TEST_P(KeypadOperationTest, FailedCallWithoutAnswerLeavesTheResponse)
{
    ExpectFeatures(GetParam().directFeature);
    ExpectDirect().Fails(SCARD_E_NO_SERVICE);

    EXPECT_EQ(Run(), 1);

    EXPECT_TRUE(m_Response.empty());
    EXPECT_EQ(Lines(), With(GetParam().started, {GetParam().directLine,
                                                 "MESSAGE error in SCardControl  (0x8010001d, 8010001d)"}));
}

TEST_P(KeypadOperationTest, AnswerLengthAboveTheBufferIsCut)
{
    ExpectFeatures(GetParam().directFeature);
    ExpectDirect().Gives("AA").Reports(0xFFFFFFFFFFFFFFFF);

    EXPECT_EQ(Run(), 0);

    ASSERT_EQ(m_Response.size(), 5012U);
    EXPECT_EQ(m_Response[0], 0xAA);
    EXPECT_EQ(m_Response[5011], 0x00);
}

TEST_P(KeypadOperationTest, LengthLeftByAFailedCallYieldsZeros)
{
    ExpectFeatures(GetParam().directFeature);
    ExpectDirect().Fails(SCARD_E_NO_SERVICE).LeavesLength();

    EXPECT_EQ(Run(), 1);

    EXPECT_EQ(m_Response, Norvik::ByteArray(std::vector<unsigned char>(5012, 0x00)));
}

TEST_P(KeypadOperationTest, DirectWinsOverSteps)
{
    ExpectFeatures("0104 42330001 0204 42330002 0304 42330003 0404 42330004 0604 42330006 0704 42330007");
    ExpectDirect().Gives("9000");

    EXPECT_EQ(Run(), 0);
}

TEST_P(KeypadOperationTest, WithoutHandleIsAnError)
{
    KeypadReader reader(0);

    EXPECT_EQ(GetParam().bChange ? reader.ChangePin(Bytes(kCommand), &m_Data, m_Response)
                                 : reader.VerifyPin(Bytes(kCommand), &m_Data, m_Response),
              1);

    EXPECT_EQ(Lines(), (LogLines{GetParam().started[0], GetParam().noHandle}));
}

TEST_P(KeypadOperationTest, ReaderWithoutAnyKeypadIsNotSupported)
{
    ExpectFeatures("");

    EXPECT_EQ(Run(), 2);

    EXPECT_EQ(Lines(), GetParam().started);
}

TEST_P(KeypadOperationTest, ReaderThatRefusesTheQuestionIsNotSupported)
{
    ExpectFeatures(GetParam().directFeature).Fails(SCARD_E_UNSUPPORTED_FEATURE);

    EXPECT_EQ(Run(), 2);
}

TEST_P(KeypadOperationTest, ReaderWithTheOtherOperationAloneIsNotSupported)
{
    ExpectFeatures(GetParam().otherFeature);

    EXPECT_EQ(Run(), 2);

    EXPECT_EQ(Lines(), With(GetParam().started, {GetParam().notSupported}));
}

TEST_P(KeypadOperationTest, UnknownFormatIsAnError)
{
    ExpectFeatures(GetParam().directFeature);
    const PINVerifyData data(AppSignature, static_cast<PINFormat>(3), 6, 8, 0x08);

    EXPECT_EQ(GetParam().bChange ? m_Reader.ChangePin(Bytes(kCommand), &data, m_Response)
                                 : m_Reader.VerifyPin(Bytes(kCommand), &data, m_Response),
              1);

    EXPECT_EQ(Lines(), With(GetParam().started, {"ERROR invalid pin format"}));
}

TEST_P(KeypadOperationTest, CommandLongerThanTheBlockIsNotSent)
{
    ExpectFeatures(GetParam().directFeature);
    const Norvik::ByteArray command(std::vector<unsigned char>(2030, 0x00));

    EXPECT_EQ(GetParam().bChange ? m_Reader.ChangePin(command, &m_Data, m_Response)
                                 : m_Reader.VerifyPin(command, &m_Data, m_Response),
              1);

    EXPECT_EQ(Lines(), GetParam().started);
}

TEST_P(KeypadOperationTest, WithoutPinDataIsAnError)
{
    ExpectFeatures(GetParam().directFeature);

    EXPECT_EQ(GetParam().bChange ? m_Reader.ChangePin(Bytes(kCommand), nullptr, m_Response)
                                 : m_Reader.VerifyPin(Bytes(kCommand), nullptr, m_Response),
              1);
}
