#include "tests/doubles/SimulatedPcsc.h"

#include <algorithm>
#include <atomic>
#include <cstdio>

#include <reader.h>

namespace
{

using Simulator::Bytes;
using Simulator::ByteView;

std::atomic<SimulatedPcsc*> sCurrent = nullptr;

constexpr DWORD kChangesShift = 16;

// What fits is copied either way; the length that is needed is always told.
LONG Give(ByteView content, BYTE* target, DWORD* length)
{
    if (length == nullptr)
    {
        return SCARD_S_SUCCESS;
    }
    const DWORD room = *length;
    *length = content.size();
    if (target == nullptr)
    {
        return SCARD_S_SUCCESS;
    }
    std::ranges::copy(content.first(std::min<std::size_t>(room, content.size())), target);
    return room < content.size() ? SCARD_E_INSUFFICIENT_BUFFER : SCARD_S_SUCCESS;
}

ByteView WithEnd(const std::string& text)
{
    return {reinterpret_cast<const std::uint8_t*>(text.c_str()), text.size() + 1};
}

} // namespace

SimulatedPcsc::SimulatedPcsc(Simulator::World& world) : m_World(world), m_Readers(world.ReaderCount())
{
    m_World.SetPresenceListener(this);
    sCurrent = this;
}

SimulatedPcsc::~SimulatedPcsc()
{
    sCurrent = nullptr;
    m_World.SetPresenceListener(nullptr);
}

SimulatedPcsc* SimulatedPcsc::Current()
{
    return sCurrent;
}

// The service numbers the readers itself, so that equal names differ.
std::string SimulatedPcsc::ReaderName(std::size_t reader) const
{
    char number[16];
    std::snprintf(number, sizeof number, " %02X 00", static_cast<unsigned int>(reader));
    return m_World.ReaderName(reader) + number;
}

void SimulatedPcsc::Fail(const std::string& function, LONG code, unsigned int times)
{
    const std::lock_guard lock(m_Mutex);
    std::vector<LONG>& codes = m_Failures[function];
    codes.insert(codes.begin(), times, code);
}

std::vector<std::string> SimulatedPcsc::Calls() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Calls;
}

std::size_t SimulatedPcsc::CountOf(const std::string& function) const
{
    const std::lock_guard lock(m_Mutex);
    return static_cast<std::size_t>(std::ranges::count(m_Calls, function));
}

void SimulatedPcsc::ClearCalls()
{
    const std::lock_guard lock(m_Mutex);
    m_Calls.clear();
}

std::size_t SimulatedPcsc::OpenContexts() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Contexts.size();
}

std::size_t SimulatedPcsc::OpenHandles() const
{
    const std::lock_guard lock(m_Mutex);
    return m_Handles.size();
}

LONG SimulatedPcsc::EstablishContext(DWORD scope, SCARDCONTEXT* context)
{
    const Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardEstablishContext"))
    {
        return *failure;
    }
    if (context == nullptr)
    {
        return SCARD_E_INVALID_PARAMETER;
    }
    *context = 0;
    if (scope > SCARD_SCOPE_GLOBAL)
    {
        return SCARD_E_INVALID_VALUE;
    }
    *context = m_NextNumber++;
    m_Contexts.insert(*context);
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::ReleaseContext(SCARDCONTEXT context)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardReleaseContext"))
    {
        return *failure;
    }
    if (m_Contexts.erase(context) == 0)
    {
        return SCARD_E_INVALID_HANDLE;
    }
    for (auto entry = m_Handles.begin(); entry != m_Handles.end();)
    {
        if (entry->second.context != context)
        {
            ++entry;
            continue;
        }
        const SCARDHANDLE card = entry->first;
        const std::size_t reader = entry->second.reader;
        entry = m_Handles.erase(entry);
        // A client that goes within its transaction may have left the card in any state.
        if (m_Readers[reader].holder == card)
        {
            PowerCycle(reader);
            TellOthers(reader, card);
            EndHold(reader, card);
        }
    }
    m_Changed.notify_all();
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::IsValidContext(SCARDCONTEXT context)
{
    const Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardIsValidContext"))
    {
        return *failure;
    }
    return m_Contexts.contains(context) ? SCARD_S_SUCCESS : SCARD_E_INVALID_HANDLE;
}

LONG SimulatedPcsc::ListReaders(SCARDCONTEXT context, char* names, DWORD* length)
{
    const Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardListReaders"))
    {
        return *failure;
    }
    if (length == nullptr)
    {
        return SCARD_E_INVALID_PARAMETER;
    }
    if (!m_Contexts.contains(context))
    {
        return SCARD_E_INVALID_HANDLE;
    }
    if (m_Readers.empty())
    {
        return SCARD_E_NO_READERS_AVAILABLE;
    }
    std::string list;
    for (std::size_t reader = 0; reader < m_Readers.size(); ++reader)
    {
        list += ReaderName(reader) + '\0';
    }
    if (names != nullptr && *length < list.size() + 1)
    {
        *length = list.size() + 1;
        return SCARD_E_INSUFFICIENT_BUFFER;
    }
    return Give(WithEnd(list), reinterpret_cast<BYTE*>(names), length);
}

LONG SimulatedPcsc::Status(SCARDHANDLE card, char* name, DWORD* nameLength, DWORD* state, DWORD* protocol,
                           BYTE* atr, DWORD* atrLength)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardStatus"))
    {
        return *failure;
    }
    Handle* handle = nullptr;
    const LONG waited = WaitForCard(lock, card, handle);
    if (waited != SCARD_S_SUCCESS)
    {
        // Lengths and words read as nothing where the status can't be told.
        for (DWORD* output : {nameLength, state, protocol, atrLength})
        {
            if (output != nullptr)
            {
                *output = 0;
            }
        }
        return waited;
    }
    const ReaderState& reader = m_Readers[handle->reader];
    if (state != nullptr)
    {
        *state = StateOf(handle->reader);
    }
    if (protocol != nullptr)
    {
        *protocol = reader.bPowered ? handle->protocol : 0;
    }
    const std::string shownName = ReaderName(handle->reader);
    const LONG gaveName = Give(WithEnd(shownName), reinterpret_cast<BYTE*>(name), nameLength);
    const LONG gaveAtr = Give(reader.bPowered ? ByteView(reader.atr) : ByteView(), atr, atrLength);
    return gaveName != SCARD_S_SUCCESS ? gaveName : gaveAtr;
}

LONG SimulatedPcsc::Transmit(SCARDHANDLE card, const SCARD_IO_REQUEST* sendPci, ByteView command,
                             SCARD_IO_REQUEST* receivePci, BYTE* answer, DWORD* answerLength)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardTransmit"))
    {
        return *failure;
    }
    if (sendPci == nullptr || answer == nullptr || answerLength == nullptr || command.data() == nullptr)
    {
        return SCARD_E_INVALID_PARAMETER;
    }
    const DWORD room = *answerLength;
    *answerLength = 0;
    Handle* handle = nullptr;
    if (const LONG waited = WaitForCard(lock, card, handle); waited != SCARD_S_SUCCESS)
    {
        return waited;
    }
    const std::size_t number = handle->reader;
    ReaderState& reader = m_Readers[number];
    if (!m_World.IsPresent(number))
    {
        return SCARD_E_NO_SMARTCARD;
    }
    if (sendPci->dwProtocol != handle->protocol)
    {
        return SCARD_E_PROTO_MISMATCH;
    }
    reader.bBusy = true;
    lock.unlock();
    const std::optional<Bytes> given = m_World.Transmit(number, command);
    lock.lock();
    reader.bBusy = false;
    m_Changed.notify_all();
    if (!given.has_value())
    {
        return m_World.IsPresent(number) ? SCARD_E_NOT_TRANSACTED : SCARD_E_NO_SMARTCARD;
    }
    *answerLength = given->size();
    if (room < given->size())
    {
        return SCARD_E_INSUFFICIENT_BUFFER;
    }
    std::ranges::copy(*given, answer);
    if (receivePci != nullptr)
    {
        receivePci->dwProtocol = sendPci->dwProtocol;
    }
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::Control(SCARDHANDLE card, DWORD code, ByteView input, BYTE* output, DWORD room,
                            DWORD* outputLength)
{
    Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardControl"))
    {
        return *failure;
    }
    if (outputLength != nullptr)
    {
        *outputLength = 0;
    }
    const Handle* handle = Find(card);
    if (handle == nullptr)
    {
        return SCARD_E_INVALID_HANDLE;
    }
    const std::size_t number = handle->reader;
    if (IsHeldByOther(number, card))
    {
        return SCARD_E_SHARING_VIOLATION;
    }
    m_Readers[number].bBusy = true;
    lock.unlock();
    const std::optional<Bytes> given = m_World.Control(number, static_cast<std::uint32_t>(code), input);
    lock.lock();
    m_Readers[number].bBusy = false;
    m_Changed.notify_all();
    if (!given.has_value())
    {
        return code == CM_IOCTL_GET_FEATURE_REQUEST ? SCARD_S_SUCCESS : SCARD_E_UNSUPPORTED_FEATURE;
    }
    if (room < given->size())
    {
        return SCARD_E_INSUFFICIENT_BUFFER;
    }
    std::ranges::copy(*given, output);
    if (outputLength != nullptr)
    {
        *outputLength = given->size();
    }
    return SCARD_S_SUCCESS;
}

LONG SimulatedPcsc::GetAttrib(SCARDHANDLE card, DWORD attribute, BYTE* value, DWORD* length)
{
    const Lock lock(m_Mutex);
    if (const auto failure = Enter("SCardGetAttrib"))
    {
        return *failure;
    }
    if (length == nullptr)
    {
        return SCARD_E_INVALID_PARAMETER;
    }
    const Handle* handle = Find(card);
    if (handle == nullptr)
    {
        return SCARD_E_INVALID_HANDLE;
    }
    if (IsHeldByOther(handle->reader, card))
    {
        return SCARD_E_SHARING_VIOLATION;
    }
    if (handle->event != SCARD_S_SUCCESS)
    {
        return handle->event;
    }
    const std::optional<Bytes> content = Attribute(handle->reader, attribute);
    return content.has_value() ? Give(*content, value, length) : SCARD_E_UNSUPPORTED_FEATURE;
}

void SimulatedPcsc::OnInserted(std::size_t reader)
{
    const std::lock_guard lock(m_Mutex);
    ++m_Readers[reader].changes;
    m_Readers[reader].bPowered = false;
    m_Readers[reader].bSwitchedOff = false;
}

void SimulatedPcsc::OnRemoved(std::size_t reader)
{
    const std::lock_guard lock(m_Mutex);
    ReaderState& state = m_Readers[reader];
    ++state.changes;
    state.bPowered = false;
    state.bSwitchedOff = false;
    state.atr.clear();
    for (auto& [card, handle] : m_Handles)
    {
        if (handle.reader == reader)
        {
            handle.event = SCARD_W_REMOVED_CARD;
        }
    }
    m_Changed.notify_all();
}

std::optional<LONG> SimulatedPcsc::Enter(const std::string& function)
{
    m_Calls.push_back(function);
    const auto found = m_Failures.find(function);
    if (found == m_Failures.end() || found->second.empty())
    {
        return std::nullopt;
    }
    const LONG code = found->second.back();
    found->second.pop_back();
    return code;
}

DWORD SimulatedPcsc::StateOf(std::size_t reader) const
{
    const ReaderState& state = m_Readers[reader];
    const DWORD present = state.bPowered ? SCARD_PRESENT | SCARD_POWERED | SCARD_NEGOTIABLE : SCARD_PRESENT;
    return (m_World.IsPresent(reader) ? present : SCARD_ABSENT) | (state.changes << kChangesShift);
}

std::optional<Bytes> SimulatedPcsc::Attribute(std::size_t reader, DWORD attribute) const
{
    constexpr std::uint8_t kAbsent = 0;
    constexpr std::uint8_t kPresentAndSwallowed = 2;
    const std::string name = ReaderName(reader);
    switch (attribute)
    {
    case SCARD_ATTR_ICC_PRESENCE:
        return Bytes{m_World.IsPresent(reader) ? kPresentAndSwallowed : kAbsent};
    case SCARD_ATTR_ATR_STRING:
        return m_Readers[reader].atr;
    case SCARD_ATTR_DEVICE_FRIENDLY_NAME:
        return Bytes(name.c_str(), name.c_str() + name.size() + 1);
    default:
        return std::nullopt;
    }
}
