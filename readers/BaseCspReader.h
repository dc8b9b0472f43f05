#pragma once

#include "readers/PinControlCodes.h"
#include "readers/ReceiveBuffer.h"
#include "readers/iCardReader.h"

#include <span>
#include <string>

/**
 * Everything that works on an open PC/SC card handle: exchange, ATR, presence, attributes, PIN entry on the
 * keypad.
 *
 * Borrows context and handle from whoever constructed it; 0 means none. What opens and closes them succeeds
 * here without doing anything. No operation takes a lock.
 */
class BaseCspReader : public iCardReader
{
public:
    BaseCspReader(long context, long card);

    using iCardReader::ConnectCard;
    using iCardReader::SendApdu;

    bool ConnectReader() override;
    bool ConnectCard(bool force) override;
    bool Disconnect() override;
    void SetConfig(bool bSecure, bool bUseGui, bool bUseBeep) override;
    void CheckReaderCapabilities(bool& bVerify, bool& bModify) override;
    bool BeginTransaction() override;
    bool EndTransaction() override;
    /** Always sends with the T=1 protocol control information, whatever was negotiated. */
    bool SendApdu(const unsigned char* data, unsigned long length, Norvik::ByteArray& response) override;
    /** Blocks until the reader is done. */
    int VerifyPin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                  Norvik::ByteArray& response) override;
    /** Blocks until the reader is done. */
    int ChangePin(const Norvik::ByteArray& apdu, const PINVerifyData* data,
                  Norvik::ByteArray& response) override;
    /** Wants context and card handle. */
    bool IsOk() override;
    bool IsTokenPresent() override;
    bool GetAtr(Norvik::ByteArray& atr) override;
    int GetStatus() override;
    bool Reconnect(bool bReset, bool bUnpower) override;
    void GetReaderName(std::string& vendorName, std::string& ifdType, std::string& ifdSerial,
                       std::string& deviceUnit, std::string& systemName, std::string& friendlyName) override;

protected:
    /** @return the PC/SC result for the card handle, SCARD_W_REMOVED_CARD when IsOk() is false */
    long GetReaderStatus();
    /** Reads one attribute with exactly the length that the driver reports. @return the PC/SC result */
    long MySCardGetAttrib(unsigned long attribute, std::string& value, bool bText);

    /**
     * PIN entry in one call. @p response is replaced when the reader gave at least one byte, also on failure.
     *
     * @return the PC/SC result
     */
    long VerifyPinDirect(unsigned char* block, unsigned int length, Norvik::ByteArray& response);
    long ModifyPinDirect(unsigned char* block, unsigned int length, Norvik::ByteArray& response);
    /**
     * PIN entry in three steps: start, one look at the keys per second, finish.
     *
     * @param maxLength key presses after which the entry is finished
     * @return the PC/SC result; SCARD_E_CANCELLED or SCARD_E_TIMEOUT when the user or the reader gave up
     */
    long VerifyPinStartFinish(unsigned char* block, unsigned int length, Norvik::ByteArray& response,
                              int maxLength);
    long ModifyPinStartFinish(unsigned char* block, unsigned int length, Norvik::ByteArray& response,
                              int maxLength);
    /** Takes in one key event. @return whether to go on polling */
    bool OnKeyPressed(unsigned char key, unsigned short& digits, unsigned long& code, bool& bFinished);
    /** Rings the bell of the console, if beeps are wanted. @param frequency Hz @param duration ms */
    void DoBeep(unsigned long frequency, unsigned long duration);

    long m_hContext;
    long m_hCard;
    PinControlCodes m_PinCodes;

private:
    struct PinOperation;
    struct StartFinishEntry;
    static const PinOperation kVerify;
    static const PinOperation kChange;

    int RunPinOperation(const PinOperation& operation, const Norvik::ByteArray& apdu,
                        const PINVerifyData* data, Norvik::ByteArray& response);
    long RunDirect(unsigned long controlCode, std::span<const unsigned char> block, const char* verdictText,
                   Norvik::ByteArray& response);
    long RunStartFinish(const StartFinishEntry& entry, std::span<const unsigned char> block,
                        Norvik::ByteArray& response, int maxLength);
    long PollAndFinish(unsigned long finishCode, ReceiveBuffer<kAnswerSize>& answer, int maxLength);
    long PollKeys(ReceiveBuffer<kAnswerSize>& answer, int maxLength);
};
