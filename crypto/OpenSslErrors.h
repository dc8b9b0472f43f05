#pragma once

#include <climits>
#include <cstddef>
#include <string>

namespace Norvik
{

/** Leaves OpenSSL's error queue of this thread as it was: it belongs to the host process. */
class ErrorQueueGuard final
{
public:
    ErrorQueueGuard() noexcept;
    ~ErrorQueueGuard();
    ErrorQueueGuard(const ErrorQueueGuard&) = delete;
    ErrorQueueGuard& operator=(const ErrorQueueGuard&) = delete;
};

/** OpenSSL's text for the error that was raised last on this thread; it stays in the queue. */
std::string OpenSslErrorText();

/** OpenSSL takes lengths as int; what doesn't fit is refused like any other wrong length. */
constexpr bool FitsInt(std::size_t length)
{
    return length <= INT_MAX;
}

} // namespace Norvik
