#include "cards/profiles/AcosFileIds.h"

namespace nsACOS
{

const ChipStructureObject DF_MF = ChipStructureObject::CreateAcos(ChipStructureMF, 0x3F, 0x00);
const ChipStructureObject DF_SIG = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x70);
const ChipStructureObject DF_DEC = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x71);
const ChipStructureObject EF_CIN_CSN = ChipStructureObject::CreateAcos(ChipStructureEF, 0xD0, 0x01);
const ChipStructureObject EF_PK_CH_EKEY = ChipStructureObject::CreateAcos(ChipStructureEF, 0xB0, 0x01);
const ChipStructureObject EF_C_CH_EKEY = ChipStructureObject::CreateAcos(ChipStructureEF, 0xC0, 0x01);
const ChipStructureObject EF_C_CH_SIGKEY = ChipStructureObject::CreateAcos(ChipStructureEF, 0xC0, 0x02);
const ChipStructureObject EF_INFOBOX = ChipStructureObject::CreateAcos(ChipStructureEF, 0xC0, 0x02);
const ChipStructureObject EF_VK = ChipStructureObject::CreateAcos(ChipStructureEF, 0xC0, 0x03);
const ChipStructureObject EF_INFO = ChipStructureObject::CreateAcos(ChipStructureEF, 0xD0, 0x02);

} // namespace nsACOS
