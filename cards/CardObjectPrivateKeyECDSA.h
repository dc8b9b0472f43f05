#pragma once

#include "cards/CardObject.h"

/** An ECDSA private key; nothing of it is read from the card. */
class CardObjectPrivateKeyECDSA final : public CardObject
{
public:
    CardObjectPrivateKeyECDSA(const std::string& objectLabel, const std::string& id, CardFile& cardFile,
                              SmartCardApplication application);

    std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) override;
};
