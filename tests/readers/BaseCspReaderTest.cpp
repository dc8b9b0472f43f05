#include "tests/readers/ReaderTestSupport.h"

namespace
{
class OpenReader final : public BaseCspReader
{
public:
    OpenReader(long context, long card) : BaseCspReader(context, card) {}

    using BaseCspReader::GetReaderStatus;
    using BaseCspReader::MySCardGetAttrib;
};

constexpr long kCard = 7;
constexpr unsigned long kVendorName = 0x00010100;
constexpr unsigned long kIfdType = 0x00010101;
constexpr unsigned long kIfdSerial = 0x00010103;
constexpr unsigned long kDeviceUnit = 0x7FFF0001;
constexpr unsigned long kSystemName = 0x7FFF0004;
constexpr unsigned long kFriendlyName = 0x7FFF0003;
constexpr unsigned long kIccPresence = 0x00090300;
} // namespace

class BaseCspReaderTest : public ReaderTest
{
protected:
    OpenReader m_Reader{5, kCard};
    OpenReader m_NoCard{5, 0};
};

TEST_F(BaseCspReaderTest, OpeningAndClosingSucceedsWithoutPcsc)
{
    EXPECT_TRUE(m_NoCard.ConnectReader());
    EXPECT_TRUE(m_NoCard.ConnectCard(true));
    EXPECT_TRUE(m_NoCard.BeginTransaction());
    EXPECT_TRUE(m_NoCard.EndTransaction());
    EXPECT_TRUE(m_NoCard.Reconnect(true, true));
    EXPECT_TRUE(m_NoCard.Disconnect());
    EXPECT_TRUE(Lines().empty());
}

TEST_F(BaseCspReaderTest, IsOkWantsBothHandles)
{
    EXPECT_TRUE(m_Reader.IsOk());
    EXPECT_FALSE(m_NoCard.IsOk());
    EXPECT_FALSE(OpenReader(0, kCard).IsOk());
    EXPECT_FALSE(OpenReader(0, 0).IsOk());
}

TEST_F(BaseCspReaderTest, SendApduReplacesTheResponse)
{
    m_Pcsc.Transmit(kCard, "00 B0 00 00 00").Gives("01 02 90 00").Holding(0);
    Norvik::ByteArray response = Bytes("FF");

    EXPECT_TRUE(m_Reader.SendApdu(Bytes("00B0000000"), response));

    EXPECT_EQ(Hex(response), "01029000");
    EXPECT_TRUE(Lines().empty());
}

TEST_F(BaseCspReaderTest, SendApduWithoutHandleSendsNothing)
{
    Norvik::ByteArray response = Bytes("FF");

    EXPECT_FALSE(m_NoCard.SendApdu(Bytes("00B0000000"), response));

    EXPECT_EQ(Hex(response), "FF");
    EXPECT_EQ(Lines(), (LogLines{"ERROR SendApdu, error hCard is NULL"}));
}

TEST_F(BaseCspReaderTest, FailedSendWithPartialAnswerReplacesTheResponse)
{
    m_Pcsc.Transmit(kCard, "0084000008").Fails(SCARD_W_RESET_CARD).Gives("01 02 03");
    Norvik::ByteArray response = Bytes("FF");

    EXPECT_FALSE(m_Reader.SendApdu(Bytes("0084000008"), response));

    EXPECT_EQ(Hex(response), "010203");
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE error in SendApdu  (0x80100068, 80100068)"}));
}

TEST_F(BaseCspReaderTest, AnswerOfNoBytesLeavesTheResponse)
{
    m_Pcsc.Transmit(kCard, "00");
    m_Pcsc.Transmit(kCard, "00").Fails(SCARD_E_NOT_TRANSACTED);
    Norvik::ByteArray response = Bytes("FF");

    EXPECT_TRUE(m_Reader.SendApdu(Bytes("00"), response));
    EXPECT_FALSE(m_Reader.SendApdu(Bytes("00"), response));

    EXPECT_EQ(Hex(response), "FF");
}

TEST_F(BaseCspReaderTest, LengthAboveTheBufferIsCutToTheBuffer)
{
    m_Pcsc.Transmit(kCard, "00").Fails(SCARD_E_INSUFFICIENT_BUFFER).Gives("AB").Reports(0xFFFFFFFFFFFFFFFF);
    Norvik::ByteArray response;

    EXPECT_FALSE(m_Reader.SendApdu(Bytes("00"), response));

    ASSERT_EQ(response.size(), 5012U);
    EXPECT_EQ(response[0], 0xAB);
    EXPECT_EQ(response[5011], 0x00);
}

TEST_F(BaseCspReaderTest, LengthLeftByAFailedSendYieldsZeros)
{
    m_Pcsc.Transmit(kCard, "00").Fails(SCARD_E_NO_SERVICE).LeavesLength();
    Norvik::ByteArray response;

    EXPECT_FALSE(m_Reader.SendApdu(Bytes("00"), response));

    EXPECT_EQ(response, Norvik::ByteArray(std::vector<unsigned char>(5012, 0x00)));
}

TEST_F(BaseCspReaderTest, AnswerFillsTheWholeBuffer)
{
    m_Pcsc.Transmit(kCard, "00").GivesText(std::string(5012, '\x5A'));
    Norvik::ByteArray response;

    EXPECT_TRUE(m_Reader.SendApdu(Bytes("00"), response));

    EXPECT_EQ(response, Norvik::ByteArray(std::vector<unsigned char>(5012, 0x5A)));
}

TEST_F(BaseCspReaderTest, GetAtrReadsTheCardAgain)
{
    m_Pcsc.Status(kCard, 32).Gives("3B BF 11 00");
    Norvik::ByteArray atr = Bytes("FFFFFFFFFFFF");

    EXPECT_TRUE(m_Reader.GetAtr(atr));

    EXPECT_EQ(Hex(atr), "3BBF1100");
}

TEST_F(BaseCspReaderTest, FailedGetAtrLeavesTheAtr)
{
    m_Pcsc.Status(kCard, 32).Fails(SCARD_E_INVALID_HANDLE).Gives("3B");
    Norvik::ByteArray atr = Bytes("FF");

    EXPECT_FALSE(m_Reader.GetAtr(atr));

    EXPECT_EQ(Hex(atr), "FF");
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE SCardStatus failed  (0x80100003, 80100003)"}));
}

TEST_F(BaseCspReaderTest, AtrLengthIsCutToTheBuffer)
{
    m_Pcsc.Status(kCard, 32).Gives("3B").Reports(4096);
    Norvik::ByteArray atr;

    EXPECT_TRUE(m_Reader.GetAtr(atr));

    ASSERT_EQ(atr.size(), 32U);
    EXPECT_EQ(atr[0], 0x3B);
    EXPECT_EQ(atr[31], 0x00);
}

TEST_F(BaseCspReaderTest, AtrOfNoBytesIsEmpty)
{
    m_Pcsc.Status(kCard, 32);
    Norvik::ByteArray atr = Bytes("FF");

    EXPECT_TRUE(m_Reader.GetAtr(atr));

    EXPECT_TRUE(atr.empty());
}

TEST_F(BaseCspReaderTest, ReaderStatusIsThatOfTheCard)
{
    m_Pcsc.Status(kCard, 32).Fails(SCARD_W_RESET_CARD);

    EXPECT_EQ(m_Reader.GetReaderStatus(), SCARD_W_RESET_CARD);
    EXPECT_EQ(m_NoCard.GetReaderStatus(), SCARD_W_REMOVED_CARD);
    EXPECT_TRUE(Lines().empty());
}

namespace
{
struct StateCase
{
    const char* name;
    unsigned long state;
    bool bPresent;
    LogLines lines;
};

const StateCase kStateCases[] = {
    {"None", 0x00, false, {}},
    {"UnknownAlone", 0x01, false, {}},
    {"Absent", 0x02, false, {"MESSAGE SCARD_ABSENT"}},
    {"Present", 0x04, true, {"MESSAGE SCARD_PRESENT"}},
    {"Swallowed", 0x08, true, {"MESSAGE SCARD_SWALLOWED"}},
    {"Powered", 0x10, true, {"MESSAGE SCARD_POWERED"}},
    {"Negotiable", 0x20, true, {"MESSAGE SCARD_NEGOTIABLE"}},
    {"Specific", 0x40, true, {"MESSAGE SCARD_SPECIFIC"}},
    {"AbsentBehindPresentWins", 0x06, false, {"MESSAGE SCARD_PRESENT", "MESSAGE SCARD_ABSENT"}},
    {"PoweredBehindAbsentWins", 0x12, true, {"MESSAGE SCARD_ABSENT", "MESSAGE SCARD_POWERED"}},
    {"PresentPoweredNegotiable",
     0x34,
     true,
     {"MESSAGE SCARD_PRESENT", "MESSAGE SCARD_POWERED", "MESSAGE SCARD_NEGOTIABLE"}},
    {"AllInTheirOrder",
     0x7E,
     true,
     {"MESSAGE SCARD_PRESENT", "MESSAGE SCARD_ABSENT", "MESSAGE SCARD_SWALLOWED", "MESSAGE SCARD_POWERED",
      "MESSAGE SCARD_NEGOTIABLE", "MESSAGE SCARD_SPECIFIC"}},
    {"EventCounterDoesNotCount", 0xFFFF0002, false, {"MESSAGE SCARD_ABSENT"}},
};
} // namespace

class IsTokenPresentTest : public ReaderTest, public testing::WithParamInterface<StateCase>
{};

TEST_P(IsTokenPresentTest, LastBitThatAppliesDecides)
{
    m_Pcsc.Status(kCard, 0).GivesState(GetParam().state);
    OpenReader reader(5, kCard);

    EXPECT_EQ(reader.IsTokenPresent(), GetParam().bPresent);

    LogLines expected = GetParam().lines;
    expected.insert(expected.begin(), "MESSAGE PCSC IsTokenPresent");
    EXPECT_EQ(Lines(), expected);
}

INSTANTIATE_TEST_SUITE_P(All, IsTokenPresentTest, testing::ValuesIn(kStateCases), NameOfRow<StateCase>);

TEST_F(BaseCspReaderTest, IsTokenPresentWithoutHandleIsNotOk)
{
    EXPECT_FALSE(m_NoCard.IsTokenPresent());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSC IsTokenPresent", "ERROR reader not ok"}));
}

TEST_F(BaseCspReaderTest, IsTokenPresentReportsAFailedStatus)
{
    m_Pcsc.Status(kCard, 0).Fails(SCARD_W_REMOVED_CARD).GivesState(0x04);

    EXPECT_FALSE(m_Reader.IsTokenPresent());

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE PCSC IsTokenPresent",
                                 "MESSAGE SCardStatus failed  (0x80100069, 80100069)"}));
}

namespace
{
struct PresenceCase
{
    const char* name;
    long code;
    const char* value;
    int status;
    const char* line;
};

constexpr PresenceCase kPresenceCases[] = {
    {"NoCard", 0, "00", 0, "MESSAGE Status: no card present"},
    {"NothingWritten", 0, "", 0, "MESSAGE Status: no card present"},
    {"NotSwallowed", 0, "01", 1, "MESSAGE Status: card present but not swallowed"},
    {"Swallowed", 0, "02", 1, "MESSAGE Status: card present and swallowed"},
    {"SwallowedInFourBytes", 0, "02000000", 1, "MESSAGE Status: card present and swallowed"},
    {"Confiscated", 0, "04", 2, "MESSAGE Status: card confiscated"},
    {"Three", 0, "03", 3, "MESSAGE Status: unknown..."},
    {"Large", 0, "FF", 3, "MESSAGE Status: unknown..."},
    {"Removed", 0x80100069, "01", 0, "ERROR Status: SCARD_W_REMOVED_CARD"},
    {"Reset", 0x80100068, "", 0, "ERROR Status: SCARD_W_RESET_CARD"},
    {"NoSmartcard", 0x8010000C, "", 0, "ERROR Status: SCARD_E_NO_SMARTCARD"},
    {"OtherFailure", 6, "", 3, "ERROR Status: error 6"},
    {"OtherFailureAsDecimalInt", 0x80100003, "", 3, "ERROR Status: error -2146435069"},
};
} // namespace

class GetStatusTest : public ReaderTest, public testing::WithParamInterface<PresenceCase>
{};

TEST_P(GetStatusTest, TellsThePresence)
{
    m_Pcsc.GetAttrib(kCard, kIccPresence, sizeof(unsigned long))
        .Fails(GetParam().code)
        .Gives(GetParam().value);
    OpenReader reader(5, kCard);

    EXPECT_EQ(reader.GetStatus(), GetParam().status);

    EXPECT_EQ(Lines(), (LogLines{GetParam().line}));
}

INSTANTIATE_TEST_SUITE_P(All, GetStatusTest, testing::ValuesIn(kPresenceCases), NameOfRow<PresenceCase>);

TEST_F(BaseCspReaderTest, GetStatusWithoutHandleIsSilent)
{
    EXPECT_EQ(m_NoCard.GetStatus(), 0);

    EXPECT_TRUE(Lines().empty());
}

TEST_F(BaseCspReaderTest, AttributeKeepsTheNulThatTheDriverCounts)
{
    m_Pcsc.GetAttribLength(kCard, kVendorName).Reports(6);
    m_Pcsc.GetAttrib(kCard, kVendorName, 6).GivesText(std::string("Maker\0", 6));
    std::string value = "old";

    EXPECT_EQ(m_Reader.MySCardGetAttrib(kVendorName, value, false), SCARD_S_SUCCESS);

    EXPECT_EQ(value, std::string("Maker\0", 6));
}

TEST_F(BaseCspReaderTest, AttributeTakesAShorterSecondLength)
{
    m_Pcsc.GetAttribLength(kCard, kVendorName).Reports(6);
    m_Pcsc.GetAttrib(kCard, kVendorName, 6).GivesText("Mak");
    std::string value;

    m_Reader.MySCardGetAttrib(kVendorName, value, true);

    EXPECT_EQ(value, "Mak");
}

TEST_F(BaseCspReaderTest, AttributeTakesAtMostWhatWasAllocated)
{
    m_Pcsc.GetAttribLength(kCard, kVendorName).Reports(4);
    m_Pcsc.GetAttrib(kCard, kVendorName, 4).GivesText("Maker").Reports(100000);
    std::string value;

    EXPECT_EQ(m_Reader.MySCardGetAttrib(kVendorName, value, false), SCARD_S_SUCCESS);

    EXPECT_EQ(value, "Make");
}

TEST_F(BaseCspReaderTest, AttributeOfNoBytesIsEmpty)
{
    m_Pcsc.GetAttribLength(kCard, kVendorName).Reports(0);
    m_Pcsc.GetAttrib(kCard, kVendorName, 0);
    std::string value = "old";

    EXPECT_EQ(m_Reader.MySCardGetAttrib(kVendorName, value, false), SCARD_S_SUCCESS);

    EXPECT_EQ(value, "");
}

TEST_F(BaseCspReaderTest, FailedAttributeLeavesTheValue)
{
    m_Pcsc.GetAttribLength(kCard, kVendorName).Fails(SCARD_E_UNSUPPORTED_FEATURE);
    m_Pcsc.GetAttribLength(kCard, kVendorName).Reports(4);
    m_Pcsc.GetAttrib(kCard, kVendorName, 4).Fails(SCARD_E_INSUFFICIENT_BUFFER).GivesText("Make");
    std::string value = "old";

    EXPECT_EQ(m_Reader.MySCardGetAttrib(kVendorName, value, false), SCARD_E_UNSUPPORTED_FEATURE);
    EXPECT_EQ(m_Reader.MySCardGetAttrib(kVendorName, value, false), SCARD_E_INSUFFICIENT_BUFFER);

    EXPECT_EQ(value, "old");
    EXPECT_TRUE(Lines().empty());
}

TEST_F(BaseCspReaderTest, AttributeLengthThatAsksForMemoryOfTheServiceIsRefused)
{
    m_Pcsc.GetAttribLength(kCard, kVendorName).Reports(0xFFFFFFFFFFFFFFFF);
    std::string value = "old";

    EXPECT_EQ(m_Reader.MySCardGetAttrib(kVendorName, value, false), SCARD_E_NO_MEMORY);

    EXPECT_EQ(value, "old");
}

TEST_F(BaseCspReaderTest, ReaderNameAsksForSixAttributesInTheirOrder)
{
    const auto expect = [this](unsigned long attribute, const std::string& text) {
        m_Pcsc.GetAttribLength(kCard, attribute).Reports(text.size());
        m_Pcsc.GetAttrib(kCard, attribute, text.size()).GivesText(text);
    };
    expect(kVendorName, "vendor");
    expect(kIfdType, "type");
    expect(kDeviceUnit, "unit");
    expect(kIfdSerial, "serial");
    expect(kSystemName, "system");
    expect(kFriendlyName, "friendly");
    std::string a;
    std::string b;
    std::string c;
    std::string d;
    std::string e;
    std::string f;

    m_Reader.GetReaderName(a, b, c, d, e, f);

    EXPECT_EQ((LogLines{a, b, c, d, e, f}),
              (LogLines{"vendor", "type", "serial", "unit", "system", "friendly"}));
}

TEST_F(BaseCspReaderTest, UnreadableNamesTakeTheContentOfTheSixth)
{
    for (const unsigned long attribute :
         {kVendorName, kIfdType, kDeviceUnit, kIfdSerial, kSystemName, kFriendlyName})
    {
        m_Pcsc.GetAttribLength(kCard, attribute).Fails(SCARD_E_UNSUPPORTED_FEATURE);
    }
    std::string a = "a";
    std::string b = "b";
    std::string c = "c";
    std::string d = "d";
    std::string e = "e";
    std::string f = "f";

    m_Reader.GetReaderName(a, b, c, d, e, f);

    EXPECT_EQ((LogLines{a, b, c, d, e, f}), (LogLines{"f", "f", "f", "f", "f", "f"}));
    EXPECT_TRUE(Lines().empty());
}
