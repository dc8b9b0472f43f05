#pragma once

#include "cards/CardFile.h"
#include "cards/CardObject.h"
#include "cards/iCardToken.h"
#include "readers/LibReaderAndCard.h"
#include "tests/doubles/FakeLibInput.h"
#include "tests/doubles/ScriptedCardReader.h"
#include "tests/support/CapturedLog.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

using Lines = std::vector<std::string>;

/** The files that a profile's constructor sets up. */
struct TokenFiles : iCardToken
{
    static CardFile* Infobox(iCardToken& token) { return (token.*(&TokenFiles::infoboxFile)).get(); }
    static CardFile* SigCert(iCardToken& token) { return (token.*(&TokenFiles::sigCertFile)).get(); }
    static CardFile* EncCert(iCardToken& token) { return (token.*(&TokenFiles::encCertFile)).get(); }
    static CardFile* Rfu1(iCardToken& token) { return (token.*(&TokenFiles::rfu1File)).get(); }
    static CardFile* Rfu2(iCardToken& token) { return (token.*(&TokenFiles::rfu2File)).get(); }
};

/** A token on a scripted reader, and what reader interface and token log. */
template <typename Token>
class ProfileTest : public testing::Test
{
protected:
    ProfileTest()
    {
        FakeLibInput::Reset();
        m_Token.SetReader(&m_Reader);
        CapturedLog::Lines().clear();
    }
    ~ProfileTest() override { FakeLibInput::Reset(); }

    static const Lines& Log() { return CapturedLog::Lines(); }
    static bool Logged(const std::string& line)
    {
        for (const std::string& logged : Log())
        {
            if (logged == line)
            {
                return true;
            }
        }
        return false;
    }
    std::vector<unsigned long> MechanismsOf(unsigned long handle)
    {
        m_Token.GetObjectMap();
        const CardObject* object = m_Token.GetCardObject(handle);
        return object == nullptr ? std::vector<unsigned long>{} : object->GetMechanismList();
    }
    /** The user types @p pin, where a dialog asks for one. */
    static void UserTypes(const std::string& pin, const std::string& newPin = "")
    {
        FakeLibInput::Instance().bConfirm = true;
        FakeLibInput::Instance().Pin = pin;
        FakeLibInput::Instance().NewPin = newPin;
    }
    void ReaderHasKeypad()
    {
        m_Reader.bCanVerify = true;
        m_Reader.bCanModify = true;
    }

    CapturedLog m_Log{
        {&LibReaderAndCard::SetErrorLoggingFunc, &LibReaderAndCard::SetMessageLoggingFunc, nullptr}};
    ScriptedCardReader m_Reader;
    Token m_Token;
};

/** One row of a status-word table, as VerifyReturnValue() shows it. */
struct StatusCase
{
    const char* name;
    const char* response;
    unsigned long result;
    const char* line;
    unsigned long retries; ///< after a call with 7
};

inline std::string NameOf(const testing::TestParamInfo<StatusCase>& row)
{
    return row.param.name;
}

constexpr unsigned long kAllOnes = ~0UL;
