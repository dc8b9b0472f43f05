#include "cards/CardFile.h"

#include "readers/LibReaderAndCard.h"
#include "tests/cards/CardFileFixture.h"

#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Zeros(int bytes)
{
    return std::string(2 * static_cast<std::size_t>(bytes), '0');
}

TEST_F(CardFileTest, NewFileMayNeitherBeReadNorWritten)
{
    CardFile file(&m_Token, "SigCert");
    EXPECT_FALSE(file.Read(m_Out, true));
    EXPECT_FALSE(file.Update(FromHex("01")));
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("MESSAGE Read CardFile SigCert", "ERROR read access to cardfile not allowed",
                            "ERROR cannot write this file"));
    EXPECT_THAT(m_Reader.Calls, IsEmpty());
}

TEST_F(CardFileTest, FreeFileIsSelectedAndRead)
{
    ExpectSelection();
    m_Reader.Expect("00B0000004", "01020304 9000");
    EXPECT_TRUE(m_File.Read(m_Out, false));
    EXPECT_EQ(ToHex(m_Out), "01020304");
    EXPECT_THAT(m_Log.Lines(), ElementsAre("MESSAGE Read CardFile EncCert", "MESSAGE ReadCardFile"));
    EXPECT_THAT(m_Token.Calls, IsEmpty()) << "no PIN";
}

TEST_F(CardFileTest, FileWithoutContentHintIsAppended)
{
    m_Out = FromHex("EE");
    ExpectSelection();
    m_Reader.Expect("00B0000004", "01020304 9000");
    EXPECT_TRUE(m_File.Read(m_Out, false));
    EXPECT_EQ(ToHex(m_Out), "EE01020304");
}

TEST_F(CardFileTest, FileWithContentHintTellsItsOwnSize)
{
    m_Out = FromHex("EE");
    m_File.SetContentHint(true);
    ExpectSelection();
    m_Reader.Expect("00B00000FF", "300101 FFFF 9000");
    EXPECT_TRUE(m_File.Read(m_Out, false));
    EXPECT_EQ(ToHex(m_Out), "300101FFFF");
}

TEST_F(CardFileTest, CachedReadSendsCommandsOnce)
{
    ExpectSelection();
    m_Reader.Expect("00B0000004", "01020304 9000");
    EXPECT_TRUE(m_File.Read(m_Out, true));
    Norvik::ByteArray second = FromHex("EE");
    EXPECT_TRUE(m_File.Read(second, true));
    EXPECT_EQ(ToHex(second), "01020304");
    EXPECT_EQ(m_Log.Lines().back(), "MESSAGE use cached data");
    EXPECT_EQ(m_Reader.Commands().size(), 3U);
}

TEST_F(CardFileTest, UncachedReadAlwaysSendsAndRefreshesTheCache)
{
    ExpectSelection();
    m_Reader.Expect("00B0000004", "01020304 9000")
        .Expect(m_SelectEf, "9000")
        .Expect("00B0000004", "05060708 9000");
    EXPECT_TRUE(m_File.Read(m_Out, false));
    m_Out.clear();
    EXPECT_TRUE(m_File.Read(m_Out, false));
    EXPECT_EQ(ToHex(m_Out), "05060708");
    EXPECT_EQ(Cached(), "05060708");
}

TEST_F(CardFileTest, EmptiedCacheReadsTheCardAgain)
{
    FillCache("01020304");
    EXPECT_TRUE(m_File.EmptyCache());
    m_Reader.Expect(m_SelectEf, "9000").Expect("00B0000004", "05060708 9000");
    EXPECT_TRUE(m_File.Read(m_Out, true));
    EXPECT_EQ(ToHex(m_Out), "05060708");
}

TEST_F(CardFileTest, FailedReadLeavesTheCache)
{
    FillCache("01020304");
    m_Reader.Expect(m_SelectEf, "9000").Expect("00B0000004", "6982");
    EXPECT_FALSE(m_File.Read(m_Out, false));
    EXPECT_EQ(Cached(), "01020304");
}

TEST_F(CardFileTest, FileWithPinIsNeverReadFromTheCache)
{
    m_File.SetReadAccess(eAccessPinSignature);
    m_Reader.Expect(m_SelectEf, "9000")
        .Expect("00B0000004", "01020304 9000")
        .Expect(m_SelectEf, "9000")
        .Expect("00B0000004", "01020304 9000");
    EXPECT_TRUE(m_File.Read(m_Out, true));
    m_Out.clear();
    EXPECT_TRUE(m_File.Read(m_Out, true));
    EXPECT_THAT(m_Token.Calls, ElementsAre("AuthenticatePin 1", "AuthenticatePin 1"));
    EXPECT_EQ(Cached(), "01020304") << "but its content is kept for a write";
}

struct PinCase
{
    const char* name;
    eFileAccess access;
    const char* call;
};

class CardFileWithPin : public CardFileTest, public testing::WithParamInterface<PinCase>
{};

TEST_P(CardFileWithPin, AsksForItsPinAndSelectsTheFileOnly)
{
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray& pin,
                                   unsigned long* retries) {
        EXPECT_TRUE(pin.empty()) << "the PIN flow asks for it";
        EXPECT_NE(retries, nullptr);
        return CKR_OK;
    };
    m_Reader.Expect(m_SelectEf, "9000");
    EXPECT_TRUE(m_File.Authenticate(GetParam().access));
    EXPECT_THAT(m_Token.Calls, ElementsAre(GetParam().call));
}

TEST_P(CardFileWithPin, IsNotSelectedAfterARefusedPin)
{
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_INCORRECT;
    };
    EXPECT_FALSE(m_File.Authenticate(GetParam().access));
    EXPECT_THAT(m_Reader.Calls, IsEmpty());
}

constexpr PinCase kPinCases[] = {
    {"Signature", eAccessPinSignature, "AuthenticatePin 1"},
    {"Encryption", eAccessPinEncryption, "AuthenticatePin 0"},
    {"Infobox", eAccessPinInfobox, "AuthenticatePin 2"},
};

INSTANTIATE_TEST_SUITE_P(All, CardFileWithPin, testing::ValuesIn(kPinCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CardFileTest, UnknownAccessConditionIsRefused)
{
    EXPECT_FALSE(m_File.Authenticate(static_cast<eFileAccess>(7)));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("MESSAGE unknown access contition for reading card file"));
}

TEST_F(CardFileTest, FreeFileUnderALoginIsSelectedWithoutItsDirectory)
{
    m_Token.loggedIn = true;
    m_Reader.Expect(m_SelectEf, "9000").Expect("00B0000004", "01020304 9000");
    EXPECT_TRUE(m_File.Read(m_Out, false));
    EXPECT_EQ(m_Reader.Commands().size(), 2U);
}

TEST_F(CardFileTest, UnsetDirectoryOrFileFailsSilently)
{
    CardFile noDirectory(&m_Token, "a");
    noDirectory.SetEF(m_Ef);
    EXPECT_FALSE(noDirectory.Authenticate(eAccessAlways));

    CardFile noFile(&m_Token, "b");
    noFile.SetDF(m_Df);
    m_Reader.Expect(m_SelectDf, "9000");
    EXPECT_FALSE(noFile.Authenticate(eAccessAlways));

    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(CardFileTest, RefusedDirectoryEndsTheRead)
{
    m_Reader.Expect(m_SelectDf, "6A82");
    EXPECT_FALSE(m_File.Read(m_Out, false));
    EXPECT_TRUE(m_Out.empty());
}

TEST_F(CardFileTest, FileOfNoSizeIsSelectedAndNotRead)
{
    m_File.SetFileSize(0);
    m_Out = FromHex("EE");
    ExpectSelection();
    EXPECT_TRUE(m_File.Read(m_Out, false));
    EXPECT_EQ(ToHex(m_Out), "EE");
}

TEST_F(CardFileTest, PlainUpdateReplacesTheCacheAndSendsNothing)
{
    FillCache("01020304");
    m_Reader.Calls.clear();
    EXPECT_TRUE(m_File.Update(FromHex("0506")));
    EXPECT_EQ(Cached(), "0506");
    const Norvik::ByteArray other = FromHex("07");
    EXPECT_TRUE(m_File.Update(other.data(), other.size()));
    EXPECT_EQ(Cached(), "07");
    EXPECT_THAT(m_Reader.Calls, IsEmpty());
}

TEST_F(CardFileTest, UpdateOfAFileThatMayNotBeWrittenTouchesNothing)
{
    FillCache("01020304");
    m_Reader.Calls.clear();
    m_File.SetWriteAccess(eAccessNever);
    for (const bool bStructured : {false, true})
    {
        m_File.SetFileSystemStructure(1, bStructured);
        EXPECT_FALSE(m_File.Update(FromHex("05")));
    }
    EXPECT_THAT(m_Log.Lines(), ElementsAre("ERROR cannot write this file", "ERROR cannot write this file"));
    EXPECT_THAT(m_Reader.Calls, IsEmpty());
    EXPECT_EQ(Cached(), "01020304");
}

TEST_F(CardFileTest, WriteFillsUpToTheFileSize)
{
    m_File.SetFileSize(700);
    ASSERT_TRUE(m_File.Update(FromHex("0102030405060708090A")));
    ExpectSelection();
    m_Reader.Expect("00D60000 80 0102030405060708090A" + Zeros(118), "9000")
        .Expect("00D60080 80" + Zeros(128), "9000")
        .Expect("00D60100 80" + Zeros(128), "9000")
        .Expect("00D60180 80" + Zeros(128), "9000")
        .Expect("00D60200 80" + Zeros(128), "9000")
        .Expect("00D60280 3C" + Zeros(60), "9000");
    EXPECT_TRUE(m_File.Write());
    EXPECT_EQ(m_Log.Lines().back(), "MESSAGE Write CardFile EncCert");
    EXPECT_EQ(Cached(), "0102030405060708090A" + Zeros(690));
}

TEST_F(CardFileTest, WriteOfUnknownSizeSendsTheCacheAlone)
{
    m_File.SetFileSize(kUnknownSize);
    ASSERT_TRUE(m_File.Update(FromHex("0102")));
    ExpectSelection();
    m_Reader.Expect("00D60000 02 0102", "9000");
    EXPECT_TRUE(m_File.Write());
}

TEST_F(CardFileTest, WriteBeyondTheFileSizeSendsTheWholeCache)
{
    m_File.SetFileSize(1);
    ASSERT_TRUE(m_File.Update(FromHex("0102")));
    ExpectSelection();
    m_Reader.Expect("00D60000 02 0102", "6700");
    EXPECT_FALSE(m_File.Write());
}

TEST_F(CardFileTest, WriteOfNothingIsAnError)
{
    const CapturedLog log{{&LibReaderAndCard::SetErrorLoggingFunc, nullptr}};
    m_File.SetFileSize(kUnknownSize);
    ExpectSelection();
    EXPECT_FALSE(m_File.Write());
    EXPECT_THAT(log.Lines(), Contains("ERROR writing 0 Bytes ??"));
}

TEST_F(CardFileTest, WriteGoesOnAfterARefusedPin)
{
    m_File.SetWriteAccess(eAccessPinInfobox);
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_INCORRECT;
    };
    ASSERT_TRUE(m_File.Update(FromHex("01020304")));
    m_Reader.Expect("00D60000 04 01020304", "6982");
    EXPECT_FALSE(m_File.Write());
}

// The access line speaks of reading for a write, too.
TEST_F(CardFileTest, WriteToAForbiddenFileIsLeftToTheCard)
{
    ASSERT_TRUE(m_File.Update(FromHex("01020304")));
    m_File.SetWriteAccess(eAccessNever);
    m_Reader.Expect("00D60000 04 01020304", "9000");
    EXPECT_TRUE(m_File.Write());
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("MESSAGE Write CardFile EncCert", "ERROR read access to cardfile not allowed"));
}

TEST_F(CardFileTest, FileWithoutTokenFails)
{
    CardFile file(nullptr, "EncCert");
    file.SetDF(m_Df);
    file.SetEF(m_Ef);
    file.SetReadAccess(eAccessAlways);
    file.SetWriteAccess(eAccessPinSignature);
    EXPECT_FALSE(file.Read(m_Out, true));
    EXPECT_TRUE(file.Update(FromHex("01")));
    EXPECT_FALSE(file.Write());
}

} // namespace
