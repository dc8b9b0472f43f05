#include "LibConfig/Config.h"

#include "LibConfig/LibConfig.h"
#include "tests/LibConfig/ConfigFixture.h"
#include "tests/support/CapturedLog.h"

#include <gmock/gmock.h>

namespace
{

using namespace Norvik;
using testing::IsEmpty;

class ConfigTest : public ConfigFixture
{};

TEST_F(ConfigTest, InitSucceedsWithoutAnyFile)
{
    EXPECT_TRUE(Store().Init("kmarkclient"));
    EXPECT_FALSE(std::filesystem::exists(PrivateEtc::kConfigFile));
    EXPECT_FALSE(std::filesystem::exists(UserFile()));
}

TEST_F(ConfigTest, InitMakesTheDirectoriesAboveTheConfigurationsOwn)
{
    Store().Init("kmarkclient");
    EXPECT_TRUE(std::filesystem::is_directory("/etc/norvik"));
    EXPECT_TRUE(std::filesystem::is_empty("/etc/norvik"));
    EXPECT_TRUE(std::filesystem::is_directory(m_Home.File(".norvik")));
    EXPECT_TRUE(std::filesystem::is_empty(m_Home.File(".norvik")));
}

TEST_F(ConfigTest, SecondInitWithAnotherNameIsIgnored)
{
    Load("<kmarkclient><s><k>one</k></s></kmarkclient>");
    EXPECT_TRUE(Store().Init("other"));
    EXPECT_TRUE(Store().Init("other", static_cast<ConfigBackend>(2)));
    EXPECT_EQ(Text("s", "k"), "one");
    EXPECT_FALSE(std::filesystem::exists("/etc/norvik/other"));
}

TEST_F(ConfigTest, OnlyTheXmlBackendExists)
{
    for (const unsigned int backend : {0U, 2U, 99U})
    {
        EXPECT_FALSE(Store().Init("kmarkclient", static_cast<ConfigBackend>(backend)));
        EXPECT_FALSE(Store().AddConfig(kId, ConfigTypeAllUsers, "k", "s", SysTypeFirst));
    }
    EXPECT_TRUE(Store().Init("kmarkclient", ConfigBackendXML));
}

TEST_F(ConfigTest, NothingIsRegisteredBeforeInit)
{
    const sConfig entry = {ConfigTypeAllUsers, "s", "k", SysTypeFirst};
    EXPECT_FALSE(Store().AddConfig(kId, ConfigTypeAllUsers, "k", "s", SysTypeFirst));
    EXPECT_FALSE(Store().AddConfigs(kId, &entry, 1));
    EXPECT_FALSE(Store().AddConfigs(kId, nullptr, 0));
    EXPECT_EQ(Store().GetConfigEntry(kId), nullptr);
}

TEST_F(ConfigTest, EveryOperationFailsWithoutABackend)
{
    const CapturedLog log({{.setError = &LibConfig::SetErrorLoggingFunc}});
    long integer = 42;
    std::string text = "preset";
    bool bValue = true;
    EXPECT_FALSE(Store().GetInteger(kId, integer));
    EXPECT_FALSE(Store().GetString(kId, text));
    EXPECT_FALSE(Store().GetBoolean(kId, bValue));
    EXPECT_FALSE(Store().GetStringBoolean(kId, bValue));
    EXPECT_FALSE(Store().SetInteger(kId, 1));
    EXPECT_FALSE(Store().SetString(kId, "x"));
    EXPECT_FALSE(Store().SetBoolean(kId, true));
    EXPECT_FALSE(Store().SetStringBoolean(kId, true));
    EXPECT_FALSE(Store().RemoveKey(kId));
    EXPECT_FALSE(Store().RemovePath(kId));
    EXPECT_THAT(Store().EnumSubDirs(kId, ""), IsEmpty());
    EXPECT_EQ(integer, 42);
    EXPECT_EQ(text, "preset");
    EXPECT_TRUE(bValue);
    EXPECT_THAT(CapturedLog::Lines(), IsEmpty());
}

TEST_F(ConfigTest, UnknownIdIsLogged)
{
    Store().Init("kmarkclient");
    const CapturedLog log({{.setError = &LibConfig::SetErrorLoggingFunc}});
    long integer = 42;
    std::string text = "preset";
    bool bValue = true;
    EXPECT_EQ(Store().GetConfigEntry(kId), nullptr);
    EXPECT_FALSE(Store().GetInteger(kId, integer));
    EXPECT_FALSE(Store().GetString(kId, text));
    EXPECT_FALSE(Store().GetBoolean(kId, bValue));
    EXPECT_FALSE(Store().SetString(kId, "x"));
    EXPECT_FALSE(Store().RemoveKey(kId));
    EXPECT_FALSE(Store().RemovePath(kId));
    EXPECT_THAT(Store().EnumSubDirs(kId, ""), IsEmpty());
    EXPECT_EQ(CapturedLog::Lines(), std::vector<std::string>(8, "ERROR config entry is NULL"));
}

TEST_F(ConfigTest, FailingReadIsNotLogged)
{
    Store().Init("kmarkclient");
    Address("s", "k");
    const CapturedLog log({{.setError = &LibConfig::SetErrorLoggingFunc}});
    long integer = 42;
    EXPECT_FALSE(Store().GetInteger(kId, integer));
    EXPECT_THAT(CapturedLog::Lines(), IsEmpty());
}

TEST_F(ConfigTest, AddConfigReplacesTheEntryOfThatId)
{
    Load("<kmarkclient><s><a>one</a><b>two</b></s></kmarkclient>");
    EXPECT_EQ(Text("s", "a"), "one");
    EXPECT_EQ(Text("s", "b"), "two");
    const sConfig* entry = Store().GetConfigEntry(kId);
    ASSERT_NE(entry, nullptr);
    EXPECT_EQ(entry->type, ConfigTypeAllUsers);
    EXPECT_EQ(entry->path, "s");
    EXPECT_EQ(entry->key, "b");
    EXPECT_EQ(entry->sys, SysTypeFirst);
}

TEST_F(ConfigTest, AddConfigsTakesConsecutiveIds)
{
    Store().Init("kmarkclient");
    const sConfig entries[] = {{ConfigTypeUser, "s", "a", SysTypeFirst},
                               {ConfigTypeAllUsers, "t", "b", SysTypeSecond}};
    EXPECT_TRUE(Store().AddConfigs(20, entries, 2));
    EXPECT_EQ(Store().GetConfigEntry(20)->key, "a");
    EXPECT_EQ(Store().GetConfigEntry(21)->path, "t");
    EXPECT_EQ(Store().GetConfigEntry(21)->sys, SysTypeSecond);
    EXPECT_EQ(Store().GetConfigEntry(22), nullptr);
    EXPECT_TRUE(Store().AddConfigs(22, entries, 0));
    EXPECT_TRUE(Store().AddConfigs(22, entries, -1));
}

struct BooleanCase
{
    const char* text;
    bool bValue;
};

constexpr BooleanCase kBooleanCases[] = {
    {"YES", true}, {"yes", true},    {"JA", true},   {"ja", true},    {"Y", true},
    {"y", true},   {"TRUE", true},   {"True", true}, {"1", false},    {"", false},
    {"NO", false}, {"false", false}, {"J", false},   {"YES ", false}, {"YESS", false},
};

TEST_F(ConfigTest, StringBooleanTakesFourWordsForTrue)
{
    for (const BooleanCase& row : kBooleanCases)
    {
        Load("<kmarkclient><s><k>" + std::string(row.text) + "</k></s></kmarkclient>");
        Address("s", "k");
        bool bValue = !row.bValue;
        EXPECT_TRUE(Store().GetStringBoolean(kId, bValue)) << row.text;
        EXPECT_EQ(bValue, row.bValue) << row.text;
    }
}

TEST_F(ConfigTest, StringBooleanThatIsMissingKeepsThePreset)
{
    Store().Init("kmarkclient");
    Address("s", "k");
    bool bValue = true;
    EXPECT_FALSE(Store().GetStringBoolean(kId, bValue));
    EXPECT_TRUE(bValue);
}

TEST_F(ConfigTest, StringBooleanIsStoredAsYesOrNo)
{
    Load("<kmarkclient><s><k>old</k></s></kmarkclient>");
    Address("s", "k");
    EXPECT_TRUE(Store().SetStringBoolean(kId, true));
    EXPECT_EQ(Text("s", "k"), "YES");
    EXPECT_TRUE(Store().SetStringBoolean(kId, false));
    EXPECT_EQ(Text("s", "k"), "NO");
}

TEST_F(ConfigTest, DestroyWritesNothingAndMakesRoomForANewInstance)
{
    const std::string xml = "<kmarkclient><s><k>v</k></s></kmarkclient>";
    Load(xml);
    EXPECT_EQ(Text("s", "k"), "v");
    Store().Destroy();
    EXPECT_EQ(ReadText(PrivateEtc::kConfigFile), xml);
    EXPECT_FALSE(std::filesystem::exists(UserFile()));
    EXPECT_EQ(Store().GetConfigEntry(kId), nullptr);
    EXPECT_FALSE(Store().AddConfig(kId, ConfigTypeAllUsers, "k", "s", SysTypeFirst));
}

TEST_F(ConfigTest, InstanceBeyondTheNextSlotIsNull)
{
    Store();
    const auto size = static_cast<unsigned int>(ConfigVector::vector().size());
    EXPECT_EQ(Config::GetHandle(size + 1), nullptr);
    Config* next = Config::GetHandle(size);
    ASSERT_NE(next, nullptr);
    EXPECT_EQ(ConfigVector::vector().size(), size + 1);
    next->Destroy();
}

TEST_F(ConfigTest, RegisteredInstanceHasItsOwnValues)
{
    PrivateEtc::WriteConfig("<kmarkclient><s><k>v</k></s></kmarkclient>");
    const unsigned int id = Config::Register();
    EXPECT_GE(id, 1U);
    Config* registered = Config::GetHandle(id);
    ASSERT_NE(registered, nullptr);
    EXPECT_TRUE(registered->Init("kmarkclient"));
    EXPECT_TRUE(registered->AddConfig(kId, ConfigTypeAllUsers, "k", "s", SysTypeFirst));
    std::string value;
    EXPECT_TRUE(registered->GetString(kId, value));
    EXPECT_EQ(value, "v");
    EXPECT_EQ(Store().GetConfigEntry(kId), nullptr);
    registered->Destroy();
    EXPECT_EQ(ConfigVector::vector()[id], nullptr);
}

} // namespace
