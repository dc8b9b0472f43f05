#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"

#include "crypto/PublicKey.h"

namespace
{

using testing::Contains;
using testing::ElementsAre;

/** The public key of the encryption application is that of the fixture's certificate. */
class Verifying : public CryptokiFixture
{
protected:
    Verifying() : m_hSession(Open()), m_Signature(Fixture("rsa1536-sha256.sig"))
    {
        m_Token.OnReadPublicKey = [this](SmartCardApplication, PublicKey* key) {
            return m_bHasKey && key->SetRsaKey(65537, FromHex(Text(Fixture("rsa1536-modulus.txt"))));
        };
        ClearLog();
    }

    CK_RV Verify(std::string data = "text to be signed")
    {
        return C_Verify(m_hSession, Data(data), data.size(), m_Signature.data(), m_Signature.size());
    }
    CK_RV Update(std::string data) { return C_VerifyUpdate(m_hSession, Data(data), data.size()); }
    CK_RV Final() { return C_VerifyFinal(m_hSession, m_Signature.data(), m_Signature.size()); }

    const CK_SESSION_HANDLE m_hSession;
    Norvik::ByteArray m_Signature;
    bool m_bHasKey = true;
};

struct InitCase
{
    const char* name;
    CK_OBJECT_HANDLE key;
    CK_MECHANISM_TYPE mechanism;
    CK_RV rv;
    const char* line;
};
constexpr InitCase kInitRefusals[] = {
    {"HandleFive", 5, CKM_RSA_PKCS, CKR_OBJECT_HANDLE_INVALID, "ERROR invalid object handle"},
    {"PrivateKey", 1002, CKM_RSA_PKCS, CKR_ARGUMENTS_BAD, "ERROR object handle is no public key"},
    {"MechanismThatTheKeyLacks", 1004, CKM_RSA_PKCS, CKR_MECHANISM_INVALID,
     "ERROR invalid mechanism for object handle"},
    {"MechanismThatTheModuleLacks", 1001, CKM_MD5_RSA_PKCS, CKR_MECHANISM_INVALID,
     "ERROR invalid mechanism for object handle"},
};
class VerifyInitRefusal : public Verifying, public testing::WithParamInterface<InitCase>
{};

} // namespace

TEST_P(VerifyInitRefusal, GivesCodeAndLineAndStaysIdle)
{
    EXPECT_EQ(VerifyInit(m_hSession, GetParam().mechanism, GetParam().key), GetParam().rv);
    EXPECT_THAT(Log(), Contains(GetParam().line));
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(VerifyInit(m_hSession), CKR_OK);
}
INSTANTIATE_TEST_SUITE_P(All, VerifyInitRefusal, testing::ValuesIn(kInitRefusals),
                         [](const auto& row) { return row.param.name; });

TEST_F(Verifying, GoodSignatureIsAcceptedWithoutALogin)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    EXPECT_EQ(Verify(), CKR_OK);
    EXPECT_THAT(Log(), Contains("MESSAGE Signature Verify OK"));
    EXPECT_THAT(m_Token.Calls, ElementsAre("ReadPublicKey 0"));
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Verifying, UpdatesAreCollected)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    EXPECT_EQ(Update("text to "), CKR_OK);
    EXPECT_EQ(Update("be signed"), CKR_OK);
    EXPECT_EQ(Final(), CKR_OK);
}

TEST_F(Verifying, WrongSignatureIsInvalidAndEndsTheOperation)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("another text"), CKR_OK);
    EXPECT_EQ(Final(), CKR_SIGNATURE_INVALID);
    EXPECT_THAT(Log(), Contains("ERROR Signature Verify INVALID SIGNATURE"));
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(VerifyInit(m_hSession), CKR_OK);
}

TEST_F(Verifying, CheckThatCannotRunReportsAnInvalidSignatureToo)
{
    m_bHasKey = false;
    m_Reader.Expect(kSelectDf, "6A82");
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("x"), CKR_OK);
    ClearLog();

    EXPECT_EQ(Final(), CKR_SIGNATURE_INVALID);

    EXPECT_THAT(Log(), ElementsAre("IN FUNCTION C_VerifyFinal", "ERROR error in Verify",
                                   "ERROR Signature Verify INVALID SIGNATURE",
                                   "OUT FUNCTION C_VerifyFinal returns CKR_SIGNATURE_INVALID"));
}

TEST_F(Verifying, FinalNeedsNoUpdate)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    EXPECT_EQ(Final(), CKR_SIGNATURE_INVALID); // of the empty text
}

TEST_F(Verifying, EmptySignatureIsInvalid)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    EXPECT_EQ(C_VerifyFinal(m_hSession, nullptr, 0), CKR_SIGNATURE_INVALID);
}

TEST_F(Verifying, EveryCallWithoutInitIsRefusedInItsOwnWords)
{
    EXPECT_EQ(Update("x"), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_THAT(Log(), Contains("ERROR C_VerifyInit has not been called"));
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_THAT(Log(), Contains("ERROR C_VerifyObjectsInit has not been called"));
    EXPECT_EQ(Verify(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Verifying, SecondInitIsRefused)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    EXPECT_EQ(VerifyInit(m_hSession), CKR_OPERATION_ACTIVE);
    EXPECT_THAT(Log(), Contains("ERROR A verify operation is already active"));
}

TEST_F(Verifying, KeyThatADigestTookAwayLeavesTheOperationActive)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    EXPECT_EQ(Final(), CKR_FUNCTION_FAILED);
    EXPECT_THAT(Log(), Contains("ERROR invalid object selected"));
    EXPECT_EQ(Final(), CKR_FUNCTION_FAILED);
    EXPECT_EQ(VerifyInit(m_hSession), CKR_OPERATION_ACTIVE);
}

TEST_F(Verifying, SignAndVerifyAreSeparateOperationsOverOneBuffer)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("lost"), CKR_OK);
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("text"), CKR_OK); // goes to the buffer of the signature now
    std::string buffer(64, '.');
    unsigned long length = buffer.size();
    std::string given;
    m_Token.OnSignature = [&](HashAlgorithm, PaddingType, const Norvik::ByteArray& digest,
                              Norvik::ByteArray&) {
        given = Text(digest);
        return CKR_OK;
    };
    std::string data = " signed";
    ASSERT_EQ(C_SignUpdate(m_hSession, Data(data), data.size()), CKR_OK);
    EXPECT_EQ(C_SignFinal(m_hSession, Data(buffer), &length), CKR_OK);
    EXPECT_EQ(given, "text signed");
}

TEST_F(Verifying, MissingTokenRefusesAndKeepsTheOperation)
{
    ASSERT_EQ(VerifyInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("text to be signed"), CKR_OK);
    DropToken();
    EXPECT_EQ(VerifyInit(m_hSession), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Update("more"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Verify(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Final(), CKR_SESSION_HANDLE_INVALID);
    FakeSlots::Instance().slots[kSlot].token = &m_Token;
    EXPECT_EQ(Final(), CKR_OK);
}

TEST_F(Verifying, BadHandlesAndMissingInitialisationAreTold)
{
    ASSERT_EQ(C_CloseSession(m_hSession), CKR_OK);
    EXPECT_EQ(VerifyInit(m_hSession), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Verify(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Update("x"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Final(), CKR_SESSION_HANDLE_INVALID);
    bCryptokiInitialized = 0;
    EXPECT_EQ(VerifyInit(m_hSession), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(Verify(), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(Update("x"), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(Final(), CKR_CRYPTOKI_NOT_INITIALIZED);
}
