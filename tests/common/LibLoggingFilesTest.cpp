#include "common/LibLogging.h"

#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TextFile.h"

#include <algorithm>
#include <filesystem>
#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using namespace Norvik;
using testing::ElementsAre;
using testing::MatchesRegex;

class LibLoggingFilesTest : public testing::Test
{
protected:
    LibLoggingFilesTest() : m_Log(*LibLogging::GetHandle(0)) {}
    void TearDown() override { LibLogging::GetHandle(0)->Destroy(); }

    void Start(unsigned int maxEntries)
    {
        m_Log.Init(m_File, maxEntries, true);
        m_Log.Enabled(true);
    }
    void Log(int first, int last)
    {
        for (int i = first; i <= last; ++i)
        {
            m_Log.LogRaw(std::to_string(i));
        }
    }
    [[nodiscard]] std::vector<std::string> Names() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_Directory.Path()))
        {
            names.push_back(entry.path().filename().string());
        }
        std::sort(names.begin(), names.end());
        return names;
    }
    [[nodiscard]] std::string Read(const std::string& name) const { return ReadText(m_Directory.File(name)); }
    void Write(const std::string& name, const std::string& text) const
    {
        WriteText(m_Directory.File(name), text);
    }

    TemporaryDirectory m_Directory;
    const std::string m_File = m_Directory.File("x.log");
    LibLogging& m_Log;
};

struct ExtensionCase
{
    const char* name;
    const char* base;
    const char* extension;
    const char* completed;
};

constexpr ExtensionCase kExtensionCases[] = {
    {"a.log", "a", "log", "a.log"},
    {"a", "a", "", "a.log"},
    {"a.txt", "a.txt", "", "a.txt.log"},
    {"a.log.old", "a", "log", "a.log.old"},
    {"a.log.b.log", "a.log.b", "log", "a.log.b.log"},
    {"a.LOG", "a.LOG", "", "a.LOG.log"},
    {".log", "", "log", ".log"},
    {"", "", "", ".log"},
};

TEST(LibLoggingNames, ExtensionIsTheLastDotLog)
{
    for (const ExtensionCase& row : kExtensionCases)
    {
        std::string base = "left over";
        std::string extension = "left over";
        LibLogging::GetExtension(row.name, base, extension);
        EXPECT_EQ(base, row.base) << row.name;
        EXPECT_EQ(extension, row.extension) << row.name;
        EXPECT_EQ(LibLogging::AppendLogExtension(row.name), row.completed);
    }
}

TEST(LibLoggingNames, TimeStampIsInSecondsSinceTheEpoch)
{
    EXPECT_THAT(LibLogging::NameWithTimeStamp("/a/x.log"), MatchesRegex("/a/x_[1-9][0-9]{9}\\.log"));
    EXPECT_THAT(LibLogging::NameWithTimeStamp("/a/x.log.old"), MatchesRegex("/a/x_[1-9][0-9]{9}\\.log"));
    EXPECT_THAT(LibLogging::NameWithTimeStamp("/a/x"), MatchesRegex("/a/x_[1-9][0-9]{9}\\."));
}

TEST_F(LibLoggingFilesTest, NumberedNameIsTheFirstFreeOne)
{
    EXPECT_EQ(LibLogging::NumberedName(m_File), m_File);
    Write("x.log", "");
    EXPECT_EQ(LibLogging::NumberedName(m_File), m_Directory.File("x_0.log"));
    Write("x_0.log", "");
    Write("x_2.log", "");
    EXPECT_EQ(LibLogging::NumberedName(m_File), m_Directory.File("x_1.log"));
}

TEST_F(LibLoggingFilesTest, BackupCopiesTheWholeContent)
{
    const std::string content("line\r\n\0\xFF end", 12);
    Write("source", content);
    Write("target", "something that is longer than the source");
    EXPECT_TRUE(LibLogging::BackupFile(m_Directory.File("source"), m_Directory.File("target"), false));
    EXPECT_EQ(Read("target"), content);
    EXPECT_EQ(Read("source"), content);
}

TEST_F(LibLoggingFilesTest, BackupRemovesTheSourceOnDemand)
{
    Write("source", "content");
    EXPECT_TRUE(LibLogging::BackupFile(m_Directory.File("source"), m_Directory.File("target"), true));
    EXPECT_THAT(Names(), ElementsAre("target"));
}

TEST_F(LibLoggingFilesTest, BackupOfAnEmptyFileSucceeds)
{
    Write("source", "");
    EXPECT_TRUE(LibLogging::BackupFile(m_Directory.File("source"), m_Directory.File("target"), true));
    EXPECT_THAT(Names(), ElementsAre("target"));
}

TEST_F(LibLoggingFilesTest, BackupThatFailsKeepsBothFiles)
{
    Write("source", "content");
    Write("target", "older");
    EXPECT_FALSE(LibLogging::BackupFile(m_Directory.File("missing"), m_Directory.File("target"), true));
    EXPECT_FALSE(LibLogging::BackupFile(m_Directory.File("source"), m_Directory.File("missing/x"), true));
    EXPECT_EQ(Read("source"), "content");
    EXPECT_EQ(Read("target"), "older");
}

TEST_F(LibLoggingFilesTest, InitAddsTheExtension)
{
    m_Log.Init(m_Directory.File("plain"), 10, true);
    EXPECT_THAT(Names(), ElementsAre("plain.log"));
}

TEST_F(LibLoggingFilesTest, InitWithoutOpeningMakesNoFile)
{
    m_Log.Init(m_File, 10, false);
    EXPECT_TRUE(Names().empty());
}

TEST_F(LibLoggingFilesTest, OpeningKeepsAnOlderFileUnderATimeStamp)
{
    Write("x.log", "older\n");
    Start(10);
    m_Log.LogRaw("new");
    const std::vector<std::string> names = Names();
    ASSERT_EQ(names.size(), 2U);
    EXPECT_EQ(names[0], "x.log");
    EXPECT_THAT(names[1], MatchesRegex("x_[1-9][0-9]{9}\\.log"));
    EXPECT_EQ(Read("x.log"), " new\n");
    EXPECT_EQ(Read(names[1]), "older\n");
}

TEST_F(LibLoggingFilesTest, OpeningMovesOlderPartsUpToTheFirstGap)
{
    Write("x_0.log", "part 0\n");
    Write("x_1.log", "part 1\n");
    Write("x_3.log", "part 3\n");
    Start(10);
    const std::vector<std::string> names = Names();
    ASSERT_EQ(names.size(), 4U);
    EXPECT_EQ(names[0], "x.log");
    EXPECT_THAT(names[1], MatchesRegex("x_0_[1-9][0-9]{9}\\.log"));
    EXPECT_THAT(names[2], MatchesRegex("x_1_[1-9][0-9]{9}\\.log"));
    EXPECT_EQ(names[3], "x_3.log");
    EXPECT_EQ(Read(names[1]), "part 0\n");
    EXPECT_EQ(Read(names[2]), "part 1\n");
}

TEST_F(LibLoggingFilesTest, SecondInitGoesOnInAnEmptyFile)
{
    Start(10);
    m_Log.LogRaw("first");
    Start(10);
    m_Log.LogRaw("second");
    EXPECT_EQ(Read("x.log"), " second\n");
    EXPECT_EQ(Names().size(), 2U);
}

TEST_F(LibLoggingFilesTest, EntryAfterTheLastOfAFileStandsAloneInAFreshOne)
{
    constexpr int kEntries = 10000;
    Start(kEntries);
    Log(1, kEntries);
    EXPECT_THAT(Names(), ElementsAre("x.log"));
    Log(kEntries + 1, kEntries + 1);
    EXPECT_THAT(Names(), ElementsAre("x.log", "x_0.log"));
    EXPECT_EQ(Read("x.log"), " 10001\n");
    const std::vector<std::string> part = ReadLines(m_Directory.File("x_0.log"));
    ASSERT_EQ(part.size(), 10000U);
    EXPECT_EQ(part.front(), " 1");
    EXPECT_EQ(part.back(), " 10000");
}

TEST_F(LibLoggingFilesTest, PartsAreNumberedFromTheOldest)
{
    Start(2);
    Log(1, 7);
    EXPECT_THAT(Names(), ElementsAre("x.log", "x_0.log", "x_1.log", "x_2.log"));
    EXPECT_EQ(Read("x_0.log"), " 1\n 2\n");
    EXPECT_EQ(Read("x_1.log"), " 3\n 4\n");
    EXPECT_EQ(Read("x_2.log"), " 5\n 6\n");
    EXPECT_EQ(Read("x.log"), " 7\n");
}

TEST_F(LibLoggingFilesTest, NumbersBeginAnewWithInit)
{
    Start(1);
    Log(1, 2);
    Start(1);
    Log(3, 4);
    EXPECT_EQ(Read("x_0.log"), " 3\n");
    EXPECT_EQ(Read("x.log"), " 4\n");
}

TEST_F(LibLoggingFilesTest, RotationBySizeCountsTheBytesOfTheLines)
{
    Start(1);
    m_Log.LogRotation(false, 1);
    m_Log.LogRotationFileSize(true, 6); // a raw line of one digit has 3 bytes
    Log(1, 5);
    EXPECT_EQ(Read("x_0.log"), " 1\n 2\n");
    EXPECT_EQ(Read("x_1.log"), " 3\n 4\n");
    EXPECT_EQ(Read("x.log"), " 5\n");
}

TEST_F(LibLoggingFilesTest, WithoutRotationTheFileGrows)
{
    Start(1);
    m_Log.LogRotation(false, 1);
    Log(1, 5);
    EXPECT_THAT(Names(), ElementsAre("x.log"));
}

TEST_F(LibLoggingFilesTest, BufferedEntriesDoNotFillTheFile)
{
    Start(2);
    m_Log.LogToBuffer(LOG_BUFFER_ONLY, 100);
    Log(1, 9);
    EXPECT_THAT(Names(), ElementsAre("x.log"));
    EXPECT_EQ(Read("x.log"), "");
}

TEST_F(LibLoggingFilesTest, PartsOfANameWithTextBehindTheExtensionKeepItsBase)
{
    m_Log.Init(m_Directory.File("a.log.old"), 1, true);
    m_Log.Enabled(true);
    Log(1, 2);
    EXPECT_THAT(Names(), ElementsAre("a.log.old", "a_0.log"));
}

TEST_F(LibLoggingFilesTest, SplitInAVanishedDirectoryGoesSilent)
{
    Start(1);
    Log(1, 1);
    std::filesystem::remove_all(m_Directory.Path());
    Log(2, 3);
    EXPECT_FALSE(m_Log.Writes(DebugLevelError));
    EXPECT_FALSE(std::filesystem::exists(m_Directory.Path()));
}

} // namespace
