#include "simulator/pcscd/PrivatePcscd.h"

#include "simulator/world/UnixSocket.h"

#include <array>
#include <cerrno>
#include <cstdlib>
#include <fstream>
#include <iterator>
#include <stdexcept>
#include <string_view>
#include <system_error>
#include <thread>

#include <sys/socket.h>
#include <unistd.h>

namespace
{

namespace fs = std::filesystem;

constexpr const char* kUsualProgram = "/usr/sbin/pcscd";
constexpr const char* kDriverName = "libkmark-ifd.so";
constexpr std::chrono::milliseconds kLookInterval{50};

fs::path MakeFolder()
{
    // Not TMPDIR alone: a socket's path is short.
    std::string name = "/tmp/kmark-sim-XXXXXX";
    if (::mkdtemp(name.data()) == nullptr)
    {
        throw std::system_error(errno, std::generic_category(), name);
    }
    return name;
}

void WriteReaderConf(const Simulator::World& world, const fs::path& folder, const fs::path& driver)
{
    std::ofstream file(folder / "reader.conf");
    for (std::size_t reader = 0; reader < world.ReaderCount(); ++reader)
    {
        file << "FRIENDLYNAME \"" << world.ReaderName(reader) << "\"\n"
             << "DEVICENAME " << (folder / "world").string() << ':' << reader << '\n'
             << "LIBPATH " << driver.string() << '\n'
             << "CHANNELID 0\n\n";
    }
    if (!file.flush())
    {
        throw std::runtime_error("cannot write " + (folder / "reader.conf").string());
    }
}

// What pcscd would pick up from outside, real USB readers above all, stays out.
std::vector<std::string> Environment(const fs::path& folder)
{
    std::vector<std::string> environment = {"PCSCLITE_HP_DROPDIR=" + (folder / "no-usb-drivers").string()};
    constexpr std::array<std::string_view, 3> kDropped = {"PCSCLITE_", "LISTEN_", "LD_PRELOAD="};
    for (char** variable = environ; *variable != nullptr; ++variable)
    {
        const std::string_view text = *variable;
        bool bDropped = false;
        for (const std::string_view prefix : kDropped)
        {
            bDropped = bDropped || text.substr(0, prefix.size()) == prefix;
        }
        if (!bDropped)
        {
            environment.emplace_back(text);
        }
    }
    return environment;
}

std::string TextOf(const fs::path& path)
{
    std::ifstream file(path);
    return {std::istreambuf_iterator<char>(file), std::istreambuf_iterator<char>()};
}

} // namespace

namespace Simulator
{

PrivatePcscd::PrivatePcscd(World& world, Settings settings) : m_World(world), m_Settings(std::move(settings))
{
    if (m_Settings.program.empty())
    {
        const char* chosen = std::getenv("KMARK_SIM_PCSCD");
        m_Settings.program = chosen == nullptr ? kUsualProgram : chosen;
    }
    if (m_Settings.driver.empty())
    {
        m_Settings.driver = FindDriver();
    }
    m_Folder = MakeFolder();
    try
    {
        WriteReaderConf(m_World, m_Folder, fs::absolute(m_Settings.driver));
        Start();
    }
    catch (...)
    {
        m_Process.reset();
        m_Server.reset();
        std::error_code ignored;
        fs::remove_all(m_Folder, ignored);
        throw;
    }
}

PrivatePcscd::~PrivatePcscd()
{
    m_Process.reset();
    m_Server.reset();
    std::error_code ignored;
    fs::remove_all(m_Folder, ignored);
}

void PrivatePcscd::Start()
{
    std::error_code ignored;
    fs::remove(m_Folder / "world", ignored);
    fs::remove(ClientSocket(), ignored);
    m_Server.reset();
    m_Server = std::make_unique<WorldServer>(m_World, (m_Folder / "world").string());
    const FileDescriptor listener = UnixSocket::Listen(ClientSocket(), SOCK_STREAM);
    KeptProcess::Start start;
    start.program = m_Settings.program;
    start.arguments = {"--foreground", "--config", m_Folder.string()};
    start.environment = Environment(m_Folder);
    start.listenSocket = listener.Get();
    start.output = m_Folder / "pcscd.log";
    start.folder = m_Folder;
    m_Process = std::make_unique<KeptProcess>(start);

    const auto deadline = std::chrono::steady_clock::now() + m_Settings.startTime;
    while (!m_Server->WaitUntilWatched(kLookInterval))
    {
        if (!m_Process->IsRunning() || std::chrono::steady_clock::now() > deadline)
        {
            m_Process.reset();
            throw std::runtime_error(m_Settings.program + " did not start:\n" + TextOf(start.output));
        }
    }
}

std::filesystem::path PrivatePcscd::FindDriver()
{
    const fs::path folder = fs::read_symlink("/proc/self/exe").parent_path();
    const char* chosen = std::getenv("KMARK_SIM_DRIVER");
    for (const fs::path& candidate :
         {fs::path(chosen == nullptr ? "" : chosen), folder / kDriverName,
          folder.parent_path() / KMARK_INSTALL_LIBDIR / "kmark" / kDriverName, fs::path(KMARK_BUILT_DRIVER)})
    {
        if (!candidate.empty() && fs::exists(candidate))
        {
            return candidate;
        }
    }
    throw std::runtime_error(std::string("cannot find ") + kDriverName);
}

} // namespace Simulator
