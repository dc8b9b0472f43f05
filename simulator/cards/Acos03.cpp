#include "simulator/cards/Acos03.h"

#include "simulator/card/IsoCommands.h"
#include "simulator/card/StatusWord.h"
#include "simulator/data/CertificateAuthority.h"
#include "simulator/data/IdentityLink.h"
#include "simulator/data/TestKeys.h"

#include <stdexcept>

namespace
{

using namespace Simulator;

// T=1 alone; 15 historical bytes of text. The check byte TCK is added.
constexpr const char* kAtr = "3B BF 11 00 81 31 FE 45 45 50 41 20 4B 4D 41 52 4B 20 53 49 4D 20 31";

constexpr std::uint8_t kPinReference = 0x81;
constexpr std::uint8_t kInfoboxPinReference = 0x83;
constexpr std::uint8_t kInfoboxPinChangeReference = 0x88;
constexpr std::size_t kPinLength = 4;
constexpr std::size_t kSignaturePinLength = 6;
constexpr std::size_t kInfoboxSize = 700;
constexpr std::size_t kCardNumberDigits = 16;
constexpr std::size_t kChipIdLength = 8;
constexpr std::uint32_t kEncryptionSerial = 1001;
constexpr std::uint32_t kSignatureSerial = 1002;

/** How the signature key is asked for a digest: the algorithm reference fixes its length. */
struct DigestRow
{
    std::uint8_t algorithmReference;
    std::size_t digestLength;
};

constexpr DigestRow kDigests[] = {{0x14, 20}, {0x34, 28}, {0x44, 32}};

Bytes WithCheckByte(Bytes atr)
{
    std::uint8_t check = 0;
    for (std::size_t index = 1; index < atr.size(); ++index)
    {
        check = static_cast<std::uint8_t>(check ^ atr[index]);
    }
    atr.push_back(check);
    return atr;
}

Response GetChipId(Card& card, const CommandApdu& command)
{
    if (*command.le != kChipIdLength)
    {
        return Response::Status(StatusWord::kWrongLength);
    }
    return {card.ChipId(), StatusWord::kOk};
}

constexpr CommandRule kOwnCommands[] = {
    {0x80, 0xF6, 0x0000, kCase2, 0, 0, Precondition::None, 0, {}, &GetChipId},
};

std::optional<Bytes> SignPkcs1(const CardKey& key, ByteView input)
{
    return key.SignPkcs1(input);
}
std::optional<Bytes> Decipher(const CardKey& key, ByteView input)
{
    return key.DecipherPkcs1(input);
}
std::optional<Bytes> SignEcdsa(const CardKey& key, ByteView input)
{
    return key.SignEcdsa(input);
}

void Check(const CardOptions& options)
{
    const bool bNumber = options.cardNumber.size() == kCardNumberDigits &&
                         options.cardNumber.find_first_not_of("0123456789") == std::string::npos;
    if (!bNumber)
    {
        throw std::invalid_argument("the card number has 16 decimal digits");
    }
    if (options.chipId.size() != kChipIdLength)
    {
        throw std::invalid_argument("the chip identifier has 8 bytes");
    }
}

Bytes InfoboxContent(const CardOptions& options, const CardKey& encryptionKey, const CardKey& signatureKey)
{
    Bytes content = MakeIdentityLink(options.holder, encryptionKey, signatureKey);
    if (content.size() > kInfoboxSize)
    {
        throw std::invalid_argument("the holder's names are too long for the infobox");
    }
    content.resize(kInfoboxSize, 0x00);
    return content;
}

void AddEncryptionKey(DedicatedFile& directory, const std::shared_ptr<const CardKey>& key)
{
    KeyUse use;
    use.mseP1 = 0x41;
    use.key = key;
    use.pinReference = kPinReference;

    use.controlTemplate = 0xA4;
    use.parameters = FromHex("84 01 88 80 01 01");
    use.operation = KeyOperation::InternalAuthenticate;
    use.compute = &SignPkcs1;
    directory.AddKeyUse(use);

    use.controlTemplate = 0xB8;
    use.parameters = FromHex("84 01 88 80 01 02");
    use.operation = KeyOperation::Decipher;
    use.compute = &Decipher;
    directory.AddKeyUse(use);
}

void AddSignatureKey(DedicatedFile& directory, const std::shared_ptr<const CardKey>& key)
{
    for (const DigestRow& row : kDigests)
    {
        KeyUse use;
        use.mseP1 = 0x81;
        use.controlTemplate = 0xB6;
        use.parameters = {0x84, 0x01, 0x88, 0x80, 0x01, row.algorithmReference};
        use.operation = KeyOperation::SignHash;
        use.key = key;
        use.pinReference = kPinReference;
        use.inputLengths = {row.digestLength};
        use.bPinForEachUse = true;
        use.compute = &SignEcdsa;
        directory.AddKeyUse(use);
    }
}

} // namespace

namespace Simulator
{

std::shared_ptr<Card> MakeAcos03(const CardOptions& options)
{
    Check(options);
    const auto encryptionKey = CardKey::FromPem(TestKeys::kEncryptionRsa);
    const auto signatureKey = CardKey::FromPem(TestKeys::kSignatureP192);
    const Bytes encryptionCertificate = CertificateAuthority::Issue(
        options.holder, *encryptionKey, CertificatePurpose::Encryption, kEncryptionSerial);
    const Bytes signatureCertificate = CertificateAuthority::Issue(
        options.holder, *signatureKey, CertificatePurpose::Signature, kSignatureSerial);
    const AccessRule always = AccessRule::Always();
    const AccessRule never = AccessRule::Never();
    const AccessRule infobox = AccessRule::AfterPin(kInfoboxPinReference);

    auto card = std::make_shared<Card>("acos03", WithCheckByte(FromHex(kAtr)));
    for (const auto& commands :
         {FileCommands(), PinCommands(), EnvironmentCommands(), RsaCommands(), HashThenSignCommands()})
    {
        card->AddCommands(commands);
    }
    card->AddCommands(kOwnCommands);
    card->SetChipId(options.chipId);

    DedicatedFile& sig = card->MasterFile().AddDirectory("DF_SIG", 0xDF70);
    sig.AddPin({"signature", kPinReference, kPinReference, PinBlockFormat::Ascii, options.signaturePin,
                kSignaturePinLength, kSignaturePinLength, options.signatureTries});
    AddSignatureKey(sig, signatureKey);
    sig.AddFile({"EF_C_CH_SIGKEY", 0xC002, {}, always, never, signatureCertificate});

    DedicatedFile& dec = card->MasterFile().AddDirectory("DF_DEC", 0xDF71);
    dec.AddPin({"encryption", kPinReference, kPinReference, PinBlockFormat::Ascii, options.encryptionPin,
                kPinLength, kPinLength, options.encryptionTries});
    dec.AddPin({"infobox", kInfoboxPinReference, kInfoboxPinChangeReference, PinBlockFormat::Ascii,
                options.infoboxPin, kPinLength, kPinLength, options.encryptionTries});
    AddEncryptionKey(dec, encryptionKey);
    dec.AddFile({"EF_CIN_CSN", 0xD001, {}, always, never, FromHex(options.cardNumber)});
    dec.AddFile({"EF_PK_CH_EKEY", 0xB001, {}, always, never, encryptionKey->Modulus()});
    dec.AddFile({"EF_C_CH_EKEY", 0xC001, {}, always, never, encryptionCertificate});
    dec.AddFile(
        {"EF_INFOBOX", 0xC002, {}, infobox, infobox, InfoboxContent(options, *encryptionKey, *signatureKey)});
    if (options.bInfoFile)
    {
        dec.AddFile({"EF_INFO", 0xD002, {}, always, never, {options.infoByte, 0x00, 0x00, 0x00}});
    }
    return card;
}

} // namespace Simulator
