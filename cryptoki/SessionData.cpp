#include "cryptoki/SessionData.h"

#include <algorithm>
#include <iterator>

namespace
{

struct SignatureMechanism
{
    CK_MECHANISM_TYPE mechanism;
    HashAlgorithm hash;
    PaddingType padding;
    bool bHashData;
};

constexpr SignatureMechanism kSignatureMechanisms[] = {
    {CKM_RSA_PKCS, HashNone, PaddingNone, false},
    {CKM_SHA1_RSA_PKCS, HashSha1, PaddingPkcs1, true},
    {CKM_RIPEMD160_RSA_PKCS, HashRipemd160, PaddingPkcs1, true},
    {CKM_SHA256_RSA_PKCS, HashSha256, PaddingPkcs1, true},
    {CKM_SHA384_RSA_PKCS, HashSha384, PaddingPkcs1, true},
    {CKM_SHA512_RSA_PKCS, HashSha512, PaddingPkcs1, true},
    {CKM_SHA224_RSA_PKCS, HashSha224, PaddingPkcs1, true},
    {CKM_ECDSA, HashNone, PaddingNone, false},
    {CKM_ECDSA_SHA1, HashSha1, PaddingEcdsa, true},
};

constexpr SignatureMechanism kUnknownMechanism = {0, HashUnknown, PaddingUnknown, true};

const SignatureMechanism& FindMechanism(CK_MECHANISM_TYPE mechanism)
{
    const auto* const row =
        std::find_if(std::begin(kSignatureMechanisms), std::end(kSignatureMechanisms),
                     [mechanism](const SignatureMechanism& entry) { return entry.mechanism == mechanism; });
    return row != std::end(kSignatureMechanisms) ? *row : kUnknownMechanism;
}

} // namespace

SessionData::SessionData(CK_MECHANISM operationMechanism, unsigned long object)
    : mechanism(operationMechanism), selectedObject(object)
{}

void SessionData::Add(unsigned char* bytes, unsigned long length)
{
    data.Add(bytes, length);
}

void SessionData::GetData(Norvik::ByteArray& out) const
{
    out = data;
}

void SessionData::Clear()
{
    data.clear();
}

void SessionData::GetHashAlgoAndPadding(HashAlgorithm& hash, PaddingType& padding, bool& hashData) const
{
    const SignatureMechanism& row = FindMechanism(mechanism.mechanism);
    hash = row.hash;
    padding = row.padding;
    hashData = row.bHashData;
}
