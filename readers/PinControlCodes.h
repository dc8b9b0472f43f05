#pragma once

#include <span>

/** Control codes of a reader's PIN features (PC/SC part 10), 0 where it doesn't offer one. */
struct PinControlCodes
{
    unsigned long verifyPinStart = 0;
    unsigned long verifyPinFinish = 0;
    unsigned long modifyPinStart = 0;
    unsigned long modifyPinFinish = 0;
    unsigned long getKeyPressed = 0;
    unsigned long verifyPinDirect = 0;
    unsigned long modifyPinDirect = 0;

    [[nodiscard]] bool CanVerify() const { return verifyPinDirect != 0 || verifyPinStart != 0; }
    [[nodiscard]] bool CanModify() const { return modifyPinDirect != 0 || modifyPinStart != 0; }

    /**
     * Reads the answer to CM_IOCTL_GET_FEATURE_REQUEST: entries of tag, length and a value of 4 bytes, most
     * significant first. An incomplete last entry is ignored, and so are tags beyond the seven above.
     */
    static PinControlCodes FromFeatureList(std::span<const unsigned char> features);
};
