#include "cryptoki/Exports.h"

#include "cryptoki/EntryPoint.h"
#include "cryptoki/Session.h"

using KMarkP11::NeedsInit;
using KMarkP11::WithSession;

CK_RV C_SignInit(CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey)
{
    return WithSession("C_SignInit", hSession, NeedsInit,
                       [&](Session& session) { return session.SignInit(pMechanism, hKey); });
}

CK_RV C_Sign(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pSignature,
             CK_ULONG_PTR pulSignatureLen)
{
    return WithSession("C_Sign", hSession, NeedsInit, [&](Session& session) {
        return session.Sign(pData, ulDataLen, pSignature, pulSignatureLen);
    });
}

CK_RV C_SignUpdate(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen)
{
    return WithSession("C_SignUpdate", hSession, NeedsInit,
                       [&](Session& session) { return session.SignUpdate(pPart, ulPartLen); });
}

CK_RV C_SignFinal(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pSignature, CK_ULONG_PTR pulSignatureLen)
{
    return WithSession("C_SignFinal", hSession, NeedsInit,
                       [&](Session& session) { return session.SignFinal(pSignature, pulSignatureLen); });
}
