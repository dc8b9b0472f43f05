#include "tests/readers/ReaderTestSupport.h"

namespace
{
constexpr long kOk = 0;
constexpr long kInvalidHandle = 6;
constexpr long kServiceStopped = 0x8010001E;
constexpr long kRemovedCard = 0x80100069;
constexpr long kNoSmartcard = 0x8010000C;
constexpr long kSharingViolation = 0x8010000B;
constexpr long kNoContext = -1; // the round gets none

struct ConnectCase
{
    const char* name;
    std::vector<long> codes; ///< of the two connects in the old context, then of one round each
};

const ConnectCase kConnectCases[] = {
    {"FirstSucceeds", {kOk}},
    {"OtherFailureIsFinal", {kSharingViolation}},
    {"ServiceStoppedThenSuccess", {kServiceStopped, kOk}},
    {"InvalidHandleThenSuccess", {kInvalidHandle, kOk}},
    {"RemovedCardThenSuccess", {kRemovedCard, kOk}},
    {"SecondFailsOtherwise", {kServiceStopped, kNoSmartcard}},
    {"FirstRoundSucceeds", {kServiceStopped, kServiceStopped, kOk}},
    {"InvalidHandleTwiceThenSuccess", {kInvalidHandle, kInvalidHandle, kOk}},
    {"RemovedCardTwiceThenSuccess", {kRemovedCard, kRemovedCard, kOk}},
    {"SecondRoundSucceeds", {kServiceStopped, kInvalidHandle, kServiceStopped, kOk}},
    {"ThirdRoundSucceeds", {kServiceStopped, kServiceStopped, kServiceStopped, kServiceStopped, kOk}},
    {"AllRoundsFail", {kServiceStopped, kRemovedCard, kServiceStopped, kRemovedCard, kNoSmartcard}},
    {"OtherFailureDoesNotEndTheRounds",
     {kServiceStopped, kServiceStopped, kNoSmartcard, kSharingViolation, kOk}},
    {"RoundWithoutContext", {kServiceStopped, kServiceStopped, kNoContext, kOk}},
    {"NoContextInAnyRound", {kServiceStopped, kRemovedCard, kNoContext, kNoContext, kNoContext}},
    {"LastRoundWithoutContextKeepsTheCode",
     {kServiceStopped, kServiceStopped, kNoSmartcard, kNoContext, kNoContext}},
};

std::string InHex(long code)
{
    char text[64];
    const auto number = static_cast<unsigned long>(code);
    std::snprintf(text, sizeof(text), " (0x%lx, %lx)", number, number);
    return text;
}
} // namespace

/** Writes script and log of one case side by side, as the operation is told: old context twice, then the
 * rounds. */
class LocalSCardConnectTest : public PCSCReaderInContextTest, public testing::WithParamInterface<ConnectCase>
{
protected:
    void ExpectConnect(long code)
    {
        ScriptedPcsc::Step& step = m_Pcsc.Connect(m_Context, "Reader 0").Fails(code).Holding(1);
        if (code == kOk)
        {
            step.GivesHandle(kCard);
            return;
        }
        m_Expected.push_back("MESSAGE error in SCardConnect " + InHex(code));
    }

    void ExpectNewContext(bool bGranted)
    {
        m_Expected.emplace_back("MESSAGE PCSCReader::Disconnect");
        if (m_Context != 0)
        {
            m_Pcsc.ReleaseContext(m_Context).Holding(1);
        }
        m_Expected.emplace_back("MESSAGE PCSCReader::ConnectReader");
        m_Expected.emplace_back("MESSAGE PCSC ConnectReader Reader 0");
        if (bGranted)
        {
            m_Context = ++m_LastContext;
            m_Pcsc.EstablishContext(2).GivesHandle(m_Context).Holding(1);
            return;
        }
        m_Context = 0;
        m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE).Holding(1);
        m_Pcsc.EstablishContext(0).Fails(SCARD_E_NO_SERVICE).Holding(1);
        m_Expected.emplace_back(
            "MESSAGE cannot establish context -> retry in user context  (0x8010001d, 8010001d)");
        m_Expected.emplace_back("MESSAGE cannot establish context   (0x8010001d, 8010001d)");
    }

    void ExpectRound(long code)
    {
        m_Expected.emplace_back("MESSAGE LocalSCardConnect error, trying to get new hCtx and retrying");
        ExpectNewContext(code != kNoContext);
        if (code != kNoContext)
        {
            ExpectConnect(code);
        }
        if (code != kOk)
        {
            m_Pcsc.Sleep(1).Holding(1);
        }
    }

    long m_Context = kContext;
    long m_LastContext = 100;
    LogLines m_Expected{"MESSAGE PCSCReader::ConnectCard", "MESSAGE PCSCReader::LocalSCardConnect"};
};

TEST_P(LocalSCardConnectTest, FollowsTheRetries)
{
    const std::vector<long>& codes = GetParam().codes;
    long lastCode = codes[0];
    ExpectConnect(codes[0]);
    if (codes.size() > 1)
    {
        m_Pcsc.Disconnect(0, 1).Holding(1);
        ExpectConnect(codes[1]);
        lastCode = codes[1];
    }
    for (std::size_t round = 2; round < codes.size(); ++round)
    {
        ExpectRound(codes[round]);
        lastCode = codes[round] != kNoContext ? codes[round] : lastCode;
    }
    if (lastCode == kOk)
    {
        m_Pcsc.Status(kCard, 33);
    }
    else
    {
        m_Expected.emplace_back("ERROR error in connect to card");
        m_Expected.push_back("MESSAGE cannot connect card  " + InHex(lastCode));
        m_Expected.emplace_back("MESSAGE Reader DOES NOT support PIN verification");
        m_Expected.emplace_back("MESSAGE Reader DOES NOT support PIN modification");
        m_Pcsc.Control(0, 0x42000D48, "", 2048).Fails(SCARD_E_INVALID_HANDLE);
    }

    EXPECT_EQ(m_Reader.ConnectCard(), lastCode == kOk);

    EXPECT_EQ(Lines(), m_Expected);
}

INSTANTIATE_TEST_SUITE_P(All, LocalSCardConnectTest, testing::ValuesIn(kConnectCases),
                         NameOfRow<ConnectCase>);

// The handle that SCardConnect may not have replaced is given up with a reset before the second try.
TEST_F(PCSCReaderWithCardTest, StaleHandleIsResetBeforeTheSecondTry)
{
    m_Pcsc.Status(kCard, 32);
    m_Pcsc.Connect(kContext, "Reader 0").Fails(kInvalidHandle);
    m_Pcsc.Disconnect(kCard, 1);
    m_Pcsc.Connect(kContext, "Reader 0").GivesHandle(8);
    m_Pcsc.Status(8, 33);

    EXPECT_TRUE(m_Reader.ConnectCard(true));
}

// The daemon was started again between two calls of the application.
TEST_F(PCSCReaderWithCardTest, RestartedServiceIsFoundAgain)
{
    m_Pcsc.Status(kCard, 32).Fails(kServiceStopped);
    m_Pcsc.Connect(kContext, "Reader 0").Fails(kServiceStopped);
    m_Pcsc.Disconnect(kCard, 1).Fails(kServiceStopped);
    m_Pcsc.Connect(kContext, "Reader 0").Fails(kServiceStopped);
    m_Pcsc.ReleaseContext(kContext).Fails(kServiceStopped);
    m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.EstablishContext(0).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.Sleep(1);
    m_Pcsc.EstablishContext(2).GivesHandle(6);
    m_Pcsc.Connect(6, "Reader 0").GivesHandle(8);
    m_Pcsc.Status(8, 33);

    EXPECT_TRUE(m_Reader.ConnectCard(true));
    EXPECT_TRUE(m_Reader.IsOk());
}
