#pragma once

#include "cards/ChipStructureObject.h"

/**
 * The files of the fourth eCard generation.
 *
 * Today they lie where those of the earlier generations do; they are named apart so that the two may differ.
 */
namespace nsECARD_G4
{

extern const ChipStructureObject DF_MF;
extern const ChipStructureObject DF_ENC;         ///< ordinary signature, the encryption application
extern const ChipStructureObject EF_C_CH_EKEY;   ///< in DF_ENC: certificate
extern const ChipStructureObject DF_SIG;         ///< secure signature, the signature application
extern const ChipStructureObject EF_C_CH_SIGKEY; ///< in DF_SIG: certificate
extern const ChipStructureObject DF_INFOBOX;
extern const ChipStructureObject EF_INFO;         ///< in DF_INFOBOX
extern const ChipStructureObject EF_IDENTITYLINK; ///< in DF_INFOBOX
extern const ChipStructureObject DF_SVPERS;       ///< social-insurance data
extern const ChipStructureObject EF_GRUNDDATEN;   ///< in DF_SVPERS
extern const ChipStructureObject EF_EHIC;         ///< in DF_SVPERS

} // namespace nsECARD_G4
