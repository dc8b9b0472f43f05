#include "cryptoki/Exports.h"

#include "cryptoki/EntryPoint.h"
#include "cryptoki/Session.h"

#include <memory>

using KMarkP11::Enter;
using KMarkP11::NeedsInit;
using KMarkP11::Refuse;
using KMarkP11::WithSession;

CK_RV C_OpenSession(CK_SLOT_ID slotID, CK_FLAGS flags, CK_VOID_PTR pApplication, CK_NOTIFY Notify,
                    CK_SESSION_HANDLE_PTR phSession)
{
    return Enter("C_OpenSession", NeedsInit, [&] {
        auto session = std::make_unique<Session>();
        const CK_RV rv = session->Init(slotID, flags, pApplication, Notify);
        if (rv == CKR_OK)
        {
            *phSession = SessionPtrToHandle(session.get());
            static_cast<void>(session.release()); // the table owns it now
        }
        return rv;
    });
}

CK_RV C_CloseSession(CK_SESSION_HANDLE hSession)
{
    return Enter("C_CloseSession", NeedsInit, [&] { return DeleteSessionPtr(hSession); });
}

CK_RV C_CloseAllSessions(CK_SLOT_ID /*slotID*/)
{
    // Intended: the sessions of every slot are closed.
    return Enter("C_CloseAllSessions", NeedsInit, [] {
        DeleteAllSessions();
        return CKR_OK;
    });
}

CK_RV C_GetSessionInfo(CK_SESSION_HANDLE hSession, CK_SESSION_INFO_PTR pInfo)
{
    return Enter("C_GetSessionInfo", NeedsInit, [&]() -> CK_RV {
        const Session* const session = HandleToSessionPtr(hSession);
        const CK_RV rv =
            session != nullptr ? CKR_OK : Refuse("invalid session handle", CKR_SESSION_HANDLE_INVALID);
        if (pInfo == nullptr)
        {
            // Intended: this answer comes first, also on a bad handle.
            return Refuse("invalid session info handle", CKR_ARGUMENTS_BAD);
        }
        return session != nullptr ? session->GetSessionInfo(pInfo) : rv;
    });
}

CK_RV C_Login(CK_SESSION_HANDLE hSession, CK_USER_TYPE userType, CK_UTF8CHAR_PTR pPin, CK_ULONG ulPinLen)
{
    return WithSession("C_Login", hSession, NeedsInit,
                       [&](Session& session) { return session.Login(userType, pPin, ulPinLen); });
}

CK_RV C_Logout(CK_SESSION_HANDLE hSession)
{
    return WithSession("C_Logout", hSession, NeedsInit, [](Session& session) { return session.Logout(); });
}
