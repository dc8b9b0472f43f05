#include "slots/SlotList.h"

#include "readers/LibReaderImpl.h"
#include "tests/slots/SlotsFixture.h"
#include "tests/support/CapturedLog.h"

#include <algorithm>
#include <cerrno>

#include <boost/thread/exceptions.hpp>

namespace
{

class SlotListEventsTest : public SlotsTest
{
protected:
    /** Whether the readers' log is on. */
    static bool ReadersLog()
    {
        const std::size_t before = CapturedLog::Lines().size();
        LibReaderImpl::LogMessage("probe");
        return CapturedLog::Lines().size() == before + 1;
    }
    ~SlotListEventsTest() override { LibReaderImpl::EnableLogging(); }

    CapturedLog m_ReaderLog{
        {&LibReaderImpl::SetErrorLoggingFunc, &LibReaderImpl::SetMessageLoggingFunc, nullptr}};
    unsigned long m_Slot = 77;
};

TEST_F(SlotListEventsTest, NoChangeIsNoEvent)
{
    FindReaders({true, false});
    ExpectLook({true, false});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_NO_EVENT);
    EXPECT_EQ(m_Slot, 77U);
    EXPECT_TRUE(Log().empty());
}

TEST_F(SlotListEventsTest, InsertionIsReportedOnce)
{
    FindReaders({false, false});
    ExpectLook({false, true});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_OK);
    EXPECT_EQ(m_Slot, 1U);
    EXPECT_EQ(Log(), (Lines{"MESSAGE Slot event detected: Card inserted into slot 1"}));
    ExpectLook({false, true});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_NO_EVENT);
}

TEST_F(SlotListEventsTest, RemovalIsReported)
{
    FindReaders({true});
    ExpectLook({false});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_OK);
    EXPECT_EQ(m_Slot, 0U);
    EXPECT_EQ(Log(), (Lines{"MESSAGE Slot event detected: Card removed from slot 0"}));
}

TEST_F(SlotListEventsTest, TwoChangesAreReportedOneByOne)
{
    FindReaders({false, false});
    ExpectLook({true, true});
    EXPECT_EQ(Slots().compareSlotState(&m_Slot), CKR_OK);
    EXPECT_EQ(m_Slot, 0U);
    ExpectLook({true, true});
    EXPECT_EQ(Slots().compareSlotState(&m_Slot), CKR_OK);
    EXPECT_EQ(m_Slot, 1U);
    ExpectLook({true, true});
    EXPECT_EQ(Slots().compareSlotState(&m_Slot), CKR_NO_EVENT);
}

// The first wait enumerates, which is a look of its own, and then looks again.
TEST_F(SlotListEventsTest, FirstWaitEnumerates)
{
    ExpectList({"Reader 0"});
    ExpectContext("Reader 0");
    ExpectLook({false});
    ExpectLook({true});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_OK);
    EXPECT_EQ(m_Slot, 0U);
}

TEST_F(SlotListEventsTest, WithoutReadersThereIsNoEvent)
{
    ExpectNoList();
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_NO_EVENT);
    EXPECT_EQ(m_Slot, 77U);
}

// The states of the last list stay until a new enumeration replaces them; a slot that is gone holds no card.
TEST_F(SlotListEventsTest, CardOfAListThatIsGoneCountsAsRemoved)
{
    FindReaders({true, false});
    Destroy();
    ExpectNoList();
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_OK);
    EXPECT_EQ(m_Slot, 0U);
    ExpectNoList();
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_NO_EVENT);
}

TEST_F(SlotListEventsTest, BlockingWaitPollsEveryMillisecond)
{
    FindReaders({false});
    ExpectLook({false});
    m_Pcsc.Usleep(1000);
    ExpectLook({false});
    m_Pcsc.Usleep(1000);
    ExpectLook({true});

    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, false), CKR_OK);

    EXPECT_EQ(m_Slot, 0U);
    EXPECT_TRUE(ReadersLog());
    EXPECT_EQ(Log(), (Lines{"MESSAGE Slot event detected: Card inserted into slot 0"}));
}

TEST_F(SlotListEventsTest, BlockingWaitWithAnEventAtOnceDoesNotPoll)
{
    FindReaders({true});
    ExpectLook({false});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, false), CKR_OK);
    EXPECT_TRUE(ReadersLog());
}

TEST_F(SlotListEventsTest, ReadersAreSilentWhileABlockingWaitPolls)
{
    FindReaders({false});
    ExpectLook({false});
    std::size_t linesBefore = 0;
    m_Pcsc.Usleep(1000).Meanwhile([&linesBefore] { linesBefore = CapturedLog::Lines().size(); });
    ExpectLook({true});

    Slots().WaitForSlotEvent(&m_Slot, false);

    EXPECT_GT(linesBefore, 0U);
    EXPECT_EQ(CapturedLog::Lines().size(), linesBefore);
}

// Nothing ever takes the shutdown back: a later wait ends after its first look, with or without an event.
TEST_F(SlotListEventsTest, BlockingWaitAfterAShutdownEndsAfterOneLook)
{
    FindReaders({false});
    Destroy();
    FindReaders({false});
    ExpectLook({false});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, false), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(m_Slot, 77U);
    EXPECT_FALSE(ReadersLog());

    ExpectLook({true});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, false), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(m_Slot, 0U);
}

TEST_F(SlotListEventsTest, NonBlockingWaitAfterAShutdownIsAsEver)
{
    FindReaders({false});
    Destroy();
    FindReaders({false});
    ExpectLook({true});
    EXPECT_EQ(Slots().WaitForSlotEvent(&m_Slot, true), CKR_OK);
    EXPECT_TRUE(ReadersLog());
}

// The exception of a lock must not leave a wait behind that Destroy() waits for.
TEST_F(SlotListEventsTest, WaitThatEndsByAnExceptionIsOver)
{
    FindReaders({false});
    ExpectLook({false});
    m_Pcsc.Usleep(1000).Meanwhile([] { ScriptedPcsc::FailNextLock(EINVAL); });

    EXPECT_THROW(Slots().WaitForSlotEvent(&m_Slot, false), boost::lock_error);

    EXPECT_TRUE(ReadersLog());
    Destroy();
    EXPECT_TRUE(m_Pcsc.Done());
}

} // namespace
