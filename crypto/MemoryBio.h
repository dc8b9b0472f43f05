#pragma once

#include "crypto/OpenSslPtr.h"

#include <cstddef>
#include <string>

namespace Norvik
{

/** Reads from @p size bytes that must outlive it. Null for null data and for more bytes than OpenSSL can
 * take. */
BioPtr MemoryBioOver(const void* data, std::size_t size);

/** What was written to a memory BIO so far. */
std::string MemoryBioText(BIO* bio);

} // namespace Norvik
