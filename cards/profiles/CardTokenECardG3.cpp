#include "cards/profiles/CardTokenECardG3.h"

#include "cards/profiles/ECardCommon.h"
#include "cards/profiles/ECardFileIds.h"
#include "cards/profiles/KeySession.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

using LibReaderAndCard::LogError;
using LibReaderAndCard::LogMessage;

namespace
{

// MSE SET, digital signature template: key 80 03 00 with algorithm 02, and key 82 with algorithm 04.
constexpr unsigned char kSetEncryptionKey[] = {0x00, 0x22, 0x41, 0xB6, 0x08, 0x84, 0x03,
                                               0x80, 0x03, 0x00, 0x80, 0x01, 0x02};
constexpr unsigned char kSetSignatureKey[] = {0x00, 0x22, 0x41, 0xB6, 0x06, 0x84,
                                              0x01, 0x82, 0x80, 0x01, 0x04};
// MSE SET, confidentiality template: key 80 03 00 with algorithm 81.
constexpr unsigned char kSetDecipherKey[] = {0x00, 0x22, 0x41, 0xB8, 0x08, 0x84, 0x03,
                                             0x80, 0x03, 0x00, 0x80, 0x01, 0x81};

constexpr unsigned char kEncryptionPinReference = 0x01;

} // namespace

CardType CardTokenECardG3::GetCardType()
{
    return CardTypeECardG3;
}

unsigned long CardTokenECardG3::GetKeySize(SmartCardApplication app)
{
    LogMessage("GetKeySize");
    return ProfileCommon::KeySize(app, 1536, 256);
}

std::string CardTokenECardG3::GetTokenModel()
{
    return "eCard G3";
}

std::vector<CardObject*>& CardTokenECardG3::GetObjectMap()
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

unsigned long CardTokenECardG3::C_CardAttribute(const unsigned char* name, Norvik::ByteArray& out,
                                                unsigned long* length)
{
    if (ECardCommon::StartsWith(name, "GewSig/PIN-Status"))
    {
        // On this generation the encryption PIN lives at the master file.
        LogMessage("read pin status dec");
        return ReadPinStatusIn(nsECARD::DF_MF, kEncryptionPinReference, out);
    }
    return CardTokenECardG2::C_CardAttribute(name, out, length);
}

unsigned long CardTokenECardG3::DoSignature(const Norvik::ByteArray& mse, const Norvik::ByteArray& hash,
                                            Norvik::ByteArray& signature)
{
    return ECardCommon::ComputeSignature(reader, mse, hash, signature);
}

unsigned long CardTokenECardG3::DoSignatureEnc(HashAlgorithm /*hash*/, PaddingType /*padding*/,
                                               const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureEnc");
    return DoSignature({kSetEncryptionKey, sizeof(kSetEncryptionKey)}, digest, signature);
}

unsigned long CardTokenECardG3::DoSignatureSig(HashAlgorithm /*hash*/, PaddingType /*padding*/,
                                               const Norvik::ByteArray& digest, Norvik::ByteArray& signature)
{
    LogMessage("DoSignatureSig");
    return DoSignature({kSetSignatureKey, sizeof(kSetSignatureKey)}, digest, signature);
}

unsigned long CardTokenECardG3::Decrypt(SmartCardApplication app, const Norvik::ByteArray& in,
                                        Norvik::ByteArray& out)
{
    LogMessage("Decrypt");
    if (app != AppEncryption)
    {
        LogError("Decrypt only supported for enc certificate");
        return 3;
    }
    Apdu decipher(0x00, 0x2A, 0x80, 0x86);
    if (!AppendCryptogram(decipher, in, GetKeySize(AppEncryption) / 8) || reader == nullptr)
    {
        return 3;
    }

    KeySession key(*reader);
    // Intended: both steps are named in the log, also when nothing can be sent.
    LogMessage("manage security environment");
    const bool bPrepared = key.Send(kSetDecipherKey);
    LogMessage("decipher");
    if (!bPrepared || !key.Send(decipher))
    {
        return 3;
    }
    out = key.Data();
    return 0;
}
