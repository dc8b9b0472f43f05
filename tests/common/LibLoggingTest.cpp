#include "common/LibLogging.h"

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TextFile.h"

#include <ctime>
#include <filesystem>
#include <string>
#include <unistd.h>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using namespace Norvik;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::MatchesRegex;

constexpr unsigned int kMany = 10000;
constexpr const char* kTime = "20[0-9][0-9]-[01][0-9]-[0-3][0-9] [0-2][0-9]:[0-5][0-9]:[0-6][0-9]";

/** What stands behind the time stamp. */
std::vector<std::string> WithoutTimes(const std::vector<std::string>& lines)
{
    std::vector<std::string> rest;
    rest.reserve(lines.size());
    for (const std::string& line : lines)
    {
        rest.push_back(line.size() > 19 ? line.substr(19) : line);
    }
    return rest;
}

std::vector<std::string> Texts(const std::list<LogBufferEntry>& entries)
{
    std::vector<std::string> texts;
    texts.reserve(entries.size());
    for (const LogBufferEntry& entry : entries)
    {
        texts.push_back(entry.text);
    }
    return texts;
}

class LibLoggingTest : public testing::Test
{
protected:
    LibLoggingTest() : m_Log(*LibLogging::GetHandle(0)) {}
    void TearDown() override { LibLogging::GetHandle(0)->Destroy(); }

    void Start()
    {
        m_Log.Init(m_File, kMany, true);
        m_Log.Enabled(true);
    }
    [[nodiscard]] std::vector<std::string> Lines() const { return WithoutTimes(ReadLines(m_File)); }

    TemporaryDirectory m_Directory;
    const std::string m_File = m_Directory.File("x.log");
    LibLogging& m_Log;
};

TEST_F(LibLoggingTest, EveryFieldHasAValueFromConstruction)
{
    EXPECT_FALSE(m_Log.IsEnabled());
    EXPECT_FALSE(m_Log.IsVerbose());
    EXPECT_FALSE(m_Log.IsOutputDbgString());
    EXPECT_FALSE(m_Log.IsLogThreadId());
    EXPECT_TRUE(m_Log.IsLogRotationEnabled());
    EXPECT_FALSE(m_Log.IsLogToBuffer());
    EXPECT_EQ(m_Log.GetLogBufferSize(), 0U);
    EXPECT_FALSE(m_Log.TracksFunctions());
}

TEST_F(LibLoggingTest, InitSetsTheSwitches)
{
    m_Log.LogThreadId(true);
    m_Log.Init(m_File, kMany, false);
    EXPECT_TRUE(m_Log.IsVerbose());
    EXPECT_TRUE(m_Log.IsOutputDbgString());
    EXPECT_FALSE(m_Log.IsLogThreadId());
    EXPECT_FALSE(m_Log.IsEnabled());
}

TEST_F(LibLoggingTest, SwitchesAreKept)
{
    m_Log.Verbose(true);
    m_Log.OutputDbgString(true);
    m_Log.LogThreadId(true);
    m_Log.Enabled(true);
    EXPECT_TRUE(m_Log.IsVerbose() && m_Log.IsOutputDbgString() && m_Log.IsLogThreadId() && m_Log.IsEnabled());
    m_Log.LogRotation(false, 1);
    EXPECT_FALSE(m_Log.IsLogRotationEnabled());
    m_Log.LogRotationFileSize(true, 1);
    EXPECT_TRUE(m_Log.IsLogRotationEnabled());
}

TEST_F(LibLoggingTest, NothingIsWrittenBeforeInit)
{
    m_Log.Enabled(true);
    m_Log.LogError("error");
    m_Log.Log("entry", DebugLevelError);
    m_Log.LogFunction("C_GetInfo", FunctionIn);
    EXPECT_FALSE(m_Log.Writes(DebugLevelError));
    EXPECT_TRUE(std::filesystem::is_empty(m_Directory.Path()));
}

TEST_F(LibLoggingTest, NothingIsWrittenWhileDisabled)
{
    m_Log.Init(m_File, kMany, true);
    m_Log.LogError("error");
    EXPECT_FALSE(m_Log.Writes(DebugLevelError));
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LibLoggingTest, NothingIsWrittenOrBufferedWithoutAnOpenFile)
{
    m_Log.Init(m_File, kMany, false);
    m_Log.Enabled(true);
    m_Log.LogToBuffer(LOG_BUFFER_AND_FILE, 10);
    m_Log.LogError("error");
    EXPECT_FALSE(m_Log.Writes(DebugLevelError));
    EXPECT_EQ(m_Log.GetLogBufferSize(), 0U);
    EXPECT_TRUE(std::filesystem::is_empty(m_Directory.Path()));
}

TEST_F(LibLoggingTest, FileThatCannotBeOpenedIsNotReported)
{
    m_Log.Init(m_Directory.File("missing/x.log"), kMany, true);
    m_Log.Enabled(true);
    m_Log.LogError("error");
    EXPECT_FALSE(m_Log.Writes(DebugLevelError));
    EXPECT_TRUE(std::filesystem::is_empty(m_Directory.Path()));
}

TEST_F(LibLoggingTest, LineHasTimeKindThreadAndText)
{
    Start();
    m_Log.LogThreadId(true);
    m_Log.LogError("cannot connect to reader");
    EXPECT_THAT(ReadText(m_File), MatchesRegex(std::string(kTime) + "        ERROR \\(" +
                                               std::to_string(gettid()) + "\\) cannot connect to reader\n"));
}

TEST_F(LibLoggingTest, OneBlankStandsBeforeTheTextWithoutTheThread)
{
    Start();
    m_Log.LogMessage("text");
    EXPECT_THAT(Lines(), ElementsAre("      MESSAGE text"));
}

TEST_F(LibLoggingTest, KindIsRightAlignedInThirteenCharacters)
{
    Start();
    for (unsigned int kind = 0; kind <= DebugLevelWarning; ++kind)
    {
        m_Log.Log("x", static_cast<DebugLevel>(kind));
    }
    m_Log.Log("x", static_cast<DebugLevel>(99));
    EXPECT_THAT(Lines(),
                ElementsAre("        ERROR x", "      MESSAGE x", "        DEBUG x", "  IN FUNCTION x",
                            " OUT FUNCTION x", "   STACKTRACE x", "      WARNING x", "      MESSAGE x"));
}

TEST_F(LibLoggingTest, RawEntryBeginsWithABlank)
{
    Start();
    m_Log.LogThreadId(true);
    m_Log.LogRaw("raw");
    EXPECT_EQ(ReadText(m_File), " raw\n");
}

TEST_F(LibLoggingTest, TimeIsLocal)
{
    {
        const ScopedEnvironment zone("TZ", "CET-1");
        tzset();
        EXPECT_EQ(LibLogging::GetTimeString(0), "1970-01-01 01:00:00");
        EXPECT_EQ(LibLogging::GetTimeString(1794693429), "2026-11-14 22:57:09");
    }
    tzset();
}

struct LevelCase
{
    LOG_LEVEL level;
    std::vector<std::string> lines;
};

TEST_F(LibLoggingTest, LevelDecidesWhichKindsAreWritten)
{
    const LevelCase cases[] = {
        {0, {}},
        {1, {"e"}},
        {2, {"e", "w"}},
        {3, {"e", "w", "m", "r"}},
        {4, {"e", "w", "m", "r", "d", "f", "f", "s"}},
        {5, {"e", "w", "m", "r", "d", "f", "f", "s"}},
    };
    for (const LevelCase& row : cases)
    {
        Start();
        m_Log.LogToBuffer(LOG_BUFFER_ONLY, 100);
        m_Log.ClearLogBuffer();
        m_Log.SetLoggingLevel(row.level);
        m_Log.LogError("e");
        m_Log.LogWarning(std::string("w"));
        m_Log.LogMessage("m");
        m_Log.LogRaw("r");
        m_Log.LogDebug("d");
        m_Log.LogFunction("f", FunctionIn);
        m_Log.LogFunction("f", FunctionOut);
        m_Log.LogFunction("s", FunctionIn);
        m_Log.LogStackTrace();
        std::vector<std::string> newestFirst = Texts(m_Log.GetLogBuffer());
        std::vector<std::string> expected(row.lines.rbegin(), row.lines.rend());
        if (row.level >= 4)
        {
            expected.insert(expected.begin(), "s"); // in, and again in the trace
        }
        EXPECT_EQ(newestFirst, expected) << row.level;
        EXPECT_EQ(m_Log.Writes(DebugLevelError), row.level >= 1);
        EXPECT_EQ(m_Log.Writes(DebugLevelWarning), row.level >= 2);
        EXPECT_EQ(m_Log.Writes(DebugLevelMessage), row.level >= 3);
        EXPECT_EQ(m_Log.Writes(DebugLevelRaw), row.level >= 3);
        EXPECT_EQ(m_Log.Writes(DebugLevelDebug), row.level >= 4);
        EXPECT_EQ(m_Log.TracksFunctions(), row.level >= 4);
    }
}

TEST_F(LibLoggingTest, EachCallTakesATextOfEitherKind)
{
    Start();
    m_Log.LogError(std::string("1"));
    m_Log.LogWarning("2");
    m_Log.LogMessage(std::string("3"));
    m_Log.LogDebug(std::string("4"));
    m_Log.LogRaw(std::string("5"));
    m_Log.LogFunction(std::string("6"), FunctionIn);
    EXPECT_THAT(Lines(), ElementsAre("        ERROR 1", "      WARNING 2", "      MESSAGE 3",
                                     "        DEBUG 4", " 5", "  IN FUNCTION 6"));
}

TEST_F(LibLoggingTest, EntryIsInTheFileAtOnce)
{
    Start();
    m_Log.LogMessage("first");
    EXPECT_EQ(Lines().size(), 1U);
    m_Log.LogMessage("second");
    EXPECT_EQ(Lines().size(), 2U);
}

TEST_F(LibLoggingTest, StackTraceNamesTheOpenFunctionsFromTheTop)
{
    Start();
    m_Log.LogFunction("outer", FunctionIn);
    m_Log.LogFunction("inner", FunctionIn);
    m_Log.LogFunction("closed", FunctionIn);
    m_Log.LogFunction("closed returns", FunctionOut);
    m_Log.LogStackTrace();
    m_Log.LogStackTrace();
    EXPECT_THAT(Lines(),
                ElementsAre("  IN FUNCTION outer", "  IN FUNCTION inner", "  IN FUNCTION closed",
                            " OUT FUNCTION closed returns", "   STACKTRACE inner", "   STACKTRACE outer"));
}

TEST_F(LibLoggingTest, LeavingWithAnEmptyStackIsLogged)
{
    Start();
    m_Log.LogFunction("C_Login returns CKR_OK", FunctionOut);
    EXPECT_THAT(Lines(), ElementsAre(" OUT FUNCTION C_Login returns CKR_OK"));
}

/** The stack of functions follows the level and not the switch. */
TEST_F(LibLoggingTest, StackIsKeptWhileDisabled)
{
    m_Log.Init(m_File, kMany, true);
    EXPECT_TRUE(m_Log.TracksFunctions());
    m_Log.LogFunction("silent", FunctionIn);
    m_Log.Enabled(true);
    m_Log.LogStackTrace();
    EXPECT_THAT(Lines(), ElementsAre("   STACKTRACE silent"));
}

TEST_F(LibLoggingTest, BufferOfTwoHoldsTheLastTwoNewestFirst)
{
    Start();
    m_Log.LogToBuffer(LOG_BUFFER_ONLY, 2);
    m_Log.LogError("one");
    m_Log.LogMessage("two");
    const std::time_t before = std::time(nullptr);
    m_Log.LogDebug("three");
    EXPECT_THAT(Texts(m_Log.GetLogBuffer()), ElementsAre("three", "two"));
    EXPECT_EQ(m_Log.GetLogBuffer().front().kind, DebugLevelDebug);
    EXPECT_GE(m_Log.GetLogBuffer().front().time, before);
    EXPECT_EQ(m_Log.GetLogBufferSize(), 2U);
    EXPECT_TRUE(m_Log.IsLogToBuffer());
    EXPECT_THAT(Lines(), IsEmpty());
}

TEST_F(LibLoggingTest, BufferWithoutRoomHoldsTheNewest)
{
    Start();
    for (const int maximum : {0, -1, 1})
    {
        m_Log.LogToBuffer(LOG_BUFFER_ONLY, maximum);
        m_Log.ClearLogBuffer();
        m_Log.LogError("one");
        m_Log.LogError("two");
        EXPECT_THAT(Texts(m_Log.GetLogBuffer()), ElementsAre("two")) << maximum;
    }
}

TEST_F(LibLoggingTest, BufferAndFileBothGetTheEntry)
{
    Start();
    for (const LOG_BUFFER_MODE mode : {LOG_BUFFER_AND_FILE, static_cast<LOG_BUFFER_MODE>(77)})
    {
        m_Log.LogToBuffer(mode, 10);
        m_Log.LogError("both");
    }
    EXPECT_THAT(Texts(m_Log.GetLogBuffer()), ElementsAre("both", "both"));
    EXPECT_THAT(Lines(), ElementsAre("        ERROR both", "        ERROR both"));
}

TEST_F(LibLoggingTest, ClearingTheBufferKeepsTheMode)
{
    Start();
    m_Log.LogToBuffer(LOG_BUFFER_ONLY, 10);
    m_Log.LogError("gone");
    m_Log.ClearLogBuffer();
    EXPECT_EQ(m_Log.GetLogBufferSize(), 0U);
    m_Log.LogError("kept");
    EXPECT_THAT(Texts(m_Log.GetLogBuffer()), ElementsAre("kept"));
}

TEST_F(LibLoggingTest, BufferGoesToTheFileFromTheNewestToTheOldest)
{
    Start();
    m_Log.LogToBuffer(LOG_BUFFER_ONLY, 10);
    m_Log.LogError("old");
    m_Log.LogMessage("new");
    m_Log.LogToBuffer(LOG_BUFFER_NONE, 10);
    m_Log.LogBufferToFile();
    EXPECT_THAT(Lines(), ElementsAre("      MESSAGE new", "        ERROR old"));
    EXPECT_EQ(m_Log.GetLogBufferSize(), 2U);
}

/** What is logged from the full buffer goes into the buffer again and pushes out what is still to come. */
TEST_F(LibLoggingTest, BufferIsWrittenAsItWasWhileItFillsAnew)
{
    Start();
    m_Log.LogToBuffer(LOG_BUFFER_ONLY, 3);
    m_Log.LogError("1");
    m_Log.LogError("2");
    m_Log.LogError("3");
    m_Log.LogToBuffer(LOG_BUFFER_AND_FILE, 3);
    m_Log.LogBufferToFile();
    EXPECT_THAT(Lines(), ElementsAre("        ERROR 3", "        ERROR 2", "        ERROR 1"));
    EXPECT_THAT(Texts(m_Log.GetLogBuffer()), ElementsAre("1", "2", "3"));
}

TEST_F(LibLoggingTest, InstanceBeyondTheNextSlotIsNull)
{
    const auto size = static_cast<unsigned int>(LoggerVector::vector().size());
    EXPECT_EQ(LibLogging::GetHandle(size + 1), nullptr);
    LibLogging* next = LibLogging::GetHandle(size);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(LoggerVector::vector().size(), size + 1);
    next->Destroy();
}

TEST_F(LibLoggingTest, RegisteredInstanceIsFoundByItsNumber)
{
    const unsigned int id = LibLogging::Register();
    EXPECT_GE(id, 1U);
    LibLogging* registered = LibLogging::GetHandle(id);
    ASSERT_NE(registered, nullptr);
    EXPECT_NE(registered, &m_Log);
    EXPECT_EQ(LoggerVector::vector()[id], registered);
    registered->Destroy();
    EXPECT_EQ(LoggerVector::vector()[id], nullptr);
}

TEST_F(LibLoggingTest, DestroyLogsItsEndAndMakesRoomForANewInstance)
{
    Start();
    m_Log.Destroy();
    EXPECT_THAT(Lines(), ElementsAre("        DEBUG Destroy()", "        DEBUG close LibLogging"));
    LibLogging* fresh = LibLogging::GetHandle(0);
    fresh->LogError("nowhere");
    EXPECT_FALSE(fresh->IsEnabled());
    EXPECT_FALSE(fresh->TracksFunctions());
    EXPECT_EQ(Lines().size(), 2U);
}

TEST_F(LibLoggingTest, DestroyKeepsToTheLevelWithItsFirstLineAlone)
{
    Start();
    m_Log.SetLoggingLevel(3);
    m_Log.Destroy();
    EXPECT_THAT(Lines(), ElementsAre("        DEBUG close LibLogging"));
}

} // namespace
