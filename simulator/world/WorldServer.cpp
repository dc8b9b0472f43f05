#include "simulator/world/WorldServer.h"

#include "simulator/ifd/WorldProtocol.h"
#include "simulator/world/UnixSocket.h"

#include <algorithm>
#include <cstring>

#include <sys/socket.h>

namespace
{

using namespace Simulator;
using WorldProtocol::Operation;
using WorldProtocol::Outcome;

constexpr std::chrono::seconds kSettleTime{3};

bool Send(int socket, ByteView message)
{
    return ::send(socket, message.data(), message.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(message.size());
}

bool Receive(int socket, Bytes& message)
{
    message.resize(WorldProtocol::kLongestMessage);
    const ssize_t length = ::recv(socket, message.data(), message.size(), 0);
    message.resize(length > 0 ? static_cast<std::size_t>(length) : 0);
    return length > 0;
}

template <typename T>
std::optional<T> NumberAt(ByteView message, std::size_t position)
{
    T number = 0;
    if (message.size() < position + sizeof number)
    {
        return std::nullopt;
    }
    std::memcpy(&number, message.data() + position, sizeof number);
    return number;
}

Bytes NumberMessage(std::uint64_t number)
{
    Bytes message(sizeof number);
    std::memcpy(message.data(), &number, sizeof number);
    return message;
}

Bytes Reply(Outcome outcome, ByteView content = {})
{
    Bytes reply = {static_cast<std::uint8_t>(outcome)};
    Append(reply, content);
    return reply;
}

Bytes ReplyOr(Outcome otherwise, const std::optional<Bytes>& content)
{
    return content.has_value() ? Reply(Outcome::Ok, *content) : Reply(otherwise);
}

} // namespace

namespace Simulator
{

WorldServer::WorldServer(World& world, const std::string& path)
    : m_World(world), m_Listener(UnixSocket::Listen(path, SOCK_SEQPACKET)), m_Watches(world.ReaderCount())
{
    m_World.SetPresenceListener(this);
    m_Acceptor = std::thread([this] { Accept(); });
}

WorldServer::~WorldServer()
{
    m_World.SetPresenceListener(nullptr);
    {
        const std::lock_guard lock(m_Mutex);
        m_bEnding = true;
        ::shutdown(m_Listener.Get(), SHUT_RDWR);
        for (const Connection& connection : m_Connections)
        {
            ::shutdown(connection.socket.Get(), SHUT_RDWR);
        }
    }
    m_Changed.notify_all();
    m_Acceptor.join();
    // Nobody adds a connection any more.
    for (Connection& connection : m_Connections)
    {
        connection.thread.join();
    }
}

bool WorldServer::WaitUntilWatched(std::chrono::milliseconds timeout)
{
    std::unique_lock lock(m_Mutex);
    return m_Changed.wait_for(lock, timeout, [&] {
        return std::ranges::all_of(m_Watches, [](const Watch& watch) { return watch.bWatching; });
    });
}

void WorldServer::OnInserted(std::size_t reader)
{
    const std::lock_guard lock(m_Mutex);
    // An insertion behind an unseen removal is told when that has been seen.
    if (!m_Watches.at(reader).bRemovalUnseen)
    {
        Change(reader);
    }
}

void WorldServer::OnRemoved(std::size_t reader)
{
    const std::lock_guard lock(m_Mutex);
    Watch& watch = m_Watches.at(reader);
    Change(reader);
    watch.bRemovalUnseen = watch.events >= 0;
    watch.removal = watch.lastChange;
}

void WorldServer::Settle(std::size_t reader)
{
    std::unique_lock lock(m_Mutex);
    const Watch& watch = m_Watches.at(reader);
    m_Changed.wait_for(lock, kSettleTime, [&] {
        return m_bEnding || watch.events < 0 || (watch.seen == watch.lastChange && !watch.bRemovalUnseen);
    });
}

void WorldServer::Accept()
{
    while (true)
    {
        FileDescriptor socket(::accept4(m_Listener.Get(), nullptr, nullptr, SOCK_CLOEXEC));
        const std::lock_guard lock(m_Mutex);
        if (m_bEnding || !socket.IsOpen())
        {
            return;
        }
        Connection& connection = m_Connections.emplace_back();
        connection.socket = std::move(socket);
        connection.thread = std::thread([this, descriptor = connection.socket.Get()] { Serve(descriptor); });
    }
}

void WorldServer::Serve(int socket)
{
    Bytes request;
    if (!Receive(socket, request))
    {
        return;
    }
    const std::optional<std::uint32_t> reader = NumberAt<std::uint32_t>(request, 1);
    if (!reader.has_value() || *reader >= m_Watches.size())
    {
        ::shutdown(socket, SHUT_RDWR);
        return;
    }
    if (request[0] == static_cast<std::uint8_t>(Operation::OpenEvents))
    {
        ServeEvents(socket, *reader);
    }
    else if (Send(socket, Reply(Outcome::Ok)))
    {
        ServeCommands(socket, *reader);
    }
}

void WorldServer::ServeCommands(int socket, std::size_t reader)
{
    Bytes request;
    while (Receive(socket, request))
    {
        if (!Send(socket, Answer(reader, request)))
        {
            return;
        }
    }
}

void WorldServer::ServeEvents(int socket, std::size_t reader)
{
    {
        const std::lock_guard lock(m_Mutex);
        m_Watches[reader].events = socket;
        Send(socket, NumberMessage(m_Watches[reader].lastChange));
    }
    Bytes message;
    while (Receive(socket, message))
    {
        const std::optional<std::uint64_t> change = NumberAt<std::uint64_t>(message, 1);
        if (message[0] == static_cast<std::uint8_t>(Operation::Watching) && change.has_value())
        {
            OnWatching(reader, *change);
        }
    }
    const std::lock_guard lock(m_Mutex);
    Watch& watch = m_Watches[reader];
    if (watch.events == socket)
    {
        watch.events = -1;
        watch.bRemovalUnseen = false;
        m_Changed.notify_all();
    }
}

Bytes WorldServer::Answer(std::size_t reader, ByteView request)
{
    const ByteView content = request.subspan(1);
    const auto operation = static_cast<Operation>(request[0]);
    if (operation == Operation::Control)
    {
        const std::optional<std::uint32_t> code = NumberAt<std::uint32_t>(content, 0);
        return code.has_value() ? ReplyOr(Outcome::NotSupported,
                                          m_World.Control(reader, *code, content.subspan(sizeof *code)))
                                : Reply(Outcome::NotSupported);
    }
    if (operation == Operation::PowerOff)
    {
        m_World.PowerOff(reader);
        return Reply(Outcome::Ok);
    }
    if (!IsShown(reader))
    {
        return Reply(Outcome::NoCard);
    }
    switch (operation)
    {
    case Operation::IsPresent:
        return Reply(Outcome::Ok);
    case Operation::PowerOn:
        return ReplyOr(Outcome::NoCard, m_World.PowerOn(reader));
    case Operation::Reset:
        return ReplyOr(Outcome::NoCard, m_World.Reset(reader));
    case Operation::Transmit:
        return ReplyOr(Outcome::NoCard, m_World.Transmit(reader, content));
    case Operation::OpenCommands:
    case Operation::OpenEvents:
    case Operation::PowerOff:
    case Operation::Control:
    case Operation::Watching:
        break;
    }
    return Reply(Outcome::NotSupported);
}

bool WorldServer::IsShown(std::size_t reader)
{
    const std::lock_guard lock(m_Mutex);
    return !m_Watches[reader].bRemovalUnseen && m_World.IsPresent(reader);
}

void WorldServer::OnWatching(std::size_t reader, std::uint64_t change)
{
    const std::lock_guard lock(m_Mutex);
    Watch& watch = m_Watches[reader];
    watch.bWatching = true;
    watch.seen = change;
    if (watch.bRemovalUnseen && change >= watch.removal)
    {
        watch.bRemovalUnseen = false;
        if (m_World.IsPresent(reader))
        {
            Change(reader);
        }
    }
    m_Changed.notify_all();
}

void WorldServer::Change(std::size_t reader)
{
    Watch& watch = m_Watches[reader];
    ++watch.lastChange;
    if (watch.events >= 0)
    {
        Send(watch.events, NumberMessage(watch.lastChange));
    }
}

} // namespace Simulator
