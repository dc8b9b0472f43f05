#include "cryptoki/Session.h"

#include "crypto/ByteArray.h"
#include "crypto/Hash.h"
#include "cryptoki/KMarkP11Logging.h"
#include "cryptoki/KeyOperation.h"
#include "cryptoki/SessionData.h"

#include <algorithm>
#include <iterator>

using KMarkP11::Refuse;

namespace
{

struct DigestMechanism
{
    CK_MECHANISM_TYPE mechanism;
    Norvik::HashAlgorithm algorithm;
};

constexpr DigestMechanism kDigestMechanisms[] = {
    {CKM_MD5, Norvik::HashAlgorithm::Md5},
    {CKM_SHA_1, Norvik::HashAlgorithm::Sha1},
    {CKM_RIPEMD160, Norvik::HashAlgorithm::Ripemd160},
    {CKM_SHA256, Norvik::HashAlgorithm::Sha256},
    {CKM_SHA224, Norvik::HashAlgorithm::Sha224},
    {CKM_SHA384, Norvik::HashAlgorithm::Sha384},
    {CKM_SHA512, Norvik::HashAlgorithm::Sha512},
};

/** Null for a mechanism that is no digest of ours. */
const DigestMechanism* FindDigest(CK_MECHANISM_TYPE mechanism)
{
    const auto* const row =
        std::find_if(std::begin(kDigestMechanisms), std::end(kDigestMechanisms),
                     [mechanism](const DigestMechanism& entry) { return entry.mechanism == mechanism; });
    return row != std::end(kDigestMechanisms) ? row : nullptr;
}

} // namespace

CK_RV Session::DigestInit(CK_MECHANISM* pMechanism)
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    const CK_RV rv = FindDigest(pMechanism->mechanism) != nullptr
                         ? CKR_OK
                         : Refuse("invalid mechanism for hashing", CKR_MECHANISM_INVALID);
    // Intended: a refused mechanism is installed as well, and a running operation isn't looked for.
    sessionData = std::make_shared<SessionData>(*pMechanism, 0);
    return rv;
}

CK_RV Session::DigestUpdate(unsigned char* data, unsigned long len)
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    if (sessionData == nullptr)
    {
        // Intended: the word is the one of the verify operation.
        return Refuse("verify not initialized", CKR_FUNCTION_FAILED);
    }
    sessionData->Add(data, len);
    return CKR_OK;
}

CK_RV Session::DigestFinal(unsigned char* pDigest, unsigned long* pulLen)
{
    if (!IsOk())
    {
        return NotInitialized();
    }
    if (sessionData == nullptr)
    {
        return Refuse("digest not initialized", CKR_FUNCTION_FAILED);
    }
    const DigestMechanism* const row = FindDigest(sessionData->GetMechanism().mechanism);
    if (row == nullptr)
    {
        return Refuse("invalid mechanism for hashing", CKR_MECHANISM_INVALID);
    }
    Norvik::ByteArray data;
    sessionData->GetData(data);
    sessionData->Clear();
    Norvik::ByteArray digest;
    if (!Norvik::Hash(data, digest, row->algorithm, false))
    {
        return Refuse("error in hash data", CKR_FUNCTION_FAILED);
    }
    return KMarkP11::StoreResult(digest, pDigest, pulLen);
}
