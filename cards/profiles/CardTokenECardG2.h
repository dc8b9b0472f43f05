#pragma once

#include "cards/iCardToken.h"

/**
 * The eCard of the second generation: two elliptic-curve keys that sign a 20-byte hash, and social-insurance
 * data.
 *
 * Reads its named data through C_CardAttribute().
 */
class CardTokenECardG2 : public iCardToken
{
public:
    CardTokenECardG2();

    CardType GetCardType() override;
    bool CheckPinLen(SmartCardApplication app, int length) override;
    unsigned long GetKeySize(SmartCardApplication app) override;
    /** Always 3: the card doesn't decipher. */
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
    unsigned long DoSignatureSig(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override;
    /** Always false: public keys come from the certificates. */
    bool ReadPublicKey(SmartCardApplication app, PublicKey* key) override;
    bool InternalGetCardIdentifier(std::string& text) override;
    bool InternalGetChipId(std::string& text) override;

    /**
     * Asks the card for the tries left of a PIN, which counts nothing.
     *
     * @param value becomes one byte: the tries, or FF for a PIN that can't be used; untouched on failure
     * @return CKR_OK or CKR_FUNCTION_FAILED
     */
    unsigned long ReadPinStatus(unsigned char reference, Norvik::ByteArray& value);

protected:
    /** ReadPinStatus() under a directory. Intended: CKR_OK, too, when the directory can't be reached. */
    unsigned long ReadPinStatusIn(const ChipStructureObject& directory, unsigned char reference,
                                  Norvik::ByteArray& value);

private:
    /** 0; 1 when the key couldn't be prepared, 2 when the card didn't sign, 3 for a hash that it doesn't
     * know. */
    unsigned long DoSignature(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                              Norvik::ByteArray& signature);
    unsigned long ReadSocialInsuranceFile(const char* selectText, const ChipStructureObject& file,
                                          Norvik::ByteArray& value);
    unsigned long ResetAndSelectMasterFile(const unsigned char* name, Norvik::ByteArray& out,
                                           unsigned long* length);
};
