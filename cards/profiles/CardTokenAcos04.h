#pragma once

#include "cards/profiles/CardTokenAcos03.h"

/**
 * The same card on the chip ACOS EMV-A04: a longer mechanism list, and the infobox is a small file system.
 *
 * Its identity link is free to read and written under the encryption PIN.
 */
class CardTokenAcos04 final : public CardTokenAcos03
{
public:
    CardTokenAcos04();

    CardType GetCardType() override;
    std::string GetTokenModel() override;
    std::vector<CardObject*>& GetObjectMap() override;
    unsigned long TokenGetAttributeValue(unsigned long handle, unsigned long type,
                                         Norvik::ByteArray& out) override;

    /**
     * Asks a card with the ATR of the older chip for its generation, in a transaction of its own.
     *
     * Leaves the file that it reads selected. False also when the card doesn't answer.
     */
    static bool IsAcos04(iCardReader* cardReader);
};
