#include "slots/SlotList.h"

#include "tests/slots/SlotsFixture.h"

#include <cerrno>

#include <boost/thread/exceptions.hpp>

namespace
{

using StateMap = std::map<unsigned long, unsigned long>;

class SlotListTest : public SlotsTest
{};

TEST_F(SlotListTest, HandleIsOneEmptyListUntilDestroyed)
{
    SlotList* first = SlotList::GetHandle();
    EXPECT_EQ(SlotList::GetHandle(), first);
    EXPECT_FALSE(first->CheckValidSlotId(0));
}

TEST_F(SlotListTest, DestroyWithoutListDoesNothing)
{
    SlotList::Destroy();
    SlotList::Destroy();
    EXPECT_TRUE(Log().empty());
}

TEST_F(SlotListTest, ReadersBecomeSlotsInTheOrderOfTheirNames)
{
    ExpectList({"Reader B", "Reader A"});
    ExpectContext("Reader B");
    ExpectContext("Reader A");
    ExpectLook({false, true});

    EXPECT_EQ(Slots().GetSlotList(false), (SlotIds{0, 1}));

    EXPECT_TRUE(Slots().CheckValidSlotId(0));
    EXPECT_TRUE(Slots().CheckValidSlotId(1));
    EXPECT_FALSE(Slots().CheckValidSlotId(2));
    EXPECT_FALSE(Slots().CheckValidSlotId(~0UL));
    EXPECT_EQ(Log(), (Lines{"ERROR slot state map size: 2"}));
}

TEST_F(SlotListTest, SecondInitializeIsLoggedAndAsksNobody)
{
    FindReaders({false});
    Slots().Initialize();
    EXPECT_EQ(Log(), (Lines{"MESSAGE second call to initialize"}));
}

TEST_F(SlotListTest, ListStaysOnceAReaderIsHeld)
{
    FindReaders({false});
    EXPECT_EQ(Slots().GetSlotList(false), (SlotIds{0}));
    EXPECT_EQ(Slots().GetSlotList(false), (SlotIds{0}));
}

// Without a service or a reader each look tries again.
TEST_F(SlotListTest, EachLookWithoutReadersEnumeratesAnew)
{
    ExpectNoContext();
    EXPECT_TRUE(Slots().GetSlotList(false).empty());
    ExpectNoList();
    EXPECT_TRUE(Slots().GetSlotList(true).empty());
    ExpectNoList();
    EXPECT_TRUE(Slots().getSlotStateMap().empty());
    EXPECT_TRUE(Log().empty());
    ExpectList({"Reader 0"});
    ExpectContext("Reader 0");
    ExpectLook({true});
    EXPECT_EQ(Slots().GetSlotList(false), (SlotIds{0}));
}

TEST_F(SlotListTest, ReaderThatDoesNotConnectTakesNoSlot)
{
    ExpectList({"Reader A", "Reader B"});
    ExpectNoContext();
    ExpectContext("Reader B");
    ExpectLook({false});

    EXPECT_EQ(Slots().GetSlotList(false), (SlotIds{0}));

    EXPECT_EQ(Log(), (Lines{"ERROR cannot connect to reader", "ERROR slot state map size: 1"}));
    bool bPresent = true;
    std::string manufacturer;
    std::string description;
    ExpectPresence(0, false);
    EXPECT_TRUE(Slots().GetSlotInfo(0, bPresent, manufacturer, description));
    EXPECT_EQ(description, "Reader B");
}

TEST_F(SlotListTest, ReaderWithoutContextIsNotOk)
{
    ExpectList({"Reader A"});
    m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(0);
    ExpectNoList();

    EXPECT_TRUE(Slots().GetSlotList(false).empty());

    EXPECT_EQ(Log(), (Lines{"ERROR reader not ok", "ERROR slot state map size: 0"}));
}

// Two rounds without a reader, then one connects: each round looks once and logs once.
TEST_F(SlotListTest, RoundsWithoutAReaderEachLookAtTheOneFound)
{
    ExpectList({"Reader A"});
    ExpectNoContext();
    ExpectList({"Reader A"});
    ExpectNoContext();
    ExpectList({"Reader A"});
    ExpectContext("Reader A");
    ExpectLook({true});
    ExpectLook({true});
    ExpectLook({true});

    EXPECT_EQ(Slots().GetSlotList(false), (SlotIds{0}));

    EXPECT_EQ(Log(), (Lines{"ERROR cannot connect to reader", "ERROR cannot connect to reader",
                            "ERROR slot state map size: 1", "ERROR slot state map size: 1",
                            "ERROR slot state map size: 1"}));
}

TEST_F(SlotListTest, RoundsEndWhenNothingIsListedAnyMore)
{
    ExpectList({"Reader A"});
    ExpectNoContext();
    ExpectNoList();

    EXPECT_TRUE(Slots().getSlotStateMap().empty());

    EXPECT_EQ(Log(), (Lines{"ERROR cannot connect to reader", "ERROR slot state map size: 0"}));
}

TEST_F(SlotListTest, StateMapLooksAtEveryReader)
{
    FindReaders({true, false, true});
    ExpectLook({true, true, false});
    EXPECT_EQ(Slots().getSlotStateMap(), (StateMap{{0, 1}, {1, 1}, {2, 0}}));
}

TEST_F(SlotListTest, SlotsWithACardAreAskedAgainWithForce)
{
    FindReaders({true, false, false});
    ExpectPresence(0, true);
    ExpectPresence(1, false);
    ExpectConnect(1, false, true);
    ExpectPresence(2, false);
    ExpectConnect(2, true, true);
    ExpectPresence(2, true);

    EXPECT_EQ(Slots().GetSlotList(true), (SlotIds{0, 2}));
}

// A handle that reports no card is replaced by a new one.
TEST_F(SlotListTest, SlotWhoseHandleShowsNoCardIsConnectedAnew)
{
    FindReaders({true});
    ExpectConnect(0, true);
    m_Pcsc.Status(m_Readers[0].card, 0).GivesState(SCARD_ABSENT);
    ExpectConnect(0, true, true);
    ExpectPresence(0, true);

    EXPECT_EQ(Slots().GetSlotList(true), (SlotIds{0}));
}

TEST_F(SlotListTest, SlotInfoGivesTheReadersNameAndItsFirstWord)
{
    ExpectList({"ACME Card Reader 00 00", "Plain"});
    ExpectContext("ACME Card Reader 00 00");
    ExpectContext("Plain");
    ExpectLook({true, false});
    Slots().Initialize();
    bool bPresent = false;
    std::string manufacturer;
    std::string description;

    ExpectPresence(0, true);
    EXPECT_TRUE(Slots().GetSlotInfo(0, bPresent, manufacturer, description));
    EXPECT_TRUE(bPresent);
    EXPECT_EQ(manufacturer, "ACME");
    EXPECT_EQ(description, "ACME Card Reader 00 00");

    ExpectPresence(1, false);
    EXPECT_TRUE(Slots().GetSlotInfo(1, bPresent, manufacturer, description));
    EXPECT_FALSE(bPresent);
    EXPECT_EQ(manufacturer, "Plain");
    EXPECT_EQ(description, "Plain");
}

TEST_F(SlotListTest, SlotInfoOfNoSlotLeavesTheTexts)
{
    bool bPresent = true;
    std::string manufacturer = "old";
    std::string description = "old";
    EXPECT_FALSE(Slots().GetSlotInfo(0, bPresent, manufacturer, description));
    EXPECT_FALSE(bPresent);
    EXPECT_EQ(manufacturer, "old");
    EXPECT_EQ(description, "old");
}

TEST_F(SlotListTest, DestroyGivesTheHandlesBackAndANewListStartsEmpty)
{
    FindReaders({true, false});
    Destroy();
    EXPECT_TRUE(m_Pcsc.Done());
    EXPECT_FALSE(Slots().CheckValidSlotId(0));
}

TEST_F(SlotListTest, LockThatFailsLeavesTheListUsable)
{
    FindReaders({false});
    ScriptedPcsc::FailNextLock(EINVAL);
    EXPECT_THROW(Slots().getSlotStateMap(), boost::lock_error);
    ExpectLook({true});
    EXPECT_EQ(Slots().getSlotStateMap(), (StateMap{{0, 1}}));
}

} // namespace
