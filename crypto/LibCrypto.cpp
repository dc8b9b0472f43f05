#include "crypto/LibCrypto.h"

#include <cstdint>

namespace LibCrypto
{

namespace
{

void Log(LogFunction function, const std::string& text)
{
    if (function != nullptr)
    {
        function(text);
    }
}

/** Intended: the line shows the low half, signed. */
std::string WithNumber(const std::string& text, unsigned long number)
{
    return text + ", " + std::to_string(static_cast<std::int32_t>(number));
}

} // namespace

LogFunction pt2LogError_acp11 = nullptr;
LogFunction pt2LogMessage_acp11 = nullptr;

void acPKCS11_SetErrorLoggingFunc(LogFunction function)
{
    pt2LogError_acp11 = function;
}
void acPKCS11_SetMessageLoggingFunc(LogFunction function)
{
    pt2LogMessage_acp11 = function;
}

void LogError(const std::string& text)
{
    Log(pt2LogError_acp11, text);
}
void LogError(const std::string& text, unsigned long number)
{
    Log(pt2LogError_acp11, WithNumber(text, number));
}
void LogError(const std::string& text, const std::string& detail)
{
    Log(pt2LogError_acp11, text + detail);
}
void LogMessage(const std::string& text)
{
    Log(pt2LogMessage_acp11, text);
}
void LogMessage(const std::string& text, unsigned long number)
{
    Log(pt2LogMessage_acp11, WithNumber(text, number));
}
void LogMessage(const std::string& text, const std::string& detail)
{
    Log(pt2LogMessage_acp11, text + detail);
}

} // namespace LibCrypto
