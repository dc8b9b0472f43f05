#include "tests/support/PrivateEtc.h"

#include "tests/support/TextFile.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <dirent.h>
#include <fcntl.h>
#include <filesystem>
#include <memory>
#include <sched.h>
#include <stdexcept>
#include <string_view>
#include <sys/mount.h>
#include <sys/stat.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

constexpr const char* kEtc = "/etc";
constexpr const char* kNorvik = "/etc/norvik";

bool bEntered = false;

bool WriteProcFile(const char* path, const std::string& content)
{
    const int file = open(path, O_WRONLY | O_CLOEXEC);
    if (file < 0)
    {
        return false;
    }
    const bool bWritten = write(file, content.data(), content.size()) == static_cast<ssize_t>(content.size());
    close(file);
    return bWritten;
}

/** The user keeps the number that it has; the rights over the new namespace come with it. */
bool UnshareAsUser()
{
    const std::string user = std::to_string(geteuid());
    const std::string group = std::to_string(getegid());
    return unshare(CLONE_NEWUSER | CLONE_NEWNS) == 0 && WriteProcFile("/proc/self/setgroups", "deny") &&
           WriteProcFile("/proc/self/uid_map", user + " " + user + " 1") &&
           WriteProcFile("/proc/self/gid_map", group + " " + group + " 1");
}

bool Unshare()
{
    return (geteuid() == 0 && unshare(CLONE_NEWNS) == 0) || UnshareAsUser();
}

bool BindEntry(const fs::directory_entry& entry, const fs::path& place)
{
    if (entry.is_symlink())
    {
        fs::copy_symlink(entry.path(), place);
        return true;
    }
    if (entry.is_directory())
    {
        fs::create_directory(place);
    }
    else
    {
        WriteText(place.string(), "");
    }
    return mount(entry.path().c_str(), place.c_str(), nullptr, MS_BIND | MS_REC, nullptr) == 0;
}

bool BindAllButNorvik(const fs::path& place)
{
    for (const fs::directory_entry& entry : fs::directory_iterator(kEtc))
    {
        if (entry.path() != kNorvik && !BindEntry(entry, place / entry.path().filename()))
        {
            return false;
        }
    }
    return true;
}

bool ReplaceEtc()
{
    if (mount(nullptr, "/", nullptr, MS_REC | MS_PRIVATE, nullptr) != 0)
    {
        return false;
    }
    std::string place = (fs::temp_directory_path() / "kmark-etc-XXXXXX").string();
    if (mkdtemp(place.data()) == nullptr)
    {
        return false;
    }
    bool bReplaced = false;
    if (mount("tmpfs", place.c_str(), "tmpfs", MS_NOSUID | MS_NODEV, "mode=0755") == 0)
    {
        bReplaced =
            BindAllButNorvik(place) && mount(place.c_str(), kEtc, nullptr, MS_BIND | MS_REC, nullptr) == 0;
        umount2(place.c_str(), MNT_DETACH);
    }
    rmdir(place.c_str());
    return bReplaced;
}

void CheckEntered()
{
    if (!bEntered)
    {
        throw std::logic_error("the machine's own /etc must not be written");
    }
}

} // namespace

bool PrivateEtc::Enter()
{
    static const bool bResult = [] {
        try
        {
            bEntered = Unshare() && ReplaceEtc();
        }
        catch (const fs::filesystem_error&)
        {
            bEntered = false;
        }
        return bEntered;
    }();
    return bResult;
}

void PrivateEtc::WriteConfig(const std::string& xml)
{
    CheckEntered();
    fs::create_directories(fs::path(kConfigFile).parent_path());
    WriteText(kConfigFile, xml);
}

void PrivateEtc::Clear()
{
    CheckEntered();
    fs::remove_all(kNorvik);
}
