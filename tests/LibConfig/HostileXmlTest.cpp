#include "tests/LibConfig/ConfigFixture.h"

#include <pthread.h>
#include <random>
#include <string>

#include <gtest/gtest.h>

namespace
{

using namespace Norvik;
using namespace std::string_literals;

std::string Repeated(const std::string& text, std::size_t count)
{
    std::string result;
    result.reserve(text.size() * count);
    for (std::size_t i = 0; i < count; ++i)
    {
        result += text;
    }
    return result;
}

/** A good value, as deep in the tree as @p levels elements. */
std::string WithLevels(std::size_t levels)
{
    return "<kmarkclient><s><k>v</k></s>" + Repeated("<a>", levels - 1) + Repeated("</a>", levels - 1) +
           "</kmarkclient>";
}

class HostileXml : public ConfigFixture
{
protected:
    /** Every way in which a file of all users is looked at. */
    static void Touch()
    {
        long integer = 0;
        bool bValue = false;
        Address("s", "k");
        Store().GetInteger(kId, integer);
        Store().GetBoolean(kId, bValue);
        Store().GetStringBoolean(kId, bValue);
        for (const char* path : {"", "s", "k.mark Client", "k.mark Client/Trace"})
        {
            Text(path, "");
            for (const std::string& name : Store().EnumSubDirs(kId, ""))
            {
                Text(std::string(path) + "/" + name, "k");
            }
        }
    }
};

TEST_F(HostileXml, ThousandLevelsAreRead)
{
    Load(WithLevels(1000));
    EXPECT_EQ(Text("s", "k"), "v");
}

TEST_F(HostileXml, DeeperNestingIsABrokenFile)
{
    for (const std::size_t levels : {std::size_t{1001}, std::size_t{500000}})
    {
        Load(WithLevels(levels));
        EXPECT_EQ(Text("s", "k"), "(none)") << levels;
    }
}

TEST_F(HostileXml, DepthWithoutAnEndIsABrokenFile)
{
    Load(Repeated("<a>", 1000000));
    EXPECT_EQ(Text("s", "k"), "(none)");
}

TEST_F(HostileXml, DepthBehindSkippedMarkupIsFound)
{
    const std::string deep = Repeated("<a>", 300000);
    for (const char* head : {"<!-- x -->", "<?x y?>", "<!DOCTYPE a []>", "<!x>", "\xEF\xBB\xBF",
                             "<a x='1' y=\"2\">", "<a><![CDATA[<]]>"})
    {
        Load(head + deep);
        EXPECT_EQ(Text("s", "k"), "(none)") << head;
    }
}

/** A host program may call with a small stack. */
TEST_F(HostileXml, DeepestFileFitsASmallStack)
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
    GTEST_SKIP() << "frames are larger here";
#else
    PrivateEtc::WriteConfig(WithLevels(1000));
    pthread_attr_t attributes;
    ASSERT_EQ(pthread_attr_init(&attributes), 0);
    ASSERT_EQ(pthread_attr_setstacksize(&attributes, std::size_t{2048} * 1024), 0);
    pthread_t thread = {};
    const auto read = [](void*) -> void* {
        Store().Init("kmarkclient");
        return nullptr;
    };
    ASSERT_EQ(pthread_create(&thread, &attributes, read, nullptr), 0);
    pthread_join(thread, nullptr);
    pthread_attr_destroy(&attributes);
    EXPECT_EQ(Text("s", "k"), "v");
#endif
}

TEST_F(HostileXml, ManyElementsSideBySideAreRead)
{
    Load("<kmarkclient>" + Repeated("<x/>", 50000) + "<s><k>v</k></s></kmarkclient>");
    EXPECT_EQ(Text("s", "k"), "v");
    Address("", "");
    EXPECT_EQ(Store().EnumSubDirs(kId, "").size(), 50001U);
}

TEST_F(HostileXml, FileAboveFourMebibytesIsABrokenFile)
{
    constexpr std::size_t kLimit = std::size_t{4} * 1024 * 1024;
    const std::string good = "<kmarkclient><s><k>v</k></s></kmarkclient>";
    Load(good + std::string(kLimit - good.size(), ' '));
    EXPECT_EQ(Text("s", "k"), "v");
    Load(good + std::string(kLimit - good.size() + 1, ' '));
    EXPECT_EQ(Text("s", "k"), "(none)");
}

TEST_F(HostileXml, FileWithoutAnEndIsABrokenFile)
{
    std::filesystem::create_directories("/etc/norvik/kmarkclient");
    std::filesystem::create_symlink("/dev/zero", PrivateEtc::kConfigFile);
    EXPECT_TRUE(Store().Init("kmarkclient"));
    EXPECT_EQ(Text("s", "k"), "(none)");
}

TEST_F(HostileXml, LongNamesAndValuesAreRead)
{
    const std::string name(500000, 'n');
    Load("<kmarkclient><" + name + " " + name + "='" + name + "'><k>" + name + "</k></" + name +
         "></kmarkclient>");
    EXPECT_EQ(Text(name, "k"), name);
}

TEST_F(HostileXml, DoctypeCommentsAndCdataAreRead)
{
    Load("<?xml version='1.0'?><!DOCTYPE x [<!ENTITY a '<b>'> <!ENTITY c SYSTEM '/etc/passwd'>]><!-- c -->"
         "<kmarkclient><s><!-- k --><k><![CDATA[<v>]]>&a;&c;</k></s><!-- end --></kmarkclient><!-- behind "
         "-->");
    EXPECT_EQ(Text("s", "k"), "<v>&a;&c;");
}

TEST_F(HostileXml, NulEndsTheText)
{
    Load("<kmarkclient><s><k>v</k></s></kmarkclient>\0<a><b>"s);
    EXPECT_EQ(Text("s", "k"), "v");
    Load("<kmarkclient><s><k>v\0</k></s></kmarkclient>"s);
    EXPECT_EQ(Text("s", "k"), "(none)");
}

TEST_F(HostileXml, NulByReferenceIsPartOfAValue)
{
    Load("<kmarkclient><s><k>a&#0;b</k></s></kmarkclient>");
    EXPECT_EQ(Text("s", "k"), "a\0b"s);
}

/** No content may crash the reader; what counts is that this ends, also under the sanitizers. */
TEST_F(HostileXml, MutatedFilesDoNotCrash)
{
    const std::string seeds[] = {
        "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n<kmarkclient>\n <k_mark_Client>\n  <Trace>\n"
        "<LogLevel>1</LogLevel><Filename>/var/log/kmark.log</Filename></Trace><Reader1><UseBeep>0</UseBeep>"
        "</Reader1></k_mark_Client></kmarkclient>\n",
        "<!DOCTYPE x [<!ENTITY a '<b>'>]><kmarkclient a='1' b=\"&lt;&#65;\"><!-- c "
        "--><s><k><![CDATA[<v>]]>&amp;"
        "&#x20AC;</k></s><?p i?></kmarkclient>",
        "\xEF\xBB\xBF<kmarkclient><s>&quot;&apos;&gt;<k>&#228;</k></s></kmarkclient>",
    };
    constexpr const char* kInserts[] = {
        "<",          ">",   "</",         "/>",         "<!",
        "<!--",       "-->", "<![CDATA[",  "]]>",        "&#",
        "&#x",        ";",   "'",          "\"",         "<?",
        "?>",         "&",   "&#1114111;", "&#x110000;", "&#99999999999999999999;",
        "<!DOCTYPE ", "[",   "]",          "=",          "\xEF\xBB\xBF"};
    std::mt19937 random(20260101);
    const auto below = [&random](std::size_t limit) {
        return std::uniform_int_distribution<std::size_t>(0, limit - 1)(random);
    };
    for (int round = 0; round < 6000; ++round)
    {
        std::string text = seeds[below(std::size(seeds))];
        const std::size_t changes = 1 + below(6);
        for (std::size_t i = 0; i < changes && !text.empty(); ++i)
        {
            const std::size_t at = below(text.size());
            switch (below(5))
            {
            case 0:
                text[at] = static_cast<char>(below(256));
                break;
            case 1:
                text.erase(at, 1 + below(8));
                break;
            case 2:
                text.insert(at, kInserts[below(std::size(kInserts))]);
                break;
            case 3:
                text.resize(at);
                break;
            default:
                text.insert(at, text.substr(below(text.size()), 1 + below(40)));
                break;
            }
        }
        Load(text);
        Touch();
    }
}

} // namespace
