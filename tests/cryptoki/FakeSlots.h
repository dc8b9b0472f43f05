#pragma once

#include <map>
#include <string>
#include <vector>

#include <p11-kit/pkcs11.h>

class iCardToken;

/**
 * Answers of a slot layer without readers.
 *
 * Link kmark_fake_slots in front of the layers: it defines what the entry functions call of SlotList, CardTokenList
 * and CardTokenWrapper, so that the real ones stay out.
 */
struct FakeSlots
{
    struct Slot
    {
        iCardToken* token = nullptr; ///< borrowed; null for a slot without a usable card
        bool bPresent = false;
        std::string name; ///< of the reader
    };

    /** The one in use. */
    static FakeSlots& Instance();
    /** Back to the state of a fresh one: no slots. */
    static void Reset();

    std::vector<Slot> slots; ///< by slot id
    unsigned int tokenLookUps = 0;
    /** From the look-up with this number on, counted from 1, no slot has a token any more; 0 for never. */
    unsigned int tokensLeaveAt = 0;
    CK_RV waitResult = CKR_NO_EVENT;
    CK_RV mechanismListResult = CKR_OK;
    std::vector<std::string> calls; ///< "Name(arguments)", in order
};
