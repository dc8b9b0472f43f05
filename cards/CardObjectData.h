#pragma once

#include "cards/CardObject.h"

/** The data object; its value is read from the card when first asked for. */
class CardObjectData final : public CardObject
{
public:
    CardObjectData(const std::string& objectLabel, CardFile& cardFile, SmartCardApplication application);

    std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) override;
};
