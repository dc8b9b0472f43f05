#include "tests/readers/ReaderTestSupport.h"

#include <cerrno>

#include <boost/thread/exceptions.hpp>

TEST_F(ReaderTest, ConnectReaderWithoutIdDoesNotTouchPcsc)
{
    PCSCReader reader;

    EXPECT_FALSE(reader.ConnectReader());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectReader", "ERROR ReaderId not set"}));
}

TEST_F(ReaderTest, NewReaderIsNotOkAndWantsEverything)
{
    PCSCReader reader;

    EXPECT_FALSE(reader.IsOk());
    EXPECT_EQ(reader.VendorID(), "");
    EXPECT_TRUE(reader.UseGui());
    EXPECT_TRUE(reader.UseBeep());
}

TEST_F(PCSCReaderTest, ConnectReaderTakesTheSystemScope)
{
    m_Pcsc.EstablishContext(2).GivesHandle(kContext).Holding(0);

    EXPECT_TRUE(m_Reader.ConnectReader());

    EXPECT_TRUE(m_Reader.IsOk());
    EXPECT_EQ(Lines(),
              (LogLines{"MESSAGE PCSCReader::ConnectReader", "MESSAGE PCSC ConnectReader Reader 0"}));
}

TEST_F(PCSCReaderTest, ConnectReaderFallsBackToTheUserScope)
{
    m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.EstablishContext(0).GivesHandle(kContext);

    EXPECT_TRUE(m_Reader.ConnectReader());

    EXPECT_TRUE(m_Reader.IsOk());
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectReader", "MESSAGE PCSC ConnectReader Reader 0",
                                 "MESSAGE cannot establish context -> retry in user context  "
                                 "(0x8010001d, 8010001d)"}));
}

TEST_F(PCSCReaderTest, ConnectReaderFailsWithoutAnyScope)
{
    m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.EstablishContext(0).Fails(SCARD_E_NO_MEMORY).GivesHandle(99);

    EXPECT_FALSE(m_Reader.ConnectReader());

    EXPECT_FALSE(m_Reader.IsOk());
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectReader", "MESSAGE PCSC ConnectReader Reader 0",
                                 "MESSAGE cannot establish context -> retry in user context  "
                                 "(0x8010001d, 8010001d)",
                                 "MESSAGE cannot establish context   (0x80100006, 80100006)"}));
}

TEST_F(PCSCReaderInContextTest, ConnectReaderDropsTheOldContext)
{
    m_Pcsc.ReleaseContext(kContext);
    m_Pcsc.EstablishContext(2).GivesHandle(6);

    EXPECT_TRUE(m_Reader.ConnectReader());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectReader", "MESSAGE disconnect old reader",
                                 "MESSAGE PCSCReader::Disconnect", "MESSAGE PCSC ConnectReader Reader 0"}));
}

TEST_F(PCSCReaderTest, DisconnectWithoutHandlesSucceeds)
{
    EXPECT_TRUE(m_Reader.Disconnect());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::Disconnect"}));
}

TEST_F(PCSCReaderWithCardTest, DisconnectUnpowersTheCardBeforeTheContextGoes)
{
    m_Pcsc.Disconnect(kCard, 2).Fails(SCARD_W_REMOVED_CARD);
    m_Pcsc.ReleaseContext(kContext).Fails(SCARD_E_INVALID_HANDLE);

    EXPECT_TRUE(m_Reader.Disconnect());
    EXPECT_TRUE(m_Reader.Disconnect()) << "nothing is left to give up";

    EXPECT_FALSE(m_Reader.IsOk());
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::Disconnect", "MESSAGE PCSCReader::Disconnect"}));
}

TEST_F(PCSCReaderWithCardTest, CanBeConnectedAgainAfterDisconnect)
{
    m_Pcsc.Disconnect(kCard, 2);
    m_Pcsc.ReleaseContext(kContext);
    m_Pcsc.EstablishContext(2).GivesHandle(8);
    m_Pcsc.Connect(8, "Reader 0").GivesHandle(9);
    m_Pcsc.Status(9, 33);
    m_Pcsc.BeginTransaction(9);
    m_Reader.Disconnect();

    EXPECT_TRUE(m_Reader.ConnectReader());
    EXPECT_TRUE(m_Reader.ConnectCard());
    EXPECT_TRUE(m_Reader.BeginTransaction());
}

TEST_F(PCSCReaderWithCardTest, GoesWithoutDisconnecting)
{
    PCSCReader reader;
    reader.SetReaderId("Reader 1");
    m_Pcsc.EstablishContext(2).GivesHandle(11);

    EXPECT_TRUE(reader.ConnectReader());
}

TEST_F(PCSCReaderTest, VendorIdIsTheReaderName)
{
    EXPECT_EQ(m_Reader.VendorID(), "Reader 0");
}

TEST_F(PCSCReaderInContextTest, OkWithoutACard)
{
    EXPECT_TRUE(m_Reader.IsOk());
}

namespace
{
struct ReconnectCase
{
    const char* name;
    bool bReset;
    bool bUnpower;
    unsigned long disposition;
};

constexpr ReconnectCase kReconnectCases[] = {
    {"Leave", false, false, 0},
    {"Reset", true, false, 1},
    {"Unpower", false, true, 2},
    {"UnpowerWinsOverReset", true, true, 2},
};
} // namespace

class PCSCReaderReconnectTest : public PCSCReaderWithCardTest,
                                public testing::WithParamInterface<ReconnectCase>
{};

TEST_P(PCSCReaderReconnectTest, ChoosesTheDisposition)
{
    m_Pcsc.Reconnect(kCard, GetParam().disposition);
    m_Pcsc.Reconnect(kCard, GetParam().disposition).Fails(SCARD_E_NO_SMARTCARD);

    EXPECT_TRUE(m_Reader.Reconnect(GetParam().bReset, GetParam().bUnpower));
    EXPECT_FALSE(m_Reader.Reconnect(GetParam().bReset, GetParam().bUnpower));

    EXPECT_TRUE(Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(All, PCSCReaderReconnectTest, testing::ValuesIn(kReconnectCases),
                         NameOfRow<ReconnectCase>);

TEST_F(PCSCReaderInContextTest, ReconnectWithoutHandleFailsSilently)
{
    EXPECT_FALSE(m_Reader.Reconnect(true, true));

    EXPECT_TRUE(Lines().empty());
}

TEST_F(PCSCReaderWithCardTest, TransactionCallsHoldTheLockOnlyWhileTheyRun)
{
    m_Pcsc.BeginTransaction(kCard).Holding(1);
    m_Pcsc.Transmit(kCard, "00").Gives("9000").Holding(0);
    m_Pcsc.EndTransaction(kCard, 0).Holding(1);
    Norvik::ByteArray response;

    EXPECT_TRUE(m_Reader.BeginTransaction());
    EXPECT_TRUE(m_Reader.SendApdu(Bytes("00"), response));
    EXPECT_TRUE(m_Reader.EndTransaction());

    EXPECT_TRUE(Lines().empty());
}

TEST_F(PCSCReaderInContextTest, TransactionCallsNeedAHandle)
{
    EXPECT_FALSE(m_Reader.BeginTransaction());
    EXPECT_FALSE(m_Reader.EndTransaction());

    EXPECT_EQ(Lines(),
              (LogLines{"ERROR BeginTransaction hCard is NULL", "ERROR EndTransaction hCard is NULL"}));
}

TEST_F(PCSCReaderWithCardTest, RefusedTransactionCallsAreReported)
{
    m_Pcsc.BeginTransaction(kCard).Fails(SCARD_W_RESET_CARD);
    m_Pcsc.EndTransaction(kCard, 0).Fails(SCARD_E_NOT_TRANSACTED);

    EXPECT_FALSE(m_Reader.BeginTransaction());
    EXPECT_FALSE(m_Reader.EndTransaction());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE Error in BeginTransaction  (0x80100068, 80100068)",
                                 "MESSAGE Error in EndTransaction  (0x80100016, 80100016)"}));
}

TEST_F(PCSCReaderWithCardTest, BrokenLockLeavesAsLockError)
{
    const auto messageOf = [](const auto& call) -> std::string {
        ScriptedPcsc::FailNextLock(EINVAL);
        try
        {
            call();
        }
        catch (const boost::lock_error& error)
        {
            return error.what();
        }
        return "nothing thrown";
    };
    const std::string expected = "boost: mutex lock failed in pthread_mutex_lock";

    EXPECT_THAT(messageOf([this] { m_Reader.BeginTransaction(); }), testing::StartsWith(expected));
    EXPECT_THAT(messageOf([this] { m_Reader.EndTransaction(); }), testing::StartsWith(expected));
    EXPECT_THAT(messageOf([this] { m_Reader.ConnectCard(); }), testing::StartsWith(expected));
    EXPECT_THAT(messageOf([this] { m_Reader.IsTokenPresent(); }), testing::StartsWith(expected));

    m_Pcsc.BeginTransaction(kCard);
    EXPECT_TRUE(m_Reader.BeginTransaction()) << "the reader goes on working";
}

TEST_F(PCSCReaderWithCardTest, InterruptedLockIsTriedAgain)
{
    m_Pcsc.BeginTransaction(kCard).Holding(1);
    ScriptedPcsc::FailNextLock(EINTR);

    EXPECT_TRUE(m_Reader.BeginTransaction());
}

TEST_F(PCSCReaderInContextTest, IsTokenPresentConnectsOnTheWay)
{
    m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(kCard).Holding(1);
    m_Pcsc.Status(kCard, 33).Holding(1);
    m_Pcsc.Status(kCard, 0).GivesState(SCARD_PRESENT).Holding(0);

    EXPECT_TRUE(m_Reader.IsTokenPresent());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectCard", "MESSAGE PCSCReader::LocalSCardConnect",
                                 "MESSAGE PCSC IsTokenPresent", "MESSAGE SCARD_PRESENT"}));
}

TEST_F(PCSCReaderWithCardTest, PollingACardAsksTwice)
{
    m_Pcsc.Status(kCard, 32);
    m_Pcsc.Status(kCard, 0).GivesState(SCARD_PRESENT);

    EXPECT_TRUE(m_Reader.IsTokenPresent());
}

TEST_F(PCSCReaderInContextTest, IsTokenPresentOnAnEmptyReaderAsksHandleZero)
{
    m_Pcsc.Connect(kContext, "Reader 0").Fails(SCARD_E_NO_SMARTCARD);
    m_Pcsc.Control(0, 0x42000D48, "", 2048).Fails(SCARD_E_INVALID_HANDLE);
    m_Pcsc.Status(0, 0).Fails(SCARD_E_INVALID_HANDLE);

    EXPECT_FALSE(m_Reader.IsTokenPresent());

    EXPECT_EQ(Lines().back(), "MESSAGE SCardStatus failed  (0x80100003, 80100003)");
}

TEST_F(PCSCReaderTest, IsTokenPresentWithoutContextIsNotOk)
{
    EXPECT_FALSE(m_Reader.IsTokenPresent());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSCReader::ConnectCard", "ERROR reader not connected",
                                 "MESSAGE PCSC IsTokenPresent", "ERROR reader not ok"}));
}
