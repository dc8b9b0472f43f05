#pragma once

#include "cards/iCardToken.h"

/** The signature card on the chip ACOS EMV-A03: an RSA key for encryption, an elliptic-curve key for
 * signatures. */
class CardTokenAcos03 : public iCardToken
{
public:
    CardTokenAcos03();

    CardType GetCardType() override;
    bool CheckPinLen(SmartCardApplication app, int length) override;
    unsigned long GetKeySize(SmartCardApplication app) override;
    /** 0; 1 when the key couldn't be prepared or the PIN is missing; 2 for anything else. */
    unsigned long Decrypt(SmartCardApplication app, const Norvik::ByteArray& in,
                          Norvik::ByteArray& out) override;
    std::string GetTokenLabel() override;
    std::string GetManufacturerID() override;
    std::string GetTokenModel() override;
    std::vector<CardObject*>& GetObjectMap() override;
    unsigned long TokenGetAttributeValue(unsigned long handle, unsigned long type,
                                         Norvik::ByteArray& out) override;
    unsigned long TokenSetAttributeValue(unsigned long handle, CK_ATTRIBUTE* attribute) override;
    unsigned long C_CardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                  unsigned long* length) override;
    unsigned long ChangePin(SmartCardApplication app) override;
    unsigned long UnblockPin(SmartCardApplication app) override;
    unsigned long AuthenticatePin(SmartCardApplication app, const Norvik::ByteArray& pin,
                                  unsigned long* retries) override;
    bool DeauthenticatePin(SmartCardApplication app) override;
    unsigned long VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries) override;
    /** 0; 1 when the key couldn't be prepared, 2 when the card didn't sign, 3 for anything else. */
    unsigned long DoSignatureEnc(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override;
    /** 0; 1 when the key couldn't be prepared, 3 for anything else. */
    unsigned long DoSignatureSig(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override;
    bool ReadPublicKey(SmartCardApplication app, PublicKey* key) override;
    bool InternalGetCardIdentifier(std::string& text) override;
    bool InternalGetChipId(std::string& text) override;
};
