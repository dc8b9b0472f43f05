// A thousand lives of the module. Leaks are for LeakSanitizer to find when the program ends.

#include "tests/cryptoki/CardFixture.h"

#include <filesystem>
#include <fstream>
#include <iterator>

namespace
{

constexpr int kCycles = 1000;

using ModuleLifecycle = CardFixture;

std::size_t OpenFiles()
{
    const std::filesystem::directory_iterator files("/proc/self/fd");
    return static_cast<std::size_t>(std::distance(begin(files), end(files)));
}

bool IsMapped(const std::string& name)
{
    std::ifstream maps("/proc/self/maps");
    const std::string text{std::istreambuf_iterator<char>(maps), {}};
    return text.find(name) != std::string::npos;
}

} // namespace

TEST_F(ModuleLifecycle, ThousandSignaturesEachInALifeOfItsOwnLeaveNoHandle)
{
    const std::size_t files = OpenFiles();
    for (int i = 0; i < kCycles; ++i)
    {
        Restart();
        ASSERT_EQ(CountSlots(), 2U);
        const CK_SESSION_HANDLE session = Open();
        ASSERT_EQ(Login(session), CKR_OK);
        ASSERT_EQ(SignInit(session), CKR_OK);
        Bytes signature;
        ASSERT_EQ(Sign(session, "data", signature), CKR_OK);
    }
    ASSERT_EQ(P11().C_Finalize(nullptr), CKR_OK);

    EXPECT_EQ(m_Pcsc->OpenHandles(), 0U);
    EXPECT_EQ(m_Pcsc->OpenContexts(), 0U);
    EXPECT_EQ(OpenFiles(), files);

    ASSERT_EQ(P11().C_Initialize(nullptr), CKR_OK);
}

TEST_F(ModuleLifecycle, ThousandLoadsEachLeaveTheProcessAsItWas)
{
    ASSERT_EQ(P11().C_Finalize(nullptr), CKR_OK);
    Unload();
    EXPECT_FALSE(IsMapped("libKMarkP11.so"));
    const std::size_t files = OpenFiles();
    for (int i = 0; i < kCycles; ++i)
    {
        Load();
        ASSERT_EQ(P11().C_Initialize(nullptr), CKR_OK);
        ASSERT_EQ(CountSlots(), 2U);
        ASSERT_EQ(P11().C_Finalize(nullptr), CKR_OK);
        Unload();
    }
    EXPECT_FALSE(IsMapped("libKMarkP11.so"));
    EXPECT_EQ(OpenFiles(), files);

    Load();
    ASSERT_EQ(P11().C_Initialize(nullptr), CKR_OK);
}
