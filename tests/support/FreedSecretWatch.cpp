#include "tests/support/FreedSecretWatch.h"

#include <algorithm>
#include <array>
#include <cstdlib>
#include <cstring>
#include <new>
#include <string_view>

#include <malloc.h>

namespace
{

// No container: this runs inside operator delete.
std::array<char, 64> secretBytes{};
std::size_t secretLength = 0;
std::size_t leaks = 0;

void Inspect(void* block) noexcept
{
    if (block == nullptr || secretLength == 0)
    {
        return;
    }
    const std::string_view content(static_cast<const char*>(block), malloc_usable_size(block));
    if (content.find(std::string_view(secretBytes.data(), secretLength)) != std::string_view::npos)
    {
        ++leaks;
    }
}

void* Allocate(std::size_t size)
{
    // Zeroed, so that a block shows what was written into it and nothing older.
    void* const block = std::calloc(1, std::max<std::size_t>(size, 1));
    if (block == nullptr)
    {
        throw std::bad_alloc();
    }
    return block;
}

void Release(void* block) noexcept
{
    Inspect(block);
    std::free(block);
}

} // namespace

FreedSecretWatch::FreedSecretWatch(const std::string& secret)
{
    secretLength = std::min(secret.size(), secretBytes.size());
    std::memcpy(secretBytes.data(), secret.data(), secretLength);
    leaks = 0;
}

FreedSecretWatch::~FreedSecretWatch()
{
    secretLength = 0;
}

std::size_t FreedSecretWatch::Leaks() const // NOLINT(readability-convert-member-functions-to-static)
{
    return leaks;
}

void* operator new(std::size_t size)
{
    return Allocate(size);
}

void* operator new[](std::size_t size)
{
    return Allocate(size);
}

void operator delete(void* block) noexcept
{
    Release(block);
}

void operator delete[](void* block) noexcept
{
    Release(block);
}

void operator delete(void* block, std::size_t /*size*/) noexcept
{
    Release(block);
}

void operator delete[](void* block, std::size_t /*size*/) noexcept
{
    Release(block);
}
