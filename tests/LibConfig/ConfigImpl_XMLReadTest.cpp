#include "LibConfig/ConfigImpl_XML.h"

#include "tests/LibConfig/ConfigFixture.h"

#include <climits>

#include <gmock/gmock.h>

namespace
{

using namespace Norvik;
using testing::ElementsAre;
using testing::IsEmpty;

class ConfigImpl_XMLRead : public ConfigFixture
{
protected:
    static std::string WithValue(const std::string& value)
    {
        return "<kmarkclient><s><k>" + value + "</k></s></kmarkclient>";
    }
};

TEST_F(ConfigImpl_XMLRead, MinimalFileGivesTheTraceSettings)
{
    Load("<?xml version=\"1.0\" encoding=\"utf-8\"?>\n"
         "<kmarkclient>\n <k_mark_Client>\n  <Trace>\n   <LogLevel>1</LogLevel>\n"
         "   <Filename>/var/log/kmark</Filename>\n  </Trace>\n </k_mark_Client>\n</kmarkclient>\n");
    EXPECT_EQ(Text("k.mark Client\\Trace", "Filename"), "/var/log/kmark");
    Address("k.mark Client\\Trace", "LogLevel");
    long level = 0;
    EXPECT_TRUE(Store().GetInteger(kId, level));
    EXPECT_EQ(level, 1);
}

TEST_F(ConfigImpl_XMLRead, BlankAndDotOfASectionBecomeUnderscores)
{
    Load("<kmarkclient><a_b_c><k>v</k></a_b_c></kmarkclient>");
    EXPECT_EQ(Text("a.b c", "k"), "v");
    EXPECT_EQ(Text("a b.c", "k"), "v");
}

struct AddressCase
{
    const char* path;
    const char* key;
    const char* value;
};

TEST_F(ConfigImpl_XMLRead, StepsOfAPathAreSeparatedByEitherSlash)
{
    Load("<kmarkclient>root<a>of a<b>of b<k>v</k></b></a></kmarkclient>");
    const AddressCase cases[] = {
        {"a\\b", "k", "v"},      {"a/b", "k", "v"},          {"\\a\\b", "k", "v"},   {"a\\b\\", "k", "v"},
        {"a\\b", "", "of b"},    {"a", "", "of a"},          {"", "", "root"},       {"a//b", "k", "(none)"},
        {"a/b/", "k", "(none)"}, {"/a/b", "k", "(none)"},    {"a.b", "k", "(none)"}, {"A\\b", "k", "(none)"},
        {"a\\b", "K", "(none)"}, {"a\\b\\k", "x", "(none)"},
    };
    for (const AddressCase& row : cases)
    {
        EXPECT_EQ(Text(row.path, row.key), row.value) << row.path << " " << row.key;
    }
}

TEST_F(ConfigImpl_XMLRead, EmptyNameCountsAsConfig)
{
    std::filesystem::create_directories("/etc/norvik");
    WriteText("/etc/norvik/config", "<config><s><k>v</k></s></config>");
    ASSERT_TRUE(Store().Init(""));
    EXPECT_EQ(Text("s", "k"), "v");
}

TEST_F(ConfigImpl_XMLRead, EachTypeHasItsOwnFile)
{
    WriteUserConfig("<kmarkclient><s><k>user</k><u>only here</u></s></kmarkclient>");
    Load("<kmarkclient><s><k>all</k><a>only here</a></s></kmarkclient>");
    EXPECT_EQ(Text("s", "k"), "all");
    EXPECT_EQ(Text("s", "u"), "(none)");
    std::string value = "preset";
    Store().AddConfig(kId, ConfigTypeUser, "k", "s", SysTypeSecond);
    EXPECT_TRUE(Store().GetString(kId, value));
    EXPECT_EQ(value, "user");
    Store().AddConfig(kId, ConfigTypeUser, "a", "s", SysTypeSecond);
    EXPECT_FALSE(Store().GetString(kId, value));
    EXPECT_EQ(value, "user");
}

struct IntegerCase
{
    const char* text;
    bool bConverts;
    long value;
};

TEST_F(ConfigImpl_XMLRead, IntegerThatDoesNotConvertKeepsThePreset)
{
    const IntegerCase cases[] = {
        {"0", true, 0},
        {"-1", true, -1},
        {" 12\n", true, 12},
        {"9223372036854775807", true, LONG_MAX},
        {"9223372036854775808", false, 0},
        {"12x", false, 0},
        {"0x10", false, 0},
        {"1.5", false, 0},
        {"", false, 0},
        {"true", false, 0},
    };
    for (const IntegerCase& row : cases)
    {
        Load(WithValue(row.text));
        Address("s", "k");
        long value = 4711;
        EXPECT_EQ(Store().GetInteger(kId, value), row.bConverts) << row.text;
        EXPECT_EQ(value, row.bConverts ? row.value : 4711) << row.text;
    }
}

struct BooleanCase
{
    const char* text;
    bool bConverts;
    bool bValue;
};

TEST_F(ConfigImpl_XMLRead, BooleanIsADigitOrAWord)
{
    const BooleanCase cases[] = {
        {"0", true, false},     {"1", true, true},       {"true", true, true},  {"false", true, false},
        {" 1 ", true, true},    {"2", false, false},     {"yes", false, false}, {"", false, false},
        {"TRUE", false, false}, {"truex", false, false},
    };
    for (const BooleanCase& row : cases)
    {
        Load(WithValue(row.text));
        Address("s", "k");
        for (const bool bPreset : {false, true})
        {
            bool bValue = bPreset;
            EXPECT_EQ(Store().GetBoolean(kId, bValue), row.bConverts) << row.text;
            EXPECT_EQ(bValue, row.bConverts ? row.bValue : bPreset) << row.text;
        }
    }
}

TEST_F(ConfigImpl_XMLRead, TextComesAsItStands)
{
    Load(WithValue(" <![CDATA[<a>&amp;]]> &lt;&#228;&#x20AC;<!-- gone --> \n"));
    EXPECT_EQ(Text("s", "k"), " <a>&amp; <ä€ \n");
}

TEST_F(ConfigImpl_XMLRead, FirstOfEqualNamesCounts)
{
    Load("<kmarkclient><s><k>one</k><k>two</k></s><s><k>three</k><l>four</l></s></kmarkclient>");
    EXPECT_EQ(Text("s", "k"), "one");
    EXPECT_EQ(Text("s", "l"), "(none)");
}

constexpr const char* kBrokenTexts[] = {
    "",
    "no markup",
    "<kmarkclient>",
    "<kmarkclient><s><k>v</k></s>",
    "<kmarkclient><s><k>v</k></s></kmarkclient",
    "<kmarkclient><s><k>v</k></s></kmarkclient>behind",
    "<kmarkclient a><s><k>v</k></s></kmarkclient>",
    "<kmarkclient a=\"><s><k>v</k></s></kmarkclient>",
    "<kmarkclient><!-- <s><k>v</k></s></kmarkclient>",
    "<kmarkclient><s><k>&#xFFFFFFFF;</k></s></kmarkclient>",
};

TEST_F(ConfigImpl_XMLRead, BrokenFileIsAnEmptyTree)
{
    for (const char* text : kBrokenTexts)
    {
        Load(text);
        EXPECT_EQ(Text("s", "k"), "(none)") << text;
        EXPECT_THAT(Store().EnumSubDirs(kId, ""), IsEmpty()) << text;
        long integer = 1;
        bool bValue = true;
        EXPECT_FALSE(Store().GetInteger(kId, integer));
        EXPECT_FALSE(Store().GetBoolean(kId, bValue));
    }
}

TEST_F(ConfigImpl_XMLRead, BrokenFileOfOneTypeLeavesTheOther)
{
    WriteUserConfig("<broken");
    Load(WithValue("v"));
    EXPECT_EQ(Text("s", "k"), "v");
}

TEST_F(ConfigImpl_XMLRead, DirectoryInPlaceOfTheFileIsAnEmptyTree)
{
    std::filesystem::create_directories(PrivateEtc::kConfigFile);
    EXPECT_TRUE(Store().Init("kmarkclient"));
    EXPECT_EQ(Text("s", "k"), "(none)");
}

TEST_F(ConfigImpl_XMLRead, EnumSubDirsListsElementsThatBeginWithTheFilter)
{
    Load("<kmarkclient><k_mark_Client version=\"1\"><!-- Reader in a comment --><Reader>x</Reader><Trace/>"
         "<OtherReader/><Reader1/>text</k_mark_Client></kmarkclient>");
    Address("k.mark Client", "");
    EXPECT_THAT(Store().EnumSubDirs(kId, "Reader"), ElementsAre("Reader", "Reader1"));
    EXPECT_THAT(Store().EnumSubDirs(kId, ""), ElementsAre("Reader", "Trace", "OtherReader", "Reader1"));
    EXPECT_THAT(Store().EnumSubDirs(kId, "reader"), IsEmpty());
    EXPECT_THAT(Store().EnumSubDirs(kId, "<"), IsEmpty());
    Address("k.mark Client\\Trace", "");
    EXPECT_THAT(Store().EnumSubDirs(kId, ""), IsEmpty());
    Address("missing", "");
    EXPECT_THAT(Store().EnumSubDirs(kId, ""), IsEmpty());
}

TEST_F(ConfigImpl_XMLRead, EnumSubDirsLooksAtTheSectionAndNotAtTheKey)
{
    Load("<kmarkclient><s><k><inner/></k></s></kmarkclient>");
    Address("s", "k");
    EXPECT_THAT(Store().EnumSubDirs(kId, ""), ElementsAre("k"));
}

/** Without a HOME a relative path would lead into the working directory of the host program. */
TEST_F(ConfigImpl_XMLRead, WithoutHomeTheUsersTreeStaysEmpty)
{
    const TemporaryDirectory working;
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::create_directories(working.File(".norvik/kmarkclient"));
    WriteText(working.File(".norvik/kmarkclient/config"), WithValue("not ours"));
    std::filesystem::create_directories(working.File("empty"));
    for (const char* home : {static_cast<const char*>(nullptr), ""})
    {
        const ScopedEnvironment environment("HOME", home);
        std::filesystem::current_path(working.Path());
        Load(WithValue("v"));
        std::filesystem::current_path(working.File("empty"));
        Load(WithValue("v"));
        std::filesystem::current_path(before);
        EXPECT_EQ(Text("s", "k"), "v");
        Store().AddConfig(kId, ConfigTypeUser, "k", "s", SysTypeFirst);
        std::string value = "preset";
        EXPECT_FALSE(Store().GetString(kId, value));
        EXPECT_FALSE(Store().SetString(kId, "new"));
        EXPECT_FALSE(Store().GetString(kId, value));
        EXPECT_EQ(value, "preset");
        EXPECT_TRUE(std::filesystem::is_empty(working.File("empty")));
    }
}

} // namespace
