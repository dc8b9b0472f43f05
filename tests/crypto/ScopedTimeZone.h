#pragma once

#include "tests/support/ScopedEnvironment.h"

#include <ctime>

/** Runs with a time zone in POSIX form ("UTC0", "XXX-5"), which needs no zone files, until the object goes. */
class ScopedTimeZone final
{
public:
    explicit ScopedTimeZone(const char* zone) : m_Variable("TZ", zone) { tzset(); }

private:
    struct ZoneReader
    {
        ZoneReader() = default;
        ~ZoneReader() { tzset(); }
        ZoneReader(const ZoneReader&) = delete;
        ZoneReader& operator=(const ZoneReader&) = delete;
    };

    // Goes last, when the variable is back.
    ZoneReader m_Reader;
    ScopedEnvironment m_Variable;
};
