#include "simulator/pcscd/PrivateRunFolder.h"

#include <cstdio>

#include <fcntl.h>
#include <sched.h>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

constexpr const char* kRunFolder = "/run";
constexpr const char* kServiceFolder = "/run/pcscd";
constexpr mode_t kFolderMode = 0755;

bool WriteAll(const char* path, const char* text, int length)
{
    const int descriptor = ::open(path, O_WRONLY | O_CLOEXEC);
    const bool bWritten = descriptor >= 0 && ::write(descriptor, text, static_cast<size_t>(length)) == length;
    ::close(descriptor);
    return bWritten;
}

// In the new user namespace everybody stays who they are.
bool MapToSelf(const char* path, unsigned int id)
{
    char line[64];
    const int length = std::snprintf(line, sizeof line, "%u %u 1\n", id, id);
    return WriteAll(path, line, length);
}

bool EnterMountNamespace()
{
    if (::unshare(CLONE_NEWNS) == 0)
    {
        return true;
    }
    const uid_t user = ::geteuid();
    const gid_t group = ::getegid();
    return ::unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && WriteAll("/proc/self/setgroups", "deny", 4) &&
           MapToSelf("/proc/self/uid_map", user) && MapToSelf("/proc/self/gid_map", group);
}

bool MountEmptyFolder(const char* path)
{
    return ::mount("none", path, "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") == 0;
}

} // namespace

namespace Simulator
{

void MakeRunFolderPrivate() noexcept
{
    if (!EnterMountNamespace() || ::mount("none", "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    {
        return;
    }
    struct stat found = {};
    if (::stat(kServiceFolder, &found) == 0)
    {
        MountEmptyFolder(kServiceFolder);
    }
    else if (MountEmptyFolder(kRunFolder))
    {
        ::mkdir(kServiceFolder, kFolderMode);
    }
}

} // namespace Simulator
