#include "tests/readers/ReaderTestSupport.h"

#include <new>
#include <thread>

namespace
{
constexpr unsigned long kFeatureRequest = 0x42000D48;

const LogLines kNoPinSupport = {"MESSAGE Reader DOES NOT support PIN verification",
                                "MESSAGE Reader DOES NOT support PIN modification"};

LogLines operator+(LogLines first, const LogLines& second)
{
    first.insert(first.end(), second.begin(), second.end());
    return first;
}
} // namespace

TEST_F(PCSCReaderTest, ConnectCardNeedsAContext)
{
    EXPECT_FALSE(m_Reader.ConnectCard());
    EXPECT_FALSE(m_Reader.ConnectCard(true));

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectCard", "ERROR reader not connected",
                                 "MESSAGE PCSCReader::ConnectCard", "ERROR reader not connected"}));
}

TEST_F(PCSCReaderInContextTest, ConnectCardOpensTheCardUnderTheLock)
{
    m_Pcsc.Connect(kContext, "Reader 0", 2, 3).GivesHandle(kCard).Holding(1);
    m_Pcsc.Status(kCard, 33).Gives("3B00").Holding(1);

    EXPECT_TRUE(m_Reader.ConnectCard());

    EXPECT_EQ(Lines(),
              (LogLines{"MESSAGE PCSCReader::ConnectCard", "MESSAGE PCSCReader::LocalSCardConnect"}));
}

TEST_F(PCSCReaderInContextTest, AtrLengthAboveTheBufferIsHarmless)
{
    m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(kCard);
    m_Pcsc.Status(kCard, 33).Gives("3B00").Reports(100000);

    EXPECT_TRUE(m_Reader.ConnectCard());
}

TEST_F(PCSCReaderWithCardTest, SecondConnectFindsTheCardConnected)
{
    m_Pcsc.Status(kCard, 32).Holding(1);

    EXPECT_TRUE(m_Reader.ConnectCard(false));

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectCard", "MESSAGE card already connected"}));
}

TEST_F(PCSCReaderWithCardTest, OnlyARemovedCardMakesAHandleUseless)
{
    m_Pcsc.Status(kCard, 32).Fails(SCARD_W_RESET_CARD);

    EXPECT_TRUE(m_Reader.ConnectCard(false));

    EXPECT_EQ(Lines().back(), "MESSAGE card already connected");
}

TEST_F(PCSCReaderWithCardTest, ForceOverwritesALiveHandle)
{
    m_Pcsc.Status(kCard, 32);
    m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(8);
    m_Pcsc.Status(8, 33);
    m_Pcsc.BeginTransaction(8);

    EXPECT_TRUE(m_Reader.ConnectCard(true));
    EXPECT_TRUE(m_Reader.BeginTransaction());

    EXPECT_EQ(Lines(),
              (LogLines{"MESSAGE PCSCReader::ConnectCard", "MESSAGE PCSCReader::LocalSCardConnect"}));
}

TEST_F(PCSCReaderWithCardTest, RemovedCardIsConnectedAgainInANewContext)
{
    m_Pcsc.Status(kCard, 32).Fails(SCARD_W_REMOVED_CARD).Holding(1);
    m_Pcsc.Disconnect(kCard, 2).Holding(1);
    m_Pcsc.ReleaseContext(kContext).Holding(1);
    m_Pcsc.EstablishContext(2).GivesHandle(6).Holding(1);
    m_Pcsc.Connect(6, "Reader 0").GivesHandle(8).Holding(1);
    m_Pcsc.Status(8, 33).Holding(1);

    EXPECT_TRUE(m_Reader.ConnectCard(false));

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectCard", "MESSAGE PCSCReader::Disconnect",
                                 "MESSAGE PCSCReader::ConnectReader", "MESSAGE PCSC ConnectReader Reader 0",
                                 "MESSAGE PCSCReader::LocalSCardConnect"}));
}

TEST_F(PCSCReaderWithCardTest, RemovedCardWithoutANewContextIsTriedAllTheSame)
{
    m_Pcsc.Status(kCard, 32).Fails(SCARD_W_REMOVED_CARD);
    m_Pcsc.Disconnect(kCard, 2);
    m_Pcsc.ReleaseContext(kContext);
    m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.EstablishContext(0).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.Connect(0, "Reader 0").Fails(SCARD_E_INVALID_HANDLE);
    m_Pcsc.Control(0, kFeatureRequest, "", 2048).Fails(SCARD_E_INVALID_HANDLE);

    EXPECT_FALSE(m_Reader.ConnectCard(false));
    EXPECT_FALSE(m_Reader.IsOk());
}

TEST_F(PCSCReaderInContextTest, EmptyReaderTakesNoRetry)
{
    m_Pcsc.Connect(kContext, "Reader 0").Fails(SCARD_E_NO_SMARTCARD).Holding(1);
    m_Pcsc.Control(0, kFeatureRequest, "", 2048).Fails(SCARD_E_INVALID_HANDLE).Holding(1);

    EXPECT_FALSE(m_Reader.ConnectCard());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectCard", "MESSAGE PCSCReader::LocalSCardConnect",
                                 "MESSAGE error in SCardConnect  (0x8010000c, 8010000c)",
                                 "ERROR error in connect to card",
                                 "MESSAGE cannot connect card   (0x8010000c, 8010000c)"} +
                        kNoPinSupport));
}

TEST_F(PCSCReaderInContextTest, UnreadableStatusFailsTheConnect)
{
    m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(kCard);
    m_Pcsc.Status(kCard, 33).Fails(SCARD_W_UNPOWERED_CARD);
    m_Pcsc.Control(kCard, kFeatureRequest, "", 2048);

    EXPECT_FALSE(m_Reader.ConnectCard());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectCard", "MESSAGE PCSCReader::LocalSCardConnect",
                                 "MESSAGE cannot read card status   (0x80100067, 80100067)"} +
                        kNoPinSupport));
}

namespace
{
struct ProbeCase
{
    const char* name;
    long code;
    const char* features;
    long length; ///< -1 for the number of bytes, -2 to leave it in place
    const char* verification;
    const char* modification;
};

constexpr const char* kVerifies = "MESSAGE Reader DOES support PIN verification";
constexpr const char* kVerifiesNot = "MESSAGE Reader DOES NOT support PIN verification";
constexpr const char* kModifies = "MESSAGE Reader DOES support PIN modification";
constexpr const char* kModifiesNot = "MESSAGE Reader DOES NOT support PIN modification";

constexpr ProbeCase kProbeCases[] = {
    {"Both", 0, "0604 42330006 0704 42330007", -1, kVerifies, kModifies},
    {"VerifyAlone", 0, "0604 42330006", -1, kVerifies, kModifiesNot},
    {"ModifyAlone", 0, "0704 42330007", -1, kVerifiesNot, kModifies},
    {"StartDoesNotCount", 0, "0104 42330001 0304 42330003", -1, kVerifiesNot, kModifiesNot},
    {"TailIsIgnored", 0, "0604 42330006 0704 423300", -1, kVerifies, kModifiesNot},
    {"ResultIsIgnored", SCARD_E_NO_SERVICE, "0604 42330006", -1, kVerifies, kModifiesNot},
    {"LengthAboveTheBuffer", 0, "0704 42330007", 1000000, kVerifiesNot, kModifies},
    {"LengthLeftInPlace", SCARD_E_NO_SERVICE, "", -2, kVerifiesNot, kModifiesNot},
    {"NoLength", 0, "0604 42330006", 0, kVerifiesNot, kModifiesNot},
};
} // namespace

class PCSCReaderProbeTest : public PCSCReaderInContextTest, public testing::WithParamInterface<ProbeCase>
{};

TEST_P(PCSCReaderProbeTest, TellsWhatTheReaderOffers)
{
    const ProbeCase& row = GetParam();
    m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(kCard);
    m_Pcsc.Status(kCard, 33).Fails(SCARD_W_UNPOWERED_CARD);
    ScriptedPcsc::Step& probe = m_Pcsc.Control(kCard, kFeatureRequest, "", 2048);
    probe.Fails(row.code).Gives(row.features);
    if (row.length == -2)
    {
        probe.LeavesLength();
    }
    else if (row.length >= 0)
    {
        probe.Reports(static_cast<unsigned long>(row.length));
    }

    EXPECT_FALSE(m_Reader.ConnectCard());

    ASSERT_GE(Lines().size(), 2U);
    EXPECT_EQ(Lines()[Lines().size() - 2], row.verification);
    EXPECT_EQ(Lines().back(), row.modification);
}

INSTANTIATE_TEST_SUITE_P(All, PCSCReaderProbeTest, testing::ValuesIn(kProbeCases), NameOfRow<ProbeCase>);

TEST_F(PCSCReaderInContextTest, OtherReadersWaitWhileACardIsOpened)
{
    PCSCReader other;
    other.SetReaderId("Reader 1");
    m_Pcsc.EstablishContext(2).GivesHandle(15);
    m_Pcsc.Connect(15, "Reader 1").GivesHandle(17);
    m_Pcsc.Status(17, 33);
    ASSERT_TRUE(other.ConnectReader());
    ASSERT_TRUE(other.ConnectCard());
    std::thread otherThread;
    m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(kCard).Meanwhile([&] {
        otherThread = std::thread([&] { EXPECT_TRUE(other.BeginTransaction()); });
        EXPECT_TRUE(ScriptedPcsc::WaitForContention());
    });
    m_Pcsc.Status(kCard, 33);
    m_Pcsc.BeginTransaction(17).Holding(1);

    EXPECT_TRUE(m_Reader.ConnectCard());

    otherThread.join();
    EXPECT_TRUE(m_Pcsc.Done());
}

TEST_F(PCSCReaderInContextTest, ExceptionOfTheLogReleasesTheLock)
{
    LibReaderImpl::SetMessageLoggingFunc([](const char*) { throw std::bad_alloc(); });

    EXPECT_THROW(m_Reader.ConnectCard(), std::bad_alloc);

    EXPECT_EQ(ScriptedPcsc::HeldMutexes(), 0);
}
