#pragma once

#include "simulator/card/Card.h"
#include "simulator/world/World.h"
#include "tests/simulator/PcscService.h"

#include <cstring>
#include <memory>
#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>
#include <reader.h>
#include <winscard.h>

/** A card handle, or the code that the connect ended in. */
struct Connection
{
    LONG code = SCARD_S_SUCCESS;
    SCARDHANDLE card = 0;
    DWORD protocol = 0;
};

struct Answer
{
    LONG code = SCARD_S_SUCCESS;
    DWORD length = 0;
    Simulator::Bytes bytes;
};

struct CardStatus
{
    LONG code = SCARD_S_SUCCESS;
    std::string name;
    DWORD state = 0; ///< without the count of changes
    DWORD changes = 0;
    DWORD protocol = 0;
    Simulator::Bytes atr;
    DWORD nameLength = 0;
    DWORD atrLength = 0;
};

/**
 * Readers: 0 with an ACOS 03 card, 1 empty, 2 with features and no card. Two contexts of two clients.
 *
 * World and service live as long as the process; each test gets a new card in reader 0.
 */
class PcscContract : public testing::Test
{
protected:
    static constexpr std::size_t kCardReader = 0;
    static constexpr std::size_t kEmptyReader = 1;
    static constexpr std::size_t kFeatureReader = 2;

    void SetUp() override;
    void TearDown() override;

    static Simulator::World& World();
    static std::string Name(std::size_t reader);
    static Connection Connect(SCARDCONTEXT context, std::size_t reader, DWORD shareMode = SCARD_SHARE_SHARED,
                              DWORD protocols = SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1);
    static Answer Transmit(SCARDHANDLE card, const char* command, DWORD room = 300,
                           const SCARD_IO_REQUEST* pci = SCARD_PCI_T1);
    static CardStatus Status(SCARDHANDLE card, DWORD nameRoom = 128, DWORD atrRoom = 33);
    static LONG Reconnect(SCARDHANDLE card, DWORD initialization);
    static Answer GetAttrib(SCARDHANDLE card, DWORD attribute, std::optional<DWORD> room = 128);
    static Answer Control(SCARDHANDLE card, DWORD code, const char* input = "", DWORD room = 128);

    SCARDCONTEXT m_Context = 0;
    SCARDCONTEXT m_OtherContext = 0;
};
