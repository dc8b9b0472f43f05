#include "simulator/world/UnixSocket.h"

#include <cerrno>
#include <cstring>
#include <stdexcept>
#include <system_error>

#include <sys/socket.h>
#include <sys/un.h>

namespace
{

constexpr int kBacklog = 64;

bool MakeAddress(const std::string& path, sockaddr_un& address)
{
    address = {};
    address.sun_family = AF_UNIX;
    if (path.size() >= sizeof address.sun_path)
    {
        return false;
    }
    std::memcpy(address.sun_path, path.data(), path.size());
    return true;
}

const sockaddr* Generic(const sockaddr_un& address)
{
    return reinterpret_cast<const sockaddr*>(&address);
}

} // namespace

namespace Simulator::UnixSocket
{

FileDescriptor Listen(const std::string& path, int type)
{
    sockaddr_un address;
    if (!MakeAddress(path, address))
    {
        throw std::invalid_argument("too long for a socket: " + path);
    }
    FileDescriptor listener(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    if (!listener.IsOpen() || ::bind(listener.Get(), Generic(address), sizeof address) != 0 ||
        ::listen(listener.Get(), kBacklog) != 0)
    {
        throw std::system_error(errno, std::generic_category(), path);
    }
    return listener;
}

FileDescriptor Connect(const std::string& path, int type)
{
    sockaddr_un address;
    if (!MakeAddress(path, address))
    {
        return {};
    }
    FileDescriptor connection(::socket(AF_UNIX, type | SOCK_CLOEXEC, 0));
    if (!connection.IsOpen() || ::connect(connection.Get(), Generic(address), sizeof address) != 0)
    {
        return {};
    }
    return connection;
}

} // namespace Simulator::UnixSocket
