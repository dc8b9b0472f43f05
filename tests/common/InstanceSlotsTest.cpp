#include "common/InstanceSlots.h"

#include <gtest/gtest.h>

namespace
{

int living = 0;

/** Tells how many of it live. */
struct Counted
{
    explicit Counted(unsigned int number) : id(number) { ++living; }
    ~Counted() { --living; }
    Counted(const Counted&) = delete;
    Counted& operator=(const Counted&) = delete;

    unsigned int id;
};

using Slots = Norvik::InstanceSlots<Counted>;

class InstanceSlotsTest : public testing::Test
{
protected:
    void TearDown() override
    {
        for (Counted* instance : std::vector<Counted*>(Slots::Vector()))
        {
            if (instance != nullptr)
            {
                Slots::Take(instance->id, instance);
            }
        }
        Slots::Vector().clear();
        EXPECT_EQ(living, 0);
    }
};

TEST_F(InstanceSlotsTest, SlotEqualToTheSizeIsCreated)
{
    Counted* first = Slots::Get(0);
    Counted* second = Slots::Get(1);
    ASSERT_NE(first, nullptr);
    ASSERT_NE(second, nullptr);
    EXPECT_EQ(second->id, 1U);
    EXPECT_EQ(Slots::Vector().size(), 2U);
    EXPECT_EQ(Slots::Get(0), first);
    EXPECT_EQ(Slots::Get(1), second);
}

TEST_F(InstanceSlotsTest, SlotAboveTheSizeIsNull)
{
    EXPECT_EQ(Slots::Get(1), nullptr);
    EXPECT_EQ(Slots::Get(0xFFFFFFFFU), nullptr);
    EXPECT_TRUE(Slots::Vector().empty());
}

TEST_F(InstanceSlotsTest, RegisterLeavesSlotZeroEmpty)
{
    EXPECT_EQ(Slots::Register(), 1U);
    EXPECT_EQ(Slots::Register(), 2U);
    EXPECT_EQ(Slots::Vector()[0], nullptr);
    EXPECT_EQ(Slots::Get(2)->id, 2U);
    EXPECT_EQ(living, 2);
}

TEST_F(InstanceSlotsTest, TakenSlotIsFilledAnewOnDemand)
{
    Counted* first = Slots::Get(0);
    EXPECT_EQ(Slots::Take(0, first).get(), first);
    EXPECT_EQ(living, 0);
    EXPECT_EQ(Slots::Vector().size(), 1U);
    EXPECT_NE(Slots::Get(0), nullptr);
    EXPECT_EQ(Slots::Vector().size(), 1U);
}

TEST_F(InstanceSlotsTest, TakeOfAnotherInstanceChangesNothing)
{
    const Counted stranger(0);
    Counted* first = Slots::Get(0);
    EXPECT_EQ(Slots::Take(0, &stranger), nullptr);
    EXPECT_EQ(Slots::Take(7, &stranger), nullptr);
    EXPECT_EQ(Slots::Get(0), first);
    Slots::Take(0, first);
}

/** The process may still call the library while its static objects go. */
struct UserAtExit
{
    UserAtExit() = default;
    ~UserAtExit()
    {
        if (Slots::Vector().empty() && Slots::Get(0) != nullptr)
        {
            Slots::Take(0, Slots::Get(0));
            return;
        }
        std::quick_exit(3);
    }
    UserAtExit(const UserAtExit&) = delete;
    UserAtExit& operator=(const UserAtExit&) = delete;
};

TEST_F(InstanceSlotsTest, TableIsEmptyAndUsableAfterItsRelease)
{
    testing::GTEST_FLAG(death_test_style) = "threadsafe";
    EXPECT_EXIT(
        {
            static const UserAtExit user; // made first, so it goes last
            Slots::Get(0);
            std::exit(living == 1 ? 0 : 4);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
