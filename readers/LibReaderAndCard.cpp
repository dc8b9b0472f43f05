#include "readers/LibReaderAndCard.h"

#include "common/LoggingHelper.h"

namespace LibReaderAndCard
{
namespace
{
Norvik::LogHook pt2LogError;
Norvik::LogHook pt2LogMessage;
} // namespace

void SetErrorLoggingFunc(Norvik::LogFunction function)
{
    pt2LogError.Set(function);
}

void SetMessageLoggingFunc(Norvik::LogFunction function)
{
    pt2LogMessage.Set(function);
}

void LogError(const char* text)
{
    pt2LogError(text);
}

void LogError(const std::string& text)
{
    pt2LogError(text);
}

void LogError(const std::string& text, int number)
{
    if (pt2LogError.IsSet())
    {
        pt2LogError(text + ' ' + std::to_string(number));
    }
}

void LogErrorSCardError(const std::string& text, long code)
{
    if (pt2LogError.IsSet())
    {
        pt2LogError(text + ' ' + LoggingHelper::SCardErrorToString(code));
    }
}

void LogMessage(const char* text)
{
    pt2LogMessage(text);
}

void LogMessage(const std::string& text)
{
    pt2LogMessage(text);
}

} // namespace LibReaderAndCard
