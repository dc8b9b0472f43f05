#include "tests/input/DialogWorld.h"

#include <array>
#include <cerrno>
#include <cstring>

#include <dlfcn.h>
#include <fcntl.h>
#include <sys/mman.h>
#include <sys/stat.h>
#include <unistd.h>

#include <gtest/gtest.h>

namespace
{

// The name and its size are literals: the test must not learn them from the code under test.
constexpr char kName[] = "/{C9034F36-6695-4de4-BCE5-79C7810FACAF}";

DialogWorld* current = nullptr;

int RealShmOpen(const char* name, int flags, mode_t mode)
{
    using Function = int (*)(const char*, int, mode_t);
    static const auto function = reinterpret_cast<Function>(dlsym(RTLD_NEXT, "shm_open"));
    return function(name, flags, mode);
}

} // namespace

DialogWorld::DialogWorld()
{
    current = this;
    SegmentView::Remove();
}

DialogWorld::~DialogWorld()
{
    SegmentView::Remove();
    current = nullptr;
}

extern "C" pid_t fork() noexcept
{
    if (current != nullptr)
    {
        ++current->Starts;
        current->OnStart();
    }
    return 1;
}

extern "C" unsigned int sleep(unsigned int seconds)
{
    if (current != nullptr)
    {
        current->Sleeps.push_back(seconds);
        current->Seconds += static_cast<std::time_t>(seconds);
        current->OnWait();
    }
    return 0;
}

extern "C" int usleep(useconds_t microseconds)
{
    if (current != nullptr)
    {
        current->Microsleeps.push_back(microseconds);
        current->OnWait();
    }
    return 0;
}

extern "C" std::time_t time(std::time_t* out) noexcept
{
    const std::time_t now = current == nullptr ? 0 : current->Seconds;
    if (out != nullptr)
    {
        *out = now;
    }
    return now;
}

extern "C" std::clock_t clock() noexcept
{
    return current == nullptr ? 0 : current->Ticks;
}

extern "C" int shm_open(const char* name, int flags, mode_t mode)
{
    if (current != nullptr && current->ShmOpenError != 0)
    {
        errno = current->ShmOpenError;
        return -1;
    }
    return RealShmOpen(name, flags, mode);
}

SegmentView::SegmentView()
{
    const int descriptor = RealShmOpen(kName, O_RDWR, 0);
    struct stat status = {};
    if (descriptor < 0 || fstat(descriptor, &status) != 0)
    {
        return;
    }
    m_Size = static_cast<std::size_t>(status.st_size);
    m_Mode = status.st_mode & 07777;
    void* const memory = mmap(nullptr, m_Size, PROT_READ | PROT_WRITE, MAP_SHARED, descriptor, 0);
    m_Memory = memory == MAP_FAILED ? nullptr : static_cast<char*>(memory);
    close(descriptor);
}

SegmentView::~SegmentView()
{
    if (m_Memory != nullptr)
    {
        munmap(m_Memory, m_Size);
    }
}

char* SegmentView::At(std::size_t offset, std::size_t length) const
{
    static std::array<char, 0x10000> nowhere{};
    if (m_Memory == nullptr || offset > m_Size || length > m_Size - offset)
    {
        ADD_FAILURE() << "no segment with bytes " << offset << " to " << offset + length;
        return nowhere.data();
    }
    return m_Memory + offset;
}

std::int32_t SegmentView::Word(std::size_t offset) const
{
    std::int32_t value = 0;
    std::memcpy(&value, At(offset, sizeof(value)), sizeof(value));
    return value;
}

void SegmentView::SetWord(std::size_t offset, std::int32_t value)
{
    std::memcpy(At(offset, sizeof(value)), &value, sizeof(value));
}

std::string SegmentView::Text(std::size_t offset, std::size_t length) const
{
    return {At(offset, length), length};
}

void SegmentView::SetText(std::size_t offset, const std::string& text)
{
    text.copy(At(offset, text.size()), text.size());
}

bool SegmentView::NameExists()
{
    const int descriptor = RealShmOpen(kName, O_RDONLY, 0);
    if (descriptor < 0)
    {
        return false;
    }
    close(descriptor);
    return true;
}

void SegmentView::Create(std::size_t size, std::int32_t state)
{
    const int descriptor = RealShmOpen(kName, O_RDWR | O_CREAT, 0600);
    if (descriptor >= 0 && ftruncate(descriptor, static_cast<off_t>(size)) == 0)
    {
        SegmentView().SetWord(0, state);
    }
    close(descriptor);
}

void SegmentView::Remove()
{
    shm_unlink(kName);
}
