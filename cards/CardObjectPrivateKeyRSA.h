#pragma once

#include "cards/CardObject.h"

/** An RSA private key; the modulus comes from the certificate when first asked for. */
class CardObjectPrivateKeyRSA final : public CardObject
{
public:
    CardObjectPrivateKeyRSA(const std::string& objectLabel, const std::string& id, CardFile& cardFile,
                            SmartCardApplication application);

    std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) override;

    /**
     * Fills the modulus.
     *
     * @return false when the file holds no certificate; true also when it can't be read, which fills nothing
     */
    bool loadPrivKeyAttributes();
};
