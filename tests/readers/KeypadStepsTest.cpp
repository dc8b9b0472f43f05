#include "tests/readers/KeypadTestSupport.h"

namespace
{
const LogLines kVerifyStarted = {"MESSAGE BaseCspReader VerifyPin", "MESSAGE VerifyPinStartFinish"};
const LogLines kChangeStarted = {"MESSAGE BaseCspReader ChangePin", "MESSAGE ModifyPinStartFinish"};
constexpr const char* kFull = "MESSAGE max pin length reached-> OK -> finish";

LogLines With(LogLines lines, const LogLines& more)
{
    lines.insert(lines.end(), more.begin(), more.end());
    return lines;
}
} // namespace

/** A reader that offers the three steps and tells its keys. */
class KeypadStepsTest : public KeypadTest
{
protected:
    KeypadStepsTest()
    {
        m_Reader.m_PinCodes.verifyPinStart = kVerifyStart;
        m_Reader.m_PinCodes.verifyPinFinish = kVerifyFinish;
        m_Reader.m_PinCodes.modifyPinStart = kModifyStart;
        m_Reader.m_PinCodes.modifyPinFinish = kModifyFinish;
        m_Reader.m_PinCodes.getKeyPressed = kKeyPressed;
    }

    void ExpectDigits(int count)
    {
        for (int i = 0; i < count; ++i)
        {
            ExpectKey("2B");
        }
    }
    void ExpectStart() { m_Pcsc.Control(kCard, kVerifyStart, kVerifyBlock); }
};

TEST_F(KeypadStepsTest, DigitsAndOkAreFollowedByFinish)
{
    m_Pcsc.Control(kCard, kVerifyStart, kVerifyBlock).Holding(0);
    ExpectDigits(2);
    ExpectKey("00");
    ExpectKey("0D");
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000").Holding(0);

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Hex(m_Response), "9000");
    EXPECT_EQ(Lines(), With(kVerifyStarted, {"MESSAGE CardReader: PIN DIGIT", "MESSAGE CardReader: PIN DIGIT",
                                             "MESSAGE CardReader: OK"}));
}

TEST_F(KeypadStepsTest, LongestPinEndsTheEntryWithoutOk)
{
    ExpectStart();
    ExpectDigits(8);
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Lines().back(), kFull);
}

TEST_F(KeypadStepsTest, CorrectionAndClearTakeDigitsBack)
{
    ExpectStart();
    ExpectDigits(7);
    ExpectKey("08");
    ExpectDigits(1);
    ExpectKey("0A");
    ExpectDigits(8);
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Lines().back(), kFull);
}

TEST_F(KeypadStepsTest, CorrectionsBelowZeroEndTheEntry)
{
    ExpectStart();
    ExpectDigits(4);
    for (int i = 0; i < 5; ++i)
    {
        ExpectKey("08");
    }
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Lines().back(), kFull);
}

TEST_F(KeypadStepsTest, CancelSkipsFinish)
{
    ExpectStart();
    ExpectDigits(1);
    ExpectKey("1B");

    EXPECT_EQ(Verify(), 1);

    EXPECT_EQ(Hex(m_Response), "1B") << "the last answer of the reader";
    EXPECT_EQ(Lines(),
              With(kVerifyStarted, {"MESSAGE CardReader: PIN DIGIT", "MESSAGE CardReader: CANCEL KEY",
                                    "MESSAGE pcsc verify finish  (0x80100002, 80100002)",
                                    "MESSAGE error in SCardControl  (0x80100002, 80100002)"}));
}

TEST_F(KeypadStepsTest, AbortOfTheReaderIsATimeout)
{
    ExpectStart();
    ExpectKey("40");

    EXPECT_EQ(Verify(), 1);

    EXPECT_EQ(Lines(), With(kVerifyStarted, {"MESSAGE CardReader: ABORT (Timeout?)",
                                             "MESSAGE pcsc verify finish  (0x8010000a, 8010000a)",
                                             "MESSAGE error in SCardControl  (0x8010000a, 8010000a)"}));
}

TEST_F(KeypadStepsTest, InnerFunctionReturnsThePcscCode)
{
    unsigned char block[1] = {0xAB};
    m_Pcsc.Control(kCard, kVerifyStart, "AB");
    ExpectKey("1B");
    m_Pcsc.Control(kCard, kModifyStart, "AB");
    ExpectKey("40");

    EXPECT_EQ(m_Reader.VerifyPinStartFinish(block, 1, m_Response, 8), SCARD_E_CANCELLED);
    EXPECT_EQ(m_Reader.ModifyPinStartFinish(block, 1, m_Response, 8), SCARD_E_TIMEOUT);
}

TEST_F(KeypadStepsTest, FailedPollEndsTheEntry)
{
    ExpectStart();
    ExpectDigits(1);
    m_Pcsc.Control(kCard, kKeyPressed, "").Fails(SCARD_W_REMOVED_CARD);
    m_Pcsc.Sleep(1);

    EXPECT_EQ(Verify(), 1);

    EXPECT_TRUE(m_Response.empty());
    EXPECT_EQ(Lines(), With(kVerifyStarted, {"MESSAGE CardReader: PIN DIGIT",
                                             "MESSAGE pcsc key pressed  (0x80100069, 80100069)",
                                             "MESSAGE pcsc verify finish  (0x80100069, 80100069)",
                                             "MESSAGE error in SCardControl  (0x80100069, 80100069)"}));
}

TEST_F(KeypadStepsTest, FailedPollAfterTheLongestPinSaysSo)
{
    unsigned char block[1] = {0xAB};
    m_Pcsc.Control(kCard, kVerifyStart, "AB");
    m_Pcsc.Control(kCard, kKeyPressed, "").Fails(SCARD_E_TIMEOUT);
    m_Pcsc.Sleep(1);

    EXPECT_EQ(m_Reader.VerifyPinStartFinish(block, 1, m_Response, 0), SCARD_E_TIMEOUT);

    EXPECT_EQ(Lines(),
              (LogLines{"MESSAGE VerifyPinStartFinish", "MESSAGE pcsc key pressed  (0x8010000a, 8010000a)",
                        kFull, "MESSAGE pcsc verify finish  (0x8010000a, 8010000a)"}));
}

TEST_F(KeypadStepsTest, KeyOfNoBytesIsNoKey)
{
    ExpectStart();
    m_Pcsc.Control(kCard, kKeyPressed, "").Gives("1B").Reports(0);
    m_Pcsc.Sleep(1);
    ExpectKey("0D");
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Lines(), With(kVerifyStarted, {"MESSAGE CardReader: OK"}));
}

TEST_F(KeypadStepsTest, GreatestLengthIsComparedAs16Bits)
{
    unsigned char block[1] = {0xAB};
    m_Pcsc.Control(kCard, kVerifyStart, "AB");
    ExpectKey("2B");
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000");

    EXPECT_EQ(m_Reader.VerifyPinStartFinish(block, 1, m_Response, 0x10001), 0);
}

TEST_F(KeypadStepsTest, FailedStartEndsEverything)
{
    m_Pcsc.Control(kCard, kVerifyStart, kVerifyBlock).Fails(SCARD_E_INVALID_PARAMETER).Gives("6B80");

    EXPECT_EQ(Verify(), 1);

    EXPECT_EQ(Hex(m_Response), "6B80");
    EXPECT_EQ(Lines(), With(kVerifyStarted,
                            {"MESSAGE pcsc verify start  (0x80100004, 80100004)",
                             "MESSAGE pcsc verify finish  (0x80100004, 80100004)",
                             "ERROR SCardControl verify_finish error invalid parameter in passed structure",
                             "MESSAGE error in SCardControl  (0x80100004, 80100004)"}));
}

TEST_F(KeypadStepsTest, FailedFinishIsReportedWithTheVerdict)
{
    ExpectStart();
    ExpectKey("0D");
    m_Pcsc.Control(kCard, kVerifyFinish, "").Fails(SCARD_E_NOT_TRANSACTED).Gives("6403");

    EXPECT_EQ(Verify(), 1);

    EXPECT_EQ(Lines(), With(kVerifyStarted,
                            {"MESSAGE CardReader: OK", "MESSAGE pcsc verify finish  (0x80100016, 80100016)",
                             "ERROR SCardControl verify_finish error User entered too short or too long PIN "
                             "regarding MIN/MAX PIN Length",
                             "MESSAGE error in SCardControl  (0x80100016, 80100016)"}));
}

TEST_F(KeypadStepsTest, LengthAboveTheBufferOrLeftInPlaceIsCut)
{
    ExpectStart();
    ExpectKey("0D");
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("90").Reports(0xFFFFFFFF);
    EXPECT_EQ(Verify(), 0);
    ASSERT_EQ(m_Response.size(), 5012U);
    EXPECT_EQ(m_Response[0], 0x90);

    m_Pcsc.Control(kCard, kVerifyStart, kVerifyBlock).Fails(SCARD_E_NO_SERVICE).LeavesLength();
    EXPECT_EQ(Verify(), 1);
    EXPECT_EQ(m_Response, Norvik::ByteArray(std::vector<unsigned char>(5012, 0x00)));
}

TEST_F(KeypadStepsTest, WithoutFinishTheLastAnswerIsTheResponse)
{
    m_Reader.m_PinCodes.verifyPinFinish = 0;
    ExpectStart();
    ExpectKey("0D");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Hex(m_Response), "0D");
}

TEST_F(KeypadStepsTest, WithoutKeysFinishFollowsStartAtOnceAndWithoutABeep)
{
    m_Reader.SetConfig(true, true, true);
    m_Reader.m_PinCodes.getKeyPressed = 0;
    ExpectStart();
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Hex(m_Response), "9000");
    EXPECT_EQ(Lines(), kVerifyStarted);
}

TEST_F(KeypadStepsTest, WithoutKeysAndFinishTheStartIsAll)
{
    m_Reader.m_PinCodes.getKeyPressed = 0;
    m_Reader.m_PinCodes.verifyPinFinish = 0;
    m_Pcsc.Control(kCard, kVerifyStart, kVerifyBlock).Gives("9000");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(Hex(m_Response), "9000");
}

TEST_F(KeypadStepsTest, ChangeCountsTheDigitsOfAllEntriesTogether)
{
    m_Pcsc.Control(kCard, kModifyStart, kModifyBlock).Holding(0);
    ExpectDigits(6);
    ExpectKey("00");
    ExpectDigits(2);
    m_Pcsc.Control(kCard, kModifyFinish, "").Gives("9000").Holding(0);

    EXPECT_EQ(Change(), 0);

    EXPECT_EQ(Hex(m_Response), "9000");
    EXPECT_EQ(Lines()[0], kChangeStarted[0]);
    EXPECT_EQ(Lines()[1], kChangeStarted[1]);
    EXPECT_EQ(Lines().back(), kFull);
}

TEST_F(KeypadStepsTest, FinishOfAChangeHangsOnTheFinishOfVerifying)
{
    m_Reader.m_PinCodes.verifyPinFinish = 0;
    m_Pcsc.Control(kCard, kModifyStart, kModifyBlock);
    ExpectKey("0D");
    EXPECT_EQ(Change(), 0) << "modifyPinFinish is there and not used";

    m_Reader.m_PinCodes.verifyPinFinish = kVerifyFinish;
    m_Reader.m_PinCodes.modifyPinFinish = 0;
    m_Pcsc.Control(kCard, kModifyStart, kModifyBlock);
    ExpectKey("0D");
    m_Pcsc.Control(kCard, 0, "").Fails(SCARD_E_INVALID_PARAMETER);
    EXPECT_EQ(Change(), 1) << "modifyPinFinish is not there and used";
}

TEST_F(KeypadStepsTest, FailedStartOfAChangeSaysVerifyStart)
{
    m_Pcsc.Control(kCard, kModifyStart, kModifyBlock).Fails(SCARD_E_INVALID_PARAMETER).Gives("6402");

    EXPECT_EQ(Change(), 1);

    EXPECT_EQ(
        Lines(),
        With(kChangeStarted,
             {"MESSAGE pcsc verify start  (0x80100004, 80100004)",
              "MESSAGE pcsc modify finish  (0x80100004, 80100004)",
              "ERROR SCardControl modify_finish error Modify PIN operation failed because two 'new PIN' "
              "entries do not match",
              "MESSAGE error in SCardControl  (0x80100004, 80100004)"}));
}
