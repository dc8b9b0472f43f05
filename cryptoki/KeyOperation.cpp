#include "cryptoki/KeyOperation.h"

#include "cards/CardObject.h"
#include "cryptoki/KMarkP11Logging.h"
#include "cryptoki/SessionData.h"

#include <algorithm>

namespace KMarkP11
{

bool IsOfClass(CardObject& object, CK_OBJECT_CLASS objectClass)
{
    CK_ATTRIBUTE wanted = {CKA_CLASS, &objectClass, sizeof(objectClass)};
    return object.Match(&wanted, 1);
}

CK_RV BeginKeyOperation(const CardObject& key, unsigned long hKey, CK_MECHANISM* pMechanism,
                        std::shared_ptr<SessionData>& data)
{
    if (!key.CheckMechanism(pMechanism))
    {
        return Refuse("invalid mechanism for object handle", CKR_MECHANISM_INVALID);
    }
    data = std::make_shared<SessionData>(*pMechanism, hKey);

    HashAlgorithm hash = HashUnknown;
    PaddingType padding = PaddingUnknown;
    bool bHashData = true;
    data->GetHashAlgoAndPadding(hash, padding, bHashData);
    if (hash == HashUnknown || padding == PaddingUnknown)
    {
        return Refuse("invalid mechanism for object handle", CKR_MECHANISM_INVALID);
    }
    return CKR_OK;
}

CK_RV StoreResult(const Norvik::ByteArray& result, unsigned char* buffer, unsigned long* pulLen)
{
    if (*pulLen < result.size())
    {
        return Refuse("buffer to small", CKR_BUFFER_TOO_SMALL);
    }
    std::copy(result.begin(), result.end(), buffer);
    *pulLen = result.size();
    return CKR_OK;
}

} // namespace KMarkP11
