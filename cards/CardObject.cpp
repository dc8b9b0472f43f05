#include "cards/CardObject.h"

#include "cards/CardFile.h"
#include "crypto/LibCardImpl.h"

#include <algorithm>
#include <cstdio>
#include <cstring>
#include <utility>

namespace
{

std::shared_ptr<CardAttribute> MakeAttribute(const AttributeRow& row, const std::string& label,
                                             const std::string& id)
{
    switch (row.kind)
    {
    case AttributeRow::Flag:
        return std::make_shared<CardAttribute>(static_cast<unsigned char>(row.number));
    case AttributeRow::Number:
        return std::make_shared<CardAttribute>(row.number);
    case AttributeRow::Label:
        return std::make_shared<CardAttribute>(label.c_str());
    case AttributeRow::Id:
        return std::make_shared<CardAttribute>(id.c_str());
    case AttributeRow::EmptyText:
        return std::make_shared<CardAttribute>("");
    case AttributeRow::NoConstant:
        return std::make_shared<CardAttribute>(false);
    case AttributeRow::Updatable:
        return std::make_shared<CardAttribute>(true);
    }
    return nullptr;
}

bool HasValue(const CardAttribute& attribute, const CK_ATTRIBUTE& wanted)
{
    const Norvik::ByteArray& value = attribute.Bytes();
    // An empty value may come with a null pointer, which must not reach memcmp.
    return value.size() == wanted.ulValueLen &&
           (value.empty() || std::memcmp(value.data(), wanted.pValue, value.size()) == 0);
}

void LogZeroLength(const std::string& label, unsigned long type)
{
    if (LibCardImpl::pt2LogDebug.IsSet())
    {
        LibCardImpl::LogDebug("CardObject::Match() Found attribute with zero length.  May need to be "
                              "retrieved from the card first."
                              "  CardObject: " +
                              label + "  Attribute Type: " + std::to_string(type));
    }
}

} // namespace

CardObject::CardObject(const std::string& objectLabel, CardFile& cardFile, SmartCardApplication application)
    : label(objectLabel), file(&cardFile), app(application)
{}

CardObject::~CardObject()
{
    Free();
}

bool CardObject::AddAttribute(unsigned long type, std::shared_ptr<CardAttribute> attribute)
{
    const auto entry = attributes.insert_or_assign(type, std::move(attribute)).first;
    const AttributeEntry*& slot = m_Index[SlotOf(type)];
    if (slot == nullptr)
    {
        slot = &*entry;
    }
    return true;
}

bool CardObject::AddAttribute(unsigned long type, CardAttribute* attribute)
{
    return AddAttribute(type, std::shared_ptr<CardAttribute>(attribute));
}

void CardObject::AddAttributes(std::span<const AttributeRow> rows, const std::string& id)
{
    for (const AttributeRow& row : rows)
    {
        AddAttribute(row.type, MakeAttribute(row, label, id));
    }
}

std::shared_ptr<CardAttribute> CardObject::FindInMap(unsigned long type) const
{
    const auto found = attributes.find(type);
    return found == attributes.end() ? nullptr : found->second;
}

void CardObject::SetAttribute(unsigned long type, const Norvik::ByteArray& value)
{
    if (const std::shared_ptr<CardAttribute> attribute = FindAttribute(type))
    {
        attribute->Set(value.data(), value.size());
    }
}

bool CardObject::AddMechanism(unsigned long mechanism)
{
    mechanisms.push_back(mechanism);
    return true;
}

void CardObject::CopyMechanismFrom(const CardObject* other)
{
    // A copy, since the other may be this object.
    const std::vector<unsigned long> copied = other->mechanisms;
    mechanisms.insert(mechanisms.end(), copied.begin(), copied.end());
}

bool CardObject::CheckMechanism(CK_MECHANISM* mechanism) const
{
    return std::find(mechanisms.begin(), mechanisms.end(), mechanism->mechanism) != mechanisms.end();
}

bool CardObject::MatchEach(CK_ATTRIBUTE* templ, unsigned long count)
{
    for (unsigned long i = 0; i < count; ++i)
    {
        const std::shared_ptr<CardAttribute> attribute = GetAttribute(templ[i].type);
        if (!attribute)
        {
            return false;
        }
        if (!HasValue(*attribute, templ[i]))
        {
            if (attribute->GetLength() == 0)
            {
                LogZeroLength(label, templ[i].type);
            }
            return false;
        }
    }
    return true;
}

void CardObject::LogInfo() const
{
    if (LibCardImpl::pt2LogMessage.IsSet())
    {
        LibCardImpl::LogMessage("CardObject: " + label +
                                "   attribute count: " + std::to_string(attributes.size()) +
                                "   mechanism count: " + std::to_string(mechanisms.size()));
    }
}

void CardObject::FillCkDate(CK_DATE& date, unsigned short year, unsigned short month, unsigned short day)
{
    // Room for the five digits that a number may have; the field takes the first ones.
    char digits[6];
    std::snprintf(digits, sizeof(digits), "%04d", year);
    std::memcpy(date.year, digits, sizeof(date.year));
    std::snprintf(digits, sizeof(digits), "%02d", month);
    std::memcpy(date.month, digits, sizeof(date.month));
    std::snprintf(digits, sizeof(digits), "%02d", day);
    std::memcpy(date.day, digits, sizeof(date.day));
}

void CardObject::Free()
{
    // Whoever still holds an attribute sees it empty.
    for (const auto& [type, attribute] : attributes)
    {
        if (attribute)
        {
            attribute->Free();
        }
    }
    m_Index.fill(nullptr);
    attributes.clear();
}
