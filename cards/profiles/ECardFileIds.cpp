#include "cards/profiles/ECardFileIds.h"

namespace nsECARD
{

const ChipStructureObject DF_MF(DF_MF_VALUE, sizeof(DF_MF_VALUE), ChipStructureMF, 0x00);
const ChipStructureObject DF_ENC(DF_ENC_VALUE, sizeof(DF_ENC_VALUE), ChipStructureDF, 0x04);
const ChipStructureObject EF_C_CH_EKEY = ChipStructureObject::CreateECardEfSelect(0x2F, 0x01);
const ChipStructureObject DF_SIG(DF_SIG_VALUE, sizeof(DF_SIG_VALUE), ChipStructureDF, 0x04);
const ChipStructureObject EF_C_CH_SIGKEY = ChipStructureObject::CreateECardEfSelect(0xC0, 0x00);
const ChipStructureObject DF_INFOBOX(DF_INFOBOX_VALUE, sizeof(DF_INFOBOX_VALUE), ChipStructureDF, 0x04);
const ChipStructureObject EF_INFO = ChipStructureObject::CreateECardEfSelect(0xC0, 0x02);
const ChipStructureObject EF_IDENTITYLINK = ChipStructureObject::CreateECardEfSelect(0xEF, 0x01);
const ChipStructureObject DF_SVPERS(DF_SVPERS_VALUE, sizeof(DF_SVPERS_VALUE), ChipStructureDF, 0x04);
const ChipStructureObject EF_GRUNDDATEN = ChipStructureObject::CreateECardEfSelect(0xEF, 0x01);
const ChipStructureObject EF_EHIC = ChipStructureObject::CreateECardEfSelect(0xEF, 0x02);

} // namespace nsECARD
