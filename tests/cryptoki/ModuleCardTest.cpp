// The module with a card, through the exported functions of the built shared object.

#include "tests/cryptoki/CardFixture.h"
#include "tests/cryptoki/StubTable.h"

#include "simulator/cards/Acos03.h"

#include <array>

namespace
{

using testing::ElementsAre;

class ModuleCard : public CardFixture
{};

template <std::size_t N>
std::string Field(const CK_UTF8CHAR (&field)[N])
{
    return {std::begin(field), std::end(field)};
}

std::string Padded(std::string text, std::size_t length)
{
    text.resize(length, ' ');
    return text;
}

} // namespace

// Slots and tokens.

TEST_F(ModuleCard, SlotsAreUnknownBeforeTheFirstList)
{
    Restart();
    CK_SLOT_INFO info = {};
    EXPECT_EQ(P11().C_GetSlotInfo(kSlot, &info), CKR_SLOT_ID_INVALID);
    EXPECT_EQ(CountSlots(), 2U);
    EXPECT_EQ(P11().C_GetSlotInfo(kSlot, &info), CKR_OK);
}

TEST_F(ModuleCard, SlotListGivesTheSameIdsInBothCalls)
{
    ASSERT_EQ(CountSlots(CK_TRUE), 1U);
    std::array<CK_SLOT_ID, 1> slots = {99};
    CK_ULONG count = 1;
    EXPECT_EQ(P11().C_GetSlotList(CK_TRUE, slots.data(), &count), CKR_OK);
    EXPECT_THAT(slots, ElementsAre(0));
    EXPECT_EQ(P11().C_GetSlotList(CK_FALSE, slots.data(), &count), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 2U);
}

TEST_F(ModuleCard, SlotInfoShowsTheReader)
{
    CK_SLOT_INFO info = {};
    ASSERT_EQ(P11().C_GetSlotInfo(kSlot, &info), CKR_OK);
    EXPECT_EQ(Field(info.slotDescription), Padded("Acme Card Reader 00 00", 64));
    EXPECT_EQ(Field(info.manufacturerID), Padded("Acme", 32));
    EXPECT_EQ(info.flags, 7U);
    ASSERT_EQ(P11().C_GetSlotInfo(kEmptySlot, &info), CKR_OK);
    EXPECT_EQ(info.flags, 6U);
}

TEST_F(ModuleCard, TokenInfoShowsTheCard)
{
    CK_TOKEN_INFO info = {};
    ASSERT_EQ(P11().C_GetTokenInfo(kSlot, &info), CKR_OK);
    EXPECT_EQ(Field(info.label), Padded("k.mark premium a", 32));
    EXPECT_EQ(Field(info.manufacturerID), Padded("Norvik", 32));
    EXPECT_EQ(Field(info.model), Padded("ACOS EMV-A03", 16));
    EXPECT_EQ(Field(info.serialNumber), "8040000012345678");
    EXPECT_EQ(info.flags, 0x50EU);
    EXPECT_EQ(P11().C_GetTokenInfo(kEmptySlot, &info), CKR_TOKEN_NOT_PRESENT);
    EXPECT_EQ(P11().C_GetTokenInfo(99, &info), CKR_SLOT_ID_INVALID);
}

TEST_F(ModuleCard, TokenInfoCountsTheSessionsOfOtherSlots)
{
    m_World.Insert(kEmptySlot, Simulator::MakeAcos03());
    static_cast<void>(Open(kEmptySlot));
    CK_TOKEN_INFO info = {};
    ASSERT_EQ(P11().C_GetTokenInfo(kSlot, &info), CKR_OK);
    EXPECT_EQ(info.ulSessionCount, 1U);
}

TEST_F(ModuleCard, MechanismInfoRefusesAListedMechanism)
{
    std::array<CK_MECHANISM_TYPE, 8> mechanisms = {};
    CK_ULONG count = mechanisms.size();
    ASSERT_EQ(P11().C_GetMechanismList(kSlot, mechanisms.data(), &count), CKR_OK);
    EXPECT_THAT(mechanisms,
                ElementsAre(CKM_RSA_PKCS, CKM_SHA1_RSA_PKCS, CKM_RIPEMD160_RSA_PKCS, CKM_SHA256_RSA_PKCS,
                            CKM_SHA384_RSA_PKCS, CKM_SHA224_RSA_PKCS, CKM_ECDSA, CKM_ECDSA_SHA1));
    CK_MECHANISM_INFO info = {};
    EXPECT_EQ(P11().C_GetMechanismInfo(kSlot, mechanisms[0], &info), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_EQ(P11().C_GetMechanismList(kEmptySlot, nullptr, &count), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(count, 0U);
}

TEST_F(ModuleCard, EventWithoutAChangeIsNone)
{
    CK_SLOT_ID slot = 77;
    EXPECT_EQ(P11().C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr), CKR_NO_EVENT);
    EXPECT_EQ(slot, 77U);
    m_World.Insert(kEmptySlot, Simulator::MakeAcos03());
    EXPECT_EQ(P11().C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr), CKR_OK);
    EXPECT_EQ(slot, kEmptySlot);
}

// Sessions.

TEST_F(ModuleCard, OpenSessionChecksFlagsAndSlot)
{
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(P11().C_OpenSession(kSlot, 0, nullptr, nullptr, &session), CKR_SESSION_PARALLEL_NOT_SUPPORTED);
    EXPECT_EQ(P11().C_OpenSession(kSlot, CKF_SERIAL_SESSION | 1, nullptr, nullptr, &session),
              CKR_ARGUMENTS_BAD);
    EXPECT_EQ(P11().C_OpenSession(99, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_GENERAL_ERROR);
    EXPECT_EQ(P11().C_OpenSession(kEmptySlot, CKF_SERIAL_SESSION, nullptr, nullptr, &session),
              CKR_GENERAL_ERROR);
    CK_SLOT_INFO info = {};
    EXPECT_EQ(P11().C_GetSlotInfo(99, &info), CKR_SLOT_ID_INVALID);
    EXPECT_EQ(P11().C_OpenSession(kSlot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session),
              CKR_OK);
    CK_SESSION_INFO sessionInfo = {};
    ASSERT_EQ(P11().C_GetSessionInfo(session, &sessionInfo), CKR_OK);
    EXPECT_EQ(sessionInfo.state, CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(sessionInfo.flags, CKF_SERIAL_SESSION | CKF_RW_SESSION);
}

TEST_F(ModuleCard, HandlesFollowTheTable)
{
    EXPECT_EQ(Open(), 42125U);
    EXPECT_EQ(Open(), 42126U);
    EXPECT_EQ(Open(), 42127U);
    // Out of range names the first entry.
    EXPECT_EQ(P11().C_CloseSession(1), CKR_OK);
    EXPECT_EQ(P11().C_CloseSession(1), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Open(), 42125U);
    EXPECT_EQ(P11().C_CloseSession(42126), CKR_OK);
    EXPECT_EQ(P11().C_CloseSession(42126), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(P11().C_CloseSession(42127), CKR_OK);
    EXPECT_EQ(Open(), 42127U);
    EXPECT_EQ(Open(), 42126U);
    EXPECT_EQ(P11().C_CloseAllSessions(99), CKR_OK);
    EXPECT_EQ(Open(), 42125U);
}

TEST_F(ModuleCard, InventedHandleLogsInToTheFirstSession)
{
    static_cast<void>(Open());
    EXPECT_EQ(Login(4), CKR_OK);
    EXPECT_EQ(StateOf(42125), CKS_RO_USER_FUNCTIONS);
}

TEST_F(ModuleCard, StubsAnswer)
{
    for (const StubRow& row : kAnyTime)
    {
        EXPECT_EQ(row.call(P11()), CKR_FUNCTION_NOT_SUPPORTED) << row.name;
    }
    for (const StubRow& row : kOnceInitialised)
    {
        EXPECT_EQ(row.call(P11()), CKR_FUNCTION_NOT_SUPPORTED) << row.name;
    }
    const CK_SESSION_HANDLE session = Open();
    for (const SessionStubRow& row : kWithSession)
    {
        EXPECT_EQ(row.call(P11(), session), row.rv) << row.name;
    }
    ASSERT_EQ(P11().C_CloseAllSessions(kSlot), CKR_OK);
    for (const SessionStubRow& row : kWithSession)
    {
        EXPECT_EQ(row.call(P11(), session), CKR_SESSION_HANDLE_INVALID) << row.name;
    }
    ASSERT_EQ(P11().C_Finalize(nullptr), CKR_OK);
    for (const StubRow& row : kAnyTime)
    {
        EXPECT_EQ(row.call(P11()), CKR_FUNCTION_NOT_SUPPORTED) << row.name;
    }
    for (const StubRow& row : kOnceInitialised)
    {
        EXPECT_EQ(row.call(P11()), CKR_CRYPTOKI_NOT_INITIALIZED) << row.name;
    }
    for (const SessionStubRow& row : kWithSession)
    {
        EXPECT_EQ(row.call(P11(), session), CKR_CRYPTOKI_NOT_INITIALIZED) << row.name;
    }
}

// Objects.

TEST_F(ModuleCard, SearchFollowsItsStates)
{
    const CK_SESSION_HANDLE session = Open();
    std::array<CK_OBJECT_HANDLE, 10> found = {};
    CK_ULONG count = 0;
    ASSERT_EQ(P11().C_FindObjectsInit(session, nullptr, 0), CKR_OK);
    EXPECT_EQ(P11().C_FindObjectsInit(session, nullptr, 0), CKR_OPERATION_ACTIVE);
    EXPECT_EQ(P11().C_FindObjects(session, found.data(), 0, &count), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(P11().C_FindObjects(session, found.data(), found.size(), &count), CKR_OK);
    EXPECT_EQ(count, 7U);
    EXPECT_EQ(found[0], 1000U);
    EXPECT_EQ(found[6], 1006U);
    EXPECT_EQ(P11().C_FindObjects(session, found.data(), found.size(), &count), CKR_OK);
    EXPECT_EQ(count, 0U);
    EXPECT_EQ(P11().C_FindObjectsFinal(session), CKR_OK);
    EXPECT_EQ(P11().C_FindObjectsFinal(session), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(ModuleCard, ModulusBitsHoldBytes)
{
    const CK_SESSION_HANDLE session = Open();
    FindObjects(session);
    CK_ULONG bits = 0;
    CK_ATTRIBUTE entry = {CKA_MODULUS_BITS, &bits, sizeof(bits)};
    ASSERT_EQ(P11().C_GetAttributeValue(session, kEncPublicKey, &entry, 1), CKR_OK);
    EXPECT_EQ(bits, 192U);
    EXPECT_EQ(Attribute(session, kEncPublicKey, CKA_MODULUS)->size(), 192U);
}

TEST_F(ModuleCard, AttributesAreReadFromTheCardOnce)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_TRUE(Attribute(session, kEncCertificate, CKA_VALUE).has_value());
    CommandsSince();
    EXPECT_TRUE(Attribute(session, kEncCertificate, CKA_VALUE).has_value());
    EXPECT_TRUE(Attribute(session, kEncCertificate, CKA_SUBJECT).has_value());
    EXPECT_TRUE(Attribute(session, kEncPublicKey, CKA_MODULUS).has_value());
    EXPECT_EQ(CommandsSince(), 0U);
}

TEST_F(ModuleCard, FailuresOfATemplateHaveTheirPrecedence)
{
    const CK_SESSION_HANDLE session = Open();
    FindObjects(session);
    std::array<char, 4> small = {};
    std::array<CK_ATTRIBUTE, 2> entries = {{{CKA_LABEL, small.data(), small.size()}, {CKA_URL, nullptr, 0}}};
    EXPECT_EQ(P11().C_GetAttributeValue(session, kEncCertificate, entries.data(), 2), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(entries[0].ulValueLen, ~0UL);
    EXPECT_EQ(entries[1].ulValueLen, ~0UL);
    std::swap(entries[0], entries[1]);
    entries[1].ulValueLen = small.size();
    EXPECT_EQ(P11().C_GetAttributeValue(session, kEncCertificate, entries.data(), 2), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(P11().C_GetAttributeValue(session, kEncCertificate, entries.data(), 1),
              CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(P11().C_GetAttributeValue(session, kEncCertificate, nullptr, 0), CKR_OK);
    EXPECT_EQ(P11().C_GetAttributeValue(session, 1007, nullptr, 0), CKR_OBJECT_HANDLE_INVALID);
}

// Cards that come and go.

TEST_F(ModuleCard, PulledCardIsNoticedAndABackComingOneServesTheOldSession)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    m_World.Remove(kSlot);
    CK_TOKEN_INFO info = {};
    EXPECT_EQ(P11().C_GetTokenInfo(kSlot, &info), CKR_TOKEN_NOT_PRESENT);
    EXPECT_EQ(P11().C_FindObjectsInit(session, nullptr, 0), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);

    m_World.Insert(kSlot, m_Card);
    EXPECT_EQ(P11().C_GetTokenInfo(kSlot, &info), CKR_OK);
    EXPECT_EQ(P11().C_FindObjectsInit(session, nullptr, 0), CKR_OK);
}

TEST_F(ModuleCard, CardIsReachedWithTheFewestCommands)
{
    Restart();
    CommandsSince();
    ASSERT_EQ(CountSlots(), 2U);
    const CK_SESSION_HANDLE session = Open();
    EXPECT_EQ(CommandsSince(), 6U);
    static_cast<void>(Open());
    EXPECT_EQ(CommandsSince(), 2U);
    ASSERT_EQ(Login(session), CKR_OK);
    EXPECT_EQ(CommandsSince(), 5U);
}
