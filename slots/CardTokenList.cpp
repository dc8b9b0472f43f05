#include "slots/CardTokenList.h"

#include "cards/iCardToken.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "slots/SlotList.h"

#include <memory>
#include <string>
#include <utility>

namespace
{

void Drop(iCardToken*& token)
{
    const std::unique_ptr<iCardToken> dropped(std::exchange(token, nullptr));
}

} // namespace

CardTokenList* CardTokenList::instance()
{
    static CardTokenList list;
    return &list;
}

CardTokenList::CardTokenList()
{
    initialize();
}

// At unload the readers that a token would talk to are gone; destroy() has dealt with the tokens by then.
CardTokenList::~CardTokenList() = default;

void CardTokenList::initialize()
{
    clearAll();
    SlotList& slots = *SlotList::GetHandle();
    for (const unsigned long slot : slots.GetSlotList(false))
    {
        iCardToken* token = nullptr;
        if (!slots.CheckValidSlotId(slot))
        {
            P11Logger::GetHandle()->LogError("invalid slotId");
        }
        else if (!slots.GetCardToken(slot, &token))
        {
            P11Logger::GetHandle()->LogError("cannot load card token");
        }
        std::unique_ptr<iCardToken> built(token);
        // Intended: a slot that the list knows keeps its null.
        if (tokens.emplace(slot, built.get()).second)
        {
            static_cast<void>(built.release());
        }
    }
    initialized = true;
}

void CardTokenList::updateSlot(unsigned long slot)
{
    auto entry = tokens.find(slot);
    if (entry == tokens.end())
    {
        initialize();
        entry = tokens.find(slot);
    }
    if (entry == tokens.end())
    {
        return;
    }
    iCardToken*& token = entry->second;

    bool bPresent = false;
    std::string manufacturer;
    std::string description;
    SlotList::GetHandle()->GetSlotInfo(slot, bPresent, manufacturer, description);
    if (!bPresent)
    {
        Drop(token);
        return;
    }
    // Any card that answers to the token's class with a well-formed identifier counts as the same card.
    std::string identifier;
    if (token != nullptr && token->GetCardIdentifier(identifier))
    {
        return;
    }
    P11Logger::GetHandle()->LogMessage("CardTokenList::updateSlot updating after changed token");
    Drop(token);
    SlotList::GetHandle()->GetCardToken(slot, &token);
}

iCardToken* CardTokenList::getCardToken(unsigned long slot)
{
    const auto entry = tokens.find(slot);
    return entry == tokens.end() ? nullptr : entry->second;
}

void CardTokenList::clearAll()
{
    for (auto& [slot, token] : tokens)
    {
        Drop(token);
    }
}

void CardTokenList::destroy()
{
    clearAll();
    tokens.clear();
    initialized = false;
}
