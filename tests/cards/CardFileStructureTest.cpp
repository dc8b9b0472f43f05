#include "cards/CardFile.h"

#include "tests/cards/CardFileFixture.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::Contains;
using testing::IsEmpty;
using testing::Not;

TEST_F(CardFileTest, StructuredFileOfNoSizeHasNoStructure)
{
    m_File.SetFileSize(0);
    m_File.SetFileSystemStructure(1, true);
    ExpectSelection();
    EXPECT_FALSE(m_File.Read(m_Out, false));
    EXPECT_EQ(m_Log.Lines().back(), "ERROR error parsing infoboxfile");
}

TEST_F(CardFileTest, StructuredFileGivesItsEntryAndKeepsIt)
{
    m_File.SetFileSize(14);
    m_File.SetFileSystemStructure(2, true);
    ExpectSelection();
    m_Reader.Expect("00B000000E", "41494B01 01000100 61 02000100 62 9000");
    EXPECT_TRUE(m_File.Read(m_Out, true));
    EXPECT_EQ(ToHex(m_Out), "62");
    EXPECT_EQ(Cached(), "62");
}

struct StructureCase
{
    const char* name;
    const char* image;
    bool bRead;
    const char* out;
    const char* lastLine; ///< empty for none
};

class CardFileStructure : public CardFileTest, public testing::WithParamInterface<StructureCase>
{};

TEST_P(CardFileStructure, IsReducedToTheEntry)
{
    m_File.SetFileSystemStructure(1, true);
    Norvik::ByteArray data = FromHex(GetParam().image);
    EXPECT_EQ(m_File.ReadFileSystemStructure(data), GetParam().bRead);
    EXPECT_EQ(ToHex(data), GetParam().out);
    EXPECT_EQ(m_Log.Lines().empty() ? "" : m_Log.Lines().back(), GetParam().lastLine);
}

const StructureCase kStructureCases[] = {
    {"Entry", "41494B01 01000100 61", true, "61", ""},
    {"NoInfobox", "30030102", false, "30030102", "ERROR error parsing infoboxfile"},
    {"CutEntry", "41494B01 01000200 61", false, "41494B010100020061", "ERROR error parsing infoboxfile"},
    {"OtherEntry", "41494B01 02000100 61", false, "41494B010200010061",
     "MESSAGE requested data not in infoboxfile"},
    {"EncryptedEntryIsCopiedAndRefused", "41494B01 01010100 61", false, "61",
     "MESSAGE encrypted infoboxfiles currently not supported"},
};

INSTANTIATE_TEST_SUITE_P(All, CardFileStructure, testing::ValuesIn(kStructureCases),
                         [](const auto& row) { return std::string(row.param.name); });

class StructuredUpdate : public CardFileTest
{
protected:
    /** The card gives @p image and then the end of the file, as for a file of unknown size. */
    void ExpectImage(const std::string& image)
    {
        m_File.SetFileSize(kUnknownSize);
        m_File.SetFileSystemStructure(1, true);
        const auto size = static_cast<unsigned char>(FromHex(image).size());
        ExpectSelection();
        m_Reader.Expect("00B00000FF", image + "9000")
            .Expect("00B000" + ToHex(Norvik::ByteArray(&size, 1)) + "FF", "6B00");
    }
};

TEST_F(StructuredUpdate, NewImageStandsBehindTheOldBytes)
{
    ExpectImage("41494B01 01000100 61 02000100 62");
    EXPECT_TRUE(m_File.Update(FromHex("6364")));
    EXPECT_EQ(Cached(), "41494B010100010061"
                        "0200010062"
                        "41494B0101000200"
                        "6364"
                        "0200010062");
    EXPECT_THAT(m_Log.Lines(), Not(Contains("MESSAGE infobox entry does not exists -> create new ")));
}

TEST_F(StructuredUpdate, FlagOfAnExistingEntryIsKept)
{
    ExpectImage("41494B01 01070100 61");
    EXPECT_TRUE(m_File.Update(FromHex("63")));
    EXPECT_EQ(Cached(), "41494B010107010061"
                        "41494B010107010063");
}

TEST_F(StructuredUpdate, MissingEntryIsCreated)
{
    ExpectImage("41494B01 02000100 62");
    EXPECT_TRUE(m_File.Update(FromHex("63")));
    EXPECT_THAT(m_Log.Lines(), Contains("MESSAGE infobox entry does not exists -> create new "));
    EXPECT_EQ(Cached(), "41494B010200010062"
                        "41494B010200010062"
                        "0100010063");
}

TEST_F(StructuredUpdate, ValidEntriesOfABrokenStructureAreUsed)
{
    ExpectImage("41494B01 02000100 62 03000900 63");
    EXPECT_TRUE(m_File.Update(FromHex("64")));
    EXPECT_THAT(m_Log.Lines(), Contains("ERROR invalid infobox structure, use valid entries"));
    EXPECT_EQ(Cached(), "41494B010200010062"
                        "0300090063"
                        "41494B010200010062"
                        "0100010064");
}

TEST_F(StructuredUpdate, FileWithoutStructureGetsANewOne)
{
    ExpectImage("FFFFFFFF");
    EXPECT_TRUE(m_File.Update(FromHex("64")));
    EXPECT_THAT(m_Log.Lines(), Contains("ERROR invalid infobox structure, create new structure"));
    EXPECT_EQ(Cached(), "FFFFFFFF"
                        "41494B010100010064");
}

TEST_F(StructuredUpdate, FilledCacheIsNotReadAgain)
{
    FillCache("41494B01");
    m_File.SetFileSystemStructure(1, true);
    m_File.SetFileSize(13);
    m_Reader.Expect(m_SelectEf, "9000");
    EXPECT_TRUE(m_File.Update(FromHex("64")));
    EXPECT_EQ(Cached(), "41494B01"
                        "41494B010100010064");
}

TEST_F(StructuredUpdate, FileOfKnownSizeIsAlwaysTooSmall)
{
    m_File.SetFileSize(9);
    m_File.SetFileSystemStructure(1, true);
    ExpectSelection();
    m_Reader.Expect("00B0000009", "41494B01 01000100 61 9000");
    EXPECT_FALSE(m_File.Update(FromHex("62")));
    EXPECT_EQ(m_Log.Lines().back(), "ERROR error data to big for cardfile");

    // The cache is empty: a free read asks the card.
    m_File.SetFileSystemStructure(1, false);
    m_Reader.Expect(m_SelectEf, "9000").Expect("00B0000009", "41494B01 01000100 61 9000");
    EXPECT_TRUE(m_File.Read(m_Out, true));
}

TEST_F(StructuredUpdate, RefusedPinEndsTheUpdate)
{
    m_File.SetFileSystemStructure(1, true);
    m_File.SetReadAccess(eAccessPinInfobox);
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_INCORRECT;
    };
    EXPECT_FALSE(m_File.Update(FromHex("62")));
    EXPECT_THAT(m_Reader.Calls, IsEmpty());
}

TEST_F(StructuredUpdate, RefusedReadEndsTheUpdate)
{
    m_File.SetFileSystemStructure(1, true);
    ExpectSelection();
    m_Reader.Expect("00B0000004", "6982");
    EXPECT_FALSE(m_File.Update(FromHex("62")));
    EXPECT_EQ(m_Log.Lines().back(), "ERROR error reading data");
}

} // namespace
