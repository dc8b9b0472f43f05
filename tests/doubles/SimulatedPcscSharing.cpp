// Connections, transactions and what they do to each other.

#include "tests/doubles/SimulatedPcsc.h"

#include <algorithm>

namespace
{

constexpr DWORD kKnownProtocols = SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1;

bool IsShareMode(DWORD mode)
{
    return mode == SCARD_SHARE_EXCLUSIVE || mode == SCARD_SHARE_SHARED || mode == SCARD_SHARE_DIRECT;
}

bool ResetsTheCard(DWORD disposition)
{
    return disposition == SCARD_RESET_CARD || disposition == SCARD_UNPOWER_CARD;
}

} // namespace

LONG SimulatedPcsc::Connect(SCARDCONTEXT context, const char* name, DWORD shareMode, DWORD protocols,
                            SCARDHANDLE* card, DWORD* protocol)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardConnect"))
    {
        return *failure;
    }
    if (card == nullptr || protocol == nullptr)
    {
        return SCARD_E_INVALID_PARAMETER;
    }
    *card = 0;
    if (name == nullptr)
    {
        return SCARD_E_UNKNOWN_READER;
    }
    if (!m_Contexts.contains(context))
    {
        return SCARD_E_INVALID_HANDLE;
    }
    *protocol = SCARD_PROTOCOL_UNDEFINED;
    const std::optional<std::size_t> found = ReaderNumber(name);
    const bool bDirect = shareMode == SCARD_SHARE_DIRECT;
    if (!bDirect && (protocols & (kKnownProtocols | SCARD_PROTOCOL_RAW)) == 0)
    {
        return SCARD_E_PROTO_MISMATCH;
    }
    if (!IsShareMode(shareMode))
    {
        return SCARD_E_INVALID_VALUE;
    }
    if (!found.has_value())
    {
        return SCARD_E_UNKNOWN_READER;
    }
    m_Changed.wait(lock, [&] { return !IsHeldByOther(*found, 0) && !m_Readers[*found].bBusy; });
    if (const LONG shared = CheckShareMode(*found, shareMode, 0); shared != SCARD_S_SUCCESS)
    {
        return shared;
    }
    Handle handle;
    handle.context = context;
    handle.reader = *found;
    handle.shareMode = shareMode;
    if (!bDirect)
    {
        if (!m_World.IsPresent(*found))
        {
            return SCARD_E_NO_SMARTCARD;
        }
        // Who switched the card off while others stay connected leaves it so.
        const ReaderState& reader = m_Readers[*found];
        if (!reader.bPowered && ((reader.bSwitchedOff && HandlesOn(*found) > 0) || !PowerUp(*found)))
        {
            return SCARD_W_UNPOWERED_CARD;
        }
        if ((protocols & SCARD_PROTOCOL_T1) == 0)
        {
            return SCARD_E_PROTO_MISMATCH;
        }
        handle.protocol = SCARD_PROTOCOL_T1;
    }
    *card = m_NextNumber++;
    *protocol = handle.protocol;
    m_Handles[*card] = handle;
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::Reconnect(SCARDHANDLE card, DWORD shareMode, DWORD protocols, DWORD initialization,
                              DWORD* protocol)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardReconnect"))
    {
        return *failure;
    }
    if (protocol == nullptr)
    {
        return SCARD_E_INVALID_PARAMETER;
    }
    Handle* handle = WaitForTurn(lock, card);
    if (handle == nullptr)
    {
        return SCARD_E_INVALID_HANDLE;
    }
    if (initialization > SCARD_UNPOWER_CARD || !IsShareMode(shareMode))
    {
        return SCARD_E_INVALID_VALUE;
    }
    *protocol = SCARD_PROTOCOL_UNDEFINED;
    if (const LONG shared = CheckShareMode(handle->reader, shareMode, card); shared != SCARD_S_SUCCESS)
    {
        return shared;
    }
    if (!m_World.IsPresent(handle->reader))
    {
        return SCARD_E_NO_SMARTCARD;
    }
    if ((protocols & SCARD_PROTOCOL_T1) == 0)
    {
        return SCARD_E_PROTO_MISMATCH;
    }
    if (ResetsTheCard(initialization))
    {
        TellOthers(handle->reader, card);
        PowerCycle(handle->reader);
    }
    else if (!m_Readers[handle->reader].bPowered && !m_Readers[handle->reader].bSwitchedOff)
    {
        PowerUp(handle->reader);
    }
    handle->event = SCARD_S_SUCCESS;
    handle->shareMode = shareMode;
    handle->protocol = SCARD_PROTOCOL_T1;
    *protocol = handle->protocol;
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::Disconnect(SCARDHANDLE card, DWORD disposition)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardDisconnect"))
    {
        return *failure;
    }
    if (disposition > SCARD_EJECT_CARD)
    {
        return SCARD_E_INVALID_VALUE;
    }
    // To leave the card alone needs no turn.
    const Handle* handle = ResetsTheCard(disposition) ? WaitForTurn(lock, card) : Find(card);
    if (handle == nullptr)
    {
        return SCARD_E_INVALID_HANDLE;
    }
    const std::size_t reader = handle->reader;
    const bool bCardGone = handle->event == SCARD_W_REMOVED_CARD && !m_World.IsPresent(reader);
    EndHold(reader, card);
    m_Handles.erase(card);
    if (ResetsTheCard(disposition) && !bCardGone && m_World.IsPresent(reader))
    {
        TellOthers(reader, card);
        if (disposition == SCARD_RESET_CARD)
        {
            PowerCycle(reader);
        }
        else
        {
            m_World.PowerOff(reader);
            m_Readers[reader].bPowered = false;
            m_Readers[reader].bSwitchedOff = true;
        }
    }
    m_Changed.notify_all();
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::BeginTransaction(SCARDHANDLE card)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardBeginTransaction"))
    {
        return *failure;
    }
    Handle* handle = nullptr;
    if (const LONG waited = WaitForCard(lock, card, handle); waited != SCARD_S_SUCCESS)
    {
        return waited;
    }
    ReaderState& reader = m_Readers[handle->reader];
    reader.holder = card;
    ++reader.nesting;
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::EndTransaction(SCARDHANDLE card, DWORD disposition)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardEndTransaction"))
    {
        return *failure;
    }
    Handle* handle = Find(card);
    if (handle == nullptr)
    {
        return SCARD_E_INVALID_HANDLE;
    }
    if (disposition > SCARD_EJECT_CARD)
    {
        return SCARD_E_INVALID_VALUE;
    }
    if (handle->event != SCARD_S_SUCCESS)
    {
        return handle->event;
    }
    ReaderState& reader = m_Readers[handle->reader];
    if (reader.holder != card)
    {
        return reader.holder == 0 ? SCARD_E_NOT_TRANSACTED : SCARD_E_SHARING_VIOLATION;
    }
    if (ResetsTheCard(disposition))
    {
        PowerCycle(handle->reader);
        // Also its own handle has to reconnect.
        TellOthers(handle->reader, 0);
    }
    if (--reader.nesting == 0)
    {
        reader.holder = 0;
        m_Changed.notify_all();
    }
    return SCARD_S_SUCCESS;
}

SimulatedPcsc::Handle* SimulatedPcsc::Find(SCARDHANDLE card)
{
    const auto found = m_Handles.find(card);
    return found == m_Handles.end() ? nullptr : &found->second;
}

bool SimulatedPcsc::IsHeldByOther(std::size_t reader, SCARDHANDLE card) const
{
    return m_Readers[reader].holder != 0 && m_Readers[reader].holder != card;
}

SimulatedPcsc::Handle* SimulatedPcsc::WaitForTurn(Lock& lock, SCARDHANDLE card)
{
    m_Changed.wait(lock, [&] {
        const Handle* handle = Find(card);
        return handle == nullptr ||
               (!IsHeldByOther(handle->reader, card) && !m_Readers[handle->reader].bBusy);
    });
    return Find(card);
}

LONG SimulatedPcsc::WaitForCard(Lock& lock, SCARDHANDLE card, Handle*& handle)
{
    m_Changed.wait(lock, [&] {
        handle = Find(card);
        return handle == nullptr || handle->event != SCARD_S_SUCCESS ||
               (!IsHeldByOther(handle->reader, card) && !m_Readers[handle->reader].bBusy);
    });
    return handle == nullptr ? SCARD_E_INVALID_HANDLE : handle->event;
}

bool SimulatedPcsc::PowerUp(std::size_t reader)
{
    const std::optional<Simulator::Bytes> atr = m_World.PowerOn(reader);
    m_Readers[reader].bPowered = atr.has_value();
    m_Readers[reader].bSwitchedOff = false;
    m_Readers[reader].atr = atr.value_or(Simulator::Bytes());
    return atr.has_value();
}

bool SimulatedPcsc::PowerCycle(std::size_t reader)
{
    return m_Readers[reader].bPowered ? m_World.Reset(reader).has_value() : PowerUp(reader);
}

void SimulatedPcsc::TellOthers(std::size_t reader, SCARDHANDLE except)
{
    for (auto& [card, handle] : m_Handles)
    {
        if (handle.reader == reader && card != except && handle.event == SCARD_S_SUCCESS)
        {
            handle.event = SCARD_W_RESET_CARD;
        }
    }
    m_Changed.notify_all();
}

void SimulatedPcsc::EndHold(std::size_t reader, SCARDHANDLE card)
{
    if (m_Readers[reader].holder == card)
    {
        m_Readers[reader].holder = 0;
        m_Readers[reader].nesting = 0;
        m_Changed.notify_all();
    }
}

LONG SimulatedPcsc::CheckShareMode(std::size_t reader, DWORD shareMode, SCARDHANDLE self) const
{
    for (const auto& [card, handle] : m_Handles)
    {
        const bool bOther = card != self && handle.reader == reader;
        if (bOther && (shareMode == SCARD_SHARE_EXCLUSIVE || handle.shareMode == SCARD_SHARE_EXCLUSIVE))
        {
            return SCARD_E_SHARING_VIOLATION;
        }
    }
    return SCARD_S_SUCCESS;
}

std::optional<std::size_t> SimulatedPcsc::ReaderNumber(const std::string& name) const
{
    for (std::size_t reader = 0; reader < m_Readers.size(); ++reader)
    {
        if (ReaderName(reader) == name)
        {
            return reader;
        }
    }
    return std::nullopt;
}

std::size_t SimulatedPcsc::HandlesOn(std::size_t reader) const
{
    return static_cast<std::size_t>(
        std::ranges::count_if(m_Handles, [&](const auto& entry) { return entry.second.reader == reader; }));
}
