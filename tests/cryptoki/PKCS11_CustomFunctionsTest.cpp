#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"

namespace
{

using testing::Contains;
using testing::ElementsAre;

class CustomFunctions : public CryptokiFixture
{
protected:
    CustomFunctions() : m_hSession(Open()) { ClearLog(); }

    CK_RV Transmit(const std::string& command)
    {
        Norvik::ByteArray bytes = FromHex(command);
        return C_CardTransmit(m_hSession, bytes.data(), bytes.size(), Data(m_Buffer), &m_Length);
    }
    CK_RV Attribute(std::string name)
    {
        return C_CardAttribute(m_hSession, Data(name), Data(m_Buffer), &m_Length);
    }

    const CK_SESSION_HANDLE m_hSession;
    std::string m_Buffer = std::string(8, '.');
    unsigned long m_Length = 8;
};

} // namespace

TEST_F(CustomFunctions, ApduGoesToTheCardAsItStands)
{
    m_Reader.Expect("00A4000C023F00", "6A82");
    EXPECT_EQ(Transmit("00A4000C023F00"), CKR_OK);
    EXPECT_EQ(m_Length, 2U);
    EXPECT_EQ(m_Buffer, "\x6A\x82......");
    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_CardTransmit", "OUT FUNCTION C_CardTransmit returns CKR_OK"));
}

TEST_F(CustomFunctions, BufferOneByteTooSmallTellsTheLengthAfterTheCommandWasSent)
{
    m_Reader.Expect("00B0000004", "010203049000");
    m_Length = 5;
    EXPECT_EQ(Transmit("00B0000004"), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(m_Length, 6U);
    EXPECT_EQ(m_Buffer, "........");
    EXPECT_THAT(Log(), Contains("ERROR buffer to small"));
    EXPECT_TRUE(m_Reader.Done());
}

TEST_F(CustomFunctions, BufferOfTheExactLengthSuffices)
{
    m_Reader.Expect("00B0000004", "010203049000");
    m_Length = 6;
    EXPECT_EQ(Transmit("00B0000004"), CKR_OK);
    EXPECT_EQ(m_Length, 6U);
}

TEST_F(CustomFunctions, FailedExchangeIsToldAndTheLengthStays)
{
    m_Reader.ExpectFailing("00B0000004");
    EXPECT_EQ(Transmit("00B0000004"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Length, 8U);
}

TEST_F(CustomFunctions, TransmitWithoutATokenIsRefused)
{
    DropToken();
    EXPECT_EQ(Transmit("00B0000004"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_THAT(Log(), Contains("ERROR Session not initialized"));
}

TEST_F(CustomFunctions, TransmitBeforeInitialisationFindsNoSession)
{
    ASSERT_EQ(C_CloseAllSessions(0), CKR_OK);
    bCryptokiInitialized = 0;
    EXPECT_EQ(Transmit("00B0000004"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Attribute("ATR"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_Register(m_hSession, 0, nullptr, nullptr, 0), CKR_SESSION_HANDLE_INVALID);
}

TEST_F(CustomFunctions, AttributeAtrGivesTheAtr)
{
    m_Reader.Atr = "3BBF11008131";
    EXPECT_EQ(Attribute("ATR"), CKR_OK);
    EXPECT_EQ(m_Length, 6U);
    EXPECT_EQ(ToHex(Bytes(m_Buffer.substr(0, 6))), "3BBF11008131");
    EXPECT_EQ(m_Buffer.substr(6), "..");
}

TEST_F(CustomFunctions, AttributeThatDoesNotFitTellsItsLength)
{
    m_Reader.Atr = "3BBF11008131";
    m_Length = 5;
    EXPECT_EQ(Attribute("ATR"), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(m_Length, 6U);
    EXPECT_EQ(m_Buffer, "........");
}

TEST_F(CustomFunctions, UnknownAttributeGivesTheCodeOfTheTokenAndNoBytes)
{
    EXPECT_EQ(Attribute("Nonsense"), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Length, 8U);
    EXPECT_EQ(m_Buffer, "........");
}

TEST_F(CustomFunctions, AttributeWithoutATokenIsRefusedSilently)
{
    DropToken();
    EXPECT_EQ(Attribute("ATR"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(m_Length, 8U);
    EXPECT_EQ(m_Buffer, "........");
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_CardAttribute",
                                   "OUT FUNCTION C_CardAttribute returns CKR_SESSION_HANDLE_INVALID"));
}

TEST_F(CustomFunctions, RegisterAnswersThatItIsNotSupported)
{
    EXPECT_EQ(C_Register(m_hSession, 1, nullptr, nullptr, 5), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_Register",
                                   "OUT FUNCTION C_Register returns CKR_FUNCTION_NOT_SUPPORTED"));
    Open();
    ASSERT_EQ(C_CloseSession(42126), CKR_OK);
    EXPECT_EQ(C_Register(42126, 0, nullptr, nullptr, 0), CKR_SESSION_HANDLE_INVALID);
    EXPECT_THAT(Log(), Contains("ERROR invalid session handle"));
}
