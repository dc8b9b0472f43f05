#pragma once

#include "crypto/ByteArray.h"

#include <memory>

#include <p11-kit/pkcs11.h>

class CardObject;
class SessionData;

// What the operations of a session share.
namespace KMarkP11
{

[[nodiscard]] bool IsOfClass(CardObject& object, CK_OBJECT_CLASS objectClass);

/**
 * Begins a sign or verify operation with a key whose class fits.
 *
 * @param data replaced once the key can do the mechanism, so what ran before is gone
 * @return CKR_MECHANISM_INVALID when the key or the module can't do the mechanism
 */
CK_RV BeginKeyOperation(const CardObject& key, unsigned long hKey, CK_MECHANISM* pMechanism,
                        std::shared_ptr<SessionData>& data);

/** Hands a result to the caller; @p pulLen holds the size of the buffer, and keeps it when that is too small.
 */
CK_RV StoreResult(const Norvik::ByteArray& result, unsigned char* buffer, unsigned long* pulLen);

} // namespace KMarkP11
