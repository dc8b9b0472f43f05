#include "common/FileSystem.h"

#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TextFile.h"

#include <filesystem>
#include <memory>
#include <optional>

#include <gtest/gtest.h>

namespace
{

using namespace Norvik;

class FileSystemTest : public testing::Test
{
protected:
    void SetUp() override
    {
        m_Home.emplace("HOME", m_Directory.Path().c_str());
        m_FileSystem = FileSystem::GetHandle();
    }
    void TearDown() override
    {
        FileSystem::GetHandle()->Destroy();
        m_Home.reset();
    }

    TemporaryDirectory m_Directory;
    std::optional<ScopedEnvironment> m_Home;
    FileSystem* m_FileSystem = nullptr;
};

TEST_F(FileSystemTest, IsOneInstanceUntilDestroyed)
{
    m_FileSystem->AddConfig(1, BasePathTemp, "a", "");
    EXPECT_EQ(FileSystem::GetHandle(), m_FileSystem);
    m_FileSystem->Destroy();
    EXPECT_EQ(FileSystem::GetHandle()->GetConfigEntry(1), nullptr);
}

TEST_F(FileSystemTest, DirectoriesAreEmptyUntilInitialised)
{
    EXPECT_EQ(m_FileSystem->GetProgramDirectory(), "");
    EXPECT_EQ(m_FileSystem->GetUserDirectory(), "");
    EXPECT_EQ(m_FileSystem->GetAllUserDirectory(), "");
    EXPECT_EQ(m_FileSystem->GetTempDirectory(), "");
}

TEST_F(FileSystemTest, InitializeFindsTheDirectories)
{
    const ScopedEnvironment home("HOME", "/home/ada");
    const ScopedEnvironment tmpdir("TMPDIR", "/var/tmp");
    m_FileSystem->Initialize("");
    EXPECT_EQ(m_FileSystem->GetUserDirectory(), "/home/ada/.norvik");
    EXPECT_EQ(m_FileSystem->GetAllUserDirectory(), "/etc/norvik");
    EXPECT_EQ(m_FileSystem->GetTempDirectory(), "/var/tmp");
    EXPECT_EQ(m_FileSystem->GetProgramDirectory(),
              std::filesystem::read_symlink("/proc/self/exe").parent_path().string());
}

struct BaseCase
{
    BasePath base;
    const char* path;
};

TEST_F(FileSystemTest, PathBeginsWithTheDirectoryOfItsBase)
{
    const ScopedEnvironment home("HOME", "/home/ada");
    const ScopedEnvironment tmpdir("TMPDIR", "/var/tmp");
    const std::string program = std::filesystem::read_symlink("/proc/self/exe").parent_path().string();
    const std::string programPath = program + "/app/x/y";
    const BaseCase cases[] = {
        {BasePathUser, "/home/ada/.norvik/app/x/y"},     {BasePathAllUsers, "/etc/norvik/app/x/y"},
        {BasePathProgram, programPath.c_str()},          {BasePathTemp, "/var/tmp/app/x/y"},
        {static_cast<BasePath>(99), "/var/tmp/app/x/y"},
    };
    m_FileSystem->Initialize("app");
    for (const BaseCase& row : cases)
    {
        EXPECT_TRUE(m_FileSystem->AddConfig(5, row.base, "x\\y", ""));
        EXPECT_EQ(m_FileSystem->GetPath(5, false), row.path);
    }
}

TEST_F(FileSystemTest, EmptyNameAndPathAddNothing)
{
    const ScopedEnvironment tmpdir("TMPDIR", nullptr);
    m_FileSystem->Initialize("");
    m_FileSystem->AddConfig(0, BasePathTemp, "", "file");
    EXPECT_EQ(m_FileSystem->GetPath(0, false), "/tmp/");
    EXPECT_EQ(m_FileSystem->GetFile(0, false), "/tmp/file");
}

TEST_F(FileSystemTest, UnknownIdGivesEmptyTexts)
{
    m_FileSystem->Initialize("app");
    EXPECT_EQ(m_FileSystem->GetPath(4, true), "");
    EXPECT_EQ(m_FileSystem->GetFile(4, true), "");
    EXPECT_EQ(m_FileSystem->GetConfigEntry(4), nullptr);
}

TEST_F(FileSystemTest, AddConfigReplacesAnEntry)
{
    m_FileSystem->AddConfig(3, BasePathTemp, "a\\b", "one");
    m_FileSystem->AddConfig(3, BasePathUser, "c", "two");
    const _PathConfig* entry = m_FileSystem->GetConfigEntry(3);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->base, BasePathUser);
    EXPECT_EQ(entry->path, "c");
    EXPECT_EQ(entry->file, "two");
}

TEST_F(FileSystemTest, AddConfigsTakesConsecutiveIds)
{
    const _PathConfig entries[] = {{BasePathTemp, "a\\b", "one"}, {BasePathUser, "c", ""}};
    EXPECT_TRUE(m_FileSystem->AddConfigs(7, entries, 2));
    EXPECT_EQ(m_FileSystem->GetConfigEntry(7)->path, "a/b");
    EXPECT_EQ(m_FileSystem->GetConfigEntry(8)->path, "c");
    EXPECT_EQ(m_FileSystem->GetConfigEntry(9), nullptr);
    EXPECT_TRUE(m_FileSystem->AddConfigs(9, entries, 0));
}

TEST_F(FileSystemTest, CreatingAPathLeavesItsLastPart)
{
    m_FileSystem->Initialize("app");
    m_FileSystem->AddConfig(1, BasePathUser, "logs", "");
    const std::string path = m_FileSystem->GetPath(1, true);
    EXPECT_EQ(path, m_Directory.File(".norvik/app/logs"));
    EXPECT_TRUE(std::filesystem::is_directory(m_Directory.File(".norvik/app")));
    EXPECT_FALSE(std::filesystem::exists(path));
}

TEST_F(FileSystemTest, AskingForAPathMakesNothing)
{
    m_FileSystem->Initialize("app");
    m_FileSystem->AddConfig(1, BasePathUser, "logs", "file");
    EXPECT_EQ(m_FileSystem->GetFile(1, false), m_Directory.File(".norvik/app/logs/file"));
    EXPECT_FALSE(std::filesystem::exists(m_Directory.File(".norvik")));
}

TEST_F(FileSystemTest, CreatingAFileEmptiesAnExistingOne)
{
    m_FileSystem->Initialize("app");
    m_FileSystem->AddConfig(1, BasePathUser, "", "data");
    std::filesystem::create_directories(m_Directory.File(".norvik/app"));
    WriteText(m_Directory.File(".norvik/app/data"), "something");
    EXPECT_EQ(m_FileSystem->GetFile(1, true), m_Directory.File(".norvik/app/data"));
    EXPECT_TRUE(std::filesystem::exists(m_Directory.File(".norvik/app/data")));
    EXPECT_EQ(ReadText(m_Directory.File(".norvik/app/data")), "");
}

/** Without a HOME a relative path would lead into the working directory of the host program. */
TEST_F(FileSystemTest, WithoutHomeTheWorkingDirectoryIsLeftAlone)
{
    const ScopedEnvironment home("HOME", nullptr);
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(m_Directory.Path());
    m_FileSystem->Initialize("app");
    m_FileSystem->AddConfig(1, BasePathUser, "a\\b", "file");
    EXPECT_EQ(m_FileSystem->GetUserDirectory(), "");
    EXPECT_EQ(m_FileSystem->GetPath(1, true), "");
    EXPECT_EQ(m_FileSystem->GetFile(1, true), "");
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_empty(m_Directory.Path()));
}

} // namespace
