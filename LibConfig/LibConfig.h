#pragma once

#include "common/LogHook.h"

/** Log hook of the configuration store. Silent until a callback is installed, which the module doesn't do. */
namespace Norvik::LibConfig
{

void SetErrorLoggingFunc(LogFunction function);
void LogError(const char* text);
/** Text, one blank, the number. */
void LogError(const char* text, unsigned long number);

} // namespace Norvik::LibConfig
