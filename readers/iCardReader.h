#pragma once

#include "common/Uncopyable.h"
#include "crypto/ByteArray.h"

#include <string>

struct PINVerifyData;

/** Results of VerifyPin() and ChangePin(). */
enum PinEntryResult : int
{
    PinEntryDone = 0, ///< the reader completed the operation; the card's answer is in the response
    PinEntryError = 1,
    PinEntryNotSupported = 2 ///< the reader has no such capability
};

/**
 * A card reader as the tokens see it: everything a token sends goes through here.
 *
 * Owned by the slot list; tokens borrow it. Failures are results with a log line, never exceptions, but for
 * the lock of the implementation.
 */
class iCardReader : Uncopyable
{
public:
    iCardReader() = default;
    ~iCardReader() override = default;

    /** Acquires the context of the resource manager. */
    virtual bool ConnectReader() = 0;
    /** Opens a card handle. @param force reconnects although a handle exists */
    virtual bool ConnectCard(bool force) = 0;
    /** Gives up card handle and context. */
    virtual bool Disconnect() = 0;
    virtual void SetConfig(bool bSecure, bool bUseGui, bool bUseBeep) = 0;
    /** Asks the reader what its keypad can do (PC/SC part 10). */
    virtual void CheckReaderCapabilities(bool& bVerify, bool& bModify) = 0;
    virtual bool BeginTransaction() = 0;
    virtual bool EndTransaction() = 0;
    /** Exchanges one APDU; @p response is replaced when at least one byte came back, also on failure. */
    virtual bool SendApdu(const unsigned char* data, unsigned long length, Norvik::ByteArray& response) = 0;
    /** PIN entry on the reader's keypad. @return a PinEntryResult */
    virtual int VerifyPin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                          Norvik::ByteArray& response) = 0;
    /** PIN change on the reader's keypad. @return a PinEntryResult */
    virtual int ChangePin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                          Norvik::ByteArray& response) = 0;
    /** Whether the handles needed for work are there. */
    virtual bool IsOk() = 0;
    virtual bool IsTokenPresent() = 0;
    virtual bool GetAtr(Norvik::ByteArray& atr) = 0;
    /** Presence by reader attribute: 0 no card, 1 card present, 2 confiscated, 3 unknown or error. */
    virtual int GetStatus() = 0;
    virtual bool Reconnect(bool bReset, bool bUnpower) = 0;
    /**
     * Six reader attributes; what cannot be read keeps the content that @p friendlyName had on entry.
     */
    virtual void GetReaderName(std::string& vendorName, std::string& ifdType, std::string& ifdSerial,
                               std::string& deviceUnit, std::string& systemName,
                               std::string& friendlyName) = 0;
    virtual std::string VendorID();

    bool ConnectCard() { return ConnectCard(false); }
    bool SendApdu(const Norvik::ByteArray& apdu, Norvik::ByteArray& response);

    /** Turns keypad entry off or on; off after a keypad attempt reported that there is none. */
    void SetSecure(bool bSecure) { m_bSecure = bSecure; }
    /** Whether PINs may be typed on the reader: it must be able to verify and to change. Asks the reader. */
    bool IsSecure();
    [[nodiscard]] bool UseGui() const { return m_bUseGui; }
    [[nodiscard]] bool UseBeep() const { return m_bUseBeep; }

    /** Vendor name, one blank, IFD type. */
    std::string VendorModelName();
    /** Logs the six attributes of GetReaderName(). Diagnostic only. */
    void LogReaderName();

    /** Whether @p response ends in the given status word; a mismatch is logged as an error. */
    static bool CheckApduSW(const Norvik::ByteArray& response, unsigned char sw1, unsigned char sw2);
    /** The same; with @p bLogError false a mismatch is silent, a response below 2 bytes is not. */
    static bool CheckApduSW(const Norvik::ByteArray& response, unsigned char sw1, unsigned char sw2,
                            bool bLogError);

protected:
    bool m_bSecure = true;
    bool m_bUseGui = true;
    bool m_bUseBeep = true;
};
