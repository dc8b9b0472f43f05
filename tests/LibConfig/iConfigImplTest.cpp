#include "LibConfig/iConfigImpl.h"

#include <vector>

#include <gtest/gtest.h>

namespace
{

using Norvik::iConfigImpl;
using Norvik::sConfig;

struct PathCase
{
    const char* name;
    std::vector<std::string> parts;
    const char* path;
};

const PathCase kPathCases[] = {
    {"TwoParts", {"kmarkclient", "k.mark Client\\Trace"}, "kmarkclient\\k.mark Client\\Trace\\"},
    {"EmptyPartsAreLeftOut", {"", "a", "", "b", ""}, "a\\b\\"},
    {"LeadingBackslashIsDropped", {"\\a", "\\b"}, "a\\b\\"},
    {"OnlyOneLeadingBackslashIsDropped", {"a", "\\\\b"}, "a\\\\b\\"},
    {"FinalBackslashIsNotDoubled", {"a\\", "b\\"}, "a\\b\\"},
    {"SlashIsAnOrdinaryCharacter", {"/a/"}, "/a/\\"},
    {"NoPart", {}, ""},
    {"EmptyPartAlone", {""}, ""},
    {"BackslashAlone", {"\\"}, "\\"},
};

class BuildRegPath : public testing::TestWithParam<PathCase>
{};

TEST_P(BuildRegPath, JoinsPartsWithBackslashes)
{
    const std::vector<std::string>& parts = GetParam().parts;
    EXPECT_EQ(iConfigImpl::BuildRegPath(parts.data(), static_cast<int>(parts.size())), GetParam().path);
}

INSTANTIATE_TEST_SUITE_P(All, BuildRegPath, testing::ValuesIn(kPathCases),
                         [](const auto& row) { return row.param.name; });

/** Records what the base class asks of a backend. */
class RecordingBackend final : public iConfigImpl
{
public:
    bool SetInteger(sConfig*, long) override { return false; }
    bool SetString(sConfig*, const std::string&) override { return false; }
    bool SetBoolean(sConfig*, bool) override { return false; }
    bool GetInteger(sConfig*, long&) override { return false; }
    bool GetString(sConfig*, std::string&) override { return false; }
    bool GetBoolean(sConfig*, bool&) override { return false; }
    using iConfigImpl::EnumSubDirs;
    std::vector<std::string> EnumSubDirs(sConfig*, const std::string& filter) override
    {
        return {"filter:" + filter};
    }
    bool RemoveKey(sConfig*) override { return false; }
    bool RemovePath(sConfig*) override { return false; }
    bool DoInit() override
    {
        m_Initialised = Name();
        return m_bResult;
    }
    bool DoDestroy() override { return m_bResult; }

    std::string m_Initialised;
    bool m_bResult = true;
};

TEST(iConfigImplTest, InitStoresTheNameFirstAndGivesTheBackendsResult)
{
    RecordingBackend backend;
    EXPECT_TRUE(backend.Init("kmarkclient"));
    EXPECT_EQ(backend.m_Initialised, "kmarkclient");
    EXPECT_TRUE(backend.Destroy());
    backend.m_bResult = false;
    EXPECT_FALSE(backend.Init("other"));
    EXPECT_FALSE(backend.Destroy());
}

TEST(iConfigImplTest, EnumSubDirsWithoutAFilterHasAnEmptyOne)
{
    RecordingBackend backend;
    EXPECT_EQ(backend.EnumSubDirs(nullptr), std::vector<std::string>{"filter:"});
}

} // namespace
