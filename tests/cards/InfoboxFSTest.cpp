#include "cards/InfoboxFS.h"

#include "tests/doubles/ScriptedCardReader.h"

#include <string>
#include <vector>

#include <gtest/gtest.h>

namespace
{

using LibInfobox::InfoboxFS;

/** All entries as "tag/flag:data", in order. */
std::string Describe(const InfoboxFS& infobox)
{
    std::string text;
    for (const unsigned char tag : infobox.GetTagList())
    {
        unsigned char encrypted = 0;
        Norvik::ByteArray data;
        if (infobox.GetEntry(tag, encrypted, data))
        {
            text += std::to_string(tag) + "/" + std::to_string(encrypted) + ":" + ToHex(data) + " ";
        }
    }
    return text;
}

struct ParseCase
{
    const char* name;
    const char* image;
    bool bParsed;
    const char* entries;
};

class InfoboxImage : public testing::TestWithParam<ParseCase>
{};

TEST_P(InfoboxImage, GivesItsEntries)
{
    InfoboxFS infobox;
    EXPECT_EQ(infobox.ParseInfoboxData(FromHex(GetParam().image)), GetParam().bParsed);
    EXPECT_EQ(Describe(infobox), GetParam().entries);
}

const ParseCase kParseCases[] = {
    {"Empty", "", false, ""},
    {"OneByte", "41", false, ""},
    {"TwoBytes", "4149", false, ""},
    {"ThreeBytes", "41494B", false, ""},
    {"HeaderAlone", "41494B01", true, ""},
    {"VersionZero", "41494B00", true, ""},
    {"VersionTwo", "41494B02", false, ""},
    {"VersionTwoWithEntry", "41494B02 01000100 61", false, ""},
    {"OtherMagic", "41494C01 01000100 61", false, ""},
    {"ZeroTagEndsAtOnce", "41494B01 00000000", true, ""},
    {"ZeroTagHidesWhatFollows", "41494B01 00000000 01000100 61", true, ""},
    {"OneEntry", "41494B01 01000300 616263", true, "1/0:616263 "},
    {"TwoEntries", "41494B01 01000100 61 02050200 6263", true, "1/0:61 2/5:6263 "},
    {"EntriesUntilTheZeroFill", "41494B01 01000100 61 0000000000", true, "1/0:61 "},
    {"FewerThanFiveBytesRemain", "41494B01 01000100 61 020001", true, "1/0:61 "},
    {"LengthPastTheEnd", "41494B01 0200FF00 61", false, ""},
    {"LargestLength", "41494B01 0200FFFF 61", false, ""},
    {"ValidEntryThenOneThatRunsPastTheEnd", "41494B01 01000100 61 02000300 6263", false, "1/0:61 "},
    {"LengthIsLittleEndian", "41494B01 01000001 61", false, ""},
    {"EmptyEntryAtTheVeryEndIsNotSeen", "41494B01 01000000", true, ""},
    {"EmptyEntryBeforeAZeroByte", "41494B01 01000000 00", true, "1/0: "},
    {"EntryOfUnknownTag", "41494B01 FE000100 61", true, "254/0:61 "},
};

INSTANTIATE_TEST_SUITE_P(All, InfoboxImage, testing::ValuesIn(kParseCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST(InfoboxFSTest, NewInfoboxHasNoEntries)
{
    const InfoboxFS infobox;
    EXPECT_EQ(infobox.GetEntryCount(), 0U);
    EXPECT_TRUE(infobox.GetTagList().empty());
}

TEST(InfoboxFSTest, LengthOf16BitsIsRead)
{
    std::string image = "41494B01 01002C01";
    for (int i = 0; i < 300; ++i)
    {
        image += "5A";
    }
    InfoboxFS infobox;
    ASSERT_TRUE(infobox.ParseInfoboxData(FromHex(image)));

    unsigned char encrypted = 0xEE;
    Norvik::ByteArray data;
    ASSERT_TRUE(infobox.GetEntry(1, encrypted, data));
    EXPECT_EQ(data.size(), 300U);
    EXPECT_EQ(encrypted, 0);
}

// A hostile card fills the whole file with entries that hold nothing.
TEST(InfoboxFSTest, ManyEntriesNeedNoStack)
{
    constexpr std::size_t kCount = 200000;
    Norvik::ByteArray image = FromHex("41494B01");
    for (std::size_t i = 0; i < kCount; ++i)
    {
        image.insert(image.end(), {1, 0, 0, 0});
    }
    image.push_back(0);
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.ParseInfoboxData(image));
    EXPECT_EQ(infobox.GetEntryCount(), kCount);
}

TEST(InfoboxFSTest, ParsingAddsToTheEntriesHeld)
{
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.ParseInfoboxData(FromHex("41494B01 01000100 61")));
    EXPECT_TRUE(infobox.ParseInfoboxData(FromHex("41494B01 02000100 62")));
    EXPECT_EQ(Describe(infobox), "1/0:61 2/0:62 ");
}

TEST(InfoboxFSTest, ClearDropsAllEntries)
{
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.ParseInfoboxData(FromHex("41494B01 01000100 61")));
    infobox.Clear();
    EXPECT_EQ(infobox.GetEntryCount(), 0U);
    EXPECT_FALSE(infobox.HasEntry(1));
}

TEST(InfoboxFSTest, DataFieldIsReadFromAnyOffset)
{
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.ReadDataField(FromHex("FFFF 03000100 63"), 2));
    EXPECT_EQ(Describe(infobox), "3/0:63 ");
}

TEST(InfoboxFSTest, DataFieldBeyondTheImageIsTheEnd)
{
    InfoboxFS infobox;
    const Norvik::ByteArray image = FromHex("0100010061");
    EXPECT_TRUE(infobox.ReadDataField(image, 5));
    EXPECT_TRUE(infobox.ReadDataField(image, ~0UL));
    EXPECT_TRUE(infobox.ReadDataField(image, ~0UL - 3));
    EXPECT_EQ(infobox.GetEntryCount(), 0U);
}

TEST(InfoboxFSTest, FirstOfTwoEntriesWithOneTagIsFound)
{
    InfoboxFS infobox;
    ASSERT_TRUE(infobox.ParseInfoboxData(FromHex("41494B01 01000100 61 02000100 62 02000100 63")));

    unsigned long index = 99;
    EXPECT_TRUE(infobox.GetEntryId(2, index));
    EXPECT_EQ(index, 1U);
    EXPECT_EQ(ToHex(infobox.GetTagList()), "010202");
    unsigned char encrypted = 0;
    Norvik::ByteArray data;
    EXPECT_TRUE(infobox.GetEntry(2, encrypted, data));
    EXPECT_EQ(ToHex(data), "62");
}

TEST(InfoboxFSTest, MissingTagGivesTheEntryCountForItsIndex)
{
    InfoboxFS infobox;
    ASSERT_TRUE(infobox.ParseInfoboxData(FromHex("41494B01 01000100 61 02000100 62")));
    unsigned long index = 99;
    EXPECT_FALSE(infobox.GetEntryId(3, index));
    EXPECT_EQ(index, 2U);
}

TEST(InfoboxFSTest, MissingEntryLeavesTheOutputs)
{
    const InfoboxFS infobox;
    unsigned char encrypted = 0xEE;
    Norvik::ByteArray data = FromHex("0102");
    EXPECT_FALSE(infobox.GetEntry(1, encrypted, data));
    EXPECT_EQ(encrypted, 0xEE);
    EXPECT_EQ(ToHex(data), "0102");
}

TEST(InfoboxFSTest, ReplacedEntryKeepsItsPlace)
{
    InfoboxFS infobox;
    ASSERT_TRUE(infobox.ParseInfoboxData(FromHex("41494B01 01000100 61 02000100 62")));
    EXPECT_TRUE(infobox.AddEntry(1, 0, FromHex("6566")));
    EXPECT_EQ(Describe(infobox), "1/0:6566 2/0:62 ");
}

TEST(InfoboxFSTest, NewEntryStandsLast)
{
    InfoboxFS infobox;
    ASSERT_TRUE(infobox.ParseInfoboxData(FromHex("41494B01 02000100 62")));
    EXPECT_TRUE(infobox.AddEntry(1, 7, FromHex("61")));
    EXPECT_EQ(Describe(infobox), "2/0:62 1/7:61 ");
}

TEST(InfoboxFSTest, ImageOfNoEntriesIsTheHeader)
{
    const InfoboxFS infobox;
    Norvik::ByteArray image;
    EXPECT_TRUE(infobox.GetCompleteFile(image));
    EXPECT_EQ(ToHex(image), "41494B01");
}

TEST(InfoboxFSTest, ImageIsAppendedWithoutAnEndMark)
{
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.AddEntry(1, 0, FromHex("616263")));
    EXPECT_TRUE(infobox.AddEntry(3, 9, Norvik::ByteArray()));
    Norvik::ByteArray image = FromHex("EE");
    EXPECT_TRUE(infobox.GetCompleteFile(image));
    EXPECT_EQ(ToHex(image), "EE41494B01010003006162630309"
                            "0000");
}

TEST(InfoboxFSTest, LengthAbove16BitsIsCutInTheImage)
{
    InfoboxFS infobox;
    Norvik::ByteArray data;
    data.assign(0x10002, 0x5A);
    EXPECT_TRUE(infobox.AddEntry(1, 0, data));
    Norvik::ByteArray image;
    EXPECT_TRUE(infobox.GetCompleteFile(image));
    ASSERT_EQ(image.size(), 8U + 0x10002U);
    EXPECT_EQ(image[6], 0x02);
    EXPECT_EQ(image[7], 0x00);
}

struct LabelCase
{
    const char* label;
    int tag;
};

TEST(InfoboxFSTest, LabelsAreKnownByTheirLength)
{
    constexpr LabelCase kCases[] = {
        {"PERSONENBINDUNG", 1},
        {"PERSONENBINDUNH", 0},
        {"RFU", 2},
        {"RFU1", 0},
        {"RFU2", 0},
        {"RFV", 0},
        {"", 0},
    };
    for (const LabelCase& row : kCases)
    {
        EXPECT_EQ(InfoboxFS::LabelToTag(row.label), row.tag) << row.label;
    }
}

TEST(InfoboxFSTest, TagsHaveLabels)
{
    EXPECT_EQ(InfoboxFS::TagToLabel(1), "PERSONENBINDUNG");
    EXPECT_EQ(InfoboxFS::TagToLabel(2), "RFU1");
    EXPECT_EQ(InfoboxFS::TagToLabel(3), "RFU2");
    EXPECT_EQ(InfoboxFS::TagToLabel(7), "RFU2");
    EXPECT_EQ(InfoboxFS::TagToLabel(0), "RFU2");
}

TEST(InfoboxFSTest, EntryIsFoundByTheShortLabelOnly)
{
    InfoboxFS infobox;
    EXPECT_TRUE(infobox.AddEntry(2, 0, FromHex("62")));
    EXPECT_FALSE(infobox.HasEntry("RFU1"));
    EXPECT_TRUE(infobox.HasEntry("RFU"));
    EXPECT_TRUE(infobox.HasEntry(2));
    EXPECT_FALSE(infobox.HasEntry("PERSONENBINDUNG"));
}

TEST(InfoboxFSTest, TagsAreThoseOfTheFile)
{
    EXPECT_EQ(LibInfobox::PERSONENBINDUNG_INDEX, 1);
    EXPECT_EQ(LibInfobox::RFU1_INDEX, 2);
    EXPECT_EQ(LibInfobox::RFU2_INDEX, 3);
}

} // namespace
