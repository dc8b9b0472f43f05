#pragma once

#include <map>

class iCardToken;

/**
 * One token for each slot, kept over time so that sessions share its objects and its login.
 *
 * Guarded by the mutex of CardTokenWrapper, through which sessions reach it.
 */
class CardTokenList
{
public:
    /** The singleton, filled on first use. */
    static CardTokenList* instance();
    virtual ~CardTokenList();
    CardTokenList(const CardTokenList&) = delete;
    CardTokenList& operator=(const CardTokenList&) = delete;

    void initialize();
    /** Looks whether the slot's token is still the right one; builds or drops it. */
    void updateSlot(unsigned long slot);
    /** Null when the slot has no token. Borrowed until the next updateSlot() or destroy(). */
    iCardToken* getCardToken(unsigned long slot);
    /** Deletes all tokens, keeps the slots. */
    void clearAll();
    void destroy();
    [[nodiscard]] unsigned long size() const { return tokens.size(); }

private:
    CardTokenList();

    bool initialized = false;
    std::map<unsigned long, iCardToken*> tokens; ///< owned; null for a slot without a usable card
};
