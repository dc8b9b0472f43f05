#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"

#include "cards/CardObject.h"
#include "cryptoki/Session.h"

#include <array>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::IsEmpty;
using testing::StartsWith;

class ObjectManagement : public CryptokiFixture
{
protected:
    ObjectManagement() : m_hSession(Open()) { ClearLog(); }

    CK_RV FindInit() { return C_FindObjectsInit(m_hSession, nullptr, 0); }
    std::vector<CK_OBJECT_HANDLE> FindUpTo(unsigned long maximum)
    {
        std::vector<CK_OBJECT_HANDLE> handles(maximum + 1, 4711);
        unsigned long count = 4711;
        EXPECT_EQ(C_FindObjects(m_hSession, handles.data(), maximum, &count), CKR_OK);
        EXPECT_EQ(handles.at(maximum), 4711U);
        handles.resize(count);
        return handles;
    }

    const CK_SESSION_HANDLE m_hSession;
};

} // namespace

TEST_F(ObjectManagement, EmptyTemplateFindsAllObjectsInTheOrderOfTheTable)
{
    ASSERT_EQ(FindInit(), CKR_OK);
    EXPECT_THAT(FindUpTo(10), ElementsAre(1000, 1001, 1002, 1003, 1004, 1005, 1006));
    EXPECT_THAT(FindUpTo(10), IsEmpty());
    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_OK);
}

TEST_F(ObjectManagement, FindObjectsHandsOutInPortions)
{
    ASSERT_EQ(FindInit(), CKR_OK);
    EXPECT_THAT(FindUpTo(3), ElementsAre(1000, 1001, 1002));
    EXPECT_THAT(FindUpTo(1), ElementsAre(1003));
    EXPECT_THAT(FindUpTo(9), ElementsAre(1004, 1005, 1006));
    EXPECT_THAT(FindUpTo(1), IsEmpty());
}

TEST_F(ObjectManagement, TemplateChoosesByClassAndId)
{
    CK_OBJECT_CLASS objectClass = CKO_PRIVATE_KEY;
    std::string id = "ckaid_t8090726489SIG";
    std::array<CK_ATTRIBUTE, 2> pattern = {
        {{CKA_CLASS, &objectClass, sizeof(objectClass)}, {CKA_ID, id.data(), id.size()}}};

    ASSERT_EQ(C_FindObjectsInit(m_hSession, pattern.data(), 1), CKR_OK);
    EXPECT_THAT(FindUpTo(10), ElementsAre(1002, 1005));
    ASSERT_EQ(C_FindObjectsFinal(m_hSession), CKR_OK);
    ASSERT_EQ(C_FindObjectsInit(m_hSession, pattern.data(), 2), CKR_OK);
    EXPECT_THAT(FindUpTo(10), ElementsAre(1005));
}

TEST_F(ObjectManagement, SearchLogsTheTypesOfTheTemplate)
{
    CK_OBJECT_CLASS objectClass = CKO_DATA;
    std::array<CK_ATTRIBUTE, 2> pattern = {
        {{CKA_CLASS, &objectClass, sizeof(objectClass)}, {0x216, nullptr, 0}}};

    ASSERT_EQ(C_FindObjectsInit(m_hSession, pattern.data(), 2), CKR_OK);

    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_FindObjectsInit",
                                   "DEBUG FindInit searching for attribute type: CKA_CLASS (0)",
                                   "DEBUG FindInit searching for attribute type:  (534)",
                                   "OUT FUNCTION C_FindObjectsInit returns CKR_OK"));
}

TEST_F(ObjectManagement, BadHandleIsNamedByFindObjectsInitAlone)
{
    ASSERT_EQ(C_CloseSession(m_hSession), CKR_OK);
    ClearLog();
    CK_OBJECT_HANDLE handle = 0;
    unsigned long count = 0;

    EXPECT_EQ(FindInit(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_FindObjects(m_hSession, &handle, 1, &count), CKR_SESSION_HANDLE_INVALID);

    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_FindObjectsInit", "ERROR invalid session handle: 42125",
                                   "OUT FUNCTION C_FindObjectsInit returns CKR_SESSION_HANDLE_INVALID",
                                   "IN FUNCTION C_FindObjects", "ERROR invalid session handle",
                                   "OUT FUNCTION C_FindObjects returns CKR_SESSION_HANDLE_INVALID"));
}

TEST_F(ObjectManagement, SecondInitIsRefusedAndTheFirstSearchStays)
{
    ASSERT_EQ(FindInit(), CKR_OK);
    ASSERT_THAT(FindUpTo(2), ElementsAre(1000, 1001));
    ClearLog();

    EXPECT_EQ(FindInit(), CKR_OPERATION_ACTIVE);

    EXPECT_THAT(Log(), Contains("ERROR A find objects operation is already in progress"));
    EXPECT_THAT(FindUpTo(1), ElementsAre(1002));
}

TEST_F(ObjectManagement, MaximumOfZeroIsRefusedAndTheSearchStays)
{
    ASSERT_EQ(FindInit(), CKR_OK);
    CK_OBJECT_HANDLE handle = 4711;
    unsigned long count = 4711;

    EXPECT_EQ(C_FindObjects(m_hSession, &handle, 0, &count), CKR_ARGUMENTS_BAD);

    EXPECT_EQ(count, 4711U);
    EXPECT_THAT(Log(), Contains("ERROR ulMaxObjectCount is 0"));
    EXPECT_THAT(FindUpTo(1), ElementsAre(1000));
}

TEST_F(ObjectManagement, SearchThatWasNotBegunIsRefused)
{
    CK_OBJECT_HANDLE handle = 4711;
    unsigned long count = 4711;
    EXPECT_EQ(C_FindObjects(m_hSession, &handle, 1, &count), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_FindObjects", "ERROR C_FindObjectsInit has not been called",
                            StartsWith("OUT FUNCTION"), "IN FUNCTION C_FindObjectsFinal",
                            "ERROR C_FindObjectsInit has not been called", StartsWith("OUT FUNCTION")));
}

TEST_F(ObjectManagement, SecondFinalIsRefused)
{
    ASSERT_EQ(FindInit(), CKR_OK);
    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_OK);
    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(FindInit(), CKR_OK);
}

TEST_F(ObjectManagement, FinalEndsTheSearchAlsoWithoutAToken)
{
    ASSERT_EQ(FindInit(), CKR_OK);
    DropToken();
    ClearLog();

    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_SESSION_HANDLE_INVALID);

    EXPECT_THAT(Log(), Contains("ERROR Session not initialized"));
    FakeSlots::Instance().slots[kSlot].token = &m_Token;
    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(ObjectManagement, EveryFunctionRefusesWithoutAToken)
{
    DropToken();
    CK_OBJECT_HANDLE handle = 0;
    unsigned long count = 0;
    EXPECT_EQ(FindInit(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_FindObjects(m_hSession, &handle, 1, &count), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_GetAttributeValue(m_hSession, 1000, nullptr, 0), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(C_SetAttributeValue(m_hSession, 1000, nullptr, 0), CKR_SESSION_HANDLE_INVALID);
}

TEST_F(ObjectManagement, SearchDoesNotBlockASignature)
{
    ASSERT_EQ(FindInit(), CKR_OK);
    EXPECT_EQ(SignInit(m_hSession), CKR_OK);
}

TEST_F(ObjectManagement, ConstantAttributesAreCopied)
{
    CK_OBJECT_CLASS objectClass = 99;
    CK_BBOOL bPrivate = 9;
    std::array<char, 32> label = {};
    std::array<CK_ATTRIBUTE, 3> entries = {{{CKA_CLASS, &objectClass, sizeof(objectClass)},
                                            {CKA_PRIVATE, &bPrivate, sizeof(bPrivate)},
                                            {CKA_LABEL, label.data(), label.size()}}};

    EXPECT_EQ(C_GetAttributeValue(m_hSession, kEncPrivateKey, entries.data(), 3), CKR_OK);

    EXPECT_EQ(objectClass, CKO_PRIVATE_KEY);
    EXPECT_EQ(entries[0].ulValueLen, 8U);
    EXPECT_EQ(bPrivate, CK_TRUE);
    EXPECT_EQ(entries[1].ulValueLen, 1U);
    EXPECT_EQ(std::string(label.data()), "SK.CH.EKEY");
    EXPECT_EQ(entries[2].ulValueLen, 10U);
}

TEST_F(ObjectManagement, ReadingLogsEachType)
{
    CK_BBOOL bToken = 0;
    CK_ATTRIBUTE entry = {CKA_TOKEN, &bToken, 1};

    ASSERT_EQ(C_GetAttributeValue(m_hSession, kData, &entry, 1), CKR_OK);

    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_GetAttributeValue", "MESSAGE read card attribute: CKA_TOKEN (1)",
                            "OUT FUNCTION C_GetAttributeValue returns CKR_OK"));
}

TEST_F(ObjectManagement, NullValueAsksForTheLength)
{
    CK_ATTRIBUTE entry = {CKA_LABEL, nullptr, 4711};
    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, &entry, 1), CKR_OK);
    EXPECT_EQ(entry.ulValueLen, 15U);
    EXPECT_THAT(Log(), Contains("WARNING attribute pValue is NULL -> return length"));
}

TEST_F(ObjectManagement, SmallBufferIsLeftAloneAndItsLengthIsNotTold)
{
    std::string buffer = "unchanged.....";
    CK_ATTRIBUTE entry = {CKA_LABEL, buffer.data(), 14};

    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, &entry, 1), CKR_BUFFER_TOO_SMALL);

    EXPECT_EQ(entry.ulValueLen, ~0UL);
    EXPECT_EQ(buffer, "unchanged.....");
    EXPECT_THAT(Log(),
                ElementsAre("IN FUNCTION C_GetAttributeValue", "MESSAGE read card attribute: CKA_LABEL (3)",
                            "WARNING attribute buffer to small", "MESSAGE input len:14, real len:15",
                            "OUT FUNCTION C_GetAttributeValue returns CKR_BUFFER_TOO_SMALL"));
}

TEST_F(ObjectManagement, BufferOfTheExactLengthSuffices)
{
    std::string buffer(15, '.');
    CK_ATTRIBUTE entry = {CKA_LABEL, buffer.data(), 15};
    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, &entry, 1), CKR_OK);
    EXPECT_EQ(buffer, "PERSONENBINDUNG");
}

TEST_F(ObjectManagement, UnknownAttributeIsRefused)
{
    CK_ATTRIBUTE entry = {CKA_URL, nullptr, 5};
    EXPECT_EQ(C_GetAttributeValue(m_hSession, kEncCertificate, &entry, 1), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(entry.ulValueLen, ~0UL);
    EXPECT_THAT(Log(), Contains("WARNING attribute not found"));
}

TEST_F(ObjectManagement, FirstErrorDoesNotEndTheTemplate)
{
    std::array<char, 4> small = {};
    CK_OBJECT_CLASS objectClass = 99;
    std::array<CK_ATTRIBUTE, 3> entries = {{{CKA_LABEL, small.data(), small.size()},
                                            {CKA_URL, nullptr, 0},
                                            {CKA_CLASS, &objectClass, sizeof(objectClass)}}};

    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, entries.data(), 3), CKR_BUFFER_TOO_SMALL);

    EXPECT_EQ(entries[0].ulValueLen, ~0UL);
    EXPECT_EQ(entries[1].ulValueLen, ~0UL);
    EXPECT_EQ(entries[2].ulValueLen, 8U);
    EXPECT_EQ(objectClass, CKO_DATA);
}

TEST_F(ObjectManagement, EmptyValueIsAskedOfTheTokenAndReadFromTheCard)
{
    // The object tries, then the token, which asks the object again: two roads, both fail here.
    m_Reader.Expect(kSelectDf, "6A82").Expect(kSelectDf, "6A82");
    CK_ATTRIBUTE entry = {CKA_VALUE, nullptr, 4711};

    EXPECT_EQ(C_GetAttributeValue(m_hSession, kEncCertificate, &entry, 1), CKR_OK);

    EXPECT_EQ(entry.ulValueLen, 0U);
}

TEST_F(ObjectManagement, DataObjectIsReadFromTheCardOnce)
{
    ExpectFirstRead(m_Reader, Bytes("data"));
    std::string value(10, '.');
    CK_ATTRIBUTE entry = {CKA_VALUE, value.data(), value.size()};

    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, &entry, 1), CKR_OK);
    EXPECT_EQ(value, "data......");
    EXPECT_EQ(entry.ulValueLen, 4U);

    entry.ulValueLen = value.size();
    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, &entry, 1), CKR_OK);
    EXPECT_EQ(entry.ulValueLen, 4U);
}

TEST_F(ObjectManagement, EmptyTemplateOnAGoodObjectSucceeds)
{
    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, nullptr, 0), CKR_OK);
}

TEST_F(ObjectManagement, BadObjectHandlesAreRefused)
{
    for (const CK_OBJECT_HANDLE handle : {0UL, 999UL, 1007UL, ~0UL})
    {
        ClearLog();
        EXPECT_EQ(C_GetAttributeValue(m_hSession, handle, nullptr, 0), CKR_OBJECT_HANDLE_INVALID);
        EXPECT_EQ(C_SetAttributeValue(m_hSession, handle, nullptr, 0), CKR_OBJECT_HANDLE_INVALID);
        EXPECT_THAT(Log(), Contains("ERROR CardObject is NULL").Times(2));
    }
}

TEST_F(ObjectManagement, SettingAttributesReachesTheToken)
{
    CK_ATTRIBUTE changePin = {CKA_SECONDARY_AUTH, nullptr, 0};
    m_Token.ChangePinResult = CKR_PIN_INCORRECT;
    EXPECT_EQ(C_SetAttributeValue(m_hSession, kSigPrivateKey, &changePin, 1), CKR_PIN_INCORRECT);
    EXPECT_THAT(m_Token.Calls, ElementsAre("ChangePin 1"));
    EXPECT_EQ(C_SetAttributeValue(m_hSession, kData, nullptr, 0), CKR_OK);
}

TEST_F(ObjectManagement, NothingIsComposedWhileTheLogIsClosed)
{
    CloseLog();
    CK_BBOOL bToken = 0;
    CK_ATTRIBUTE entry = {CKA_TOKEN, &bToken, 1};
    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, &entry, 1), CKR_OK);
    EXPECT_EQ(bToken, CK_TRUE);
}

TEST_F(ObjectManagement, BeforeInitialisationNothingWorks)
{
    bCryptokiInitialized = 0;
    CK_OBJECT_HANDLE handle = 0;
    unsigned long count = 0;
    EXPECT_EQ(FindInit(), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_FindObjects(m_hSession, &handle, 1, &count), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_FindObjectsFinal(m_hSession), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_GetAttributeValue(m_hSession, kData, nullptr, 0), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(C_SetAttributeValue(m_hSession, kData, nullptr, 0), CKR_CRYPTOKI_NOT_INITIALIZED);
}

namespace
{

struct CodePair
{
    CK_RV current;
    CK_RV next;
    CK_RV result;
};

// A template's result so far, the code of one more entry, and the result then.
constexpr CodePair kPrecedence[] = {
    {CKR_OK, CKR_OK, CKR_OK},
    {CKR_OK, CKR_BUFFER_TOO_SMALL, CKR_BUFFER_TOO_SMALL},
    {CKR_ATTRIBUTE_TYPE_INVALID, CKR_BUFFER_TOO_SMALL, CKR_BUFFER_TOO_SMALL},
    {CKR_ATTRIBUTE_SENSITIVE, CKR_BUFFER_TOO_SMALL, CKR_BUFFER_TOO_SMALL},
    {CKR_OK, CKR_ATTRIBUTE_TYPE_INVALID, CKR_ATTRIBUTE_TYPE_INVALID},
    {CKR_BUFFER_TOO_SMALL, CKR_ATTRIBUTE_TYPE_INVALID, CKR_BUFFER_TOO_SMALL},
    {CKR_ATTRIBUTE_SENSITIVE, CKR_ATTRIBUTE_TYPE_INVALID, CKR_ATTRIBUTE_TYPE_INVALID},
    {CKR_OK, CKR_ATTRIBUTE_SENSITIVE, CKR_ATTRIBUTE_SENSITIVE},
    {CKR_BUFFER_TOO_SMALL, CKR_ATTRIBUTE_SENSITIVE, CKR_BUFFER_TOO_SMALL},
    {CKR_ATTRIBUTE_TYPE_INVALID, CKR_ATTRIBUTE_SENSITIVE, CKR_ATTRIBUTE_TYPE_INVALID},
    {CKR_OK, CKR_FUNCTION_FAILED, CKR_OK},
    {CKR_OK, CKR_PIN_INCORRECT, CKR_OK},
    {CKR_BUFFER_TOO_SMALL, CKR_FUNCTION_FAILED, CKR_BUFFER_TOO_SMALL},
    {CKR_ATTRIBUTE_SENSITIVE, CKR_OK, CKR_ATTRIBUTE_SENSITIVE},
};

CK_RV ResultOf(std::initializer_list<CK_RV> codes)
{
    CK_RV rv = CKR_OK;
    for (const CK_RV code : codes)
    {
        rv = Session::updateReturnCode(rv, code);
    }
    return rv;
}

} // namespace

TEST(UpdateReturnCode, FollowsThePrecedence)
{
    for (const CodePair& row : kPrecedence)
    {
        EXPECT_EQ(Session::updateReturnCode(row.current, row.next), row.result)
            << row.current << " " << row.next;
    }
}

TEST(UpdateReturnCode, TemplatesOfSeveralFailures)
{
    EXPECT_EQ(ResultOf({CKR_BUFFER_TOO_SMALL, CKR_ATTRIBUTE_TYPE_INVALID, CKR_ATTRIBUTE_SENSITIVE}),
              CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(ResultOf({CKR_ATTRIBUTE_SENSITIVE, CKR_ATTRIBUTE_TYPE_INVALID}), CKR_ATTRIBUTE_TYPE_INVALID);
    EXPECT_EQ(ResultOf({CKR_ATTRIBUTE_TYPE_INVALID, CKR_ATTRIBUTE_SENSITIVE}), CKR_ATTRIBUTE_TYPE_INVALID);
}
