// The object table of iCardToken.

#include "cards/CardFile.h"
#include "cards/CardObjectCert.h"
#include "cards/CardObjectData.h"
#include "cards/CardObjectPrivateKeyECDSA.h"
#include "cards/CardObjectPrivateKeyRSA.h"
#include "cards/CardObjectPublicKeyECDSA.h"
#include "cards/CardObjectPublicKeyRSA.h"
#include "cards/iCardToken.h"
#include "readers/LibReaderAndCard.h"

#include <cstdint>

namespace
{

constexpr int kNoObject = -1;

// The same on every card; an id ties a certificate to its key pair.
constexpr const char* kEncryptionId = "ckaid_92841569256EKEY";
constexpr const char* kSignatureId = "ckaid_t8090726489SIG";

std::int32_t IndexOf(unsigned long handle)
{
    // Intended: only the low 32 bits count.
    return static_cast<std::int32_t>(static_cast<std::uint32_t>(handle - CardObject::OBJECT_BASE));
}

bool IsInTable(std::int32_t index, const std::vector<CardObject*>& table)
{
    return index >= 0 && static_cast<std::size_t>(index) < table.size();
}

/** Hands @p object over to the table, which owns what it points to. @return its index */
int AddObject(std::vector<CardObject*>& table, std::unique_ptr<CardObject> object)
{
    table.push_back(object.get());
    static_cast<void>(object.release());
    return static_cast<int>(table.size() - 1);
}

/** A key object; its application goes by the key type. Null for a type without class. */
template <typename RsaKey, typename EcdsaKey>
std::unique_ptr<CardObject> MakeKey(const std::string& label, KeyType keyType, const std::string& id,
                                    CardFile& file)
{
    switch (keyType)
    {
    case KeyTypeRSA:
        return std::make_unique<RsaKey>(label, id, file, AppEncryption);
    case KeyTypeECDSA:
        return std::make_unique<EcdsaKey>(label, id, file, AppSignature);
    }
    return nullptr;
}

} // namespace

CardObject* iCardToken::GetCardObject(unsigned long handle)
{
    const std::int32_t index = IndexOf(handle);
    if (!IsInTable(index, objects))
    {
        LibReaderAndCard::LogError(
            "Invalid handle passed to iCardToken::GetCardObject  objectID:" + std::to_string(handle) +
            ", index:" + std::to_string(index) + ", #objects:" + std::to_string(objects.size()));
        return nullptr;
    }
    return objects[static_cast<std::size_t>(index)];
}

SmartCardApplication iCardToken::ApplicationForCardObject(unsigned long handle)
{
    const std::int32_t index = IndexOf(handle);
    if (!IsInTable(index, objects))
    {
        LibReaderAndCard::LogMessage("invalid handle passed to iCardToken::ApplicationForCardObject");
        return AppInvalid;
    }
    if (index == sigCertIndex || index == sigPrivateIndex || index == sigPublicIndex)
    {
        return AppSignature;
    }
    if (index == encCertIndex || index == encPrivateIndex || index == encPublicIndex)
    {
        return AppEncryption;
    }
    if (index == infoboxIndex)
    {
        return AppInfobox;
    }
    LibReaderAndCard::LogMessage("unknown application requested in iCardToken::ApplicationForCardObject");
    return AppInvalid;
}

int iCardToken::CreateCertObject(std::string label, std::string id, CardFile* file, SmartCardApplication app)
{
    if (file == nullptr)
    {
        return kNoObject;
    }
    return AddObject(objects, std::make_unique<CardObjectCert>(label, id, *file, app));
}

int iCardToken::CreatePublicKey(std::string label, KeyType keyType, std::string id, CardFile* file)
{
    if (file == nullptr)
    {
        return kNoObject;
    }
    auto key = MakeKey<CardObjectPublicKeyRSA, CardObjectPublicKeyECDSA>(label, keyType, id, *file);
    if (!key)
    {
        LibReaderAndCard::LogMessage("invalid keytype in CreatePublicKey");
        return kNoObject;
    }
    return AddObject(objects, std::move(key));
}

int iCardToken::CreatePrivateKey(std::string label, KeyType keyType, std::string id, CardFile* file)
{
    if (file == nullptr)
    {
        return kNoObject;
    }
    auto key = MakeKey<CardObjectPrivateKeyRSA, CardObjectPrivateKeyECDSA>(label, keyType, id, *file);
    if (!key)
    {
        LibReaderAndCard::LogMessage("invalid keytype in CreatePrivateKey");
        return kNoObject;
    }
    return AddObject(objects, std::move(key));
}

void iCardToken::InitObjectMapCommons(bool bEncryption, bool bSignature, bool bInfobox,
                                      KeyType encryptionKeyType)
{
    if (bEncryption)
    {
        CardFile* const file = encCertFile.get();
        encCertIndex = CreateCertObject("C.CH.EKEY", kEncryptionId, file, AppEncryption);
        encPublicIndex = CreatePublicKey("PK.CH.EKEY", encryptionKeyType, kEncryptionId, file);
        encPrivateIndex = CreatePrivateKey("SK.CH.EKEY", encryptionKeyType, kEncryptionId, file);
    }
    if (bSignature)
    {
        CardFile* const file = sigCertFile.get();
        sigCertIndex = CreateCertObject("C.CH.SIG", kSignatureId, file, AppSignature);
        sigPublicIndex = CreatePublicKey("PK.CH.SIG", KeyTypeECDSA, kSignatureId, file);
        sigPrivateIndex = CreatePrivateKey("SK.CH.SIG", KeyTypeECDSA, kSignatureId, file);
    }
    if (bInfobox)
    {
        infoboxIndex = kNoObject;
        if (infoboxFile)
        {
            infoboxIndex = AddObject(
                objects, std::make_unique<CardObjectData>("PERSONENBINDUNG", *infoboxFile, AppInfobox));
        }
    }
}
