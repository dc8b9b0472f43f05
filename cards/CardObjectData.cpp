#include "cards/CardObjectData.h"

#include "cards/CardFile.h"

namespace
{

constexpr AttributeRow kAttributes[] = {
    {CKA_CLASS, AttributeRow::Number, CKO_DATA},
    {CKA_TOKEN, AttributeRow::Flag, 1},
    {CKA_PRIVATE, AttributeRow::Flag, 0},
    {CKA_MODIFIABLE, AttributeRow::Flag, 1},
    {CKA_LABEL, AttributeRow::Label},
    {CKA_APPLICATION, AttributeRow::EmptyText},
    {CKA_OBJECT_ID, AttributeRow::EmptyText},
    {CKA_VALUE, AttributeRow::Updatable},
};

} // namespace

CardObjectData::CardObjectData(const std::string& objectLabel, CardFile& cardFile,
                               SmartCardApplication application)
    : CardObject(objectLabel, cardFile, application)
{
    AddAttributes(kAttributes, {});
}

std::shared_ptr<CardAttribute> CardObjectData::GetAttribute(unsigned long type)
{
    std::shared_ptr<CardAttribute> attribute = FindAttribute(type);
    if (!attribute || attribute->GetLength() != 0)
    {
        return attribute;
    }
    if (type != CKA_VALUE)
    {
        return nullptr;
    }
    Norvik::ByteArray content;
    if (file->Read(content, true))
    {
        attribute->Set(content.data(), content.size());
    }
    return attribute;
}
