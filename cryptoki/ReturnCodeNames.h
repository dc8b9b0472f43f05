#pragma once

#include <string>

namespace KMarkP11
{

/** The symbolic name of a result of Cryptoki v2.20; "ERROR " and the number for any other. */
std::string ReturnCodeToName(unsigned long rv);

} // namespace KMarkP11
