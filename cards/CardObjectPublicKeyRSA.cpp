#include "cards/CardObjectPublicKeyRSA.h"

#include "cards/KeyAttributes.h"
#include "cards/RsaCertificate.h"

namespace
{

constexpr AttributeRow kAttributes[] = {
    {CKA_ENCRYPT, AttributeRow::Flag, 1},
    {CKA_MODULUS_BITS, AttributeRow::NoConstant},
    {CKA_PUBLIC_EXPONENT, AttributeRow::NoConstant},
};

} // namespace

CardObjectPublicKeyRSA::CardObjectPublicKeyRSA(const std::string& objectLabel, const std::string& id,
                                               CardFile& cardFile, SmartCardApplication application)
    : CardObject(objectLabel, cardFile, application)
{
    AddAttributes(KeyAttributes::kEveryKey, id);
    AddAttributes(KeyAttributes::kEveryPublicKey, id);
    AddAttributes(KeyAttributes::kEveryRsaKey, id);
    AddAttributes(kAttributes, id);
}

std::shared_ptr<CardAttribute> CardObjectPublicKeyRSA::GetAttribute(unsigned long type)
{
    std::shared_ptr<CardAttribute> attribute = FindAttribute(type);
    if (!attribute || attribute->GetLength() != 0)
    {
        return attribute;
    }
    if (type != CKA_MODULUS && type != CKA_MODULUS_BITS && type != CKA_PUBLIC_EXPONENT)
    {
        return nullptr;
    }
    loadPubKeyAttributes();
    return attribute;
}

bool CardObjectPublicKeyRSA::loadPubKeyAttributes()
{
    std::vector<unsigned char> modulus;
    std::vector<unsigned char> exponent;
    const bool bParsed = ReadRsaKeyOfCertificate(*file, modulus, exponent);
    if (!modulus.empty())
    {
        // Intended: the number of bytes, not of bits.
        const CardAttribute modulusBits(static_cast<unsigned long>(modulus.size()));
        SetAttribute(CKA_MODULUS, modulus);
        SetAttribute(CKA_PUBLIC_EXPONENT, exponent);
        SetAttribute(CKA_MODULUS_BITS, modulusBits.Bytes());
    }
    return bParsed;
}
