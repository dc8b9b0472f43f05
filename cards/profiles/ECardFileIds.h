#pragma once

#include "cards/ChipStructureObject.h"

/** The files of the eCard: directories selected by name, elementary files under the directory they lie in. */
namespace nsECARD
{

inline constexpr unsigned char DF_MF_VALUE[] = {0x3F, 0x00};
inline constexpr unsigned char DF_ENC_VALUE[] = {0xD0, 0x40, 0x00, 0x00, 0x17, 0x00, 0x13, 0x01};
inline constexpr unsigned char DF_SIG_VALUE[] = {0xD0, 0x40, 0x00, 0x00, 0x17, 0x00, 0x12, 0x01};
inline constexpr unsigned char DF_INFOBOX_VALUE[] = {0xD0, 0x40, 0x00, 0x00, 0x17, 0x00, 0x18, 0x01};
inline constexpr unsigned char DF_SVPERS_VALUE[] = {0xD0, 0x40, 0x00, 0x00, 0x17, 0x01, 0x01, 0x01};

extern const ChipStructureObject DF_MF;
extern const ChipStructureObject DF_ENC;         ///< ordinary signature, the encryption application
extern const ChipStructureObject EF_C_CH_EKEY;   ///< in DF_ENC: certificate
extern const ChipStructureObject DF_SIG;         ///< secure signature, the signature application
extern const ChipStructureObject EF_C_CH_SIGKEY; ///< in DF_SIG: certificate
extern const ChipStructureObject DF_INFOBOX;
extern const ChipStructureObject EF_INFO;         ///< in DF_INFOBOX: there from generation G3b on
extern const ChipStructureObject EF_IDENTITYLINK; ///< in DF_INFOBOX
extern const ChipStructureObject DF_SVPERS;       ///< social-insurance data
extern const ChipStructureObject EF_GRUNDDATEN;   ///< in DF_SVPERS
extern const ChipStructureObject EF_EHIC;         ///< in DF_SVPERS

} // namespace nsECARD
