#pragma once

#include "readers/BaseCspReader.h"

#include <array>
#include <string>

/**
 * One reader of the PC/SC resource manager: owns its context and its card handle.
 *
 * Opening a card and the two transaction calls are serialised over all readers of the process; they may throw
 * boost::lock_error, and nothing else here throws on a failure. The destructor does not disconnect.
 */
class PCSCReader final : public BaseCspReader
{
public:
    PCSCReader();

    using BaseCspReader::ConnectCard;

    /** The name that PC/SC lists. To be set before ConnectReader(). */
    void SetReaderId(const std::string& readerId) { m_ReaderId = readerId; }

    /** Drops an older context first. */
    bool ConnectReader() override;
    /** May sleep for up to 3 seconds, while all other readers wait for the lock. */
    bool ConnectCard(bool force) override;
    /** Leaves the card unpowered. Always true. */
    bool Disconnect() override;
    bool Reconnect(bool bReset, bool bUnpower) override;
    bool BeginTransaction() override;
    bool EndTransaction() override;
    /** Wants the context alone: a reader without a card is ok. */
    bool IsOk() override;
    /** Connects the card on the way. */
    bool IsTokenPresent() override;
    /** The reader id. */
    std::string VendorID() override;

private:
    bool OpenCard();
    /**
     * SCardConnect with recovery: once more after giving up the old handle, then up to three times in a new
     * context.
     *
     * @return the last PC/SC result
     */
    long LocalSCardConnect(const std::string& reader, unsigned long shareMode, long* hCard,
                           unsigned long* protocol);
    long ConnectInNewContext(long lastCode, const std::string& reader, unsigned long shareMode, long* hCard,
                             unsigned long* protocol);
    long TryConnect(const std::string& reader, unsigned long shareMode, long* hCard, unsigned long* protocol);
    /** For the log only. */
    void LogPinSupport();

    unsigned long m_ActiveProtocol = 0;
    std::array<unsigned char, 33> m_Atr{};
    unsigned long m_AtrLength = 0;
    std::string m_ReaderId;
};
