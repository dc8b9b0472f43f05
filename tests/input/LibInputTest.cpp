#include "input/LibInput.h"

#include "tests/input/DialogWorld.h"
#include "tests/support/CapturedLog.h"

#include <array>
#include <cerrno>
#include <memory>
#include <string>

#include <sys/stat.h>

#include <boost/interprocess/exceptions.hpp>
#include <gmock/gmock.h>
#include <gtest/gtest.h>

namespace
{

using boost::interprocess::interprocess_exception;
using testing::Each;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::SizeIs;

std::string TextOf(const Norvik::ByteArray& buffer)
{
    return {buffer.begin(), buffer.end()};
}

class LibInputTest : public testing::Test
{
protected:
    /** The program answers at its start: puts @p pin behind a length field of @p length. */
    void AnswerPin(std::int32_t state, std::int32_t length, const std::string& pin)
    {
        m_World.OnStart = [=] {
            SegmentView segment;
            segment.SetWord(4, length);
            segment.SetText(8, pin);
            segment.SetWord(0, state);
        };
    }
    void AnswerChange(std::int32_t state, std::array<std::int32_t, 2> lengths, const std::string& bytesFrom12)
    {
        m_World.OnStart = [=] {
            SegmentView segment;
            segment.SetWord(4, lengths[0]);
            segment.SetWord(8, lengths[1]);
            segment.SetText(12, bytesFrom12);
            segment.SetWord(0, state);
        };
    }
    [[nodiscard]] std::string Pin() const
    {
        return {m_Pin.begin(), m_Pin.begin() + static_cast<long>(m_PinLength)};
    }

    DialogWorld m_World;
    std::array<unsigned char, 256> m_Pin{};
    unsigned long m_PinLength = 77;
    Norvik::ByteArray m_OldPin{std::string("untouched")};
    Norvik::ByteArray m_NewPin{std::string("untouched")};
};

TEST_F(LibInputTest, LogHooksGetTheirTexts)
{
    LibInput::LogError("nobody listens");
    const CapturedLog log{{&LibInput::SetErrorLoggingFunc, &LibInput::SetMessageLoggingFunc}};
    LibInput::LogError("wrong");
    LibInput::LogMessage("right");
    EXPECT_THAT(log.Lines(), ElementsAre("ERROR wrong", "MESSAGE right"));
}

TEST_F(LibInputTest, InitializeDoesNothing)
{
    LibInput::Initialize(nullptr, nullptr);
    EXPECT_FALSE(SegmentView::NameExists());
    EXPECT_EQ(m_World.Starts, 0);
}

// GetPIN

TEST_F(LibInputTest, PinRequestIsCompleteWhenTheProgramStarts)
{
    std::array<std::int32_t, 4> words{};
    m_World.OnStart = [&] {
        SegmentView segment;
        words = {segment.Word(0), segment.Word(4), segment.Word(8), segment.Word(12)};
        segment.SetWord(0, 5447);
    };
    LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength);
    EXPECT_THAT(words, ElementsAre(5435, 4, 8, 60));
    EXPECT_EQ(m_World.Starts, 1);
}

TEST_F(LibInputTest, SegmentHas64KiBForItsOwnerToWrite)
{
    std::size_t size = 0;
    unsigned int mode = 0;
    const mode_t oldMask = umask(0077);
    m_World.OnStart = [&] {
        SegmentView segment;
        size = segment.Size();
        mode = segment.Mode();
        segment.SetWord(0, 5447);
    };
    LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength);
    umask(oldMask);
    EXPECT_EQ(size, 65536U);
    EXPECT_EQ(mode, 0644U);
}

TEST_F(LibInputTest, PinIsTakenFromTheAnswer)
{
    AnswerPin(5442, 6, "123456");
    EXPECT_TRUE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength));
    EXPECT_EQ(Pin(), "123456");
    EXPECT_EQ(m_Pin[6], 0) << "no byte more";
    EXPECT_THAT(m_World.Sleeps, IsEmpty());
    EXPECT_FALSE(SegmentView::NameExists());
}

TEST_F(LibInputTest, AnswerIsAwaitedOnceASecond)
{
    m_World.OnWait = [&] {
        if (m_World.Sleeps.size() == 3)
        {
            SegmentView segment;
            segment.SetWord(4, 4);
            segment.SetText(8, "9876");
            segment.SetWord(0, 5443);
        }
    };
    EXPECT_TRUE(LibInput::GetPIN(5436, 5443, 4, 8, m_Pin.data(), &m_PinLength));
    EXPECT_EQ(Pin(), "9876");
    EXPECT_THAT(m_World.Sleeps, ElementsAre(1, 1, 1));
}

TEST_F(LibInputTest, CancelledPinLeavesTheOutputs)
{
    AnswerPin(5447, 4, "1234");
    EXPECT_FALSE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength));
    EXPECT_THAT(m_Pin, Each(0));
    EXPECT_EQ(m_PinLength, 77U);
    EXPECT_FALSE(SegmentView::NameExists());
}

TEST_F(LibInputTest, NoAnswerWithinAMinuteIsAFailureAndKillsTheDialog)
{
    std::unique_ptr<SegmentView> segment;
    m_World.OnStart = [&] { segment = std::make_unique<SegmentView>(); };
    EXPECT_FALSE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength));
    EXPECT_EQ(segment->Word(0), 5449);
    EXPECT_THAT(m_World.Sleeps, SizeIs(60));
    EXPECT_THAT(m_Pin, Each(0));
    EXPECT_EQ(m_PinLength, 77U);
    EXPECT_FALSE(SegmentView::NameExists());
}

TEST_F(LibInputTest, AnswerOfAnotherApplicationIsNone)
{
    AnswerPin(5443, 4, "1234");
    EXPECT_FALSE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength));
    EXPECT_THAT(m_World.Sleeps, SizeIs(60));
    EXPECT_THAT(m_Pin, Each(0));
}

TEST_F(LibInputTest, StaleStateWordOfAnEarlierRunIsNotSeen)
{
    SegmentView::Create(65536, 5442);
    std::int32_t atStart = 0;
    m_World.OnStart = [&] {
        SegmentView segment;
        atStart = segment.Word(0);
        segment.SetWord(0, 5447);
    };
    EXPECT_FALSE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength));
    EXPECT_EQ(atStart, 5435);
}

TEST_F(LibInputTest, SegmentOfAnotherSizeIsTruncated)
{
    for (const std::size_t size : {std::size_t{4096}, std::size_t{200000}})
    {
        SegmentView::Create(size, 5442);
        std::size_t atStart = 0;
        m_World.OnStart = [&] {
            SegmentView segment;
            atStart = segment.Size();
            segment.SetWord(0, 5447);
        };
        EXPECT_FALSE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength));
        EXPECT_EQ(atStart, 65536U);
    }
}

TEST_F(LibInputTest, SegmentWhoseNameIsGoneAlreadyIsNoFailure)
{
    m_World.OnStart = [&] {
        SegmentView segment;
        segment.SetWord(4, 4);
        segment.SetText(8, "1234");
        segment.SetWord(0, 5442);
        SegmentView::Remove();
    };
    EXPECT_TRUE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength));
    EXPECT_EQ(Pin(), "1234");
}

struct LengthCase
{
    const char* name;
    unsigned int minLength;
    unsigned int maxLength;
    std::int32_t answered;
    unsigned long taken;
};

class LibInputPinLength : public LibInputTest, public testing::WithParamInterface<LengthCase>
{};

TEST_P(LibInputPinLength, IsClampedToTheRequest)
{
    const LengthCase& row = GetParam();
    AnswerPin(5442, row.answered, "0123456789ABCDEF");
    EXPECT_TRUE(LibInput::GetPIN(5435, 5442, row.minLength, row.maxLength, m_Pin.data(), &m_PinLength));
    EXPECT_EQ(m_PinLength, row.taken);
    EXPECT_EQ(Pin(), std::string("0123456789ABCDEF").substr(0, row.taken));
    EXPECT_EQ(m_Pin[row.taken], 0) << "no byte more";
}

constexpr LengthCase kLengthCases[] = {
    {"WithinTheLimits", 4, 8, 6, 6},
    {"AtTheMinimum", 4, 8, 4, 4},
    {"AtTheMaximum", 4, 8, 8, 8},
    {"AboveTheMaximum", 4, 8, 9, 8},
    {"FarAboveTheMaximum", 4, 8, 0x7FFFFFFF, 8},
    {"NegativeIsFarAbove", 4, 8, -1, 8},
    {"ZeroTakesTheMinimumFromTheSegment", 4, 8, 0, 4},
    {"BelowTheMinimum", 4, 8, 3, 4},
    {"ZeroWithoutMinimum", 0, 8, 0, 0},
    {"MinimumAboveMaximumStaysInTheBuffer", 12, 8, 3, 8},
};

INSTANTIATE_TEST_SUITE_P(All, LibInputPinLength, testing::ValuesIn(kLengthCases),
                         [](const auto& row) { return std::string(row.param.name); });

TEST_F(LibInputTest, LengthBeyondTheSegmentEndsWithTheSegment)
{
    std::vector<unsigned char> pin(100000, 0xEE);
    AnswerPin(5442, 90000, "1234");
    EXPECT_TRUE(LibInput::GetPIN(5435, 5442, 4, 100000, pin.data(), &m_PinLength));
    EXPECT_EQ(m_PinLength, 65536U - 8U);
    EXPECT_EQ(pin[65527], 0);
    EXPECT_EQ(pin[65528], 0xEE);
}

// GetPinChange

TEST_F(LibInputTest, ChangeRequestIsCompleteWhenTheProgramStarts)
{
    std::array<std::int32_t, 4> words{};
    m_World.OnStart = [&] {
        SegmentView segment;
        words = {segment.Word(0), segment.Word(4), segment.Word(8), segment.Word(12)};
        segment.SetWord(0, 5447);
    };
    EXPECT_FALSE(LibInput::GetPinChange(5438, 5445, 6, 8, m_OldPin, m_NewPin));
    EXPECT_THAT(words, ElementsAre(5438, 6, 8, 60));
    EXPECT_EQ(TextOf(m_OldPin), "untouched");
    EXPECT_EQ(TextOf(m_NewPin), "untouched");
    EXPECT_FALSE(SegmentView::NameExists());
}

TEST_F(LibInputTest, NewPinLiesBehindTheLongestOldPin)
{
    AnswerChange(5445, {4, 6}, "1234____654321__");
    EXPECT_TRUE(LibInput::GetPinChange(5438, 5445, 4, 8, m_OldPin, m_NewPin));
    EXPECT_EQ(TextOf(m_OldPin), "1234");
    EXPECT_EQ(TextOf(m_NewPin), "654321");
    EXPECT_FALSE(SegmentView::NameExists());
}

TEST_F(LibInputTest, BothLengthsOfAChangeAreClamped)
{
    AnswerChange(5446, {0, -1}, "12345678abcdefghX");
    EXPECT_TRUE(LibInput::GetPinChange(5439, 5446, 4, 8, m_OldPin, m_NewPin));
    EXPECT_EQ(TextOf(m_OldPin), "1234");
    EXPECT_EQ(TextOf(m_NewPin), "abcdefgh");
}

TEST_F(LibInputTest, ChangeWithMinimumAboveMaximumStaysInTheSegment)
{
    AnswerChange(5445, {4, 4}, "1234");
    EXPECT_TRUE(LibInput::GetPinChange(5438, 5445, 70000, 8, m_OldPin, m_NewPin));
    EXPECT_EQ(m_OldPin.size(), 65536U - 12U);
    EXPECT_EQ(m_NewPin.size(), 65536U - 20U);
}

TEST_F(LibInputTest, NewPinBehindTheSegmentIsEmpty)
{
    AnswerChange(5445, {4, 4}, "1234");
    EXPECT_TRUE(LibInput::GetPinChange(5438, 5445, 4, 0xFFFFFFFF, m_OldPin, m_NewPin));
    EXPECT_EQ(TextOf(m_OldPin), "1234");
    EXPECT_TRUE(m_NewPin.empty());
}

TEST_F(LibInputTest, NoAnswerToAChangeLeavesTheOutputs)
{
    EXPECT_FALSE(LibInput::GetPinChange(5438, 5445, 4, 8, m_OldPin, m_NewPin));
    EXPECT_THAT(m_World.Sleeps, SizeIs(60));
    EXPECT_EQ(TextOf(m_OldPin), "untouched");
    EXPECT_EQ(TextOf(m_NewPin), "untouched");
    EXPECT_FALSE(SegmentView::NameExists());
}

// The choice of the codes

struct ApplicationCase
{
    const char* name;
    SmartCardApplication application;
    std::int32_t pinRequest; ///< 0 for none
    std::int32_t pinResponse;
    std::int32_t changeRequest;
    std::int32_t changeResponse;
};

class LibInputApplication : public LibInputTest, public testing::WithParamInterface<ApplicationCase>
{};

TEST_P(LibInputApplication, HasItsOwnPinDialog)
{
    std::int32_t request = 0;
    m_World.OnStart = [&] {
        SegmentView segment;
        request = segment.Word(0);
        segment.SetWord(4, 4);
        segment.SetText(8, "1234");
        segment.SetWord(0, GetParam().pinResponse);
    };
    EXPECT_EQ(LibInput::GetPinSoftwareEntry(GetParam().application, 4, 8, m_Pin.data(), m_PinLength, nullptr),
              GetParam().pinRequest != 0);
    EXPECT_EQ(request, GetParam().pinRequest);
    EXPECT_EQ(m_World.Starts, GetParam().pinRequest != 0 ? 1 : 0);
    EXPECT_EQ(m_PinLength, GetParam().pinRequest != 0 ? 4U : 77U);
}

TEST_P(LibInputApplication, HasItsOwnChangeDialog)
{
    std::int32_t request = 0;
    m_World.OnStart = [&] {
        SegmentView segment;
        request = segment.Word(0);
        segment.SetWord(4, 4);
        segment.SetWord(8, 5);
        segment.SetText(12, "1234____54321");
        segment.SetWord(0, GetParam().changeResponse);
    };
    EXPECT_EQ(LibInput::GetPinChangeSoftwareEntry(GetParam().application, 4, 8, m_OldPin, m_NewPin, nullptr),
              GetParam().changeRequest != 0);
    EXPECT_EQ(request, GetParam().changeRequest);
    EXPECT_EQ(m_World.Starts, GetParam().changeRequest != 0 ? 1 : 0);
    EXPECT_EQ(TextOf(m_NewPin), GetParam().changeRequest != 0 ? "54321" : "untouched");
}

constexpr ApplicationCase kApplicationCases[] = {
    {"Encryption", AppEncryption, 5435, 5442, 5438, 5445},
    {"Signature", AppSignature, 5436, 5443, 5439, 5446},
    {"InfoboxHasNone", AppInfobox, 0, 0, 0, 0},
    {"InvalidHasNone", AppInvalid, 0, 0, 0, 0},
};

INSTANTIATE_TEST_SUITE_P(All, LibInputApplication, testing::ValuesIn(kApplicationCases),
                         [](const auto& row) { return std::string(row.param.name); });

// GetResponse

struct ResponseCase
{
    const char* name;
    std::int32_t state; ///< before the call
    int timeout;
    bool bResult;
    int response;
    std::int32_t stateAfterwards;
    std::size_t sleeps;
};

class LibInputResponse : public LibInputTest, public testing::WithParamInterface<ResponseCase>
{};

TEST_P(LibInputResponse, EndsTheWait)
{
    const ResponseCase& row = GetParam();
    alignas(8) std::array<char, 0x10000> segment{};
    *reinterpret_cast<std::int32_t*>(segment.data()) = row.state;
    int response = 99;

    EXPECT_EQ(LibInput::GetResponse(5442, segment.data(), response, row.timeout), row.bResult);

    EXPECT_EQ(response, row.response);
    EXPECT_EQ(*reinterpret_cast<std::int32_t*>(segment.data()), row.stateAfterwards);
    EXPECT_THAT(m_World.Sleeps, SizeIs(row.sleeps));
    EXPECT_EQ(m_World.Starts, 1);
}

constexpr ResponseCase kResponseCases[] = {
    {"Expected", 5442, 60, true, 5442, 5442, 0},
    {"Ended", 5447, 60, true, 5447, 5447, 0},
    {"WithoutWaiting", 5435, -1, true, 5442, 5435, 0},
    {"OneLookForNoTime", 5435, 0, false, 5449, 5449, 0},
    {"OneLookThatFindsTheAnswer", 5442, 0, true, 5442, 5442, 0},
    {"OtherWordsAreNoAnswer", 5448, 2, false, 5449, 5449, 2},
    {"TimeOut", 5435, 5, false, 5449, 5449, 5},
};

INSTANTIATE_TEST_SUITE_P(All, LibInputResponse, testing::ValuesIn(kResponseCases),
                         [](const auto& row) { return std::string(row.param.name); });

// A segment that the system refuses

TEST_F(LibInputTest, RefusedSegmentLeavesThePinCallsAsAnException)
{
    m_World.ShmOpenError = EACCES;
    EXPECT_THROW(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength), interprocess_exception);
    EXPECT_THROW(LibInput::GetPinChange(5438, 5445, 4, 8, m_OldPin, m_NewPin), interprocess_exception);
    EXPECT_THROW(LibInput::KillInfo(), interprocess_exception);
    EXPECT_THROW(LibInput::EndDialog(nullptr), interprocess_exception);
    EXPECT_EQ(m_World.Starts, 0);

    m_World.ShmOpenError = 0;
    AnswerPin(5442, 4, "1234");
    EXPECT_TRUE(LibInput::GetPIN(5435, 5442, 4, 8, m_Pin.data(), &m_PinLength)) << "works again";
}

} // namespace
