#pragma once

#include "common/LogHook.h"

#include <string>

/** Log hooks of the file, object and crypto code of a card. Silent until a callback is installed. */
namespace LibCardImpl
{

extern Norvik::LogHook pt2LogError;
extern Norvik::LogHook pt2LogMessage;
extern Norvik::LogHook pt2LogDebug;

void SetErrorLoggingFunc(Norvik::LogFunction function);
void SetMessageLoggingFunc(Norvik::LogFunction function);
/** Not installed by the module. */
void SetDebugLoggingFunc(Norvik::LogFunction function);

void LogError(const char* text);
void LogError(const std::string& text);
/** Text, one blank, the number. */
void LogError(const std::string& text, int number);
/** Text, one blank, the PC/SC code by LoggingHelper::SCardErrorToString, at error level. */
void LogErrorSCardError(const std::string& text, long code);
void LogMessage(const char* text);
void LogMessage(const std::string& text);
void LogDebug(const char* text);
void LogDebug(const std::string& text);

} // namespace LibCardImpl
