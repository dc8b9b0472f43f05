#pragma once

enum CardType
{
    CardTypeUnknown = 0,
    CardTypeAcos03 = 1,
    CardTypeAcos04 = 2,
    CardTypeECardG2 = 3,
    CardTypeECardG3 = 4,
    CardTypeECardG3b = 5,
    CardTypeStarcos = 6, ///< recognised, but without a token
    CardTypeECardG4 = 7,
};
