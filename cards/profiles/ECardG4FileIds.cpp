#include "cards/profiles/ECardG4FileIds.h"

#include "cards/profiles/ECardFileIds.h"

namespace nsECARD_G4
{

const ChipStructureObject DF_MF(nsECARD::DF_MF_VALUE, sizeof(nsECARD::DF_MF_VALUE), ChipStructureMF, 0x00);
const ChipStructureObject DF_ENC(nsECARD::DF_ENC_VALUE, sizeof(nsECARD::DF_ENC_VALUE), ChipStructureDF, 0x04);
const ChipStructureObject EF_C_CH_EKEY = ChipStructureObject::CreateECardEfSelect(0x2F, 0x01);
const ChipStructureObject DF_SIG(nsECARD::DF_SIG_VALUE, sizeof(nsECARD::DF_SIG_VALUE), ChipStructureDF, 0x04);
const ChipStructureObject EF_C_CH_SIGKEY = ChipStructureObject::CreateECardEfSelect(0xC0, 0x00);
const ChipStructureObject DF_INFOBOX(nsECARD::DF_INFOBOX_VALUE, sizeof(nsECARD::DF_INFOBOX_VALUE),
                                     ChipStructureDF, 0x04);
const ChipStructureObject EF_INFO = ChipStructureObject::CreateECardEfSelect(0xC0, 0x02);
const ChipStructureObject EF_IDENTITYLINK = ChipStructureObject::CreateECardEfSelect(0xEF, 0x01);
const ChipStructureObject DF_SVPERS(nsECARD::DF_SVPERS_VALUE, sizeof(nsECARD::DF_SVPERS_VALUE),
                                    ChipStructureDF, 0x04);
const ChipStructureObject EF_GRUNDDATEN = ChipStructureObject::CreateECardEfSelect(0xEF, 0x01);
const ChipStructureObject EF_EHIC = ChipStructureObject::CreateECardEfSelect(0xEF, 0x02);

} // namespace nsECARD_G4
