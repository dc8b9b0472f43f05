#include "crypto/ShowCertificate.h"

#include <cerrno>
#include <cstdio>
#include <cstring>

#include <unistd.h>

namespace Norvik
{

namespace
{

constexpr char kViewer[] = "certViewerApp";

} // namespace

bool ShowCertificate(std::string path)
{
    const pid_t child = fork();
    if (child != 0)
    {
        return child > 0;
    }
    execlp(kViewer, kViewer, path.c_str(), nullptr);
    // Not exit(): the handlers and buffers of the host process belong to the parent.
    dprintf(STDERR_FILENO, "ERROR: can not execute %s: %s\n", kViewer, std::strerror(errno));
    _exit(-1);
}

} // namespace Norvik
