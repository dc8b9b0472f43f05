#include "cards/profiles/PinCommands.h"

#include "cards/profiles/CardTokenAcos03.h"
#include "cards/profiles/CardTokenECardG2.h"
#include "readers/iCardReader.h"
#include "tests/doubles/FakeLibInput.h"
#include "tests/support/FreedSecretWatch.h"

#include <algorithm>
#include <stdexcept>
#include <string>

#include <gtest/gtest.h>

namespace
{

/** A card that takes everything, and keeps nothing of what it was sent. */
class WillingReader final : public iCardReader
{
public:
    bool ConnectReader() override { return true; }
    bool ConnectCard(bool /*bForce*/) override { return true; }
    bool Disconnect() override { return true; }
    void SetConfig(bool /*bSecure*/, bool /*bUseGui*/, bool /*bUseBeep*/) override {}
    void CheckReaderCapabilities(bool& bVerify, bool& bModify) override { bVerify = bModify = false; }
    bool BeginTransaction() override { return ++Transactions > 0; }
    bool EndTransaction() override { return --Transactions >= 0; }
    bool SendApdu(const unsigned char* data, unsigned long length, Norvik::ByteArray& response) override
    {
        const bool bPinCommand = length > 5 && (data[1] == 0x20 || data[1] == 0x24);
        PinCommands += bPinCommand ? 1 : 0;
        if (bPinCommand && bThrow)
        {
            throw std::runtime_error("the reader's lock");
        }
        constexpr unsigned char kChipText[] = {0x0A, 0x0B, 0x80, 0x40, 0, 0,    0x12, 0x34,
                                               0x56, 0x78, 0,    0,    0, 0x90, 0};
        response = data[1] == 0xB0 ? Norvik::ByteArray(kChipText, sizeof(kChipText))
                                   : Norvik::ByteArray(kChipText + sizeof(kChipText) - 2, 2);
        return true;
    }
    int VerifyPin(const Norvik::ByteArray& /*apdu*/, const PINVerifyData* /*data*/,
                  Norvik::ByteArray& /*response*/) override
    {
        return PinEntryError;
    }
    int ChangePin(const Norvik::ByteArray& /*apdu*/, const PINVerifyData* /*data*/,
                  Norvik::ByteArray& /*response*/) override
    {
        return PinEntryError;
    }
    bool IsOk() override { return true; }
    bool IsTokenPresent() override { return true; }
    bool GetAtr(Norvik::ByteArray& /*atr*/) override { return false; }
    int GetStatus() override { return 1; }
    bool Reconnect(bool /*bReset*/, bool /*bUnpower*/) override { return true; }
    void GetReaderName(std::string& /*vendorName*/, std::string& /*ifdType*/, std::string& /*ifdSerial*/,
                       std::string& /*deviceUnit*/, std::string& /*systemName*/,
                       std::string& /*friendlyName*/) override
    {}

    int Transactions = 0; ///< open ones
    int PinCommands = 0;
    bool bThrow = false; ///< at a command that holds a PIN
};

template <typename Token>
class PinCommandsTest : public testing::Test
{
protected:
    PinCommandsTest()
    {
        FakeLibInput::Reset();
        m_Token.SetReader(&m_Reader);
    }
    ~PinCommandsTest() override { FakeLibInput::Reset(); }

    WillingReader m_Reader;
    Token m_Token;
    unsigned long m_Retries = 0;
};

class AcosPinCommands : public PinCommandsTest<CardTokenAcos03>
{};
class ECardPinCommands : public PinCommandsTest<CardTokenECardG2>
{};

TEST_F(AcosPinCommands, LeaveNoPinInFreedMemory)
{
    const Norvik::ByteArray pin(std::string("917364"));
    const FreedSecretWatch watch("917364");

    EXPECT_EQ(m_Token.AuthenticatePin(AppSignature, pin, &m_Retries), CKR_OK);

    EXPECT_EQ(m_Reader.PinCommands, 1);
    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST_F(ECardPinCommands, LeaveNoPinBlockInFreedMemory)
{
    const Norvik::ByteArray pin(std::string("917364"));
    const FreedSecretWatch watch("\x26\x91\x73\x64");

    EXPECT_EQ(m_Token.AuthenticatePin(AppSignature, pin, &m_Retries), CKR_OK);

    EXPECT_EQ(m_Reader.PinCommands, 1);
    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST_F(AcosPinCommands, LeaveNoPinInFreedMemoryOnAChange)
{
    FakeLibInput::Instance().bConfirm = true;
    FakeLibInput::Instance().Pin = "917364";
    FakeLibInput::Instance().NewPin = "264719";
    const FreedSecretWatch watch("264719");

    EXPECT_EQ(m_Token.ChangePin(AppSignature), CKR_OK);

    EXPECT_EQ(m_Reader.PinCommands, 1);
    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST_F(AcosPinCommands, LeaveNoPinAndNoTransactionWhenTheReaderThrows)
{
    m_Reader.bThrow = true;
    const Norvik::ByteArray pin(std::string("917364"));
    const FreedSecretWatch watch("917364");

    EXPECT_THROW(m_Token.AuthenticatePin(AppSignature, pin, &m_Retries), std::runtime_error);

    EXPECT_EQ(m_Reader.PinCommands, 1);
    EXPECT_EQ(m_Reader.Transactions, 0);
    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST_F(ECardPinCommands, EndTheTransactionWhenThePinDoesNotFit)
{
    const Norvik::ByteArray pin(std::string("123456789012345"));

    EXPECT_THROW(m_Token.AuthenticatePin(AppEncryption, pin, &m_Retries), std::length_error);

    EXPECT_EQ(m_Reader.PinCommands, 0);
    EXPECT_EQ(m_Reader.Transactions, 0);
}

} // namespace
