#pragma once

#include "cards/CardObject.h"

/** An RSA public key; its numbers come from the certificate when first asked for. */
class CardObjectPublicKeyRSA final : public CardObject
{
public:
    CardObjectPublicKeyRSA(const std::string& objectLabel, const std::string& id, CardFile& cardFile,
                           SmartCardApplication application);

    std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) override;

    /**
     * Fills modulus, exponent and modulus length.
     *
     * @return false when the file holds no certificate; true also when it can't be read, which fills nothing
     */
    bool loadPubKeyAttributes();
};
