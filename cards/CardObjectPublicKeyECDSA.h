#pragma once

#include "cards/CardObject.h"

/** An ECDSA public key; nothing of it is read from the card. */
class CardObjectPublicKeyECDSA final : public CardObject
{
public:
    CardObjectPublicKeyECDSA(const std::string& objectLabel, const std::string& id, CardFile& cardFile,
                             SmartCardApplication application);

    std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) override;
};
