#include "common/LoggingHelper.h"

#include <climits>

#include <gtest/gtest.h>

namespace
{

struct CodeCase
{
    const char* name;
    long code;
    const char* text;
};

constexpr CodeCase kCodeCases[] = {
    {"Success", 0, " (0x0, 0)"},
    {"InvalidHandle", 6, " (0x6, 6)"},
    {"RemovedCard", 0x80100069L, " (0x80100069, 80100069)"},
    {"RemovedCardWithSignExtended", -0x7FEFFF97L, " (0x80100069, 80100069)"},
    {"MinusOne", -1, " (0xffffffff, ffffffff)"},
    {"AboveThirtyTwoBits", LONG_MIN, " (0x0, 0)"},
};

class SCardErrorToString : public testing::TestWithParam<CodeCase>
{};

TEST_P(SCardErrorToString, PrintsTheLowThirtyTwoBitsTwiceInHexadecimal)
{
    EXPECT_EQ(LoggingHelper::SCardErrorToString(GetParam().code), GetParam().text);
}

INSTANTIATE_TEST_SUITE_P(All, SCardErrorToString, testing::ValuesIn(kCodeCases),
                         [](const auto& row) { return row.param.name; });

} // namespace
