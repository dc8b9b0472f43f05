#pragma once

#include <cstddef>
#include <string>

/**
 * Counts the blocks given back to the heap that still hold a secret, while it lives.
 *
 * A test program that uses it compiles FreedSecretWatch.cpp, which replaces operator new and delete. Buffers
 * of the test itself that hold the secret must outlive the watch. One at a time, on one thread.
 */
class FreedSecretWatch final
{
public:
    /** Looks for the bytes of @p secret, at most 64. */
    explicit FreedSecretWatch(const std::string& secret);
    ~FreedSecretWatch();
    FreedSecretWatch(const FreedSecretWatch&) = delete;
    FreedSecretWatch& operator=(const FreedSecretWatch&) = delete;

    [[nodiscard]] std::size_t Leaks() const;
};
