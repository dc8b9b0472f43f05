#pragma once

#include <utility>

#include <unistd.h>

namespace Simulator
{

/** Owns a file descriptor; -1 is none. */
class FileDescriptor final
{
public:
    FileDescriptor() = default;
    explicit FileDescriptor(int descriptor) : m_Descriptor(descriptor) {}
    ~FileDescriptor() { Reset(); }
    FileDescriptor(FileDescriptor&& other) noexcept : m_Descriptor(std::exchange(other.m_Descriptor, -1)) {}
    FileDescriptor& operator=(FileDescriptor&& other) noexcept
    {
        if (this != &other)
        {
            Reset();
            m_Descriptor = std::exchange(other.m_Descriptor, -1);
        }
        return *this;
    }

    [[nodiscard]] int Get() const { return m_Descriptor; }
    [[nodiscard]] bool IsOpen() const { return m_Descriptor >= 0; }
    void Reset()
    {
        if (m_Descriptor >= 0)
        {
            ::close(std::exchange(m_Descriptor, -1));
        }
    }

private:
    int m_Descriptor = -1;
};

} // namespace Simulator
