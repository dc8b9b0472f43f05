#include "cards/profiles/AcosFileIds.h"
#include "cards/profiles/ECardFileIds.h"
#include "cards/profiles/ECardG4FileIds.h"

#include "tests/doubles/ScriptedCardReader.h"

#include <gtest/gtest.h>

namespace
{

struct FileCase
{
    const char* name;
    const ChipStructureObject* file;
    ChipStructureType type;
    const char* select;
};

class FileIds : public testing::TestWithParam<FileCase>
{};

TEST_P(FileIds, GiveTheKindAndTheSelectCommand)
{
    EXPECT_EQ(GetParam().file->StructureType(), GetParam().type);
    EXPECT_EQ(ToHex(GetParam().file->GetSelect()), GetParam().select);
}

constexpr FileCase kFiles[] = {
    {"AcosMf", &nsACOS::DF_MF, ChipStructureMF, "00A4000C023F00"},
    {"AcosSig", &nsACOS::DF_SIG, ChipStructureDF, "00A4000C02DF70"},
    {"AcosDec", &nsACOS::DF_DEC, ChipStructureDF, "00A4000C02DF71"},
    {"AcosNumber", &nsACOS::EF_CIN_CSN, ChipStructureEF, "00A4000C02D001"},
    {"AcosPublicKey", &nsACOS::EF_PK_CH_EKEY, ChipStructureEF, "00A4000C02B001"},
    {"AcosEncCert", &nsACOS::EF_C_CH_EKEY, ChipStructureEF, "00A4000C02C001"},
    {"AcosSigCert", &nsACOS::EF_C_CH_SIGKEY, ChipStructureEF, "00A4000C02C002"},
    {"AcosInfobox", &nsACOS::EF_INFOBOX, ChipStructureEF, "00A4000C02C002"},
    {"AcosVk", &nsACOS::EF_VK, ChipStructureEF, "00A4000C02C003"},
    {"AcosInfo", &nsACOS::EF_INFO, ChipStructureEF, "00A4000C02D002"},
    {"ECardMf", &nsECARD::DF_MF, ChipStructureMF, "00A4000C023F00"},
    {"ECardEnc", &nsECARD::DF_ENC, ChipStructureDF, "00A4040C08D040000017001301"},
    {"ECardEncCert", &nsECARD::EF_C_CH_EKEY, ChipStructureEF, "00A4020C022F01"},
    {"ECardSig", &nsECARD::DF_SIG, ChipStructureDF, "00A4040C08D040000017001201"},
    {"ECardSigCert", &nsECARD::EF_C_CH_SIGKEY, ChipStructureEF, "00A4020C02C000"},
    {"ECardInfobox", &nsECARD::DF_INFOBOX, ChipStructureDF, "00A4040C08D040000017001801"},
    {"ECardInfo", &nsECARD::EF_INFO, ChipStructureEF, "00A4020C02C002"},
    {"ECardIdentityLink", &nsECARD::EF_IDENTITYLINK, ChipStructureEF, "00A4020C02EF01"},
    {"ECardSvPers", &nsECARD::DF_SVPERS, ChipStructureDF, "00A4040C08D040000017010101"},
    {"ECardGrunddaten", &nsECARD::EF_GRUNDDATEN, ChipStructureEF, "00A4020C02EF01"},
    {"ECardEhic", &nsECARD::EF_EHIC, ChipStructureEF, "00A4020C02EF02"},
    {"G4Mf", &nsECARD_G4::DF_MF, ChipStructureMF, "00A4000C023F00"},
    {"G4Enc", &nsECARD_G4::DF_ENC, ChipStructureDF, "00A4040C08D040000017001301"},
    {"G4EncCert", &nsECARD_G4::EF_C_CH_EKEY, ChipStructureEF, "00A4020C022F01"},
    {"G4Sig", &nsECARD_G4::DF_SIG, ChipStructureDF, "00A4040C08D040000017001201"},
    {"G4SigCert", &nsECARD_G4::EF_C_CH_SIGKEY, ChipStructureEF, "00A4020C02C000"},
    {"G4Infobox", &nsECARD_G4::DF_INFOBOX, ChipStructureDF, "00A4040C08D040000017001801"},
    {"G4Info", &nsECARD_G4::EF_INFO, ChipStructureEF, "00A4020C02C002"},
    {"G4IdentityLink", &nsECARD_G4::EF_IDENTITYLINK, ChipStructureEF, "00A4020C02EF01"},
    {"G4SvPers", &nsECARD_G4::DF_SVPERS, ChipStructureDF, "00A4040C08D040000017010101"},
    {"G4Grunddaten", &nsECARD_G4::EF_GRUNDDATEN, ChipStructureEF, "00A4020C02EF01"},
    {"G4Ehic", &nsECARD_G4::EF_EHIC, ChipStructureEF, "00A4020C02EF02"},
};
INSTANTIATE_TEST_SUITE_P(All, FileIds, testing::ValuesIn(kFiles),
                         [](const testing::TestParamInfo<FileCase>& row) { return row.param.name; });

} // namespace
