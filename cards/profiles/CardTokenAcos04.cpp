#include "cards/profiles/CardTokenAcos04.h"

#include "cards/CardFile.h"
#include "cards/InfoboxFS.h"
#include "cards/TransactionGuard.h"
#include "cards/profiles/AcosFileIds.h"
#include "cards/profiles/ProfileCommon.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

namespace
{

constexpr unsigned long kIdentityLinkBytes = 1500;

// Intended: longer than what the library carries out, and in this order.
constexpr CK_MECHANISM_TYPE kEncryptionMechanisms[] = {
    CKM_RSA_PKCS_KEY_PAIR_GEN,
    CKM_RC2_KEY_GEN,
    CKM_RC2_CBC_PAD,
    CKM_DES_KEY_GEN,
    CKM_DES_CBC_PAD,
    CKM_DES2_KEY_GEN,
    CKM_DES3_KEY_GEN,
    CKM_DES3_CBC_PAD,
    CKM_RSA_PKCS,
    CKM_SHA1_RSA_PKCS,
    CKM_RIPEMD160_RSA_PKCS,
    CKM_SHA256_RSA_PKCS,
    CKM_SHA384_RSA_PKCS,
    CKM_SHA224_RSA_PKCS,
    CKM_RIPEMD160,
    CKM_SHA_1,
    CKM_SHA256,
    CKM_DES3_CBC,
};

constexpr unsigned char kReadBinary[] = {0x00, 0xB0, 0x00, 0x00, 0x00};
constexpr unsigned char kGenerationAcos04 = 0x02;

} // namespace

CardTokenAcos04::CardTokenAcos04()
{
    ProfileCommon::MakeInfoboxEntry(*infoboxFile, LibInfobox::PERSONENBINDUNG_INDEX);
    infoboxFile->SetFileSize(kIdentityLinkBytes);
    ProfileCommon::MakeInfoboxEntry(*rfu1File, LibInfobox::RFU1_INDEX);
    rfu1File->SetFileSize(0);
    ProfileCommon::MakeInfoboxEntry(*rfu2File, LibInfobox::RFU2_INDEX);
    rfu2File->SetFileSize(0);
}

CardType CardTokenAcos04::GetCardType()
{
    return CardTypeAcos04;
}

std::string CardTokenAcos04::GetTokenModel()
{
    return "ACOS EMV-A04";
}

std::vector<CardObject*>& CardTokenAcos04::GetObjectMap()
{
    if (objects.empty())
    {
        InitObjectMapCommons(true, true, true, KeyTypeRSA);
        ProfileCommon::RegisterMechanisms(objects, encPrivateIndex, encPublicIndex, kEncryptionMechanisms);
        ProfileCommon::RegisterMechanisms(objects, sigPrivateIndex, sigPublicIndex,
                                          ProfileCommon::kEcdsaMechanisms);
    }
    return objects;
}

unsigned long CardTokenAcos04::TokenGetAttributeValue(unsigned long /*handle*/, unsigned long /*type*/,
                                                      Norvik::ByteArray& /*out*/)
{
    LibReaderAndCard::LogMessage("CardTokenAcos04::TokenGetAttributeValue");
    return CKR_ATTRIBUTE_TYPE_INVALID;
}

bool CardTokenAcos04::IsAcos04(iCardReader* cardReader)
{
    if (cardReader == nullptr)
    {
        LibReaderAndCard::LogError("isAcos04 -> reader is NULL");
        return false;
    }
    CardTokenImpl probe;
    probe.SetReader(cardReader);
    const TransactionGuard transaction(*cardReader);
    Norvik::ByteArray response;
    // Intended: the status word is not looked at.
    return transaction.Held() && probe.SelectDirectoryAndFile(nsACOS::DF_DEC, nsACOS::EF_INFO) &&
           cardReader->SendApdu(kReadBinary, sizeof(kReadBinary), response) && !response.empty() &&
           response[0] == kGenerationAcos04;
}
