#pragma once

class iCardToken;

/**
 * How a session holds its token: by slot id alone, so that a token can be replaced behind the session.
 */
class CardTokenWrapper
{
public:
    /** Looks whether the token of the slot is still the right one; may talk to the card. */
    explicit CardTokenWrapper(unsigned long slot);
    virtual ~CardTokenWrapper() = default;
    CardTokenWrapper(const CardTokenWrapper&) = delete;
    CardTokenWrapper& operator=(const CardTokenWrapper&) = delete;

    /** The slot's token or null; no card traffic. Valid until the list changes. */
    iCardToken* token();
    void reload();

private:
    unsigned long m_Slot;
};
