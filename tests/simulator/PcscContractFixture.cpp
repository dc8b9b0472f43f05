#include "tests/simulator/PcscContractFixture.h"

#include "simulator/cards/Acos03.h"

#include <array>

namespace
{

using Simulator::Bytes;

/** Answers control code 42000001 by its input turned round, and lists one feature. */
class TurningExtension final : public Simulator::ReaderExtension
{
public:
    std::optional<Bytes> Control(std::uint32_t code, Simulator::ByteView input,
                                 const TransmitToCard& /*transmit*/) override
    {
        if (code == CM_IOCTL_GET_FEATURE_REQUEST)
        {
            return Simulator::FromHex("06 04 42 00 00 01");
        }
        if (code == SCARD_CTL_CODE(1))
        {
            return Bytes(input.rbegin(), input.rend());
        }
        return std::nullopt;
    }
};

/** What all suites of the process share. */
struct Surroundings
{
    Surroundings()
    {
        world.AddReader("Contract Reader");
        world.AddReader("Contract Reader");
        world.AddReader("Reader With Features", std::make_shared<TurningExtension>());
        service = PcscService::Start(world);
    }
    Simulator::World world;
    std::unique_ptr<PcscService> service;
};

} // namespace

void PcscContract::SetUp()
{
    World().Swap(kCardReader, Simulator::MakeAcos03());
    ASSERT_EQ(SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &m_Context), SCARD_S_SUCCESS);
    ASSERT_EQ(SCardEstablishContext(SCARD_SCOPE_SYSTEM, nullptr, nullptr, &m_OtherContext), SCARD_S_SUCCESS);
}

void PcscContract::TearDown()
{
    SCardReleaseContext(m_Context);
    SCardReleaseContext(m_OtherContext);
    if (World().CardIn(kEmptyReader))
    {
        World().Remove(kEmptyReader);
    }
}

Simulator::World& PcscContract::World()
{
    static Surroundings surroundings;
    return surroundings.world;
}

std::string PcscContract::Name(std::size_t reader)
{
    static constexpr std::array kNames = {"Contract Reader 00 00", "Contract Reader 01 00",
                                          "Reader With Features 02 00"};
    return kNames.at(reader);
}

Connection PcscContract::Connect(SCARDCONTEXT context, std::size_t reader, DWORD shareMode, DWORD protocols)
{
    Connection connection;
    connection.code = SCardConnect(context, Name(reader).c_str(), shareMode, protocols, &connection.card,
                                   &connection.protocol);
    return connection;
}

Answer PcscContract::Transmit(SCARDHANDLE card, const char* command, DWORD room, const SCARD_IO_REQUEST* pci)
{
    const Bytes bytes = Simulator::FromHex(command);
    Answer answer;
    answer.bytes.resize(512);
    answer.length = room;
    answer.code =
        SCardTransmit(card, pci, bytes.data(), bytes.size(), nullptr, answer.bytes.data(), &answer.length);
    answer.bytes.resize(answer.code == SCARD_S_SUCCESS ? answer.length : 0);
    return answer;
}

CardStatus PcscContract::Status(SCARDHANDLE card, DWORD nameRoom, DWORD atrRoom)
{
    constexpr DWORD kStateMask = 0xFFFF;
    constexpr DWORD kChangesShift = 16;
    CardStatus status;
    std::array<char, 256> name{};
    status.atr.resize(64);
    status.nameLength = nameRoom;
    status.atrLength = atrRoom;
    status.code = SCardStatus(card, name.data(), &status.nameLength, &status.state, &status.protocol,
                              status.atr.data(), &status.atrLength);
    status.name = name.data();
    status.changes = status.state >> kChangesShift;
    status.state &= kStateMask;
    status.atr.resize(status.code == SCARD_S_SUCCESS ? status.atrLength : 0);
    return status;
}

LONG PcscContract::Reconnect(SCARDHANDLE card, DWORD initialization)
{
    DWORD protocol = 0;
    return SCardReconnect(card, SCARD_SHARE_SHARED, SCARD_PROTOCOL_T0 | SCARD_PROTOCOL_T1, initialization,
                          &protocol);
}

Answer PcscContract::GetAttrib(SCARDHANDLE card, DWORD attribute, std::optional<DWORD> room)
{
    Answer answer;
    answer.bytes.resize(128);
    answer.length = room.value_or(0);
    answer.code =
        SCardGetAttrib(card, attribute, room.has_value() ? answer.bytes.data() : nullptr, &answer.length);
    answer.bytes.resize(answer.code == SCARD_S_SUCCESS && room.has_value() ? answer.length : 0);
    return answer;
}

Answer PcscContract::Control(SCARDHANDLE card, DWORD code, const char* input, DWORD room)
{
    const Bytes bytes = Simulator::FromHex(input);
    Answer answer;
    answer.bytes.resize(128);
    answer.length = 77;
    answer.code =
        SCardControl(card, code, bytes.data(), bytes.size(), answer.bytes.data(), room, &answer.length);
    answer.bytes.resize(answer.code == SCARD_S_SUCCESS ? answer.length : 0);
    return answer;
}
