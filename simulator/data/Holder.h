#pragma once

#include <string>

namespace Simulator
{

/** The made-up person whose card it is. Texts are UTF-8. */
struct Holder
{
    std::string givenName = "Maria";
    std::string surname = "Musterfrau";
    std::string dateOfBirth = "19700131"; ///< year, month, day
    std::string mail = "maria.musterfrau@example.org";

    [[nodiscard]] std::string FullName() const { return givenName + " " + surname; }
};

} // namespace Simulator
