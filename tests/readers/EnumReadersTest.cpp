#include "readers/EnumReaders.h"

#include "tests/readers/ReaderTestSupport.h"

#include <cerrno>

#include <boost/thread/exceptions.hpp>

using namespace std::string_literals;

namespace
{
#if defined(__SANITIZE_ADDRESS__) || defined(__SANITIZE_THREAD__)
constexpr bool kSanitizerAllocates = true;
#elif defined(__has_feature)
constexpr bool kSanitizerAllocates = __has_feature(address_sanitizer) || __has_feature(thread_sanitizer);
#else
constexpr bool kSanitizerAllocates = false;
#endif
} // namespace

class EnumReadersTest : public ReaderTest
{
protected:
    static constexpr long kLocalContext = 3;

    void ExpectList(const std::string& multiString)
    {
        m_Pcsc.EstablishContext(2).GivesHandle(kLocalContext);
        m_Pcsc.ListReadersLength(kLocalContext).Reports(multiString.size());
        m_Pcsc.ListReaders(kLocalContext, multiString.size()).GivesText(multiString);
        m_Pcsc.ReleaseContext(kLocalContext);
    }

    std::vector<std::string> m_Names;
    std::vector<PCSCReaderConfig> m_Readers;
};

TEST_F(EnumReadersTest, NamesAreAppendedInTheirOrder)
{
    ExpectList("Reader B 00 00\0Reader A 01 00\0\0"s);
    m_Names = {"kept"};

    EXPECT_TRUE(ListPCSCReaders(m_Names));

    EXPECT_EQ(m_Names, (LogLines{"kept", "Reader B 00 00", "Reader A 01 00"}));
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE ListPCSCReaders"}));
}

TEST_F(EnumReadersTest, UserScopeServesWhenTheSystemScopeFails)
{
    m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.EstablishContext(0).GivesHandle(kLocalContext);
    m_Pcsc.ListReadersLength(kLocalContext).Reports(4);
    m_Pcsc.ListReaders(kLocalContext, 4).GivesText("R1\0\0"s);
    m_Pcsc.ReleaseContext(kLocalContext);

    EXPECT_TRUE(ListPCSCReaders(m_Names));

    EXPECT_EQ(m_Names, (LogLines{"R1"}));
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE ListPCSCReaders",
                                 "MESSAGE cannot establish scard context -> Retry with User Scope  "
                                 "(0x8010001d, 8010001d)"}));
}

TEST_F(EnumReadersTest, WithoutAContextThereIsNoList)
{
    m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE);
    m_Pcsc.EstablishContext(0).Fails(SCARD_E_NO_MEMORY);

    EXPECT_FALSE(ListPCSCReaders(m_Names));

    EXPECT_TRUE(m_Names.empty());
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE ListPCSCReaders",
                                 "MESSAGE cannot establish scard context -> Retry with User Scope  "
                                 "(0x8010001d, 8010001d)",
                                 "MESSAGE cannot establish scard context  (0x80100006, 80100006)"}));
}

TEST_F(EnumReadersTest, NoReaderAtAllIsAFailure)
{
    m_Pcsc.EstablishContext(2).GivesHandle(kLocalContext);
    m_Pcsc.ListReadersLength(kLocalContext).Fails(SCARD_E_NO_READERS_AVAILABLE);
    m_Pcsc.ReleaseContext(kLocalContext);

    EXPECT_FALSE(ListPCSCReaders(m_Names));

    EXPECT_EQ(Lines(), (LogLines{"MESSAGE ListPCSCReaders",
                                 "MESSAGE cannot list readers (1)  (0x8010002e, 8010002e)"}));
}

TEST_F(EnumReadersTest, FailureOfTheSecondCallReleasesTheContext)
{
    m_Pcsc.EstablishContext(2).GivesHandle(kLocalContext);
    m_Pcsc.ListReadersLength(kLocalContext).Reports(8);
    m_Pcsc.ListReaders(kLocalContext, 8).Fails(SCARD_E_INSUFFICIENT_BUFFER).GivesText("R1\0"s);
    m_Pcsc.ReleaseContext(kLocalContext);

    EXPECT_FALSE(ListPCSCReaders(m_Names));

    EXPECT_TRUE(m_Names.empty());
    EXPECT_EQ(Lines(), (LogLines{"MESSAGE ListPCSCReaders",
                                 "MESSAGE cannot list readers (2)  (0x80100008, 80100008)"}));
}

namespace
{
struct MultiStringCase
{
    const char* name;
    unsigned long capacity;
    std::string bytes;
    unsigned long reported;
    LogLines names;
};

const MultiStringCase kMultiStringCases[] = {
    {"WithoutItsEnd", 6, "R1\0R2\0"s, 6, {"R1", "R2"}},
    {"LastNameWithoutNul", 5, "R1\0R2"s, 5, {"R1", "R2"}},
    {"OneNameWithoutNul", 2, "R1"s, 2, {"R1"}},
    {"LongerTheSecondTime", 4, "R1\0R2\0\0"s, 7, {"R1", "R"}},
    {"ShorterTheSecondTime", 12, "R1\0\0"s, 4, {"R1"}},
    {"EmptyNameEndsTheWalk", 7, "R1\0\0R2\0"s, 7, {"R1"}},
    {"EmptyAtOnce", 1, "\0"s, 1, {}},
    {"NoBytes", 0, "", 0, {}},
    {"NothingWritten", 9, "", 9, {}},
};
} // namespace

class MultiStringTest : public ReaderTest, public testing::WithParamInterface<MultiStringCase>
{};

TEST_P(MultiStringTest, WalkEndsAtTheEmptyNameOrTheBuffer)
{
    const MultiStringCase& row = GetParam();
    m_Pcsc.EstablishContext(2).GivesHandle(3);
    m_Pcsc.ListReadersLength(3).Reports(row.capacity);
    m_Pcsc.ListReaders(3, row.capacity).GivesText(row.bytes).Reports(row.reported);
    m_Pcsc.ReleaseContext(3);
    std::vector<std::string> names;

    EXPECT_TRUE(ListPCSCReaders(names));

    EXPECT_EQ(names, row.names);
}

INSTANTIATE_TEST_SUITE_P(All, MultiStringTest, testing::ValuesIn(kMultiStringCases),
                         NameOfRow<MultiStringCase>);

TEST_F(EnumReadersTest, LengthThatAsksForMemoryOfTheServiceIsRefused)
{
    m_Pcsc.EstablishContext(2).GivesHandle(kLocalContext);
    m_Pcsc.ListReadersLength(kLocalContext).Reports(0xFFFFFFFFFFFFFFFF);
    m_Pcsc.ReleaseContext(kLocalContext);

    EXPECT_FALSE(ListPCSCReaders(m_Names));
}

TEST_F(EnumReadersTest, ImpossibleLengthIsOutOfMemoryWithTheContextReleased)
{
    if constexpr (kSanitizerAllocates)
    {
        GTEST_SKIP() << "the sanitizer's allocator ends the program";
    }
    m_Pcsc.EstablishContext(2).GivesHandle(kLocalContext);
    m_Pcsc.ListReadersLength(kLocalContext).Reports(0xFFFFFFFFFFFFFFF0);
    m_Pcsc.ReleaseContext(kLocalContext);

    EXPECT_THROW(ListPCSCReaders(m_Names), std::bad_alloc);
}

namespace
{
constexpr unsigned long kAttributes[] = {0x00010100, 0x00010101, 0x7FFF0001,
                                         0x00010103, 0x7FFF0004, 0x7FFF0003};
constexpr const char* kAttributeTexts[] = {"vendor", "type", "unit", "serial", "system", "friendly"};
} // namespace

TEST_F(EnumReadersTest, DescriptionOfEachReaderComesFromItsAttributes)
{
    ExpectList("R1\0R2\0\0"s);
    for (const std::string& name : {"R1"s, "R2"s})
    {
        m_Pcsc.EstablishContext(2).GivesHandle(5);
        m_Pcsc.Connect(5, name).GivesHandle(7);
        m_Pcsc.Status(7, 33);
        for (std::size_t i = 0; i < std::size(kAttributes); ++i)
        {
            const std::string text = name + kAttributeTexts[i];
            m_Pcsc.GetAttribLength(7, kAttributes[i]).Reports(text.size());
            m_Pcsc.GetAttrib(7, kAttributes[i], text.size()).GivesText(text);
        }
        m_Pcsc.Disconnect(7, 2);
        m_Pcsc.ReleaseContext(5);
    }

    EXPECT_TRUE(ListPCSCReaders(m_Readers));

    ASSERT_EQ(m_Readers.size(), 2U);
    const PCSCReaderConfig& second = m_Readers[1];
    EXPECT_EQ(m_Readers[0].readerName, "R1");
    EXPECT_EQ(second.readerName, "R2");
    EXPECT_EQ((LogLines{second.vendorName, second.ifdType, second.ifdSerial, second.deviceUnit,
                        second.systemName, second.friendlyName}),
              (LogLines{"R2vendor", "R2type", "R2serial", "R2unit", "R2system", "R2friendly"}));
}

TEST_F(EnumReadersTest, ReaderWithAContextIsAskedBeforeItHasACard)
{
    ExpectList("REINER SCT cyberJack\0\0"s);
    m_Pcsc.EstablishContext(2).GivesHandle(5);
    m_Pcsc.Connect(5, "REINER SCT cyberJack").Fails(SCARD_E_NO_SMARTCARD);
    m_Pcsc.Control(0, 0x42000D48, "", 2048).Fails(SCARD_E_INVALID_HANDLE);
    for (const unsigned long attribute : kAttributes)
    {
        m_Pcsc.GetAttribLength(0, attribute).Fails(SCARD_E_INVALID_HANDLE);
    }
    m_Pcsc.ReleaseContext(5);

    EXPECT_TRUE(ListPCSCReaders(m_Readers));

    ASSERT_EQ(m_Readers.size(), 1U);
    EXPECT_FALSE(m_Readers[0].isSecure) << "the name would have said yes";
    EXPECT_THAT(Lines(), testing::Contains("ERROR CheckReaderCapabilities, error hCard is NULL"));
}

TEST_F(EnumReadersTest, ReaderWithoutAContextIsJudgedByItsName)
{
    ExpectList("REINER SCT cyberJack ecom\0Plain\0\0"s);
    for (int i = 0; i < 2; ++i)
    {
        m_Pcsc.EstablishContext(2).Fails(SCARD_E_NO_SERVICE);
        m_Pcsc.EstablishContext(0).Fails(SCARD_E_NO_SERVICE);
        for (const unsigned long attribute : kAttributes)
        {
            m_Pcsc.GetAttribLength(0, attribute).Fails(SCARD_E_INVALID_HANDLE);
        }
    }

    EXPECT_TRUE(ListPCSCReaders(m_Readers));

    ASSERT_EQ(m_Readers.size(), 2U);
    EXPECT_TRUE(m_Readers[0].isSecure);
    EXPECT_FALSE(m_Readers[1].isSecure);
    EXPECT_EQ(m_Readers[0].vendorName, "");
}

TEST_F(EnumReadersTest, EmptyListOfNamesIsDescribedAsEmpty)
{
    ExpectList("\0"s);

    EXPECT_TRUE(ListPCSCReaders(m_Readers));

    EXPECT_TRUE(m_Readers.empty());
}

TEST_F(EnumReadersTest, WithoutNamesThereIsNoDescription)
{
    m_Pcsc.EstablishContext(2).GivesHandle(kLocalContext);
    m_Pcsc.ListReadersLength(kLocalContext).Fails(SCARD_E_NO_READERS_AVAILABLE);
    m_Pcsc.ReleaseContext(kLocalContext);

    EXPECT_FALSE(ListPCSCReaders(m_Readers));
}

TEST_F(EnumReadersTest, BrokenLockLeavesNoContextBehind)
{
    ExpectList("R1\0\0"s);
    m_Pcsc.EstablishContext(2).GivesHandle(5).Meanwhile([] { ScriptedPcsc::FailNextLock(EINVAL); });
    m_Pcsc.ReleaseContext(5);

    EXPECT_THROW(ListPCSCReaders(m_Readers), boost::lock_error);

    EXPECT_TRUE(m_Pcsc.Done());
}

TEST(PCSCIsSecureByNameTest, KnownNamesAnywhereInTheText)
{
    EXPECT_TRUE(PCSCIsSecureByName("OMNIKEY CardMan 3621"));
    EXPECT_TRUE(PCSCIsSecureByName("OMNIKEY CardMan 3821 00 00"));
    EXPECT_TRUE(PCSCIsSecureByName("the OMNIKEY CardMan 8630"));
    EXPECT_TRUE(PCSCIsSecureByName("Cherry SmartBoard XX44"));
    EXPECT_TRUE(PCSCIsSecureByName("[REINER SCT cyberJack ecom] 01 00"));
    EXPECT_TRUE(PCSCIsSecureByName("SCM Microsystems Inc. SPRx32 USB"));
}

TEST(PCSCIsSecureByNameTest, OtherNames)
{
    EXPECT_FALSE(PCSCIsSecureByName(""));
    EXPECT_FALSE(PCSCIsSecureByName("reiner sct cyberjack"));
    EXPECT_FALSE(PCSCIsSecureByName("OMNIKEY CardMan 3121"));
    EXPECT_FALSE(PCSCIsSecureByName("REINER SCT"));
}
