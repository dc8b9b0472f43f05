#include "cards/TokenFactory.h"

#include "cards/profiles/CardTokenAcos03.h"
#include "cards/profiles/CardTokenAcos04.h"
#include "cards/profiles/CardTokenECardG2.h"
#include "cards/profiles/CardTokenECardG3.h"
#include "cards/profiles/CardTokenECardG3b.h"
#include "cards/profiles/CardTokenECardG4.h"
#include "readers/LibReaderAndCard.h"

#include <algorithm>
#include <iterator>
#include <memory>
#include <span>

using LibReaderAndCard::LogError;
using LibReaderAndCard::LogMessage;

namespace
{

constexpr unsigned char ACOS_04_ATR[] = {0x3B, 0xBF, 0x13, 0x00, 0x81, 0x31, 0xFE, 0x45, 0x45, 0x50, 0x41};
constexpr unsigned char ACOS_03_ATR[] = {0x3B, 0xBF, 0x11, 0x00, 0x81, 0x31, 0xFE, 0x45, 0x45, 0x50, 0x41};
constexpr unsigned char ATOS_53_ATR[] = {0x3B, 0xDF, 0x18, 0x00, 0x81, 0x31, 0xFE, 0x58,
                                         0x80, 0x31, 0xB0, 0x52, 0x02, 0x04, 0x64, 0x05,
                                         0xC9, 0x03, 0xAC, 0x73, 0xB7, 0xB1, 0xD4, 0x22};
constexpr unsigned char STARCOS_G2_ATR[] = {0x3B, 0xBD, 0x18, 0x00, 0x81, 0x31, 0xFE, 0x45, 0x80, 0x51, 0x02};
constexpr unsigned char STARCOS_G3_ATR[] = {0x3B, 0xDD, 0x96, 0xFF, 0x81, 0xB1, 0xFE, 0x45,
                                            0x1F, 0x03, 0x80, 0x31, 0xB0, 0x52, 0x02, 0x03};
constexpr unsigned char STARCOS_ATR[] = {0x3B, 0xBF, 0x94, 0x00, 0x81, 0x31, 0xFE, 0x65,
                                         0x45, 0x4C, 0x55, 0x20, 0x41, 0x75, 0x73, 0x74,
                                         0x72, 0x69, 0x61, 0x29, 0x31, 0x2E, 0x31, 0x3B};

/** An ATR that begins with the pattern is of that type. */
struct AtrPattern
{
    std::span<const unsigned char> bytes;
    CardType type;
    const char* detected;
};

// No pattern is the beginning of another.
constexpr AtrPattern kAtrPatterns[] = {
    {ACOS_04_ATR, CardTypeAcos04, "ACOS 04 detected"},
    {ATOS_53_ATR, CardTypeECardG4, "ATOS 53 - ECard G4 detected"},
    {ACOS_03_ATR, CardTypeAcos03, "ACOS detected"},
    {STARCOS_G2_ATR, CardTypeECardG2, "STACOS - eCard G2 detected"},
    {STARCOS_G3_ATR, CardTypeECardG3, "STACOS - eCard G3 detected"},
    {STARCOS_ATR, CardTypeStarcos, "STARCOS detected"},
};

bool Matches(const Norvik::ByteArray& atr, std::span<const unsigned char> pattern)
{
    return atr.size() >= pattern.size() && std::equal(pattern.begin(), pattern.end(), atr.begin());
}

/** The younger chip may show the ATR of the older one. */
CardType ProbeAcos(iCardReader* reader, bool bIgnoreAcosSubVersion)
{
    if (bIgnoreAcosSubVersion)
    {
        LogMessage("Ignore ACOS subversion -> use ACOS03");
        return CardTypeAcos03;
    }
    if (IsAcos04(reader))
    {
        LogMessage("ACOS 04 detected");
        return CardTypeAcos04;
    }
    LogMessage("ACOS 03 detected");
    return CardTypeAcos03;
}

/** G3 and G3b share their ATR. */
CardType ProbeECardG3(iCardReader* reader)
{
    if (IsECardG3b(reader))
    {
        LogMessage("eCard G3b detected");
        return CardTypeECardG3b;
    }
    LogMessage("eCard G3(a) detected");
    return CardTypeECardG3;
}

template <typename Token>
std::unique_ptr<iCardToken> Make()
{
    return std::make_unique<Token>();
}

/** The class of each type; a type without a row has no token. */
struct TokenClass
{
    CardType type;
    std::unique_ptr<iCardToken> (*make)();
};

constexpr TokenClass kTokenClasses[] = {
    {CardTypeAcos03, Make<CardTokenAcos03>},     {CardTypeAcos04, Make<CardTokenAcos04>},
    {CardTypeECardG2, Make<CardTokenECardG2>},   {CardTypeECardG3, Make<CardTokenECardG3>},
    {CardTypeECardG3b, Make<CardTokenECardG3b>}, {CardTypeECardG4, Make<CardTokenECardG4>},
};

} // namespace

CardType GetCardTypeFromATR(const Norvik::ByteArray& atr, iCardReader* reader, bool bIgnoreAcosSubVersion)
{
    if (atr.empty())
    {
        LogError("ATR Buffer is empty");
        return CardTypeUnknown;
    }
    const auto* pattern = std::find_if(std::begin(kAtrPatterns), std::end(kAtrPatterns),
                                       [&atr](const AtrPattern& row) { return Matches(atr, row.bytes); });
    if (pattern == std::end(kAtrPatterns))
    {
        return CardTypeUnknown;
    }
    LogMessage(pattern->detected);
    if (pattern->type == CardTypeAcos03)
    {
        return ProbeAcos(reader, bIgnoreAcosSubVersion);
    }
    if (pattern->type == CardTypeECardG3)
    {
        return ProbeECardG3(reader);
    }
    return pattern->type;
}

CardType GetCardTypeFromATR(const Norvik::ByteArray& atr, iCardReader* reader)
{
    return GetCardTypeFromATR(atr, reader, false);
}

iCardToken* GetCardTokenFromATR(const Norvik::ByteArray& atr, iCardReader* reader)
{
    const CardType type = GetCardTypeFromATR(atr, reader);
    if (type == CardTypeUnknown)
    {
        LogError("unknown card type");
        return nullptr;
    }
    return GetCardTokenFromType(type, reader);
}

iCardToken* GetCardTokenFromType(CardType type, iCardReader* reader)
{
    const auto* row = std::find_if(std::begin(kTokenClasses), std::end(kTokenClasses),
                                   [type](const TokenClass& candidate) { return candidate.type == type; });
    if (row == std::end(kTokenClasses))
    {
        LogError("unknown card type");
        return nullptr;
    }
    std::unique_ptr<iCardToken> token = row->make();
    if (reader != nullptr)
    {
        token->SetReader(reader);
    }
    return token.release();
}

iCardToken* GetCardTokenFromType(CardType type)
{
    return GetCardTokenFromType(type, nullptr);
}

bool IsAcos04(iCardReader* reader)
{
    return CardTokenAcos04::IsAcos04(reader);
}

bool IsECardG3b(iCardReader* reader)
{
    return CardTokenECardG3b::IsECardG3b(reader);
}
