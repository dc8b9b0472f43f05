#include "tests/cryptoki/FakeSlots.h"

#include "slots/CardTokenList.h"
#include "slots/CardTokenWrapper.h"
#include "slots/SlotList.h"

#include <utility>

namespace
{

void Record(std::string call)
{
    FakeSlots::Instance().calls.push_back(std::move(call));
}

} // namespace

FakeSlots& FakeSlots::Instance()
{
    static FakeSlots instance;
    return instance;
}

void FakeSlots::Reset()
{
    Instance() = FakeSlots();
}

SlotList* SlotList::m_Handle = nullptr;

SlotList* SlotList::GetHandle()
{
    static SlotList instance;
    return &instance;
}

SlotList::~SlotList() = default;

void SlotList::Destroy()
{
    Record("SlotList::Destroy()");
}

bool SlotList::CheckValidSlotId(unsigned long slot) const
{
    return slot < FakeSlots::Instance().slots.size();
}

bool SlotList::GetSlotInfo(unsigned long slot, bool& bPresent, std::string& manufacturer,
                           std::string& description)
{
    const FakeSlots::Slot& entry = FakeSlots::Instance().slots.at(slot);
    bPresent = entry.bPresent;
    description = entry.name;
    manufacturer = entry.name.substr(0, entry.name.find(' '));
    return true;
}

CK_RV SlotList::WaitForSlotEvent(unsigned long* slot, bool bDontBlock)
{
    Record(std::string("WaitForSlotEvent(") + (bDontBlock ? "true" : "false") + ")");
    if (FakeSlots::Instance().waitResult == CKR_OK)
    {
        *slot = 1;
    }
    return FakeSlots::Instance().waitResult;
}

std::vector<unsigned long> SlotList::GetSlotList(bool bTokenPresent)
{
    std::vector<unsigned long> ids;
    for (unsigned long id = 0; id < FakeSlots::Instance().slots.size(); ++id)
    {
        if (!bTokenPresent || FakeSlots::Instance().slots[id].bPresent)
        {
            ids.push_back(id);
        }
    }
    return ids;
}

CK_RV SlotList::GetMechanismList(unsigned long slot, unsigned long* /*list*/, unsigned long* count)
{
    Record("GetMechanismList(" + std::to_string(slot) + ")");
    *count = 8;
    return FakeSlots::Instance().mechanismListResult;
}

CardTokenList* CardTokenList::instance()
{
    static CardTokenList instance;
    return &instance;
}

CardTokenList::CardTokenList() = default;
CardTokenList::~CardTokenList() = default;

void CardTokenList::destroy()
{
    Record("CardTokenList::destroy()");
}

CardTokenWrapper::CardTokenWrapper(unsigned long slot) : m_Slot(slot)
{
    reload();
}

void CardTokenWrapper::reload()
{
    Record("reload(" + std::to_string(m_Slot) + ")");
}

iCardToken* CardTokenWrapper::token()
{
    FakeSlots& fake = FakeSlots::Instance();
    ++fake.tokenLookUps;
    if (fake.tokensLeaveAt != 0 && fake.tokenLookUps >= fake.tokensLeaveAt)
    {
        return nullptr;
    }
    return m_Slot < fake.slots.size() ? fake.slots[m_Slot].token : nullptr;
}
