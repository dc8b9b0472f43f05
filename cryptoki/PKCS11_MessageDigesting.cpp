#include "cryptoki/Exports.h"

#include "cryptoki/EntryPoint.h"
#include "cryptoki/Session.h"

using KMarkP11::AnyTime;
using KMarkP11::WithSession;

// Intended: no check for the initialised state. Before C_Initialize the session table is empty and refuses
// the handle.

CK_RV C_DigestInit(CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism)
{
    return WithSession("C_DigestInit", hSession, AnyTime,
                       [&](Session& session) { return session.DigestInit(pMechanism); });
}

CK_RV C_Digest(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pDigest,
               CK_ULONG_PTR pulDigestLen)
{
    return WithSession("C_Digest", hSession, AnyTime, [&](Session& session) {
        const CK_RV rv = session.DigestUpdate(pData, ulDataLen);
        return rv == CKR_OK ? session.DigestFinal(pDigest, pulDigestLen) : rv;
    });
}

CK_RV C_DigestUpdate(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen)
{
    return WithSession("C_DigestUpdate", hSession, AnyTime,
                       [&](Session& session) { return session.DigestUpdate(pPart, ulPartLen); });
}

CK_RV C_DigestFinal(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pDigest, CK_ULONG_PTR pulDigestLen)
{
    return WithSession("C_DigestFinal", hSession, AnyTime,
                       [&](Session& session) { return session.DigestFinal(pDigest, pulDigestLen); });
}
