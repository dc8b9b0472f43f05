#pragma once

#include "LibConfig/Config.h"

#include "tests/support/PrivateEtc.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TemporaryDirectory.h"
#include "tests/support/TextFile.h"

#include <filesystem>
#include <optional>
#include <string>

#include <gtest/gtest.h>

/** A private /etc without settings, an empty home, and the store's slot 0 not initialised. */
class ConfigFixture : public testing::Test
{
protected:
    static constexpr unsigned int kId = 7;

    void SetUp() override
    {
        if (!PrivateEtc::Enter())
        {
            GTEST_SKIP() << "this machine allows no private mount namespace, so /etc is left alone";
        }
        PrivateEtc::Clear();
        m_Environment.emplace("HOME", m_Home.Path().c_str());
    }
    void TearDown() override
    {
        Norvik::Config::GetHandle(0)->Destroy();
        m_Environment.reset();
    }

    static Norvik::Config& Store() { return *Norvik::Config::GetHandle(0); }

    [[nodiscard]] std::string UserFile() const { return m_Home.File(".norvik/kmarkclient/config"); }
    void WriteUserConfig(const std::string& xml) const
    {
        std::filesystem::create_directories(m_Home.File(".norvik/kmarkclient"));
        WriteText(UserFile(), xml);
    }

    /** Reads the settings of all users from @p xml. */
    static void Load(const std::string& xml)
    {
        PrivateEtc::WriteConfig(xml);
        Norvik::Config::GetHandle(0)->Destroy();
        ASSERT_TRUE(Store().Init("kmarkclient"));
    }
    /** Registers kId for a value of all users. */
    static void Address(const std::string& path, const std::string& key)
    {
        Store().AddConfig(kId, Norvik::ConfigTypeAllUsers, key, path, Norvik::SysTypeFirst);
    }
    /** The text of a value of all users; "(none)" if there is none. */
    static std::string Text(const std::string& path, const std::string& key)
    {
        Address(path, key);
        std::string value = "(none)";
        Store().GetString(kId, value);
        return value;
    }

    TemporaryDirectory m_Home;
    std::optional<ScopedEnvironment> m_Environment;
};
