#include "cryptoki/KMarkP11Logging.h"

#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "cryptoki/ReturnCodeNames.h"

namespace KMarkP11
{

void LogFunctionEntry(std::string name)
{
    P11Logger::GetHandle()->LogFunction(name, Norvik::FunctionIn);
}

void LogReturnCode(std::string name, unsigned long rv)
{
    P11Logger::GetHandle()->LogFunction(name + " returns " + ReturnCodeToName(rv), Norvik::FunctionOut);
}

void LogError(std::string text, long value)
{
    P11Logger::GetHandle()->LogError(text + " " + std::to_string(value));
}

void LogErrorCB(const char* text)
{
    P11Logger::GetHandle()->LogError(text);
}

void LogMessageCB(const char* text)
{
    P11Logger::GetHandle()->LogMessage(text);
}

void TraceFunctionEntryIfTracked(const char* name)
{
    if (P11Logger::GetHandle()->TracksFunctions())
    {
        LogFunctionEntry(name);
    }
}

void TraceReturnCodeIfTracked(const char* name, unsigned long rv)
{
    if (P11Logger::GetHandle()->TracksFunctions())
    {
        LogReturnCode(name, rv);
    }
}

bool TakesLines()
{
    return P11Logger::GetHandle()->Writes(Norvik::DebugLevelError);
}

unsigned long Refuse(const char* text, unsigned long rv)
{
    P11Logger::GetHandle()->LogError(text);
    return rv;
}

} // namespace KMarkP11
