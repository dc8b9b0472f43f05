#include "cards/CardObjectPrivateKeyECDSA.h"

#include "cards/KeyAttributes.h"

namespace
{

constexpr AttributeRow kAttributes[] = {
    {CKA_DECRYPT, AttributeRow::Flag, 0},
    {CKA_SIGN, AttributeRow::Flag, 0},
};

} // namespace

CardObjectPrivateKeyECDSA::CardObjectPrivateKeyECDSA(const std::string& objectLabel, const std::string& id,
                                                     CardFile& cardFile, SmartCardApplication application)
    : CardObject(objectLabel, cardFile, application)
{
    AddAttributes(KeyAttributes::kEveryKey, id);
    AddAttributes(KeyAttributes::kEveryPrivateKey, id);
    AddAttributes(KeyAttributes::kEveryEcdsaKey, id);
    AddAttributes(kAttributes, id);
}

std::shared_ptr<CardAttribute> CardObjectPrivateKeyECDSA::GetAttribute(unsigned long type)
{
    std::shared_ptr<CardAttribute> attribute = FindAttribute(type);
    return attribute && attribute->GetLength() != 0 ? attribute : nullptr;
}
