#include "cards/CardObjectPublicKeyECDSA.h"

#include "cards/KeyAttributes.h"

namespace
{

constexpr AttributeRow kAttributes[] = {
    {CKA_ENCRYPT, AttributeRow::Flag, 0},
    {CKA_EC_PARAMS, AttributeRow::NoConstant},
    {CKA_EC_POINT, AttributeRow::NoConstant},
};

} // namespace

CardObjectPublicKeyECDSA::CardObjectPublicKeyECDSA(const std::string& objectLabel, const std::string& id,
                                                   CardFile& cardFile, SmartCardApplication application)
    : CardObject(objectLabel, cardFile, application)
{
    AddAttributes(KeyAttributes::kEveryKey, id);
    AddAttributes(KeyAttributes::kEveryPublicKey, id);
    AddAttributes(KeyAttributes::kEveryEcdsaKey, id);
    AddAttributes(kAttributes, id);
}

std::shared_ptr<CardAttribute> CardObjectPublicKeyECDSA::GetAttribute(unsigned long type)
{
    std::shared_ptr<CardAttribute> attribute = FindAttribute(type);
    return attribute && attribute->GetLength() != 0 ? attribute : nullptr;
}
