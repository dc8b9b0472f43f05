#include "common/PathHelpers.h"

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TextFile.h"

#include <algorithm>
#include <filesystem>
#include <sys/stat.h>
#include <unistd.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using namespace Norvik;
using testing::MatchesRegex;
using testing::UnorderedElementsAre;

bool IsDirectory(const std::string& path)
{
    return std::filesystem::is_directory(path);
}

TEST(Directories, TempDirIsTmpdirAsItStands)
{
    const ScopedEnvironment tmpdir("TMPDIR", "/var/tmp");
    EXPECT_EQ(GetTempDir(), "/var/tmp");
}

TEST(Directories, TempDirHasAPresetWithAFinalSlash)
{
    const ScopedEnvironment tmpdir("TMPDIR", nullptr);
    EXPECT_EQ(GetTempDir(), "/tmp/");
}

TEST(Directories, UserDirIsHome)
{
    const ScopedEnvironment home("HOME", "/home/ada");
    EXPECT_EQ(GetUserDir(), "/home/ada");
}

TEST(Directories, UserDirIsEmptyWithoutHome)
{
    const ScopedEnvironment home("HOME", nullptr);
    EXPECT_EQ(GetUserDir(), "");
}

TEST(Directories, AllUsersDirIsEtc)
{
    EXPECT_EQ(GetAllUsersDir(), "/etc/");
}

struct CombineCase
{
    const char* a;
    const char* b;
    const char* result;
};

constexpr CombineCase kCombineCases[] = {
    {"/etc/", "norvik", "/etc/norvik"},
    {"/etc", "norvik", "/etc/norvik"},
    {"/etc", "/norvik", "/etc/norvik"},
    {"/etc/", "/norvik", "/etc/norvik"},
    {"", "norvik", "norvik"},
    {"", "/norvik", "norvik"},
    {"/etc", "", "/etc/"},
    {"/etc/", "", "/etc/"},
    {"", "", ""},
    {"/", "a/b", "/a/b"},
    {"a", "//b", "a//b"},
};

TEST(CombinePaths, PutsOneSlashBetweenTwoParts)
{
    for (const CombineCase& row : kCombineCases)
    {
        EXPECT_EQ(CombinePaths(row.a, row.b), row.result) << row.a << " and " << row.b;
    }
}

TEST(CombinePaths, FoldsOverSeveralParts)
{
    const std::string parts[] = {"/etc/", "norvik", "kmarkclient", "config"};
    EXPECT_EQ(CombinePaths(parts, 4), "/etc/norvik/kmarkclient/config");
    EXPECT_EQ(CombinePaths(parts, 1), "/etc/");
    EXPECT_EQ(CombinePaths(parts, 0), "");
    EXPECT_EQ(CombinePaths(parts, -1), "");
}

struct PartCase
{
    const char* path;
    const char* result;
};

constexpr PartCase kRemoveCases[] = {
    {"/a/b/", "/a/"},
    {"/a/b.log", "/a/"},
    {"/a/b/c", "/a/b/"},
    {"name", "name"},
    {"name/", "name/"},
    {"/", "/"},
    {"", ""},
    {"/a", "/"},
    {"/a/", "/"},
    {"//", "/"},
    {"/var/log/x.LOG", "/var/log/"},
};

TEST(RemoveLastPartFromPath, KeepsWhatStandsUpToTheLastInnerSlash)
{
    for (const PartCase& row : kRemoveCases)
    {
        EXPECT_EQ(RemoveLastPartFromPath(row.path), row.result) << row.path;
    }
}

constexpr PartCase kNameCases[] = {
    {"/a/b.log", "b.log"}, {"/a/b/", ""}, {"name", "name"}, {"", ""}, {"/", ""},
};

TEST(GetFilenameFromPath, IsWhatFollowsTheLastSlash)
{
    for (const PartCase& row : kNameCases)
    {
        EXPECT_EQ(GetFilenameFromPath(row.path), row.result) << row.path;
    }
}

TEST(toNativeFS, TurnsEveryBackslash)
{
    EXPECT_EQ(toNativeFS("a\\b\\\\c/d"), "a/b//c/d");
}

TEST(Files, ExistsWhenItOpensForReading)
{
    const TemporaryDirectory directory;
    const std::string file = directory.File("here");
    EXPECT_FALSE(FileExists(file));
    WriteText(file, "");
    EXPECT_TRUE(FileExists(file));
    EXPECT_TRUE(FileExists(directory.Path()));
}

TEST(Files, RenameMovesTheContent)
{
    const TemporaryDirectory directory;
    WriteText(directory.File("old"), "content");
    EXPECT_TRUE(RenameFile(directory.File("old"), directory.File("new")));
    EXPECT_FALSE(FileExists(directory.File("old")));
    EXPECT_EQ(ReadText(directory.File("new")), "content");
    EXPECT_FALSE(RenameFile(directory.File("old"), directory.File("newer")));
}

TEST(Files, RemoveTakesFilesAndNoDirectories)
{
    const TemporaryDirectory directory;
    WriteText(directory.File("file"), "content");
    std::filesystem::create_directory(directory.File("directory"));
    EXPECT_TRUE(RemoveFile(directory.File("file")));
    EXPECT_FALSE(RemoveFile(directory.File("file")));
    EXPECT_FALSE(RemoveFile(directory.File("directory")));
    EXPECT_TRUE(IsDirectory(directory.File("directory")));
}

TEST(Files, CopyReplacesTheTarget)
{
    const TemporaryDirectory directory;
    const std::string content("with a \0 inside", 15);
    WriteText(directory.File("source"), content);
    WriteText(directory.File("target"), "something that is longer than the source");
    EXPECT_TRUE(CopyFile(directory.File("source"), directory.File("target")));
    EXPECT_EQ(ReadText(directory.File("target")), content);
    EXPECT_EQ(ReadText(directory.File("source")), content);
}

TEST(Files, CopyFailsWithoutASourceAndOntoItself)
{
    const TemporaryDirectory directory;
    WriteText(directory.File("file"), "content");
    EXPECT_FALSE(CopyFile(directory.File("missing"), directory.File("target")));
    EXPECT_FALSE(CopyFile(directory.File("file"), directory.File("file")));
    EXPECT_EQ(ReadText(directory.File("file")), "content");
}

TEST(CreateOneDir, MakesADirectoryWithAllRightsThatTheUmaskLeaves)
{
    const TemporaryDirectory directory;
    const mode_t before = umask(027);
    EXPECT_TRUE(CreateOneDir(directory.File("new")));
    umask(before);
    struct stat status = {};
    ASSERT_EQ(stat(directory.File("new").c_str(), &status), 0);
    EXPECT_TRUE(S_ISDIR(status.st_mode));
    EXPECT_EQ(status.st_mode & 0777U, 0750U);
}

TEST(CreateOneDir, SucceedsForAnEmptyNameAndAnExistingDirectory)
{
    const TemporaryDirectory directory;
    EXPECT_TRUE(CreateOneDir(""));
    EXPECT_TRUE(CreateOneDir(directory.Path()));
}

TEST(CreateOneDir, FailsForAFileAndWithoutAParent)
{
    const TemporaryDirectory directory;
    WriteText(directory.File("file"), "");
    EXPECT_FALSE(CreateOneDir(directory.File("file")));
    EXPECT_FALSE(CreateOneDir(directory.File("missing/new")));
}

TEST(CreateOneDir, TakesANameThatMkdirFindsTakenForSuccess)
{
    const TemporaryDirectory directory;
    ASSERT_EQ(symlink("nowhere", directory.File("dangling").c_str()), 0);
    EXPECT_TRUE(CreateOneDir(directory.File("dangling")));
}

TEST(CreateDirectories, LeavesThePartBehindTheLastSlash)
{
    const TemporaryDirectory directory;
    EXPECT_TRUE(CreateDirectories(directory.File("a/b/c")));
    EXPECT_TRUE(IsDirectory(directory.File("a/b")));
    EXPECT_FALSE(FileExists(directory.File("a/b/c")));
}

TEST(CreateDirectories, MakesAllBeforeAFinalSlash)
{
    const TemporaryDirectory directory;
    EXPECT_TRUE(CreateDirectories(directory.File("a/b/c/")));
    EXPECT_TRUE(IsDirectory(directory.File("a/b/c")));
}

TEST(CreateDirectories, StopsAtTheFirstFailure)
{
    const TemporaryDirectory directory;
    WriteText(directory.File("a"), "a file");
    EXPECT_FALSE(CreateDirectories(directory.File("a/b/c")));
    EXPECT_EQ(ReadText(directory.File("a")), "a file");
}

TEST(CreateDirectories, HasNothingToDoWithoutASlash)
{
    EXPECT_TRUE(CreateDirectories("name"));
    EXPECT_FALSE(FileExists("name"));
}

TEST(GenerateFilenameWithTimestamp, HasPrefixLocalTimeAndExtension)
{
    EXPECT_THAT(
        GenerateFilenameWithTimestamp("KMarkP11", "log"),
        MatchesRegex("KMarkP11_20[0-9][0-9]-[01][0-9]-[0-3][0-9]-[0-2][0-9]-[0-5][0-9]-[0-6][0-9]\\.log"));
}

TEST(GenerateTempFilename, HasSixDigitsBelowAHundredThousand)
{
    std::string directory = "/var/tmp";
    EXPECT_THAT(GenerateTempFilename(directory, "kmark"), MatchesRegex("/var/tmp/kmark0[0-9]{5}\\.tmp"));
    EXPECT_EQ(directory, "/var/tmp");
}

TEST(ListAllFilesInDirectory, AppendsRegularFilesAlone)
{
    const TemporaryDirectory directory;
    WriteText(directory.File("one"), "");
    WriteText(directory.File("two"), "");
    std::filesystem::create_directory(directory.File("sub"));
    std::filesystem::create_symlink(directory.File("one"), directory.File("link"));
    std::vector<std::string> files = {"before"};
    EXPECT_TRUE(ListAllFilesInDirectory(directory.Path(), files));
    EXPECT_THAT(files, UnorderedElementsAre("before", directory.File("one"), directory.File("two")));
}

TEST(ListAllFilesInDirectory, FailsForAMissingDirectory)
{
    std::vector<std::string> files;
    EXPECT_FALSE(ListAllFilesInDirectory("/nonexistent/directory", files));
    EXPECT_TRUE(files.empty());
}

struct EndsCase
{
    const char* text;
    const char* suffix;
    bool bEnds;
};

constexpr EndsCase kEndsCases[] = {
    {"/var/log/x.LOG", ".log", true},
    {"/var/log/x.log", ".LOG", true},
    {".log", ".log", true},
    {"log", ".log", false},
    {"x.log.old", ".log", false},
    {"x", "", true},
    {"", "", true},
    {"", "x", false},
    {"x@log", "x`log", false},
    {"x[log", "x{log", false},
};

TEST(nocase_EndsWith, IgnoresTheCaseOfLetters)
{
    for (const EndsCase& row : kEndsCases)
    {
        EXPECT_EQ(nocase_EndsWith(row.text, row.suffix), row.bEnds) << row.text << " and " << row.suffix;
    }
}

TEST(nocase_Equals, WantsTheSameLength)
{
    EXPECT_TRUE(nocase_Equals("Yes", "YES"));
    EXPECT_FALSE(nocase_Equals("Yes", "YES "));
    EXPECT_FALSE(nocase_Equals("", "YES"));
}

} // namespace
