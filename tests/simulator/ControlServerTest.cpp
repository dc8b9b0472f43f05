#include "simulator/control/ControlServer.h"

#include "simulator/cards/Acos03.h"

#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>
#include <unistd.h>

namespace
{

using Simulator::AskControl;
using Simulator::ControlServer;

class ControlServerTest : public testing::Test
{
protected:
    ControlServerTest() : m_Path("/tmp/kmark-control-test-" + std::to_string(::getpid()))
    {
        m_World.AddReader("first");
        m_World.AddReader("second");
        m_Server = std::make_unique<ControlServer>(m_World, Simulator::CardOptions(), m_Path);
    }
    Simulator::World m_World;
    const std::string m_Path;
    std::unique_ptr<ControlServer> m_Server;
};

TEST_F(ControlServerTest, CardsComeAndGo)
{
    EXPECT_EQ(AskControl(m_Path, "insert 0 acos03"), "ok\n");
    EXPECT_EQ(m_World.CardIn(0)->Kind(), "acos03");
    EXPECT_EQ(AskControl(m_Path, "status"), "ok\n0\tfirst\tacos03\n1\tsecond\tempty\n");
    const auto before = m_World.CardIn(0);
    EXPECT_EQ(AskControl(m_Path, "swap 0 acos03"), "ok\n");
    EXPECT_NE(m_World.CardIn(0), before);
    EXPECT_EQ(AskControl(m_Path, "remove 0"), "ok\n");
    EXPECT_FALSE(m_World.IsPresent(0));
}

TEST_F(ControlServerTest, WhatCannotBeDoneIsRefused)
{
    for (const char* line :
         {"", "  ", "nonsense", "insert", "insert 0", "insert 0 nobody", "insert 2 acos03",
          "insert -1 acos03", "insert x acos03", "insert 0x acos03", "remove 0", "status now"})
    {
        EXPECT_EQ(AskControl(m_Path, line).rfind("error: ", 0), 0U) << line;
    }
    EXPECT_FALSE(m_World.IsPresent(0));
}

TEST_F(ControlServerTest, CommandsCanBeAdded)
{
    m_Server->Add("echo", 1, [](const ControlServer::Words& words) { return words[0] + "\n"; });
    EXPECT_EQ(AskControl(m_Path, "echo hello"), "ok\nhello\n");
}

TEST_F(ControlServerTest, SocketGoesWithTheServer)
{
    EXPECT_TRUE(std::filesystem::exists(m_Path));
    m_Server.reset();
    EXPECT_FALSE(std::filesystem::exists(m_Path));
    EXPECT_THROW(AskControl(m_Path, "status"), std::runtime_error);
}

} // namespace
