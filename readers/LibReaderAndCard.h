#pragma once

#include "common/LogHook.h"

#include <string>

/** Log hooks of the reader interface and the token code. Silent until a callback is installed. */
namespace LibReaderAndCard
{

void SetErrorLoggingFunc(Norvik::LogFunction function);
void SetMessageLoggingFunc(Norvik::LogFunction function);

void LogError(const char* text);
void LogError(const std::string& text);
/** Text, one blank, the number. */
void LogError(const std::string& text, int number);
/** Text, one blank, the PC/SC code by LoggingHelper::SCardErrorToString, at error level. */
void LogErrorSCardError(const std::string& text, long code);
void LogMessage(const char* text);
void LogMessage(const std::string& text);

} // namespace LibReaderAndCard
