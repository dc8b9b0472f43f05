#include "cards/profiles/CardTokenECardG4.h"

#include "cards/profiles/ECardCommon.h"
#include "cards/profiles/ECardG4FileIds.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

using LibReaderAndCard::LogMessage;

namespace
{

constexpr ECardCommon::FileIds kFileIds = {
    &nsECARD_G4::DF_MF,          &nsECARD_G4::DF_ENC,     &nsECARD_G4::EF_C_CH_EKEY,    &nsECARD_G4::DF_SIG,
    &nsECARD_G4::EF_C_CH_SIGKEY, &nsECARD_G4::DF_INFOBOX, &nsECARD_G4::EF_IDENTITYLINK,
};
constexpr auto kPinCommands = ECardCommon::PinTable(kFileIds);

// MSE SET, digital signature template: key 83 with usage qualifier 40.
constexpr unsigned char kSetEncryptionKey[] = {0x00, 0x22, 0x41, 0xB6, 0x06, 0x84,
                                               0x01, 0x83, 0x95, 0x01, 0x40};

constexpr unsigned char AID_SIG[] = {0xD0, 0x40, 0x00, 0x00, 0x17, 0x00, 0x12, 0x01};

} // namespace

CardTokenECardG4::CardTokenECardG4()
{
    ECardCommon::Files files = ECardCommon::MakeFiles(this, kFileIds);
    infoboxFile = std::move(files.identityLink);
    sigCertFile = std::move(files.signatureCertificate);
    encCertFile = std::move(files.encryptionCertificate);
}

CardType CardTokenECardG4::GetCardType()
{
    return CardTypeECardG4;
}

bool CardTokenECardG4::CheckPinLen(SmartCardApplication app, int length)
{
    return ProfileCommon::CheckPinLen(app, length);
}

unsigned long CardTokenECardG4::GetKeySize(SmartCardApplication app)
{
    return ProfileCommon::KeySize(app, 256, 256);
}

unsigned long CardTokenECardG4::Decrypt(SmartCardApplication /*app*/, const Norvik::ByteArray& /*in*/,
                                        Norvik::ByteArray& /*out*/)
{
    return 2;
}

std::string CardTokenECardG4::GetTokenLabel()
{
    return "k.mark premium e";
}

std::string CardTokenECardG4::GetManufacturerID()
{
    return "Norvik";
}

std::string CardTokenECardG4::GetTokenModel()
{
    return "ATOS 5.3";
}

std::vector<CardObject*>& CardTokenECardG4::GetObjectMap()
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

unsigned long CardTokenECardG4::TokenGetAttributeValue(unsigned long /*handle*/, unsigned long /*type*/,
                                                       Norvik::ByteArray& /*out*/)
{
    return CKR_FUNCTION_NOT_SUPPORTED;
}

unsigned long CardTokenECardG4::TokenSetAttributeValue(unsigned long /*handle*/, CK_ATTRIBUTE* /*attribute*/)
{
    return CKR_FUNCTION_NOT_SUPPORTED;
}

unsigned long CardTokenECardG4::C_CardAttribute(const unsigned char* /*name*/, Norvik::ByteArray& /*out*/,
                                                unsigned long* /*length*/)
{
    return CKR_FUNCTION_NOT_SUPPORTED;
}

unsigned long CardTokenECardG4::ChangePin(SmartCardApplication app)
{
    return PinCommands::Change(*this, kPinCommands, app);
}

unsigned long CardTokenECardG4::UnblockPin(SmartCardApplication /*app*/)
{
    return CKR_FUNCTION_NOT_SUPPORTED;
}

unsigned long CardTokenECardG4::AuthenticatePin(SmartCardApplication app, const Norvik::ByteArray& pin,
                                                unsigned long* retries)
{
    return PinCommands::Verify(*this, kPinCommands, app, pin, retries);
}

bool CardTokenECardG4::DeauthenticatePin(SmartCardApplication /*app*/)
{
    return ProfileCommon::SelectMasterFile(reader, *impl, nsECARD_G4::DF_MF);
}

unsigned long CardTokenECardG4::VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries)
{
    return ECardCommon::VerifyReturnValue(response, retries);
}

unsigned long CardTokenECardG4::DoSignature(const Norvik::ByteArray& mse, const Norvik::ByteArray& hash,
                                            Norvik::ByteArray& signature)
{
    return ECardCommon::ComputeSignature(reader, mse, hash, signature);
}

unsigned long CardTokenECardG4::DoSignatureEnc(HashAlgorithm /*hash*/, PaddingType /*padding*/,
                                               const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureEnc");
    return DoSignature({kSetEncryptionKey, sizeof(kSetEncryptionKey)}, digest, signature);
}

unsigned long CardTokenECardG4::DoSignatureSig(HashAlgorithm /*hash*/, PaddingType /*padding*/,
                                               const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureSig");
    Apdu select(0x00, 0xA4, 0x04, 0x0C, sizeof(AID_SIG));
    select.Append(AID_SIG, sizeof(AID_SIG));
    select.Append(0x00);
    // Intended: the engine that remembers the selected directory is not told.
    return ECardCommon::ComputeSignature(reader, select, digest, signature);
}

bool CardTokenECardG4::ReadPublicKey(SmartCardApplication /*app*/, PublicKey* /*key*/)
{
    return false;
}

bool CardTokenECardG4::InternalGetCardIdentifier(std::string& text)
{
    return ECardCommon::ReadCardIdentifier(
        *this, reader, "CardTokenECardG4::InternalGetCardIdentifier, Reader is NULL", text);
}

bool CardTokenECardG4::InternalGetChipId(std::string& text)
{
    return ECardCommon::ReadChipId(reader, *impl, nsECARD_G4::DF_MF,
                                   "CardTokenECardG4::InternalGetChipId, Reader is NULL", text);
}
