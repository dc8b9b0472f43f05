#pragma once

#include "common/LogActivity.h"

#include <string>

namespace KMarkP11
{

/** Logs the entry of the exported function @p name. */
void LogFunctionEntry(std::string name);
/** Logs the exit of the exported function @p name: "C_Login returns CKR_OK". */
void LogReturnCode(std::string name, unsigned long rv);
/** Text, one blank, the number, at error level. */
void LogError(std::string text, long value);

/** What the reader, card and input layers log through. */
void LogErrorCB(const char* text);
void LogMessageCB(const char* text);

// The same for the frame around every call: nothing is composed unless somebody keeps it.
void TraceFunctionEntryIfTracked(const char* name);
void TraceReturnCodeIfTracked(const char* name, unsigned long rv);

inline void TraceFunctionEntry(const char* name)
{
    if (Norvik::LogActivity::Any())
    {
        TraceFunctionEntryIfTracked(name);
    }
}

inline void TraceReturnCode(const char* name, unsigned long rv)
{
    if (Norvik::LogActivity::Any())
    {
        TraceReturnCodeIfTracked(name, rv);
    }
}

/** Whether the module's log takes lines now. */
[[nodiscard]] bool TakesLines();
/** The same, asked before a line is composed where calls are frequent. */
[[nodiscard]] inline bool IsLogOpen()
{
    return Norvik::LogActivity::Any() && TakesLines();
}
/** Logs the error and gives @p rv, for the return statement of a refusal. */
[[nodiscard]] unsigned long Refuse(const char* text, unsigned long rv);

} // namespace KMarkP11
