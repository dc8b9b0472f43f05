#include "cryptoki/Session.h"

#include "cards/CardObject.h"
#include "cards/iCardToken.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "crypto/ByteArray.h"
#include "cryptoki/KMarkP11Logging.h"
#include "cryptoki/KeyOperation.h"
#include "cryptoki/SessionData.h"

using KMarkP11::Refuse;

CK_RV Session::VerifyInit(CK_MECHANISM* pMechanism, unsigned long hKey)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    if (verifyActive)
    {
        return Refuse("A verify operation is already active", CKR_OPERATION_ACTIVE);
    }
    CardObject* const key = token->GetCardObject(hKey);
    if (key == nullptr)
    {
        return Refuse("invalid object handle", CKR_OBJECT_HANDLE_INVALID);
    }
    if (!KMarkP11::IsOfClass(*key, CKO_PUBLIC_KEY))
    {
        return Refuse("object handle is no public key", CKR_ARGUMENTS_BAD);
    }
    const CK_RV rv = KMarkP11::BeginKeyOperation(*key, hKey, pMechanism, sessionData);
    verifyActive = rv == CKR_OK;
    return rv;
}

CK_RV Session::VerifyUpdate(unsigned char* data, unsigned long len)
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    if (!verifyActive)
    {
        return Refuse("C_VerifyInit has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    if (sessionData == nullptr)
    {
        return Refuse("verify not initialized", CKR_FUNCTION_FAILED);
    }
    sessionData->Add(data, len);
    verifyUpdateSeen = true;
    return CKR_OK;
}

CK_RV Session::VerifyFinal(unsigned char* pSignature, unsigned long ulLen)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    // Intended: these three leave the operation active, and the first sentence names no function there is.
    if (!verifyActive)
    {
        return Refuse("C_VerifyObjectsInit has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    if (sessionData == nullptr)
    {
        return Refuse("verify not initialized", CKR_FUNCTION_FAILED);
    }
    const SmartCardApplication application =
        token->ApplicationForCardObject(sessionData->GetSelectedObject());
    if (application != AppEncryption && application != AppSignature)
    {
        return Refuse("invalid object selected", CKR_FUNCTION_FAILED);
    }
    HashAlgorithm hash = HashUnknown;
    PaddingType padding = PaddingUnknown;
    bool bHashData = true;
    sessionData->GetHashAlgoAndPadding(hash, padding, bHashData);
    Norvik::ByteArray data;
    sessionData->GetData(data);
    sessionData->Clear();

    CK_RV rv = CKR_OK;
    bool bValid = false;
    const Norvik::ByteArray signature(pSignature, ulLen);
    if (!token->Verify(application, hash, padding, bHashData, data, signature, bValid))
    {
        rv = Refuse("error in Verify", CKR_FUNCTION_FAILED);
    }
    if (bValid)
    {
        P11Logger::GetHandle()->LogMessage("Signature Verify OK");
    }
    else
    {
        rv = Refuse("Signature Verify INVALID SIGNATURE", CKR_SIGNATURE_INVALID);
    }
    verifyActive = false;
    verifyUpdateSeen = false;
    return rv;
}
