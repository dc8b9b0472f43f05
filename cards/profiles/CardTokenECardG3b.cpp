#include "cards/profiles/CardTokenECardG3b.h"

#include "cards/CardFile.h"
#include "cards/InfoboxFS.h"
#include "cards/TransactionGuard.h"
#include "cards/profiles/ECardFileIds.h"
#include "cards/profiles/ProfileCommon.h"
#include "readers/LibReaderAndCard.h"

namespace
{

void PlaceInInfobox(CardFile& file, unsigned char tag)
{
    file.SetDF(nsECARD::DF_INFOBOX);
    file.SetEF(nsECARD::EF_INFO);
    ProfileCommon::MakeInfoboxEntry(file, tag);
}

} // namespace

CardTokenECardG3b::CardTokenECardG3b()
{
    rfu1File = std::make_shared<CardFile>(this, "RFU1");
    rfu2File = std::make_shared<CardFile>(this, "RFU2");
    PlaceInInfobox(*infoboxFile, LibInfobox::PERSONENBINDUNG_INDEX);
    PlaceInInfobox(*rfu1File, LibInfobox::RFU1_INDEX);
    PlaceInInfobox(*rfu2File, LibInfobox::RFU2_INDEX);
}

CardType CardTokenECardG3b::GetCardType()
{
    return CardTypeECardG3b;
}

bool CardTokenECardG3b::IsECardG3b(iCardReader* cardReader)
{
    if (cardReader == nullptr)
    {
        LibReaderAndCard::LogError("IsECardG3b -> reader is NULL");
        return false;
    }
    CardTokenImpl probe;
    probe.SetReader(cardReader);
    const TransactionGuard transaction(*cardReader);
    return transaction.Held() && probe.SelectDirectoryAndFile(nsECARD::DF_INFOBOX, nsECARD::EF_INFO);
}
