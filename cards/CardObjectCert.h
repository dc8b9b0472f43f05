#pragma once

#include "cards/CardObject.h"

/** An X.509 certificate; what it says of itself is read from the card when first asked for. */
class CardObjectCert final : public CardObject
{
public:
    CardObjectCert(const std::string& objectLabel, const std::string& id, CardFile& cardFile,
                   SmartCardApplication application);

    std::shared_ptr<CardAttribute> GetAttribute(unsigned long type) override;

    /**
     * Fills value, names, serial number and validity, all from one reading of the file.
     *
     * @return false when the file holds no certificate; true also when it can't be read, which fills nothing
     */
    bool loadCertAttributes();
};
