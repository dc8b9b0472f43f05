#include "cryptoki/Exports.h"

#include "cards/iCardToken.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "cryptoki/EntryPoint.h"
#include "slots/CardTokenWrapper.h"
#include "slots/SlotList.h"

#include <algorithm>
#include <cstddef>
#include <iterator>
#include <string>
#include <vector>

using KMarkP11::Enter;
using KMarkP11::NeedsInit;
using KMarkP11::Refuse;

namespace
{

// Fixed answers, the same for every card.
constexpr CK_ULONG kMaxPinLength = 8;
constexpr CK_ULONG kMinPinLength = 4;

/** Fills a text field of the standard: blanks behind the text, no terminator, at most the field. */
template <std::size_t N>
void FillBlankPadded(CK_UTF8CHAR (&field)[N], const std::string& text)
{
    std::fill(std::begin(field), std::end(field), static_cast<CK_UTF8CHAR>(' '));
    std::copy_n(text.begin(), std::min(text.size(), N), std::begin(field));
}

CK_RV CopySlotIds(const std::vector<unsigned long>& slots, CK_SLOT_ID_PTR pSlotList, CK_ULONG available)
{
    if (pSlotList == nullptr)
    {
        return CKR_OK;
    }
    if (available < slots.size())
    {
        return CKR_BUFFER_TOO_SMALL;
    }
    for (std::size_t i = 0; i < slots.size(); ++i)
    {
        P11Logger::GetHandle()->LogMessage("adding slotid: " + std::to_string(slots[i]));
        pSlotList[i] = slots[i];
    }
    return CKR_OK;
}

void FillTokenInfo(iCardToken& token, CK_TOKEN_INFO& info)
{
    FillBlankPadded(info.label, token.GetTokenLabel());
    FillBlankPadded(info.manufacturerID, token.GetManufacturerID());
    FillBlankPadded(info.model, token.GetTokenModel());
    // Whatever text the card left is shown, well formed or not.
    std::string identifier;
    static_cast<void>(token.GetCardIdentifier(identifier));
    FillBlankPadded(info.serialNumber, identifier);
    info.flags = token.GetFlags();
    info.ulMaxSessionCount = CK_EFFECTIVELY_INFINITE;
    // Intended: the sessions of all slots; read-write ones are not told apart.
    info.ulSessionCount = GetSessionCount();
    info.ulMaxRwSessionCount = CK_EFFECTIVELY_INFINITE;
    info.ulRwSessionCount = 0;
    info.ulMaxPinLen = kMaxPinLength;
    info.ulMinPinLen = kMinPinLength;
    info.ulTotalPublicMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulFreePublicMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulTotalPrivateMemory = CK_UNAVAILABLE_INFORMATION;
    info.ulFreePrivateMemory = CK_UNAVAILABLE_INFORMATION;
    info.hardwareVersion = {1, 0};
    info.firmwareVersion = {1, 0};
    FillBlankPadded(info.utcTime, "");
}

} // namespace

CK_RV C_GetSlotList(CK_BBOOL tokenPresent, CK_SLOT_ID_PTR pSlotList, CK_ULONG_PTR pulCount)
{
    return Enter("C_GetSlotList", NeedsInit, [&] {
        // Intended: only the exact value 1 asks for slots with a card.
        const std::vector<unsigned long> slots = SlotList::GetHandle()->GetSlotList(tokenPresent == 1);
        P11Logger::GetHandle()->LogMessage("slots available: " + std::to_string(slots.size()));
        // The size of the buffer means nothing while there is none.
        const CK_RV rv = CopySlotIds(slots, pSlotList, pSlotList != nullptr ? *pulCount : 0);
        *pulCount = slots.size();
        P11Logger::GetHandle()->LogMessage("returning slot count: " + std::to_string(slots.size()));
        return rv;
    });
}

CK_RV C_GetSlotInfo(CK_SLOT_ID slotID, CK_SLOT_INFO_PTR pInfo)
{
    return Enter("C_GetSlotInfo", NeedsInit, [&]() -> CK_RV {
        P11Logger::GetHandle()->LogMessage("SlotID: " + std::to_string(slotID));
        if (pInfo == nullptr)
        {
            return Refuse("pInfo pointer is NULL", CKR_ARGUMENTS_BAD);
        }
        if (!SlotList::GetHandle()->CheckValidSlotId(slotID))
        {
            return Refuse("invalid slotId", CKR_SLOT_ID_INVALID);
        }
        bool bPresent = false;
        std::string manufacturer;
        std::string description;
        static_cast<void>(SlotList::GetHandle()->GetSlotInfo(slotID, bPresent, manufacturer, description));
        FillBlankPadded(pInfo->slotDescription, description);
        FillBlankPadded(pInfo->manufacturerID, manufacturer);
        pInfo->flags = CKF_REMOVABLE_DEVICE | CKF_HW_SLOT | (bPresent ? CKF_TOKEN_PRESENT : 0UL);
        pInfo->hardwareVersion = {0, 0};
        pInfo->firmwareVersion = {0, 0};
        return CKR_OK;
    });
}

CK_RV C_WaitForSlotEvent(CK_FLAGS flags, CK_SLOT_ID_PTR pSlot, CK_VOID_PTR /*pReserved*/)
{
    return Enter("C_WaitForSlotEvent", NeedsInit, [&] {
        const bool bDontBlock = (flags & CKF_DONT_BLOCK) != 0;
        KMarkP11::LogMessageCB(bDontBlock ? "Called WaitForSlotEvent with don't block flag = 1"
                                          : "Called WaitForSlotEvent with don't block flag = 0");
        return SlotList::GetHandle()->WaitForSlotEvent(pSlot, bDontBlock);
    });
}

CK_RV C_GetTokenInfo(CK_SLOT_ID slotID, CK_TOKEN_INFO_PTR pInfo)
{
    return Enter("C_GetTokenInfo", NeedsInit, [&]() -> CK_RV {
        if (pInfo == nullptr)
        {
            return Refuse("pInfo is NULL", CKR_ARGUMENTS_BAD);
        }
        if (!SlotList::GetHandle()->CheckValidSlotId(slotID))
        {
            return Refuse("invalid slotId", CKR_SLOT_ID_INVALID);
        }
        // Made here, so that a card that came, went or was swapped is found out.
        CardTokenWrapper wrapper(slotID);
        iCardToken* const token = wrapper.token();
        if (token == nullptr)
        {
            return Refuse("cannot load card token, card token is NULL", CKR_TOKEN_NOT_PRESENT);
        }
        FillTokenInfo(*token, *pInfo);
        return CKR_OK;
    });
}

CK_RV C_GetMechanismList(CK_SLOT_ID slotID, CK_MECHANISM_TYPE_PTR pMechanismList, CK_ULONG_PTR pulCount)
{
    return Enter("C_GetMechanismList", NeedsInit,
                 [&] { return SlotList::GetHandle()->GetMechanismList(slotID, pMechanismList, pulCount); });
}
