#pragma once

#include "common/LogActivity.h"
#include "common/Uncopyable.h"

#include <cstddef>
#include <deque>
#include <fstream>
#include <list>
#include <string>
#include <vector>

namespace Norvik
{

/** The kind of an entry. */
enum DebugLevel : unsigned int
{
    DebugLevelError = 0,
    DebugLevelMessage = 1,
    DebugLevelDebug = 2,
    DebugLevelInFunction = 3,
    DebugLevelOutFunction = 4,
    DebugLevelStackTrace = 5,
    DebugLevelWarning = 6,
    DebugLevelRaw = 7, ///< without time, kind and thread
};

/** How much is logged: 1 errors, 2 warnings too, 3 messages too, 4 everything; 0 nothing. */
using LOG_LEVEL = int;

/** Where entries go; any other value means to buffer and file. */
enum LOG_BUFFER_MODE : unsigned int
{
    LOG_BUFFER_NONE = 0,
    LOG_BUFFER_ONLY = 1,
    LOG_BUFFER_AND_FILE = 2,
};

enum FunctionInOut : unsigned int
{
    FunctionIn = 0,
    FunctionOut = 1,
};

/** One entry kept in memory. */
struct LogBufferEntry
{
    long time = 0; ///< seconds since the epoch
    DebugLevel kind = DebugLevelError;
    std::string text;
};

/**
 * A text log, one line an entry, flushed at once, with rotation, an optional buffer and a stack of function
 * names.
 *
 * Silent until Init() has opened a file and Enabled(true) was called. A file that can't be opened or written
 * is not reported. Holds no lock: lines of several threads are told apart by the thread id.
 *
 * The level is 0 until Init(). Whoever composes lines asks Writes() or TracksFunctions() first.
 */
class LibLogging final : public Uncopyable
{
public:
    /** For the table of instances; users call GetHandle() or Register(). */
    explicit LibLogging(unsigned int id) : m_Id(id) {}

    /** The instance in slot @p id, made if the slot is empty; null if @p id is above the number of slots. */
    static LibLogging* GetHandle(unsigned int id);
    /** Adds an instance behind the others, 1 being the first number. @return its number */
    static unsigned int Register();
    /** Logs its end, closes the file and ends the life of this instance; GetHandle() makes a new one. */
    void Destroy();

    /**
     * Sets level 5 and resets counters and switches.
     *
     * @param path       name of the file; ".log" is added unless it has it
     * @param maxEntries entries per file while rotation by entries is on, as it is from the start
     * @param bOpen      also opens the file, moving older ones out of the way
     */
    void Init(const std::string& path, unsigned int maxEntries, bool bOpen);

    void SetLoggingLevel(LOG_LEVEL level) noexcept
    {
        LogActivity::Note();
        m_LoggingLevel = level;
    }
    void Enabled(bool bEnabled) noexcept { m_bEnabled = bEnabled; }
    [[nodiscard]] bool IsEnabled() const noexcept { return m_bEnabled; }
    void Verbose(bool bVerbose) noexcept { m_bVerbose = bVerbose; }
    [[nodiscard]] bool IsVerbose() const noexcept { return m_bVerbose; }
    void OutputDbgString(bool bOutput) noexcept { m_bOutputDbgString = bOutput; }
    [[nodiscard]] bool IsOutputDbgString() const noexcept { return m_bOutputDbgString; }
    void LogThreadId(bool bLog) noexcept { m_bLogThreadId = bLog; }
    [[nodiscard]] bool IsLogThreadId() const noexcept { return m_bLogThreadId; }

    void LogRotation(bool bOn, unsigned int maxEntries) noexcept;
    void LogRotationFileSize(bool bOn, unsigned long maxBytes) noexcept;
    [[nodiscard]] bool IsLogRotationEnabled() const noexcept { return m_bRotateByEntries || m_bRotateBySize; }

    /** Whether an entry of this kind could have an effect now; if not, its text need not be composed. */
    [[nodiscard]] bool Writes(DebugLevel kind) const noexcept { return Passes(kind) && IsOpen(); }
    /** Whether LogFunction() could have an effect: the stack of names is kept also while no file is open. */
    [[nodiscard]] bool TracksFunctions() const noexcept { return Passes(DebugLevelInFunction); }

    void LogError(const std::string& text) { LogFiltered(text, DebugLevelError); }
    void LogError(const char* text) { LogFiltered(text, DebugLevelError); }
    void LogWarning(const std::string& text) { LogFiltered(text, DebugLevelWarning); }
    void LogWarning(const char* text) { LogFiltered(text, DebugLevelWarning); }
    void LogMessage(const std::string& text) { LogFiltered(text, DebugLevelMessage); }
    void LogMessage(const char* text) { LogFiltered(text, DebugLevelMessage); }
    void LogDebug(const std::string& text) { LogFiltered(text, DebugLevelDebug); }
    void LogDebug(const char* text) { LogFiltered(text, DebugLevelDebug); }
    void LogRaw(const std::string& text) { LogFiltered(text, DebugLevelRaw); }
    void LogRaw(const char* text) { LogFiltered(text, DebugLevelRaw); }

    /** Writes an entry whatever the level is. */
    void Log(const std::string& text, DebugLevel kind);

    /** Pushes @p name on the stack of functions, or pops what is on top of it, and logs @p name. */
    void LogFunction(const std::string& name, FunctionInOut inOut);
    void LogFunction(const char* name, FunctionInOut inOut);
    /** Logs the stack of functions from the top, and empties it. */
    void LogStackTrace();

    /** @param maxEntries entries kept; the newest is always kept */
    void LogToBuffer(LOG_BUFFER_MODE mode, int maxEntries) noexcept;
    [[nodiscard]] bool IsLogToBuffer() const noexcept { return m_LogBufferMode != LOG_BUFFER_NONE; }
    /** A copy, the newest entry first. */
    [[nodiscard]] std::list<LogBufferEntry> GetLogBuffer() const { return m_LogBuffer; }
    [[nodiscard]] std::size_t GetLogBufferSize() const noexcept { return m_LogBuffer.size(); }
    void ClearLogBuffer() noexcept { m_LogBuffer.clear(); }
    /** Logs what the buffer held at the time of the call, from the newest to the oldest. */
    void LogBufferToFile();

    /** Keeps the lines so far under the next numbered name, and goes on with an empty file. */
    void SplitLog();

    /** Keeps an entry in the buffer, in place of the oldest one if it is full. */
    void LogToBuffer(DebugLevel kind, const std::string& text);
    /** Writes @p line as it is and flushes. */
    void LogToFile(const std::string& line);
    /** Does nothing on this platform. */
    void LogToWinDbgView(const std::string& line);
    /** The whole line, with its line feed. */
    [[nodiscard]] std::string GetLogEntry(DebugLevel kind, const std::string& text) const;

    static std::string LogTypeToString(DebugLevel kind);
    /** "YYYY-mm-dd HH:MM:SS" in local time. @param time seconds since the epoch */
    static std::string GetTimeString(long time);
    /** Now, as GetTimeString() gives it. */
    static std::string GetEntryTime();
    /** The kernel's number of the calling thread. */
    static long GetThreadId();

    /**
     * Copies a file over another, and removes it then if @p bRemoveSource says so.
     *
     * @return false, with @p source kept, when it could not be copied
     */
    static bool BackupFile(const std::string& source, const std::string& target, bool bRemoveSource);
    /** Splits @p name at its last ".log"; without one, all of it is the base. */
    static void GetExtension(const std::string& name, std::string& base, std::string& extension);
    static std::string AppendLogExtension(const std::string& name);
    /** base_seconds.extension, with the time since the epoch. */
    static std::string NameWithTimeStamp(const std::string& name);
    /** @p name if no such file exists, otherwise the first free one of base_0.extension, base_1.extension ...
     */
    static std::string NumberedName(const std::string& name);
    /** Moves what is there under @p name and its numbered names out of the way, and opens an empty file. */
    void OpenFileAndRotate(const std::string& name);

private:
    /** What the logging level must at least be for an entry of this kind. */
    static constexpr LOG_LEVEL RequiredLevel(DebugLevel kind) noexcept
    {
        switch (kind)
        {
        case DebugLevelError:
            return 1;
        case DebugLevelWarning:
            return 2;
        case DebugLevelMessage:
        case DebugLevelRaw:
            return 3;
        case DebugLevelDebug:
        case DebugLevelInFunction:
        case DebugLevelOutFunction:
        case DebugLevelStackTrace:
            break;
        }
        return 4;
    }

    [[nodiscard]] bool Passes(DebugLevel kind) const noexcept
    {
        return m_LoggingLevel >= RequiredLevel(kind);
    }
    [[nodiscard]] bool IsOpen() const noexcept { return m_bEnabled && m_File.is_open(); }

    void LogFiltered(const std::string& text, DebugLevel kind)
    {
        if (Writes(kind))
        {
            Log(text, kind);
        }
    }
    void LogFiltered(const char* text, DebugLevel kind)
    {
        if (Writes(kind))
        {
            Log(text, kind);
        }
    }
    [[nodiscard]] bool IsFull() const noexcept;
    void OpenEmptyFile(const std::string& name);

    // The level stands first: with the log off it is all that a call looks at.
    LOG_LEVEL m_LoggingLevel = 0;
    unsigned int m_Id = 0;
    bool m_bEnabled = false;
    bool m_bVerbose = false;
    bool m_bRotateByEntries = true;
    bool m_bRotateBySize = false;
    bool m_bOutputDbgString = false;
    bool m_bLogThreadId = false;
    unsigned int m_MaxEntries = 0;
    unsigned int m_LoggedEntries = 0;
    unsigned long m_MaxFileSize = 0;
    unsigned long m_LoggedFileSize = 0;
    std::ofstream m_File;
    std::string m_Filename;
    unsigned long m_SplitCount = 0;
    std::deque<std::string> m_FunctionStack;
    std::list<LogBufferEntry> m_LogBuffer;
    int m_LogBufferMax = 0;
    LOG_BUFFER_MODE m_LogBufferMode = LOG_BUFFER_NONE;
};

/** The instances, by slot number. An empty slot holds null. */
class LoggerVector final
{
public:
    LoggerVector() = delete;
    static std::vector<LibLogging*>& vector();
};

} // namespace Norvik
