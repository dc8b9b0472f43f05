// SlotList under several threads, and over very many rounds.

#include "slots/SlotList.h"

#include "tests/slots/PlainPcsc.h"
#include "tests/slots/SlotListStatics.h"

#include <chrono>
#include <functional>
#include <thread>

#include <gtest/gtest.h>
#include <pthread.h>

namespace
{

using namespace std::chrono_literals;

class SlotListThreadsTest : public testing::Test
{
protected:
    SlotListThreadsTest()
    {
        ResetSlotListStatics();
        PlainPcsc::Instance().Reset();
    }
    ~SlotListThreadsTest() override
    {
        SlotList::Destroy();
        ResetSlotListStatics();
    }

    /** Waits for a condition, for at most ten seconds. */
    static bool Await(const std::function<bool()>& condition)
    {
        const auto deadline = std::chrono::steady_clock::now() + 10s;
        while (!condition())
        {
            if (std::chrono::steady_clock::now() > deadline)
            {
                return false;
            }
            std::this_thread::sleep_for(1ms);
        }
        return true;
    }
    static PlainPcsc& Service() { return PlainPcsc::Instance(); }

    unsigned long m_Slot = 77;
    CK_RV m_Result = CKR_GENERAL_ERROR;
};

TEST_F(SlotListThreadsTest, DestroyEndsAWaitBeforeTheListGoes)
{
    SlotList* const slots = SlotList::GetHandle();
    std::thread waiter([this, slots] { m_Result = slots->WaitForSlotEvent(&m_Slot, false); });
    const bool bPolling = Await([] { return Service().connects > 20; });

    SlotList::Destroy();
    waiter.join();

    EXPECT_TRUE(bPolling);
    EXPECT_EQ(m_Result, CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(m_Slot, 77U);
    EXPECT_EQ(Service().contexts, 0U);
}

TEST_F(SlotListThreadsTest, WaitEndsWithAnEventThatHappensMeanwhile)
{
    SlotList* const slots = SlotList::GetHandle();
    std::thread waiter([this, slots] { m_Result = slots->WaitForSlotEvent(&m_Slot, false); });
    const bool bPolling = Await([] { return Service().connects > 20; });

    Service().bCard = true;
    waiter.join();

    EXPECT_TRUE(bPolling);
    EXPECT_EQ(m_Result, CKR_OK);
    EXPECT_EQ(m_Slot, 0U);
}

// A reader that is listed and never connects is asked for ever, but not past the end of the library.
TEST_F(SlotListThreadsTest, DestroyEndsAWaitThatFindsNoReader)
{
    Service().bListed = false;
    SlotList* const slots = SlotList::GetHandle();
    std::thread waiter([this, slots] { m_Result = slots->WaitForSlotEvent(&m_Slot, false); });
    std::this_thread::sleep_for(20ms);
    Service().refusedRounds = ~0UL;
    Service().bListed = true;
    const bool bAsking = Await([] { return Service().lists > 20; });

    SlotList::Destroy();
    waiter.join();

    EXPECT_TRUE(bAsking);
    EXPECT_EQ(m_Result, CKR_CRYPTOKI_NOT_INITIALIZED);
}

/** Runs in a thread with a stack of 256 KiB. */
void RunOnASmallStack(const std::function<void()>& action)
{
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, 256UL * 1024), 0);
    pthread_t thread = {};
    const auto run = [](void* argument) -> void* {
        (*static_cast<const std::function<void()>*>(argument))();
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, run, const_cast<std::function<void()>*>(&action)), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
}

TEST_F(SlotListThreadsTest, RoundsWithoutAReaderTakeNoStack)
{
    constexpr unsigned long kRounds = 20000;
    Service().refusedRounds = kRounds;
    std::vector<unsigned long> slots;

    RunOnASmallStack([&slots] { slots = SlotList::GetHandle()->GetSlotList(false); });

    EXPECT_EQ(slots, (std::vector<unsigned long>{0}));
    EXPECT_EQ(Service().lists, kRounds + 1);
    // Every round looks at the reader that the last one found.
    EXPECT_EQ(Service().connects, kRounds + 1);
}

} // namespace
