#pragma once

#include "cards/SmartCardApplication.h"

/** Layout of the PIN block in a command. */
enum PINFormat
{
    PinFormatAscii = 0, ///< the PIN's characters, filled up with 00
    PinFormat2 = 1,     ///< ISO 9564-1 format 2 style: 2, length, digits, filled up with F
    PinFormatBcd = 2,   ///< for reader keypads only
};

/** Describes one PIN reference of a card. Holds no PIN. */
struct PINVerifyData
{
    constexpr PINVerifyData(SmartCardApplication app, PINFormat pinFormat, int least, int greatest,
                            unsigned char blockString)
        : application(app), format(pinFormat), minLength(least), maxLength(greatest),
          pinBlockString(blockString)
    {}

    SmartCardApplication application;
    PINFormat format;
    int minLength;                ///< digits
    int maxLength;                ///< digits
    unsigned char pinBlockString; ///< bmPINBlockString of the PC/SC part 10 PIN structures
};
