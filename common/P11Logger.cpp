#include "common/P11Logger.h"

#include "common/LibLogging.h"

P11Logger::P11Logger() : m_LoggerId(Norvik::LibLogging::Register()) {}

Norvik::LibLogging* P11Logger::GetHandle()
{
    static const P11Logger logger;
    return Norvik::LibLogging::GetHandle(logger.m_LoggerId);
}
