#include "simulator/pcscd/PrivatePcscd.h"

#include "simulator/cards/Acos03.h"

#include <cstdlib>
#include <filesystem>
#include <stdexcept>

#include <gtest/gtest.h>
#include <winscard.h>

namespace
{

using Simulator::PrivatePcscd;

LONG ConnectFirstReader()
{
    SCARDCONTEXT context = 0;
    if (const LONG code = SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context);
        code != SCARD_S_SUCCESS)
    {
        return code;
    }
    SCARDHANDLE card = 0;
    DWORD protocol = 0;
    const LONG code =
        SCardConnect(context, "Only Reader 00 00", SCARD_SHARE_SHARED, SCARD_PROTOCOL_T1, &card, &protocol);
    SCardReleaseContext(context);
    return code;
}

TEST(PrivatePcscdTest, ServiceThatWentAwayComesBackUnderItsAddress)
{
    Simulator::World world;
    world.AddReader("Only Reader");
    world.Insert(0, Simulator::MakeAcos03());
    PrivatePcscd service(world);
    ::setenv("PCSCLITE_CSOCK_NAME", service.ClientSocket().c_str(), 1);
    EXPECT_EQ(ConnectFirstReader(), SCARD_S_SUCCESS);
    EXPECT_TRUE(service.IsRunning());
    service.Stop();
    EXPECT_FALSE(service.IsRunning());
    EXPECT_NE(ConnectFirstReader(), SCARD_S_SUCCESS);
    service.Start();
    EXPECT_EQ(ConnectFirstReader(), SCARD_S_SUCCESS);
}

TEST(PrivatePcscdTest, ProgramThatDoesNotStartLeavesNothing)
{
    Simulator::World world;
    world.AddReader("Only Reader");
    PrivatePcscd::Settings settings;
    settings.program = "/bin/false";
    EXPECT_THROW(PrivatePcscd(world, settings), std::runtime_error);
    EXPECT_NO_THROW(world.Insert(0, Simulator::MakeAcos03()));
}

TEST(PrivatePcscdTest, FolderGoesWithTheService)
{
    Simulator::World world;
    std::filesystem::path folder;
    {
        const PrivatePcscd service(world);
        folder = service.Folder();
        EXPECT_TRUE(std::filesystem::exists(folder));
    }
    EXPECT_FALSE(std::filesystem::exists(folder));
}

} // namespace
