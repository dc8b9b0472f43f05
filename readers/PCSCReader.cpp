#include "readers/PCSCReader.h"

#include "readers/LibReaderImpl.h"

#include <algorithm>

#include <unistd.h>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>
#include <reader.h>
#include <winscard.h>

namespace
{
// Serialises ConnectCard(), BeginTransaction() and EndTransaction() over all readers: the PC/SC calls that
// open a card, change a context, or begin and end a transaction. Not held between the begin and the end of a
// transaction. Comes after sTokenMutex, and no other lock is taken while it is held.
boost::mutex sReaderMutex;

using ReaderLock = boost::lock_guard<boost::mutex>;

constexpr unsigned long kAnyProtocol = SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1;
constexpr long kErrorInvalidHandle = 6;
constexpr int kNewContextRounds = 3;
constexpr unsigned int kRoundSeconds = 1;
constexpr std::size_t kProbeSize = 2048;

/** Whether a new handle or a new context may help. */
bool IsStale(long code)
{
    return code == SCARD_E_SERVICE_STOPPED || code == kErrorInvalidHandle || code == SCARD_W_REMOVED_CARD;
}

unsigned long Disposition(bool bReset, bool bUnpower)
{
    if (bUnpower)
    {
        return SCARD_UNPOWER_CARD;
    }
    return bReset ? SCARD_RESET_CARD : SCARD_LEAVE_CARD;
}
} // namespace

PCSCReader::PCSCReader() : BaseCspReader(0, 0) {}

bool PCSCReader::ConnectReader()
{
    LibReaderImpl::LogMessage("PCSCReader::ConnectReader");
    if (m_ReaderId.empty())
    {
        LibReaderImpl::LogError("ReaderId not set");
        return false;
    }
    if (m_hContext != 0)
    {
        LibReaderImpl::LogMessage("disconnect old reader");
        Disconnect();
    }
    LibReaderImpl::LogMessage("PCSC ConnectReader " + m_ReaderId);
    long context = 0;
    long code = SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("cannot establish context -> retry in user context", code);
        code = SCardEstablishContext(SCARD_SCOPE_USER, nullptr, nullptr, &context);
    }
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("cannot establish context ", code);
        return false;
    }
    m_hContext = context;
    return true;
}

bool PCSCReader::Disconnect()
{
    LibReaderImpl::LogMessage("PCSCReader::Disconnect");
    if (m_hCard != 0)
    {
        SCardDisconnect(m_hCard, SCARD_UNPOWER_CARD);
    }
    m_hCard = 0;
    if (m_hContext != 0)
    {
        SCardReleaseContext(m_hContext);
    }
    m_hContext = 0;
    return true;
}

bool PCSCReader::ConnectCard(bool force)
{
    const ReaderLock lock(sReaderMutex);
    LibReaderImpl::LogMessage("PCSCReader::ConnectCard");
    if (m_hContext == 0)
    {
        LibReaderImpl::LogError("reader not connected");
        return false;
    }
    if (m_hCard != 0 && GetReaderStatus() == SCARD_W_REMOVED_CARD)
    {
        Disconnect();
        ConnectReader();
    }
    if (!force && m_hCard != 0)
    {
        LibReaderImpl::LogMessage("card already connected");
        return true;
    }
    if (!OpenCard())
    {
        LogPinSupport();
        return false;
    }
    return true;
}

// Intended: a live handle is overwritten without being given back.
bool PCSCReader::OpenCard()
{
    const long connected = LocalSCardConnect(m_ReaderId, SCARD_SHARE_SHARED, &m_hCard, &m_ActiveProtocol);
    if (connected != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("cannot connect card ", connected);
        return false;
    }
    m_Atr.fill(0);
    m_AtrLength = m_Atr.size();
    const long status = SCardStatus(m_hCard, nullptr, nullptr, nullptr, nullptr, m_Atr.data(), &m_AtrLength);
    m_AtrLength = std::min<unsigned long>(m_AtrLength, m_Atr.size());
    if (status != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("cannot read card status ", status);
        return false;
    }
    return true;
}

long PCSCReader::LocalSCardConnect(const std::string& reader, unsigned long shareMode, long* hCard,
                                   unsigned long* protocol)
{
    LibReaderImpl::LogMessage("PCSCReader::LocalSCardConnect");
    long code = TryConnect(reader, shareMode, hCard, protocol);
    if (IsStale(code))
    {
        SCardDisconnect(m_hCard, SCARD_RESET_CARD);
        m_hCard = 0;
        code = TryConnect(reader, shareMode, hCard, protocol);
    }
    if (IsStale(code))
    {
        code = ConnectInNewContext(code, reader, shareMode, hCard, protocol);
    }
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogError("error in connect to card");
    }
    return code;
}

long PCSCReader::ConnectInNewContext(long lastCode, const std::string& reader, unsigned long shareMode,
                                     long* hCard, unsigned long* protocol)
{
    long code = lastCode;
    for (int round = 0; round < kNewContextRounds; ++round)
    {
        LibReaderImpl::LogMessage("LocalSCardConnect error, trying to get new hCtx and retrying");
        Disconnect();
        if (ConnectReader())
        {
            code = TryConnect(reader, shareMode, hCard, protocol);
        }
        if (code == SCARD_S_SUCCESS)
        {
            return code;
        }
        sleep(kRoundSeconds);
    }
    return code;
}

long PCSCReader::TryConnect(const std::string& reader, unsigned long shareMode, long* hCard,
                            unsigned long* protocol)
{
    const long code = SCardConnect(m_hContext, reader.c_str(), shareMode, kAnyProtocol, hCard, protocol);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("error in SCardConnect", code);
    }
    return code;
}

void PCSCReader::LogPinSupport()
{
    ReceiveBuffer<kProbeSize> features;
    SCardControl(m_hCard, CM_IOCTL_GET_FEATURE_REQUEST, nullptr, 0, features.bytes.data(),
                 features.bytes.size(), &features.length);
    const PinControlCodes codes =
        PinControlCodes::FromFeatureList({features.bytes.data(), features.Received()});
    LibReaderImpl::LogMessage(codes.verifyPinDirect != 0 ? "Reader DOES support PIN verification"
                                                         : "Reader DOES NOT support PIN verification");
    LibReaderImpl::LogMessage(codes.modifyPinDirect != 0 ? "Reader DOES support PIN modification"
                                                         : "Reader DOES NOT support PIN modification");
}

bool PCSCReader::Reconnect(bool bReset, bool bUnpower)
{
    if (m_hCard == 0)
    {
        return false;
    }
    unsigned long protocol = 0;
    return SCardReconnect(m_hCard, SCARD_SHARE_SHARED, kAnyProtocol, Disposition(bReset, bUnpower),
                          &protocol) == SCARD_S_SUCCESS;
}

bool PCSCReader::BeginTransaction()
{
    const ReaderLock lock(sReaderMutex);
    if (m_hCard == 0)
    {
        LibReaderImpl::LogError("BeginTransaction hCard is NULL");
        return false;
    }
    const long code = SCardBeginTransaction(m_hCard);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("Error in BeginTransaction", code);
        return false;
    }
    return true;
}

bool PCSCReader::EndTransaction()
{
    const ReaderLock lock(sReaderMutex);
    if (m_hCard == 0)
    {
        LibReaderImpl::LogError("EndTransaction hCard is NULL");
        return false;
    }
    const long code = SCardEndTransaction(m_hCard, SCARD_LEAVE_CARD);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("Error in EndTransaction", code);
        return false;
    }
    return true;
}

bool PCSCReader::IsOk()
{
    return m_hContext != 0;
}

bool PCSCReader::IsTokenPresent()
{
    ConnectCard(false);
    return BaseCspReader::IsTokenPresent();
}

std::string PCSCReader::VendorID()
{
    return m_ReaderId;
}
