#include "slots/CardTokenList.h"
#include "slots/CardTokenWrapper.h"

#include "cards/iCardToken.h"
#include "tests/slots/TokenSlotsFixture.h"

#include <cerrno>

#include <boost/thread/exceptions.hpp>

namespace
{

class CardTokenListTest : public TokenSlotsTest
{
protected:
    CardTokenListTest()
    {
        // The first use in the process looks for slots, the later ones don't.
        static bool bUsed = false;
        if (!bUsed)
        {
            bUsed = true;
            ExpectNoList();
        }
        CardTokenList::instance()->destroy();
    }
    ~CardTokenListTest() override { CardTokenList::instance()->destroy(); }

    static CardTokenList& Tokens() { return *CardTokenList::instance(); }
    /** What the list does with an ACOS 03 in its slot when it is filled. */
    void ExpectAcos03Token(std::size_t slot)
    {
        ExpectAtr(slot, kAcos03Atr);
        ExpectAcosProbe(slot);
    }
};

TEST_F(CardTokenListTest, FirstUpdateFillsTheListForAllSlots)
{
    FindReaders({true, false});
    ExpectAcos03Token(0);
    m_Pcsc.Status(0, 32).Fails(SCARD_E_INVALID_HANDLE);
    ExpectPresence(1, false);

    Tokens().updateSlot(1);

    EXPECT_EQ(Tokens().size(), 2U);
    ASSERT_NE(Tokens().getCardToken(0), nullptr);
    EXPECT_EQ(Tokens().getCardToken(0)->GetCardType(), CardTypeAcos03);
    EXPECT_EQ(Tokens().getCardToken(1), nullptr);
    EXPECT_EQ(Log(), (Lines{"ERROR error loading atr from reader/card", "ERROR cannot load card token"}));
}

// Six commands from nothing to the first session, two more for another.
TEST_F(CardTokenListTest, FirstSessionTakesSixCommandsAndAnotherTwo)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    ExpectPresence(0, true);
    ExpectIdentifier(0, true);
    CardTokenWrapper first(0);
    ASSERT_NE(first.token(), nullptr);

    ExpectPresence(0, true);
    ExpectIdentifier(0, false);
    CardTokenWrapper second(0);
    EXPECT_EQ(second.token(), first.token());
    EXPECT_TRUE(Log().empty());
}

TEST_F(CardTokenListTest, SlotThatDoesNotExistHasNoToken)
{
    FindReaders({false});
    m_Pcsc.Status(0, 32).Fails(SCARD_E_INVALID_HANDLE);
    CardTokenWrapper wrapper(5);
    EXPECT_EQ(wrapper.token(), nullptr);
    EXPECT_EQ(Tokens().size(), 1U);
}

TEST_F(CardTokenListTest, UnknownCardHasAKeyWithoutToken)
{
    FindReaders({true});
    ExpectAtr(0, "3B00");
    ExpectPresence(0, true);
    ExpectAtr(0, "3B00");
    CardTokenWrapper wrapper(0);
    EXPECT_EQ(wrapper.token(), nullptr);
    EXPECT_EQ(Tokens().size(), 1U);
    EXPECT_EQ(Log(), (Lines{"ERROR error loading card token from reader", "ERROR cannot load card token",
                            "MESSAGE CardTokenList::updateSlot updating after changed token",
                            "ERROR error loading card token from reader"}));
}

TEST_F(CardTokenListTest, PulledCardLosesItsTokenAtTheNextUpdate)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    ExpectPresence(0, true);
    ExpectIdentifier(0, true);
    CardTokenWrapper wrapper(0);
    ASSERT_NE(wrapper.token(), nullptr);
    EXPECT_NE(wrapper.token(), nullptr);

    ExpectPresence(0, false);
    wrapper.reload();

    EXPECT_EQ(wrapper.token(), nullptr);
    EXPECT_EQ(Tokens().size(), 1U);
    EXPECT_TRUE(Log().empty());
}

TEST_F(CardTokenListTest, CardInsertedLaterGetsItsTokenAtTheNextUpdate)
{
    FindReaders({false});
    m_Pcsc.Status(0, 32).Fails(SCARD_E_INVALID_HANDLE);
    ExpectPresence(0, false);
    CardTokenWrapper old(0);
    EXPECT_EQ(old.token(), nullptr);
    CapturedModuleLog::Clear();

    ExpectPresence(0, true);
    ExpectAcos03Token(0);
    CardTokenWrapper opened(0);

    ASSERT_NE(opened.token(), nullptr);
    EXPECT_EQ(old.token(), opened.token());
    EXPECT_EQ(Log(), (Lines{"MESSAGE CardTokenList::updateSlot updating after changed token"}));
}

TEST_F(CardTokenListTest, CardPutBackBetweenTwoUpdatesKeepsItsToken)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    ExpectPresence(0, true);
    ExpectIdentifier(0, true);
    CardTokenWrapper wrapper(0);
    iCardToken* const token = wrapper.token();

    // The directory is still taken for selected, so the card has to answer to the file alone.
    m_Pcsc.Status(m_Readers[0].card, 32).Fails(SCARD_W_REMOVED_CARD);
    m_Pcsc.Disconnect(m_Readers[0].card, SCARD_UNPOWER_CARD);
    m_Pcsc.ReleaseContext(m_Readers[0].context);
    m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(m_Readers[0].context);
    m_Readers[0].card = 0;
    ExpectPresence(0, true);
    ExpectIdentifier(0, false);
    wrapper.reload();

    EXPECT_EQ(wrapper.token(), token);
    EXPECT_TRUE(Log().empty());
}

TEST_F(CardTokenListTest, CardThatGivesNoIdentifierAnyMoreGetsANewToken)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    ExpectPresence(0, true);
    for (int round = 0; round < 3; ++round)
    {
        ExpectTransaction(0, {{"00A4000C02DF71", "6A82"}});
    }
    ExpectAtr(0, kECardG4Atr);

    CardTokenWrapper wrapper(0);

    ASSERT_NE(wrapper.token(), nullptr);
    EXPECT_EQ(wrapper.token()->GetCardType(), CardTypeECardG4);
    EXPECT_EQ(Log(), (Lines{"MESSAGE CardTokenList::updateSlot updating after changed token"}));
}

TEST_F(CardTokenListTest, ClearAllKeepsTheSlots)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    Tokens().initialize();
    ASSERT_NE(Tokens().getCardToken(0), nullptr);

    Tokens().clearAll();

    EXPECT_EQ(Tokens().size(), 1U);
    EXPECT_EQ(Tokens().getCardToken(0), nullptr);
}

// A second filling builds the token, and doesn't store it.
TEST_F(CardTokenListTest, FillingDoesNotReplaceTheValueOfAKnownSlot)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    Tokens().initialize();
    ExpectAcos03Token(0);
    Tokens().initialize();
    EXPECT_EQ(Tokens().getCardToken(0), nullptr);
}

TEST_F(CardTokenListTest, DestroyedListIsFilledAnew)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    Tokens().initialize();
    Tokens().destroy();
    EXPECT_EQ(Tokens().size(), 0U);
    Destroy();

    FindReaders({true});
    ExpectAcos03Token(0);
    ExpectPresence(0, true);
    ExpectIdentifier(0, true);
    CardTokenWrapper wrapper(0);
    EXPECT_NE(wrapper.token(), nullptr);
}

TEST_F(CardTokenListTest, TokenTalksToNoCard)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    ExpectPresence(0, true);
    ExpectIdentifier(0, true);
    CardTokenWrapper wrapper(0);
    for (int i = 0; i < 10; ++i)
    {
        EXPECT_NE(wrapper.token(), nullptr);
    }
    EXPECT_TRUE(m_Pcsc.Done());
}

// The lock of the tokens is held over the card traffic, and taken before that of the readers.
TEST_F(CardTokenListTest, ReloadHoldsItsLockOverTheCardTraffic)
{
    FindReaders({true});
    ExpectAcos03Token(0);
    Tokens().initialize();
    m_Pcsc.Status(m_Readers[0].card, 32).Holding(2);
    m_Pcsc.Status(m_Readers[0].card, 0).GivesState(SCARD_PRESENT).Holding(1);
    m_Pcsc.BeginTransaction(m_Readers[0].card).Holding(2);
    m_Pcsc.Transmit(m_Readers[0].card, "00A4000C02DF71").Gives("9000").Holding(1);
    m_Pcsc.Transmit(m_Readers[0].card, "00A4000C02D001").Gives("9000").Holding(1);
    m_Pcsc.Transmit(m_Readers[0].card, "00B0000000").Gives("80400000123456789000").Holding(1);
    m_Pcsc.EndTransaction(m_Readers[0].card, SCARD_LEAVE_CARD).Holding(2);
    const CardTokenWrapper wrapper(0);
    EXPECT_EQ(ScriptedPcsc::HeldMutexes(), 0);
}

TEST_F(CardTokenListTest, LockThatFailsLeavesAndIsNotHeld)
{
    FindReaders({true});
    ScriptedPcsc::FailNextLock(EINVAL);
    EXPECT_THROW(CardTokenWrapper(0), boost::lock_error);
    EXPECT_EQ(ScriptedPcsc::HeldMutexes(), 0);

    ExpectAcos03Token(0);
    ExpectPresence(0, true);
    ExpectIdentifier(0, true);
    CardTokenWrapper wrapper(0);
    EXPECT_NE(wrapper.token(), nullptr);
}

// A chip text that is too short leaves as an exception; the transaction and the locks are given back.
TEST_F(CardTokenListTest, IdentifierThatThrowsLeavesTheListUsable)
{
    FindReaders({true});
    ExpectAtr(0, kECardG4Atr);
    ExpectPresence(0, true);
    ExpectTransaction(0, {{"00A4000C023F00", "9000"}, {"00B0820000", "9000"}});
    EXPECT_THROW(CardTokenWrapper(0), std::out_of_range);
    EXPECT_EQ(ScriptedPcsc::HeldMutexes(), 0);

    ExpectPresence(0, false);
    CardTokenWrapper wrapper(0);
    EXPECT_EQ(wrapper.token(), nullptr);
}

} // namespace
