#include "common/LibLogging.h"

#include "common/InstanceSlots.h"

#include <ctime>
#include <memory>
#include <sys/syscall.h>
#include <unistd.h>
#include <utility>

namespace
{

constexpr Norvik::LOG_LEVEL kLevelEverything = 5;
constexpr std::size_t kKindWidth = 13;

} // namespace

namespace Norvik
{

std::vector<LibLogging*>& LoggerVector::vector()
{
    return InstanceSlots<LibLogging>::Vector();
}

LibLogging* LibLogging::GetHandle(unsigned int id)
{
    return InstanceSlots<LibLogging>::Get(id);
}

unsigned int LibLogging::Register()
{
    return InstanceSlots<LibLogging>::Register();
}

void LibLogging::Destroy()
{
    const std::unique_ptr<LibLogging> self = InstanceSlots<LibLogging>::Take(m_Id, this);
    if (self == nullptr)
    {
        return;
    }
    LogDebug("Destroy()");
    Log("close LibLogging", DebugLevelDebug);
    m_File.close();
}

void LibLogging::Init(const std::string& path, unsigned int maxEntries, bool bOpen)
{
    m_MaxEntries = maxEntries;
    SetLoggingLevel(kLevelEverything);
    m_LoggedEntries = 0;
    m_LoggedFileSize = 0;
    m_SplitCount = 0;
    m_bVerbose = true;
    m_bOutputDbgString = true;
    m_bLogThreadId = false;
    m_Filename = AppendLogExtension(path);
    if (bOpen)
    {
        OpenFileAndRotate(m_Filename);
    }
}

void LibLogging::LogRotation(bool bOn, unsigned int maxEntries) noexcept
{
    m_bRotateByEntries = bOn;
    m_MaxEntries = maxEntries;
}

void LibLogging::LogRotationFileSize(bool bOn, unsigned long maxBytes) noexcept
{
    m_bRotateBySize = bOn;
    m_MaxFileSize = maxBytes;
}

bool LibLogging::IsFull() const noexcept
{
    return (m_bRotateByEntries && m_LoggedEntries >= m_MaxEntries) ||
           (m_bRotateBySize && m_LoggedFileSize >= m_MaxFileSize);
}

void LibLogging::Log(const std::string& text, DebugLevel kind)
{
    if (!IsOpen())
    {
        return;
    }
    if (IsFull())
    {
        SplitLog();
    }
    if (m_LogBufferMode != LOG_BUFFER_NONE)
    {
        LogToBuffer(kind, text);
    }
    const std::string line = GetLogEntry(kind, text);
    LogToWinDbgView(line);
    if (m_LogBufferMode == LOG_BUFFER_ONLY)
    {
        return;
    }
    LogToFile(line);
    if (m_bRotateByEntries)
    {
        ++m_LoggedEntries;
    }
    if (m_bRotateBySize)
    {
        m_LoggedFileSize += line.size();
    }
}

void LibLogging::LogFunction(const std::string& name, FunctionInOut inOut)
{
    if (!TracksFunctions())
    {
        return;
    }
    if (inOut == FunctionIn)
    {
        m_FunctionStack.push_back(name);
        Log(name, DebugLevelInFunction);
        return;
    }
    if (!m_FunctionStack.empty())
    {
        m_FunctionStack.pop_back();
    }
    Log(name, DebugLevelOutFunction);
}

void LibLogging::LogFunction(const char* name, FunctionInOut inOut)
{
    if (TracksFunctions())
    {
        LogFunction(std::string(name), inOut);
    }
}

void LibLogging::LogStackTrace()
{
    if (!Passes(DebugLevelStackTrace))
    {
        return;
    }
    while (!m_FunctionStack.empty())
    {
        Log(m_FunctionStack.back(), DebugLevelStackTrace);
        m_FunctionStack.pop_back();
    }
}

void LibLogging::LogToBuffer(LOG_BUFFER_MODE mode, int maxEntries) noexcept
{
    m_LogBufferMode = mode;
    m_LogBufferMax = maxEntries;
}

void LibLogging::LogToBuffer(DebugLevel kind, const std::string& text)
{
    const bool bFull = std::cmp_greater_equal(m_LogBuffer.size(), m_LogBufferMax);
    if (bFull && !m_LogBuffer.empty())
    {
        m_LogBuffer.pop_back();
    }
    m_LogBuffer.push_front({std::time(nullptr), kind, text});
}

void LibLogging::LogBufferToFile()
{
    // A copy: what is logged here may go to the buffer again.
    for (const LogBufferEntry& entry : GetLogBuffer())
    {
        Log(entry.text, entry.kind);
    }
}

void LibLogging::LogToFile(const std::string& line)
{
    m_File << line << std::flush;
}

void LibLogging::LogToWinDbgView(const std::string&) {}

std::string LibLogging::LogTypeToString(DebugLevel kind)
{
    switch (kind)
    {
    case DebugLevelError:
        return "ERROR";
    case DebugLevelDebug:
        return "DEBUG";
    case DebugLevelInFunction:
        return "IN FUNCTION";
    case DebugLevelOutFunction:
        return "OUT FUNCTION";
    case DebugLevelStackTrace:
        return "STACKTRACE";
    case DebugLevelWarning:
        return "WARNING";
    case DebugLevelMessage:
    case DebugLevelRaw:
        break;
    }
    return "MESSAGE";
}

std::string LibLogging::GetTimeString(long time)
{
    const std::time_t seconds = time;
    std::tm local = {};
    if (localtime_r(&seconds, &local) == nullptr)
    {
        return {};
    }
    char text[64] = {};
    std::strftime(text, sizeof(text), "%Y-%m-%d %H:%M:%S", &local);
    return text;
}

std::string LibLogging::GetEntryTime()
{
    return GetTimeString(std::time(nullptr));
}

long LibLogging::GetThreadId()
{
    return syscall(SYS_gettid);
}

std::string LibLogging::GetLogEntry(DebugLevel kind, const std::string& text) const
{
    std::string line;
    if (kind != DebugLevelRaw)
    {
        const std::string kindText = LogTypeToString(kind);
        line = GetEntryTime();
        line.append(kKindWidth - kindText.size(), ' ');
        line += kindText;
        if (m_bLogThreadId)
        {
            line += " (" + std::to_string(GetThreadId()) + ")";
        }
    }
    line += ' ';
    line += text;
    line += '\n';
    return line;
}

} // namespace Norvik
