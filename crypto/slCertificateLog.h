#pragma once

#include <string>

/* Log hooks of the certificate wrapper. The module installs none of them; an embedding program may. */
namespace Norvik
{

using SlcertLogFunction = void (*)(std::string);

extern SlcertLogFunction pt2LogError_SLCERT;
extern SlcertLogFunction pt2LogMessage_SLCERT;
extern SlcertLogFunction pt2LogDebug_SLCERT;

void SLCERT_SetErrorLoggingFunc(SlcertLogFunction function);
void SLCERT_SetMessageLoggingFunc(SlcertLogFunction function);
void SLCERT_SetDebugLoggingFunc(SlcertLogFunction function);

void SLCERT_LogError(const std::string& text);
void SLCERT_LogMessage(const std::string& text);
void SLCERT_LogDebug(const std::string& text);

} // namespace Norvik
