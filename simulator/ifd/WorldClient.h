#pragma once

#include "simulator/ifd/WorldProtocol.h"

#include <cstdint>
#include <mutex>
#include <span>
#include <string>
#include <vector>

namespace Simulator
{

/**
 * The driver's end of the two connections of one reader.
 *
 * A world that is gone, or not there yet, is an empty reader; each operation tries to reach it again. Nothing
 * throws but std::bad_alloc.
 */
class WorldClient final
{
public:
    /** @param deviceName path of the world's socket, a colon, the number of the reader */
    explicit WorldClient(const std::string& deviceName);
    ~WorldClient();
    WorldClient(const WorldClient&) = delete;
    WorldClient& operator=(const WorldClient&) = delete;

    struct Answer
    {
        WorldProtocol::Outcome outcome = WorldProtocol::Outcome::NoCard;
        std::vector<std::uint8_t> content;
    };
    Answer Ask(WorldProtocol::Operation operation, std::span<const std::uint8_t> content = {});

    /** Returns at the next insertion or removal, after the time, or when StopWaiting() is called. */
    void WaitForChange(int timeoutMilliseconds);
    void StopWaiting();

private:
    [[nodiscard]] int Open(WorldProtocol::Operation operation) const;
    bool Exchange(const std::vector<std::uint8_t>& request, Answer& answer);
    void TakeChanges();

    std::string m_Path;
    std::uint32_t m_Reader = 0;
    std::mutex m_CommandMutex;
    int m_Commands = -1; ///< guarded by m_CommandMutex
    int m_Events = -1;   ///< of the thread that waits
    std::uint64_t m_LastChange = 0;
    int m_StopEvent; ///< eventfd, raised for good
};

} // namespace Simulator
