// The members of SlotList that deal in tokens.

#include "slots/SlotList.h"

#include "cards/CardObject.h"
#include "cards/TokenFactory.h"
#include "cards/iCardToken.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "readers/iCardReader.h"

#include <algorithm>
#include <memory>
#include <set>

bool SlotList::GetCardToken(unsigned long slot, iCardToken** token)
{
    *token = nullptr;
    if (!CheckValidSlotId(slot))
    {
        P11Logger::GetHandle()->LogError("invalid slotID");
        return false;
    }
    iCardReader* reader = ReaderOf(slot);
    if (reader == nullptr)
    {
        return false;
    }
    if (!reader->IsOk())
    {
        P11Logger::GetHandle()->LogError("card reader is not OK");
        return false;
    }
    Norvik::ByteArray atr;
    if (!reader->GetAtr(atr))
    {
        P11Logger::GetHandle()->LogError("error loading atr from reader/card");
        return false;
    }
    *token = GetCardTokenFromATR(atr, reader);
    if (*token == nullptr)
    {
        P11Logger::GetHandle()->LogError("error loading card token from reader");
        return false;
    }
    return true;
}

CK_RV SlotList::GetMechanismList(unsigned long slot, unsigned long* list, unsigned long* count)
{
    iCardToken* owned = nullptr;
    if (!GetCardToken(slot, &owned))
    {
        P11Logger::GetHandle()->LogError("error loading cardtoken");
        *count = 0;
        return CKR_ARGUMENTS_BAD;
    }
    const std::unique_ptr<iCardToken> token(owned);

    std::set<CK_MECHANISM_TYPE> mechanisms;
    for (const CardObject* object : token->GetObjectMap())
    {
        if (object != nullptr)
        {
            mechanisms.insert(object->GetMechanismList().begin(), object->GetMechanismList().end());
        }
    }

    const unsigned long room = *count;
    *count = mechanisms.size();
    if (list == nullptr)
    {
        return CKR_OK;
    }
    if (room < mechanisms.size())
    {
        P11Logger::GetHandle()->LogError(
            "Mechanisms buffer too small.  Number of mechanisms = " + std::to_string(mechanisms.size()) +
            ", Buffer size = " + std::to_string(room));
        return CKR_BUFFER_TOO_SMALL;
    }
    std::copy(mechanisms.begin(), mechanisms.end(), list);
    return CKR_OK;
}
