#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"

#include <array>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class SlotAndToken : public CryptokiFixture
{
protected:
    CK_TOKEN_INFO TokenInfo(CK_SLOT_ID slot = kSlot)
    {
        CK_TOKEN_INFO info;
        std::fill_n(reinterpret_cast<unsigned char*>(&info), sizeof(info), static_cast<unsigned char>(0xA5));
        EXPECT_EQ(C_GetTokenInfo(slot, &info), CKR_OK);
        return info;
    }
};

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

TEST_F(SlotAndToken, NullListAsksForTheCount)
{
    CK_ULONG count = 0;
    EXPECT_EQ(C_GetSlotList(CK_FALSE, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_GetSlotList", "MESSAGE slots available: 3",
                            "MESSAGE returning slot count: 3", "OUT FUNCTION C_GetSlotList returns CKR_OK"));
}

TEST_F(SlotAndToken, ListIsCopied)
{
    std::array<CK_SLOT_ID, 4> slots = {9, 9, 9, 9};
    CK_ULONG count = slots.size();
    EXPECT_EQ(C_GetSlotList(CK_FALSE, slots.data(), &count), CKR_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_THAT(slots, ElementsAre(0, 1, 2, 9));
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_GetSlotList", "MESSAGE slots available: 3",
                                   "MESSAGE adding slotid: 0", "MESSAGE adding slotid: 1",
                                   "MESSAGE adding slotid: 2", "MESSAGE returning slot count: 3",
                                   "OUT FUNCTION C_GetSlotList returns CKR_OK"));
}

TEST_F(SlotAndToken, SmallListIsLeftAloneAndTheCountTold)
{
    std::array<CK_SLOT_ID, 2> slots = {9, 9};
    CK_ULONG count = slots.size();
    EXPECT_EQ(C_GetSlotList(CK_FALSE, slots.data(), &count), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 3U);
    EXPECT_THAT(slots, ElementsAre(9, 9));
    EXPECT_THAT(Log(), Contains("MESSAGE returning slot count: 3"));
}

TEST_F(SlotAndToken, ListOfTheExactLengthSuffices)
{
    std::array<CK_SLOT_ID, 3> slots = {};
    CK_ULONG count = slots.size();
    EXPECT_EQ(C_GetSlotList(CK_FALSE, slots.data(), &count), CKR_OK);
}

TEST_F(SlotAndToken, OnlyTheValueOneAsksForSlotsWithACard)
{
    CK_ULONG count = 0;
    EXPECT_EQ(C_GetSlotList(1, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 2U);
    EXPECT_EQ(C_GetSlotList(2, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 3U);
    EXPECT_EQ(C_GetSlotList(0xFF, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 3U);
}

TEST_F(SlotAndToken, NoReaderGivesACountOfZero)
{
    FakeSlots::Instance().slots.clear();
    CK_ULONG count = 7;
    EXPECT_EQ(C_GetSlotList(CK_FALSE, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 0U);
}

TEST_F(SlotAndToken, SlotInfoShowsNameAndItsFirstWordBlankPadded)
{
    CK_SLOT_INFO info = {};
    info.hardwareVersion = {9, 9};
    info.firmwareVersion = {9, 9};

    EXPECT_EQ(C_GetSlotInfo(kOtherSlot, &info), CKR_OK);

    EXPECT_EQ(Field(info.slotDescription), Padded("Acme Reader 01 00", 64));
    EXPECT_EQ(Field(info.manufacturerID), Padded("Acme", 32));
    EXPECT_EQ(info.flags, 7U);
    EXPECT_EQ(info.hardwareVersion.major, 0);
    EXPECT_EQ(info.hardwareVersion.minor, 0);
    EXPECT_EQ(info.firmwareVersion.major, 0);
    EXPECT_EQ(info.firmwareVersion.minor, 0);
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_GetSlotInfo", "MESSAGE SlotID: 1",
                                   "OUT FUNCTION C_GetSlotInfo returns CKR_OK"));
}

TEST_F(SlotAndToken, EmptySlotHasNoTokenFlag)
{
    CK_SLOT_INFO info = {};
    EXPECT_EQ(C_GetSlotInfo(kEmptySlot, &info), CKR_OK);
    EXPECT_EQ(info.flags, 6U);
}

TEST_F(SlotAndToken, SlotInfoTouchesNoToken)
{
    CK_SLOT_INFO info = {};
    EXPECT_EQ(C_GetSlotInfo(kSlot, &info), CKR_OK);
    EXPECT_THAT(FakeSlots::Instance().calls, IsEmpty());
    EXPECT_EQ(FakeSlots::Instance().tokenLookUps, 0U);
}

TEST_F(SlotAndToken, LongReaderNameIsCut)
{
    FakeSlots::Instance().slots[kSlot].name = std::string(100, 'x');
    CK_SLOT_INFO info = {};
    EXPECT_EQ(C_GetSlotInfo(kSlot, &info), CKR_OK);
    EXPECT_EQ(Field(info.slotDescription), std::string(64, 'x'));
    EXPECT_EQ(Field(info.manufacturerID), std::string(32, 'x'));
}

TEST_F(SlotAndToken, SlotInfoRefusesNullAndUnknownSlots)
{
    CK_SLOT_INFO info = {};
    EXPECT_EQ(C_GetSlotInfo(99, nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(C_GetSlotInfo(99, &info), CKR_SLOT_ID_INVALID);
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_GetSlotInfo", "MESSAGE SlotID: 99",
                                   "ERROR pInfo pointer is NULL", StartsWith("OUT FUNCTION"),
                                   "IN FUNCTION C_GetSlotInfo", "MESSAGE SlotID: 99", "ERROR invalid slotId",
                                   "OUT FUNCTION C_GetSlotInfo returns CKR_SLOT_ID_INVALID"));
}

TEST_F(SlotAndToken, WaitPassesTheFlagAndTheResultOn)
{
    CK_SLOT_ID slot = 9;
    EXPECT_EQ(C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr), CKR_NO_EVENT);
    EXPECT_EQ(slot, 9U);
    FakeSlots::Instance().waitResult = CKR_OK;
    EXPECT_EQ(C_WaitForSlotEvent(~CKF_DONT_BLOCK, &slot, &slot), CKR_OK);
    EXPECT_EQ(slot, 1U);
    FakeSlots::Instance().waitResult = CKR_CRYPTOKI_NOT_INITIALIZED;
    EXPECT_EQ(C_WaitForSlotEvent(0, &slot, nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);

    EXPECT_THAT(FakeSlots::Instance().calls,
                ElementsAre("WaitForSlotEvent(true)", "WaitForSlotEvent(false)", "WaitForSlotEvent(false)"));
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_WaitForSlotEvent",
                                   "MESSAGE Called WaitForSlotEvent with don't block flag = 1",
                                   "OUT FUNCTION C_WaitForSlotEvent returns CKR_NO_EVENT",
                                   "IN FUNCTION C_WaitForSlotEvent",
                                   "MESSAGE Called WaitForSlotEvent with don't block flag = 0",
                                   "OUT FUNCTION C_WaitForSlotEvent returns CKR_OK",
                                   "IN FUNCTION C_WaitForSlotEvent",
                                   "MESSAGE Called WaitForSlotEvent with don't block flag = 0",
                                   "OUT FUNCTION C_WaitForSlotEvent returns CKR_CRYPTOKI_NOT_INITIALIZED"));
}

TEST_F(SlotAndToken, TokenInfoShowsTheTokensTexts)
{
    const CK_TOKEN_INFO info = TokenInfo();
    EXPECT_EQ(Field(info.label), Padded("test token", 32));
    EXPECT_EQ(Field(info.manufacturerID), Padded("test manufacturer", 32));
    EXPECT_EQ(Field(info.model), Padded("test model", 16));
    EXPECT_EQ(Field(info.serialNumber), "8040000012345678");
    EXPECT_EQ(Field(info.utcTime), std::string(16, ' '));
}

TEST_F(SlotAndToken, TokenInfoGivesTheFixedNumbers)
{
    const CK_TOKEN_INFO info = TokenInfo();
    EXPECT_EQ(info.flags, 0x50EU);
    EXPECT_EQ(info.ulMaxSessionCount, 0U);
    EXPECT_EQ(info.ulMaxRwSessionCount, 0U);
    EXPECT_EQ(info.ulRwSessionCount, 0U);
    EXPECT_EQ(info.ulMaxPinLen, 8U);
    EXPECT_EQ(info.ulMinPinLen, 4U);
    EXPECT_EQ(info.ulTotalPublicMemory, ~0UL);
    EXPECT_EQ(info.ulFreePublicMemory, ~0UL);
    EXPECT_EQ(info.ulTotalPrivateMemory, ~0UL);
    EXPECT_EQ(info.ulFreePrivateMemory, ~0UL);
    EXPECT_EQ(info.hardwareVersion.major, 1);
    EXPECT_EQ(info.hardwareVersion.minor, 0);
    EXPECT_EQ(info.firmwareVersion.major, 1);
    EXPECT_EQ(info.firmwareVersion.minor, 0);
}

TEST_F(SlotAndToken, SessionsOfOtherSlotsAreCounted)
{
    CK_SESSION_HANDLE session = 0;
    ASSERT_EQ(C_OpenSession(kOtherSlot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session),
              CKR_OK);
    EXPECT_EQ(TokenInfo().ulSessionCount, 1U);
    EXPECT_EQ(TokenInfo().ulRwSessionCount, 0U);
    Open();
    EXPECT_EQ(TokenInfo().ulSessionCount, 2U);
    ASSERT_EQ(C_CloseSession(session), CKR_OK);
    EXPECT_EQ(TokenInfo().ulSessionCount, 1U);
}

TEST_F(SlotAndToken, FlagsFollowThePinResult)
{
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long* retries) {
        *retries = 1;
        return CKR_PIN_INCORRECT;
    };
    ASSERT_EQ(Login(Open(), "9999"), CKR_PIN_INCORRECT);
    EXPECT_EQ(TokenInfo().flags, 0x3050EU);
}

TEST_F(SlotAndToken, SerialNumberIsCutAndShownEvenIfItIsNotWellFormed)
{
    m_Token.OnIdentifier = [](std::string& text) {
        text = "not sixteen digits but more";
        return true;
    };
    EXPECT_EQ(Field(TokenInfo().serialNumber), "not sixteen digi");
    m_Token.OnIdentifier = [](std::string& text) {
        text.clear();
        return false;
    };
    EXPECT_EQ(Field(TokenInfo().serialNumber), std::string(16, ' '));
}

TEST_F(SlotAndToken, TokenInfoLooksWhetherTheTokenIsStillTheRightOne)
{
    TokenInfo(kOtherSlot);
    EXPECT_THAT(FakeSlots::Instance().calls, ElementsAre("reload(1)"));
}

TEST_F(SlotAndToken, TokenInfoRefusals)
{
    CK_TOKEN_INFO info = {};
    EXPECT_EQ(C_GetTokenInfo(99, nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(C_GetTokenInfo(99, &info), CKR_SLOT_ID_INVALID);
    EXPECT_EQ(C_GetTokenInfo(kEmptySlot, &info), CKR_TOKEN_NOT_PRESENT);
    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_GetTokenInfo", "ERROR pInfo is NULL", StartsWith("OUT FUNCTION"),
                            "IN FUNCTION C_GetTokenInfo", "ERROR invalid slotId", StartsWith("OUT FUNCTION"),
                            "IN FUNCTION C_GetTokenInfo", "ERROR cannot load card token, card token is NULL",
                            "OUT FUNCTION C_GetTokenInfo returns CKR_TOKEN_NOT_PRESENT"));
}

TEST_F(SlotAndToken, MechanismListIsThatOfTheSlotList)
{
    CK_ULONG count = 0;
    FakeSlots::Instance().mechanismListResult = CKR_BUFFER_TOO_SMALL;
    EXPECT_EQ(C_GetMechanismList(kOtherSlot, nullptr, &count), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(count, 8U);
    EXPECT_THAT(FakeSlots::Instance().calls, ElementsAre("GetMechanismList(1)"));
}

TEST_F(SlotAndToken, EverythingIsRefusedBeforeInitialisation)
{
    bCryptokiInitialized = 0;
    CK_ULONG count = 0;
    CK_SLOT_INFO slotInfo = {};
    CK_TOKEN_INFO tokenInfo = {};
    CK_SLOT_ID slot = 0;
    EXPECT_EQ(C_GetSlotList(CK_FALSE, nullptr, &count), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_GetSlotInfo(kSlot, &slotInfo), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_GetTokenInfo(kSlot, &tokenInfo), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_GetMechanismList(kSlot, nullptr, &count), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_WaitForSlotEvent(CKF_DONT_BLOCK, &slot, nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
}
