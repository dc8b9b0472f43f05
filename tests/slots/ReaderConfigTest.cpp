#include "LibConfig/Config.h"
#include "LibConfig/GenerateConfig.h"
#include "cards/iCardToken.h"
#include "readers/LibReaderImpl.h"
#include "slots/SlotList.h"
#include "tests/slots/TokenSlotsFixture.h"
#include "tests/support/CapturedLog.h"
#include "tests/support/PrivateEtc.h"
#include "tests/support/ScopedEnvironment.h"

#include <algorithm>
#include <memory>

namespace
{

/** The settings of the readers, in a private /etc. */
class ReaderConfigTest : public TokenSlotsTest
{
protected:
    void SetUp() override
    {
        if (!PrivateEtc::Enter())
        {
            GTEST_SKIP() << "this machine allows no private mount namespace, so /etc is left alone";
        }
        PrivateEtc::Clear();
    }
    void TearDown() override { Norvik::Config::GetHandle(0)->Destroy(); }

    static void Load(const std::string& readerSections)
    {
        PrivateEtc::WriteConfig("<?xml version=\"1.0\"?><kmarkclient><k_mark_Client>" + readerSections +
                                "</k_mark_Client></kmarkclient>");
        GenerateConfig();
    }
    void Read(const std::string& subKey)
    {
        Slots().ReadReaderConfig(subKey, m_Reader, m_ReaderName, m_bIsSecure, m_bUseGui, m_bUseBeep, m_CtPort,
                                 m_CtApi, m_bCloseOnExit);
    }
    /** Whether the reader of slot 0 is asked for its keypad when a PIN is wanted: not after IsSecure 0. */
    bool ReaderIsAskedForItsKeypad()
    {
        const CapturedLog log{{&LibReaderImpl::SetErrorLoggingFunc, nullptr, nullptr}};
        CapturedLog::Lines().clear();
        FindReaders({false});
        m_Pcsc.Status(0, 32).Gives(kECardG4Atr);
        iCardToken* loaded = nullptr;
        EXPECT_TRUE(Slots().GetCardToken(0, &loaded));
        const std::unique_ptr<iCardToken> token(loaded);
        unsigned long retries = 0;
        EXPECT_EQ(token->AuthenticatePin(AppSignature, {}, &retries), CKR_FUNCTION_FAILED);
        const Lines& lines = CapturedLog::Lines();
        return std::count(lines.begin(), lines.end(), "ERROR CheckReaderCapabilities, error hCard is NULL") ==
               1;
    }

    TemporaryDirectory m_Home;
    ScopedEnvironment m_Environment{"HOME", m_Home.Path().c_str()};
    std::string m_Reader = "old reader";
    std::string m_ReaderName = "old name";
    bool m_bIsSecure = false;
    bool m_bUseGui = false;
    bool m_bUseBeep = false;
    long m_CtPort = 5;
    std::string m_CtApi = "old";
    bool m_bCloseOnExit = true;
};

TEST_F(ReaderConfigTest, ValuesAreReadFromTheSection)
{
    Load("<Reader><Reader>R</Reader><ReaderName>N</ReaderName><IsSecure>0</IsSecure><UseBeep>false</UseBeep>"
         "<UseGUI>0</UseGUI><CTPort>3</CTPort><CTAPI>api</CTAPI><CloseOnExit>1</CloseOnExit></Reader>");
    m_bIsSecure = m_bUseGui = m_bUseBeep = true;
    m_bCloseOnExit = false;

    Read("Reader");

    EXPECT_EQ(m_Reader, "R");
    EXPECT_EQ(m_ReaderName, "N");
    EXPECT_FALSE(m_bIsSecure);
    EXPECT_FALSE(m_bUseBeep);
    EXPECT_FALSE(m_bUseGui);
    EXPECT_EQ(m_CtPort, 3);
    EXPECT_EQ(m_CtApi, "api");
    EXPECT_TRUE(m_bCloseOnExit);
}

TEST_F(ReaderConfigTest, AbsentValuesHaveTheirPresetsAndTheNamesStay)
{
    Load("<Reader></Reader>");

    Read("Reader");

    EXPECT_EQ(m_Reader, "old reader");
    EXPECT_EQ(m_ReaderName, "old name");
    EXPECT_TRUE(m_bIsSecure);
    EXPECT_TRUE(m_bUseBeep);
    EXPECT_TRUE(m_bUseGui);
    EXPECT_EQ(m_CtPort, -1);
    EXPECT_EQ(m_CtApi, "");
    EXPECT_FALSE(m_bCloseOnExit);
}

TEST_F(ReaderConfigTest, WithoutSettingsTheReaderIsAsked)
{
    GenerateConfig();
    EXPECT_TRUE(ReaderIsAskedForItsKeypad());
}

TEST_F(ReaderConfigTest, TheOnlySectionCounts)
{
    Load("<Reader1><IsSecure>0</IsSecure></Reader1><Trace><IsSecure>1</IsSecure></Trace>");
    EXPECT_FALSE(ReaderIsAskedForItsKeypad());
}

TEST_F(ReaderConfigTest, OneOfTwoSectionsDoesNotCount)
{
    Load("<Reader1><IsSecure>0</IsSecure></Reader1><Reader2><IsSecure>0</IsSecure></Reader2>");
    EXPECT_TRUE(ReaderIsAskedForItsKeypad());
}

} // namespace
