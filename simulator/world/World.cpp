#include "simulator/world/World.h"

#include <stdexcept>
#include <thread>

namespace
{

// A hook runs on the thread of its exchange, and what it changes can't be seen before it ends.
thread_local bool t_bInExchange = false;

class ExchangeMark final
{
public:
    ExchangeMark() { t_bInExchange = true; }
    ~ExchangeMark() { t_bInExchange = false; }
    ExchangeMark(const ExchangeMark&) = delete;
    ExchangeMark& operator=(const ExchangeMark&) = delete;
};

Simulator::Bytes ControlRecord(std::uint32_t code, Simulator::ByteView input)
{
    Simulator::Bytes record;
    for (const unsigned int shift : {24U, 16U, 8U, 0U})
    {
        record.push_back(static_cast<std::uint8_t>((code >> shift) & 0xFFU));
    }
    Simulator::Append(record, input);
    return record;
}

} // namespace

namespace Simulator
{

World::World() : m_Start(std::chrono::steady_clock::now()) {}

std::size_t World::AddReader(std::string name, std::shared_ptr<ReaderExtension> extension)
{
    auto reader = std::make_unique<Reader>();
    reader->name = std::move(name);
    reader->extension = std::move(extension);
    m_Readers.push_back(std::move(reader));
    return m_Readers.size() - 1;
}

std::size_t World::ReaderCount() const
{
    return m_Readers.size();
}

const std::string& World::ReaderName(std::size_t reader) const
{
    return At(reader).name;
}

void World::Insert(std::size_t reader, std::shared_ptr<Card> card)
{
    const std::string kind = card->Kind();
    {
        const std::lock_guard lock(m_CardMutex);
        for (const auto& other : m_Readers)
        {
            if (other->card == card)
            {
                throw std::logic_error("the card is in a reader");
            }
        }
        Reader& target = At(reader);
        if (target.card)
        {
            throw std::logic_error("the reader holds a card");
        }
        target.card = std::move(card);
        target.bPowered = false;
    }
    Note({{}, reader, TraceKind::Insert, {}, {}, kind});
    {
        const std::lock_guard lock(m_ListenerMutex);
        if (m_Listener != nullptr)
        {
            m_Listener->OnInserted(reader);
        }
    }
    Settle(reader);
}

std::shared_ptr<Card> World::Remove(std::size_t reader)
{
    std::shared_ptr<Card> card;
    {
        const std::lock_guard lock(m_CardMutex);
        Reader& source = At(reader);
        if (!source.card)
        {
            throw std::logic_error("the reader is empty");
        }
        card.swap(source.card);
        source.bPowered = false;
    }
    Note({{}, reader, TraceKind::Remove, {}, {}, {}});
    {
        const std::lock_guard lock(m_ListenerMutex);
        if (m_Listener != nullptr)
        {
            m_Listener->OnRemoved(reader);
        }
    }
    Settle(reader);
    return card;
}

std::shared_ptr<Card> World::Swap(std::size_t reader, std::shared_ptr<Card> card)
{
    std::shared_ptr<Card> before = CardIn(reader) ? Remove(reader) : nullptr;
    Insert(reader, std::move(card));
    return before;
}

std::shared_ptr<Card> World::CardIn(std::size_t reader) const
{
    const std::lock_guard lock(m_CardMutex);
    return At(reader).card;
}

bool World::IsPresent(std::size_t reader) const
{
    return CardIn(reader) != nullptr;
}

std::optional<Bytes> World::PowerOn(std::size_t reader)
{
    return Power(reader, TraceKind::PowerOn);
}

std::optional<Bytes> World::Reset(std::size_t reader)
{
    return Power(reader, TraceKind::Reset);
}

void World::PowerOff(std::size_t reader)
{
    Reader& target = At(reader);
    const std::lock_guard exchange(target.exchange);
    {
        const std::lock_guard lock(m_CardMutex);
        if (!target.card || !target.bPowered)
        {
            return;
        }
        target.bPowered = false;
        target.card->Reset();
    }
    Note({{}, reader, TraceKind::PowerOff, {}, {}, {}});
}

std::optional<Bytes> World::Transmit(std::size_t reader, ByteView command)
{
    const std::lock_guard exchange(At(reader).exchange);
    return Exchange(reader, command);
}

std::optional<Bytes> World::Control(std::size_t reader, std::uint32_t code, ByteView input)
{
    Reader& target = At(reader);
    if (!target.extension)
    {
        return std::nullopt;
    }
    const std::lock_guard exchange(target.exchange);
    std::optional<Bytes> output =
        target.extension->Control(code, input, [&](ByteView command) { return Exchange(reader, command); });
    Note({{}, reader, TraceKind::Control, ControlRecord(code, input), output.value_or(Bytes{}), {}});
    return output;
}

std::vector<TraceEntry> World::Trace() const
{
    const std::lock_guard lock(m_TraceMutex);
    return m_Trace;
}

std::vector<Bytes> World::Commands() const
{
    const std::lock_guard lock(m_TraceMutex);
    std::vector<Bytes> commands;
    for (const TraceEntry& entry : m_Trace)
    {
        if (entry.kind == TraceKind::Command)
        {
            commands.push_back(entry.command);
        }
    }
    return commands;
}

void World::ClearTrace()
{
    const std::lock_guard lock(m_TraceMutex);
    m_Trace.clear();
}

void World::SetTraceSink(std::function<void(const TraceEntry&)> sink)
{
    const std::lock_guard lock(m_TraceMutex);
    m_TraceSink = std::move(sink);
}

void World::SetPresenceListener(PresenceListener* listener)
{
    const std::lock_guard lock(m_ListenerMutex);
    m_Listener = listener;
}

World::Reader& World::At(std::size_t reader) const
{
    return *m_Readers.at(reader);
}

std::shared_ptr<Card> World::PoweredCard(const Reader& reader) const
{
    const std::lock_guard lock(m_CardMutex);
    return reader.bPowered ? reader.card : nullptr;
}

std::optional<Bytes> World::Power(std::size_t reader, TraceKind kind)
{
    Reader& target = At(reader);
    const std::lock_guard exchange(target.exchange);
    Bytes atr;
    {
        const std::lock_guard lock(m_CardMutex);
        if (!target.card)
        {
            return std::nullopt;
        }
        target.card->Reset();
        target.bPowered = true;
        atr = target.card->Atr();
    }
    Note({{}, reader, kind, {}, atr, {}});
    return atr;
}

std::optional<Bytes> World::Exchange(std::size_t reader, ByteView command)
{
    const auto begin = std::chrono::steady_clock::now();
    const Reader& target = At(reader);
    const std::shared_ptr<Card> card = PoweredCard(target);
    if (!card)
    {
        return std::nullopt;
    }
    Bytes answer;
    {
        const ExchangeMark mark;
        answer = card->Transmit(command);
    }
    // A card that takes no time is not put to sleep: even the shortest sleep costs as much as the command.
    if (const std::chrono::microseconds latency = card->Latency(command); latency.count() > 0)
    {
        std::this_thread::sleep_until(begin + latency);
    }
    if (PoweredCard(target) != card)
    {
        answer.clear();
    }
    Note(
        {{}, reader, TraceKind::Command, Bytes(command.begin(), command.end()), answer, card->CurrentPath()});
    return answer.empty() ? std::nullopt : std::optional<Bytes>(std::move(answer));
}

void World::Settle(std::size_t reader)
{
    if (t_bInExchange)
    {
        return;
    }
    const std::lock_guard lock(m_ListenerMutex);
    if (m_Listener != nullptr)
    {
        m_Listener->Settle(reader);
    }
}

void World::Note(TraceEntry entry)
{
    const std::lock_guard lock(m_TraceMutex);
    entry.time =
        std::chrono::duration_cast<std::chrono::microseconds>(std::chrono::steady_clock::now() - m_Start);
    if (m_TraceSink)
    {
        m_TraceSink(entry);
    }
    m_Trace.push_back(std::move(entry));
}

} // namespace Simulator
