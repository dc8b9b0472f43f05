#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/card/Card.h"
#include "simulator/world/TraceEntry.h"

#include <chrono>
#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <vector>

namespace Simulator
{

/** Hears of each insertion and removal. Called without a lock of the world. */
class PresenceListener
{
public:
    virtual ~PresenceListener() = default;
    virtual void OnInserted(std::size_t reader) = 0;
    virtual void OnRemoved(std::size_t reader) = 0;
    /** Returns when the change has been taken notice of, or can't be soon. */
    virtual void Settle(std::size_t reader) = 0;
};

/**
 * What a reader answers to SCardControl.
 *
 * The place for a keypad: it may work on the card of its reader through @p transmit, which goes into the trace
 * like any command.
 */
class ReaderExtension
{
public:
    using TransmitToCard = std::function<std::optional<Bytes>(ByteView command)>;
    virtual ~ReaderExtension() = default;
    /** @return nothing for a control code that the reader doesn't know */
    virtual std::optional<Bytes> Control(std::uint32_t code, ByteView input,
                                         const TransmitToCard& transmit) = 0;
};

/**
 * Readers and the cards in them.
 *
 * All operations may be called from any thread. Exchanges with one reader come one after the other; readers do
 * not wait for each other. Readers are only added, before anything is connected to the world.
 */
class World final
{
public:
    World();
    World(const World&) = delete;
    World& operator=(const World&) = delete;

    /** @param extension may be null: a reader without features. @return the number of the reader, from 0 */
    std::size_t AddReader(std::string name, std::shared_ptr<ReaderExtension> extension = nullptr);
    [[nodiscard]] std::size_t ReaderCount() const;
    [[nodiscard]] const std::string& ReaderName(std::size_t reader) const;

    /**
     * Puts a card into a reader, or takes it out, and returns when the service has seen it.
     *
     * From within a hook of a card it returns at once, since the service waits for that card.
     *
     * @throws std::logic_error when the reader is occupied, or empty, or the card is in another reader
     * @throws std::out_of_range when there is no such reader
     */
    void Insert(std::size_t reader, std::shared_ptr<Card> card);
    std::shared_ptr<Card> Remove(std::size_t reader);
    /** Removes what is there, if anything, and inserts @p card. The service sees both, one after the other. */
    std::shared_ptr<Card> Swap(std::size_t reader, std::shared_ptr<Card> card);
    /** Null for an empty reader. */
    [[nodiscard]] std::shared_ptr<Card> CardIn(std::size_t reader) const;

    // What a driver asks of a reader. Nothing: no card, no power, or no answer.
    [[nodiscard]] bool IsPresent(std::size_t reader) const;
    std::optional<Bytes> PowerOn(std::size_t reader);
    std::optional<Bytes> Reset(std::size_t reader);
    void PowerOff(std::size_t reader);
    std::optional<Bytes> Transmit(std::size_t reader, ByteView command);
    std::optional<Bytes> Control(std::size_t reader, std::uint32_t code, ByteView input);

    [[nodiscard]] std::vector<TraceEntry> Trace() const;
    /** The commands that cards got, in order, and nothing else of the trace. */
    [[nodiscard]] std::vector<Bytes> Commands() const;
    void ClearTrace();
    /** Called with each entry, under the lock of the trace. */
    void SetTraceSink(std::function<void(const TraceEntry&)> sink);

    /** One at a time; null to end it. */
    void SetPresenceListener(PresenceListener* listener);

private:
    struct Reader
    {
        std::string name;
        std::shared_ptr<ReaderExtension> extension;
        std::shared_ptr<Card> card; ///< guarded by m_CardMutex
        bool bPowered = false;      ///< guarded by m_CardMutex
        std::mutex exchange;        ///< held while the card works; taken before m_CardMutex
    };

    [[nodiscard]] Reader& At(std::size_t reader) const;
    [[nodiscard]] std::shared_ptr<Card> PoweredCard(const Reader& reader) const;
    std::optional<Bytes> Power(std::size_t reader, TraceKind kind);
    std::optional<Bytes> Exchange(std::size_t reader, ByteView command);
    void Settle(std::size_t reader);
    void Note(TraceEntry entry);

    const std::chrono::steady_clock::time_point m_Start;
    std::vector<std::unique_ptr<Reader>> m_Readers;
    mutable std::mutex m_CardMutex;
    mutable std::mutex m_TraceMutex; ///< the last one in the order
    std::vector<TraceEntry> m_Trace;
    std::function<void(const TraceEntry&)> m_TraceSink;
    std::mutex m_ListenerMutex; ///< never held with the others
    PresenceListener* m_Listener = nullptr;
};

} // namespace Simulator
