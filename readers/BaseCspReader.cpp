#include "readers/BaseCspReader.h"

#include "readers/LibReaderImpl.h"
#include "readers/ReceiveBuffer.h"

#include <algorithm>
#include <memory>
#include <span>

#include <reader.h>
#include <winscard.h>

namespace
{
constexpr std::size_t kAtrSize = 32;

struct StateBit
{
    unsigned long bit;
    const char* name;
    bool bPresent;
};

// The last one that is set decides.
constexpr StateBit kStateBits[] = {
    {0x04, "SCARD_PRESENT", true}, {0x02, "SCARD_ABSENT", false},    {0x08, "SCARD_SWALLOWED", true},
    {0x10, "SCARD_POWERED", true}, {0x20, "SCARD_NEGOTIABLE", true}, {0x40, "SCARD_SPECIFIC", true},
};

enum Presence : int
{
    NoCard = 0,
    CardPresent = 1,
    CardConfiscated = 2,
    PresenceUnknown = 3
};

struct PresenceRow
{
    unsigned long value;
    const char* text;
    Presence presence;
};

constexpr PresenceRow kPresenceRows[] = {
    {0, "Status: no card present", NoCard},
    {1, "Status: card present but not swallowed", CardPresent},
    {2, "Status: card present and swallowed", CardPresent},
    {4, "Status: card confiscated", CardConfiscated},
};

struct PresenceFailureRow
{
    long code;
    const char* text;
};

constexpr PresenceFailureRow kNoCardFailures[] = {
    {SCARD_W_REMOVED_CARD, "Status: SCARD_W_REMOVED_CARD"},
    {SCARD_W_RESET_CARD, "Status: SCARD_W_RESET_CARD"},
    {SCARD_E_NO_SMARTCARD, "Status: SCARD_E_NO_SMARTCARD"},
};

Presence PresenceOfValue(unsigned long value)
{
    for (const PresenceRow& row : kPresenceRows)
    {
        if (row.value == value)
        {
            LibReaderImpl::LogMessage(row.text);
            return row.presence;
        }
    }
    LibReaderImpl::LogMessage("Status: unknown...");
    return PresenceUnknown;
}

Presence PresenceOfFailure(long code)
{
    for (const PresenceFailureRow& row : kNoCardFailures)
    {
        if (row.code == code)
        {
            LibReaderImpl::LogError(row.text);
            return NoCard;
        }
    }
    LibReaderImpl::LogError("Status: error", static_cast<int>(code));
    return PresenceUnknown;
}
} // namespace

BaseCspReader::BaseCspReader(long context, long card) : m_hContext(context), m_hCard(card) {}

bool BaseCspReader::ConnectReader()
{
    return true;
}

bool BaseCspReader::ConnectCard(bool /*force*/)
{
    return true;
}

bool BaseCspReader::Disconnect()
{
    return true;
}

bool BaseCspReader::Reconnect(bool /*bReset*/, bool /*bUnpower*/)
{
    return true;
}

bool BaseCspReader::BeginTransaction()
{
    return true;
}

bool BaseCspReader::EndTransaction()
{
    return true;
}

void BaseCspReader::SetConfig(bool bSecure, bool bUseGui, bool bUseBeep)
{
    m_bSecure = bSecure;
    m_bUseGui = bUseGui;
    m_bUseBeep = bUseBeep;
}

bool BaseCspReader::SendApdu(const unsigned char* data, unsigned long length, Norvik::ByteArray& response)
{
    if (m_hCard == 0)
    {
        LibReaderImpl::LogError("SendApdu, error hCard is NULL");
        return false;
    }
    ReceiveBuffer<kAnswerSize> answer;
    const long code =
        SCardTransmit(m_hCard, SCARD_PCI_T1, data, length, nullptr, answer.bytes.data(), &answer.length);
    answer.CopyTo(response);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("error in SendApdu", code);
        return false;
    }
    return true;
}

bool BaseCspReader::IsOk()
{
    return m_hContext != 0 && m_hCard != 0;
}

bool BaseCspReader::IsTokenPresent()
{
    LibReaderImpl::LogMessage("PCSC IsTokenPresent");
    if (!IsOk())
    {
        LibReaderImpl::LogError("reader not ok");
        return false;
    }
    unsigned long state = 0;
    const long code = SCardStatus(m_hCard, nullptr, nullptr, &state, nullptr, nullptr, nullptr);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("SCardStatus failed", code);
        return false;
    }
    bool bPresent = false;
    for (const StateBit& row : kStateBits)
    {
        if ((state & row.bit) != 0)
        {
            LibReaderImpl::LogMessage(row.name);
            bPresent = row.bPresent;
        }
    }
    return bPresent;
}

bool BaseCspReader::GetAtr(Norvik::ByteArray& atr)
{
    ReceiveBuffer<kAtrSize> answer;
    const long code =
        SCardStatus(m_hCard, nullptr, nullptr, nullptr, nullptr, answer.bytes.data(), &answer.length);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("SCardStatus failed", code);
        return false;
    }
    const std::span<const unsigned char> received(answer.bytes.data(), answer.Received());
    atr.assign(received.begin(), received.end());
    return true;
}

int BaseCspReader::GetStatus()
{
    if (m_hCard == 0)
    {
        return NoCard;
    }
    unsigned long value = 0;
    unsigned long length = sizeof(value);
    const long code =
        SCardGetAttrib(m_hCard, SCARD_ATTR_ICC_PRESENCE, reinterpret_cast<unsigned char*>(&value), &length);
    return code == SCARD_S_SUCCESS ? PresenceOfValue(value) : PresenceOfFailure(code);
}

void BaseCspReader::GetReaderName(std::string& vendorName, std::string& ifdType, std::string& ifdSerial,
                                  std::string& deviceUnit, std::string& systemName, std::string& friendlyName)
{
    vendorName = ifdType = ifdSerial = deviceUnit = systemName = friendlyName;
    MySCardGetAttrib(SCARD_ATTR_VENDOR_NAME, vendorName, false);
    MySCardGetAttrib(SCARD_ATTR_VENDOR_IFD_TYPE, ifdType, false);
    MySCardGetAttrib(SCARD_ATTR_DEVICE_UNIT, deviceUnit, false);
    MySCardGetAttrib(SCARD_ATTR_VENDOR_IFD_SERIAL_NO, ifdSerial, false);
    MySCardGetAttrib(SCARD_ATTR_DEVICE_SYSTEM_NAME_A, systemName, true);
    MySCardGetAttrib(SCARD_ATTR_DEVICE_FRIENDLY_NAME_A, friendlyName, true);
}

long BaseCspReader::GetReaderStatus()
{
    if (!IsOk())
    {
        return SCARD_W_REMOVED_CARD;
    }
    ReceiveBuffer<kAtrSize> atr;
    return SCardStatus(m_hCard, nullptr, nullptr, nullptr, nullptr, atr.bytes.data(), &atr.length);
}

long BaseCspReader::MySCardGetAttrib(unsigned long attribute, std::string& value, bool /*bText*/)
{
    unsigned long length = 0;
    const long code = SCardGetAttrib(m_hCard, attribute, nullptr, &length);
    if (code != SCARD_S_SUCCESS)
    {
        return code;
    }
    // No length at all, but a wish for memory of the service, if it came back to it.
    if (length == SCARD_AUTOALLOCATE)
    {
        return SCARD_E_NO_MEMORY;
    }
    const std::size_t allocated = length;
    const auto bytes = std::make_unique<char[]>(allocated);
    const long fetched =
        SCardGetAttrib(m_hCard, attribute, reinterpret_cast<unsigned char*>(bytes.get()), &length);
    if (fetched == SCARD_S_SUCCESS)
    {
        value.assign(bytes.get(), std::min<std::size_t>(length, allocated));
    }
    return fetched;
}
