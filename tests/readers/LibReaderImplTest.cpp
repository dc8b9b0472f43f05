#include "tests/readers/ReaderTestSupport.h"

#include <sstream>

using LibReaderImplTest = ReaderTest;

TEST_F(LibReaderImplTest, PlainFormsGoToTheirCallback)
{
    LibReaderImpl::LogError("literal");
    LibReaderImpl::LogError(std::string("text"));
    LibReaderImpl::LogMessage("literal");
    LibReaderImpl::LogMessage(std::string("text"));

    EXPECT_EQ(Lines(), (LogLines{"ERROR literal", "ERROR text", "MESSAGE literal", "MESSAGE text"}));
}

TEST_F(LibReaderImplTest, ComposedFormsWriteTextBlankAndNumber)
{
    LibReaderImpl::LogError("state", -3);
    LibReaderImpl::LogMessageFormat("count", 42);

    EXPECT_EQ(Lines(), (LogLines{"ERROR state -3", "MESSAGE count 42"}));
}

TEST_F(LibReaderImplTest, PcscFailureIsAMessage)
{
    LibReaderImpl::LogErrorSCardError("SCardStatus failed", SCARD_W_REMOVED_CARD);

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE SCardStatus failed  (0x80100069, 80100069)"}));
}

TEST_F(LibReaderImplTest, SwitchedOffLogsNothing)
{
    LibReaderImpl::DisableLogging();
    LibReaderImpl::LogError("a");
    LibReaderImpl::LogError("a", 1);
    LibReaderImpl::LogMessage("a");
    LibReaderImpl::LogMessageFormat("a", 1);
    LibReaderImpl::LogErrorSCardError("a", 1);
    LibReaderImpl::LogErrorCardReaderCmd("a", Bytes("6401"));
    LibReaderImpl::EnableLogging();
    LibReaderImpl::LogMessage("on again");

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE on again"}));
}

TEST(LibReaderImplSilentTest, WithoutCallbacksNothingHappens)
{
    LibReaderImpl::SetErrorLoggingFunc(nullptr);
    LibReaderImpl::SetMessageLoggingFunc(nullptr);

    LibReaderImpl::LogError("a", 1);
    LibReaderImpl::LogMessageFormat("a", 1);
    LibReaderImpl::LogErrorSCardError("a", 1);
    LibReaderImpl::LogErrorCardReaderCmd("a", Bytes("6401"));

    EXPECT_TRUE(true) << "no null callback was called";
}

namespace
{
struct VerdictCase
{
    const char* name;
    const char* response;
    const char* line;
};

constexpr VerdictCase kVerdictCases[] = {
    {"InvalidParameter", "6B80", "ERROR verify invalid parameter in passed structure"},
    {"TimedOut", "6400", "ERROR verify SPE operation timed out"},
    {"Cancelled", "6401", "ERROR verify SPE operation was cancelled by the 'Cancel' button"},
    {"NewPinsDiffer", "6402",
     "ERROR verify Modify PIN operation failed because two 'new PIN' entries do not match"},
    {"WrongLength", "6403",
     "ERROR verify User entered too short or too long PIN regarding MIN/MAX PIN Length"},
    {"OnlyTheLastTwoBytesCount", "9000 6400", "ERROR verify SPE operation timed out"},
    {"OtherBytesStandAsCharacters", "4142", "ERROR verify unknown A B"},
    {"OtherBytesStandAsRawCharacters", "6985", "ERROR verify unknown i \x85"},
    {"RawNulEndsTheLine", "6700", "ERROR verify unknown g "},
    {"SuccessfulSw2AloneIsUnknown", "4200", "ERROR verify unknown B "},
};
} // namespace

class LibReaderImplVerdictTest : public ReaderTest, public testing::WithParamInterface<VerdictCase>
{};

TEST_P(LibReaderImplVerdictTest, NamesTheStatusWord)
{
    LibReaderImpl::LogErrorCardReaderCmd("verify", Bytes(GetParam().response));

    EXPECT_EQ(Lines(), (LogLines{GetParam().line}));
}

INSTANTIATE_TEST_SUITE_P(All, LibReaderImplVerdictTest, testing::ValuesIn(kVerdictCases),
                         NameOfRow<VerdictCase>);

TEST_F(LibReaderImplTest, NoVerdictForSuccessOrLessThanAStatusWord)
{
    LibReaderImpl::LogErrorCardReaderCmd("verify", Bytes("9000"));
    LibReaderImpl::LogErrorCardReaderCmd("verify", Bytes("64"));
    LibReaderImpl::LogErrorCardReaderCmd("verify", Bytes(""));

    EXPECT_TRUE(Lines().empty());
}

namespace
{
std::string Symbolic(long code)
{
    std::stringstream out;
    LibReaderImpl::SCardErrorToString(out, code);
    return out.str();
}

// 0x80100001 and up, with no gap.
constexpr const char* kNamesFrom1[] = {
    "SCARD_F_INTERNAL_ERROR",    "SCARD_E_CANCELLED",           "SCARD_E_INVALID_HANDLE",
    "SCARD_E_INVALID_PARAMETER", "SCARD_E_INVALID_TARGET",      "SCARD_E_NO_MEMORY",
    "SCARD_F_WAITED_TOO_LONG",   "SCARD_E_INSUFFICIENT_BUFFER", "SCARD_E_UNKNOWN_READER",
    "SCARD_E_TIMEOUT",           "SCARD_E_SHARING_VIOLATION",   "SCARD_E_NO_SMARTCARD",
    "SCARD_E_UNKNOWN_CARD",      "SCARD_E_CANT_DISPOSE",        "SCARD_E_PROTO_MISMATCH",
    "SCARD_E_NOT_READY",         "SCARD_E_INVALID_VALUE",       "SCARD_E_SYSTEM_CANCELLED",
    "SCARD_F_COMM_ERROR",        "SCARD_F_UNKNOWN_ERROR",       "SCARD_E_INVALID_ATR",
    "SCARD_E_NOT_TRANSACTED",    "SCARD_E_READER_UNAVAILABLE",  "SCARD_P_SHUTDOWN",
    "SCARD_E_PCI_TOO_SMALL",     "SCARD_E_READER_UNSUPPORTED",  "SCARD_E_DUPLICATE_READER",
    "SCARD_E_CARD_UNSUPPORTED",  "SCARD_E_NO_SERVICE",          "SCARD_E_SERVICE_STOPPED",
};

// 0x80100065 and up.
constexpr const char* kNamesFrom65[] = {
    "SCARD_W_UNSUPPORTED_CARD", "SCARD_W_UNRESPONSIVE_CARD", "SCARD_W_UNPOWERED_CARD",
    "SCARD_W_RESET_CARD",       "SCARD_W_REMOVED_CARD",
};

std::string HexDigits(long code)
{
    char text[32];
    std::snprintf(text, sizeof(text), "%lx", static_cast<unsigned long>(code));
    return text;
}
} // namespace

TEST(SCardErrorToStringTest, EveryNamedCodeHasItsName)
{
    static_assert(std::size(kNamesFrom1) == 0x1E);
    static_assert(std::size(kNamesFrom65) == 5);
    long code = 0x80100001;
    for (const char* const name : kNamesFrom1)
    {
        EXPECT_EQ(Symbolic(code), std::string(name) + " (0x" + HexDigits(code) + ")");
        ++code;
    }
    code = 0x80100065;
    for (const char* const name : kNamesFrom65)
    {
        EXPECT_EQ(Symbolic(code), std::string(name) + " (0x" + HexDigits(code) + ")");
        ++code;
    }
}

TEST(SCardErrorToStringTest, SmallAndUnknownCodes)
{
    EXPECT_EQ(Symbolic(0), "Success (0x0)");
    EXPECT_EQ(Symbolic(6), "ERROR_INVALID_HANDLE (0x6)");
    EXPECT_EQ(Symbolic(5), "Unknown Error (0x5)");
    EXPECT_EQ(Symbolic(0x80100000), "Unknown Error (0x80100000)");
    EXPECT_EQ(Symbolic(0x8010001F), "Unknown Error (0x8010001f)");
    EXPECT_EQ(Symbolic(0x8010002E), "Unknown Error (0x8010002e)");
    EXPECT_EQ(Symbolic(0x80100064), "Unknown Error (0x80100064)");
    EXPECT_EQ(Symbolic(0x8010006A), "Unknown Error (0x8010006a)");
}

TEST(SCardErrorToStringTest, AppendsToWhatIsThere)
{
    std::stringstream out;
    out << "result: ";

    LibReaderImpl::SCardErrorToString(out, 0x8010002E);

    EXPECT_EQ(out.str(), "result: Unknown Error (0x8010002e)");
}
