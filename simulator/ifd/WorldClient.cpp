#include "simulator/ifd/WorldClient.h"

#include <algorithm>
#include <charconv>
#include <cstring>

#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <sys/un.h>
#include <unistd.h>

namespace
{

using Message = std::vector<std::uint8_t>;
using Simulator::WorldProtocol::Operation;
using Simulator::WorldProtocol::Outcome;

// Without a world the reader is asked again at this pace.
constexpr int kRetryMilliseconds = 500;

void Close(int& descriptor)
{
    if (descriptor >= 0)
    {
        ::close(descriptor);
        descriptor = -1;
    }
}

template <typename T>
Message Compose(Operation operation, T number)
{
    Message message(1 + sizeof number);
    message[0] = static_cast<std::uint8_t>(operation);
    std::memcpy(message.data() + 1, &number, sizeof number);
    return message;
}

bool Send(int socket, const Message& message)
{
    return ::send(socket, message.data(), message.size(), MSG_NOSIGNAL) ==
           static_cast<ssize_t>(message.size());
}

} // namespace

namespace Simulator
{

WorldClient::WorldClient(const std::string& deviceName)
    : m_StopEvent(::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK))
{
    const std::size_t colon = deviceName.rfind(':');
    m_Path = deviceName.substr(0, colon);
    if (colon != std::string::npos)
    {
        std::from_chars(deviceName.data() + colon + 1, deviceName.data() + deviceName.size(), m_Reader);
    }
    // Before the first look at the reader, so that no change falls between the two.
    m_Events = Open(Operation::OpenEvents);
}

WorldClient::~WorldClient()
{
    Close(m_Commands);
    Close(m_Events);
    Close(m_StopEvent);
}

WorldClient::Answer WorldClient::Ask(Operation operation, std::span<const std::uint8_t> content)
{
    Message request = {static_cast<std::uint8_t>(operation)};
    request.insert(request.end(), content.begin(), content.end());
    const std::lock_guard lock(m_CommandMutex);
    Answer answer;
    if (m_Commands < 0)
    {
        m_Commands = Open(Operation::OpenCommands);
        Answer greeting;
        if (m_Commands < 0 || !Exchange({}, greeting))
        {
            Close(m_Commands);
            return answer;
        }
    }
    if (!Exchange(request, answer))
    {
        Close(m_Commands);
        return {};
    }
    return answer;
}

void WorldClient::WaitForChange(int timeoutMilliseconds)
{
    if (m_Events < 0)
    {
        m_Events = Open(Operation::OpenEvents);
    }
    if (m_Events >= 0 && !Send(m_Events, Compose(Operation::Watching, m_LastChange)))
    {
        Close(m_Events);
    }
    const bool bWorld = m_Events >= 0;
    pollfd waits[] = {{m_StopEvent, POLLIN, 0}, {m_Events, POLLIN, 0}};
    const int timeout = bWorld ? timeoutMilliseconds : std::min(timeoutMilliseconds, kRetryMilliseconds);
    if (::poll(waits, bWorld ? 2 : 1, timeout) > 0 && bWorld && waits[1].revents != 0)
    {
        TakeChanges();
    }
}

void WorldClient::StopWaiting()
{
    const std::uint64_t one = 1;
    // The counter can't overflow, so there is no failure to act on.
    [[maybe_unused]] const ssize_t written = ::write(m_StopEvent, &one, sizeof one);
}

int WorldClient::Open(Operation operation) const
{
    sockaddr_un address = {};
    address.sun_family = AF_UNIX;
    if (m_Path.size() >= sizeof address.sun_path)
    {
        return -1;
    }
    std::memcpy(address.sun_path, m_Path.data(), m_Path.size());
    int connection = ::socket(AF_UNIX, SOCK_SEQPACKET | SOCK_CLOEXEC, 0);
    if (connection >= 0 &&
        (::connect(connection, reinterpret_cast<const sockaddr*>(&address), sizeof address) != 0 ||
         !Send(connection, Compose(operation, m_Reader))))
    {
        Close(connection);
    }
    return connection;
}

// An empty request is none: the greeting of the world is awaited.
bool WorldClient::Exchange(const Message& request, Answer& answer)
{
    if (!request.empty() && !Send(m_Commands, request))
    {
        return false;
    }
    Message reply(WorldProtocol::kLongestMessage);
    const ssize_t length = ::recv(m_Commands, reply.data(), reply.size(), 0);
    if (length <= 0)
    {
        return false;
    }
    answer.outcome = static_cast<Outcome>(reply[0]);
    answer.content.assign(reply.begin() + 1, reply.begin() + length);
    return true;
}

void WorldClient::TakeChanges()
{
    std::uint64_t change = 0;
    ssize_t length = 0;
    while ((length = ::recv(m_Events, &change, sizeof change, MSG_DONTWAIT)) ==
           static_cast<ssize_t>(sizeof change))
    {
        m_LastChange = change;
    }
    if (length == 0)
    {
        Close(m_Events);
    }
}

} // namespace Simulator
