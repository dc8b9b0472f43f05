#include "LibConfig/GenerateConfig.h"

#include "common/FileSystem.h"
#include "tests/LibConfig/ConfigFixture.h"

#include <map>

#include <gmock/gmock.h>

namespace
{

using namespace Norvik;
using testing::IsEmpty;

class GenerateConfigTest : public ConfigFixture
{
protected:
    void TearDown() override
    {
        FileSystem::GetHandle()->Destroy();
        ConfigFixture::TearDown();
    }
};

struct SchemaRow
{
    unsigned int id;
    const char* key;
    const char* path;
};

constexpr SchemaRow kSchema[] = {
    {0, "", "k.mark Client"},
    {2, "CheckForUpdates", "k.mark Client"},
    {6, "InstallDir", "k.mark Client"},
    {8, "Updateable", "k.mark Client"},
    {10, "Version", "k.mark Client"},
    {12, "LogMode", "k.mark Client\\Trace"},
    {14, "LogLevel", "k.mark Client\\Trace"},
    {16, "Filename", "k.mark Client\\Trace"},
    {18, "DeleteLogfilesAfterXDays", "k.mark Client"},
    {20, "FixIt", "k.mark Client"},
    {22, "CleanCertsOnRefresh", "k.mark Client"},
    {24, "MakeDialogsStayOnTop", "k.mark Client"},
    {27, "Language", "k.mark Client"},
    {29, "EnableNorvikPinDialog", "KMarkMiniDriver"},
    {31, "EnableExternalPin", "KMarkMiniDriver"},
    {33, "EnableLogging", "KMarkMiniDriver"},
    {35, "EnableCardAuthenticateEx", "KMarkMiniDriver"},
    {37, "PinCachePolicyType", "KMarkMiniDriver"},
    {39, "PinCachePolicyInfo", "KMarkMiniDriver"},
    {41, "EnableOutputDebugString", "KMarkMiniDriver"},
    {43, "EnableNorvikPinDialog", "KMarkMiniDriver"},
    {45, "PinEntryRequireSecuryMode", "KMarkMiniDriver"},
    {47, "EnableExternalPin", "KMarkMiniDriver"},
    {49, "IgnoreAcosSubVersion", "KMarkMiniDriver"},
    {51, "CheckReaderCapabilities", "KMarkMiniDriver"},
    {53, "EnableDiagnostics", "KMarkMiniDriver"},
    {55, "DoExclusiveReconnect", "KMarkMiniDriver"},
    {57, "MiniDriverVersion", "KMarkMiniDriver"},
    {59, "MiniDriverMinVersion", "KMarkMiniDriver"},
};

TEST_F(GenerateConfigTest, EveryKeyHasTwoIdsThatDifferInTheSystemType)
{
    GenerateConfig();
    for (const SchemaRow& row : kSchema)
    {
        for (const unsigned int second : {0U, 1U})
        {
            const sConfig* entry = Store().GetConfigEntry(row.id + second);
            ASSERT_NE(entry, nullptr) << row.id + second;
            EXPECT_EQ(entry->type, ConfigTypeAllUsers) << row.id;
            EXPECT_EQ(entry->key, row.key) << row.id;
            EXPECT_EQ(entry->path, row.path) << row.id;
            EXPECT_EQ(entry->sys, second == 0 ? SysTypeFirst : SysTypeSecond) << row.id;
        }
    }
}

TEST_F(GenerateConfigTest, AllIdsUpToSixtyAreTaken)
{
    GenerateConfig();
    for (unsigned int id = 0; id <= 60; ++id)
    {
        const sConfig* entry = Store().GetConfigEntry(id);
        ASSERT_NE(entry, nullptr) << id;
        EXPECT_EQ(entry->type, ConfigTypeAllUsers) << id;
    }
    EXPECT_EQ(Store().GetConfigEntry(61), nullptr);
    EXPECT_EQ(Store().GetConfigEntry(5003), nullptr);
}

TEST_F(GenerateConfigTest, TopSectionIsTheClients)
{
    EXPECT_EQ(ClientRegKeyName, "k.mark Client");
    GenerateConfig();
    EXPECT_EQ(Store().GetConfigEntry(1)->path, ClientRegKeyName);
}

TEST_F(GenerateConfigTest, WithoutAFileEveryPresetStands)
{
    GenerateConfig();
    GenerateFileSystem();
    long level = 0;
    std::string filename;
    EXPECT_FALSE(Store().GetInteger(15, level));
    EXPECT_FALSE(Store().GetString(17, filename));
    EXPECT_EQ(level, 0);
    EXPECT_EQ(filename, "");
    EXPECT_THAT(Store().EnumSubDirs(1, "Reader"), IsEmpty());
    EXPECT_FALSE(std::filesystem::exists(PrivateEtc::kConfigFile));
    EXPECT_FALSE(std::filesystem::exists(UserFile()));
}

TEST_F(GenerateConfigTest, BothIdsOfAPairReadTheSameValue)
{
    PrivateEtc::WriteConfig(
        "<kmarkclient><k_mark_Client><Trace><LogLevel>3</LogLevel><Filename>/var/log/x.LOG"
        "</Filename></Trace><Reader_A><UseBeep>0</UseBeep></Reader_A></k_mark_Client>"
        "</kmarkclient>");
    GenerateConfig();
    for (const unsigned int id : {14U, 15U})
    {
        long level = 0;
        EXPECT_TRUE(Store().GetInteger(id, level));
        EXPECT_EQ(level, 3);
    }
    for (const unsigned int id : {16U, 17U})
    {
        std::string filename;
        EXPECT_TRUE(Store().GetString(id, filename));
        EXPECT_EQ(filename, "/var/log/x.LOG");
    }
    EXPECT_THAT(Store().EnumSubDirs(1, "Reader"), testing::ElementsAre("Reader_A"));
}

/** The way in which the values of a reader section are read, one after the other by one number. */
TEST_F(GenerateConfigTest, TemporaryNumberReadsAReaderSection)
{
    PrivateEtc::WriteConfig(
        "<kmarkclient><k_mark_Client><Reader1><UseBeep>0</UseBeep><CTPort>3</CTPort></Reader1>"
        "</k_mark_Client></kmarkclient>");
    GenerateConfig();
    const std::string section = ClientRegKeyName + "/" + Store().EnumSubDirs(1, "Reader").at(0);
    bool bUseBeep = true;
    Store().AddConfig(5003, ConfigTypeAllUsers, "UseBeep", section, SysTypeSecond);
    EXPECT_TRUE(Store().GetBoolean(5003, bUseBeep));
    EXPECT_FALSE(bUseBeep);
    long port = -1;
    Store().AddConfig(5003, ConfigTypeAllUsers, "CTPort", section, SysTypeSecond);
    EXPECT_TRUE(Store().GetInteger(5003, port));
    EXPECT_EQ(port, 3);
    bool bUseGui = true;
    Store().AddConfig(5003, ConfigTypeAllUsers, "UseGUI", section, SysTypeSecond);
    EXPECT_FALSE(Store().GetBoolean(5003, bUseGui));
    EXPECT_TRUE(bUseGui);
}

TEST_F(GenerateConfigTest, SettingsOfTheUserAreNotLookedAt)
{
    WriteUserConfig("<kmarkclient><k_mark_Client><Trace><LogLevel>3</LogLevel></Trace></k_mark_Client>"
                    "</kmarkclient>");
    GenerateConfig();
    long level = 0;
    EXPECT_FALSE(Store().GetInteger(15, level));
}

TEST_F(GenerateConfigTest, SecondCallAfterDestroyReadsTheFileAnew)
{
    GenerateConfig();
    Store().Destroy();
    PrivateEtc::WriteConfig(
        "<kmarkclient><k_mark_Client><Trace><LogLevel>3</LogLevel></Trace></k_mark_Client>"
        "</kmarkclient>");
    GenerateConfig();
    long level = 0;
    EXPECT_TRUE(Store().GetInteger(15, level));
    EXPECT_EQ(level, 3);
}

TEST_F(GenerateConfigTest, TableOfPathsHasEightEntries)
{
    PrivateEtc::WriteConfig("<kmarkclient><k_mark_Client><Trace><Filename>logs\\mine</Filename></Trace>"
                            "</k_mark_Client></kmarkclient>");
    GenerateConfig();
    GenerateFileSystem();
    FileSystem* table = FileSystem::GetHandle();
    EXPECT_EQ(table->GetPath(0, false), m_Home.File(".norvik/logs/mine"));
    EXPECT_EQ(table->GetConfigEntry(0)->file, "");
    for (unsigned int id = 1; id <= 7; ++id)
    {
        const _PathConfig* entry = table->GetConfigEntry(id);
        ASSERT_NE(entry, nullptr) << id;
        EXPECT_LE(entry->base, BasePathAllUsers) << id;
        EXPECT_EQ(entry->path.find('\\'), std::string::npos) << id;
    }
    EXPECT_EQ(table->GetConfigEntry(8), nullptr);
}

TEST_F(GenerateConfigTest, PathOfThisModuleIsEmptyWithoutAFilename)
{
    GenerateConfig();
    GenerateFileSystem();
    EXPECT_EQ(FileSystem::GetHandle()->GetConfigEntry(0)->path, "");
    EXPECT_EQ(FileSystem::GetHandle()->GetPath(0, false), m_Home.File(".norvik"));
}

} // namespace
