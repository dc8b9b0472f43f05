#include "crypto/MemoryBio.h"

#include "crypto/OpenSslErrors.h"

namespace Norvik
{

BioPtr MemoryBioOver(const void* data, std::size_t size)
{
    return BioPtr(data != nullptr && FitsInt(size) ? BIO_new_mem_buf(data, static_cast<int>(size)) : nullptr);
}

std::string MemoryBioText(BIO* bio)
{
    char* text = nullptr;
    const long length = BIO_get_mem_data(bio, &text);
    return length > 0 ? std::string(text, static_cast<std::size_t>(length)) : std::string();
}

} // namespace Norvik
