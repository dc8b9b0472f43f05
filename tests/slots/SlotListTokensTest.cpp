#include "slots/SlotList.h"

#include "cards/iCardToken.h"
#include "tests/slots/TokenSlotsFixture.h"

#include <array>
#include <memory>

namespace
{

class SlotListTokensTest : public TokenSlotsTest
{
protected:
    bool GetToken(unsigned long slot)
    {
        iCardToken* token = reinterpret_cast<iCardToken*>(this);
        const bool bLoaded = Slots().GetCardToken(slot, &token);
        m_Token.reset(token);
        return bLoaded;
    }

    std::unique_ptr<iCardToken> m_Token;
};

TEST_F(SlotListTokensTest, CardGivesANewTokenEachTime)
{
    FindReaders({true});
    ExpectAtr(0, kECardG4Atr);
    EXPECT_TRUE(GetToken(0));
    ASSERT_NE(m_Token, nullptr);
    EXPECT_EQ(m_Token->GetCardType(), CardTypeECardG4);
    const std::unique_ptr<iCardToken> first = std::move(m_Token);
    ExpectAtr(0, kECardG4Atr);
    EXPECT_TRUE(GetToken(0));
    EXPECT_NE(m_Token, first);
    EXPECT_TRUE(Log().empty());
}

TEST_F(SlotListTokensTest, InvalidSlotGivesNoToken)
{
    EXPECT_FALSE(GetToken(0));
    EXPECT_EQ(m_Token, nullptr);
    EXPECT_EQ(Log(), (Lines{"ERROR invalid slotID"}));
}

TEST_F(SlotListTokensTest, EmptySlotGivesNoToken)
{
    FindReaders({false});
    m_Pcsc.Status(0, 32).Fails(SCARD_E_INVALID_HANDLE);
    EXPECT_FALSE(GetToken(0));
    EXPECT_EQ(m_Token, nullptr);
    EXPECT_EQ(Log(), (Lines{"ERROR error loading atr from reader/card"}));
}

TEST_F(SlotListTokensTest, UnknownCardGivesNoToken)
{
    FindReaders({true});
    ExpectAtr(0, "3B00");
    EXPECT_FALSE(GetToken(0));
    EXPECT_EQ(m_Token, nullptr);
    EXPECT_EQ(Log(), (Lines{"ERROR error loading card token from reader"}));
}

// A removed card whose reader gets no new context leaves a reader that is not ok.
TEST_F(SlotListTokensTest, ReaderThatLostItsContextGivesNoToken)
{
    FindReaders({true});
    Reader& reader = m_Readers.front();
    m_Pcsc.Status(reader.card, 32).Fails(SCARD_W_REMOVED_CARD);
    m_Pcsc.Disconnect(reader.card, SCARD_UNPOWER_CARD);
    m_Pcsc.ReleaseContext(reader.context);
    ExpectNoContext();
    m_Pcsc.Connect(0, reader.name).Fails(SCARD_E_INVALID_HANDLE);
    m_Pcsc.Control(0, 0x42000D48, "", 2048);
    Slots().getSlotStateMap();
    m_Readers.clear();

    EXPECT_FALSE(GetToken(0));

    EXPECT_EQ(Log(), (Lines{"ERROR card reader is not OK"}));
}

TEST_F(SlotListTokensTest, MechanismsAreTheUnionInAscendingOrder)
{
    FindReaders({true});
    std::array<unsigned long, 10> list = {};
    unsigned long count = list.size();
    ExpectAtr(0, kECardG4Atr);

    EXPECT_EQ(Slots().GetMechanismList(0, list.data(), &count), CKR_OK);

    EXPECT_EQ(count, 8U);
    EXPECT_EQ(list, (std::array<unsigned long, 10>{0x1, 0x6, 0x8, 0x40, 0x41, 0x46, 0x1041, 0x1042, 0, 0}));
}

TEST_F(SlotListTokensTest, MechanismsOfAnAcos04AreSortedToo)
{
    FindReaders({true});
    unsigned long count = 0;
    ExpectAtr(0, kAcos04Atr);
    EXPECT_EQ(Slots().GetMechanismList(0, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 20U);
    std::vector<unsigned long> list(count);
    ExpectAtr(0, kAcos04Atr);
    EXPECT_EQ(Slots().GetMechanismList(0, list.data(), &count), CKR_OK);
    EXPECT_EQ(list, (std::vector<unsigned long>{0x0,   0x1,   0x6,   0x8,   0x40,   0x41,  0x46,
                                                0x100, 0x105, 0x120, 0x125, 0x130,  0x131, 0x133,
                                                0x136, 0x220, 0x240, 0x250, 0x1041, 0x1042}));
    EXPECT_TRUE(Log().empty());
}

TEST_F(SlotListTokensTest, TooSmallABufferIsLeftAlone)
{
    FindReaders({true});
    std::array<unsigned long, 8> list = {};
    unsigned long count = 7;
    ExpectAtr(0, kECardG4Atr);

    EXPECT_EQ(Slots().GetMechanismList(0, list.data(), &count), CKR_BUFFER_TOO_SMALL);

    EXPECT_EQ(count, 8U);
    EXPECT_EQ(list, (std::array<unsigned long, 8>{}));
    EXPECT_EQ(Log(),
              (Lines{"ERROR Mechanisms buffer too small.  Number of mechanisms = 8, Buffer size = 7"}));
}

TEST_F(SlotListTokensTest, MechanismsWithoutTokenAreBadArguments)
{
    FindReaders({false});
    unsigned long count = 5;
    m_Pcsc.Status(0, 32).Fails(SCARD_E_INVALID_HANDLE);
    EXPECT_EQ(Slots().GetMechanismList(0, nullptr, &count), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(count, 0U);
    count = 5;
    EXPECT_EQ(Slots().GetMechanismList(1, nullptr, &count), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(Log(), (Lines{"ERROR error loading atr from reader/card", "ERROR error loading cardtoken",
                            "ERROR invalid slotID", "ERROR error loading cardtoken"}));
}

} // namespace
