#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/world/FileDescriptor.h"
#include "simulator/world/World.h"

#include <chrono>
#include <condition_variable>
#include <list>
#include <mutex>
#include <string>
#include <thread>
#include <vector>

namespace Simulator
{

/**
 * Lets the driver inside pcscd reach a world through a UNIX socket, see WorldProtocol.h.
 *
 * A removal is shown to the service before an insertion that follows it, however quickly that comes. Borrows the
 * world, and is its presence listener while it lives. One thread accepts, one serves each connection.
 */
class WorldServer final : public PresenceListener
{
public:
    WorldServer(World& world, const std::string& path);
    ~WorldServer() override;
    WorldServer(const WorldServer&) = delete;
    WorldServer& operator=(const WorldServer&) = delete;

    /** Whether, within the time, the driver of every reader waits for changes: pcscd is ready for clients. */
    [[nodiscard]] bool WaitUntilWatched(std::chrono::milliseconds timeout);

    void OnInserted(std::size_t reader) override;
    void OnRemoved(std::size_t reader) override;
    void Settle(std::size_t reader) override;

private:
    /** What the service knows of one reader. */
    struct Watch
    {
        int events = -1;              ///< socket of the event connection, -1 without one
        std::uint64_t lastChange = 0; ///< counted from 1
        std::uint64_t seen = 0;       ///< the last one acted upon
        bool bWatching = false;       ///< has waited for changes at least once
        bool bRemovalUnseen = false;  ///< shown as empty until the service has seen it, whatever is in it now
        std::uint64_t removal = 0;    ///< the number of that change
    };
    struct Connection
    {
        FileDescriptor socket;
        std::thread thread;
    };

    void Accept();
    void Serve(int socket);
    void ServeCommands(int socket, std::size_t reader);
    void ServeEvents(int socket, std::size_t reader);
    Bytes Answer(std::size_t reader, ByteView request);
    [[nodiscard]] bool IsShown(std::size_t reader);
    void OnWatching(std::size_t reader, std::uint64_t change);
    void Change(std::size_t reader);

    World& m_World;
    FileDescriptor m_Listener;
    std::mutex m_Mutex; ///< guards all below; taken before the world's locks
    std::condition_variable m_Changed;
    std::vector<Watch> m_Watches;
    std::list<Connection> m_Connections;
    bool m_bEnding = false;
    std::thread m_Acceptor;
};

} // namespace Simulator
