#include "common/P11Logger.h"

#include "common/LibLogging.h"

#include <gtest/gtest.h>

namespace
{

TEST(P11LoggerTest, HandleIsThereBeforeAnythingIsInitialised)
{
    ASSERT_NE(P11Logger::GetHandle(), nullptr);
    EXPECT_EQ(P11Logger::GetHandle(), P11Logger::GetHandle());
    EXPECT_FALSE(P11Logger::GetHandle()->Writes(Norvik::DebugLevelError));
}

TEST(P11LoggerTest, LogIsNotTheOneOfAnotherUser)
{
    const unsigned int other = Norvik::LibLogging::Register();
    EXPECT_NE(P11Logger::GetHandle(), Norvik::LibLogging::GetHandle(other));
    Norvik::LibLogging::GetHandle(other)->Destroy();
}

// The number is kept over the end of its log: a later initialisation finds a fresh one under it.
TEST(P11LoggerTest, HandleAfterDestroyIsAFreshLog)
{
    P11Logger::GetHandle()->Enabled(true);
    P11Logger::GetHandle()->Destroy();
    ASSERT_NE(P11Logger::GetHandle(), nullptr);
    EXPECT_FALSE(P11Logger::GetHandle()->IsEnabled());
}

} // namespace
