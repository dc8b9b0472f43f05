#include "crypto/LibCardImpl.h"

#include "tests/support/CapturedLog.h"

#include <gtest/gtest.h>

namespace
{

constexpr LogBridge kBridge = {LibCardImpl::SetErrorLoggingFunc, LibCardImpl::SetMessageLoggingFunc,
                               LibCardImpl::SetDebugLoggingFunc};

TEST(LibCardImplLog, HandsEachLevelToItsHook)
{
    const CapturedLog log{kBridge};

    LibCardImpl::LogError("an error");
    LibCardImpl::LogError(std::string("a second"));
    LibCardImpl::LogMessage("a message");
    LibCardImpl::LogMessage(std::string("a second"));
    LibCardImpl::LogDebug("a detail");
    LibCardImpl::LogDebug(std::string("a second"));

    EXPECT_EQ(CapturedLog::Lines(),
              (std::vector<std::string>{"ERROR an error", "ERROR a second", "MESSAGE a message",
                                        "MESSAGE a second", "DEBUG a detail", "DEBUG a second"}));
}

TEST(LibCardImplLog, ComposesNumbersAndReaderErrorsAtErrorLevel)
{
    const CapturedLog log{kBridge};

    LibCardImpl::LogError("text", -7);
    LibCardImpl::LogErrorSCardError("text", 0x80100069L);

    EXPECT_EQ(CapturedLog::Lines(),
              (std::vector<std::string>{"ERROR text -7", "ERROR text  (0x80100069, 80100069)"}));
}

TEST(LibCardImplLog, IsSilentWithoutHooks)
{
    {
        const CapturedLog log{kBridge};
    }

    LibCardImpl::LogError("text");
    LibCardImpl::LogError("text", 1);
    LibCardImpl::LogErrorSCardError("text", 1);
    LibCardImpl::LogMessage("text");
    LibCardImpl::LogDebug("text");

    EXPECT_TRUE(CapturedLog::Lines().empty());
    EXPECT_FALSE(LibCardImpl::pt2LogError.IsSet());
}

} // namespace
