#pragma once

#include "readers/iCardReader.h"

#include <deque>
#include <string>
#include <vector>

/** "00 A4 00 0C" (blanks optional) to bytes. */
Norvik::ByteArray FromHex(const std::string& text);
/** Bytes to "00A4000C". */
std::string ToHex(const Norvik::ByteArray& bytes);

/**
 * A reader that follows an ordered script of commands.
 *
 * A command that the script doesn't name next fails the test and is refused; so does a step that is left over when
 * the reader goes. Every call but SetConfig() is kept in Calls, in order, for tests that assert the order.
 */
class ScriptedCardReader final : public iCardReader
{
public:
    ScriptedCardReader() = default;
    ~ScriptedCardReader() override;

    using iCardReader::ConnectCard;
    using iCardReader::SendApdu;

    /** The next command must be @p command (hexadecimal); it is answered with @p response. */
    ScriptedCardReader& Expect(const std::string& command, const std::string& response);
    /** The next command must be @p command; the exchange fails and leaves @p response, if any. */
    ScriptedCardReader& ExpectFailing(const std::string& command, const std::string& response = "");
    /** The next keypad entry gets @p command as its template and ends with @p result. */
    ScriptedCardReader& ExpectKeypad(const std::string& command, int result, const std::string& response);
    /** Whether all steps have been used. */
    [[nodiscard]] bool Done() const { return m_Steps.empty(); }
    /** The commands of Calls alone, as hexadecimal text. */
    [[nodiscard]] std::vector<std::string> Commands() const;

    bool ConnectReader() override;
    bool ConnectCard(bool bForce) override;
    bool Disconnect() override;
    void SetConfig(bool bSecure, bool bUseGui, bool bUseBeep) override;
    void CheckReaderCapabilities(bool& bVerify, bool& bModify) override;
    bool BeginTransaction() override;
    bool EndTransaction() override;
    bool SendApdu(const unsigned char* data, unsigned long length, Norvik::ByteArray& response) override;
    int VerifyPin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                  Norvik::ByteArray& response) override;
    int ChangePin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                  Norvik::ByteArray& response) override;
    bool IsOk() override;
    bool IsTokenPresent() override;
    bool GetAtr(Norvik::ByteArray& atr) override;
    int GetStatus() override;
    bool Reconnect(bool bReset, bool bUnpower) override;
    void GetReaderName(std::string& vendorName, std::string& ifdType, std::string& ifdSerial,
                       std::string& deviceUnit, std::string& systemName, std::string& friendlyName) override;

    std::vector<std::string> Calls;
    std::string Atr;                            ///< hexadecimal; empty makes GetAtr() fail
    bool bConnectReader = true;                 ///< result of ConnectReader()
    bool bConnectCard = true;                   ///< result of ConnectCard()
    bool bDisconnect = true;                    ///< result of Disconnect()
    bool bBeginTransaction = true;              ///< result of BeginTransaction()
    bool bEndTransaction = true;                ///< result of EndTransaction()
    bool bOk = true;                            ///< result of IsOk()
    bool bTokenPresent = true;                  ///< result of IsTokenPresent()
    bool bCanVerify = false;                    ///< keypad
    bool bCanModify = false;                    ///< keypad
    const PINVerifyData* LastPinData = nullptr; ///< of the last keypad entry

private:
    struct Step
    {
        std::string kind;
        std::string command;
        std::string response;
        int result;
    };
    int Play(const std::string& kind, const Norvik::ByteArray& command, Norvik::ByteArray& response);

    std::deque<Step> m_Steps;
};
