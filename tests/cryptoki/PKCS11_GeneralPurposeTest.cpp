#include "cryptoki/Exports.h"

#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "crypto/LibCardImpl.h"
#include "cryptoki/KMarkP11Logging.h"
#include "cryptoki/ModuleState.h"
#include "cryptoki/SessionCollection.h"
#include "input/LibInput.h"
#include "readers/LibReaderAndCard.h"
#include "readers/LibReaderImpl.h"
#include "tests/cryptoki/CryptokiFixture.h"
#include "tests/support/PrivateEtc.h"
#include "tests/support/ScopedEnvironment.h"
#include "tests/support/TextFile.h"

#include <filesystem>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;
using testing::MatchesRegex;

std::string ConfigXml(const std::string& level, const std::string& filename)
{
    return "<kmarkclient><k_mark_Client><Trace><LogLevel>" + level + "</LogLevel><Filename>" + filename +
           "</Filename></Trace></k_mark_Client></kmarkclient>";
}

/** C_Initialize with settings of the test's own; no slots. */
class GeneralPurpose : public testing::Test
{
protected:
    void SetUp() override
    {
        if (!PrivateEtc::Enter())
        {
            GTEST_SKIP() << "the machine allows no private /etc";
        }
        FakeSlots::Reset();
    }
    void TearDown() override
    {
        if (isCryptokiInitialized())
        {
            C_Finalize(nullptr);
        }
        P11Logger::GetHandle()->Destroy();
        if (PrivateEtc::Enter())
        {
            PrivateEtc::Clear();
        }
        FakeSlots::Reset();
    }

    void Configure(const std::string& level, const std::string& filename)
    {
        PrivateEtc::WriteConfig(ConfigXml(level, filename));
    }
    /** The files in the log directory. */
    [[nodiscard]] std::vector<std::string> LogFiles() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(m_Logs.Path()))
        {
            names.push_back(entry.path().filename().string());
        }
        return names;
    }
    [[nodiscard]] std::vector<std::string> LogLines() const
    {
        const std::vector<std::string> names = LogFiles();
        return names.empty() ? names : ReadLines(m_Logs.File(names.front()));
    }

    TemporaryDirectory m_Home;
    TemporaryDirectory m_Logs;
    ScopedEnvironment m_HomeVariable{"HOME", m_Home.Path().c_str()};
};

} // namespace

TEST_F(GeneralPurpose, InitializeWithoutSettingsSucceedsAndLogsNothing)
{
    EXPECT_EQ(C_Initialize(nullptr), CKR_OK);
    EXPECT_TRUE(isCryptokiInitialized());
    EXPECT_FALSE(P11Logger::GetHandle()->IsEnabled());
    EXPECT_EQ(C_Finalize(nullptr), CKR_OK);
    EXPECT_FALSE(isCryptokiInitialized());
    EXPECT_THAT(LogFiles(), IsEmpty());
    for (const auto& entry : std::filesystem::recursive_directory_iterator(m_Home.Path()))
    {
        EXPECT_TRUE(entry.is_directory()) << entry.path();
    }
    EXPECT_FALSE(std::filesystem::exists(PrivateEtc::kConfigFile));
}

TEST_F(GeneralPurpose, ArgumentsOfInitializeAndFinalizeAreIgnored)
{
    CK_C_INITIALIZE_ARGS locking = {};
    locking.CreateMutex = [](void**) { return CKR_GENERAL_ERROR; };
    EXPECT_EQ(C_Initialize(&locking), CKR_OK);
    int garbage = 7;
    EXPECT_EQ(C_Finalize(&garbage), CKR_OK);
    EXPECT_EQ(C_Initialize(&garbage), CKR_OK);
}

TEST_F(GeneralPurpose, FinalizeBeforeInitializeIsRefused)
{
    EXPECT_EQ(C_Finalize(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_THAT(FakeSlots::Instance().calls, IsEmpty());
}

TEST_F(GeneralPurpose, SecondInitializeIsRefusedWithoutALine)
{
    Configure("1", m_Logs.Path());
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    const std::vector<std::string> before = LogLines();

    EXPECT_EQ(C_Initialize(nullptr), CKR_CRYPTOKI_ALREADY_INITIALIZED);

    EXPECT_EQ(LogLines(), before);
    EXPECT_THAT(before, ElementsAre(HasSubstr("IN FUNCTION ("), HasSubstr("OUT FUNCTION (")));
}

TEST_F(GeneralPurpose, LogBeginsWithInitializeAndEndsWithFinalize)
{
    Configure("1", m_Logs.Path());
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    ASSERT_EQ(C_Finalize(nullptr), CKR_OK);

    EXPECT_THAT(LogFiles(), ElementsAre(MatchesRegex("KMarkP11_....-..-..-..-..-..\\.log")));
    const std::string stamp = "....-..-.. ..:..:..";
    const std::string thread = " \\([0-9]+\\) ";
    EXPECT_THAT(LogLines(),
                ElementsAre(MatchesRegex(stamp + "  IN FUNCTION" + thread + "C_Initialize"),
                            MatchesRegex(stamp + " OUT FUNCTION" + thread + "C_Initialize returns CKR_OK"),
                            MatchesRegex(stamp + "  IN FUNCTION" + thread + "C_Finalize"),
                            MatchesRegex(stamp + " OUT FUNCTION" + thread + "C_Finalize returns CKR_OK"),
                            MatchesRegex(stamp + "        DEBUG" + thread + "Destroy\\(\\)"),
                            MatchesRegex(stamp + "        DEBUG" + thread + "close LibLogging")));
}

struct TraceCase
{
    const char* name;
    const char* level;
    const char* suffix; ///< behind the log directory
    bool bLog;
};
class TraceSetting : public GeneralPurpose, public testing::WithParamInterface<TraceCase>
{};

TEST_P(TraceSetting, DecidesWhetherThereIsALog)
{
    Configure(GetParam().level, m_Logs.Path() + GetParam().suffix);
    EXPECT_EQ(C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(LogFiles().size(), GetParam().bLog ? 1U : 0U);
}
constexpr TraceCase kTraceCases[] = {
    {"LevelZero", "0", "", false},
    {"LevelOne", "1", "", true},
    {"NegativeLevel", "-1", "", false},
    {"LevelNine", "9", "/", true},
    {"FileInDirectory", "1", "/x.log", true},
    {"FileInCapitals", "1", "/X.LOG", true},
};
INSTANTIATE_TEST_SUITE_P(All, TraceSetting, testing::ValuesIn(kTraceCases),
                         [](const auto& row) { return row.param.name; });

TEST_F(GeneralPurpose, FilenameOfFourCharactersIsTakenForNone)
{
    TemporaryDirectory place;
    std::filesystem::create_directory(place.File("logs"));
    const std::filesystem::path before = std::filesystem::current_path();
    std::filesystem::current_path(place.Path());
    Configure("1", "logs");
    EXPECT_EQ(C_Initialize(nullptr), CKR_OK);
    std::filesystem::current_path(before);
    EXPECT_TRUE(std::filesystem::is_empty(place.File("logs")));
    EXPECT_FALSE(P11Logger::GetHandle()->IsEnabled());
    CK_ULONG count = 7;
    EXPECT_EQ(C_GetSlotList(CK_FALSE, nullptr, &count), CKR_OK);
    EXPECT_EQ(count, 0U);
}

TEST_F(GeneralPurpose, LogThatCannotBeOpenedDoesNotMatter)
{
    Configure("1", m_Logs.Path() + "/missing");
    EXPECT_EQ(C_Initialize(nullptr), CKR_OK);
    EXPECT_THAT(LogFiles(), IsEmpty());
    EXPECT_EQ(C_Finalize(nullptr), CKR_OK);
}

TEST_F(GeneralPurpose, LowerLayersLogThroughTheModuleUntilItEnds)
{
    Configure("1", m_Logs.Path());
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    LibReaderAndCard::LogError("one");
    LibReaderAndCard::LogMessage("two");
    LibReaderImpl::LogError("three");
    LibReaderImpl::LogMessage("four");
    LibCardImpl::LogError("five");
    LibCardImpl::LogMessage("six");
    LibInput::LogError("seven");
    LibInput::LogMessage("eight");
    LibCardImpl::LogDebug("never");

    std::vector<std::string> lines = LogLines();
    lines.erase(lines.begin(), lines.begin() + 2);
    EXPECT_THAT(lines, ElementsAre(MatchesRegex(".* ERROR .* one"), MatchesRegex(".* MESSAGE .* two"),
                                   MatchesRegex(".* ERROR .* three"), MatchesRegex(".* MESSAGE .* four"),
                                   MatchesRegex(".* ERROR .* five"), MatchesRegex(".* MESSAGE .* six"),
                                   MatchesRegex(".* ERROR .* seven"), MatchesRegex(".* MESSAGE .* eight")));
}

/** The hooks of the dialogs stay: the end of the module doesn't clear them. */
TEST_F(GeneralPurpose, FinalizeClearsTheHooksButThoseOfTheDialogs)
{
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    ASSERT_EQ(C_Finalize(nullptr), CKR_OK);
    P11Logger::GetHandle()->Init(m_Logs.File("later.log"), 10000, true);
    P11Logger::GetHandle()->Enabled(true);

    LibReaderAndCard::LogError("one");
    LibReaderAndCard::LogMessage("two");
    LibReaderImpl::LogError("three");
    LibReaderImpl::LogMessage("four");
    LibCardImpl::LogError("five");
    LibCardImpl::LogMessage("six");
    LibInput::LogError("seven");
    LibInput::LogMessage("eight");

    EXPECT_THAT(LogLines(), ElementsAre(HasSubstr("seven"), HasSubstr("eight")));
}

TEST_F(GeneralPurpose, FinalizeDropsTokensBeforeReaders)
{
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    EXPECT_THAT(FakeSlots::Instance().calls, IsEmpty());
    ASSERT_EQ(C_Finalize(nullptr), CKR_OK);
    EXPECT_THAT(FakeSlots::Instance().calls, ElementsAre("CardTokenList::destroy()", "SlotList::Destroy()"));
}

TEST_F(GeneralPurpose, FinalizeClosesAllSessions)
{
    TestToken token;
    FakeSlots::Instance().slots = {{&token, true, "Reader"}};
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    CK_SESSION_HANDLE session = 0;
    ASSERT_EQ(C_OpenSession(0, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_OK);
    ASSERT_EQ(C_Finalize(nullptr), CKR_OK);
    EXPECT_EQ(GetSessionCount(), 0U);
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(C_Logout(session), CKR_SESSION_HANDLE_INVALID);
}

TEST_F(GeneralPurpose, EachCycleHasALogOfItsOwn)
{
    Configure("1", m_Logs.Path());
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    ASSERT_EQ(C_Finalize(nullptr), CKR_OK);
    Configure("0", m_Logs.Path());
    const std::size_t lines = LogLines().size();

    // The settings are read anew.
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);

    EXPECT_FALSE(P11Logger::GetHandle()->IsEnabled());
    EXPECT_EQ(LogLines().size(), lines);
}

TEST_F(GeneralPurpose, InfoGivesTheFixedBytes)
{
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    CK_INFO info;
    std::fill_n(reinterpret_cast<unsigned char*>(&info), sizeof(info), static_cast<unsigned char>(0xA5));

    EXPECT_EQ(C_GetInfo(&info), CKR_OK);

    EXPECT_EQ(info.cryptokiVersion.major, 2);
    EXPECT_EQ(info.cryptokiVersion.minor, 20);
    EXPECT_EQ(info.flags, 0U);
    EXPECT_EQ(info.libraryVersion.major, 1);
    EXPECT_EQ(info.libraryVersion.minor, 0);
    const std::string manufacturer(std::begin(info.manufacturerID), std::end(info.manufacturerID));
    const std::string description(std::begin(info.libraryDescription), std::end(info.libraryDescription));
    EXPECT_EQ(manufacturer, std::string("Norvik k.mark Client\0Description", 32));
    EXPECT_EQ(description, std::string("Description\0KMarkP11\0C_Initializ", 32));
}

TEST_F(GeneralPurpose, InfoRefusesNullAndTheUninitialisedState)
{
    CK_INFO info = {};
    EXPECT_EQ(C_GetInfo(&info), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_GetInfo(nullptr), CKR_CRYPTOKI_NOT_INITIALIZED);
    Configure("1", m_Logs.Path());
    ASSERT_EQ(C_Initialize(nullptr), CKR_OK);
    EXPECT_EQ(C_GetInfo(nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_THAT(LogLines(), Contains(MatchesRegex(".* ERROR .* Argument is NULL")));
}

TEST_F(GeneralPurpose, FunctionListIsThereBeforeInitialisation)
{
    CK_FUNCTION_LIST_PTR list = nullptr;
    EXPECT_EQ(C_GetFunctionList(&list), CKR_OK);
    EXPECT_EQ(list, &INTERNAL_PKCS11_FUNCTION_LIST.standard);
    EXPECT_EQ(list->version.major, 2);
    EXPECT_EQ(list->version.minor, 20);
    EXPECT_EQ(list->C_Initialize, &C_Initialize);
    EXPECT_EQ(INTERNAL_PKCS11_FUNCTION_LIST.C_CardTransmit, &C_CardTransmit);
    EXPECT_EQ(C_GetFunctionList(nullptr), CKR_ARGUMENTS_BAD);
}

TEST_F(CryptokiFixture, FunctionListIsLogged)
{
    CK_FUNCTION_LIST_PTR list = nullptr;
    EXPECT_EQ(C_GetFunctionList(&list), CKR_OK);
    EXPECT_EQ(C_GetFunctionList(nullptr), CKR_ARGUMENTS_BAD);
    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_GetFunctionList", "OUT FUNCTION C_GetFunctionList returns CKR_OK",
                            "IN FUNCTION C_GetFunctionList", "ERROR Argument is NULL",
                            "OUT FUNCTION C_GetFunctionList returns CKR_ARGUMENTS_BAD"));
}

TEST_F(CryptokiFixture, LoggingHelpersCompose)
{
    KMarkP11::LogFunctionEntry("C_Any");
    KMarkP11::LogReturnCode("C_Any", 4);
    KMarkP11::LogError("text", -5);
    KMarkP11::LogErrorCB("an error");
    KMarkP11::LogMessageCB("a message");
    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_Any", "OUT FUNCTION C_Any returns ERROR 4", "ERROR text -5",
                                   "ERROR an error", "MESSAGE a message"));
}

/** An early return leaves its name on the stack of functions, and a later exit takes only the topmost one off. */
TEST_F(CryptokiFixture, RefusalBeforeInitialisationLeavesTheFunctionOnTheStack)
{
    bCryptokiInitialized = 0;
    EXPECT_EQ(C_Logout(1), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_InitPIN(1, nullptr, 0), CKR_FUNCTION_NOT_SUPPORTED);
    ClearLog();
    P11Logger::GetHandle()->LogStackTrace();
    EXPECT_THAT(Log(), ElementsAre("STACKTRACE C_Logout"));
}
