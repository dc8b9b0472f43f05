#include "cryptoki/Session.h"

#include "cards/iCardToken.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "crypto/ByteArray.h"
#include "crypto/SecretWipe.h"
#include "cryptoki/SessionCollection.h"

CK_RV Session::Login(unsigned long /*userType*/, unsigned char* pin, unsigned long pinLen)
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    return DoLogin(AppEncryption, pin, pinLen);
}

CK_RV Session::DoLogin(SmartCardApplication application, unsigned char* pin, unsigned long pinLen)
{
    P11Logger::GetHandle()->LogDebug("Session::DoLogin");
    if (!IsOk())
    {
        return NotInitialized();
    }
    ResetAuthenticated();

    Norvik::ByteArray pinBytes(pin, pinLen);
    const Norvik::WipeGuard wipe(pinBytes);
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    unsigned long retries = 0;
    const CK_RV rv = token->Login(application, pinBytes, &retries);
    if (rv != CKR_OK)
    {
        return rv;
    }
    UpdateToUserSession(m_Slot, application);
    return CKR_OK;
}

CK_RV Session::Logout()
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    ResetAuthenticated();
    UpdateToPublicSession(m_Slot);
    return CKR_OK;
}

void Session::ResetAuthenticated()
{
    P11Logger::GetHandle()->LogDebug("Session::ResetAuthenticated");
    iCardToken* const token = Token();
    if (token != nullptr)
    {
        token->Logout(m_App);
    }
    UpdateToPublicSession(m_Slot);
}
