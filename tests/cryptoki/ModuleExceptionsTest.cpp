// What may leave the module as an exception: it must leave whole, and the module must go on.
//
// The program replaces three functions of the platform. The module finds them here first, since the program exports
// its symbols; only calls that come from the module itself are made to fail.

#include "tests/cryptoki/CardFixture.h"

#include <atomic>
#include <cerrno>
#include <cstdlib>
#include <cstring>
#include <new>
#include <stdexcept>

#include <dlfcn.h>
#include <pthread.h>
#include <sys/mman.h>

namespace
{

/** Which call of a function fails next: 1 the next one, 0 none. */
using Countdown = std::atomic<unsigned int>;
Countdown sFailingLock{0};
Countdown sFailingAllocation{0};
std::atomic<bool> bSharedMemoryFails{false};

bool IsInModule(const void* address)
{
    Dl_info info = {};
    return dladdr(address, &info) != 0 && std::strstr(info.dli_fname, "libKMarkP11.so") != nullptr;
}

bool IsTheOne(Countdown& countdown, const void* caller)
{
    if (countdown.load() == 0 || !IsInModule(caller))
    {
        return false;
    }
    return countdown.fetch_sub(1) == 1;
}

template <typename Function>
Function* Next(const char* name)
{
    return reinterpret_cast<Function*>(dlsym(RTLD_NEXT, name));
}

} // namespace

extern "C" [[gnu::visibility("default")]] int pthread_mutex_lock(pthread_mutex_t* mutex) noexcept
{
    static auto* const next = Next<int(pthread_mutex_t*)>("pthread_mutex_lock");
    return IsTheOne(sFailingLock, __builtin_return_address(0)) ? EAGAIN : next(mutex);
}

extern "C" [[gnu::visibility("default")]] int shm_open(const char* name, int flags, mode_t mode)
{
    static auto* const next = Next<int(const char*, int, mode_t)>("shm_open");
    if (bSharedMemoryFails)
    {
        errno = EACCES;
        return -1;
    }
    return next(name, flags, mode);
}

// Not inlined: the compiler would see new memory given back by free().
[[gnu::noinline]] void* operator new(std::size_t size)
{
    void* const memory =
        IsTheOne(sFailingAllocation, __builtin_return_address(0)) ? nullptr : std::malloc(size);
    if (memory == nullptr)
    {
        throw std::bad_alloc();
    }
    return memory;
}

[[gnu::noinline]] void operator delete(void* memory) noexcept
{
    std::free(memory);
}

[[gnu::noinline]] void operator delete(void* memory, std::size_t /*size*/) noexcept
{
    std::free(memory);
}

namespace
{

class ModuleExceptions : public CardFixture
{
protected:
    void TearDown() override
    {
        sFailingLock = 0;
        sFailingAllocation = 0;
        bSharedMemoryFails = false;
        CardFixture::TearDown();
    }

    /** A login and a signature in a session of its own: what an application does. */
    [[nodiscard]] CK_RV LogInAndSign() const
    {
        CK_SESSION_HANDLE session = 0;
        CK_RV rv = P11().C_OpenSession(kSlot, CKF_SERIAL_SESSION, nullptr, nullptr, &session);
        if (rv == CKR_OK)
        {
            rv = Login(session);
        }
        if (rv == CKR_OK)
        {
            FindObjects(session);
            rv = SignInit(session);
        }
        Bytes signature;
        return rv == CKR_OK ? Sign(session, "data", signature) : rv;
    }

    /** Fails the first call, then the second and so on, until LogInAndSign() gets through without a failure. */
    template <typename Exception>
    unsigned int FailEachCall(Countdown& countdown)
    {
        unsigned int thrown = 0;
        for (unsigned int call = 1; call < 10000; ++call)
        {
            countdown = call;
            try
            {
                static_cast<void>(LogInAndSign());
            }
            catch (const Exception&)
            {
                ++thrown;
            }
            const bool bReached = countdown.exchange(0) == 0;
            EXPECT_EQ(LogInAndSign(), CKR_OK) << "after call " << call << " failed";
            P11().C_CloseAllSessions(kSlot);
            if (!bReached || testing::Test::HasFailure())
            {
                break;
            }
        }
        return thrown;
    }
};

} // namespace

TEST_F(ModuleExceptions, AnyFailingAllocationLeavesAModuleThatGoesOn)
{
    EXPECT_GT(FailEachCall<std::bad_alloc>(sFailingAllocation), 20U);
    EXPECT_EQ(m_Pcsc->CountOf("SCardBeginTransaction"), m_Pcsc->CountOf("SCardEndTransaction"));
}

TEST_F(ModuleExceptions, AnyFailingLockLeavesAModuleThatGoesOn)
{
    // boost::lock_error, whose type is the module's own.
    EXPECT_GT(FailEachCall<std::exception>(sFailingLock), 20U);
}

TEST_F(ModuleExceptions, FailingLockSaysWhatFailed)
{
    const CK_SESSION_HANDLE session = Open();
    sFailingLock = 1;
    try
    {
        P11().C_Logout(session);
        ADD_FAILURE() << "nothing left the module";
    }
    catch (const std::exception& exception)
    {
        EXPECT_THAT(exception.what(), testing::HasSubstr("boost: mutex lock failed in pthread_mutex_lock"));
    }
    EXPECT_EQ(P11().C_Logout(session), CKR_OK);
}

TEST_F(ModuleExceptions, MissingDialogSegmentLeavesAsAnException)
{
    const CK_SESSION_HANDLE session = Open();
    FindObjects(session);
    ASSERT_EQ(SignInit(session, CKM_ECDSA_SHA1, kSigPrivateKey), CKR_OK);
    Bytes signature;
    bSharedMemoryFails = true;

    EXPECT_THROW(Sign(session, "data", signature), std::exception);

    bSharedMemoryFails = false;
    EXPECT_EQ(m_Pcsc->CountOf("SCardBeginTransaction"), m_Pcsc->CountOf("SCardEndTransaction"));
    EXPECT_EQ(LogInAndSign(), CKR_OK);
}
