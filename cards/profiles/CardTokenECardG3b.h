#pragma once

#include "cards/profiles/CardTokenECardG3.h"

/** The third generation with an infobox file system; its identity link is free to read. */
class CardTokenECardG3b final : public CardTokenECardG3
{
public:
    CardTokenECardG3b();

    CardType GetCardType() override;

    /**
     * Whether a card of the third generation has an infobox file system; asks it in a transaction of its own.
     *
     * A card without one refuses the selection, which is logged as an error. Leaves the directory selected.
     */
    static bool IsECardG3b(iCardReader* cardReader);
};
