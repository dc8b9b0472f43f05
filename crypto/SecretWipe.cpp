#include "crypto/SecretWipe.h"

#include <openssl/crypto.h>

namespace Norvik
{

namespace
{

/** Bytes between size and capacity may be left from a longer content. Growing to the capacity allocates
 * nothing. */
template <typename Buffer>
void WipeCapacity(Buffer& buffer) noexcept
{
    buffer.resize(buffer.capacity());
    Wipe(buffer.data(), buffer.size());
    buffer.clear();
}

} // namespace

void Wipe(void* memory, std::size_t size) noexcept
{
    if (size > 0)
    {
        OPENSSL_cleanse(memory, size);
    }
}

void Wipe(std::vector<unsigned char>& buffer) noexcept
{
    WipeCapacity(buffer);
}

void Wipe(std::string& text) noexcept
{
    WipeCapacity(text);
}

} // namespace Norvik
