#include "crypto/slCertificateLog.h"

namespace Norvik
{

namespace
{

void Log(SlcertLogFunction function, const std::string& text)
{
    if (function != nullptr)
    {
        function(text);
    }
}

} // namespace

SlcertLogFunction pt2LogError_SLCERT = nullptr;
SlcertLogFunction pt2LogMessage_SLCERT = nullptr;
SlcertLogFunction pt2LogDebug_SLCERT = nullptr;

void SLCERT_SetErrorLoggingFunc(SlcertLogFunction function)
{
    pt2LogError_SLCERT = function;
}
void SLCERT_SetMessageLoggingFunc(SlcertLogFunction function)
{
    pt2LogMessage_SLCERT = function;
}
void SLCERT_SetDebugLoggingFunc(SlcertLogFunction function)
{
    pt2LogDebug_SLCERT = function;
}

void SLCERT_LogError(const std::string& text)
{
    Log(pt2LogError_SLCERT, text);
}
void SLCERT_LogMessage(const std::string& text)
{
    Log(pt2LogMessage_SLCERT, text);
}
void SLCERT_LogDebug(const std::string& text)
{
    Log(pt2LogDebug_SLCERT, text);
}

} // namespace Norvik
