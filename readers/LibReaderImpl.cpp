#include "readers/LibReaderImpl.h"

#include "common/LoggingHelper.h"

#include <atomic>
#include <sstream>

#include <winscard.h>

namespace LibReaderImpl
{
namespace
{
Norvik::LogHook pt2LogError;
Norvik::LogHook pt2LogMessage;

// One thread may switch while others log.
std::atomic<bool> bLoggingEnabled = true;

bool Listens(const Norvik::LogHook& hook)
{
    return hook.IsSet() && bLoggingEnabled.load(std::memory_order_relaxed);
}

struct ResultName
{
    long code;
    const char* name;
};

constexpr long kErrorInvalidHandle = 6;

constexpr ResultName kResultNames[] = {
    {SCARD_S_SUCCESS, "Success"},
    {kErrorInvalidHandle, "ERROR_INVALID_HANDLE"},
    {SCARD_F_INTERNAL_ERROR, "SCARD_F_INTERNAL_ERROR"},
    {SCARD_E_CANCELLED, "SCARD_E_CANCELLED"},
    {SCARD_E_INVALID_HANDLE, "SCARD_E_INVALID_HANDLE"},
    {SCARD_E_INVALID_PARAMETER, "SCARD_E_INVALID_PARAMETER"},
    {SCARD_E_INVALID_TARGET, "SCARD_E_INVALID_TARGET"},
    {SCARD_E_NO_MEMORY, "SCARD_E_NO_MEMORY"},
    {SCARD_F_WAITED_TOO_LONG, "SCARD_F_WAITED_TOO_LONG"},
    {SCARD_E_INSUFFICIENT_BUFFER, "SCARD_E_INSUFFICIENT_BUFFER"},
    {SCARD_E_UNKNOWN_READER, "SCARD_E_UNKNOWN_READER"},
    {SCARD_E_TIMEOUT, "SCARD_E_TIMEOUT"},
    {SCARD_E_SHARING_VIOLATION, "SCARD_E_SHARING_VIOLATION"},
    {SCARD_E_NO_SMARTCARD, "SCARD_E_NO_SMARTCARD"},
    {SCARD_E_UNKNOWN_CARD, "SCARD_E_UNKNOWN_CARD"},
    {SCARD_E_CANT_DISPOSE, "SCARD_E_CANT_DISPOSE"},
    {SCARD_E_PROTO_MISMATCH, "SCARD_E_PROTO_MISMATCH"},
    {SCARD_E_NOT_READY, "SCARD_E_NOT_READY"},
    {SCARD_E_INVALID_VALUE, "SCARD_E_INVALID_VALUE"},
    {SCARD_E_SYSTEM_CANCELLED, "SCARD_E_SYSTEM_CANCELLED"},
    {SCARD_F_COMM_ERROR, "SCARD_F_COMM_ERROR"},
    {SCARD_F_UNKNOWN_ERROR, "SCARD_F_UNKNOWN_ERROR"},
    {SCARD_E_INVALID_ATR, "SCARD_E_INVALID_ATR"},
    {SCARD_E_NOT_TRANSACTED, "SCARD_E_NOT_TRANSACTED"},
    {SCARD_E_READER_UNAVAILABLE, "SCARD_E_READER_UNAVAILABLE"},
    {SCARD_P_SHUTDOWN, "SCARD_P_SHUTDOWN"},
    {SCARD_E_PCI_TOO_SMALL, "SCARD_E_PCI_TOO_SMALL"},
    {SCARD_E_READER_UNSUPPORTED, "SCARD_E_READER_UNSUPPORTED"},
    {SCARD_E_DUPLICATE_READER, "SCARD_E_DUPLICATE_READER"},
    {SCARD_E_CARD_UNSUPPORTED, "SCARD_E_CARD_UNSUPPORTED"},
    {SCARD_E_NO_SERVICE, "SCARD_E_NO_SERVICE"},
    {SCARD_E_SERVICE_STOPPED, "SCARD_E_SERVICE_STOPPED"},
    {SCARD_W_UNSUPPORTED_CARD, "SCARD_W_UNSUPPORTED_CARD"},
    {SCARD_W_UNRESPONSIVE_CARD, "SCARD_W_UNRESPONSIVE_CARD"},
    {SCARD_W_UNPOWERED_CARD, "SCARD_W_UNPOWERED_CARD"},
    {SCARD_W_RESET_CARD, "SCARD_W_RESET_CARD"},
    {SCARD_W_REMOVED_CARD, "SCARD_W_REMOVED_CARD"},
};

const char* NameOfResult(long code)
{
    for (const ResultName& row : kResultNames)
    {
        if (row.code == code)
        {
            return row.name;
        }
    }
    return "Unknown Error";
}

struct ReaderVerdict
{
    unsigned char sw1;
    unsigned char sw2;
    const char* text;
};

// PC/SC part 10, status words of the PIN features.
constexpr ReaderVerdict kReaderVerdicts[] = {
    {0x6B, 0x80, "invalid parameter in passed structure"},
    {0x64, 0x00, "SPE operation timed out"},
    {0x64, 0x01, "SPE operation was cancelled by the 'Cancel' button"},
    {0x64, 0x02, "Modify PIN operation failed because two 'new PIN' entries do not match"},
    {0x64, 0x03, "User entered too short or too long PIN regarding MIN/MAX PIN Length"},
};

std::string VerdictText(unsigned char sw1, unsigned char sw2)
{
    for (const ReaderVerdict& row : kReaderVerdicts)
    {
        if (row.sw1 == sw1 && row.sw2 == sw2)
        {
            return row.text;
        }
    }
    // Intended: the status word stands there as two raw characters.
    return std::string("unknown ") + static_cast<char>(sw1) + ' ' + static_cast<char>(sw2);
}
} // namespace

void SetErrorLoggingFunc(Norvik::LogFunction function)
{
    pt2LogError.Set(function);
}

void SetMessageLoggingFunc(Norvik::LogFunction function)
{
    pt2LogMessage.Set(function);
}

void EnableLogging()
{
    bLoggingEnabled.store(true, std::memory_order_relaxed);
}

void DisableLogging()
{
    bLoggingEnabled.store(false, std::memory_order_relaxed);
}

void LogError(const char* text)
{
    if (Listens(pt2LogError))
    {
        pt2LogError(text);
    }
}

void LogError(const std::string& text)
{
    LogError(text.c_str());
}

void LogError(const std::string& text, int number)
{
    if (Listens(pt2LogError))
    {
        pt2LogError(text + ' ' + std::to_string(number));
    }
}

void LogMessage(const char* text)
{
    if (Listens(pt2LogMessage))
    {
        pt2LogMessage(text);
    }
}

void LogMessage(const std::string& text)
{
    LogMessage(text.c_str());
}

void LogMessageFormat(const std::string& text, int number)
{
    if (Listens(pt2LogMessage))
    {
        pt2LogMessage(text + ' ' + std::to_string(number));
    }
}

void LogErrorSCardError(const std::string& text, long code)
{
    if (Listens(pt2LogMessage))
    {
        pt2LogMessage(text + ' ' + LoggingHelper::SCardErrorToString(code));
    }
}

void LogErrorCardReaderCmd(const std::string& text, const Norvik::ByteArray& response)
{
    if (response.size() < 2 || !Listens(pt2LogError))
    {
        return;
    }
    const unsigned char sw1 = response[response.size() - 2];
    const unsigned char sw2 = response[response.size() - 1];
    if (sw1 == 0x90 && sw2 == 0x00)
    {
        return;
    }
    pt2LogError(text + ' ' + VerdictText(sw1, sw2));
}

void SCardErrorToString(std::stringstream& out, long code)
{
    out << NameOfResult(code) << " (0x" << std::hex << code << ")";
}

} // namespace LibReaderImpl
