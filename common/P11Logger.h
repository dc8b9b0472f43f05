#pragma once

namespace Norvik
{
class LibLogging;
}

/** The module's one log. Lower layers don't know it: they log through their hooks. */
class P11Logger final
{
public:
    /** Never null; borrowed until its Destroy(), after which the next call gives a fresh log of the same
     * number. */
    static Norvik::LibLogging* GetHandle();

    P11Logger(const P11Logger&) = delete;
    P11Logger& operator=(const P11Logger&) = delete;

private:
    P11Logger();

    unsigned int m_LoggerId;
};
