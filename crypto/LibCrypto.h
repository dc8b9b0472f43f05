#pragma once

#include <string>

/** Log hooks of the digest routines. The module installs none of them; an embedding program may. */
namespace LibCrypto
{

using LogFunction = void (*)(std::string);

extern LogFunction pt2LogError_acp11;
extern LogFunction pt2LogMessage_acp11;

void acPKCS11_SetErrorLoggingFunc(LogFunction function);
void acPKCS11_SetMessageLoggingFunc(LogFunction function);

void LogError(const std::string& text);
/** Text, a comma, one blank, the number as a signed one of 32 bits. */
void LogError(const std::string& text, unsigned long number);
/** The two texts, with nothing between them. */
void LogError(const std::string& text, const std::string& detail);
void LogMessage(const std::string& text);
void LogMessage(const std::string& text, unsigned long number);
void LogMessage(const std::string& text, const std::string& detail);

} // namespace LibCrypto
