#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;

class SessionManagement : public CryptokiFixture
{};

struct OpenCase
{
    const char* name;
    CK_SLOT_ID slot;
    CK_FLAGS flags;
    CK_RV rv;
    const char* line;
};
constexpr OpenCase kRefusals[] = {
    {"NoFlags", 0, 0, CKR_SESSION_PARALLEL_NOT_SUPPORTED, "ERROR parallel session not supported"},
    {"ReadWriteAlone", 0, CKF_RW_SESSION, CKR_SESSION_PARALLEL_NOT_SUPPORTED,
     "ERROR parallel session not supported"},
    {"BitZero", 0, CKF_SERIAL_SESSION | 1, CKR_ARGUMENTS_BAD,
     "ERROR flags for serial and rw session not allowed"},
    {"HighBit", 0, CKF_SERIAL_SESSION | 1UL << 63, CKR_ARGUMENTS_BAD,
     "ERROR flags for serial and rw session not allowed"},
    {"SlotThatDoesNotExist", 99, CKF_SERIAL_SESSION, CKR_GENERAL_ERROR, "ERROR invalid slot ID"},
    {"SlotWithoutToken", 2, CKF_SERIAL_SESSION, CKR_GENERAL_ERROR,
     "ERROR error loading card token, token is NULL"},
};

class OpenSessionRefusal : public CryptokiFixture, public testing::WithParamInterface<OpenCase>
{};

} // namespace

TEST_P(OpenSessionRefusal, GivesCodeAndLineAndNoSession)
{
    CK_SESSION_HANDLE session = 4711;

    EXPECT_EQ(C_OpenSession(GetParam().slot, GetParam().flags, nullptr, nullptr, &session), GetParam().rv);

    EXPECT_EQ(session, 4711U);
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_OpenSession", GetParam().line,
                                   testing::StartsWith("OUT FUNCTION")));
    // The next session is the first one.
    EXPECT_EQ(Open(), 42125U);
}
INSTANTIATE_TEST_SUITE_P(All, OpenSessionRefusal, testing::ValuesIn(kRefusals),
                         [](const auto& row) { return row.param.name; });

TEST_F(SessionManagement, ReadWriteSessionReportsReadOnlyStates)
{
    CK_SESSION_HANDLE session = 0;
    ASSERT_EQ(C_OpenSession(kOtherSlot, CKF_SERIAL_SESSION | CKF_RW_SESSION, nullptr, nullptr, &session),
              CKR_OK);

    CK_SESSION_INFO info = {9, 9, 9, 9};
    EXPECT_EQ(C_GetSessionInfo(session, &info), CKR_OK);

    EXPECT_EQ(info.slotID, kOtherSlot);
    EXPECT_EQ(info.state, CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(info.flags, CKF_SERIAL_SESSION | CKF_RW_SESSION);
    EXPECT_EQ(info.ulDeviceError, 0U);
    ASSERT_EQ(Login(session), CKR_OK);
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
}

TEST_F(SessionManagement, OpeningLooksForTheTokenOfTheSlot)
{
    Open(kOtherSlot);
    EXPECT_THAT(FakeSlots::Instance().calls, ElementsAre("reload(1)"));
}

TEST_F(SessionManagement, ThirdSessionGetsTheHandleOfTheClosedFirst)
{
    EXPECT_EQ(Open(), 42125U);
    EXPECT_EQ(Open(), 42126U);
    ASSERT_EQ(C_CloseSession(42125), CKR_OK);
    EXPECT_EQ(Open(), 42125U);
    EXPECT_EQ(Open(), 42127U);
}

TEST_F(SessionManagement, ClosingAnInventedHandleClosesTheFirstSessionOnce)
{
    Open();
    Open();
    EXPECT_EQ(C_CloseSession(1), CKR_OK);
    EXPECT_EQ(C_CloseSession(1), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(StateOf(42126), CKS_RO_PUBLIC_SESSION);
}

TEST_F(SessionManagement, ClosingTwiceIsRefusedWithoutALineOfItsOwn)
{
    Open();
    Open();
    EXPECT_EQ(C_CloseSession(42126), CKR_OK);
    ClearLog();

    EXPECT_EQ(C_CloseSession(42126), CKR_SESSION_HANDLE_INVALID);

    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_CloseSession",
                                   "OUT FUNCTION C_CloseSession returns CKR_SESSION_HANDLE_INVALID"));
}

TEST_F(SessionManagement, ClosingSessionsSendsNoLogout)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    m_Token.Calls.clear();

    EXPECT_EQ(C_CloseSession(session), CKR_OK);

    EXPECT_THAT(m_Token.Calls, IsEmpty());
    EXPECT_TRUE(m_Token.loggedIn);
    EXPECT_EQ(StateOf(Open()), CKS_RO_PUBLIC_SESSION);
}

TEST_F(SessionManagement, CloseAllClosesTheSessionsOfEverySlot)
{
    Open(kSlot);
    Open(kOtherSlot);

    EXPECT_EQ(C_CloseAllSessions(99), CKR_OK);

    EXPECT_EQ(C_Logout(42125), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_Logout(42126), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Open(kOtherSlot), 42125U);
}

TEST_F(SessionManagement, SessionInfoAnswersAlsoWithoutAToken)
{
    const CK_SESSION_HANDLE session = Open();
    DropToken();
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
}

TEST_F(SessionManagement, SessionInfoPutsTheNullPointerFirst)
{
    EXPECT_EQ(C_GetSessionInfo(42125, nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_GetSessionInfo", "ERROR invalid session handle",
                                   "ERROR invalid session info handle",
                                   "OUT FUNCTION C_GetSessionInfo returns CKR_ARGUMENTS_BAD"));
    ClearLog();
    const CK_SESSION_HANDLE session = Open();
    EXPECT_EQ(C_GetSessionInfo(session, nullptr), CKR_ARGUMENTS_BAD);
    CK_SESSION_INFO info = {9, 9, 9, 9};
    ASSERT_EQ(C_CloseSession(session), CKR_OK);
    EXPECT_EQ(C_GetSessionInfo(session, &info), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(info.slotID, 9U);
}

TEST_F(SessionManagement, LoginIsLoggedInOrder)
{
    const CK_SESSION_HANDLE session = Open();
    ClearLog();

    ASSERT_EQ(Login(session), CKR_OK);

    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_Login", "DEBUG Session::DoLogin",
                            "DEBUG Session::ResetAuthenticated", "OUT FUNCTION C_Login returns CKR_OK"));
}

struct UserCase
{
    const char* name;
    CK_USER_TYPE type;
};
class LoginUserType : public CryptokiFixture, public testing::WithParamInterface<UserCase>
{};

TEST_P(LoginUserType, MakesNoDifference)
{
    const CK_SESSION_HANDLE session = Open();
    std::string pin = "123456";
    std::string given;
    m_Token.OnAuthenticatePin = [&](SmartCardApplication app, const Norvik::ByteArray& bytes,
                                    unsigned long* retries) {
        EXPECT_EQ(app, AppEncryption);
        EXPECT_EQ(*retries, 0U);
        given = Text(bytes);
        return CKR_OK;
    };

    EXPECT_EQ(C_Login(session, GetParam().type, Data(pin), pin.size()), CKR_OK);

    EXPECT_EQ(given, "123456");
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
}
constexpr UserCase kUserTypes[] = {{"User", CKU_USER},
                                   {"SecurityOfficer", CKU_SO},
                                   {"ContextSpecific", CKU_CONTEXT_SPECIFIC},
                                   {"Unknown", 77}};
INSTANTIATE_TEST_SUITE_P(All, LoginUserType, testing::ValuesIn(kUserTypes),
                         [](const auto& row) { return row.param.name; });

TEST_F(SessionManagement, SecondLoginIsALogoutAndAFreshLogin)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    m_Token.Calls.clear();

    EXPECT_EQ(Login(session), CKR_OK);

    EXPECT_THAT(m_Token.Calls, ElementsAre("DeauthenticatePin 0", "AuthenticatePin 0"));
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
}

TEST_F(SessionManagement, FirstLoginDropsTheInvalidApplication)
{
    ASSERT_EQ(Login(Open()), CKR_OK);
    EXPECT_THAT(m_Token.Calls, ElementsAre("DeauthenticatePin 3", "AuthenticatePin 0"));
}

TEST_F(SessionManagement, FailedLoginLeavesAllSessionsOfTheSlotPublic)
{
    const CK_SESSION_HANDLE first = Open();
    const CK_SESSION_HANDLE second = Open();
    ASSERT_EQ(Login(first), CKR_OK);
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_INCORRECT;
    };

    EXPECT_EQ(Login(first, "9999"), CKR_PIN_INCORRECT);

    EXPECT_EQ(StateOf(first), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(StateOf(second), CKS_RO_PUBLIC_SESSION);
}

TEST_F(SessionManagement, LockedPinPassesThrough)
{
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_LOCKED;
    };
    EXPECT_EQ(Login(Open()), CKR_PIN_LOCKED);
}

TEST_F(SessionManagement, NullPinIsPassedOnAsAnEmptyOne)
{
    const CK_SESSION_HANDLE session = Open();
    std::size_t length = 4711;
    m_Token.OnAuthenticatePin = [&](SmartCardApplication, const Norvik::ByteArray& pin, unsigned long*) {
        length = pin.size();
        return CKR_OK;
    };

    EXPECT_EQ(C_Login(session, CKU_USER, nullptr, 0), CKR_OK);

    EXPECT_EQ(length, 0U);
}

TEST_F(SessionManagement, LoginShowsInEverySessionOfTheSlot)
{
    const CK_SESSION_HANDLE first = Open();
    const CK_SESSION_HANDLE second = Open();

    ASSERT_EQ(Login(first), CKR_OK);
    EXPECT_EQ(StateOf(first), CKS_RO_USER_FUNCTIONS);
    EXPECT_EQ(StateOf(second), CKS_RO_USER_FUNCTIONS);
    EXPECT_EQ(StateOf(Open()), CKS_RO_USER_FUNCTIONS); // joins the login

    ASSERT_EQ(C_Logout(second), CKR_OK);
    EXPECT_EQ(StateOf(first), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(StateOf(second), CKS_RO_PUBLIC_SESSION);
}

TEST_F(SessionManagement, SessionThatJoinsALoginSignsWithoutAnotherOne)
{
    ASSERT_EQ(Login(Open()), CKR_OK);
    const CK_SESSION_HANDLE joined = Open();
    ASSERT_EQ(SignInit(joined), CKR_OK);
    m_Token.Calls.clear();
    std::string data = "digest";
    std::string signature(256, '\0');
    unsigned long length = signature.size();

    EXPECT_EQ(C_Sign(joined, Data(data), data.size(), Data(signature), &length), CKR_OK);

    EXPECT_THAT(m_Token.Calls, ElementsAre("DoSignatureEnc"));
}

TEST_F(SessionManagement, LogoutEndsTheLoginOfItsSlotAlone)
{
    const CK_SESSION_HANDLE session = Open(kSlot);
    const CK_SESSION_HANDLE other = Open(kOtherSlot);
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(Login(other), CKR_OK);
    m_Token.Calls.clear();
    m_OtherToken.Calls.clear();

    EXPECT_EQ(C_Logout(session), CKR_OK);

    EXPECT_THAT(m_Token.Calls, ElementsAre("DeauthenticatePin 0"));
    EXPECT_THAT(m_OtherToken.Calls, IsEmpty());
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(StateOf(other), CKS_RO_USER_FUNCTIONS);
}

TEST_F(SessionManagement, LogoutWithoutALoginSucceeds)
{
    EXPECT_EQ(C_Logout(Open()), CKR_OK);
    EXPECT_THAT(m_Token.Calls, ElementsAre("DeauthenticatePin 3"));
}

TEST_F(SessionManagement, FailedDeauthenticationDoesNotShow)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    m_Token.bDeauthenticatePin = false;
    EXPECT_EQ(C_Logout(session), CKR_OK);
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
}

TEST_F(SessionManagement, LoginAndLogoutWithoutATokenAreRefused)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    DropToken();
    ClearLog();

    EXPECT_EQ(Login(session), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_Logout(session), CKR_SESSION_HANDLE_INVALID);

    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_Login", "ERROR Session not initialized",
                                   "OUT FUNCTION C_Login returns CKR_SESSION_HANDLE_INVALID",
                                   "IN FUNCTION C_Logout", "ERROR Session not initialized",
                                   "OUT FUNCTION C_Logout returns CKR_SESSION_HANDLE_INVALID"));
    // The view of a slot whose card went away stays.
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
}

/** The token may leave between any two looks at it: every road ends with the code for a missing token. */
TEST_F(SessionManagement, TokenThatLeavesDuringALoginGivesTheCodeOfAMissingOne)
{
    const CK_SESSION_HANDLE session = Open();
    for (unsigned int lookUps = 1; lookUps <= 4; ++lookUps)
    {
        FakeSlots::Instance().tokenLookUps = 0;
        FakeSlots::Instance().tokensLeaveAt = lookUps;
        EXPECT_EQ(Login(session), CKR_SESSION_HANDLE_INVALID) << lookUps;
    }
}

TEST_F(SessionManagement, LoginOnAnInventedHandleWorksOnTheFirstSession)
{
    Open();
    EXPECT_EQ(Login(7), CKR_OK);
    EXPECT_EQ(StateOf(42125), CKS_RO_USER_FUNCTIONS);
}

TEST_F(SessionManagement, CardThatComesBackServesTheOldSession)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    DropToken();
    ASSERT_EQ(C_Logout(session), CKR_SESSION_HANDLE_INVALID);

    FakeSlots::Instance().slots[kSlot].token = &m_Token;

    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
    EXPECT_EQ(C_Logout(session), CKR_OK);
}

TEST_F(SessionManagement, EverythingIsRefusedBeforeInitialisation)
{
    bCryptokiInitialized = 0;
    CK_SESSION_HANDLE session = 0;
    CK_SESSION_INFO info = {};

    EXPECT_EQ(C_OpenSession(kSlot, CKF_SERIAL_SESSION, nullptr, nullptr, &session),
              CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_CloseSession(42125), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_CloseAllSessions(0), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_GetSessionInfo(42125, &info), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_Login(42125, CKU_USER, nullptr, 0), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_Logout(42125), CKR_CRYPTOKI_NOT_INITIALIZED);

    // The early return logs no exit.
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_OpenSession", "IN FUNCTION C_CloseSession",
                                   "IN FUNCTION C_CloseAllSessions", "IN FUNCTION C_GetSessionInfo",
                                   "IN FUNCTION C_Login", "IN FUNCTION C_Logout"));
}

TEST_F(SessionManagement, ExceptionOfTheTokenLeavesAndTheModuleGoesOn)
{
    const CK_SESSION_HANDLE session = Open();
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&,
                                   unsigned long*) -> unsigned long { throw std::length_error("PIN block"); };
    EXPECT_THROW(Login(session, "123456789"), std::length_error);
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);

    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_OK;
    };
    EXPECT_EQ(Login(session), CKR_OK);
}
