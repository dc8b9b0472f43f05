#include "LibConfig/LibConfig.h"

#include <string>

namespace
{

Norvik::LogHook pt2LogError;

} // namespace

namespace Norvik::LibConfig
{

void SetErrorLoggingFunc(LogFunction function)
{
    pt2LogError.Set(function);
}

void LogError(const char* text)
{
    pt2LogError(text);
}

void LogError(const char* text, unsigned long number)
{
    if (pt2LogError.IsSet())
    {
        pt2LogError(std::string(text) + " " + std::to_string(number));
    }
}

} // namespace Norvik::LibConfig
