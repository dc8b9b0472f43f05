#include "common/LoggingHelper.h"

#include <cstdint>
#include <cstdio>

std::string LoggingHelper::SCardErrorToString(long code)
{
    // The code has 32 bits; a sign extended on the way must not show.
    const auto value = static_cast<std::uint32_t>(code);
    char text[32] = {};
    std::snprintf(text, sizeof(text), " (0x%x, %x)", value, value);
    return text;
}
