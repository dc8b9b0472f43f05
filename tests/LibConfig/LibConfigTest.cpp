#include "LibConfig/LibConfig.h"

#include "tests/support/CapturedLog.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::ElementsAre;

TEST(LibConfigTest, ErrorsGoToTheCallback)
{
    const CapturedLog log({{.setError = &Norvik::LibConfig::SetErrorLoggingFunc}});
    Norvik::LibConfig::LogError("text");
    Norvik::LibConfig::LogError("text", 4294967296UL);
    EXPECT_THAT(CapturedLog::Lines(), ElementsAre("ERROR text", "ERROR text 4294967296"));
}

TEST(LibConfigTest, IsSilentWithoutACallback)
{
    {
        const CapturedLog log({{.setError = &Norvik::LibConfig::SetErrorLoggingFunc}});
    }
    Norvik::LibConfig::LogError("text");
    Norvik::LibConfig::LogError("text", 1);
    EXPECT_TRUE(CapturedLog::Lines().empty());
}

} // namespace
