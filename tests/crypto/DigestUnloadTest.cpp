#include <memory>
#include <thread>
#include <vector>

#include <dlfcn.h>

#include <gtest/gtest.h>
#include <openssl/crypto.h>
#include <openssl/provider.h>

namespace
{

struct Unload
{
    void operator()(void* module) const { dlclose(module); }
};
using Module = std::unique_ptr<void, Unload>;

Module Load()
{
    return Module(dlopen(KMARK_DIGEST_MODULE, RTLD_NOW | RTLD_LOCAL));
}

int MakeAllDigests(const Module& module)
{
    return reinterpret_cast<int (*)()>(dlsym(module.get(), "MakeAllDigests"))();
}

bool IsLoaded()
{
    return Module(dlopen(KMARK_DIGEST_MODULE, RTLD_NOW | RTLD_NOLOAD)) != nullptr;
}

// What the digests hold goes with the module. The leak checker of a sanitizer build sees what doesn't.
TEST(DigestUnload, LeavesNothingBehind)
{
    for (int round = 0; round < 20; ++round)
    {
        {
            const Module module = Load();
            ASSERT_NE(module, nullptr) << dlerror();
            ASSERT_EQ(MakeAllDigests(module), 8);
        }
        ASSERT_FALSE(IsLoaded());
    }
    EXPECT_EQ(OSSL_PROVIDER_available(nullptr, "legacy"), 0);
}

TEST(DigestUnload, FollowsAFirstUseByManyThreads)
{
    const Module module = Load();
    ASSERT_NE(module, nullptr) << dlerror();
    std::vector<int> made(8);
    std::vector<std::thread> threads;

    for (int& count : made)
    {
        threads.emplace_back([&module, &count] { count = MakeAllDigests(module); });
    }
    for (std::thread& thread : threads)
    {
        thread.join();
    }

    EXPECT_EQ(made, std::vector<int>(8, 8));
}

TEST(DigestUnloadDeathTest, MayComeAfterTheHostHasEndedOpenSsl)
{
    EXPECT_EXIT(
        {
            const Module module = Load();
            const int made = MakeAllDigests(module);
            OPENSSL_cleanup();
            // exit() runs the destructors of the module, which is still loaded.
            std::exit(made == 8 ? 0 : 1);
        },
        testing::ExitedWithCode(0), "");
}

} // namespace
