#include "cryptoki/SessionCollection.h"

#include "cryptoki/Session.h"
#include "tests/cryptoki/CryptokiFixture.h"

#include <memory>

namespace
{

/** Puts bare sessions into the table; all of them are of slot 0 unless they were opened on another one. */
class SessionCollection : public CryptokiFixture
{
protected:
    static unsigned long Add()
    {
        auto session = std::make_unique<Session>();
        const unsigned long handle = SessionPtrToHandle(session.get());
        static_cast<void>(session.release());
        return handle;
    }
};

} // namespace

TEST_F(SessionCollection, EmptyTableKnowsNoHandle)
{
    for (const unsigned long handle : {0UL, 7UL, 42125UL, ~0UL})
    {
        EXPECT_EQ(HandleToSessionPtr(handle), nullptr);
        EXPECT_EQ(DeleteSessionPtr(handle), CKR_SESSION_HANDLE_INVALID);
    }
    EXPECT_EQ(GetSessionCount(), 0U);
}

TEST_F(SessionCollection, HandlesCountUpFrom42125)
{
    EXPECT_EQ(Add(), 42125U);
    EXPECT_EQ(Add(), 42126U);
    EXPECT_EQ(Add(), 42127U);
    EXPECT_EQ(GetSessionCount(), 3U);
    EXPECT_NE(HandleToSessionPtr(42125), HandleToSessionPtr(42126));
}

TEST_F(SessionCollection, HandleOutOfRangeNamesTheFirstEntry)
{
    Add();
    Add();
    for (const unsigned long handle : {0UL, 7UL, 42124UL, 42127UL, ~0UL})
    {
        EXPECT_EQ(CheckSessionHandle(handle), 0U);
        EXPECT_EQ(HandleToSessionPtr(handle), HandleToSessionPtr(42125));
    }
    EXPECT_EQ(CheckSessionHandle(42126), 1U);
}

TEST_F(SessionCollection, HandleOutOfRangeIsRefusedWhileTheFirstEntryIsClosed)
{
    Add();
    Add();
    ASSERT_EQ(DeleteSessionPtr(42125), CKR_OK);

    EXPECT_EQ(HandleToSessionPtr(42125), nullptr);
    EXPECT_EQ(HandleToSessionPtr(7), nullptr);
    EXPECT_NE(HandleToSessionPtr(42126), nullptr);
    EXPECT_EQ(DeleteSessionPtr(7), CKR_SESSION_HANDLE_INVALID);
}

TEST_F(SessionCollection, ClosedPlaceIsUsedAgainAndTheTableKeepsItsLength)
{
    Add();
    Add();
    ASSERT_EQ(DeleteSessionPtr(42125), CKR_OK);

    EXPECT_EQ(Add(), 42125U);
    // A table of length 2 has its third place next.
    EXPECT_EQ(Add(), 42127U);
}

TEST_F(SessionCollection, PlaceFreedLastComesFirst)
{
    Add();
    Add();
    Add();
    ASSERT_EQ(DeleteSessionPtr(42126), CKR_OK);
    ASSERT_EQ(DeleteSessionPtr(42127), CKR_OK);
    EXPECT_EQ(GetSessionCount(), 1U);

    EXPECT_EQ(Add(), 42127U);
    EXPECT_EQ(Add(), 42126U);
}

TEST_F(SessionCollection, SecondCloseIsRefused)
{
    Add();
    Add();
    EXPECT_EQ(DeleteSessionPtr(42126), CKR_OK);
    EXPECT_EQ(DeleteSessionPtr(42126), CKR_SESSION_HANDLE_INVALID);
}

TEST_F(SessionCollection, DeleteAllStartsAgainAt42125)
{
    Add();
    Add();
    DeleteSessionPtr(42125);

    DeleteAllSessions();

    EXPECT_EQ(GetSessionCount(), 0U);
    EXPECT_EQ(Add(), 42125U);
    EXPECT_EQ(Add(), 42126U);
}

TEST_F(SessionCollection, StateIsSpreadToTheSessionsOfTheSlotAlone)
{
    const Session* const first = HandleToSessionPtr(Open(kSlot));
    const Session* const second = HandleToSessionPtr(Open(kSlot));
    const Session* const other = HandleToSessionPtr(Open(kOtherSlot));
    EXPECT_FALSE(UserSessionExists(kSlot));
    EXPECT_EQ(GetSmartCardApplication(kSlot), AppInvalid);

    UpdateToUserSession(kSlot, AppSignature);

    EXPECT_EQ(first->state(), 1U);
    EXPECT_EQ(second->state(), 1U);
    EXPECT_EQ(second->app(), AppSignature);
    EXPECT_EQ(other->state(), 0U);
    EXPECT_EQ(other->app(), AppInvalid);
    EXPECT_TRUE(UserSessionExists(kSlot));
    EXPECT_FALSE(UserSessionExists(kOtherSlot));
    EXPECT_EQ(GetSmartCardApplication(kSlot), AppSignature);
    EXPECT_EQ(GetSmartCardApplication(kOtherSlot), AppInvalid);

    UpdateToPublicSession(kSlot);

    EXPECT_EQ(first->state(), 0U);
    EXPECT_EQ(first->app(), AppInvalid);
    EXPECT_EQ(second->state(), 0U);
    EXPECT_FALSE(UserSessionExists(kSlot));
}

TEST_F(SessionCollection, ApplicationIsThatOfALoggedInSession)
{
    Open(kSlot);
    UpdateSessionState(kSlot, 0, AppEncryption);
    EXPECT_EQ(GetSmartCardApplication(kSlot), AppInvalid);
    UpdateSessionState(kSlot, 1, AppEncryption);
    EXPECT_EQ(GetSmartCardApplication(kSlot), AppEncryption);
}
