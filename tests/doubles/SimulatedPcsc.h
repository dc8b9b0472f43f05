#pragma once

#include "simulator/world/World.h"

#include <condition_variable>
#include <map>
#include <mutex>
#include <optional>
#include <set>
#include <string>
#include <vector>

#include <winscard.h>

/**
 * The PC/SC service over a simulated world, inside the test program: the client API without a daemon.
 *
 * A test program that links it exports the SCard functions, so that a module loaded into it finds these and not
 * those of libpcsclite. While an object lives the functions work on its world; without one they answer
 * SCARD_E_NO_SERVICE. Behaves as pcsc-lite 1.9.9, which PcscContractTest.cpp holds it to: sharing, transactions
 * that wait for each other, handles that learn of a reset or a removal. Not imitated: SCardGetStatusChange,
 * SCardSetAttrib, reader groups, power-off of an idle card, readers that come and go.
 */
class SimulatedPcsc final : public Simulator::PresenceListener
{
public:
    /** Borrows @p world, whose readers must have been added. One object at a time. */
    explicit SimulatedPcsc(Simulator::World& world);
    ~SimulatedPcsc() override;
    SimulatedPcsc(const SimulatedPcsc&) = delete;
    SimulatedPcsc& operator=(const SimulatedPcsc&) = delete;

    /** Null when none lives. */
    static SimulatedPcsc* Current();

    /** The name that clients see. */
    [[nodiscard]] std::string ReaderName(std::size_t reader) const;

    /** The next @p times calls of this function, e.g. "SCardConnect", return @p code and do nothing else. */
    void Fail(const std::string& function, LONG code, unsigned int times = 1);
    /** Names of the functions called, in order. */
    [[nodiscard]] std::vector<std::string> Calls() const;
    [[nodiscard]] std::size_t CountOf(const std::string& function) const;
    void ClearCalls();
    /** Contexts and card handles that nobody has given back. */
    [[nodiscard]] std::size_t OpenContexts() const;
    [[nodiscard]] std::size_t OpenHandles() const;

    // The functions of winscard.h.
    LONG EstablishContext(DWORD scope, SCARDCONTEXT* context);
    LONG ReleaseContext(SCARDCONTEXT context);
    LONG IsValidContext(SCARDCONTEXT context);
    LONG ListReaders(SCARDCONTEXT context, char* names, DWORD* length);
    LONG Connect(SCARDCONTEXT context, const char* name, DWORD shareMode, DWORD protocols, SCARDHANDLE* card,
                 DWORD* protocol);
    LONG Reconnect(SCARDHANDLE card, DWORD shareMode, DWORD protocols, DWORD initialization, DWORD* protocol);
    LONG Disconnect(SCARDHANDLE card, DWORD disposition);
    LONG BeginTransaction(SCARDHANDLE card);
    LONG EndTransaction(SCARDHANDLE card, DWORD disposition);
    LONG Status(SCARDHANDLE card, char* name, DWORD* nameLength, DWORD* state, DWORD* protocol, BYTE* atr,
                DWORD* atrLength);
    LONG Transmit(SCARDHANDLE card, const SCARD_IO_REQUEST* sendPci, Simulator::ByteView command,
                  SCARD_IO_REQUEST* receivePci, BYTE* answer, DWORD* answerLength);
    LONG Control(SCARDHANDLE card, DWORD code, Simulator::ByteView input, BYTE* output, DWORD room,
                 DWORD* outputLength);
    LONG GetAttrib(SCARDHANDLE card, DWORD attribute, BYTE* value, DWORD* length);

    void OnInserted(std::size_t reader) override;
    void OnRemoved(std::size_t reader) override;
    void Settle(std::size_t /*reader*/) override {}

private:
    struct Handle
    {
        SCARDCONTEXT context = 0;
        std::size_t reader = 0;
        DWORD shareMode = 0;
        DWORD protocol = 0;
        LONG event = SCARD_S_SUCCESS; ///< SCARD_W_RESET_CARD or SCARD_W_REMOVED_CARD until the next connect
    };
    struct ReaderState
    {
        bool bPowered = false;
        bool bSwitchedOff = false; ///< by a client; a card that nobody has used yet is merely not powered
        Simulator::Bytes atr;
        bool bBusy = false;       ///< the card works on a command
        SCARDHANDLE holder = 0;   ///< of the transaction
        unsigned int nesting = 0; ///< of its begins
        DWORD changes = 0;        ///< insertions and removals since the service began
    };
    using Lock = std::unique_lock<std::mutex>;

    /** Notes the call. @return the code to answer with, when the test wants a failure */
    std::optional<LONG> Enter(const std::string& function);
    Handle* Find(SCARDHANDLE card);
    [[nodiscard]] bool IsHeldByOther(std::size_t reader, SCARDHANDLE card) const;
    /** Waits until no other handle holds a transaction and the card is idle. Null: the handle is gone. */
    Handle* WaitForTurn(Lock& lock, SCARDHANDLE card);
    /** As WaitForTurn, and an event of the handle ends it too. */
    LONG WaitForCard(Lock& lock, SCARDHANDLE card, Handle*& handle);
    bool PowerUp(std::size_t reader);
    bool PowerCycle(std::size_t reader);
    void TellOthers(std::size_t reader, SCARDHANDLE except);
    void EndHold(std::size_t reader, SCARDHANDLE card);
    [[nodiscard]] LONG CheckShareMode(std::size_t reader, DWORD shareMode, SCARDHANDLE self) const;
    [[nodiscard]] std::optional<std::size_t> ReaderNumber(const std::string& name) const;
    [[nodiscard]] std::size_t HandlesOn(std::size_t reader) const;
    [[nodiscard]] DWORD StateOf(std::size_t reader) const;
    [[nodiscard]] std::optional<Simulator::Bytes> Attribute(std::size_t reader, DWORD attribute) const;

    Simulator::World& m_World;
    mutable std::mutex m_Mutex; ///< guards all below; never held while a card works
    std::condition_variable m_Changed;
    std::vector<ReaderState> m_Readers;
    std::set<SCARDCONTEXT> m_Contexts;
    std::map<SCARDHANDLE, Handle> m_Handles;
    long m_NextNumber = 0x51C00001; ///< contexts and handles are never mistaken for each other
    std::vector<std::string> m_Calls;
    std::map<std::string, std::vector<LONG>> m_Failures; ///< the last one first
};
