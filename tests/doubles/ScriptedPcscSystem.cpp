#include "tests/doubles/ScriptedPcsc.h"
#include "tests/doubles/ScriptedPcscCalls.h"

#include <atomic>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <thread>

#include <pthread.h>

// The linker sends sleep, usleep, fopen and the locking of mutexes through here (--wrap).

namespace Calls = ScriptedPcscCalls;

namespace
{
thread_local int tHeldMutexes = 0;
thread_local int tNextLockError = 0;
std::atomic<int> gContentions = 0;
} // namespace

void ScriptedPcsc::FailNextLock(int error)
{
    tNextLockError = error;
}

int ScriptedPcsc::HeldMutexes()
{
    return tHeldMutexes;
}

void ScriptedPcsc::ForgetContention()
{
    gContentions = 0;
}

bool ScriptedPcsc::WaitForContention()
{
    const auto deadline = std::chrono::steady_clock::now() + std::chrono::seconds(10);
    while (gContentions == 0 && std::chrono::steady_clock::now() < deadline)
    {
        std::this_thread::yield();
    }
    return gContentions.exchange(0) != 0;
}

// NOLINTBEGIN(bugprone-reserved-identifier): the names that the linker asks for
extern "C" {
int __real_pthread_mutex_lock(pthread_mutex_t* mutex);
int __real_pthread_mutex_trylock(pthread_mutex_t* mutex);
int __real_pthread_mutex_unlock(pthread_mutex_t* mutex);
std::FILE* __real_fopen(const char* path, const char* mode);

int __wrap_pthread_mutex_lock(pthread_mutex_t* mutex)
{
    if (tNextLockError != 0)
    {
        const int error = tNextLockError;
        tNextLockError = 0;
        return error;
    }
    int result = __real_pthread_mutex_trylock(mutex);
    if (result == EBUSY)
    {
        ++gContentions;
        result = __real_pthread_mutex_lock(mutex);
    }
    tHeldMutexes += result == 0 ? 1 : 0;
    return result;
}

int __wrap_pthread_mutex_trylock(pthread_mutex_t* mutex)
{
    const int result = __real_pthread_mutex_trylock(mutex);
    tHeldMutexes += result == 0 ? 1 : 0;
    return result;
}

int __wrap_pthread_mutex_unlock(pthread_mutex_t* mutex)
{
    --tHeldMutexes;
    return __real_pthread_mutex_unlock(mutex);
}

unsigned int __wrap_sleep(unsigned int seconds)
{
    ScriptedPcsc::Play(Calls::Sleep(seconds));
    return 0;
}

int __wrap_usleep(unsigned int microseconds)
{
    ScriptedPcsc::Play(Calls::Usleep(microseconds));
    return 0;
}

std::FILE* __wrap_fopen(const char* path, const char* mode)
{
    if (std::strcmp(path, "/dev/console") != 0)
    {
        return __real_fopen(path, mode);
    }
    return ScriptedPcsc::PlayOpenConsole(Calls::OpenFile(path, mode));
}
}
// NOLINTEND(bugprone-reserved-identifier)
