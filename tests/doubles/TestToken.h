#pragma once

#include "cards/iCardToken.h"

#include "cards/CardFile.h"
#include "cards/CardObject.h"

#include <functional>
#include <string>
#include <vector>

/**
 * A token of no card generation: every operation of a profile is a hook with a plain answer.
 *
 * The calls of the hooks are kept in Calls, in order, by the name of the operation and its application. The
 * base class's members are open to the test.
 */
class TestToken final : public iCardToken
{
public:
    using iCardToken::chipId;
    using iCardToken::encCertFile;
    using iCardToken::encCertIndex;
    using iCardToken::encPrivateIndex;
    using iCardToken::encPublicIndex;
    using iCardToken::infoboxFile;
    using iCardToken::infoboxIndex;
    using iCardToken::loggedIn;
    using iCardToken::objects;
    using iCardToken::rfu1File;
    using iCardToken::rfu2File;
    using iCardToken::sigCertFile;
    using iCardToken::sigCertIndex;
    using iCardToken::sigPrivateIndex;
    using iCardToken::sigPublicIndex;

    TestToken() = default;
    explicit TestToken(iCardReader* cardReader) { SetReader(cardReader); }

    CardType GetCardType() override { return CardTypeUnknown; }
    bool CheckPinLen(SmartCardApplication /*app*/, int /*length*/) override { return true; }
    unsigned long GetKeySize(SmartCardApplication /*app*/) override { return 1536; }
    unsigned long Decrypt(SmartCardApplication /*app*/, const Norvik::ByteArray& /*in*/,
                          Norvik::ByteArray& /*out*/) override
    {
        return CKR_FUNCTION_FAILED;
    }
    std::string GetTokenLabel() override { return "test token"; }
    std::string GetManufacturerID() override { return "test manufacturer"; }
    std::string GetTokenModel() override { return "test model"; }
    /** All three parts, with the key type of EncryptionKeyType and no mechanism. */
    std::vector<CardObject*>& GetObjectMap() override
    {
        if (objects.empty())
        {
            InitObjectMapCommons(true, true, true, EncryptionKeyType);
        }
        return objects;
    }
    unsigned long TokenGetAttributeValue(unsigned long /*handle*/, unsigned long /*type*/,
                                         Norvik::ByteArray& /*out*/) override
    {
        Calls.emplace_back("TokenGetAttributeValue");
        return CKR_ATTRIBUTE_TYPE_INVALID;
    }
    unsigned long TokenSetAttributeValue(unsigned long /*handle*/, CK_ATTRIBUTE* /*attribute*/) override
    {
        Calls.emplace_back("TokenSetAttributeValue");
        return CKR_ATTRIBUTE_TYPE_INVALID;
    }
    unsigned long C_CardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                  unsigned long* length) override
    {
        return CommonCardAttribute(name, out, length);
    }
    unsigned long ChangePin(SmartCardApplication app) override
    {
        return Count("ChangePin", app, ChangePinResult);
    }
    unsigned long UnblockPin(SmartCardApplication app) override
    {
        return Count("UnblockPin", app, UnblockPinResult);
    }
    unsigned long AuthenticatePin(SmartCardApplication app, const Norvik::ByteArray& pin,
                                  unsigned long* retries) override
    {
        Count("AuthenticatePin", app, CKR_OK);
        return OnAuthenticatePin(app, pin, retries);
    }
    bool DeauthenticatePin(SmartCardApplication app) override
    {
        return Count("DeauthenticatePin", app, CKR_OK) == CKR_OK && bDeauthenticatePin;
    }
    unsigned long VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries) override
    {
        Calls.emplace_back("VerifyReturnValue");
        return OnVerifyReturnValue(response, retries);
    }
    unsigned long DoSignatureEnc(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override
    {
        Calls.emplace_back("DoSignatureEnc");
        return OnSignature(hash, padding, digest, signature);
    }
    unsigned long DoSignatureSig(HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                 Norvik::ByteArray& signature) override
    {
        Calls.emplace_back("DoSignatureSig");
        return OnSignature(hash, padding, digest, signature);
    }
    bool ReadPublicKey(SmartCardApplication app, PublicKey* key) override
    {
        Count("ReadPublicKey", app, CKR_OK);
        return OnReadPublicKey(app, key);
    }
    bool InternalGetCardIdentifier(std::string& text) override
    {
        Calls.emplace_back("InternalGetCardIdentifier");
        return OnIdentifier(text);
    }
    bool InternalGetChipId(std::string& text) override
    {
        Calls.emplace_back("InternalGetChipId");
        return OnChipId(text);
    }

    std::vector<std::string> Calls;
    KeyType EncryptionKeyType = KeyTypeRSA;
    unsigned long ChangePinResult = CKR_OK;
    unsigned long UnblockPinResult = CKR_OK;
    bool bDeauthenticatePin = true;
    std::function<unsigned long(SmartCardApplication, const Norvik::ByteArray&, unsigned long*)>
        OnAuthenticatePin =
            [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) { return CKR_OK; };
    /** 90 00 is a success, 63 Cx a wrong PIN, 69 83 a locked one. */
    std::function<unsigned long(const Norvik::ByteArray&, unsigned long*)> OnVerifyReturnValue =
        &TestToken::JudgeStatusWord;
    std::function<unsigned long(HashAlgorithm, PaddingType, const Norvik::ByteArray&, Norvik::ByteArray&)>
        OnSignature =
            [](HashAlgorithm, PaddingType, const Norvik::ByteArray&, Norvik::ByteArray&) { return CKR_OK; };
    std::function<bool(SmartCardApplication, PublicKey*)> OnReadPublicKey = [](SmartCardApplication,
                                                                               PublicKey*) { return false; };
    std::function<bool(std::string&)> OnIdentifier = [](std::string& text) {
        text = "8040000012345678";
        return true;
    };
    std::function<bool(std::string&)> OnChipId = [](std::string& text) {
        text = "0123456789abcdef";
        return true;
    };

private:
    static unsigned long JudgeStatusWord(const Norvik::ByteArray& response, unsigned long* retries)
    {
        if (response.size() < 2)
        {
            return CKR_GENERAL_ERROR;
        }
        const int sw = response[0] << 8 | response[1];
        if ((sw & 0xFFF0) == 0x63C0)
        {
            *retries = static_cast<unsigned long>(sw & 0x0F);
            return CKR_PIN_INCORRECT;
        }
        if (sw == 0x6983)
        {
            return CKR_PIN_LOCKED;
        }
        return sw == 0x9000 ? CKR_OK : CKR_GENERAL_ERROR;
    }
    unsigned long Count(const std::string& operation, SmartCardApplication app, unsigned long result)
    {
        Calls.push_back(operation + " " + std::to_string(app));
        return result;
    }
};
