#include "tests/readers/KeypadTestSupport.h"

namespace
{
struct KeyCase
{
    const char* name;
    unsigned char key;
    unsigned short digitsBefore;
    unsigned short digitsAfter;
    unsigned long code;
    bool bFinished;
    bool bGoOn;
    const char* line; ///< null for none
    const char* beep; ///< null for none
};

constexpr KeyCase kKeyCases[] = {
    {"Correction", 0x08, 3, 2, 0, false, true, "MESSAGE CardReader: CORRECTION",
     "\x1B[10;2000]\x1B[11;100]\x07"},
    {"CorrectionBelowZero", 0x08, 0, 65535, 0, false, true, "MESSAGE CardReader: CORRECTION",
     "\x1B[10;2000]\x1B[11;100]\x07"},
    {"Clear", 0x0A, 3, 0, 0, false, true, "MESSAGE CardReader: CLEAR", "\x1B[10;2000]\x1B[11;100]\x07"},
    {"Ok", 0x0D, 3, 3, 0, true, false, "MESSAGE CardReader: OK", "\x1B[10;200]\x1B[11;100]\x07"},
    {"Cancel", 0x1B, 3, 3, 0x80100002, false, false, "MESSAGE CardReader: CANCEL KEY",
     "\x1B[10;2000]\x1B[11;100]\x07"},
    {"Digit", 0x2B, 3, 4, 0, false, true, "MESSAGE CardReader: PIN DIGIT", "\x1B[10;200]\x1B[11;100]\x07"},
    {"DigitWraps", 0x2B, 65535, 0, 0, false, true, "MESSAGE CardReader: PIN DIGIT",
     "\x1B[10;200]\x1B[11;100]\x07"},
    {"Abort", 0x40, 3, 3, 0x8010000A, false, false, "MESSAGE CardReader: ABORT (Timeout?)", nullptr},
    {"NoKey", 0x00, 3, 3, 0, false, true, nullptr, nullptr},
    {"DigitCharacter", 0x31, 3, 3, 0, false, true, nullptr, nullptr},
    {"Last", 0xFF, 3, 3, 0, false, true, nullptr, nullptr},
};
} // namespace

class KeypadKeysTest : public KeypadTest, public testing::WithParamInterface<KeyCase>
{};

TEST_P(KeypadKeysTest, HasItsEffectAndItsBeep)
{
    const KeyCase& row = GetParam();
    m_Reader.SetConfig(true, true, true);
    if (row.beep != nullptr)
    {
        m_Pcsc.OpenConsole();
    }
    unsigned short digits = row.digitsBefore;
    unsigned long code = 77;
    bool bFinished = !row.bFinished;

    EXPECT_EQ(m_Reader.OnKeyPressed(row.key, digits, code, bFinished), row.bGoOn);

    EXPECT_EQ(digits, row.digitsAfter);
    EXPECT_EQ(code, row.code);
    EXPECT_EQ(bFinished, row.bFinished);
    EXPECT_EQ(Lines(), row.line != nullptr ? LogLines{row.line} : LogLines{});
    EXPECT_EQ(m_Pcsc.ConsoleText(), row.beep != nullptr ? row.beep : "");
}

TEST_P(KeypadKeysTest, LeavesTheConsoleAloneWithoutBeeps)
{
    unsigned short digits = 1;
    unsigned long code = 0;
    bool bFinished = false;

    m_Reader.OnKeyPressed(GetParam().key, digits, code, bFinished);

    EXPECT_TRUE(m_Pcsc.Done()) << "an opened console would not have been in the script";
}

INSTANTIATE_TEST_SUITE_P(All, KeypadKeysTest, testing::ValuesIn(kKeyCases), NameOfRow<KeyCase>);

TEST_F(KeypadTest, BeepWritesPitchLengthAndBellAndFlushesNothing)
{
    m_Reader.SetConfig(true, true, true);
    m_Pcsc.OpenConsole();

    m_Reader.DoBeep(400, 100);

    EXPECT_EQ(m_Pcsc.FlushedConsoleText(), "");
    EXPECT_EQ(m_Pcsc.ConsoleText(), "\x1B[10;400]\x1B[11;100]\x07");
}

TEST_F(KeypadTest, ConsoleThatCannotBeOpenedIsAccepted)
{
    m_Reader.SetConfig(true, true, true);
    m_Pcsc.OpenConsole().Fails(1);

    m_Reader.DoBeep(400, 100);

    EXPECT_TRUE(Lines().empty());
}

TEST_F(KeypadTest, KeysBeepBetweenTheStepsAndTheEndBeepsBeforeFinish)
{
    m_Reader.SetConfig(true, true, true);
    m_Reader.m_PinCodes.verifyPinStart = kVerifyStart;
    m_Reader.m_PinCodes.verifyPinFinish = kVerifyFinish;
    m_Reader.m_PinCodes.getKeyPressed = kKeyPressed;
    m_Pcsc.Control(kCard, kVerifyStart, kVerifyBlock);
    m_Pcsc.Control(kCard, kKeyPressed, "").Gives("2B");
    m_Pcsc.OpenConsole();
    m_Pcsc.Sleep(1);
    m_Pcsc.Control(kCard, kKeyPressed, "").Gives("0D");
    m_Pcsc.OpenConsole();
    m_Pcsc.Sleep(1);
    m_Pcsc.OpenConsole();
    m_Pcsc.Control(kCard, kVerifyFinish, "").Gives("9000");

    EXPECT_EQ(Verify(), 0);

    EXPECT_EQ(m_Pcsc.ConsoleText(), "\x1B[10;200]\x1B[11;100]\x07"
                                    "\x1B[10;200]\x1B[11;100]\x07"
                                    "\x1B[10;400]\x1B[11;100]\x07");
}

TEST_F(KeypadTest, CancelledEntryBeepsAtItsEndToo)
{
    m_Reader.SetConfig(true, true, true);
    m_Reader.m_PinCodes.verifyPinStart = kVerifyStart;
    m_Reader.m_PinCodes.getKeyPressed = kKeyPressed;
    m_Pcsc.Control(kCard, kVerifyStart, kVerifyBlock);
    m_Pcsc.Control(kCard, kKeyPressed, "").Gives("40");
    m_Pcsc.Sleep(1);
    m_Pcsc.OpenConsole();

    EXPECT_EQ(Verify(), 1);

    EXPECT_EQ(m_Pcsc.ConsoleText(), "\x1B[10;400]\x1B[11;100]\x07");
}
