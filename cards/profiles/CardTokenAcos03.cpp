#include "cards/profiles/CardTokenAcos03.h"

#include "cards/TransactionGuard.h"
#include "cards/profiles/AcosFileIds.h"
#include "cards/profiles/KeySession.h"
#include "cards/profiles/PinCommands.h"
#include "cards/profiles/ProfileCommon.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

#include <algorithm>
#include <array>

using LibReaderAndCard::LogError;
using LibReaderAndCard::LogMessage;

namespace
{

constexpr unsigned long kEncryptionKeyBits = 1536;
constexpr unsigned long kSignatureKeyBits = 192;

constexpr PINVerifyData PinEncryption(AppEncryption, PinFormatAscii, 4, 4, 0x08);
constexpr PINVerifyData PinSignature(AppSignature, PinFormatAscii, 6, 6, 0x08);
constexpr PINVerifyData PinInfobox(AppInfobox, PinFormatAscii, 4, 4, 0x08);

constexpr PinCommand kVerifyPin[] = {
    {AppSignature, 0x81, nullptr, &nsACOS::DF_SIG, &PinSignature, {}},
    {AppEncryption, 0x81, nullptr, &nsACOS::DF_DEC, &PinEncryption, {}},
    {AppInfobox, 0x83, &nsACOS::DF_DEC, &nsACOS::EF_INFOBOX, &PinInfobox, {}},
};

constexpr PinCommand kChangePin[] = {
    {AppSignature, 0x81, nullptr, &nsACOS::DF_SIG, &PinSignature, {}},
    {AppEncryption, 0x81, nullptr, &nsACOS::DF_DEC, &PinEncryption, {}},
    // Intended: the card changes the infobox PIN under another reference than it verifies it, like an
    // encryption PIN.
    {AppInfobox, 0x88, nullptr, &nsACOS::DF_DEC, &PinEncryption, {}},
};

// 64 00 and 64 01 come from the keypad of a reader. Intended: SW2 of the last text in small letters.
constexpr PinStatus kPinStatus[] = {
    {0x9000, 0xFFFF, CKR_OK, "VerifyReturn OK", PinStatusKind::Plain},
    {0x63C0, 0xFFF0, CKR_PIN_INCORRECT, "Falscher PIN (noch %d Versuche)", PinStatusKind::Tries},
    {0x6700, 0xFFFF, CKR_PIN_LEN_RANGE, "Falsche PIN-Länge", PinStatusKind::Plain},
    {0x6400, 0xFFFF, CKR_FUNCTION_CANCELED, "PIN-Eingabe abgelaufen", PinStatusKind::Plain},
    {0x6401, 0xFFFF, CKR_FUNCTION_CANCELED, "PIN-Eingabe abgebrochen", PinStatusKind::Plain},
    {0x6983, 0xFFFF, CKR_PIN_LOCKED, "PIN gesperrt", PinStatusKind::NoTriesLeft},
    {0x6982, 0xFFFF, CKR_USER_TYPE_INVALID, "Security Status not satisfied", PinStatusKind::Plain},
    {0x6985, 0xFFFF, CKR_PIN_INCORRECT, "incorrect key type (no PIN)", PinStatusKind::Plain},
    {0x6988, 0xFFFF, CKR_GENERAL_ERROR, "Plain text verification not allowed", PinStatusKind::Plain},
    {0x6A81, 0xFFFF, CKR_GENERAL_ERROR, "Function not supported; wrong parameters P1-P2",
     PinStatusKind::Plain},
    {0x6A88, 0xFFFF, CKR_GENERAL_ERROR, "KID not found", PinStatusKind::Plain},
    {0x6D00, 0xFFFF, CKR_GENERAL_ERROR, "Instruction code not supported or invalid", PinStatusKind::Plain},
    {0x6E00, 0xFFFF, CKR_GENERAL_ERROR, "Class not supported", PinStatusKind::Plain},
    {0x6F81, 0xFFFF, CKR_GENERAL_ERROR, "System error", PinStatusKind::Plain},
    {0x0000, 0x0000, CKR_GENERAL_ERROR, "Fehler %02X %02x", PinStatusKind::NamesStatusWord},
};

constexpr ProfileCommon::CardFileRule kPersonenbindung = {
    "Personenbindung", &nsACOS::DF_DEC, &nsACOS::EF_INFOBOX, true, 700, eAccessPinInfobox, eAccessPinInfobox,
};
constexpr ProfileCommon::CardFileRule kSigCert = {
    "SigCert",     &nsACOS::DF_SIG, &nsACOS::EF_C_CH_SIGKEY, true, CardTokenImpl::UnknownLength,
    eAccessAlways, eAccessNever,
};
constexpr ProfileCommon::CardFileRule kEncCert = {
    "EncCert",     &nsACOS::DF_DEC, &nsACOS::EF_C_CH_EKEY, true, CardTokenImpl::UnknownLength,
    eAccessAlways, eAccessNever,
};
constexpr ProfileCommon::CardFileRule kRfu1 = {
    "RFU1", &nsACOS::DF_DEC, &nsACOS::EF_INFOBOX, false, 400, eAccessPinInfobox, eAccessPinInfobox,
};
constexpr ProfileCommon::CardFileRule kRfu2 = {
    "RFU2", &nsACOS::DF_DEC, &nsACOS::EF_INFOBOX, false, 400, eAccessPinInfobox, eAccessPinInfobox,
};

// MSE SET, authentication template: the encryption key (88) signs.
constexpr unsigned char kSetAuthentication[] = {0x00, 0x22, 0x41, 0xA4, 0x06, 0x84,
                                                0x01, 0x88, 0x80, 0x01, 0x01};
// MSE SET, confidentiality template: the encryption key (88) deciphers.
constexpr unsigned char kSetConfidentiality[] = {0x00, 0x22, 0x41, 0xB8, 0x06, 0x84,
                                                 0x01, 0x88, 0x80, 0x01, 0x02};
constexpr unsigned char kReadChipId[] = {0x80, 0xF6, 0x00, 0x00, 0x08};
constexpr unsigned char kReadBinary[] = {0x00, 0xB0, 0x00, 0x00, 0x00};
constexpr std::size_t kIdentifierBytes = 8;

/** MSE SET, digital signature template: the signature key (88), its algorithm by the length of the digest. */
constexpr std::array<unsigned char, 11> SetDigitalSignature(std::size_t digestBytes)
{
    const unsigned char algorithm = digestBytes == 28 ? 0x34 : digestBytes == 32 ? 0x44 : 0x14;
    return {0x00, 0x22, 0x81, 0xB6, 0x06, 0x84, 0x01, 0x88, 0x80, 0x01, algorithm};
}

bool IsSecurityStatusNotSatisfied(const Norvik::ByteArray& response)
{
    return response.size() == 2 && response[0] == 0x69 && response[1] == 0x82;
}

} // namespace

CardTokenAcos03::CardTokenAcos03()
{
    infoboxFile = ProfileCommon::MakeCardFile(this, kPersonenbindung);
    sigCertFile = ProfileCommon::MakeCardFile(this, kSigCert);
    encCertFile = ProfileCommon::MakeCardFile(this, kEncCert);
    rfu1File = ProfileCommon::MakeCardFile(this, kRfu1);
    rfu2File = ProfileCommon::MakeCardFile(this, kRfu2);
}

CardType CardTokenAcos03::GetCardType()
{
    return CardTypeAcos03;
}

bool CardTokenAcos03::CheckPinLen(SmartCardApplication app, int length)
{
    return ProfileCommon::CheckPinLen(app, length);
}

unsigned long CardTokenAcos03::GetKeySize(SmartCardApplication app)
{
    return ProfileCommon::KeySize(app, kEncryptionKeyBits, kSignatureKeyBits);
}

std::string CardTokenAcos03::GetTokenLabel()
{
    return "k.mark premium a";
}

std::string CardTokenAcos03::GetManufacturerID()
{
    return "Norvik";
}

std::string CardTokenAcos03::GetTokenModel()
{
    return "ACOS EMV-A03";
}

std::vector<CardObject*>& CardTokenAcos03::GetObjectMap()
{
    if (objects.empty())
    {
        InitObjectMapCommons(true, true, true, KeyTypeRSA);
        ProfileCommon::RegisterMechanisms(objects, encPrivateIndex, encPublicIndex,
                                          ProfileCommon::kRsaMechanisms);
        ProfileCommon::RegisterMechanisms(objects, sigPrivateIndex, sigPublicIndex,
                                          ProfileCommon::kEcdsaMechanisms);
    }
    return objects;
}

unsigned long CardTokenAcos03::TokenGetAttributeValue(unsigned long /*handle*/, unsigned long /*type*/,
                                                      Norvik::ByteArray& /*out*/)
{
    LogMessage("CardTokenAcos03::TokenGetAttributeValue");
    return CKR_ATTRIBUTE_TYPE_INVALID;
}

unsigned long CardTokenAcos03::TokenSetAttributeValue(unsigned long /*handle*/, CK_ATTRIBUTE* /*attribute*/)
{
    LogMessage("CardTokenAcos03::TokenSetAttributeValue");
    return CKR_ATTRIBUTE_TYPE_INVALID;
}

unsigned long CardTokenAcos03::C_CardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                               unsigned long* length)
{
    return CommonCardAttribute(name, out, length);
}

unsigned long CardTokenAcos03::ChangePin(SmartCardApplication app)
{
    return PinCommands::Change(*this, kChangePin, app);
}

unsigned long CardTokenAcos03::UnblockPin(SmartCardApplication /*app*/)
{
    LogMessage("CardTokenAcos03::UnblockPin");
    return CKR_FUNCTION_FAILED;
}

unsigned long CardTokenAcos03::AuthenticatePin(SmartCardApplication app, const Norvik::ByteArray& pin,
                                               unsigned long* retries)
{
    return PinCommands::Verify(*this, kVerifyPin, app, pin, retries);
}

bool CardTokenAcos03::DeauthenticatePin(SmartCardApplication /*app*/)
{
    return ProfileCommon::SelectMasterFile(reader, *impl, nsACOS::DF_MF);
}

unsigned long CardTokenAcos03::VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries)
{
    return PinCommands::TranslateStatus(kPinStatus, response, retries);
}

unsigned long CardTokenAcos03::DoSignatureEnc(HashAlgorithm hash, PaddingType padding,
                                              const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureEnc");
    Norvik::ByteArray prepared;
    if (!PrepareDigest(digest, prepared, hash, padding))
    {
        LogError("error in PrepareDigest");
        return 3;
    }
    Apdu internalAuthenticate(0x00, 0x88, 0x10, 0x00);
    if (!AppendWithLength(internalAuthenticate, prepared))
    {
        return 3;
    }
    internalAuthenticate.Append(0x00);

    if (reader == nullptr)
    {
        return 1;
    }
    KeySession key(*reader);
    if (!key.SetEnvironment(kSetAuthentication))
    {
        return 1;
    }
    LogMessage("internal authenticate");
    if (!key.Send(internalAuthenticate))
    {
        return 2;
    }
    LogMessage("after CheckApduSW");
    signature = key.Data();
    LogMessage("after buffer copy");
    return 0;
}

unsigned long CardTokenAcos03::DoSignatureSig(HashAlgorithm /*hash*/, PaddingType /*padding*/,
                                              const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureSig");
    Norvik::ByteArray prepared;
    if (!RemoveDigestInfoForSignature(digest, prepared))
    {
        LogError("error remove hash digest info");
    }
    Apdu putHash(0x00, 0x2A, 0x90, 0x81);
    if (!AppendWithLength(putHash, prepared))
    {
        return 3;
    }

    if (reader == nullptr)
    {
        return 1;
    }
    KeySession key(*reader);
    if (!key.SetEnvironment(SetDigitalSignature(prepared.size())))
    {
        return 1;
    }
    LogMessage("put hash");
    const bool bHashed = key.Send(putHash);
    LogMessage("compute signature");
    const bool bSigned = bHashed && key.Send(kComputeSignature);
    LogMessage("after CheckApduSW");
    if (bSigned)
    {
        signature = key.Data();
    }
    LogMessage("after buffer copy");
    return bSigned ? 0 : 3;
}

unsigned long CardTokenAcos03::Decrypt(SmartCardApplication app, const Norvik::ByteArray& in,
                                       Norvik::ByteArray& out)
{
    if (app != AppEncryption)
    {
        LogError("Decrypt only supported for enc certificate");
        return 2;
    }
    Apdu decipher(0x00, 0x2A, 0x80, 0x86);
    if (!AppendCryptogram(decipher, in, GetKeySize(AppEncryption) / 8))
    {
        return 2;
    }

    if (reader == nullptr)
    {
        return 1;
    }
    KeySession key(*reader);
    if (!key.SetEnvironment(kSetConfidentiality))
    {
        return 1;
    }
    LogMessage("PSO - DECIPHER");
    if (!key.Send(decipher))
    {
        return IsSecurityStatusNotSatisfied(key.Response()) ? 1 : 2;
    }
    out = key.Data();
    return 0;
}

bool CardTokenAcos03::ReadPublicKey(SmartCardApplication app, PublicKey* key)
{
    if (app != AppEncryption || reader == nullptr)
    {
        return false;
    }
    constexpr unsigned long kModulusBytes = kEncryptionKeyBits / 8;
    constexpr unsigned long kExponent = 0x10001;
    Norvik::ByteArray modulus;
    {
        const TransactionGuard transaction(*reader);
        if (!transaction.Held() || !impl->SelectDirectoryAndFile(nsACOS::DF_DEC, nsACOS::EF_PK_CH_EKEY) ||
            !impl->ReadCardFile(kModulusBytes, modulus))
        {
            return false;
        }
    }
    return key->SetRsaKey(kExponent, modulus);
}

bool CardTokenAcos03::InternalGetCardIdentifier(std::string& text)
{
    if (!ProfileCommon::StartIdentifier(reader, "InternalGetCardIdentifier",
                                        "CardTokenAcos03::InternalGetCardIdentifier, Reader is NULL", text))
    {
        return false;
    }
    const TransactionGuard transaction(*reader);
    return transaction.Held() && impl->SelectDirectoryAndFile(nsACOS::DF_DEC, nsACOS::EF_CIN_CSN) &&
           ProfileCommon::ReadHexText(*reader, kReadBinary, kIdentifierBytes, kIdentifierBytes, text);
}

bool CardTokenAcos03::InternalGetChipId(std::string& text)
{
    if (!ProfileCommon::StartIdentifier(reader, "InternalGetChipId",
                                        "CardTokenAcos03::InternalGetChipId, Reader is NULL", text))
    {
        return false;
    }
    const TransactionGuard transaction(*reader);
    return transaction.Held() &&
           ProfileCommon::ReadHexText(*reader, kReadChipId, kIdentifierBytes, kIdentifierBytes, text);
}
