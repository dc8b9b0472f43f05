#pragma once

#include "simulator/pcscd/KeptProcess.h"
#include "simulator/world/World.h"
#include "simulator/world/WorldServer.h"

#include <chrono>
#include <filesystem>
#include <memory>
#include <string>

namespace Simulator
{

/**
 * A pcscd of one's own, with the readers of a world and no others.
 *
 * Needs no privilege and touches neither the pcscd of the system nor its readers; any number may run side by side.
 * The service and its folder go with this object, and also when the process is killed.
 */
class PrivatePcscd final
{
public:
    struct Settings
    {
        std::string program; ///< pcscd; empty: KMARK_SIM_PCSCD of the environment, or /usr/sbin/pcscd
        std::filesystem::path driver; ///< libkmark-ifd.so; empty: FindDriver()
        std::chrono::milliseconds startTime{10000};
    };

    /**
     * Returns when clients can see the readers. Borrows @p world, whose readers must have been added.
     *
     * @throws std::runtime_error, std::system_error when it doesn't come up
     */
    explicit PrivatePcscd(World& world) : PrivatePcscd(world, Settings()) {}
    PrivatePcscd(World& world, Settings settings);
    ~PrivatePcscd();
    PrivatePcscd(const PrivatePcscd&) = delete;
    PrivatePcscd& operator=(const PrivatePcscd&) = delete;

    /** What clients need as PCSCLITE_CSOCK_NAME. */
    [[nodiscard]] std::string ClientSocket() const { return (m_Folder / "pcscd.comm").string(); }
    /** For one's own sockets and files; goes with the service. */
    [[nodiscard]] const std::filesystem::path& Folder() const { return m_Folder; }
    [[nodiscard]] bool IsRunning() const { return m_Process && m_Process->IsRunning(); }

    /** Ends the service as if it had crashed; clients find nobody then. */
    void Stop() { m_Process.reset(); }
    /** Starts it again after Stop(), under the same address. */
    void Start();

    /** libkmark-ifd.so beside this program, or where it was built. @throws std::runtime_error when it is nowhere */
    static std::filesystem::path FindDriver();

private:
    World& m_World;
    Settings m_Settings;
    std::filesystem::path m_Folder;
    std::unique_ptr<WorldServer> m_Server;
    std::unique_ptr<KeptProcess> m_Process;
};

} // namespace Simulator
