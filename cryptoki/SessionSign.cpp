#include "cryptoki/Session.h"

#include "cards/CardObject.h"
#include "cards/iCardToken.h"
#include "crypto/ByteArray.h"
#include "cryptoki/KMarkP11Logging.h"
#include "cryptoki/KeyOperation.h"
#include "cryptoki/SessionCollection.h"
#include "cryptoki/SessionData.h"

#include <exception>
#include <string>
#include <utility>

using KMarkP11::Refuse;

namespace
{

// Intended: the size query answers 256 for every key and mechanism.
constexpr unsigned long kSignatureSizeAnswer = 256;

/**
 * Returns the slot to the public view when an exception ends a signature: a login that is good for one
 * signature must not be there for the next. Borrows the session.
 */
class OneSignatureLogin final
{
public:
    OneSignatureLogin(const Session& session, bool bImplicit)
        : m_Session(session), m_bImplicit(bImplicit), m_Exceptions(std::uncaught_exceptions())
    {}
    ~OneSignatureLogin()
    {
        if (std::uncaught_exceptions() > m_Exceptions && EndsWithSignature())
        {
            UpdateToPublicSession(m_Session.slot());
        }
    }
    OneSignatureLogin(const OneSignatureLogin&) = delete;
    OneSignatureLogin& operator=(const OneSignatureLogin&) = delete;

    [[nodiscard]] bool EndsWithSignature() const { return m_bImplicit || m_Session.app() == AppSignature; }

private:
    const Session& m_Session;
    const bool m_bImplicit;
    const int m_Exceptions;
};

} // namespace

CK_RV Session::SignInit(CK_MECHANISM* pMechanism, unsigned long hKey)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    if (signActive)
    {
        return Refuse("A sign operation is already active", CKR_OPERATION_ACTIVE);
    }
    CardObject* const key = token->GetCardObject(hKey);
    if (key == nullptr)
    {
        return Refuse(("SignInit received invalid object handle: " + std::to_string(hKey)).c_str(),
                      CKR_OBJECT_HANDLE_INVALID);
    }
    if (!KMarkP11::IsOfClass(*key, CKO_PRIVATE_KEY))
    {
        return Refuse("object handle is no private key", CKR_ARGUMENTS_BAD);
    }
    const CK_RV rv = KMarkP11::BeginKeyOperation(*key, hKey, pMechanism, sessionData);
    signActive = rv == CKR_OK;
    return rv;
}

CK_RV Session::SignUpdate(unsigned char* data, unsigned long len)
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    if (!signActive)
    {
        return Refuse("C_SignInit has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    if (sessionData == nullptr)
    {
        return Refuse("sign not initialized", CKR_FUNCTION_FAILED);
    }
    sessionData->Add(data, len);
    signUpdateSeen = true;
    return CKR_OK;
}

CK_RV Session::SignFinal(unsigned char* pSignature, unsigned long* pulLen)
{
    // Every outcome ends the operation, so the flags go before any check.
    const bool bWasActive = std::exchange(signActive, false);
    const bool bHadUpdate = std::exchange(signUpdateSeen, false);
    if (!bWasActive)
    {
        return Refuse("C_SignInit has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    if (!bHadUpdate)
    {
        return Refuse("C_SignUpdate has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    if (sessionData == nullptr)
    {
        return Refuse("sign not initialized", CKR_FUNCTION_FAILED);
    }
    const SmartCardApplication application =
        token->ApplicationForCardObject(sessionData->GetSelectedObject());
    if (application != AppEncryption && application != AppSignature)
    {
        return Refuse("invalid object selected", CKR_FUNCTION_FAILED);
    }
    const bool bImplicitLogin = application != m_App;
    if (bImplicitLogin)
    {
        const CK_RV rv = DoLogin(application, nullptr, 0);
        if (rv != CKR_OK)
        {
            ResetAuthenticated();
            return rv;
        }
    }
    Norvik::ByteArray signature;
    const CK_RV rv = MakeSignature(application, bImplicitLogin, signature);
    return rv == CKR_OK ? KMarkP11::StoreResult(signature, pSignature, pulLen) : rv;
}

CK_RV Session::MakeSignature(SmartCardApplication application, bool bImplicitLogin,
                             Norvik::ByteArray& signature)
{
    const OneSignatureLogin login(*this, bImplicitLogin);
    HashAlgorithm hash = HashUnknown;
    PaddingType padding = PaddingUnknown;
    bool bHashData = true;
    sessionData->GetHashAlgoAndPadding(hash, padding, bHashData);
    Norvik::ByteArray data;
    sessionData->GetData(data);
    sessionData->Clear();

    CK_RV rv = CKR_OK;
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        rv = NotInitialized();
    }
    else if (token->Sign(application, hash, padding, bHashData, data, signature) != 0)
    {
        rv = Refuse("error in sign", CKR_FUNCTION_FAILED);
    }
    if (login.EndsWithSignature())
    {
        ResetAuthenticated();
    }
    return rv;
}

CK_RV Session::Sign(unsigned char* pData, unsigned long ulDataLen, unsigned char* pSignature,
                    unsigned long* pulLen)
{
    if (!signActive)
    {
        return Refuse("C_SignInit has not been called", CKR_OPERATION_NOT_INITIALIZED);
    }
    if (!IsOk())
    {
        return NotInitialized();
    }
    if (signUpdateSeen)
    {
        return Refuse("Cannot call C_Sign after C_SignUpdate", CKR_FUNCTION_FAILED);
    }
    if (sessionData == nullptr)
    {
        signActive = false;
        return Refuse("sign not initialized", CKR_FUNCTION_FAILED);
    }
    if (pSignature == nullptr)
    {
        *pulLen = kSignatureSizeAnswer;
        return CKR_OK;
    }
    CK_RV rv = SignUpdate(pData, ulDataLen);
    if (rv == CKR_OK)
    {
        rv = SignFinal(pSignature, pulLen);
    }
    signActive = false;
    signUpdateSeen = false;
    return rv;
}
