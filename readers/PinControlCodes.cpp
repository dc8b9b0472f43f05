#include "readers/PinControlCodes.h"

#include "crypto/Conversion.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <cstring>

namespace
{
constexpr std::size_t kEntrySize = 6;
constexpr std::size_t kValueOffset = 2;

// Indexed by the tag of the feature; tag 0 is none.
constexpr std::array<unsigned long PinControlCodes::*, 8> kCodeOfTag = {
    nullptr,
    &PinControlCodes::verifyPinStart,
    &PinControlCodes::verifyPinFinish,
    &PinControlCodes::modifyPinStart,
    &PinControlCodes::modifyPinFinish,
    &PinControlCodes::getKeyPressed,
    &PinControlCodes::verifyPinDirect,
    &PinControlCodes::modifyPinDirect,
};
} // namespace

PinControlCodes PinControlCodes::FromFeatureList(std::span<const unsigned char> features)
{
    PinControlCodes codes;
    for (; features.size() >= kEntrySize; features = features.subspan(kEntrySize))
    {
        const std::size_t tag = features[0];
        if (tag == 0 || tag >= kCodeOfTag.size())
        {
            continue;
        }
        std::uint32_t value = 0;
        std::memcpy(&value, &features[kValueOffset], sizeof(value));
        codes.*kCodeOfTag[tag] = Norvik::SwitchEndian(value);
    }
    return codes;
}
