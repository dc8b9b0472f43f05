#pragma once

#include "simulator/world/FileDescriptor.h"

#include <filesystem>
#include <string>
#include <vector>

#include <sys/types.h>

namespace Simulator
{

/**
 * A program that lives no longer than its owner.
 *
 * Between the two stands a keeper, a process that does nothing but wait: when this object goes, or the process
 * that made it dies in whatever way, it ends the program and removes a folder. Neither of them gets the signals
 * of the terminal.
 */
class KeptProcess final
{
public:
    struct Start
    {
        std::string program;
        std::vector<std::string> arguments;   ///< without the program's name
        std::vector<std::string> environment; ///< NAME=value, all of it
        int listenSocket = -1;                ///< handed over as descriptor 3, with LISTEN_FDS and LISTEN_PID
        std::filesystem::path output;         ///< takes standard output and error
        std::filesystem::path folder;         ///< removed if the owner died; else left to the owner
    };

    /** @throws std::system_error when no process can be made */
    explicit KeptProcess(const Start& start);
    /** Returns when the program has ended. */
    ~KeptProcess();
    KeptProcess(const KeptProcess&) = delete;
    KeptProcess& operator=(const KeptProcess&) = delete;

    [[nodiscard]] bool IsRunning() const;

private:
    FileDescriptor m_Lifeline; ///< the keeper reads its end
    pid_t m_Keeper = -1;
};

} // namespace Simulator
