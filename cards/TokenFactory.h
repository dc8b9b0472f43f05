#pragma once

#include "cards/CardType.h"
#include "crypto/ByteArray.h"

class iCardReader;
class iCardToken;

/** The card generation behind an ATR; probes the card where the ATR doesn't tell two generations apart. */
CardType GetCardTypeFromATR(const Norvik::ByteArray& atr, iCardReader* reader, bool bIgnoreAcosSubVersion);
CardType GetCardTypeFromATR(const Norvik::ByteArray& atr, iCardReader* reader);

/** A new token for the card, owned by the caller; null when there is none. */
iCardToken* GetCardTokenFromATR(const Norvik::ByteArray& atr, iCardReader* reader);
/** A new token of the type's class, owned by the caller; null for a type without class. */
iCardToken* GetCardTokenFromType(CardType type, iCardReader* reader);
iCardToken* GetCardTokenFromType(CardType type);

bool IsAcos04(iCardReader* reader);
bool IsECardG3b(iCardReader* reader);
