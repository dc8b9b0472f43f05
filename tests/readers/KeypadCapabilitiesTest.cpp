#include "tests/readers/KeypadTestSupport.h"

namespace
{
struct CapabilityCase
{
    const char* name;
    const char* features;
    bool bVerify;
    bool bModify;
};

constexpr CapabilityCase kCapabilityCases[] = {
    {"Nothing", "", false, false},
    {"BothDirect", "0604 42330006 0704 42330007", true, true},
    {"BothInSteps", "0104 42330001 0304 42330003", true, true},
    {"VerifyAlone", "0604 42330006 0204 42330002", true, false},
    {"ModifyAlone", "0304 42330003", false, true},
    {"LengthNotAMultipleOfSix", "0604 42330006 0704 423300", true, false},
    {"OtherTags", "0004 42330006 0804 42330007 1204 42330012", false, false},
};
} // namespace

class KeypadCapabilitiesTest : public KeypadTest, public testing::WithParamInterface<CapabilityCase>
{};

TEST_P(KeypadCapabilitiesTest, FollowTheFeatureList)
{
    m_Pcsc.Control(kCard, kFeatureRequest, "", 5012).Gives(GetParam().features).Holding(0);
    bool bVerify = !GetParam().bVerify;
    bool bModify = !GetParam().bModify;

    m_Reader.CheckReaderCapabilities(bVerify, bModify);

    EXPECT_EQ(bVerify, GetParam().bVerify);
    EXPECT_EQ(bModify, GetParam().bModify);
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE CheckReaderCapabilities start"}));
}

INSTANTIATE_TEST_SUITE_P(All, KeypadCapabilitiesTest, testing::ValuesIn(kCapabilityCases),
                         NameOfRow<CapabilityCase>);

TEST_F(KeypadTest, CapabilitiesWithoutHandleAreNone)
{
    KeypadReader reader(0);
    reader.m_PinCodes.verifyPinDirect = kVerifyDirect;
    bool bVerify = true;
    bool bModify = true;

    reader.CheckReaderCapabilities(bVerify, bModify);

    EXPECT_FALSE(bVerify);
    EXPECT_FALSE(bModify);
    EXPECT_EQ(reader.m_PinCodes.verifyPinDirect, 0U);
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE CheckReaderCapabilities start",
                                 "ERROR CheckReaderCapabilities, error hCard is NULL"}));
}

TEST_F(KeypadTest, RefusedCapabilitiesForgetOlderOnes)
{
    m_Pcsc.Control(kCard, kFeatureRequest, "").Gives("0604 42330006 0504 42330005 0704 42330007");
    m_Pcsc.Control(kCard, kFeatureRequest, "").Fails(SCARD_E_NOT_TRANSACTED).Gives("0604 42330006");
    bool bVerify = false;
    bool bModify = false;
    m_Reader.CheckReaderCapabilities(bVerify, bModify);
    ASSERT_TRUE(bVerify && bModify);
    Lines().clear();

    m_Reader.CheckReaderCapabilities(bVerify, bModify);

    EXPECT_FALSE(bVerify);
    EXPECT_FALSE(bModify);
    EXPECT_EQ(m_Reader.m_PinCodes.verifyPinDirect, 0U);
    EXPECT_EQ(m_Reader.m_PinCodes.modifyPinDirect, 0U);
    EXPECT_EQ(m_Reader.m_PinCodes.getKeyPressed, 0U);
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE CheckReaderCapabilities start",
                                 "MESSAGE CheckReaderCapabilities, SCardControl retruns  "
                                 "(0x80100016, 80100016)"}));
}

TEST_F(KeypadTest, FeatureListLengthAboveTheBufferIsCut)
{
    m_Pcsc.Control(kCard, kFeatureRequest, "").Gives("0604 42330006").Reports(0xFFFFFFFF);
    bool bVerify = false;
    bool bModify = true;

    m_Reader.CheckReaderCapabilities(bVerify, bModify);

    EXPECT_TRUE(bVerify);
    EXPECT_FALSE(bModify);
}

TEST_F(KeypadTest, FullBufferOfFeaturesIsReadToItsLastWholeEntry)
{
    // 835 entries fill 5010 bytes; a further tag in the last two has no value.
    std::string features(std::size_t{5010}, '\0');
    features.replace(5004, 6, std::string("\x07\x04\x42\x33\x00\x07", 6));
    m_Pcsc.Control(kCard, kFeatureRequest, "").GivesText(features + "\x06\x04");
    bool bVerify = true;
    bool bModify = false;

    m_Reader.CheckReaderCapabilities(bVerify, bModify);

    EXPECT_FALSE(bVerify);
    EXPECT_TRUE(bModify);
}

TEST_F(KeypadTest, SecureReaderVerifiesAndModifies)
{
    m_Pcsc.Control(kCard, kFeatureRequest, "").Gives("0604 42330006 0304 42330003");
    m_Pcsc.Control(kCard, kFeatureRequest, "").Gives("0604 42330006");

    EXPECT_TRUE(m_Reader.IsSecure());
    EXPECT_FALSE(m_Reader.IsSecure());
}
