#pragma once

#include "simulator/world/FileDescriptor.h"

#include <string>

/** UNIX sockets by path. Descriptors are closed on exec. */
namespace Simulator::UnixSocket
{

/** @param type SOCK_STREAM or SOCK_SEQPACKET. @throws std::system_error, std::invalid_argument for a long path */
FileDescriptor Listen(const std::string& path, int type);

/** Not open when nobody listens there. */
FileDescriptor Connect(const std::string& path, int type);

} // namespace Simulator::UnixSocket
