#pragma once

#include <atomic>

namespace Norvik
{

/**
 * Whether any log of this process was ever given a level.
 *
 * While none was, nothing that is logged has an effect. The frame around every exported function asks this first,
 * which is a load and a comparison, and then knows that there is nothing else to ask.
 */
class LogActivity final
{
public:
    LogActivity() = delete;

    [[nodiscard]] static bool Any() noexcept { return sAny.load(std::memory_order_relaxed); }
    /** Called by a log that is given a level. There is no way back: what follows just asks the log itself. */
    static void Note() noexcept { sAny.store(true, std::memory_order_relaxed); }

private:
    static inline std::atomic<bool> sAny{false};
};

} // namespace Norvik
