#pragma once

#include "cards/PINVerifyData.h"
#include "tests/readers/ReaderTestSupport.h"

/** A reader with its keypad steps in reach. */
class KeypadReader final : public BaseCspReader
{
public:
    explicit KeypadReader(long card) : BaseCspReader(5, card) {}

    using BaseCspReader::DoBeep;
    using BaseCspReader::m_PinCodes;
    using BaseCspReader::ModifyPinStartFinish;
    using BaseCspReader::OnKeyPressed;
    using BaseCspReader::VerifyPinStartFinish;
};

/** A reader with a card; what its keypad can do is up to the test. No beeps, unless a test wants them. */
class KeypadTest : public ReaderTest
{
protected:
    static constexpr long kCard = 7;
    static constexpr unsigned long kFeatureRequest = 0x42000D48;
    static constexpr unsigned long kVerifyStart = 0x42330001;
    static constexpr unsigned long kVerifyFinish = 0x42330002;
    static constexpr unsigned long kModifyStart = 0x42330003;
    static constexpr unsigned long kModifyFinish = 0x42330004;
    static constexpr unsigned long kKeyPressed = 0x42330005;
    static constexpr unsigned long kVerifyDirect = 0x42330006;
    static constexpr unsigned long kModifyDirect = 0x42330007;
    static constexpr const char* kCommand = "00200081";
    static constexpr const char* kVerifyBlock = "3C0A0208000806 01FF0704 00 000000 04000000 00200081";
    static constexpr const char* kModifyBlock =
        "3C0A02080000080806 0301FF0704 000000 000000 04000000 00200081";

    KeypadTest() { m_Reader.SetConfig(true, true, false); }

    int Verify() { return m_Reader.VerifyPin(Bytes(kCommand), &m_Data, m_Response); }
    int Change() { return m_Reader.ChangePin(Bytes(kCommand), &m_Data, m_Response); }

    /** One round of the key poll. */
    void ExpectKey(const std::string& key)
    {
        m_Pcsc.Control(kCard, kKeyPressed, "").Gives(key);
        m_Pcsc.Sleep(1);
    }

    KeypadReader m_Reader{kCard};
    const PINVerifyData m_Data{AppSignature, PinFormatAscii, 6, 8, 0x08};
    Norvik::ByteArray m_Response;
};
