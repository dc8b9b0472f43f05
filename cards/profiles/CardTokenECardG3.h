#pragma once

#include "cards/profiles/CardTokenECardG2.h"

/** The eCard of the third generation: an RSA key for encryption, and signatures in a single command. */
class CardTokenECardG3 : public CardTokenECardG2
{
public:
    CardType GetCardType() override;
    unsigned long GetKeySize(SmartCardApplication app) override;
    /** 0, or 3 on any failure. */
    unsigned long Decrypt(SmartCardApplication app, const Norvik::ByteArray& in,
                          Norvik::ByteArray& out) override;
    std::string GetTokenModel() override;
    std::vector<CardObject*>& GetObjectMap() override;
    unsigned long C_CardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                  unsigned long* length) override;
    unsigned long DoSignatureEnc(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override;
    unsigned long DoSignatureSig(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override;

    /** Sends @p mse and signs: 0; 1 when @p mse failed, 2 when the card didn't sign. */
    unsigned long DoSignature(const Norvik::ByteArray& mse, const Norvik::ByteArray& hash,
                              Norvik::ByteArray& signature);
};
