// A service without readers. A program of its own, since a process meets one service only; built twice.

#include "tests/simulator/PcscService.h"

#include <gtest/gtest.h>
#include <winscard.h>

namespace
{

TEST(PcscNoReadersContract, ListReadersTellsThatThereAreNone)
{
    Simulator::World world;
    const std::unique_ptr<PcscService> service = PcscService::Start(world);
    SCARDCONTEXT context = 0;
    ASSERT_EQ(SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &context), SCARD_S_SUCCESS);
    DWORD length = 0;
    EXPECT_EQ(SCardListReaders(context, nullptr, nullptr, &length), SCARD_E_NO_READERS_AVAILABLE);
    EXPECT_EQ(SCardReleaseContext(context), SCARD_S_SUCCESS);
}

} // namespace
