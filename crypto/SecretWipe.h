#pragma once

#include <cstddef>
#include <string>
#include <vector>

namespace Norvik
{

/** Overwrites @p size bytes with zeros in a way that the compiler may not drop. */
void Wipe(void* memory, std::size_t size) noexcept;
/** Wipes the whole capacity and leaves the buffer empty. */
void Wipe(std::vector<unsigned char>& buffer) noexcept;
void Wipe(std::string& text) noexcept;

/**
 * Wipes a buffer that holds a secret when the scope ends, also while an exception passes.
 *
 * Declared right behind the buffer that it guards, which it borrows.
 */
template <typename Buffer>
class WipeGuard final
{
public:
    explicit WipeGuard(Buffer& buffer) noexcept : m_Buffer(buffer) {}
    ~WipeGuard() { Wipe(m_Buffer); }
    WipeGuard(const WipeGuard&) = delete;
    WipeGuard& operator=(const WipeGuard&) = delete;

private:
    Buffer& m_Buffer;
};

/** The same for a plain array. */
template <typename T, std::size_t N>
class WipeGuard<T[N]> final
{
public:
    explicit WipeGuard(T (&buffer)[N]) noexcept : m_Buffer(buffer) {}
    ~WipeGuard() { Wipe(m_Buffer, sizeof(m_Buffer)); }
    WipeGuard(const WipeGuard&) = delete;
    WipeGuard& operator=(const WipeGuard&) = delete;

private:
    T (&m_Buffer)[N];
};

} // namespace Norvik
