#include "simulator/world/World.h"

#include "simulator/cards/Acos03.h"
#include "simulator/cards/CardCatalogue.h"

#include <atomic>
#include <chrono>
#include <stdexcept>
#include <thread>

#include <gtest/gtest.h>

namespace
{

using Simulator::Bytes;
using Simulator::ByteView;
using Simulator::FromHex;
using Simulator::MakeAcos03;
using Simulator::TraceEntry;
using Simulator::TraceKind;
using std::chrono::milliseconds;

const Bytes kSelectDec = FromHex("00 A4 00 0C 02 DF 71");
const Bytes kOk = FromHex("90 00");

class WorldTest : public testing::Test
{
protected:
    WorldTest()
    {
        m_World.AddReader("first");
        m_World.AddReader("second");
        m_World.Insert(0, m_Card);
    }
    Simulator::World m_World;
    std::shared_ptr<Simulator::Card> m_Card = MakeAcos03();
};

TEST_F(WorldTest, CardAnswersAfterPowerOnOnly)
{
    EXPECT_EQ(m_World.Transmit(0, kSelectDec), std::nullopt);
    EXPECT_EQ(m_World.PowerOn(0), m_Card->Atr());
    EXPECT_EQ(m_World.Transmit(0, kSelectDec), kOk);
    m_World.PowerOff(0);
    EXPECT_EQ(m_World.Transmit(0, kSelectDec), std::nullopt);
}

TEST_F(WorldTest, ResetAndPowerOffDropTheSelection)
{
    m_World.PowerOn(0);
    m_World.Transmit(0, kSelectDec);
    m_World.Reset(0);
    EXPECT_EQ(m_Card->CurrentPath(), "MF");
    m_World.Transmit(0, kSelectDec);
    m_World.PowerOff(0);
    EXPECT_EQ(m_Card->CurrentPath(), "MF");
}

TEST_F(WorldTest, EmptyReaderGivesNothing)
{
    EXPECT_FALSE(m_World.IsPresent(1));
    EXPECT_EQ(m_World.PowerOn(1), std::nullopt);
    EXPECT_EQ(m_World.Reset(1), std::nullopt);
    EXPECT_EQ(m_World.Transmit(1, kSelectDec), std::nullopt);
    EXPECT_NO_THROW(m_World.PowerOff(1));
}

TEST_F(WorldTest, CardsMoveBetweenReaders)
{
    EXPECT_THROW(m_World.Insert(0, MakeAcos03()), std::logic_error);
    EXPECT_THROW(m_World.Insert(1, m_Card), std::logic_error);
    EXPECT_THROW(m_World.Remove(1), std::logic_error);
    EXPECT_THROW(m_World.Remove(2), std::out_of_range);
    EXPECT_EQ(m_World.Remove(0), m_Card);
    m_World.Insert(1, m_Card);
    EXPECT_EQ(m_World.CardIn(1), m_Card);
    EXPECT_EQ(m_World.Swap(1, MakeAcos03()), m_Card);
    EXPECT_EQ(m_World.Swap(0, m_Card), nullptr);
}

TEST_F(WorldTest, InsertedCardHasNoPower)
{
    m_World.PowerOn(0);
    m_World.Insert(1, m_World.Remove(0));
    EXPECT_EQ(m_World.Transmit(1, kSelectDec), std::nullopt);
}

TEST_F(WorldTest, CardPulledDuringACommandGivesNoAnswer)
{
    m_World.PowerOn(0);
    m_Card->SetHook([this](ByteView, const auto& answer) {
        m_World.Remove(0);
        return answer();
    });
    EXPECT_EQ(m_World.Transmit(0, kSelectDec), std::nullopt);
}

TEST_F(WorldTest, SilentCardGivesNoAnswer)
{
    m_World.PowerOn(0);
    m_Card->SetHook([](ByteView, const auto&) { return Bytes(); });
    EXPECT_EQ(m_World.Transmit(0, kSelectDec), std::nullopt);
}

TEST_F(WorldTest, TraceHoldsWhatHappenedInOrder)
{
    m_World.PowerOn(0);
    m_World.Transmit(0, kSelectDec);
    m_World.PowerOff(0);
    m_World.Remove(0);
    const std::vector<TraceEntry> trace = m_World.Trace();
    ASSERT_EQ(trace.size(), 5U);
    EXPECT_EQ(trace[0].kind, TraceKind::Insert);
    EXPECT_EQ(trace[0].note, "acos03");
    EXPECT_EQ(trace[1].kind, TraceKind::PowerOn);
    EXPECT_EQ(trace[2].kind, TraceKind::Command);
    EXPECT_EQ(trace[2].command, kSelectDec);
    EXPECT_EQ(trace[2].answer, kOk);
    EXPECT_EQ(trace[2].note, "DF_DEC");
    EXPECT_EQ(trace[3].kind, TraceKind::PowerOff);
    EXPECT_EQ(trace[4].kind, TraceKind::Remove);
    EXPECT_LE(trace[0].time, trace[4].time);
    EXPECT_EQ(m_World.Commands(), std::vector<Bytes>{kSelectDec});
    m_World.ClearTrace();
    EXPECT_TRUE(m_World.Trace().empty());
}

TEST_F(WorldTest, LatencyIsTheWholeTimeOfACommand)
{
    m_World.PowerOn(0);
    m_Card->SetLatency(milliseconds(20));
    const auto begin = std::chrono::steady_clock::now();
    m_World.Transmit(0, kSelectDec);
    EXPECT_GE(std::chrono::steady_clock::now() - begin, milliseconds(20));
}

TEST_F(WorldTest, ReadersDoNotWaitForEachOther)
{
    const auto other = MakeAcos03();
    m_World.Insert(1, other);
    m_World.PowerOn(0);
    m_World.PowerOn(1);
    std::atomic<bool> bWorking = false;
    std::atomic<bool> bGoOn = false;
    m_Card->SetHook([&](ByteView, const auto& answer) {
        bWorking = true;
        while (!bGoOn)
        {
            std::this_thread::yield();
        }
        return answer();
    });
    std::thread slow([&] { EXPECT_EQ(m_World.Transmit(0, kSelectDec), kOk); });
    while (!bWorking)
    {
        std::this_thread::yield();
    }
    EXPECT_EQ(m_World.Transmit(1, kSelectDec), kOk);
    bGoOn = true;
    slow.join();
}

/** Sends the command that it finds in the input to the card. */
class PassingExtension final : public Simulator::ReaderExtension
{
public:
    std::optional<Bytes> Control(std::uint32_t code, ByteView input, const TransmitToCard& transmit) override
    {
        return code == 0x42000001 ? transmit(input) : std::nullopt;
    }
};

TEST(WorldControl, ExtensionWorksOnTheCardOfItsReader)
{
    Simulator::World world;
    world.AddReader("plain");
    world.AddReader("with extension", std::make_shared<PassingExtension>());
    world.Insert(1, MakeAcos03());
    world.PowerOn(1);
    world.ClearTrace();
    EXPECT_EQ(world.Control(0, 0x42000001, kSelectDec), std::nullopt);
    EXPECT_EQ(world.Control(1, 0x42000002, kSelectDec), std::nullopt);
    EXPECT_EQ(world.Control(1, 0x42000001, kSelectDec), kOk);
    EXPECT_EQ(world.Commands(), std::vector<Bytes>{kSelectDec});
    const TraceEntry last = world.Trace().back();
    EXPECT_EQ(last.kind, TraceKind::Control);
    EXPECT_EQ(Simulator::ToHex(last.command), "4200000100A4000C02DF71");
}

TEST(CardCatalogue, EveryCardCanBeMade)
{
    for (const Simulator::CardKind& kind : Simulator::CardCatalogue())
    {
        EXPECT_EQ(Simulator::MakeCard(kind.name)->Kind(), kind.name);
        EXPECT_FALSE(kind.description.empty());
    }
    EXPECT_THROW(Simulator::MakeCard("nobody"), std::invalid_argument);
}

} // namespace
