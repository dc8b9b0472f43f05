#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"
#include "tests/cryptoki/StubTable.h"

namespace
{

using testing::ElementsAre;

const CK_FUNCTION_LIST& kFunctions = INTERNAL_PKCS11_FUNCTION_LIST.standard;

class StubAtAnyTime : public CryptokiFixture, public testing::WithParamInterface<StubRow>
{};
class StubOnceInitialised : public CryptokiFixture, public testing::WithParamInterface<StubRow>
{};
class StubWithSession : public CryptokiFixture, public testing::WithParamInterface<SessionStubRow>
{};

std::string In(const char* name)
{
    return std::string("IN FUNCTION ") + name;
}

std::string Out(const char* name, const char* result)
{
    return std::string("OUT FUNCTION ") + name + " returns " + result;
}

} // namespace

TEST_P(StubAtAnyTime, AnswersBeforeAndAfterInitialisation)
{
    bCryptokiInitialized = 0;
    EXPECT_EQ(GetParam().call(kFunctions), CKR_FUNCTION_NOT_SUPPORTED);
    bCryptokiInitialized = 1;
    EXPECT_EQ(GetParam().call(kFunctions), CKR_FUNCTION_NOT_SUPPORTED);

    const std::string in = In(GetParam().name);
    const std::string out = Out(GetParam().name, "CKR_FUNCTION_NOT_SUPPORTED");
    EXPECT_THAT(Log(), ElementsAre(in, out, in, out));
}
INSTANTIATE_TEST_SUITE_P(All, StubAtAnyTime, testing::ValuesIn(kAnyTime),
                         [](const auto& row) { return row.param.name; });

TEST_P(StubOnceInitialised, AnswersAfterInitialisationAlone)
{
    bCryptokiInitialized = 0;
    EXPECT_EQ(GetParam().call(kFunctions), CKR_CRYPTOKI_NOT_INITIALIZED);
    bCryptokiInitialized = 1;
    EXPECT_EQ(GetParam().call(kFunctions), CKR_FUNCTION_NOT_SUPPORTED);

    const std::string in = In(GetParam().name);
    EXPECT_THAT(Log(), ElementsAre(in, in, Out(GetParam().name, "CKR_FUNCTION_NOT_SUPPORTED")));
}
INSTANTIATE_TEST_SUITE_P(All, StubOnceInitialised, testing::ValuesIn(kOnceInitialised),
                         [](const auto& row) { return row.param.name; });

TEST_P(StubWithSession, LooksForTheSession)
{
    const CK_SESSION_HANDLE session = Open();
    ClearLog();
    EXPECT_EQ(GetParam().call(kFunctions, session), GetParam().rv);
    const std::string in = In(GetParam().name);
    const std::string out =
        Out(GetParam().name, GetParam().rv == CKR_OK ? "CKR_OK" : "CKR_FUNCTION_NOT_SUPPORTED");
    if (GetParam().line != nullptr)
    {
        EXPECT_THAT(Log(), ElementsAre(in, std::string("ERROR ") + GetParam().line, out));
    }
    else
    {
        EXPECT_THAT(Log(), ElementsAre(in, out));
    }

    ASSERT_EQ(C_CloseSession(session), CKR_OK);
    ClearLog();
    EXPECT_EQ(GetParam().call(kFunctions, session), CKR_SESSION_HANDLE_INVALID);
    EXPECT_THAT(Log(), ElementsAre(in, "ERROR invalid session handle",
                                   Out(GetParam().name, "CKR_SESSION_HANDLE_INVALID")));

    bCryptokiInitialized = 0;
    EXPECT_EQ(GetParam().call(kFunctions, session), CKR_CRYPTOKI_NOT_INITIALIZED);
}
INSTANTIATE_TEST_SUITE_P(All, StubWithSession, testing::ValuesIn(kWithSession),
                         [](const auto& row) { return row.param.name; });

/** Success without a state: a caller's buffer and length stay as they are. */
TEST_F(CryptokiFixture, OperationStateTouchesNothing)
{
    const CK_SESSION_HANDLE session = Open();
    CK_BYTE state = 7;
    CK_ULONG length = 4711;
    EXPECT_EQ(C_GetOperationState(session, &state, &length), CKR_OK);
    EXPECT_EQ(C_SetOperationState(session, &state, length, 1, 2), CKR_OK);
    EXPECT_EQ(state, 7);
    EXPECT_EQ(length, 4711U);
}

/** The overload that is in no table. */
TEST_F(CryptokiFixture, WaitOverloadAnswersAfterInitialisationAlone)
{
    bCryptokiInitialized = 0;
    EXPECT_EQ(C_WaitForSlotEvent(static_cast<void*>(nullptr)), CKR_CRYPTOKI_NOT_INITIALIZED);
    bCryptokiInitialized = 1;
    EXPECT_EQ(C_WaitForSlotEvent(static_cast<void*>(nullptr)), CKR_FUNCTION_NOT_SUPPORTED);
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_WaitForSlotEvent", "IN FUNCTION C_WaitForSlotEvent",
                                   "OUT FUNCTION C_WaitForSlotEvent returns CKR_FUNCTION_NOT_SUPPORTED"));
}
