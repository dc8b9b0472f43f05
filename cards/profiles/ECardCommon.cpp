#include "cards/profiles/ECardCommon.h"

#include "cards/CardTokenImpl.h"
#include "cards/PINVerifyData.h"
#include "cards/TransactionGuard.h"
#include "cards/iCardToken.h"
#include "cards/profiles/KeySession.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

#include <cstring>

using LibReaderAndCard::LogMessage;

namespace ECardCommon
{

namespace
{

constexpr PinStatus kPinStatus[] = {
    {0x9000, 0xFFFF, CKR_OK, "VerifyReturnValue OK", PinStatusKind::Plain},
    {0x63C0, 0xFFF0, CKR_PIN_INCORRECT, "Falscher PIN (noch %d Versuche)", PinStatusKind::Tries},
    {0x6983, 0xFFFF, CKR_PIN_LOCKED, "PIN gesperrt", PinStatusKind::Plain},
    {0x6700, 0xFFFF, CKR_PIN_LEN_RANGE, "Falsche PIN-Länge", PinStatusKind::Plain},
    {0x6400, 0xFFFF, CKR_FUNCTION_CANCELED, "PIN-Eingabe abgelaufen", PinStatusKind::Plain},
    {0x6401, 0xFFFF, CKR_FUNCTION_CANCELED, "PIN-Eingabe abgebrochen", PinStatusKind::Plain},
    {0x0000, 0x0000, CKR_GENERAL_ERROR, "Fehler", PinStatusKind::Plain},
};

// READ BINARY with short file identifier 2.
constexpr unsigned char kReadChipId[] = {0x00, 0xB0, 0x82, 0x00, 0x00};
constexpr std::size_t kChipIdLeastResponse = 13;
constexpr std::size_t kChipIdBytes = 12;
/** The characters of a chip text that its card identifier leaves out. */
constexpr std::size_t kChipTextPrefix = 4;

} // namespace

constinit const PINVerifyData PinEncryption(AppEncryption, PinFormat2, 4, 4, 0x47);
constinit const PINVerifyData PinSignature(AppSignature, PinFormat2, 6, 6, 0x47);

Files MakeFiles(iCardToken* token, const FileIds& ids)
{
    constexpr unsigned long kUnknown = CardTokenImpl::UnknownLength;
    Files files;
    files.identityLink =
        ProfileCommon::MakeCardFile(token, {"Personenbindung", nullptr, ids.identityLink, true, kUnknown,
                                            eAccessPinInfobox, eAccessNever});
    files.signatureCertificate =
        ProfileCommon::MakeCardFile(token, {"SigCert", ids.signature, ids.signatureCertificate, true,
                                            kUnknown, eAccessAlways, eAccessNever});
    files.encryptionCertificate =
        ProfileCommon::MakeCardFile(token, {"EncCert", ids.encryption, ids.encryptionCertificate, true,
                                            kUnknown, eAccessAlways, eAccessNever});
    return files;
}

unsigned long VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries)
{
    return PinCommands::TranslateStatus(kPinStatus, response, retries);
}

bool ReadChipId(iCardReader* reader, CardTokenImpl& impl, const ChipStructureObject& masterFile,
                const char* readerMissing, std::string& text)
{
    if (!ProfileCommon::StartIdentifier(reader, "InternalGetChipId", readerMissing, text))
    {
        return false;
    }
    const TransactionGuard transaction(*reader);
    return transaction.Held() && impl.SelectFile(masterFile) &&
           ProfileCommon::ReadHexText(*reader, kReadChipId, kChipIdLeastResponse, kChipIdBytes, text);
}

bool ReadCardIdentifier(iCardToken& token, const iCardReader* reader, const char* readerMissing,
                        std::string& text)
{
    if (!ProfileCommon::StartIdentifier(reader, "InternalGetCardIdentifier", readerMissing, text) ||
        !token.InternalGetChipId(text))
    {
        return false;
    }
    text = text.substr(kChipTextPrefix);
    return true;
}

unsigned long ComputeSignature(iCardReader* reader, std::span<const unsigned char> prepare,
                               const Norvik::ByteArray& hash, Norvik::ByteArray& signature)
{
    LogMessage("hashlength: " + std::to_string(hash.size()));
    Apdu command(0x00, 0x2A, 0x9E, 0x9A);
    if (!AppendWithLength(command, hash))
    {
        return 2;
    }
    command.Append(0x00);

    if (reader == nullptr)
    {
        return 1;
    }
    KeySession key(*reader);
    if (!key.SetEnvironment(prepare))
    {
        return 1;
    }
    LogMessage("compute digital signature");
    if (!key.Send(command))
    {
        return 2;
    }
    signature = key.Data();
    return 0;
}

bool StartsWith(const unsigned char* name, std::string_view prefix)
{
    return std::strncmp(reinterpret_cast<const char*>(name), prefix.data(), prefix.size()) == 0;
}

} // namespace ECardCommon
