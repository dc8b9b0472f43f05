#pragma once

#include "simulator/card/Bytes.h"
#include "simulator/data/Holder.h"

#include <optional>
#include <string>

namespace Simulator
{

/** What can be chosen when a card is made; each kind of card takes what it has a place for. */
struct CardOptions
{
    std::string encryptionPin = "1234";
    std::string signaturePin = "123456";
    std::string infoboxPin = "4321";
    unsigned int encryptionTries = 10; ///< also of the infobox PIN
    unsigned int signatureTries = 3;

    Holder holder;
    std::string cardNumber = "8040000012345678"; ///< 16 decimal digits
    Bytes chipId = {0x10, 0x32, 0x54, 0x76, 0x98, 0xBA, 0xDC, 0xFE};

    bool bInfoFile = true;        ///< whether EF_INFO is there at all
    std::uint8_t infoByte = 0x01; ///< its first byte, the version of the chip
};

} // namespace Simulator
