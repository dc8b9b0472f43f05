// What clients of PC/SC rely on. Built twice: against the real pcscd with the simulator's driver, and against the
// double, which must not be told apart.

#include "tests/simulator/PcscContractFixture.h"

#include <initializer_list>
#include <ostream>

namespace
{

using Simulator::Bytes;
using Simulator::FromHex;

constexpr const char* kSelectMf = "00 A4 00 0C 02 3F 00";
constexpr const char* kSelectDfDec = "00 A4 00 0C 02 DF 71";
constexpr const char* kSelectCertificate = "00 A4 00 0C 02 C0 01";
constexpr const char* kReadAll = "00 B0 00 00 00";
constexpr DWORD kPresentAndPowered = SCARD_PRESENT | SCARD_POWERED | SCARD_NEGOTIABLE;

const Bytes kAtr = FromHex("3B BF 11 00 81 31 FE 45 45 50 41 20 4B 4D 41 52 4B 20 53 49 4D 20 31 E9");

TEST_F(PcscContract, EachKnownScopeGivesAContext)
{
    for (const DWORD scope : std::initializer_list<DWORD>{SCARD_SCOPE_USER, SCARD_SCOPE_TERMINAL,
                                                          SCARD_SCOPE_SYSTEM, SCARD_SCOPE_GLOBAL})
    {
        SCARDCONTEXT context = 0;
        EXPECT_EQ(SCardEstablishContext(scope, nullptr, nullptr, &context), SCARD_S_SUCCESS);
        EXPECT_EQ(SCardIsValidContext(context), SCARD_S_SUCCESS);
        EXPECT_EQ(SCardReleaseContext(context), SCARD_S_SUCCESS);
        EXPECT_EQ(SCardIsValidContext(context), SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(SCardReleaseContext(context), SCARD_E_INVALID_HANDLE);
    }
}

TEST_F(PcscContract, UnknownScopeIsRefused)
{
    SCARDCONTEXT context = 0;
    EXPECT_EQ(SCardEstablishContext(7, nullptr, nullptr, &context), SCARD_E_INVALID_VALUE);
}

TEST_F(PcscContract, ListReadersTellsLengthFirstThenNames)
{
    const std::string expected =
        std::string("Contract Reader 00 00\0Contract Reader 01 00\0Reader With Features 02 00\0", 71) + '\0';
    DWORD length = 0;
    ASSERT_EQ(SCardListReaders(m_Context, nullptr, nullptr, &length), SCARD_S_SUCCESS);
    EXPECT_EQ(length, 72U);
    std::string names(length, 'x');
    ASSERT_EQ(SCardListReaders(m_Context, nullptr, names.data(), &length), SCARD_S_SUCCESS);
    EXPECT_EQ(names, expected);
    EXPECT_EQ(length, 72U);
}

TEST_F(PcscContract, ListReadersIntoTooLittleRoomTellsTheLength)
{
    std::string names(10, 'x');
    DWORD length = 10;
    EXPECT_EQ(SCardListReaders(m_Context, nullptr, names.data(), &length), SCARD_E_INSUFFICIENT_BUFFER);
    EXPECT_EQ(length, 72U);
}

TEST_F(PcscContract, ListReadersNeedsAContext)
{
    DWORD length = 0;
    EXPECT_EQ(SCardListReaders(4711, nullptr, nullptr, &length), SCARD_E_INVALID_HANDLE);
    EXPECT_EQ(length, 0U);
}

struct ConnectCase
{
    const char* name;
    std::size_t reader;
    DWORD shareMode;
    DWORD protocols;
    LONG code;
    DWORD protocol;
};

void PrintTo(const ConnectCase& row, std::ostream* out)
{
    *out << row.name;
}

class PcscContractConnect : public PcscContract, public testing::WithParamInterface<ConnectCase>
{};

TEST_P(PcscContractConnect, GivesTheCodeAndTheProtocol)
{
    const ConnectCase& row = GetParam();
    const Connection connection = Connect(m_Context, row.reader, row.shareMode, row.protocols);
    EXPECT_EQ(connection.code, row.code);
    EXPECT_EQ(connection.protocol, row.protocol);
    EXPECT_EQ(connection.card != 0, row.code == SCARD_S_SUCCESS);
}

INSTANTIATE_TEST_SUITE_P(
    All, PcscContractConnect,
    testing::Values(ConnectCase{"Card", 0, SCARD_SHARE_SHARED, 3, SCARD_S_SUCCESS, SCARD_PROTOCOL_T1},
                    ConnectCase{"CardT1", 0, SCARD_SHARE_SHARED, 2, SCARD_S_SUCCESS, SCARD_PROTOCOL_T1},
                    ConnectCase{"CardExclusive", 0, SCARD_SHARE_EXCLUSIVE, 3, SCARD_S_SUCCESS,
                                SCARD_PROTOCOL_T1},
                    ConnectCase{"CardT0", 0, SCARD_SHARE_SHARED, 1, SCARD_E_PROTO_MISMATCH, 0},
                    ConnectCase{"NoProtocol", 0, SCARD_SHARE_SHARED, 0, SCARD_E_PROTO_MISMATCH, 0},
                    ConnectCase{"NoShareMode", 0, 0, 3, SCARD_E_INVALID_VALUE, 0},
                    ConnectCase{"Empty", 1, SCARD_SHARE_SHARED, 3, SCARD_E_NO_SMARTCARD, 0},
                    ConnectCase{"EmptyDirect", 1, SCARD_SHARE_DIRECT, 0, SCARD_S_SUCCESS, 0}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(PcscContract, ConnectToUnknownReaderOrContextIsRefused)
{
    SCARDHANDLE card = 0;
    DWORD protocol = 0;
    EXPECT_EQ(SCardConnect(m_Context, "Nobody", SCARD_SHARE_SHARED, 3, &card, &protocol),
              SCARD_E_UNKNOWN_READER);
    EXPECT_EQ(Connect(4711, kCardReader).code, SCARD_E_INVALID_HANDLE);
}

TEST_F(PcscContract, StatusTellsNameStateProtocolAndAtr)
{
    const CardStatus status = Status(Connect(m_Context, kCardReader).card);
    EXPECT_EQ(status.code, SCARD_S_SUCCESS);
    EXPECT_EQ(status.name, "Contract Reader 00 00");
    EXPECT_EQ(status.nameLength, 22U);
    EXPECT_EQ(status.state, kPresentAndPowered);
    EXPECT_EQ(status.protocol, static_cast<DWORD>(SCARD_PROTOCOL_T1));
    EXPECT_EQ(status.atr, kAtr);
}

TEST_F(PcscContract, StatusTakes32BytesForTheAtrAndNoNameAtAll)
{
    const Connection connection = Connect(m_Context, kCardReader);
    Bytes atr(32);
    DWORD length = 32;
    EXPECT_EQ(SCardStatus(connection.card, nullptr, nullptr, nullptr, nullptr, atr.data(), &length),
              SCARD_S_SUCCESS);
    EXPECT_EQ(length, kAtr.size());
}

TEST_F(PcscContract, StatusWithTooLittleRoomTellsTheLengths)
{
    const Connection connection = Connect(m_Context, kCardReader);
    const CardStatus noAtr = Status(connection.card, 128, 5);
    EXPECT_EQ(noAtr.code, SCARD_E_INSUFFICIENT_BUFFER);
    EXPECT_EQ(noAtr.atrLength, kAtr.size());
    const CardStatus noName = Status(connection.card, 5, 33);
    EXPECT_EQ(noName.code, SCARD_E_INSUFFICIENT_BUFFER);
    EXPECT_EQ(noName.nameLength, 22U);
}

TEST_F(PcscContract, StateCountsInsertionsAndRemovals)
{
    const DWORD before = Status(Connect(m_Context, kCardReader).card).changes;
    World().Swap(kCardReader, World().Remove(kCardReader));
    EXPECT_EQ(Status(Connect(m_Context, kCardReader).card).changes, before + 2);
}

TEST_F(PcscContract, EmptyReaderConnectedDirectlyTellsThatItIsEmpty)
{
    const Connection connection = Connect(m_Context, kEmptyReader, SCARD_SHARE_DIRECT, 0);
    const CardStatus status = Status(connection.card);
    EXPECT_EQ(status.code, SCARD_S_SUCCESS);
    EXPECT_EQ(status.state, static_cast<DWORD>(SCARD_ABSENT));
    EXPECT_EQ(status.atrLength, 0U);
    EXPECT_EQ(Transmit(connection.card, kSelectMf).code, SCARD_E_NO_SMARTCARD);
    EXPECT_EQ(GetAttrib(connection.card, SCARD_ATTR_ICC_PRESENCE).bytes, Bytes{0x00});
}

TEST_F(PcscContract, HandlesThatNobodyGaveAreInvalid)
{
    for (const SCARDHANDLE card : {SCARDHANDLE(0), SCARDHANDLE(4711)})
    {
        EXPECT_EQ(Status(card).code, SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(Transmit(card, kSelectMf).code, SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(SCardBeginTransaction(card), SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(SCardEndTransaction(card, SCARD_LEAVE_CARD), SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(Reconnect(card, SCARD_LEAVE_CARD), SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(SCardDisconnect(card, SCARD_LEAVE_CARD), SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(GetAttrib(card, SCARD_ATTR_ATR_STRING).code, SCARD_E_INVALID_HANDLE);
        EXPECT_EQ(Control(card, CM_IOCTL_GET_FEATURE_REQUEST).code, SCARD_E_INVALID_HANDLE);
    }
}

TEST_F(PcscContract, StatusOfAnInvalidHandleReadsAsNothing)
{
    const CardStatus status = Status(0);
    EXPECT_EQ(status.nameLength, 0U);
    EXPECT_EQ(status.atrLength, 0U);
    EXPECT_EQ(status.state, 0U);
    EXPECT_EQ(status.protocol, 0U);
}

TEST_F(PcscContract, TransmitGivesUpTo258Bytes)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    EXPECT_EQ(Transmit(card, kSelectDfDec).bytes, FromHex("90 00"));
    EXPECT_EQ(Transmit(card, kSelectCertificate).bytes, FromHex("90 00"));
    const Answer answer = Transmit(card, kReadAll);
    ASSERT_EQ(answer.code, SCARD_S_SUCCESS);
    ASSERT_EQ(answer.bytes.size(), 258U);
    EXPECT_EQ(answer.bytes[0], 0x30);
    EXPECT_EQ(Bytes(answer.bytes.end() - 2, answer.bytes.end()), FromHex("90 00"));
}

TEST_F(PcscContract, TransmitWithTooLittleRoomTellsTheLength)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    const Answer answer = Transmit(card, kSelectMf, 1);
    EXPECT_EQ(answer.code, SCARD_E_INSUFFICIENT_BUFFER);
    EXPECT_EQ(answer.length, 2U);
}

TEST_F(PcscContract, TransmitUnderTheOtherProtocolIsRefused)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    const Answer answer = Transmit(card, kSelectMf, 300, SCARD_PCI_T0);
    EXPECT_EQ(answer.code, SCARD_E_PROTO_MISMATCH);
    EXPECT_EQ(answer.length, 0U);
}

TEST_F(PcscContract, CardWithoutAnAnswerIsNotTransacted)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    World().CardIn(kCardReader)->SetHook([](auto, const auto&) { return Bytes(); });
    const Answer answer = Transmit(card, kSelectMf);
    EXPECT_EQ(answer.code, SCARD_E_NOT_TRANSACTED);
    EXPECT_EQ(answer.length, 0U);
}

struct AttributeCase
{
    const char* name;
    DWORD attribute;
    LONG code;
    Bytes value;
};

void PrintTo(const AttributeCase& row, std::ostream* out)
{
    *out << row.name;
}

class PcscContractAttribute : public PcscContract, public testing::WithParamInterface<AttributeCase>
{};

TEST_P(PcscContractAttribute, IsTold)
{
    const Answer answer = GetAttrib(Connect(m_Context, kCardReader).card, GetParam().attribute);
    EXPECT_EQ(answer.code, GetParam().code);
    EXPECT_EQ(answer.bytes, GetParam().value);
}

INSTANTIATE_TEST_SUITE_P(
    All, PcscContractAttribute,
    testing::Values(AttributeCase{"IccPresence", SCARD_ATTR_ICC_PRESENCE, SCARD_S_SUCCESS, {0x02}},
                    AttributeCase{"Atr", SCARD_ATTR_ATR_STRING, SCARD_S_SUCCESS, kAtr},
                    AttributeCase{"FriendlyName", SCARD_ATTR_DEVICE_FRIENDLY_NAME, SCARD_S_SUCCESS,
                                  FromHex("436F6E747261637420526561646572203030203030 00")},
                    AttributeCase{"Vendor", SCARD_ATTR_VENDOR_NAME, SCARD_E_UNSUPPORTED_FEATURE, {}},
                    AttributeCase{"Unknown", 0x123456, SCARD_E_UNSUPPORTED_FEATURE, {}}),
    [](const auto& row) { return std::string(row.param.name); });

TEST_F(PcscContract, AttributeTellsItsLengthWithoutABuffer)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    const Answer query = GetAttrib(card, SCARD_ATTR_ATR_STRING, std::nullopt);
    EXPECT_EQ(query.code, SCARD_S_SUCCESS);
    EXPECT_EQ(query.length, kAtr.size());
}

TEST_F(PcscContract, AttributeWithTooLittleRoomTellsTheLength)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    const Answer answer = GetAttrib(card, SCARD_ATTR_ATR_STRING, 3);
    EXPECT_EQ(answer.code, SCARD_E_INSUFFICIENT_BUFFER);
    EXPECT_EQ(answer.length, kAtr.size());
}

TEST_F(PcscContract, ReaderWithoutFeaturesListsNone)
{
    const SCARDHANDLE card = Connect(m_Context, kCardReader).card;
    const Answer answer = Control(card, CM_IOCTL_GET_FEATURE_REQUEST);
    EXPECT_EQ(answer.code, SCARD_S_SUCCESS);
    EXPECT_EQ(answer.length, 0U);
    const Answer unknown = Control(card, SCARD_CTL_CODE(99));
    EXPECT_EQ(unknown.code, SCARD_E_UNSUPPORTED_FEATURE);
    EXPECT_EQ(unknown.length, 0U);
}

TEST_F(PcscContract, ReaderWithFeaturesAnswersControlCodes)
{
    const SCARDHANDLE card = Connect(m_Context, kFeatureReader, SCARD_SHARE_DIRECT, 0).card;
    EXPECT_EQ(Control(card, CM_IOCTL_GET_FEATURE_REQUEST).bytes, FromHex("06 04 42 00 00 01"));
    EXPECT_EQ(Control(card, SCARD_CTL_CODE(1), "01 02 03").bytes, FromHex("03 02 01"));
    EXPECT_EQ(Control(card, SCARD_CTL_CODE(1), "01 02 03", 2).code, SCARD_E_INSUFFICIENT_BUFFER);
    EXPECT_EQ(Control(card, SCARD_CTL_CODE(2)).code, SCARD_E_UNSUPPORTED_FEATURE);
}

TEST_F(PcscContract, EmptyReaderListsItsFeaturesToo)
{
    const SCARDHANDLE card = Connect(m_Context, kEmptyReader, SCARD_SHARE_DIRECT, 0).card;
    EXPECT_EQ(Control(card, CM_IOCTL_GET_FEATURE_REQUEST).code, SCARD_S_SUCCESS);
}

} // namespace
