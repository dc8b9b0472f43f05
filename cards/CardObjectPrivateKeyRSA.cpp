#include "cards/CardObjectPrivateKeyRSA.h"

#include "cards/KeyAttributes.h"
#include "cards/RsaCertificate.h"

namespace
{

constexpr AttributeRow kAttributes[] = {
    {CKA_PRIVATE_EXPONENT, AttributeRow::NoConstant},
    {CKA_DECRYPT, AttributeRow::Flag, 1},
    {CKA_SIGN, AttributeRow::Flag, 1},
};

} // namespace

CardObjectPrivateKeyRSA::CardObjectPrivateKeyRSA(const std::string& objectLabel, const std::string& id,
                                                 CardFile& cardFile, SmartCardApplication application)
    : CardObject(objectLabel, cardFile, application)
{
    AddAttributes(KeyAttributes::kEveryKey, id);
    AddAttributes(KeyAttributes::kEveryPrivateKey, id);
    AddAttributes(KeyAttributes::kEveryRsaKey, id);
    AddAttributes(kAttributes, id);
    // Intended: an RSA private key shows this label whatever it is made with.
    AddAttribute(CKA_LABEL, std::make_shared<CardAttribute>("SK.CH.EKEY"));
}

std::shared_ptr<CardAttribute> CardObjectPrivateKeyRSA::GetAttribute(unsigned long type)
{
    std::shared_ptr<CardAttribute> attribute = FindAttribute(type);
    if (!attribute || attribute->GetLength() != 0)
    {
        return attribute;
    }
    if (type != CKA_MODULUS)
    {
        return nullptr;
    }
    loadPrivKeyAttributes();
    return attribute;
}

bool CardObjectPrivateKeyRSA::loadPrivKeyAttributes()
{
    std::vector<unsigned char> modulus;
    std::vector<unsigned char> exponent;
    const bool bParsed = ReadRsaKeyOfCertificate(*file, modulus, exponent);
    if (!modulus.empty())
    {
        SetAttribute(CKA_MODULUS, modulus);
    }
    return bParsed;
}
