#include "tests/readers/ReaderTestSupport.h"

using LibReaderAndCardTest = ReaderTest;

TEST_F(LibReaderAndCardTest, EachFormGoesToItsCallback)
{
    LibReaderAndCard::LogError("literal");
    LibReaderAndCard::LogError(std::string("text"));
    LibReaderAndCard::LogError("state", 12);
    LibReaderAndCard::LogErrorSCardError("failed", SCARD_W_REMOVED_CARD);
    LibReaderAndCard::LogMessage("literal");
    LibReaderAndCard::LogMessage(std::string("text"));

    EXPECT_EQ(Lines(), (LogLines{"ERROR literal", "ERROR text", "ERROR state 12",
                                 "ERROR failed  (0x80100069, 80100069)", "MESSAGE literal", "MESSAGE text"}));
}

TEST_F(LibReaderAndCardTest, TheSwitchOfTheReaderDoesNotMuteIt)
{
    LibReaderImpl::DisableLogging();
    LibReaderAndCard::LogMessage("still heard");
    LibReaderImpl::EnableLogging();

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE still heard"}));
}

TEST(LibReaderAndCardSilentTest, WithoutCallbacksNothingHappens)
{
    LibReaderAndCard::SetErrorLoggingFunc(nullptr);
    LibReaderAndCard::SetMessageLoggingFunc(nullptr);

    LibReaderAndCard::LogError("a");
    LibReaderAndCard::LogError("a", 1);
    LibReaderAndCard::LogErrorSCardError("a", 1);
    LibReaderAndCard::LogMessage("a");

    EXPECT_TRUE(true) << "no null callback was called";
}
