#include "crypto/LibCrypto.h"

#include "tests/crypto/CapturedCryptoLog.h"

#include <gtest/gtest.h>

namespace
{

TEST(LibCryptoLog, WritesErrorsInThreeForms)
{
    const CapturedCryptoLog log;

    LibCrypto::LogError("text");
    LibCrypto::LogError("text", 42UL);
    LibCrypto::LogError("text", "detail");

    EXPECT_EQ(CapturedCryptoLog::Lines(),
              (std::vector<std::string>{"ERROR text", "ERROR text, 42", "ERROR textdetail"}));
}

TEST(LibCryptoLog, WritesMessagesInThreeForms)
{
    const CapturedCryptoLog log;

    LibCrypto::LogMessage("text");
    LibCrypto::LogMessage("text", 42UL);
    LibCrypto::LogMessage("text", "detail");

    EXPECT_EQ(CapturedCryptoLog::Lines(),
              (std::vector<std::string>{"MESSAGE text", "MESSAGE text, 42", "MESSAGE textdetail"}));
}

TEST(LibCryptoLog, ShowsANumberAsASignedOneOf32Bits)
{
    const CapturedCryptoLog log;

    LibCrypto::LogError("text", 0xFFFFFFFFUL);

    EXPECT_EQ(CapturedCryptoLog::Lines(), (std::vector<std::string>{"ERROR text, -1"}));
}

TEST(LibCryptoLog, IsSilentWithoutHooks)
{
    {
        const CapturedCryptoLog log;
    }

    LibCrypto::LogError("text");
    LibCrypto::LogMessage("text", 1UL);

    EXPECT_TRUE(CapturedCryptoLog::Lines().empty());
}

} // namespace
