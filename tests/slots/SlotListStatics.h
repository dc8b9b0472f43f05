#pragma once

/** Puts the statics of SlotList that outlive it on purpose back to their state at load. */
void ResetSlotListStatics();
