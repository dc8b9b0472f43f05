#include "tests/readers/ReaderTestSupport.h"

namespace
{
/** A reader whose answers a test sets. */
class AskedReader final : public BaseCspReader
{
public:
    AskedReader() : BaseCspReader(0, 0) {}

    using BaseCspReader::ConnectCard;
    using BaseCspReader::SendApdu;

    bool ConnectCard(bool force) override
    {
        m_Forces.push_back(force);
        return m_bConnectCard;
    }
    void CheckReaderCapabilities(bool& bVerify, bool& bModify) override
    {
        ++m_Questions;
        bVerify = m_bVerify;
        bModify = m_bModify;
    }
    bool SendApdu(const unsigned char* data, unsigned long length, Norvik::ByteArray& response) override
    {
        m_Sent = Norvik::ByteArray(data, length);
        response = Bytes("9000");
        return true;
    }
    void GetReaderName(std::string& vendorName, std::string& ifdType, std::string& ifdSerial,
                       std::string& deviceUnit, std::string& systemName, std::string& friendlyName) override
    {
        if (m_bHasNames)
        {
            vendorName = "Maker";
            ifdType = "Model";
            ifdSerial = "12";
            deviceUnit = "0";
            systemName = "System";
            friendlyName = "Friend";
        }
    }

    bool m_bConnectCard = true;
    bool m_bVerify = true;
    bool m_bModify = true;
    bool m_bHasNames = true;
    int m_Questions = 0;
    std::vector<bool> m_Forces;
    Norvik::ByteArray m_Sent;
};
} // namespace

class iCardReaderTest : public ReaderTest
{
protected:
    AskedReader m_Reader;
};

TEST_F(iCardReaderTest, NewReaderWantsGuiAndBeepAndIsSecure)
{
    EXPECT_TRUE(m_Reader.UseGui());
    EXPECT_TRUE(m_Reader.UseBeep());
    EXPECT_TRUE(m_Reader.IsSecure());
}

TEST_F(iCardReaderTest, SetConfigSetsTheFlagsInTheirOrder)
{
    m_Reader.SetConfig(false, true, false);
    EXPECT_FALSE(m_Reader.IsSecure());
    EXPECT_TRUE(m_Reader.UseGui());
    EXPECT_FALSE(m_Reader.UseBeep());

    m_Reader.SetConfig(true, false, true);
    EXPECT_TRUE(m_Reader.IsSecure());
    EXPECT_FALSE(m_Reader.UseGui());
    EXPECT_TRUE(m_Reader.UseBeep());
}

TEST_F(iCardReaderTest, InsecureReaderIsNotAsked)
{
    m_Reader.SetSecure(false);

    EXPECT_FALSE(m_Reader.IsSecure());
    EXPECT_EQ(m_Reader.m_Questions, 0);
}

TEST_F(iCardReaderTest, SetSecureLeavesTheOtherFlags)
{
    m_Reader.SetSecure(false);

    EXPECT_TRUE(m_Reader.UseGui());
    EXPECT_TRUE(m_Reader.UseBeep());
}

TEST_F(iCardReaderTest, SecureNeedsVerifyAndModify)
{
    m_Reader.m_bModify = false;
    EXPECT_FALSE(m_Reader.IsSecure());
    m_Reader.m_bModify = true;
    m_Reader.m_bVerify = false;
    EXPECT_FALSE(m_Reader.IsSecure());
    m_Reader.m_bVerify = true;
    EXPECT_TRUE(m_Reader.IsSecure());
    EXPECT_EQ(m_Reader.m_Questions, 3);
}

TEST_F(iCardReaderTest, ConnectCardWithoutArgumentDoesNotForce)
{
    EXPECT_TRUE(m_Reader.ConnectCard());

    EXPECT_EQ(m_Reader.m_Forces, (std::vector<bool>{false}));
}

TEST_F(iCardReaderTest, SendApduPassesTheBytes)
{
    Norvik::ByteArray response;

    EXPECT_TRUE(m_Reader.SendApdu(Bytes("00A4000C"), response));

    EXPECT_EQ(Hex(m_Reader.m_Sent), "00A4000C");
    EXPECT_EQ(Hex(response), "9000");
}

TEST_F(iCardReaderTest, VendorIsMakerAndModel)
{
    EXPECT_EQ(m_Reader.VendorModelName(), "Maker Model");
    EXPECT_EQ(m_Reader.VendorID(), "Maker Model");
}

TEST_F(iCardReaderTest, VendorOfAReaderWithoutNamesIsOneBlank)
{
    m_Reader.m_bHasNames = false;

    EXPECT_EQ(m_Reader.VendorModelName(), " ");
}

TEST_F(iCardReaderTest, LogReaderNameWritesSixLines)
{
    m_Reader.LogReaderName();

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE Vendor Name: Maker", "MESSAGE Vendor IFD Version: Model",
                                 "MESSAGE Vendor IFD Serial No.: 12", "MESSAGE Device Unit: 0",
                                 "MESSAGE System Name: System", "MESSAGE Friendly Name: Friend"}));
}

TEST_F(iCardReaderTest, LogReaderNameWritesEmptyValuesToo)
{
    m_Reader.m_bHasNames = false;

    m_Reader.LogReaderName();

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE Vendor Name: ", "MESSAGE Vendor IFD Version: ",
                                 "MESSAGE Vendor IFD Serial No.: ", "MESSAGE Device Unit: ",
                                 "MESSAGE System Name: ", "MESSAGE Friendly Name: "}));
}

namespace
{
struct StatusWordCase
{
    const char* name;
    const char* response;
    unsigned char sw1;
    unsigned char sw2;
    bool bMatches;
    const char* line; ///< null for none
};

constexpr StatusWordCase kStatusWordCases[] = {
    {"Empty", "", 0x90, 0x00, false, "ERROR CheckApduSW, input len < 2)"},
    {"OneByte", "90", 0x90, 0x00, false, "ERROR CheckApduSW, input len < 2)"},
    {"ExactlyTheStatusWord", "9000", 0x90, 0x00, true, nullptr},
    {"StatusWordBehindData", "01029000", 0x90, 0x00, true, nullptr},
    {"AnotherStatusWord", "6A82", 0x90, 0x00, false, "ERROR Apdu SW: 0x6a 0x82 - expected: 0x90 0x0"},
    {"Sw1AloneIsNotEnough", "9001", 0x90, 0x00, false, "ERROR Apdu SW: 0x90 0x1 - expected: 0x90 0x0"},
    {"Sw2AloneIsNotEnough", "6300", 0x90, 0x00, false, "ERROR Apdu SW: 0x63 0x0 - expected: 0x90 0x0"},
    {"DataInFrontDoesNotCount", "90006CFE", 0x90, 0x00, false,
     "ERROR Apdu SW: 0x6c 0xfe - expected: 0x90 0x0"},
};
} // namespace

class CheckApduSWTest : public ReaderTest, public testing::WithParamInterface<StatusWordCase>
{};

TEST_P(CheckApduSWTest, ComparesTheLastTwoBytes)
{
    const StatusWordCase& row = GetParam();

    EXPECT_EQ(iCardReader::CheckApduSW(Bytes(row.response), row.sw1, row.sw2), row.bMatches);

    EXPECT_EQ(Lines(), row.line != nullptr ? LogLines{row.line} : LogLines{});
}

INSTANTIATE_TEST_SUITE_P(All, CheckApduSWTest, testing::ValuesIn(kStatusWordCases),
                         NameOfRow<StatusWordCase>);

TEST_F(iCardReaderTest, MismatchIsSilentWhenAsked)
{
    EXPECT_FALSE(iCardReader::CheckApduSW(Bytes("9000"), 0x63, 0xC2, false));

    EXPECT_TRUE(Lines().empty());
}

TEST_F(iCardReaderTest, ShortResponseIsLoggedEvenWhenSilenceWasAsked)
{
    EXPECT_FALSE(iCardReader::CheckApduSW(Bytes(""), 0x90, 0x00, false));

    EXPECT_EQ(Lines(), (LogLines{"ERROR CheckApduSW, input len < 2)"}));
}
