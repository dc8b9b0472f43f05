#include "crypto/slCertificate.h"

#include "crypto/LowLevelKeys.h"
#include "crypto/PublicKey.h"

#include <cstddef>
#include <cstdint>
#include <memory>

namespace
{

void AskForTexts(const Norvik::slCertificate& certificate)
{
    static_cast<void>(certificate.GetSubject());
    static_cast<void>(certificate.GetIssuerWithFormat(0));
    static_cast<void>(certificate.GetSubjectWithFormat(0x82031f));
    static_cast<void>(certificate.GetIssuerSepByComa());
    static_cast<void>(certificate.GetSubjectCN());
    static_cast<void>(certificate.GetIssuerO());
    static_cast<void>(certificate.GetSubjectNameHash());
    static_cast<void>(certificate.GetIssuerNameHash());
    static_cast<void>(certificate.GetSerialNumberInt());
    static_cast<void>(certificate.ValidFrom());
    static_cast<void>(certificate.ValidTo());
    static_cast<void>(certificate.IsValid(0));
    static_cast<void>(certificate.LogCertificate("fuzz"));
}

void AskForDer(const Norvik::slCertificate& certificate)
{
    using Question = bool (Norvik::slCertificate::*)(unsigned char*, unsigned int&) const;
    for (const Question question :
         {&Norvik::slCertificate::GetSubjectDER, &Norvik::slCertificate::GetIssuerDER,
          &Norvik::slCertificate::GetSerialNumberDER})
    {
        unsigned int length = 0;
        if ((certificate.*question)(nullptr, length))
        {
            const auto buffer = std::make_unique<unsigned char[]>(length);
            (certificate.*question)(buffer.get(), length);
        }
    }
}

void AskForExtensions(const Norvik::slCertificate& certificate)
{
    static_cast<void>(certificate.GetExtAvailable("2.5.29.15"));
    static_cast<void>(certificate.GetBoolExt("2.5.29.15"));
    static_cast<void>(certificate.IsCaCert());
    static_cast<void>(certificate.IsSelfSigned());
    static_cast<void>(certificate.IsOcspSigner());
    static_cast<void>(certificate.GetSKI());
    static_cast<void>(certificate.GetAKI());
    static_cast<void>(certificate.Get_SAN_DNS());
    static_cast<void>(certificate.Get_CRL_Dp());
    static_cast<void>(certificate.Get_AIA_OCSP());
    static_cast<void>(certificate.Get_AIA_CAIssuers());
}

void AskForThumbprints(const Norvik::slCertificate& certificate)
{
    unsigned char* array = nullptr;
    unsigned long length = 0;
    static_cast<void>(certificate.GetThumbprint());
    if (certificate.GetThumbprint(&array, &length))
    {
        const std::unique_ptr<unsigned char[]> owner(array);
    }
    if (certificate.GetPublicKeyValue(&array, &length))
    {
        const std::unique_ptr<unsigned char[]> owner(array);
    }
    static_cast<void>(certificate.GetPubKeyHashHex());
    static_cast<void>(certificate.GetPubKeyHashB64());
}

void UseKey(const Norvik::slCertificate& certificate)
{
    PublicKey key;
    Norvik::ByteArray x;
    Norvik::ByteArray y;
    std::vector<unsigned char> modulus;
    std::vector<unsigned char> exponent;
    bool bOk = false;
    rsa_st* rsa = nullptr;
    ec_key_st* ecKey = nullptr;

    certificate.GetRsaPubKeyComponents(modulus, exponent);
    if (certificate.IsRsaKey() && certificate.GetRsaPublicKey(&rsa))
    {
        const Norvik::RsaPtr owner(rsa);
        key.SetRsaKey(rsa);
    }
    else if (certificate.IsEcdsaKey() && certificate.GetEcdsaPublicKey(&ecKey))
    {
        const Norvik::EcKeyPtr owner(ecKey);
        key.SetEccKey(ecKey);
    }
    unsigned long number = 0;
    key.GetRsaExponent(number);
    key.GetRsaModulus(x);
    key.GetEccKeyValues(x, y);
    key.Verify(Norvik::ByteArray(std::vector<unsigned char>(modulus.size(), 1)), x, bOk);
    key.Verify(Norvik::ByteArray(std::vector<unsigned char>(48, 1)), x, bOk);
}

} // namespace

/** A certificate as a card may give it: load it, then ask everything. */
extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    Norvik::slCertificate certificate;
    if (certificate.LoadFromBuffer(data, size))
    {
        // The copy is what the accessors are asked of, so that it is made at all.
        const Norvik::slCertificate copy(certificate); // NOLINT(performance-unnecessary-copy-initialization)
        AskForTexts(copy);
        AskForDer(copy);
        AskForExtensions(copy);
        AskForThumbprints(copy);
        UseKey(copy);
    }
    return 0;
}
