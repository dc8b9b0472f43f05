// How clients of one card get along: transactions, resets, removals. Built twice like PcscContractTest.cpp.

#include "tests/simulator/PcscContractFixture.h"

#include "simulator/cards/Acos03.h"

#include <chrono>
#include <functional>
#include <ostream>
#include <thread>

namespace
{

using Simulator::Bytes;
using Simulator::FromHex;

constexpr const char* kSelectMf = "00 A4 00 0C 02 3F 00";
constexpr std::chrono::milliseconds kHoldTime{300};

class PcscSharingContract : public PcscContract
{
protected:
    void ConnectBoth()
    {
        m_A = Connect(m_Context, kCardReader).card;
        m_B = Connect(m_OtherContext, kCardReader).card;
        ASSERT_NE(m_A, 0);
        ASSERT_NE(m_B, 0);
    }

    /** Whether @p act by another client waits until A ends its transaction. */
    bool WaitsForTransactionOfA(const std::function<void()>& act) const
    {
        EXPECT_EQ(SCardBeginTransaction(m_A), SCARD_S_SUCCESS);
        std::thread ending([this] {
            std::this_thread::sleep_for(kHoldTime);
            EXPECT_EQ(SCardEndTransaction(m_A, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
        });
        const auto begin = std::chrono::steady_clock::now();
        act();
        const bool bWaited = std::chrono::steady_clock::now() - begin >= kHoldTime / 2;
        ending.join();
        return bWaited;
    }

    SCARDHANDLE m_A = 0;
    SCARDHANDLE m_B = 0;
};

TEST_F(PcscSharingContract, TransactionsNest)
{
    ConnectBoth();
    EXPECT_EQ(SCardBeginTransaction(m_A), SCARD_S_SUCCESS);
    EXPECT_EQ(SCardBeginTransaction(m_A), SCARD_S_SUCCESS);
    EXPECT_EQ(SCardEndTransaction(m_A, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(SCardEndTransaction(m_B, SCARD_LEAVE_CARD), SCARD_E_SHARING_VIOLATION);
    EXPECT_EQ(SCardEndTransaction(m_A, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(SCardEndTransaction(m_A, SCARD_LEAVE_CARD), SCARD_E_NOT_TRANSACTED);
}

TEST_F(PcscSharingContract, OthersWaitForTheEndOfATransaction)
{
    ConnectBoth();
    EXPECT_TRUE(WaitsForTransactionOfA([&] { EXPECT_EQ(Transmit(m_B, kSelectMf).code, SCARD_S_SUCCESS); }));
    EXPECT_TRUE(WaitsForTransactionOfA([&] { EXPECT_EQ(Status(m_B).code, SCARD_S_SUCCESS); }));
    EXPECT_TRUE(
        WaitsForTransactionOfA([&] { EXPECT_EQ(Reconnect(m_B, SCARD_LEAVE_CARD), SCARD_S_SUCCESS); }));
    EXPECT_TRUE(WaitsForTransactionOfA(
        [&] { EXPECT_EQ(Connect(m_OtherContext, kCardReader).code, SCARD_S_SUCCESS); }));
    EXPECT_TRUE(WaitsForTransactionOfA([&] {
        EXPECT_EQ(SCardBeginTransaction(m_B), SCARD_S_SUCCESS);
        EXPECT_EQ(SCardEndTransaction(m_B, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    }));
}

TEST_F(PcscSharingContract, SomeCallsOfOthersDoNotWait)
{
    ConnectBoth();
    EXPECT_FALSE(WaitsForTransactionOfA(
        [&] { EXPECT_EQ(GetAttrib(m_B, SCARD_ATTR_ICC_PRESENCE).code, SCARD_E_SHARING_VIOLATION); }));
    EXPECT_FALSE(WaitsForTransactionOfA(
        [&] { EXPECT_EQ(Control(m_B, CM_IOCTL_GET_FEATURE_REQUEST).code, SCARD_E_SHARING_VIOLATION); }));
    EXPECT_FALSE(
        WaitsForTransactionOfA([&] { EXPECT_EQ(SCardDisconnect(m_B, SCARD_LEAVE_CARD), SCARD_S_SUCCESS); }));
}

TEST_F(PcscSharingContract, ExclusiveConnectionKeepsOthersOut)
{
    const SCARDHANDLE first = Connect(m_Context, kCardReader, SCARD_SHARE_EXCLUSIVE).card;
    EXPECT_EQ(Connect(m_OtherContext, kCardReader).code, SCARD_E_SHARING_VIOLATION);
    SCardDisconnect(first, SCARD_LEAVE_CARD);
    EXPECT_EQ(Connect(m_OtherContext, kCardReader).code, SCARD_S_SUCCESS);
    EXPECT_EQ(Connect(m_Context, kCardReader, SCARD_SHARE_EXCLUSIVE).code, SCARD_E_SHARING_VIOLATION);
}

struct ResetCase
{
    const char* name;
    LONG (*reset)(SCARDHANDLE card);
    bool bTellsItself; ///< its own handle has to reconnect too
    bool bEndsHandle;
};

LONG ReconnectWith(SCARDHANDLE card, DWORD initialization)
{
    DWORD protocol = 0;
    return SCardReconnect(card, SCARD_SHARE_SHARED, 3, initialization, &protocol);
}

LONG EndWith(SCARDHANDLE card, DWORD disposition)
{
    const LONG begun = SCardBeginTransaction(card);
    return begun == SCARD_S_SUCCESS ? SCardEndTransaction(card, disposition) : begun;
}

void PrintTo(const ResetCase& row, std::ostream* out)
{
    *out << row.name;
}

class PcscResetContract : public PcscSharingContract, public testing::WithParamInterface<ResetCase>
{};

TEST_P(PcscResetContract, OthersLearnOfAReset)
{
    ConnectBoth();
    ASSERT_EQ(GetParam().reset(m_A), SCARD_S_SUCCESS);
    const LONG own = GetParam().bEndsHandle    ? SCARD_E_INVALID_HANDLE
                     : GetParam().bTellsItself ? SCARD_W_RESET_CARD
                                               : SCARD_S_SUCCESS;
    EXPECT_EQ(Transmit(m_A, kSelectMf).code, own);

    EXPECT_EQ(Transmit(m_B, kSelectMf).code, SCARD_W_RESET_CARD);
    EXPECT_EQ(Status(m_B).code, SCARD_W_RESET_CARD);
    EXPECT_EQ(SCardBeginTransaction(m_B), SCARD_W_RESET_CARD);
    EXPECT_EQ(SCardEndTransaction(m_B, SCARD_LEAVE_CARD), SCARD_W_RESET_CARD);
    EXPECT_EQ(GetAttrib(m_B, SCARD_ATTR_ICC_PRESENCE).code, SCARD_W_RESET_CARD);
    EXPECT_EQ(Control(m_B, CM_IOCTL_GET_FEATURE_REQUEST).code, SCARD_S_SUCCESS);
    EXPECT_EQ(Reconnect(m_B, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(m_B, kSelectMf).code, SCARD_S_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(
    All, PcscResetContract,
    testing::Values(
        ResetCase{"Reconnect", [](SCARDHANDLE card) { return ReconnectWith(card, SCARD_RESET_CARD); }, false,
                  false},
        ResetCase{"ReconnectUnpower",
                  [](SCARDHANDLE card) { return ReconnectWith(card, SCARD_UNPOWER_CARD); }, false, false},
        ResetCase{"EndTransaction", [](SCARDHANDLE card) { return EndWith(card, SCARD_RESET_CARD); }, true,
                  false},
        ResetCase{"EndTransactionUnpower", [](SCARDHANDLE card) { return EndWith(card, SCARD_UNPOWER_CARD); },
                  true, false},
        ResetCase{"Disconnect", [](SCARDHANDLE card) { return SCardDisconnect(card, SCARD_RESET_CARD); },
                  false, true}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(PcscSharingContract, ResetDropsWhatTheCardHadVerified)
{
    ConnectBoth();
    Transmit(m_A, "00 A4 00 0C 02 DF 71");
    ASSERT_EQ(Transmit(m_A, "00 20 00 81 08 31 32 33 34 00 00 00 00").bytes, FromHex("90 00"));
    Reconnect(m_B, SCARD_RESET_CARD);
    Reconnect(m_A, SCARD_LEAVE_CARD);
    Transmit(m_A, "00 A4 00 0C 02 DF 71");
    EXPECT_EQ(Transmit(m_A, "00 20 00 81").bytes, FromHex("63 CA"));
}

TEST_F(PcscSharingContract, CardSwitchedOffByOneClientStaysOff)
{
    ConnectBoth();
    ASSERT_EQ(SCardDisconnect(m_B, SCARD_UNPOWER_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(m_A, kSelectMf).code, SCARD_W_RESET_CARD);
    EXPECT_EQ(Reconnect(m_A, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(Status(m_A).state, static_cast<DWORD>(SCARD_PRESENT));
    EXPECT_EQ(Transmit(m_A, kSelectMf).code, SCARD_E_NOT_TRANSACTED);
    EXPECT_EQ(Connect(m_OtherContext, kCardReader).code, SCARD_W_UNPOWERED_CARD);
}

TEST_F(PcscSharingContract, CardSwitchedOffByTheLastClientComesBackAtConnect)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    ASSERT_EQ(SCardDisconnect(card, SCARD_UNPOWER_CARD), SCARD_S_SUCCESS);
    const Connection again = Connect(m_Context, kCardReader);
    EXPECT_EQ(again.code, SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(again.card, kSelectMf).code, SCARD_S_SUCCESS);
}

TEST_F(PcscSharingContract, DisconnectEndsTheTransaction)
{
    ConnectBoth();
    SCardBeginTransaction(m_A);
    EXPECT_EQ(SCardDisconnect(m_A, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(m_B, kSelectMf).code, SCARD_S_SUCCESS);
}

TEST_F(PcscSharingContract, ContextReleasedWithinATransactionResetsTheCard)
{
    ConnectBoth();
    SCardBeginTransaction(m_A);
    EXPECT_EQ(SCardReleaseContext(m_Context), SCARD_S_SUCCESS);
    EXPECT_EQ(Status(m_A).code, SCARD_E_INVALID_HANDLE);
    EXPECT_EQ(Transmit(m_B, kSelectMf).code, SCARD_W_RESET_CARD);
}

TEST_F(PcscSharingContract, ContextReleasedOutsideOfATransactionLeavesTheCard)
{
    ConnectBoth();
    EXPECT_EQ(SCardReleaseContext(m_Context), SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(m_B, kSelectMf).code, SCARD_S_SUCCESS);
}

TEST_F(PcscSharingContract, RemovedCardIsToldToItsHandles)
{
    ConnectBoth();
    World().Remove(kCardReader);
    const CardStatus status = Status(m_A);
    EXPECT_EQ(status.code, SCARD_W_REMOVED_CARD);
    EXPECT_EQ(status.atrLength, 0U);
    const Answer answer = Transmit(m_A, kSelectMf);
    EXPECT_EQ(answer.code, SCARD_W_REMOVED_CARD);
    EXPECT_EQ(answer.length, 0U);
    EXPECT_EQ(SCardBeginTransaction(m_A), SCARD_W_REMOVED_CARD);
    EXPECT_EQ(SCardEndTransaction(m_A, SCARD_LEAVE_CARD), SCARD_W_REMOVED_CARD);
    EXPECT_EQ(GetAttrib(m_A, SCARD_ATTR_ICC_PRESENCE).code, SCARD_W_REMOVED_CARD);
    EXPECT_EQ(Control(m_A, CM_IOCTL_GET_FEATURE_REQUEST).code, SCARD_S_SUCCESS);
    EXPECT_EQ(Reconnect(m_A, SCARD_LEAVE_CARD), SCARD_E_NO_SMARTCARD);
    EXPECT_EQ(Connect(m_Context, kCardReader).code, SCARD_E_NO_SMARTCARD);
    EXPECT_EQ(SCardDisconnect(m_A, SCARD_UNPOWER_CARD), SCARD_S_SUCCESS);
}

TEST_F(PcscSharingContract, NewCardIsReachedByANewConnectionAndNotByOldHandles)
{
    ConnectBoth();
    World().Swap(kCardReader, Simulator::MakeAcos03());
    EXPECT_EQ(Status(m_A).code, SCARD_W_REMOVED_CARD);
    EXPECT_EQ(Transmit(m_A, kSelectMf).code, SCARD_W_REMOVED_CARD);
    const Connection fresh = Connect(m_Context, kCardReader);
    EXPECT_EQ(fresh.code, SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(fresh.card, kSelectMf).code, SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(m_A, kSelectMf).code, SCARD_W_REMOVED_CARD);
    EXPECT_EQ(Reconnect(m_A, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(Transmit(m_A, kSelectMf).code, SCARD_S_SUCCESS);
}

TEST_F(PcscSharingContract, CardPulledWithinATransactionEndsIt)
{
    ConnectBoth();
    SCardBeginTransaction(m_A);
    World().Swap(kCardReader, Simulator::MakeAcos03());
    EXPECT_EQ(SCardEndTransaction(m_A, SCARD_LEAVE_CARD), SCARD_W_REMOVED_CARD);
    EXPECT_EQ(SCardDisconnect(m_A, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(Reconnect(m_B, SCARD_LEAVE_CARD), SCARD_S_SUCCESS);
    EXPECT_EQ(SCardBeginTransaction(m_B), SCARD_S_SUCCESS);
}

TEST_F(PcscSharingContract, CardPulledDuringACommandGivesNoAnswer)
{
    ConnectBoth();
    World().CardIn(kCardReader)->SetHook([](auto, const auto& answer) {
        World().Remove(kCardReader);
        return answer();
    });
    const Answer answer = Transmit(m_A, kSelectMf);
    EXPECT_NE(answer.code, SCARD_S_SUCCESS);
    EXPECT_EQ(answer.length, 0U);
    EXPECT_EQ(Connect(m_Context, kCardReader).code, SCARD_E_NO_SMARTCARD);
}

} // namespace
