#include "tests/readers/ReaderTestSupport.h"

#include <gtest/gtest-spi.h>
#include <unistd.h>

namespace
{
// EXPECT_NONFATAL_FAILURE runs its statement where locals of the test are out of reach.
void CallWithoutStep()
{
    const ScriptedPcsc pcsc;
    EXPECT_EQ(SCardBeginTransaction(1), SCARD_F_INTERNAL_ERROR);
}

void CallWithWrongArgument()
{
    ScriptedPcsc pcsc;
    pcsc.EndTransaction(1, SCARD_LEAVE_CARD);
    SCardEndTransaction(1, SCARD_RESET_CARD);
    SCardEndTransaction(1, SCARD_LEAVE_CARD);
}

void CallOutOfOrder()
{
    ScriptedPcsc pcsc;
    pcsc.BeginTransaction(1);
    pcsc.EndTransaction(1, SCARD_LEAVE_CARD);
    SCardEndTransaction(1, SCARD_LEAVE_CARD);
    SCardBeginTransaction(1);
    SCardEndTransaction(1, SCARD_LEAVE_CARD);
}

void LeaveAStep()
{
    ScriptedPcsc pcsc;
    pcsc.BeginTransaction(1);
}

void UseADirtyBuffer()
{
    ScriptedPcsc pcsc;
    pcsc.Control(1, 2, "", 4);
    unsigned char buffer[4] = {0, 0, 1, 0};
    unsigned long length = sizeof(buffer);
    SCardControl(1, 2, nullptr, 0, buffer, sizeof(buffer), &length);
    buffer[2] = 0;
    SCardControl(1, 2, nullptr, 0, buffer, sizeof(buffer), &length);
}

void UseAnotherPci()
{
    ScriptedPcsc pcsc;
    pcsc.Transmit(1, "00");
    const SCARD_IO_REQUEST pci = g_rgSCardT1Pci;
    const unsigned char command = 0;
    unsigned char buffer[ScriptedPcsc::kAnswerSize] = {};
    unsigned long length = sizeof(buffer);
    SCardTransmit(1, &pci, &command, 1, nullptr, buffer, &length);
    SCardTransmit(1, SCARD_PCI_T1, &command, 1, nullptr, buffer, &length);
}

void HoldNoMutex()
{
    ScriptedPcsc pcsc;
    pcsc.BeginTransaction(1).Holding(1);
    SCardBeginTransaction(1);
}

void SleepUnasked()
{
    const ScriptedPcsc pcsc;
    sleep(3600);
}
} // namespace

TEST(ScriptedPcscTest, UnexpectedCallFails)
{
    EXPECT_NONFATAL_FAILURE(CallWithoutStep(), "called:   SCardBeginTransaction card=1");
}

TEST(ScriptedPcscTest, WrongArgumentFails)
{
    EXPECT_NONFATAL_FAILURE(CallWithWrongArgument(), "expected: SCardEndTransaction card=1 disposition=0");
}

TEST(ScriptedPcscTest, WrongOrderFails)
{
    EXPECT_NONFATAL_FAILURE(CallOutOfOrder(), "expected: SCardBeginTransaction card=1");
}

TEST(ScriptedPcscTest, UnusedStepFails)
{
    EXPECT_NONFATAL_FAILURE(LeaveAStep(), "not called: SCardBeginTransaction card=1");
}

TEST(ScriptedPcscTest, DirtyBufferFails)
{
    EXPECT_NONFATAL_FAILURE(UseADirtyBuffer(), "buffer=4 not zeroed");
}

TEST(ScriptedPcscTest, CopyOfTheProtocolInformationFails)
{
    EXPECT_NONFATAL_FAILURE(UseAnotherPci(), "pci=another");
}

TEST(ScriptedPcscTest, MissingLockFails)
{
    EXPECT_NONFATAL_FAILURE(HoldNoMutex(), "mutexes held in SCardBeginTransaction card=1");
}

TEST(ScriptedPcscTest, UnexpectedSleepFailsWithoutWaiting)
{
    EXPECT_NONFATAL_FAILURE(SleepUnasked(), "called:   sleep 3600");
}

TEST(ScriptedPcscTest, GivesWhatTheStepSays)
{
    ScriptedPcsc pcsc;
    pcsc.Control(1, 2, "0102", 3).Fails(SCARD_E_TIMEOUT).Gives("AA BB CC DD").Reports(9);
    const unsigned char input[2] = {1, 2};
    unsigned char buffer[3] = {};
    unsigned long length = 77;

    EXPECT_EQ(SCardControl(1, 2, input, sizeof(input), buffer, sizeof(buffer), &length), SCARD_E_TIMEOUT);

    EXPECT_EQ(ScriptedPcscCalls::Hex(buffer, sizeof(buffer)), "AABBCC");
    EXPECT_EQ(length, 9U);
    EXPECT_TRUE(pcsc.Done());
}

TEST(ScriptedPcscTest, LeavesTheLengthWhereTheStepSaysSo)
{
    ScriptedPcsc pcsc;
    pcsc.Control(1, 2, "", 3).LeavesLength();
    unsigned char buffer[3] = {};
    unsigned long length = 77;

    SCardControl(1, 2, nullptr, 0, buffer, sizeof(buffer), &length);

    EXPECT_EQ(length, 77U);
}
