// Signatures, keys and attributes of iCardToken.

#include "cards/CardFile.h"
#include "cards/CardObject.h"
#include "cards/iCardToken.h"
#include "crypto/LowLevelKeys.h"
#include "crypto/slCertificate.h"
#include "readers/LibReaderAndCard.h"

#include <cstring>

namespace
{

// Any value but 0 tells the caller that there is no signature.
constexpr unsigned long kSignFailed = 3;

/** Whether objects of the class stand for a PIN: the data object and the private keys do. */
bool HasPin(unsigned long objectClass)
{
    return objectClass == CKO_DATA || objectClass == CKO_PRIVATE_KEY;
}

/** Prepares the new content of the file behind an object; it is written after the last attribute. */
unsigned long UpdateValue(CardFile* file, unsigned long objectClass, const CK_ATTRIBUTE& attribute)
{
    if (file == nullptr)
    {
        LibReaderAndCard::LogError("cardfile not found");
        return CKR_FUNCTION_FAILED;
    }
    unsigned long rv = CKR_OK;
    if (objectClass != CKO_DATA && objectClass != CKO_CERTIFICATE)
    {
        LibReaderAndCard::LogError("invalid card file type should be cert or data");
        rv = CKR_ARGUMENTS_BAD;
    }
    // Intended: the content is taken also for another class.
    const bool bUpdated =
        file->Update(static_cast<const unsigned char*>(attribute.pValue), attribute.ulValueLen);
    return bUpdated ? rv : CKR_FUNCTION_FAILED;
}

/** What the update of one attribute means: a PIN operation or new content, never a plain store. */
unsigned long UpdateAttribute(iCardToken& token, CardFile* file, unsigned long objectClass,
                              const CK_ATTRIBUTE& attribute, SmartCardApplication app)
{
    switch (attribute.type)
    {
    case CKA_SECONDARY_AUTH:
        LibReaderAndCard::LogMessage("update CKA_SECONDARY_AUTH -> change pin");
        if (!HasPin(objectClass))
        {
            LibReaderAndCard::LogError("invalid card file type should be privKey or Infobox");
            return CKR_ARGUMENTS_BAD;
        }
        return token.ChangePin(app);
    case CKA_AUTH_PIN_FLAGS:
        LibReaderAndCard::LogMessage("update CKA_AUTH_PIN_FLAGS -> unblock pin");
        if (!HasPin(objectClass))
        {
            LibReaderAndCard::LogError("invalid card file type should be privKey or Infobox");
        }
        else
        {
            static_cast<void>(token.UnblockPin(app));
        }
        // Intended: failed, also after a PIN was unblocked.
        return CKR_FUNCTION_FAILED;
    case CKA_VALUE:
        LibReaderAndCard::LogMessage("update CKA_VALUE -> write persb or cert");
        return UpdateValue(file, objectClass, attribute);
    case CKA_PRIVATE:
        LibReaderAndCard::LogMessage("CKA_PRIVATE -> not yet implemented");
        return CKR_ATTRIBUTE_TYPE_INVALID;
    default:
        LibReaderAndCard::LogMessage("invalid attribute for update");
        return CKR_ATTRIBUTE_TYPE_INVALID;
    }
}

} // namespace

CardFile* iCardToken::CertificateFile(SmartCardApplication app) const
{
    switch (app)
    {
    case AppEncryption:
        return encCertFile.get();
    case AppSignature:
        return sigCertFile.get();
    case AppInfobox:
    case AppInvalid:
        break;
    }
    return nullptr;
}

unsigned long iCardToken::Sign(SmartCardApplication app, HashAlgorithm hash, PaddingType padding,
                               bool bDoHash, const Norvik::ByteArray& data, Norvik::ByteArray& signature)
{
    LibReaderAndCard::LogMessage("Sign");
    Norvik::ByteArray digest;
    if (!bDoHash)
    {
        digest = data;
    }
    else if (!HashData(data, digest, hash))
    {
        LibReaderAndCard::LogError("error hashing data");
        return kSignFailed;
    }
    if (app == AppEncryption)
    {
        return DoSignatureEnc(hash, padding, digest, signature);
    }
    if (app == AppSignature)
    {
        return DoSignatureSig(hash, padding, digest, signature);
    }
    LibReaderAndCard::LogMessage("invalid application for Sign Command");
    return kSignFailed;
}

bool iCardToken::Verify(SmartCardApplication app, HashAlgorithm hash, PaddingType padding, bool bDoHash,
                        const Norvik::ByteArray& data, const Norvik::ByteArray& signature, bool& valid)
{
    LibReaderAndCard::LogMessage("Verify");
    valid = false;
    PublicKey key;
    if (!GetPublicKey(app, &key))
    {
        LibReaderAndCard::LogError("error loading token public key");
        return false;
    }
    Norvik::ByteArray hashed;
    if (bDoHash && !HashData(data, hashed, hash))
    {
        LibReaderAndCard::LogError("error hashing data");
        return false;
    }
    Norvik::ByteArray prepared;
    if (!PrepareDigest(bDoHash ? hashed : data, prepared, hash, padding))
    {
        LibReaderAndCard::LogError("error prepare digest info");
        return false;
    }
    if (!key.Verify(signature, prepared, valid))
    {
        LibReaderAndCard::LogError("error in publickey - verfiy");
        return false;
    }
    return true;
}

bool iCardToken::GetCertificate(SmartCardApplication app, Norvik::ByteArray& certificate)
{
    CardFile* const file = CertificateFile(app);
    if (file == nullptr)
    {
        LibReaderAndCard::LogError("error reading certificate");
        return false;
    }
    return file->Read(certificate, false);
}

bool iCardToken::GetPublicKey(SmartCardApplication app, PublicKey* key)
{
    if (app != AppEncryption && app != AppSignature)
    {
        LibReaderAndCard::LogMessage("invalid application for GetPublicKey");
        return false;
    }
    if (ReadPublicKey(app, key))
    {
        return true;
    }
    CardFile* const file = CertificateFile(app);
    Norvik::ByteArray certificate;
    return file != nullptr && file->Read(certificate, false) && ParseKeyFromCert(certificate, key);
}

bool iCardToken::ParseKeyFromCert(const Norvik::ByteArray& certificate, PublicKey* key)
{
    Norvik::slCertificate parsed;
    if (!parsed.LoadFromBuffer(certificate.data(), certificate.size()))
    {
        LibReaderAndCard::LogError("error loading certificate");
        return false;
    }
    if (parsed.IsRsaKey())
    {
        rsa_st* rsa = nullptr;
        const bool bHasKey = parsed.GetRsaPublicKey(&rsa);
        const Norvik::RsaPtr owned(rsa);
        return bHasKey && key->SetRsaKey(rsa);
    }
    if (parsed.IsEcdsaKey())
    {
        ec_key_st* ecKey = nullptr;
        const bool bHasKey = parsed.GetEcdsaPublicKey(&ecKey);
        const Norvik::EcKeyPtr owned(ecKey);
        return bHasKey && key->SetEccKey(ecKey);
    }
    LibReaderAndCard::LogError("error loading public key from certificate");
    return false;
}

unsigned long iCardToken::GetAttributeValue(unsigned long handle, unsigned long type, Norvik::ByteArray& out)
{
    CardObject* const object = GetCardObject(handle);
    if (object == nullptr)
    {
        return CKR_FUNCTION_FAILED;
    }
    if (const std::shared_ptr<CardAttribute> attribute = object->GetAttribute(type))
    {
        out = attribute->Bytes();
        return CKR_OK;
    }
    return TokenGetAttributeValue(handle, type, out);
}

unsigned long iCardToken::SetAttributeValue(unsigned long handle, CK_ATTRIBUTE* attributes,
                                            unsigned long count)
{
    CardObject* const object = GetCardObject(handle);
    if (object == nullptr)
    {
        return CKR_FUNCTION_FAILED;
    }
    // Intended: the handle itself is the position, and one behind the table counts as taken.
    if (handle < objects.size() && objects[handle] == nullptr)
    {
        LibReaderAndCard::LogMessage("Object not found");
        return CKR_FUNCTION_FAILED;
    }
    const std::shared_ptr<CardAttribute> classAttribute = object->GetAttribute(CKA_CLASS);
    unsigned long objectClass = 0;
    if (!classAttribute || classAttribute->GetLength() < sizeof(objectClass))
    {
        LibReaderAndCard::LogMessage("CardObject has no attribute class??");
        return CKR_FUNCTION_FAILED;
    }
    std::memcpy(&objectClass, classAttribute->Bytes().data(), sizeof(objectClass));
    // Intended: no file is handed over, so a new value is always refused.
    return SetAttributeValueWriteAttribute(nullptr, objectClass, attributes, count,
                                           ApplicationForCardObject(handle));
}

unsigned long iCardToken::SetAttributeValueWriteAttribute(std::shared_ptr<CardFile> file,
                                                          unsigned long objectClass, CK_ATTRIBUTE* attributes,
                                                          unsigned long count, SmartCardApplication app)
{
    if (file)
    {
        file->EmptyCache();
    }
    bool bWritten = false;
    unsigned long rv = CKR_OK;
    for (unsigned long i = 0; i < count; ++i)
    {
        rv = UpdateAttribute(*this, file.get(), objectClass, attributes[i], app);
        bWritten = bWritten || (file && attributes[i].type == CKA_VALUE);
    }
    if (bWritten && !file->Write())
    {
        LibReaderAndCard::LogMessage("error writing file");
        return CKR_FUNCTION_FAILED;
    }
    return rv;
}

void iCardToken::FillCkDate(CK_DATE& date, unsigned short year, unsigned short month, unsigned short day)
{
    CardObject::FillCkDate(date, year, month, day);
}
