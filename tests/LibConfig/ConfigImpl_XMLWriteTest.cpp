#include "LibConfig/ConfigImpl_XML.h"

#include "tests/LibConfig/ConfigFixture.h"

#include <climits>

namespace
{

using namespace Norvik;

constexpr const char* kHead = "<?xml version=\"1.0\" encoding=\"utf-8\"?>\n";

class ConfigImpl_XMLWrite : public ConfigFixture
{
protected:
    static std::string File() { return ReadText(PrivateEtc::kConfigFile); }
    static std::string Xml(const std::string& body) { return kHead + body; }
};

TEST_F(ConfigImpl_XMLWrite, StringIsWrittenAtOnceWithoutIndentation)
{
    Load("<kmarkclient>\n</kmarkclient>");
    Address("k.mark Client\\Trace", "Filename");
    EXPECT_TRUE(Store().SetString(kId, "/var/log/<ä> & \"co\""));
    EXPECT_EQ(File(),
              Xml("<kmarkclient>\n<k_mark_Client><Trace><Filename>/var/log/&lt;ä&gt; &amp; &quot;co&quot;"
                  "</Filename></Trace></k_mark_Client></kmarkclient>"));
    EXPECT_EQ(Text("k.mark Client\\Trace", "Filename"), "/var/log/<ä> & \"co\"");
}

TEST_F(ConfigImpl_XMLWrite, ExistingValueIsReplacedInItsPlace)
{
    Load("<kmarkclient><s><a>1</a><k x=\"y\">old</k><b>2</b></s></kmarkclient>");
    Address("s", "k");
    EXPECT_TRUE(Store().SetString(kId, "new"));
    EXPECT_EQ(File(), Xml("<kmarkclient><s><a>1</a><k x=\"y\">new</k><b>2</b></s></kmarkclient>"));
}

TEST_F(ConfigImpl_XMLWrite, IntegerAndBooleanAreWritten)
{
    Load("<kmarkclient/>");
    Address("s", "i");
    EXPECT_TRUE(Store().SetInteger(kId, LONG_MIN));
    Address("s", "b");
    EXPECT_TRUE(Store().SetBoolean(kId, true));
    EXPECT_EQ(File(), Xml("<kmarkclient><s><i>-9223372036854775808</i><b>true</b></s></kmarkclient>"));
    long integer = 0;
    Address("s", "i");
    EXPECT_TRUE(Store().GetInteger(kId, integer));
    EXPECT_EQ(integer, LONG_MIN);
}

TEST_F(ConfigImpl_XMLWrite, EmptyKeyIsTheSectionsOwnValue)
{
    Load("<kmarkclient><s>old<k>v</k></s></kmarkclient>");
    Address("s", "");
    EXPECT_TRUE(Store().SetString(kId, "new"));
    Address("t", "");
    EXPECT_TRUE(Store().SetString(kId, "text"));
    Address("u", "");
    EXPECT_TRUE(Store().SetInteger(kId, 7));
    EXPECT_EQ(File(), Xml("<kmarkclient><s>new<k>v</k></s><t>text</t><u>7</u></kmarkclient>"));
}

TEST_F(ConfigImpl_XMLWrite, UsersValueGoesToTheUsersFile)
{
    WriteUserConfig("<kmarkclient/>");
    const std::string allUsers = "<kmarkclient><s/></kmarkclient>";
    Load(allUsers);
    Store().AddConfig(kId, ConfigTypeUser, "k", "s", SysTypeFirst);
    EXPECT_TRUE(Store().SetString(kId, "v"));
    EXPECT_EQ(ReadText(UserFile()), Xml("<kmarkclient><s><k>v</k></s></kmarkclient>"));
    EXPECT_EQ(File(), allUsers);
}

TEST_F(ConfigImpl_XMLWrite, FailsWhereTheDirectoryIsMissing)
{
    Store().Init("kmarkclient");
    Address("s", "k");
    EXPECT_FALSE(Store().SetString(kId, "v"));
    EXPECT_FALSE(Store().SetInteger(kId, 1));
    EXPECT_FALSE(Store().SetBoolean(kId, true));
    EXPECT_FALSE(std::filesystem::exists("/etc/norvik/kmarkclient"));
}

TEST_F(ConfigImpl_XMLWrite, FailsOnAFullDisk)
{
    std::filesystem::create_directories("/etc/norvik/kmarkclient");
    std::filesystem::create_symlink("/dev/full", PrivateEtc::kConfigFile);
    Store().Init("kmarkclient");
    Address("s", "k");
    EXPECT_FALSE(Store().SetString(kId, "v"));
}

/** An element without a name would leave a file that can't be read again. */
TEST_F(ConfigImpl_XMLWrite, PathWithAnEmptyStepIsRefused)
{
    const std::string xml = "<kmarkclient><s><k>v</k></s></kmarkclient>";
    Load(xml);
    for (const char* path : {"a//b", "a/", "/a", "\\\\a"})
    {
        Address(path, "");
        EXPECT_FALSE(Store().SetString(kId, "x")) << path;
        Address(path, "k");
        EXPECT_FALSE(Store().SetInteger(kId, 1)) << path;
    }
    EXPECT_EQ(File(), xml);
}

TEST_F(ConfigImpl_XMLWrite, RemoveKeyTakesTheValueAlone)
{
    Load("<kmarkclient><s>text<a>1</a><k>2</k><k>3</k></s></kmarkclient>");
    Address("s", "k");
    EXPECT_TRUE(Store().RemoveKey(kId));
    EXPECT_EQ(File(), Xml("<kmarkclient><s>text<a>1</a></s></kmarkclient>"));
    EXPECT_EQ(Text("s", "k"), "(none)");
    EXPECT_FALSE(Store().RemoveKey(kId));
}

TEST_F(ConfigImpl_XMLWrite, RemoveKeyWithoutAKeyTakesTheSectionsText)
{
    Load("<kmarkclient><s>text<a>1</a></s></kmarkclient>");
    Address("s", "");
    EXPECT_TRUE(Store().RemoveKey(kId));
    EXPECT_EQ(File(), Xml("<kmarkclient><s><a>1</a></s></kmarkclient>"));
    Address("missing", "");
    EXPECT_FALSE(Store().RemoveKey(kId));
}

TEST_F(ConfigImpl_XMLWrite, RemovePathTakesTheSection)
{
    Load("<kmarkclient><s><t><k>1</k></t><u/></s></kmarkclient>");
    Address("s\\t", "k");
    EXPECT_TRUE(Store().RemovePath(kId));
    EXPECT_EQ(File(), Xml("<kmarkclient><s><u/></s></kmarkclient>"));
    EXPECT_FALSE(Store().RemovePath(kId));
    Address("", "");
    EXPECT_TRUE(Store().RemovePath(kId));
    EXPECT_EQ(File(), kHead);
}

TEST_F(ConfigImpl_XMLWrite, RemovalOfWhatIsNotThereWritesNothing)
{
    const std::string xml = "<kmarkclient>\n<s/></kmarkclient>";
    Load(xml);
    Address("s\\missing", "k");
    EXPECT_FALSE(Store().RemoveKey(kId));
    EXPECT_FALSE(Store().RemovePath(kId));
    EXPECT_EQ(File(), xml);
}

TEST_F(ConfigImpl_XMLWrite, DestroyOfTheBackendWritesBothFiles)
{
    WriteUserConfig("<kmarkclient>\n<u/></kmarkclient>");
    PrivateEtc::WriteConfig("<kmarkclient><a></a></kmarkclient>");
    ConfigImpl_XML backend;
    EXPECT_TRUE(backend.Init("kmarkclient"));
    EXPECT_TRUE(backend.Destroy());
    EXPECT_EQ(File(), Xml("<kmarkclient><a/></kmarkclient>"));
    EXPECT_EQ(ReadText(UserFile()), Xml("<kmarkclient>\n<u/></kmarkclient>"));
}

TEST_F(ConfigImpl_XMLWrite, DestroyOfTheBackendTriesBothFiles)
{
    WriteUserConfig("<kmarkclient><u></u></kmarkclient>");
    ConfigImpl_XML backend;
    EXPECT_TRUE(backend.Init("kmarkclient"));
    EXPECT_FALSE(backend.Destroy());
    EXPECT_EQ(ReadText(UserFile()), Xml("<kmarkclient><u/></kmarkclient>"));
}

} // namespace
