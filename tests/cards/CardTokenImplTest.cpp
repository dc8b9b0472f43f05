#include "cards/CardTokenImpl.h"

#include "crypto/LibCardImpl.h"
#include "readers/LibReaderAndCard.h"
#include "tests/doubles/ScriptedCardReader.h"
#include "tests/support/CapturedLog.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;

std::string Repeat(const std::string& hex, int count)
{
    std::string text;
    for (int i = 0; i < count; ++i)
    {
        text += hex;
    }
    return text;
}

class CardTokenImplTest : public testing::Test
{
protected:
    CardTokenImplTest() { m_Card.SetReader(&m_Reader); }

    const ChipStructureObject m_Df = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x70);
    const ChipStructureObject m_OtherDf = ChipStructureObject::CreateAcos(ChipStructureDF, 0xDF, 0x71);
    const ChipStructureObject m_Ef = ChipStructureObject::CreateAcos(ChipStructureEF, 0xC0, 0x02);
    const ChipStructureObject m_Mf = ChipStructureObject::CreateAcos(ChipStructureMF, 0x3F, 0x00);

    const std::string m_SelectDf = "00A4000C 02 DF70";
    const std::string m_SelectOtherDf = "00A4000C 02 DF71";
    const std::string m_SelectEf = "00A4000C 02 C002";
    const std::string m_SelectMf = "00A4000C 02 3F00";

    CapturedLog m_Log{{&LibCardImpl::SetErrorLoggingFunc, &LibCardImpl::SetMessageLoggingFunc,
                       &LibCardImpl::SetDebugLoggingFunc},
                      {&LibReaderAndCard::SetErrorLoggingFunc, &LibReaderAndCard::SetMessageLoggingFunc}};
    ScriptedCardReader m_Reader;
    CardTokenImpl m_Card;
    Norvik::ByteArray m_Out;
};

TEST_F(CardTokenImplTest, NoDirectoryIsKnownAtFirst)
{
    EXPECT_FALSE(m_Card.GetCurrentDF().IsOk());
}

TEST_F(CardTokenImplTest, SelectWithoutReaderFails)
{
    CardTokenImpl card;
    EXPECT_FALSE(card.SelectFile(m_Df));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("ERROR reader is NULL"));
}

TEST_F(CardTokenImplTest, SelectedDirectoryIsRemembered)
{
    m_Reader.Expect(m_SelectDf, "9000");
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_TRUE(m_Card.GetCurrentDF() == m_Df);
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(CardTokenImplTest, SameDirectoryTwiceSendsOneCommand)
{
    m_Reader.Expect(m_SelectDf, "9000");
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_TRUE(m_Reader.Done());
    EXPECT_EQ(m_Reader.Commands().size(), 1U);
    EXPECT_THAT(m_Log.Lines(), ElementsAre("DEBUG skip directory select"));
}

TEST_F(CardTokenImplTest, SameDirectoryWithOtherP1IsSent)
{
    const std::vector<unsigned char> id{0xDF, 0x70};
    m_Reader.Expect(m_SelectDf, "9000").Expect("00A4040C 02 DF70", "9000");
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_TRUE(m_Card.SelectFile(ChipStructureObject(id.data(), id.size(), ChipStructureDF, 0x04)));
}

TEST_F(CardTokenImplTest, SameElementaryFileTwiceSendsTwoCommands)
{
    m_Reader.Expect(m_SelectEf, "9000").Expect(m_SelectEf, "9000");
    EXPECT_TRUE(m_Card.SelectFile(m_Ef));
    EXPECT_TRUE(m_Card.SelectFile(m_Ef));
}

TEST_F(CardTokenImplTest, ElementaryFileLeavesTheDirectoryKnown)
{
    m_Reader.Expect(m_SelectDf, "9000").Expect(m_SelectEf, "9000").Expect(m_SelectEf, "6A82");
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_TRUE(m_Card.SelectFile(m_Ef));
    EXPECT_TRUE(m_Card.GetCurrentDF() == m_Df);
    EXPECT_FALSE(m_Card.SelectFile(m_Ef));
    EXPECT_TRUE(m_Card.GetCurrentDF() == m_Df);
}

TEST_F(CardTokenImplTest, FailedDirectorySelectLeavesNoneKnown)
{
    m_Reader.Expect(m_SelectDf, "9000").Expect(m_SelectOtherDf, "6A82").Expect(m_SelectDf, "9000");
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_FALSE(m_Card.SelectFile(m_OtherDf));
    EXPECT_FALSE(m_Card.GetCurrentDF().IsOk());
    EXPECT_TRUE(m_Card.SelectFile(m_Df)) << "is sent again";
}

TEST_F(CardTokenImplTest, MasterFileClearsTheDirectory)
{
    m_Reader.Expect(m_SelectDf, "9000").Expect(m_SelectMf, "9000").Expect(m_SelectDf, "9000");
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_TRUE(m_Card.SelectFile(m_Mf));
    EXPECT_FALSE(m_Card.GetCurrentDF().IsOk());
    EXPECT_TRUE(m_Card.SelectFile(m_Df)) << "is sent again";
}

TEST_F(CardTokenImplTest, FailedMasterFileSelectClearsTheDirectoryToo)
{
    m_Reader.Expect(m_SelectDf, "9000").ExpectFailing(m_SelectMf);
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_FALSE(m_Card.SelectFile(m_Mf));
    EXPECT_FALSE(m_Card.GetCurrentDF().IsOk());
}

TEST_F(CardTokenImplTest, DirectoryToldByTheCallerIsNotSelectedAgain)
{
    m_Card.SetCurrentDF(m_Df);
    EXPECT_TRUE(m_Card.SelectFile(m_Df));
    EXPECT_THAT(m_Reader.Calls, IsEmpty());
}

TEST_F(CardTokenImplTest, OnlyADirectoryWithIdentifierIsSkipped)
{
    const ChipStructureObject nameless(nullptr, 0, ChipStructureDF, 0x00);
    m_Reader.Expect(m_SelectMf, "9000").Expect("00A4000C 00", "9000");

    m_Card.SetCurrentDF(m_Mf);
    EXPECT_TRUE(m_Card.SelectFile(m_Mf));
    m_Card.SetCurrentDF(nameless);
    EXPECT_TRUE(m_Card.SelectFile(nameless));
}

TEST_F(CardTokenImplTest, RefusedSelectIsLoggedWithItsStatusWord)
{
    m_Reader.Expect(m_SelectDf, "6A02");
    EXPECT_FALSE(m_Card.SelectFile(m_Df));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("ERROR Apdu SW: 0x6a 0x2 - expected: 0x90 0x0",
                                           "ERROR error select file 0x6a 0x02"));
}

TEST_F(CardTokenImplTest, StatusWordOfARefusedSelectStandsAtItsEnd)
{
    m_Reader.Expect(m_SelectDf, "0102 6A82");
    EXPECT_FALSE(m_Card.SelectFile(m_Df));
    EXPECT_THAT(m_Log.Lines(), Contains("ERROR error select file 0x6a 0x82"));
}

TEST_F(CardTokenImplTest, SelectThatCannotBeSentIsLogged)
{
    m_Reader.ExpectFailing(m_SelectDf, "9000");
    EXPECT_FALSE(m_Card.SelectFile(m_Df));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("ERROR error select file"));
    EXPECT_FALSE(m_Card.GetCurrentDF().IsOk());
}

TEST_F(CardTokenImplTest, AnswerOfOneByteIsNoStatusWord)
{
    m_Reader.Expect(m_SelectDf, "90");
    EXPECT_FALSE(m_Card.SelectFile(m_Df));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("ERROR CheckApduSW, input len < 2)", "ERROR error select file"));
}

TEST_F(CardTokenImplTest, AnswerOfNothingIsNotTheOneOfTheSelectBefore)
{
    m_Reader.Expect(m_SelectEf, "9000").Expect(m_SelectEf, "");
    EXPECT_TRUE(m_Card.SelectFile(m_Ef));
    EXPECT_FALSE(m_Card.SelectFile(m_Ef));
}

TEST_F(CardTokenImplTest, DirectoryAndFileAreSelectedInThisOrder)
{
    m_Reader.Expect(m_SelectDf, "9000").Expect(m_SelectEf, "9000");
    EXPECT_TRUE(m_Card.SelectDirectoryAndFile(m_Df, m_Ef));
    EXPECT_THAT(m_Log.Lines(), IsEmpty());
}

TEST_F(CardTokenImplTest, RefusedDirectoryEndsTheSelection)
{
    m_Reader.Expect(m_SelectDf, "6A82");
    EXPECT_FALSE(m_Card.SelectDirectoryAndFile(m_Df, m_Ef));
    EXPECT_EQ(m_Log.Lines().back(), "ERROR error change to df");
}

TEST_F(CardTokenImplTest, RefusedFileIsLogged)
{
    m_Reader.Expect(m_SelectDf, "9000").Expect(m_SelectEf, "6A82");
    EXPECT_FALSE(m_Card.SelectDirectoryAndFile(m_Df, m_Ef));
    EXPECT_EQ(m_Log.Lines().back(), "ERROR error change to ef");
}

TEST_F(CardTokenImplTest, ReadOfNothingSendsNothing)
{
    EXPECT_TRUE(m_Card.ReadCardFile(0, 10, m_Out));
    EXPECT_THAT(m_Reader.Calls, IsEmpty());
    EXPECT_THAT(m_Log.Lines(), ElementsAre("MESSAGE ReadCardFile"));
}

TEST_F(CardTokenImplTest, ReadIsCutIntoBlocksOf255)
{
    m_Reader.Expect("00B00000FF", Repeat("11", 255) + "9000").Expect("00B000FF2D", Repeat("22", 45) + "9000");
    EXPECT_TRUE(m_Card.ReadCardFile(300, 0, m_Out));
    EXPECT_EQ(ToHex(m_Out), Repeat("11", 255) + Repeat("22", 45));
}

TEST_F(CardTokenImplTest, ReadOfExactlyOneBlockSendsOneCommand)
{
    m_Reader.Expect("00B00000FF", Repeat("11", 255) + "9000");
    EXPECT_TRUE(m_Card.ReadCardFile(255, m_Out));
    EXPECT_EQ(m_Out.size(), 255U);
}

TEST_F(CardTokenImplTest, ReadStartsAtTheOffsetAndAppends)
{
    m_Out = FromHex("AA");
    m_Reader.Expect("00B0123404", "01020304 9000");
    EXPECT_TRUE(m_Card.ReadCardFile(4, 0x1234, m_Out));
    EXPECT_EQ(ToHex(m_Out), "AA01020304");
}

TEST_F(CardTokenImplTest, ShortAnswersAreAskedAgain)
{
    m_Reader.Expect("00B0000004", "0102 9000").Expect("00B0000202", "9000").Expect("00B0000202", "0304 9000");
    EXPECT_TRUE(m_Card.ReadCardFile(4, m_Out));
    EXPECT_EQ(ToHex(m_Out), "01020304");
}

TEST_F(CardTokenImplTest, RefusedReadKeepsWhatCame)
{
    m_Reader.Expect("00B0000004", "0102 9000").Expect("00B0000202", "6B00");
    EXPECT_FALSE(m_Card.ReadCardFile(4, m_Out));
    EXPECT_EQ(ToHex(m_Out), "0102");
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("MESSAGE ReadCardFile", "ERROR Apdu SW: 0x6b 0x0 - expected: 0x90 0x0",
                            "ERROR error reading data"));
}

TEST_F(CardTokenImplTest, ReadThatCannotBeSentFails)
{
    m_Reader.ExpectFailing("00B0000004", "01020304 9000");
    EXPECT_FALSE(m_Card.ReadCardFile(4, m_Out));
    EXPECT_TRUE(m_Out.empty());
    EXPECT_EQ(m_Log.Lines().back(), "ERROR error reading data");
}

TEST_F(CardTokenImplTest, AnswerOfNothingIsNotTheBlockBefore)
{
    m_Reader.Expect("00B0000004", "0102 9000").Expect("00B0000202", "");
    EXPECT_FALSE(m_Card.ReadCardFile(4, m_Out));
    EXPECT_EQ(ToHex(m_Out), "0102");
}

TEST_F(CardTokenImplTest, ReadWithoutReaderFails)
{
    CardTokenImpl card;
    EXPECT_FALSE(card.ReadCardFile(4, m_Out));
    EXPECT_FALSE(card.ReadAsn1DataFromCard(m_Out));
}

TEST_F(CardTokenImplTest, UnknownLengthReadsToTheEndOfTheData)
{
    m_Reader.Expect("00B00000FF", Repeat("11", 255) + "9000")
        .Expect("00B000FFFF", Repeat("22", 255) + "9000")
        .Expect("00B001FEFF", "6B00");
    EXPECT_TRUE(m_Card.ReadCardFile(CardTokenImpl::UnknownLength, 0, m_Out));
    EXPECT_EQ(ToHex(m_Out), Repeat("11", 255) + Repeat("22", 255));
    EXPECT_THAT(m_Log.Lines(),
                ElementsAre("MESSAGE ReadCardFile", "ERROR Apdu SW: 0x6b 0x0 - expected: 0x90 0x0"));
}

// The remainder wraps: the read goes on, and the refusal decides.
TEST_F(CardTokenImplTest, MoreThanAskedForIsNoExactMatch)
{
    m_Reader.Expect("00B0000002", "010203 9000").Expect("00B00003FF", "6B00");
    EXPECT_FALSE(m_Card.ReadCardFile(2, m_Out));
    EXPECT_EQ(ToHex(m_Out), "010203");
}

TEST_F(CardTokenImplTest, Asn1HeaderTellsTheRestToRead)
{
    m_Reader.Expect("00B00000FF", "30820400" + Repeat("11", 251) + "9000")
        .Expect("00B000FFFF", Repeat("22", 255) + "9000")
        .Expect("00B001FEFF", Repeat("33", 255) + "9000")
        .Expect("00B002FDFF", Repeat("44", 255) + "9000")
        .Expect("00B003FC08", Repeat("55", 8) + "9000");
    EXPECT_TRUE(m_Card.ReadAsn1DataFromCard(m_Out));
    EXPECT_EQ(m_Out.size(), 1028U);
    EXPECT_EQ(ToHex(m_Out), "30820400" + Repeat("11", 251) + Repeat("22", 255) + Repeat("33", 255) +
                                Repeat("44", 255) + Repeat("55", 8));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("MESSAGE ReadAsn1DataFromCard", "MESSAGE ReadCardFile"));
}

TEST_F(CardTokenImplTest, Asn1ReadEndsWithTheFileWhateverTheHeaderSays)
{
    m_Out = FromHex("EE");
    m_Reader.Expect("00B00000FF", "30820400 0102 6282");
    EXPECT_TRUE(m_Card.ReadAsn1DataFromCard(m_Out));
    EXPECT_EQ(ToHex(m_Out), "308204000102");
    EXPECT_THAT(m_Log.Lines(), ElementsAre("MESSAGE ReadAsn1DataFromCard"));
}

struct Asn1Case
{
    const char* name;
    const char* firstAnswer;
    const char* secondCommand; ///< empty when none follows
    const char* secondAnswer;
    bool bResult;
    const char* out;
};

class CardTokenImplAsn1 : public CardTokenImplTest, public testing::WithParamInterface<Asn1Case>
{};

TEST_P(CardTokenImplAsn1, ReadsWhatTheFirstAnswerAsksFor)
{
    const Asn1Case& row = GetParam();
    m_Out = FromHex("EE");
    m_Reader.Expect("00B00000FF", row.firstAnswer);
    if (*row.secondCommand != '\0')
    {
        m_Reader.Expect(row.secondCommand, row.secondAnswer);
    }

    EXPECT_EQ(m_Card.ReadAsn1DataFromCard(m_Out), row.bResult);

    EXPECT_EQ(ToHex(m_Out), row.out);
}

const Asn1Case kAsn1Cases[] = {
    {"EndOfFileWithoutData", "6282", "", "", true, ""},
    {"SuccessWithoutDataAsksForTwoBytes", "9000", "00B0000002", "3000 9000", true, "3000"},
    {"TagAloneTakesTheStatusForItsLength", "30 9000", "00B0000191", "6B00", false, "30"},
    {"LongFormCutBehind81", "3081 9000", "00B0000291", "6B00", false, "3081"},
    {"LongFormCutBehind82", "3082 9000", "00B00002FF", "6B00", false, "3082"},
    {"WholeObjectInOneAnswer", "3003 010203 9000", "", "", true, "3003010203"},
    {"MoreThanTheObject", "3001 010203 9000", "", "", true, "3001010203"},
    {"LengthOf81Form", "308102 01 9000", "00B0000401", "02 9000", true, "3081020102"},
    {"LengthByte80IsANumber", "3080 9000", "00B0000280", "6B00", false, "3080"},
    {"AnyOtherStatusFails", "3003 010203 6982", "", "", false, ""},
    {"NoStatusFails", "62", "", "", false, ""},
};

INSTANTIATE_TEST_SUITE_P(All, CardTokenImplAsn1, testing::ValuesIn(kAsn1Cases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(CardTokenImplTest, Asn1ReadThatCannotBeSentFailsAndEmptiesTheOutput)
{
    m_Out = FromHex("EE");
    m_Reader.ExpectFailing("00B00000FF", "3000 9000");
    EXPECT_FALSE(m_Card.ReadAsn1DataFromCard(m_Out));
    EXPECT_TRUE(m_Out.empty());
}

TEST_F(CardTokenImplTest, CompleteAsn1AnswerNeedsNoFurtherRead)
{
    m_Reader.Expect("00B00000FF", "3001 01 9000");
    EXPECT_TRUE(m_Card.ReadAsn1DataFromCard(m_Out));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("MESSAGE ReadAsn1DataFromCard"));
}

TEST_F(CardTokenImplTest, FileThatEndedIsNoError)
{
    m_Reader.Expect("00B00000FF", "3000 6282");
    EXPECT_TRUE(m_Card.ReadAsn1DataFromCard(m_Out));
    EXPECT_THAT(m_Log.Lines(), ElementsAre("MESSAGE ReadAsn1DataFromCard"));
}

TEST_F(CardTokenImplTest, ReadsLeaveTheDirectoryKnown)
{
    m_Card.SetCurrentDF(m_Df);
    m_Reader.Expect("00B0000001", "6B00");
    EXPECT_FALSE(m_Card.ReadCardFile(1, m_Out));
    EXPECT_TRUE(m_Card.GetCurrentDF() == m_Df);
}

} // namespace
