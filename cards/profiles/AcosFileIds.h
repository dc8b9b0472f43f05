#pragma once

#include "cards/ChipStructureObject.h"

/** The files of the ACOS cards, all of them selected by their two-byte identifier. */
namespace nsACOS
{

extern const ChipStructureObject DF_MF;
extern const ChipStructureObject DF_SIG;         ///< signature application
extern const ChipStructureObject DF_DEC;         ///< encryption application and data area
extern const ChipStructureObject EF_CIN_CSN;     ///< in DF_DEC: card number
extern const ChipStructureObject EF_PK_CH_EKEY;  ///< in DF_DEC: modulus of the encryption key
extern const ChipStructureObject EF_C_CH_EKEY;   ///< in DF_DEC: certificate of the encryption key
extern const ChipStructureObject EF_C_CH_SIGKEY; ///< in DF_SIG: certificate of the signature key
extern const ChipStructureObject
    EF_INFOBOX; ///< in DF_DEC: identity link; its identifier is that of EF_C_CH_SIGKEY
extern const ChipStructureObject EF_VK;   ///< selected by no operation
extern const ChipStructureObject EF_INFO; ///< in DF_DEC: its first byte tells the chip generation

} // namespace nsACOS
