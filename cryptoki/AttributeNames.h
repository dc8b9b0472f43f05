#pragma once

#include <string>

namespace KMarkP11
{

/** "CKA_CLASS (0)"; " (534)" for a type without an entry. */
std::string PKCS11_AttributeTypeToName(unsigned long type);

} // namespace KMarkP11
