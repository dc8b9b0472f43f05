#pragma once

#include "cards/Apdu.h"
#include "cards/CardTokenImpl.h"
#include "cards/CardType.h"
#include "cards/PINVerifyData.h"
#include "cards/SmartCardApplication.h"
#include "common/Uncopyable.h"
#include "crypto/ByteArray.h"
#include "crypto/DigestPreparation.h"
#include "crypto/PublicKey.h"

#include <memory>
#include <string>
#include <vector>

#include <p11-kit/pkcs11.h>

class CardFile;
class CardObject;
class iCardReader;

/**
 * One inserted card in one reader: what all card generations share, and the operations that a profile
 * supplies.
 *
 * Owned by the token list. The reader is borrowed and outlives the token. Takes no lock: callers serialise
 * access to a slot, and a sequence of commands runs in a card transaction.
 */
class iCardToken : Uncopyable
{
public:
    /** CKF_WRITE_PROTECTED, LOGIN_REQUIRED, USER_PIN_INITIALIZED, PROTECTED_AUTHENTICATION_PATH,
     * TOKEN_INITIALIZED */
    static constexpr unsigned long DefaultFlags = 0x50E;
    /** Data bytes of one UPDATE BINARY. */
    static constexpr unsigned long UPDATE_BINARY_MAX_WRITE = 128;

    iCardToken();
    ~iCardToken() override;

    // What a profile supplies. Results named rv are 0 or a CKR_ value.

    virtual CardType GetCardType() = 0;
    virtual bool CheckPinLen(SmartCardApplication app, int length) = 0;
    /** Bits; all ones for an unknown application. */
    virtual unsigned long GetKeySize(SmartCardApplication app) = 0;
    virtual unsigned long Decrypt(SmartCardApplication app, const Norvik::ByteArray& in,
                                  Norvik::ByteArray& out) = 0;
    virtual std::string GetTokenLabel() = 0;
    virtual std::string GetManufacturerID() = 0;
    virtual std::string GetTokenModel() = 0;
    /** The object table, built on first use. */
    virtual std::vector<CardObject*>& GetObjectMap() = 0;
    /** rv; attributes that no object holds. */
    virtual unsigned long TokenGetAttributeValue(unsigned long handle, unsigned long type,
                                                 Norvik::ByteArray& out) = 0;
    virtual unsigned long TokenSetAttributeValue(unsigned long handle, CK_ATTRIBUTE* attribute) = 0;
    /** rv; named card attributes. */
    virtual unsigned long C_CardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                          unsigned long* length) = 0;
    virtual unsigned long ChangePin(SmartCardApplication app) = 0;
    virtual unsigned long UnblockPin(SmartCardApplication app) = 0;
    virtual unsigned long AuthenticatePin(SmartCardApplication app, const Norvik::ByteArray& pin,
                                          unsigned long* retries) = 0;
    /** Ends the PIN state on the card. */
    virtual bool DeauthenticatePin(SmartCardApplication app) = 0;
    /** rv; turns the status word of a PIN command into a CKR_ value and a retry count. */
    virtual unsigned long VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries) = 0;
    /** 0 on success. */
    virtual unsigned long DoSignatureEnc(HashAlgorithm hash, PaddingType padding,
                                         const Norvik::ByteArray& digest, Norvik::ByteArray& signature) = 0;
    virtual unsigned long DoSignatureSig(HashAlgorithm hash, PaddingType padding,
                                         const Norvik::ByteArray& digest, Norvik::ByteArray& signature) = 0;
    /** The public key from the card itself; false sends the caller to the certificate. */
    virtual bool ReadPublicKey(SmartCardApplication app, PublicKey* key) = 0;
    virtual bool InternalGetCardIdentifier(std::string& text) = 0;
    virtual bool InternalGetChipId(std::string& text) = 0;

    /** Cryptoki token flags; they move with PIN results. */
    [[nodiscard]] unsigned long GetFlags() const { return flags; }
    void UpdateFlags(unsigned long rv, unsigned long retries);
    void SetChipId(std::string id) { chipId = std::move(id); }
    void SetReader(iCardReader* cardReader);
    bool GetATR(Norvik::ByteArray& atr);
    /** Disconnects and connects again; keeps login mark, flags, selected directory and caches. */
    bool ResetCard();
    /** "ATR..." and "Reset..."; 6 for any other name. */
    unsigned long CommonCardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                      unsigned long* length);
    /** A raw exchange in a transaction of its own; the status word is for the caller. */
    bool CardTransmit(const Norvik::ByteArray& command, Norvik::ByteArray& response);
    /** Writes @p data to the selected EF from offset 0 (UPDATE BINARY). No rollback. */
    bool Write(const Norvik::ByteArray& data);
    [[nodiscard]] ChipStructureObject GetCurrentDF() const { return impl->GetCurrentDF(); }
    void SetCurrentDF(ChipStructureObject& df) { impl->SetCurrentDF(df); }

    static bool IsIdentifierOk(const std::string& text);
    bool GetCardIdentifier(std::string& out);
    static bool IsChipIdOk(const std::string& text);
    bool GetChipId(std::string& out);

    // Object table.

    CardObject* GetCardObject(unsigned long handle);
    SmartCardApplication ApplicationForCardObject(unsigned long handle);
    int CreateCertObject(std::string label, std::string id, CardFile* file, SmartCardApplication app);
    int CreatePublicKey(std::string label, KeyType keyType, std::string id, CardFile* file);
    int CreatePrivateKey(std::string label, KeyType keyType, std::string id, CardFile* file);
    void InitObjectMapCommons(bool bEncryption, bool bSignature, bool bInfobox, KeyType encryptionKeyType);

    // PIN flow.

    /** rv; an empty PIN is asked for by keypad or dialog. */
    unsigned long Login(SmartCardApplication app, const Norvik::ByteArray& pin, unsigned long* retries);
    /** Always asks for the PIN; whether that worked. */
    bool Login(SmartCardApplication app, unsigned long* retries);
    bool Logout(SmartCardApplication app);
    [[nodiscard]] bool IsLoggedIn() const { return loggedIn; }
    unsigned long DoAuthenticatePin(const ChipStructureObject& df, std::vector<Apdu> preCommands,
                                    Apdu* command, const PINVerifyData& data, const Norvik::ByteArray& pin,
                                    unsigned long* retries);
    unsigned long DoAuthenticatePin(const ChipStructureObject& df, Apdu* command, const PINVerifyData& data,
                                    const Norvik::ByteArray& pin, unsigned long* retries);
    unsigned long DoChangePin(const ChipStructureObject& df, std::vector<Apdu> preCommands, Apdu* command,
                              const PINVerifyData& data, const Norvik::ByteArray& pin,
                              unsigned long* retries);
    unsigned long DoChangePin(const ChipStructureObject& df, Apdu* command, const PINVerifyData& data,
                              const Norvik::ByteArray& pin, unsigned long* retries);
    /** Appends the PIN block of 8 bytes; false for a format that has none. */
    bool DoPinPadding(Apdu* apdu, PINFormat format, const Norvik::ByteArray& pin);

    // Signatures and attributes.

    unsigned long Sign(SmartCardApplication app, HashAlgorithm hash, PaddingType padding, bool bDoHash,
                       const Norvik::ByteArray& data, Norvik::ByteArray& signature);
    bool Verify(SmartCardApplication app, HashAlgorithm hash, PaddingType padding, bool bDoHash,
                const Norvik::ByteArray& data, const Norvik::ByteArray& signature, bool& valid);
    bool GetCertificate(SmartCardApplication app, Norvik::ByteArray& certificate);
    bool GetPublicKey(SmartCardApplication app, PublicKey* key);
    bool ParseKeyFromCert(const Norvik::ByteArray& certificate, PublicKey* key);
    unsigned long GetAttributeValue(unsigned long handle, unsigned long type, Norvik::ByteArray& out);
    unsigned long SetAttributeValue(unsigned long handle, CK_ATTRIBUTE* attributes, unsigned long count);
    unsigned long SetAttributeValueWriteAttribute(std::shared_ptr<CardFile> file, unsigned long objectClass,
                                                  CK_ATTRIBUTE* attributes, unsigned long count,
                                                  SmartCardApplication app);
    static void FillCkDate(CK_DATE& date, unsigned short year, unsigned short month, unsigned short day);

    /** The file selection engine; for the token's own files. */
    [[nodiscard]] CardTokenImpl& Impl() { return *impl; }

protected:
    std::unique_ptr<CardTokenImpl> impl;
    iCardReader* reader = nullptr;    ///< not owned; null until SetReader()
    std::vector<CardObject*> objects; ///< owned
    std::string chipId;
    int encCertIndex = -1;
    int encPrivateIndex = -1;
    int encPublicIndex = -1;
    int sigCertIndex = -1;
    int sigPrivateIndex = -1;
    int sigPublicIndex = -1;
    int infoboxIndex = -1;
    bool loggedIn = false;
    unsigned long flags = DefaultFlags;
    std::shared_ptr<CardFile> sigCertFile;
    std::shared_ptr<CardFile> encCertFile;
    std::shared_ptr<CardFile> infoboxFile;
    std::shared_ptr<CardFile> rfu1File;
    std::shared_ptr<CardFile> rfu2File;

private:
    struct PinOperation;
    struct PinRequest;

    /** The flow of a PIN operation, from the transaction to the flags. @return rv */
    unsigned long RunPinOperation(const PinOperation& operation, const PinRequest& request);
    /** Selects the directory of the PIN and sends what the profile wants to go before. */
    bool SendBeforePin(const PinRequest& request);
    /** Gets the PIN to the card, by keypad or command; false when there is no response to judge. */
    bool PresentPin(const PinOperation& operation, const PinRequest& request, const std::string& identifier,
                    bool bKeypad, Norvik::ByteArray& response);
    /** Has the user type on the reader. @return a PinEntryResult, or what else the reader says */
    int EnterPinOnReader(const PinOperation& operation, const PinRequest& request,
                         const std::string& identifier, Norvik::ByteArray& response);
    /** Appends the PIN, given or asked for in a dialog, to the command and sends it. */
    bool SendPinCommand(const PinOperation& operation, const PinRequest& request,
                        Norvik::ByteArray& response);

    /** Null for an application without certificate, and when the profile has no such file. */
    [[nodiscard]] CardFile* CertificateFile(SmartCardApplication app) const;
};
