#include "input/LibInput.h"

#include "tests/input/DialogWorld.h"

#include <cerrno>
#include <memory>
#include <string>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

/** Boxes, and what tells the user to type on the reader. */
class LibInputInfoTest : public testing::Test
{
protected:
    DialogWorld m_World;
};

TEST_F(LibInputInfoTest, InfoRequestIsCompleteWhenTheProgramStarts)
{
    std::unique_ptr<SegmentView> segment;
    m_World.OnStart = [&] {
        segment = std::make_unique<SegmentView>();
        EXPECT_EQ(segment->Word(0), 5440);
    };
    EXPECT_TRUE(LibInput::ShowInfo("Title", "a text", -1));
    ASSERT_NE(segment, nullptr);
    EXPECT_EQ(segment->Word(4), 5);
    EXPECT_EQ(segment->Word(8), 6);
    EXPECT_EQ(segment->Text(12, 11), "Titlea text");
    EXPECT_EQ(segment->Word(23), -1) << "unaligned, directly behind the text";
    EXPECT_EQ(segment->Word(0), 5440) << "the box is left alone";
    EXPECT_THAT(m_World.Sleeps, IsEmpty());
    EXPECT_TRUE(SegmentView::NameExists()) << "stays for the box";
}

struct InfoCase
{
    const char* name;
    std::int32_t answer; ///< 0 for none
    bool bShown;
    std::int32_t stateAfterwards;
    std::size_t sleeps;
};

class LibInputBox : public LibInputInfoTest, public testing::WithParamInterface<InfoCase>
{};

TEST_P(LibInputBox, WaitsForItsEnd)
{
    if (GetParam().answer != 0)
    {
        m_World.OnStart = [] { SegmentView().SetWord(0, GetParam().answer); };
    }
    EXPECT_EQ(LibInput::ShowInfo("Title", "text", 7), GetParam().bShown);
    EXPECT_EQ(SegmentView().Word(0), GetParam().stateAfterwards);
    EXPECT_EQ(SegmentView().Word(21), 7);
    EXPECT_THAT(m_World.Sleeps, SizeIs(GetParam().sleeps));
}

constexpr InfoCase kInfoCases[] = {
    {"Done", 5448, true, 5448, 0},
    {"Ended", 5447, false, 5447, 0},
    {"NoAnswer", 0, false, 5449, 7},
};

INSTANTIATE_TEST_SUITE_P(All, LibInputBox, testing::ValuesIn(kInfoCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(LibInputInfoTest, TextsThatFillTheSegmentAreShown)
{
    const std::string title(30000, 'T');
    const std::string text(65536 - 12 - 4 - 30000, 'X');
    EXPECT_TRUE(LibInput::ShowInfo(title.c_str(), text.c_str(), -1));
    const SegmentView segment;
    EXPECT_EQ(segment.Word(65532), -1);
    EXPECT_EQ(segment.Text(65531, 1), "X");
}

TEST_F(LibInputInfoTest, TextsThatDoNotFitAreRefusedAndTouchNothing)
{
    const std::string half(65536 / 2, 'T');
    const std::string tooLong(65536 - 12 - 4 + 1, 'X');
    EXPECT_FALSE(LibInput::ShowInfo(half.c_str(), half.c_str(), -1));
    EXPECT_FALSE(LibInput::ShowInfo("", tooLong.c_str(), -1));
    EXPECT_FALSE(LibInput::ShowInfo(tooLong.c_str(), "", -1));
    EXPECT_FALSE(SegmentView::NameExists());
    EXPECT_EQ(m_World.Starts, 0);
}

// KillInfo

TEST_F(LibInputInfoTest, KillIsWrittenAndAwaited)
{
    SegmentView::Create(65536, 5440);
    std::int32_t seen = 0;
    m_World.OnWait = [&] {
        SegmentView segment;
        seen = segment.Word(0);
        if (m_World.Microsleeps.size() == 3)
        {
            segment.SetWord(0, 5448);
        }
    };
    EXPECT_TRUE(LibInput::KillInfo());
    EXPECT_EQ(seen, 5449);
    EXPECT_THAT(m_World.Microsleeps, ElementsAre(1000, 1000, 1000));
    EXPECT_EQ(m_World.Starts, 0);
    EXPECT_TRUE(SegmentView::NameExists());
}

TEST_F(LibInputInfoTest, KillIsOverWhenTheDialogEnded)
{
    m_World.OnWait = [] { SegmentView().SetWord(0, 5447); };
    EXPECT_TRUE(LibInput::KillInfo());
    EXPECT_THAT(m_World.Microsleeps, SizeIs(1));
}

// A stale answer is overwritten, so it doesn't end the wait.
TEST_F(LibInputInfoTest, KillDoesNotTakeAnOldAnswerForItsOwn)
{
    SegmentView::Create(65536, 5448);
    m_World.OnWait = [] { SegmentView().SetWord(0, 5448); };
    EXPECT_TRUE(LibInput::KillInfo());
    EXPECT_THAT(m_World.Microsleeps, SizeIs(1));
}

TEST_F(LibInputInfoTest, KillCountsProcessorTimeOnly)
{
    m_World.OnWait = [&] {
        m_World.Seconds += 3600;
        if (m_World.Microsleeps.size() == 100)
        {
            m_World.Ticks += 4999999;
        }
        if (m_World.Microsleeps.size() == 150)
        {
            m_World.Ticks += 1;
        }
    };
    EXPECT_TRUE(LibInput::KillInfo());
    EXPECT_THAT(m_World.Microsleeps, SizeIs(150)) << "4999999 ticks are not enough, one more is";
    EXPECT_EQ(SegmentView().Word(0), 5449);
}

// StartExternalEntry and EndDialog

struct HintCase
{
    const char* name;
    SmartCardApplication application;
    bool bChange;
    const char* text;
};

class LibInputHint : public LibInputInfoTest, public testing::WithParamInterface<HintCase>
{};

TEST_P(LibInputHint, NamesThePinToType)
{
    EXPECT_EQ(LibInput::StartExternalEntry(GetParam().application, 4, 8, "label", "identifier",
                                           GetParam().bChange, nullptr),
              nullptr);
    const SegmentView segment;
    const std::string text = GetParam().text;
    EXPECT_EQ(segment.Word(0), 5440);
    EXPECT_EQ(segment.Word(4), 11);
    EXPECT_EQ(segment.Word(8), static_cast<std::int32_t>(text.size()));
    EXPECT_EQ(segment.Text(12, 11), "PIN-Eingabe");
    EXPECT_EQ(segment.Text(23, text.size()), text);
    EXPECT_EQ(segment.Word(23 + text.size()), -1);
    EXPECT_EQ(m_World.Starts, 1);
}

constexpr HintCase kHintCases[] = {
    {"Encryption", AppEncryption, false, "Bitte geben Sie ihren Geheimhaltungs-PIN am Kartenleser ein"},
    {"Signature", AppSignature, false, "Bitte geben Sie ihren Signatur-PIN am Kartenleser ein"},
    {"Infobox", AppInfobox, false, "Bitte geben Sie ihren Infobox-PIN am Kartenleser ein"},
    {"Invalid", AppInvalid, false, "Bitte geben Sie ihren  am Kartenleser ein"},
    {"EncryptionChange", AppEncryption, true,
     "Bitte geben Sie folgende Daten am Kartenleser ein\n1. Geheimhaltungs-PIN\n2. Die neue "
     "Geheimhaltungs-PIN\n"
     "3. Nochmals die neue Geheimhaltungs-PIN\n"},
    {"SignatureChange", AppSignature, true,
     "Bitte geben Sie folgende Daten am Kartenleser ein\n1. Signatur-PIN\n2. Die neue Signatur-PIN\n"
     "3. Nochmals die neue Signatur-PIN\n"},
    {"InfoboxChange", AppInfobox, true,
     "Bitte geben Sie folgende Daten am Kartenleser ein\n1. Infobox-PIN\n2. Die neue Infobox-PIN\n"
     "3. Nochmals die neue Infobox-PIN\n"},
};

INSTANTIATE_TEST_SUITE_P(All, LibInputHint, testing::ValuesIn(kHintCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(LibInputInfoTest, EndDialogKillsWithoutAHandle)
{
    m_World.OnWait = [] { SegmentView().SetWord(0, 5447); };
    EXPECT_TRUE(LibInput::EndDialog(nullptr));
    EXPECT_THAT(m_World.Microsleeps, SizeIs(1));
}

TEST_F(LibInputInfoTest, RefusedSegmentOfAnInfoBoxGoesToStandardOutput)
{
    m_World.ShmOpenError = EACCES;
    testing::internal::CaptureStdout();
    const bool bShown = LibInput::ShowInfo("Title", "text", -1);
    const std::string output = testing::internal::GetCapturedStdout();
    EXPECT_FALSE(bShown);
    EXPECT_EQ(output, "Permission denied\n");
    EXPECT_EQ(m_World.Starts, 0);
}

TEST_F(LibInputInfoTest, RefusedSegmentOfAKeypadHintIsIgnored)
{
    m_World.ShmOpenError = EACCES;
    testing::internal::CaptureStdout();
    EXPECT_EQ(LibInput::StartExternalEntry(AppSignature, 4, 8, "", "", false, nullptr), nullptr);
    EXPECT_EQ(testing::internal::GetCapturedStdout(), "Permission denied\n");
}

} // namespace
