#pragma once

#include "simulator/card/Card.h"
#include "simulator/cards/CardOptions.h"

#include <memory>

namespace Simulator
{

/**
 * The signature card on the chip ACOS EMV-A03.
 *
 * DF_DEC (DF71): EF_CIN_CSN, EF_PK_CH_EKEY, EF_C_CH_EKEY, EF_INFOBOX, EF_INFO; an RSA key of 1536 bits for INTERNAL
 * AUTHENTICATE and PSO DECIPHER under PIN 81; the PIN 83 of the infobox, which is changed under 88.
 * DF_SIG (DF70): EF_C_CH_SIGKEY; a P-192 key for PSO HASH and PSO COMPUTE DIGITAL SIGNATURE under its own PIN 81,
 * one signature for each PIN entry.
 *
 * Files are found by Card::File under these names, PINs by Card::PinNamed as "encryption", "signature", "infobox".
 *
 * @throws std::invalid_argument when an option has no place on the card
 */
std::shared_ptr<Card> MakeAcos03(const CardOptions& options = {});

} // namespace Simulator
