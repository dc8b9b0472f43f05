#include "readers/EnumReaders.h"

#include "tests/readers/ReaderTestSupport.h"

using CtApiReadersTest = ReaderTest;

TEST_F(CtApiReadersTest, ScanFindsNothing)
{
    std::vector<CTAPIReaderConfig> readers;

    EXPECT_TRUE(ListCTAPIReaders(readers));
    ScanLibrary("libct.so", readers);

    EXPECT_TRUE(readers.empty());
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE ListCTAPIReaders"}));
}

namespace
{
struct TerminalCase
{
    const char* name;
    const char* terminalId;
    CTAPIReaderConfig reader;
};

CTAPIReaderConfig Row(const char* terminalId, const char* name, const char* vendor, bool flagA, bool flagB,
                      bool flagC)
{
    CTAPIReaderConfig config;
    config.terminalId = terminalId;
    config.name = name;
    config.vendor = vendor;
    config.flagA = flagA;
    config.flagB = flagB;
    config.flagC = flagC;
    return config;
}

const TerminalCase kTerminalCases[] = {
    {"FirstRow", "DExxxCT399V3.00", Row("DExxxCT399", "KOBIL KAAN Professional", "KOBIL", true, true, true)},
    {"LongIdOfOneModel", "DExxxCT101V1.70",
     Row("DExxxCT101V1.70", "KOBIL KAAN Standard plus", "KOBIL", true, true, true)},
    {"LongIdOfAnother", "DExxxCT101V2.06",
     Row("DExxxCT101V2.06", "KOBIL B1 PCMCIA", "KOBIL", true, false, true)},
    {"SharedFrontAlone", "DExxxCT101V9.99", Row("", "", "", true, true, true)},
    {"EarlierRowOfTheFamilyWins", "DExxxCT199V1.63",
     Row("DExxxCT199", "KOBIL B1 S", "KOBIL", true, false, true)},
    {"BlanksBelongToTheId", "DESCT     1.0",
     Row("DESCT     ", "cyberJack kb", "REINER SCT", true, true, true)},
    {"IdWithoutItsBlanks", "DESCT", Row("", "", "", true, true, true)},
    {"FlagsOfItsRow", "DESCMSCR24", Row("DESCMSCR24", "SCM SCR241", "SCM", false, false, true)},
    {"FlagBAlone", "DESCMSPRx3", Row("DESCMSPRx3", "SCM SPR532", "SCM", false, true, true)},
    {"LowerCaseIsAnother", "dexxxct399", Row("", "", "", true, true, true)},
    {"Unknown", "XX", Row("", "", "", true, true, true)},
    {"Empty", "", Row("", "", "", true, true, true)},
};
} // namespace

class SetReaderEntryTest : public ReaderTest, public testing::WithParamInterface<TerminalCase>
{
protected:
    static CTAPIReaderConfig EntryOf(const char* library, int port, std::string terminalId)
    {
        std::vector<CTAPIReaderConfig> readers(1);
        SetReaderEntry(library, port, reinterpret_cast<unsigned char*>(terminalId.data()), readers);
        EXPECT_EQ(readers.size(), 2U);
        return readers.back();
    }
};

TEST_P(SetReaderEntryTest, FirstMatchingRowWins)
{
    const CTAPIReaderConfig entry = EntryOf("libct.so", 4, GetParam().terminalId);

    const CTAPIReaderConfig& expected = GetParam().reader;
    EXPECT_EQ(entry.terminalId, expected.terminalId);
    EXPECT_EQ(entry.name, expected.name);
    EXPECT_EQ(entry.vendor, expected.vendor);
    EXPECT_EQ(entry.flagA, expected.flagA);
    EXPECT_EQ(entry.flagB, expected.flagB);
    EXPECT_EQ(entry.flagC, expected.flagC);
    EXPECT_EQ(entry.port, 4);
    EXPECT_TRUE(Lines().empty());
}

INSTANTIATE_TEST_SUITE_P(All, SetReaderEntryTest, testing::ValuesIn(kTerminalCases), NameOfRow<TerminalCase>);

namespace
{
struct LibraryCase
{
    const char* name;
    const char* path;
    const char* libraryName;
};

constexpr LibraryCase kLibraryCases[] = {
    {"PlainName", "libct.so", "libct.so"},
    {"SystemFolder", "C:\\Windows\\SysWOW64\\ctacs.dll", "ctacs.dll"},
    {"Wide", "ctrsct64.dll", "ctrsct32.dll"},
    {"WideInTheSystemFolder", "C:\\Windows\\SysWOW64\\ctrsct64.dll", "ctrsct32.dll"},
    {"WideWithMoreBehind", "ctrsct64.dll.bak", "ctrsct32.dll"},
    {"WideInAnotherFolder", "C:\\ctrsct64.dll", "C:\\ctrsct64.dll"},
    {"OtherCase", "c:\\windows\\syswow64\\ctrsct64.dll", "c:\\windows\\syswow64\\ctrsct64.dll"},
    {"ShorterThanThePrefixes", "C:", "C:"},
    {"Empty", "", ""},
};
} // namespace

class LibraryNameTest : public ReaderTest, public testing::WithParamInterface<LibraryCase>
{};

TEST_P(LibraryNameTest, LosesTheFolderAndTheWidth)
{
    std::vector<CTAPIReaderConfig> readers;
    unsigned char terminalId[] = "DESCMSCR24";

    SetReaderEntry(GetParam().path, 1, terminalId, readers);

    ASSERT_EQ(readers.size(), 1U);
    EXPECT_EQ(readers[0].libraryPath, GetParam().path);
    EXPECT_EQ(readers[0].libraryName, GetParam().libraryName);
}

INSTANTIATE_TEST_SUITE_P(All, LibraryNameTest, testing::ValuesIn(kLibraryCases), NameOfRow<LibraryCase>);
