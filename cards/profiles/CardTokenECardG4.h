#pragma once

#include "cards/iCardToken.h"

/** The eCard of the fourth generation, on ATOS 5.3: keys and certificates only, no named data, no decipher.
 */
class CardTokenECardG4 final : public iCardToken
{
public:
    CardTokenECardG4();

    CardType GetCardType() override;
    bool CheckPinLen(SmartCardApplication app, int length) override;
    unsigned long GetKeySize(SmartCardApplication app) override;
    /** Always 2: the card doesn't decipher. */
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
    unsigned long DoSignatureEnc(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override;
    /** Selects the signature application anew for every signature: its key needs no security environment. */
    unsigned long DoSignatureSig(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override;
    /** Always false: public keys come from the certificates. */
    bool ReadPublicKey(SmartCardApplication app, PublicKey* key) override;
    bool InternalGetCardIdentifier(std::string& text) override;
    bool InternalGetChipId(std::string& text) override;

    /** Sends @p mse and signs: 0; 1 when @p mse failed, 2 when the card didn't sign. */
    unsigned long DoSignature(const Norvik::ByteArray& mse, const Norvik::ByteArray& hash,
                              Norvik::ByteArray& signature);
};
