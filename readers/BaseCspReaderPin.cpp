#include "readers/BaseCspReader.h"

#include "cards/PINVerifyData.h"
#include "readers/LibReaderImpl.h"
#include "readers/PinBlocks.h"

#include <cstdio>

#include <unistd.h>

#include <reader.h>
#include <winscard.h>

namespace
{
using Answer = ReceiveBuffer<kAnswerSize>;

constexpr unsigned int kPollSeconds = 1;

constexpr unsigned long kBeepMilliseconds = 100;
constexpr unsigned long kAcceptedHertz = 200;
constexpr unsigned long kAttentionHertz = 2000;
constexpr unsigned long kEntryOverHertz = 400;
constexpr unsigned long kNoBeep = 0;

enum class DigitEffect : unsigned char
{
    None,
    Add,
    Remove,
    RemoveAll
};

struct KeyRow
{
    unsigned char key;
    DigitEffect effect;
    bool bFinished;
    bool bGoOn;
    long code;
    unsigned long beepHertz;
    const char* text;
};

// PC/SC part 10, key events of FEATURE_GET_KEY_PRESSED.
constexpr KeyRow kKeys[] = {
    {0x08, DigitEffect::Remove, false, true, SCARD_S_SUCCESS, kAttentionHertz, "CardReader: CORRECTION"},
    {0x0A, DigitEffect::RemoveAll, false, true, SCARD_S_SUCCESS, kAttentionHertz, "CardReader: CLEAR"},
    {0x0D, DigitEffect::None, true, false, SCARD_S_SUCCESS, kAcceptedHertz, "CardReader: OK"},
    {0x1B, DigitEffect::None, false, false, SCARD_E_CANCELLED, kAttentionHertz, "CardReader: CANCEL KEY"},
    {0x2B, DigitEffect::Add, false, true, SCARD_S_SUCCESS, kAcceptedHertz, "CardReader: PIN DIGIT"},
    {0x40, DigitEffect::None, false, false, SCARD_E_TIMEOUT, kNoBeep, "CardReader: ABORT (Timeout?)"},
};

unsigned short Apply(DigitEffect effect, unsigned short digits)
{
    switch (effect)
    {
    case DigitEffect::None:
        return digits;
    case DigitEffect::Add:
        return static_cast<unsigned short>(digits + 1);
    case DigitEffect::Remove:
        // Intended: no floor, a correction too many wraps to 65535 and so ends the entry.
        return static_cast<unsigned short>(digits - 1);
    case DigitEffect::RemoveAll:
        return 0;
    }
    return digits;
}

/** One SCardControl. What @p answer held before is gone, also on failure. */
long Control(long card, unsigned long code, std::span<const unsigned char> input, Answer& answer)
{
    answer.Clear();
    return SCardControl(card, code, input.data(), input.size(), answer.bytes.data(), answer.bytes.size(),
                        &answer.length);
}
} // namespace

/** What distinguishes PIN entry and PIN change. */
struct BaseCspReader::PinOperation
{
    const char* entryText;
    const char* noCardText;
    const char* notSupportedText;
    unsigned long PinControlCodes::*direct;
    unsigned long PinControlCodes::*start;
    bool (*build)(const Norvik::ByteArray&, const PINVerifyData&, PinBlock&);
    long (BaseCspReader::*runDirect)(unsigned char*, unsigned int, Norvik::ByteArray&);
    long (BaseCspReader::*runStartFinish)(unsigned char*, unsigned int, Norvik::ByteArray&, int);
};

const BaseCspReader::PinOperation BaseCspReader::kVerify = {
    "BaseCspReader VerifyPin",
    "VerifyPin hCard is NULL",
    "SCardControl does not support external pin verify",
    &PinControlCodes::verifyPinDirect,
    &PinControlCodes::verifyPinStart,
    &BuildPinVerifyBlock,
    &BaseCspReader::VerifyPinDirect,
    &BaseCspReader::VerifyPinStartFinish,
};

const BaseCspReader::PinOperation BaseCspReader::kChange = {
    "BaseCspReader ChangePin",
    "ChangePin hCard is NULL",
    "SCardControl does not support external pin changee",
    &PinControlCodes::modifyPinDirect,
    &PinControlCodes::modifyPinStart,
    &BuildPinModifyBlock,
    &BaseCspReader::ModifyPinDirect,
    &BaseCspReader::ModifyPinStartFinish,
};

/** What distinguishes the three steps of PIN entry and PIN change. */
struct BaseCspReader::StartFinishEntry
{
    unsigned long startCode;
    unsigned long finishCode;
    const char* failureText;
    const char* verdictText;
};

void BaseCspReader::CheckReaderCapabilities(bool& bVerify, bool& bModify)
{
    LibReaderImpl::LogMessage("CheckReaderCapabilities start");
    bVerify = false;
    bModify = false;
    m_PinCodes = PinControlCodes();
    if (m_hCard == 0)
    {
        LibReaderImpl::LogError("CheckReaderCapabilities, error hCard is NULL");
        return;
    }
    Answer features;
    const long code = Control(m_hCard, CM_IOCTL_GET_FEATURE_REQUEST, {}, features);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("CheckReaderCapabilities, SCardControl retruns", code);
        return;
    }
    m_PinCodes = PinControlCodes::FromFeatureList({features.bytes.data(), features.Received()});
    bVerify = m_PinCodes.CanVerify();
    bModify = m_PinCodes.CanModify();
}

int BaseCspReader::VerifyPin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                             Norvik::ByteArray& response)
{
    return RunPinOperation(kVerify, apdu, data, response);
}

int BaseCspReader::ChangePin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                             Norvik::ByteArray& response)
{
    return RunPinOperation(kChange, apdu, data, response);
}

int BaseCspReader::RunPinOperation(const PinOperation& operation, const Norvik::ByteArray& apdu,
                                   const PINVerifyData* data, Norvik::ByteArray& response)
{
    LibReaderImpl::LogMessage(operation.entryText);
    if (m_hCard == 0)
    {
        LibReaderImpl::LogError(operation.noCardText);
        return PinEntryError;
    }
    if (m_PinCodes.*operation.direct == 0 && m_PinCodes.*operation.start == 0)
    {
        bool bVerify = false;
        bool bModify = false;
        CheckReaderCapabilities(bVerify, bModify);
        if (!bVerify && !bModify)
        {
            return PinEntryNotSupported;
        }
    }
    PinBlock block;
    if (data == nullptr || !operation.build(apdu, *data, block))
    {
        return PinEntryError;
    }
    long code = SCARD_S_SUCCESS;
    if (m_PinCodes.*operation.direct != 0)
    {
        code = (this->*operation.runDirect)(block.bytes.data(), block.length, response);
    }
    else if (m_PinCodes.*operation.start != 0)
    {
        code = (this->*operation.runStartFinish)(block.bytes.data(), block.length, response, data->maxLength);
    }
    else
    {
        LibReaderImpl::LogErrorSCardError(operation.notSupportedText, SCARD_S_SUCCESS);
        return PinEntryNotSupported;
    }
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("error in SCardControl", code);
        return PinEntryError;
    }
    return PinEntryDone;
}

long BaseCspReader::VerifyPinDirect(unsigned char* block, unsigned int length, Norvik::ByteArray& response)
{
    LibReaderImpl::LogMessage("VerifyPinDirect");
    return RunDirect(m_PinCodes.verifyPinDirect, {block, length}, "SCardControl verify_direct error",
                     response);
}

long BaseCspReader::ModifyPinDirect(unsigned char* block, unsigned int length, Norvik::ByteArray& response)
{
    LibReaderImpl::LogMessage("ModifyPinDirect");
    return RunDirect(m_PinCodes.modifyPinDirect, {block, length}, "SCardControl modify_direct error",
                     response);
}

long BaseCspReader::RunDirect(unsigned long controlCode, std::span<const unsigned char> block,
                              const char* verdictText, Norvik::ByteArray& response)
{
    Answer answer;
    const long code = Control(m_hCard, controlCode, block, answer);
    answer.CopyTo(response);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorCardReaderCmd(verdictText, response);
    }
    return code;
}

long BaseCspReader::VerifyPinStartFinish(unsigned char* block, unsigned int length,
                                         Norvik::ByteArray& response, int maxLength)
{
    LibReaderImpl::LogMessage("VerifyPinStartFinish");
    const StartFinishEntry entry = {m_PinCodes.verifyPinStart, m_PinCodes.verifyPinFinish,
                                    "pcsc verify finish", "SCardControl verify_finish error"};
    return RunStartFinish(entry, {block, length}, response, maxLength);
}

long BaseCspReader::ModifyPinStartFinish(unsigned char* block, unsigned int length,
                                         Norvik::ByteArray& response, int maxLength)
{
    LibReaderImpl::LogMessage("ModifyPinStartFinish");
    const StartFinishEntry entry = {m_PinCodes.modifyPinStart, m_PinCodes.modifyPinFinish,
                                    "pcsc modify finish", "SCardControl modify_finish error"};
    return RunStartFinish(entry, {block, length}, response, maxLength);
}

long BaseCspReader::RunStartFinish(const StartFinishEntry& entry, std::span<const unsigned char> block,
                                   Norvik::ByteArray& response, int maxLength)
{
    Answer answer;
    long code = Control(m_hCard, entry.startCode, block, answer);
    if (code != SCARD_S_SUCCESS)
    {
        // Intended: the same text for a change.
        LibReaderImpl::LogErrorSCardError("pcsc verify start", code);
    }
    else
    {
        code = PollAndFinish(entry.finishCode, answer, maxLength);
    }
    answer.CopyTo(response);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError(entry.failureText, code);
        LibReaderImpl::LogErrorCardReaderCmd(entry.verdictText, response);
    }
    return code;
}

long BaseCspReader::PollAndFinish(unsigned long finishCode, ReceiveBuffer<kAnswerSize>& answer, int maxLength)
{
    if (m_PinCodes.getKeyPressed != 0)
    {
        const long code = PollKeys(answer, maxLength);
        DoBeep(kEntryOverHertz, kBeepMilliseconds);
        if (code != SCARD_S_SUCCESS)
        {
            return code;
        }
    }
    // Intended: the code for verifying decides for a change too.
    if (m_PinCodes.verifyPinFinish == 0)
    {
        return SCARD_S_SUCCESS;
    }
    return Control(m_hCard, finishCode, {}, answer);
}

// Intended: digits are counted over all entries of a change, and no clock but the reader's ends the wait.
long BaseCspReader::PollKeys(ReceiveBuffer<kAnswerSize>& answer, int maxLength)
{
    const auto digitLimit = static_cast<unsigned short>(maxLength);
    unsigned short digits = 0;
    unsigned long code = SCARD_S_SUCCESS;
    bool bGoOn = true;
    while (bGoOn)
    {
        const long polled = Control(m_hCard, m_PinCodes.getKeyPressed, {}, answer);
        if (polled == SCARD_S_SUCCESS)
        {
            const unsigned char key = answer.length != 0 ? answer.bytes[0] : 0x00;
            bool bFinished = false;
            bGoOn = OnKeyPressed(key, digits, code, bFinished);
        }
        else
        {
            code = static_cast<unsigned long>(polled);
            LibReaderImpl::LogErrorSCardError("pcsc key pressed", polled);
            bGoOn = false;
        }
        sleep(kPollSeconds);
        if (digits >= digitLimit)
        {
            LibReaderImpl::LogMessage("max pin length reached-> OK -> finish");
            bGoOn = false;
        }
    }
    return static_cast<long>(code);
}

bool BaseCspReader::OnKeyPressed(unsigned char key, unsigned short& digits, unsigned long& code,
                                 bool& bFinished)
{
    code = SCARD_S_SUCCESS;
    bFinished = false;
    for (const KeyRow& row : kKeys)
    {
        if (row.key != key)
        {
            continue;
        }
        LibReaderImpl::LogMessage(row.text);
        digits = Apply(row.effect, digits);
        code = static_cast<unsigned long>(row.code);
        bFinished = row.bFinished;
        if (row.beepHertz != kNoBeep)
        {
            DoBeep(row.beepHertz, kBeepMilliseconds);
        }
        return row.bGoOn;
    }
    return true;
}

void BaseCspReader::DoBeep(unsigned long frequency, unsigned long duration)
{
    if (!m_bUseBeep)
    {
        return;
    }
    // Intended: the stream is neither flushed nor closed.
    std::FILE* const console = std::fopen("/dev/console", "w");
    if (console == nullptr)
    {
        return;
    }
    constexpr int kEscape = 0x1B;
    std::fprintf(console, "%c[10;%d]%c[11;%d]\a", kEscape, static_cast<int>(frequency), kEscape,
                 static_cast<int>(duration));
}
