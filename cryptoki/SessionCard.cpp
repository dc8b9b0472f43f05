#include "cryptoki/Session.h"

#include "cards/iCardToken.h"
#include "crypto/ByteArray.h"
#include "crypto/SecretWipe.h"
#include "cryptoki/KMarkP11Logging.h"

#include <algorithm>

using KMarkP11::Refuse;

CK_RV Session::CardTransmit(unsigned char* pCommand, unsigned long ulCommandLen, unsigned char* pResponse,
                            unsigned long* pulResponseLen)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        return NotInitialized();
    }
    // The command may carry a PIN.
    Norvik::ByteArray command(pCommand, ulCommandLen);
    const Norvik::WipeGuard wipe(command);
    Norvik::ByteArray response;
    if (!token->CardTransmit(command, response))
    {
        return CKR_FUNCTION_FAILED;
    }
    const bool bFits = *pulResponseLen >= response.size();
    *pulResponseLen = response.size();
    if (!bFits)
    {
        return Refuse("buffer to small", CKR_BUFFER_TOO_SMALL);
    }
    std::copy(response.begin(), response.end(), pResponse);
    return CKR_OK;
}

CK_RV Session::C_CardAttribute(unsigned char* pName, unsigned char* pValue, unsigned long* pulValueLen)
{
    iCardToken* const token = Token();
    if (token == nullptr)
    {
        // Silently: this call doesn't ask whether the session is initialised.
        return CKR_SESSION_HANDLE_INVALID;
    }
    Norvik::ByteArray bytes;
    const CK_RV rv = token->C_CardAttribute(pName, bytes, pulValueLen);
    if (*pulValueLen < bytes.size())
    {
        // Intended: overrides a failure code of the token.
        *pulValueLen = bytes.size();
        return CKR_BUFFER_TOO_SMALL;
    }
    if (!bytes.empty())
    {
        *pulValueLen = bytes.size();
        std::copy(bytes.begin(), bytes.end(), pValue);
    }
    return rv;
}
