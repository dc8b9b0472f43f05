#pragma once

#include "common/LogHook.h"
#include "crypto/ByteArray.h"

#include <iosfwd>
#include <string>

/**
 * Log hooks of the PC/SC reader and the enumeration. Silent until a callback is installed, and while switched
 * off.
 */
namespace LibReaderImpl
{

void SetErrorLoggingFunc(Norvik::LogFunction function);
void SetMessageLoggingFunc(Norvik::LogFunction function);

/** The switch is on at load; a blocking wait for slot events turns it off while it polls. */
void EnableLogging();
void DisableLogging();

void LogError(const char* text);
void LogError(const std::string& text);
/** Text, one blank, the number. */
void LogError(const std::string& text, int number);
void LogMessage(const char* text);
void LogMessage(const std::string& text);
/** Text, one blank, the number. */
void LogMessageFormat(const std::string& text, int number);
/** Intended: goes to the message callback in spite of its name. */
void LogErrorSCardError(const std::string& text, long code);
/** The reader's own verdict on a failed PIN operation; nothing for 90 00 or fewer than 2 bytes. */
void LogErrorCardReaderCmd(const std::string& text, const Norvik::ByteArray& response);

/** Appends the symbolic name of a PC/SC result and " (0x<hex>)". */
void SCardErrorToString(std::stringstream& out, long code);

} // namespace LibReaderImpl
