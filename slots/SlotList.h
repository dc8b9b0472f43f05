#pragma once

#include <atomic>
#include <map>
#include <string>
#include <vector>

#include <p11-kit/pkcs11.h>

class iCardReader;
class iCardToken;

/**
 * The card readers; a Cryptoki slot is a reader, and a slot id is the reader's index here.
 *
 * Readers are enumerated at the first look and stay until Destroy(). Takes no lock of its own.
 */
class SlotList final
{
public:
    /** The singleton, created empty on first use. */
    static SlotList* GetHandle();
    /** Waits for a thread that blocks in WaitForSlotEvent(), then drops the readers. */
    static void Destroy();

    /** Enumerates the readers if none are held yet. */
    void Initialize();
    /** Reads one reader section of the settings. */
    void ReadReaderConfig(const std::string& subKey, std::string& reader, std::string& readerName,
                          bool& bIsSecure, bool& bUseGui, bool& bUseBeep, long& ctPort, std::string& ctApi,
                          bool& bCloseOnExit);

    [[nodiscard]] bool CheckValidSlotId(unsigned long slot) const;
    /**
     * What a reader is called and whether it holds a card, asked of the reader now.
     *
     * @param manufacturer the first word of @p description
     * @return false for an invalid slot; the texts are then left as they were
     */
    bool GetSlotInfo(unsigned long slot, bool& bPresent, std::string& manufacturer, std::string& description);
    /** Looks at every reader now: slot id to 1 with a card, 0 without. */
    std::map<unsigned long, unsigned long> getSlotStateMap();
    /** One look; reports one change, or CKR_NO_EVENT. */
    CK_RV compareSlotState(unsigned long* slot);
    /**
     * Reports a card that came or went since the last look; @p slot is written with CKR_OK only.
     *
     * Polls on the caller's thread, one thread at a time, unless @p bDontBlock. Destroy() ends the wait with
     * CKR_CRYPTOKI_NOT_INITIALIZED, and so ends every later wait of the process after its first look.
     */
    CK_RV WaitForSlotEvent(unsigned long* slot, bool bDontBlock);
    /** The slot ids, or those with a card, in ascending order. */
    std::vector<unsigned long> GetSlotList(bool bTokenPresent);

    /** Builds a new token for the card in the slot, owned by the caller. */
    bool GetCardToken(unsigned long slot, iCardToken** token);
    /**
     * The mechanisms of the card in the slot, in ascending order; builds a token for it.
     *
     * @param list  null asks for the number
     * @param count room in @p list; becomes the number of mechanisms, 0 without a token
     * @return CKR_OK, CKR_BUFFER_TOO_SMALL, or CKR_ARGUMENTS_BAD without a token
     */
    CK_RV GetMechanismList(unsigned long slot, unsigned long* list, unsigned long* count);

    /** For the singleton; users call GetHandle() and Destroy(). */
    SlotList() = default;
    ~SlotList();
    SlotList(const SlotList&) = delete;
    SlotList& operator=(const SlotList&) = delete;

private:
    class PollingScope;

    /** Keeps a reader for each name that PC/SC lists and that connects; false when PC/SC can't list them. */
    bool EnumerateReaders();
    std::map<unsigned long, unsigned long> LookAtReaders();
    /** The reader of a valid slot; null, and an error logged, if there is none. */
    [[nodiscard]] iCardReader* ReaderOf(unsigned long slot) const;

    std::vector<iCardReader*> readers; ///< owned

    static SlotList* m_Handle;
    static std::map<unsigned long, unsigned long>
        m_slotStateMap; ///< of the last look, less the changes not yet told
    // A handshake between Destroy() and the one thread that waits.
    static std::atomic<bool> m_bWaitForEventThreadRunning;
    static std::atomic<bool> m_bShuttingDown; ///< set by Destroy(), never cleared
};
