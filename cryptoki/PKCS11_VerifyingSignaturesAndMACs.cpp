#include "cryptoki/Exports.h"

#include "cryptoki/EntryPoint.h"
#include "cryptoki/Session.h"

using KMarkP11::NeedsInit;
using KMarkP11::WithSession;

CK_RV C_VerifyInit(CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR pMechanism, CK_OBJECT_HANDLE hKey)
{
    return WithSession("C_VerifyInit", hSession, NeedsInit,
                       [&](Session& session) { return session.VerifyInit(pMechanism, hKey); });
}

CK_RV C_Verify(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pData, CK_ULONG ulDataLen, CK_BYTE_PTR pSignature,
               CK_ULONG ulSignatureLen)
{
    return WithSession("C_Verify", hSession, NeedsInit, [&](Session& session) {
        const CK_RV rv = session.VerifyUpdate(pData, ulDataLen);
        return rv == CKR_OK ? session.VerifyFinal(pSignature, ulSignatureLen) : rv;
    });
}

CK_RV C_VerifyUpdate(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pPart, CK_ULONG ulPartLen)
{
    return WithSession("C_VerifyUpdate", hSession, NeedsInit,
                       [&](Session& session) { return session.VerifyUpdate(pPart, ulPartLen); });
}

CK_RV C_VerifyFinal(CK_SESSION_HANDLE hSession, CK_BYTE_PTR pSignature, CK_ULONG ulSignatureLen)
{
    return WithSession("C_VerifyFinal", hSession, NeedsInit,
                       [&](Session& session) { return session.VerifyFinal(pSignature, ulSignatureLen); });
}
