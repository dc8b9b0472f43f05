#include "cards/profiles/CardTokenECardG2.h"

#include "cards/TransactionGuard.h"
#include "cards/profiles/ECardCommon.h"
#include "cards/profiles/ECardFileIds.h"
#include "cards/profiles/KeySession.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

using LibReaderAndCard::LogError;
using LibReaderAndCard::LogMessage;

namespace
{

constexpr ECardCommon::FileIds kFileIds = {
    &nsECARD::DF_MF,          &nsECARD::DF_ENC,     &nsECARD::EF_C_CH_EKEY,    &nsECARD::DF_SIG,
    &nsECARD::EF_C_CH_SIGKEY, &nsECARD::DF_INFOBOX, &nsECARD::EF_IDENTITYLINK,
};
constexpr auto kPinCommands = ECardCommon::PinTable(kFileIds);

constexpr unsigned char kSignaturePinReference = 0x81;
constexpr unsigned char kEncryptionPinReference = 0x01;

// PSO HASH takes a data field of one size.
constexpr unsigned char kPutHashLength = 0x16;
constexpr unsigned char kHashTag = 0x90;

/** MSE SET, digital signature template: key 02 of the current directory, the algorithm named by its object 13
 * 35 xx. */
constexpr std::array<unsigned char, 15> SetDigitalSignature(unsigned char hashReference)
{
    return {0x00, 0x22, 0x41, 0xB6, 0x0A, 0x84, 0x03,         0x80,
            0x02, 0x00, 0x89, 0x03, 0x13, 0x35, hashReference};
}

} // namespace

CardTokenECardG2::CardTokenECardG2()
{
    ECardCommon::Files files = ECardCommon::MakeFiles(this, kFileIds);
    infoboxFile = std::move(files.identityLink);
    sigCertFile = std::move(files.signatureCertificate);
    encCertFile = std::move(files.encryptionCertificate);
}

CardType CardTokenECardG2::GetCardType()
{
    return CardTypeECardG2;
}

bool CardTokenECardG2::CheckPinLen(SmartCardApplication app, int length)
{
    return ProfileCommon::CheckPinLen(app, length);
}

unsigned long CardTokenECardG2::GetKeySize(SmartCardApplication app)
{
    return ProfileCommon::KeySize(app, 192, 256);
}

unsigned long CardTokenECardG2::Decrypt(SmartCardApplication /*app*/, const Norvik::ByteArray& /*in*/,
                                        Norvik::ByteArray& /*out*/)
{
    LogError("Decrypt not yet implemented");
    return 3;
}

std::string CardTokenECardG2::GetTokenLabel()
{
    return "k.mark premium e";
}

std::string CardTokenECardG2::GetManufacturerID()
{
    return "SV";
}

std::string CardTokenECardG2::GetTokenModel()
{
    return "eCard G2";
}

std::vector<CardObject*>& CardTokenECardG2::GetObjectMap()
{
    if (objects.empty())
    {
        InitObjectMapCommons(true, true, true, KeyTypeECDSA);
        ProfileCommon::RegisterMechanisms(objects, encPrivateIndex, encPublicIndex,
                                          ProfileCommon::kEcdsaMechanisms);
        ProfileCommon::RegisterMechanisms(objects, sigPrivateIndex, sigPublicIndex,
                                          ProfileCommon::kEcdsaMechanisms);
    }
    return objects;
}

unsigned long CardTokenECardG2::TokenGetAttributeValue(unsigned long /*handle*/, unsigned long /*type*/,
                                                       Norvik::ByteArray& /*out*/)
{
    LogMessage("CardTokenECardG2::TokenGetAttributeValue");
    return CKR_ATTRIBUTE_TYPE_INVALID;
}

unsigned long CardTokenECardG2::TokenSetAttributeValue(unsigned long /*handle*/, CK_ATTRIBUTE* /*attribute*/)
{
    LogMessage("CardTokenECardG2::TokenSetAttributeValue");
    return CKR_ATTRIBUTE_TYPE_INVALID;
}

unsigned long CardTokenECardG2::C_CardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                                unsigned long* length)
{
    if (ECardCommon::StartsWith(name, "SV-Personendaten/EHIC"))
    {
        return ReadSocialInsuranceFile("select ehic", nsECARD::EF_EHIC, out);
    }
    if (ECardCommon::StartsWith(name, "SV-Personendaten/Grunddaten"))
    {
        return ReadSocialInsuranceFile("select grunddaten", nsECARD::EF_GRUNDDATEN, out);
    }
    if (ECardCommon::StartsWith(name, "SicSig/PIN-Status"))
    {
        LogMessage("read pin status sig");
        return ReadPinStatusIn(nsECARD::DF_SIG, kSignaturePinReference, out);
    }
    if (ECardCommon::StartsWith(name, "GewSig/PIN-Status"))
    {
        LogMessage("read pin status dec");
        return ReadPinStatusIn(nsECARD::DF_ENC, kEncryptionPinReference, out);
    }
    if (ECardCommon::StartsWith(name, "Reset"))
    {
        return ResetAndSelectMasterFile(name, out, length);
    }
    return CommonCardAttribute(name, out, length);
}

unsigned long CardTokenECardG2::ReadSocialInsuranceFile(const char* selectText,
                                                        const ChipStructureObject& file,
                                                        Norvik::ByteArray& value)
{
    LogMessage("read ehic/grunddaten");
    if (reader == nullptr)
    {
        return CKR_FUNCTION_FAILED;
    }
    TransactionGuard transaction(*reader);
    bool bRead = transaction.Held() && impl->SelectFile(nsECARD::DF_SVPERS);
    if (bRead)
    {
        LogMessage(selectText);
        bRead = impl->SelectFile(file) && impl->ReadAsn1DataFromCard(value);
    }
    const bool bEnded = transaction.End();
    return bRead && bEnded ? CKR_OK : CKR_FUNCTION_FAILED;
}

unsigned long CardTokenECardG2::ReadPinStatusIn(const ChipStructureObject& directory, unsigned char reference,
                                                Norvik::ByteArray& value)
{
    if (reader == nullptr)
    {
        return CKR_OK;
    }
    const TransactionGuard transaction(*reader);
    if (!transaction.Held() || !impl->SelectFile(directory))
    {
        return CKR_OK;
    }
    return ReadPinStatus(reference, value);
}

unsigned long CardTokenECardG2::ResetAndSelectMasterFile(const unsigned char* name, Norvik::ByteArray& out,
                                                         unsigned long* length)
{
    const unsigned long rv = CommonCardAttribute(name, out, length);
    if (rv != CKR_OK)
    {
        return rv;
    }
    LogMessage("select master file");
    if (!impl->SelectFile(nsECARD::DF_MF))
    {
        // Intended: the failure is not ignored in spite of the text.
        LogError("error selecting master df -> ignore");
        return CKR_FUNCTION_FAILED;
    }
    return CKR_OK;
}

unsigned long CardTokenECardG2::ReadPinStatus(unsigned char reference, Norvik::ByteArray& value)
{
    // VERIFY without data.
    const unsigned char command[] = {0x00, 0x20, 0x00, reference};
    Norvik::ByteArray response;
    if (reader == nullptr || !reader->SendApdu(command, sizeof(command), response) || response.size() < 2)
    {
        return CKR_FUNCTION_FAILED;
    }
    const unsigned int statusWord = static_cast<unsigned int>(response[0]) << 8U | response[1];
    if (statusWord == 0x6984 || statusWord == 0x6400)
    {
        value.assign(1, 0xFF);
        return CKR_OK;
    }
    if (response[0] == 0x63)
    {
        // C0 to CF become 0 to F.
        value.assign(1, static_cast<unsigned char>(response[1] + 0x40));
        return CKR_OK;
    }
    LogError("invalid response from Verify Pin Status");
    return CKR_FUNCTION_FAILED;
}

unsigned long CardTokenECardG2::ChangePin(SmartCardApplication app)
{
    return PinCommands::Change(*this, kPinCommands, app);
}

unsigned long CardTokenECardG2::UnblockPin(SmartCardApplication /*app*/)
{
    LogMessage("CardTokenECardG2::UnblockPin");
    return CKR_FUNCTION_FAILED;
}

unsigned long CardTokenECardG2::AuthenticatePin(SmartCardApplication app, const Norvik::ByteArray& pin,
                                                unsigned long* retries)
{
    return PinCommands::Verify(*this, kPinCommands, app, pin, retries);
}

bool CardTokenECardG2::DeauthenticatePin(SmartCardApplication /*app*/)
{
    return ProfileCommon::SelectMasterFile(reader, *impl, nsECARD::DF_MF);
}

unsigned long CardTokenECardG2::VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries)
{
    return ECardCommon::VerifyReturnValue(response, retries);
}

unsigned long CardTokenECardG2::DoSignatureEnc(HashAlgorithm hash, PaddingType padding,
                                               const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureEnc");
    return DoSignature(hash, padding, digest, signature);
}

unsigned long CardTokenECardG2::DoSignatureSig(HashAlgorithm hash, PaddingType padding,
                                               const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureSig");
    return DoSignature(hash, padding, digest, signature);
}

unsigned long CardTokenECardG2::DoSignature(HashAlgorithm hash, PaddingType /*padding*/,
                                            const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    if (hash != HashSha1 && hash != HashRipemd160)
    {
        LogError("error invalid hash algo");
        return 3;
    }
    // Intended: Lc doesn't follow the size of the digest, only the inner length does.
    Apdu putHash(0x00, 0x2A, 0x90, 0xA0, kPutHashLength);
    putHash.Append(kHashTag);
    if (!AppendWithLength(putHash, digest))
    {
        return 2;
    }

    if (reader == nullptr)
    {
        return 1;
    }
    KeySession key(*reader);
    if (!key.SetEnvironment(SetDigitalSignature(hash == HashRipemd160 ? 0x20 : 0x10)))
    {
        return 1;
    }
    LogMessage("Put Hash");
    const bool bHashed = key.Send(putHash);
    LogMessage("PSO compute signature");
    if (!bHashed || !key.Send(kComputeSignature))
    {
        return 2;
    }
    LogMessage("after CheckApduSW");
    signature = key.Data();
    LogMessage("after buffer copy");
    return 0;
}

bool CardTokenECardG2::ReadPublicKey(SmartCardApplication /*app*/, PublicKey* /*key*/)
{
    return false;
}

bool CardTokenECardG2::InternalGetCardIdentifier(std::string& text)
{
    return ECardCommon::ReadCardIdentifier(
        *this, reader, "CardTokenECardG2::InternalGetCardIdentifier, Reader is NULL", text);
}

bool CardTokenECardG2::InternalGetChipId(std::string& text)
{
    return ECardCommon::ReadChipId(reader, *impl, nsECARD::DF_MF,
                                   "CardTokenECardG2::InternalGetChipId, Reader is NULL", text);
}
