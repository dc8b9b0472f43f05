#pragma once

#include <string>

/** Texts that log lines of several layers share. */
class LoggingHelper final
{
public:
    LoggingHelper() = delete;

    /**
     * A PC/SC result as it stands behind a log text: " (0x80100069, 80100069)".
     *
     * Intended: both numbers are the same value in lower-case hexadecimal.
     */
    static std::string SCardErrorToString(long code);
};
