#include "tests/doubles/ScriptedCardReader.h"

#include "crypto/SecretWipe.h"

#include <cctype>
#include <utility>

#include <gtest/gtest.h>

Norvik::ByteArray FromHex(const std::string& text)
{
    std::string digits;
    for (const char c : text)
    {
        if (std::isspace(static_cast<unsigned char>(c)) == 0)
        {
            digits += c;
        }
    }
    Norvik::ByteArray bytes;
    for (std::size_t i = 0; i + 1 < digits.size(); i += 2)
    {
        bytes.push_back(static_cast<unsigned char>(std::stoi(digits.substr(i, 2), nullptr, 16)));
    }
    return bytes;
}

std::string ToHex(const Norvik::ByteArray& bytes)
{
    constexpr char kDigits[] = "0123456789ABCDEF";
    std::string text;
    for (const unsigned char byte : bytes)
    {
        text += kDigits[byte >> 4];
        text += kDigits[byte & 0x0F];
    }
    return text;
}

ScriptedCardReader::~ScriptedCardReader()
{
    for (const Step& step : m_Steps)
    {
        ADD_FAILURE() << "the script expected " << step.kind << " " << step.command;
    }
}

ScriptedCardReader& ScriptedCardReader::Expect(const std::string& command, const std::string& response)
{
    m_Steps.push_back({"SendApdu", ToHex(FromHex(command)), response, 1});
    return *this;
}

ScriptedCardReader& ScriptedCardReader::ExpectFailing(const std::string& command, const std::string& response)
{
    m_Steps.push_back({"SendApdu", ToHex(FromHex(command)), response, 0});
    return *this;
}

ScriptedCardReader& ScriptedCardReader::ExpectKeypad(const std::string& command, int result,
                                                     const std::string& response)
{
    m_Steps.push_back({"Keypad", ToHex(FromHex(command)), response, result});
    return *this;
}

std::vector<std::string> ScriptedCardReader::Commands() const
{
    const std::string prefix = "SendApdu ";
    std::vector<std::string> commands;
    for (const std::string& call : Calls)
    {
        if (call.starts_with(prefix))
        {
            commands.push_back(call.substr(prefix.size()));
        }
    }
    return commands;
}

bool ScriptedCardReader::ConnectReader()
{
    Calls.emplace_back("ConnectReader");
    return bConnectReader;
}

bool ScriptedCardReader::ConnectCard(bool bForce)
{
    Calls.emplace_back(bForce ? "ConnectCard force" : "ConnectCard");
    return bConnectCard;
}

bool ScriptedCardReader::Disconnect()
{
    Calls.emplace_back("Disconnect");
    return bDisconnect;
}

void ScriptedCardReader::SetConfig(bool bSecure, bool bUseGui, bool bUseBeep)
{
    m_bSecure = bSecure;
    m_bUseGui = bUseGui;
    m_bUseBeep = bUseBeep;
}

void ScriptedCardReader::CheckReaderCapabilities(bool& bVerify, bool& bModify)
{
    Calls.emplace_back("CheckReaderCapabilities");
    bVerify = bCanVerify;
    bModify = bCanModify;
}

bool ScriptedCardReader::BeginTransaction()
{
    Calls.emplace_back("BeginTransaction");
    return bBeginTransaction;
}

bool ScriptedCardReader::EndTransaction()
{
    Calls.emplace_back("EndTransaction");
    return bEndTransaction;
}

int ScriptedCardReader::Play(const std::string& kind, const Norvik::ByteArray& command,
                             Norvik::ByteArray& response)
{
    const std::string text = ToHex(command);
    Calls.push_back(kind + " " + text);
    if (m_Steps.empty() || m_Steps.front().kind != kind || m_Steps.front().command != text)
    {
        ADD_FAILURE() << "unexpected " << kind << " " << text << "\nthe script expected "
                      << (m_Steps.empty() ? "nothing" : m_Steps.front().kind + " " + m_Steps.front().command);
        return kind == "SendApdu" ? 0 : 1;
    }
    const Step step = m_Steps.front();
    m_Steps.pop_front();
    if (!step.response.empty())
    {
        response = FromHex(step.response);
    }
    return step.result;
}

bool ScriptedCardReader::SendApdu(const unsigned char* data, unsigned long length,
                                  Norvik::ByteArray& response)
{
    // The command may hold a PIN; tests look for copies of it in freed memory.
    Norvik::ByteArray command(data, length);
    const Norvik::WipeGuard guard(command);
    return Play("SendApdu", command, response) != 0;
}

int ScriptedCardReader::VerifyPin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                                  Norvik::ByteArray& response)
{
    LastPinData = data;
    return Play("Keypad", apdu, response);
}

int ScriptedCardReader::ChangePin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                                  Norvik::ByteArray& response)
{
    LastPinData = data;
    return Play("Keypad", apdu, response);
}

bool ScriptedCardReader::IsOk()
{
    return bOk;
}

bool ScriptedCardReader::IsTokenPresent()
{
    Calls.emplace_back("IsTokenPresent");
    return bTokenPresent;
}

bool ScriptedCardReader::GetAtr(Norvik::ByteArray& atr)
{
    Calls.emplace_back("GetAtr");
    if (Atr.empty())
    {
        return false;
    }
    atr = FromHex(Atr);
    return true;
}

int ScriptedCardReader::GetStatus()
{
    Calls.emplace_back("GetStatus");
    return bTokenPresent ? 1 : 0;
}

bool ScriptedCardReader::Reconnect(bool bReset, bool bUnpower)
{
    Calls.push_back(std::string("Reconnect") + (bReset ? " reset" : "") + (bUnpower ? " unpower" : ""));
    return true;
}

void ScriptedCardReader::GetReaderName(std::string& vendorName, std::string& ifdType, std::string& ifdSerial,
                                       std::string& deviceUnit, std::string& systemName,
                                       std::string& friendlyName)
{
    vendorName = ifdType = ifdSerial = deviceUnit = systemName = friendlyName;
}
