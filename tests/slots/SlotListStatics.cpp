#include "tests/slots/SlotListStatics.h"

#include "slots/SlotList.h"

#include <atomic>
#include <map>

// An explicit instantiation may name private members; the friend functions carry them out of it.
template <std::atomic<bool>* ShuttingDown, std::map<unsigned long, unsigned long>* SlotStateMap>
struct SlotListStatics
{
    friend std::atomic<bool>& ShuttingDownOfSlotList() { return *ShuttingDown; }
    friend std::map<unsigned long, unsigned long>& StateMapOfSlotList() { return *SlotStateMap; }
};
template struct SlotListStatics<&SlotList::m_bShuttingDown, &SlotList::m_slotStateMap>;

std::atomic<bool>& ShuttingDownOfSlotList();
std::map<unsigned long, unsigned long>& StateMapOfSlotList();

void ResetSlotListStatics()
{
    ShuttingDownOfSlotList() = false;
    StateMapOfSlotList().clear();
}

// A reader that doesn't connect is given up without being freed; that is meant.
// NOLINTNEXTLINE(bugprone-reserved-identifier): the name that the sanitizer asks for
extern "C" __attribute__((visibility("default"))) const char* __lsan_default_suppressions()
{
    return "leak:SlotList::EnumerateReaders\n";
}
