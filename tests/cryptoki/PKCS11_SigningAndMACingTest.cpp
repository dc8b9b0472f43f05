#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"

#include <new>
#include <stdexcept>

namespace
{

using testing::Contains;
using testing::ElementsAre;
using testing::Not;

class Signing : public CryptokiFixture
{
protected:
    Signing() : m_hSession(Open())
    {
        m_Token.OnSignature = [this](HashAlgorithm hash, PaddingType padding, const Norvik::ByteArray& digest,
                                     Norvik::ByteArray& signature) {
            m_SignedHash = hash;
            m_SignedPadding = padding;
            m_Signed = Text(digest);
            signature = Bytes(std::string(20, 's'));
            return CKR_OK;
        };
        ClearLog();
    }

    CK_RV Sign(std::string data = "digest")
    {
        return C_Sign(m_hSession, Data(data), data.size(), Data(m_Buffer), &m_Length);
    }
    CK_RV Update(std::string data) { return C_SignUpdate(m_hSession, Data(data), data.size()); }
    CK_RV Final() { return C_SignFinal(m_hSession, Data(m_Buffer), &m_Length); }

    const CK_SESSION_HANDLE m_hSession;
    std::string m_Buffer = std::string(64, '.');
    unsigned long m_Length = 64;
    HashAlgorithm m_SignedHash = HashAny;
    PaddingType m_SignedPadding = PkcsPSS;
    std::string m_Signed;
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
    {"HandleFive", 5, CKM_RSA_PKCS, CKR_OBJECT_HANDLE_INVALID,
     "ERROR SignInit received invalid object handle: 5"},
    {"PublicKey", 1001, CKM_RSA_PKCS, CKR_ARGUMENTS_BAD, "ERROR object handle is no private key"},
    {"Certificate", 1000, CKM_RSA_PKCS, CKR_ARGUMENTS_BAD, "ERROR object handle is no private key"},
    {"MechanismThatTheKeyLacks", 1005, CKM_RSA_PKCS, CKR_MECHANISM_INVALID,
     "ERROR invalid mechanism for object handle"},
    // The key has it in its list, the module can't do it.
    {"MechanismThatTheModuleLacks", 1002, CKM_MD5_RSA_PKCS, CKR_MECHANISM_INVALID,
     "ERROR invalid mechanism for object handle"},
};
class SignInitRefusal : public Signing, public testing::WithParamInterface<InitCase>
{};

} // namespace

TEST_P(SignInitRefusal, GivesCodeAndLineAndStaysIdle)
{
    EXPECT_EQ(SignInit(m_hSession, GetParam().mechanism, GetParam().key), GetParam().rv);
    EXPECT_THAT(Log(), Contains(GetParam().line));
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(SignInit(m_hSession), CKR_OK);
}
INSTANTIATE_TEST_SUITE_P(All, SignInitRefusal, testing::ValuesIn(kInitRefusals),
                         [](const auto& row) { return row.param.name; });

TEST_F(Signing, SignatureIsMadeOnTheCardAndHandedOut)
{
    ASSERT_EQ(Login(m_hSession), CKR_OK);
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    m_Token.Calls.clear();

    EXPECT_EQ(Sign("ready made digest"), CKR_OK);

    EXPECT_THAT(m_Token.Calls, ElementsAre("DoSignatureEnc"));
    EXPECT_EQ(m_Signed, "ready made digest");
    EXPECT_EQ(m_SignedHash, HashNone);
    EXPECT_EQ(m_SignedPadding, PaddingNone);
    EXPECT_EQ(m_Length, 20U);
    EXPECT_EQ(m_Buffer, std::string(20, 's') + std::string(44, '.'));
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Signing, HashingMechanismHandsTheDigestToTheCard)
{
    ASSERT_EQ(SignInit(m_hSession, CKM_SHA256_RSA_PKCS), CKR_OK);
    ASSERT_EQ(Sign("abc"), CKR_OK);
    EXPECT_EQ(ToHex(Bytes(m_Signed)), "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD");
    EXPECT_EQ(m_SignedHash, HashSha256);
    EXPECT_EQ(m_SignedPadding, PaddingPkcs1);
}

TEST_F(Signing, SizeQueryAnswers256AndTheOperationGoesOn)
{
    for (const CK_OBJECT_HANDLE key : {kEncPrivateKey, kSigPrivateKey})
    {
        ASSERT_EQ(SignInit(m_hSession, key == kEncPrivateKey ? CKM_RSA_PKCS : CKM_ECDSA, key), CKR_OK);
        std::string data = "data";
        unsigned long length = 0;
        EXPECT_EQ(C_Sign(m_hSession, Data(data), data.size(), nullptr, &length), CKR_OK);
        EXPECT_EQ(length, 256U);
        // Nothing was kept of the query's data.
        EXPECT_EQ(Sign("digest"), CKR_OK);
        EXPECT_EQ(m_Signed, "digest");
        m_Length = 64;
    }
}

TEST_F(Signing, SmallBufferEndsTheOperationAndKeepsTheLength)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    m_Length = 10;

    EXPECT_EQ(Sign(), CKR_BUFFER_TOO_SMALL);

    EXPECT_EQ(m_Length, 10U);
    EXPECT_EQ(m_Buffer, std::string(64, '.'));
    EXPECT_THAT(Log(), Contains("ERROR buffer to small"));
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Signing, BufferOfTheExactLengthSuffices)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    m_Length = 20;
    EXPECT_EQ(Sign(), CKR_OK);
}

TEST_F(Signing, UpdatesAreCollected)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    EXPECT_EQ(Update("one "), CKR_OK);
    EXPECT_EQ(Update("two"), CKR_OK);
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(m_Signed, "one two");
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Signing, EveryCallWithoutInitIsRefused)
{
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(Update("x"), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_THAT(Log(), Contains("ERROR C_SignInit has not been called").Times(3));
}

TEST_F(Signing, FinalWithoutUpdateEndsTheOperation)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_THAT(Log(), Contains("ERROR C_SignUpdate has not been called"));
    EXPECT_EQ(Update("x"), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Signing, SignAfterUpdateIsRefusedAndTheOperationGoesOn)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("begun"), CKR_OK);
    EXPECT_EQ(Sign(), CKR_FUNCTION_FAILED);
    EXPECT_THAT(Log(), Contains("ERROR Cannot call C_Sign after C_SignUpdate"));
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(m_Signed, "begun");
}

TEST_F(Signing, SecondInitIsRefusedAndTheFirstStays)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("kept"), CKR_OK);
    EXPECT_EQ(SignInit(m_hSession), CKR_OPERATION_ACTIVE);
    EXPECT_THAT(Log(), Contains("ERROR A sign operation is already active"));
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(m_Signed, "kept");
}

TEST_F(Signing, RefusedMechanismOfTheModuleReplacesTheDataOfADigest)
{
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    ASSERT_EQ(SignInit(m_hSession, CKM_MD5_RSA_PKCS), CKR_MECHANISM_INVALID);
    // What is there now belongs to no digest.
    EXPECT_EQ(C_DigestFinal(m_hSession, Data(m_Buffer), &m_Length), CKR_MECHANISM_INVALID);
}

TEST_F(Signing, DigestInitDuringASignatureTakesItsKey)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("data"), CKR_OK);
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    EXPECT_EQ(Final(), CKR_FUNCTION_FAILED);
    EXPECT_THAT(Log(), Contains("ERROR invalid object selected"));
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Signing, FailureOfTheCardGoesNoFurther)
{
    m_Token.OnSignature = [](HashAlgorithm, PaddingType, const Norvik::ByteArray&, Norvik::ByteArray&) {
        return 3UL;
    };
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    EXPECT_EQ(Sign(), CKR_FUNCTION_FAILED);
    EXPECT_THAT(Log(), Contains("ERROR error in sign"));
    EXPECT_EQ(m_Length, 64U);
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Signing, KeyOfTheLoginAsksForNoPinAndKeepsTheLogin)
{
    ASSERT_EQ(Login(m_hSession), CKR_OK);
    m_Token.Calls.clear();
    for (int i = 0; i < 2; ++i)
    {
        ASSERT_EQ(SignInit(m_hSession), CKR_OK);
        EXPECT_EQ(Sign(), CKR_OK);
        m_Length = 64;
    }
    EXPECT_THAT(m_Token.Calls, ElementsAre("DoSignatureEnc", "DoSignatureEnc"));
    EXPECT_EQ(StateOf(m_hSession), CKS_RO_USER_FUNCTIONS);
}

TEST_F(Signing, KeyWithoutALoginLogsInForOneSignature)
{
    const CK_SESSION_HANDLE second = Open();
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray& pin, unsigned long*) {
        EXPECT_TRUE(pin.empty());
        return CKR_OK;
    };
    m_Token.OnSignature = [&](HashAlgorithm, PaddingType, const Norvik::ByteArray&, Norvik::ByteArray&) {
        EXPECT_EQ(StateOf(second), CKS_RO_USER_FUNCTIONS);
        return CKR_OK;
    };
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);

    EXPECT_EQ(Sign(), CKR_OK);

    EXPECT_THAT(m_Token.Calls, ElementsAre("DeauthenticatePin 3", "AuthenticatePin 0", "DoSignatureEnc",
                                           "DeauthenticatePin 0"));
    EXPECT_EQ(StateOf(m_hSession), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(StateOf(second), CKS_RO_PUBLIC_SESSION);
}

TEST_F(Signing, SignatureKeyOnALoginToTheOtherApplicationAsksForItsPinAndEndsPublic)
{
    ASSERT_EQ(Login(m_hSession), CKR_OK);
    ASSERT_EQ(SignInit(m_hSession, CKM_ECDSA, kSigPrivateKey), CKR_OK);
    m_Token.Calls.clear();

    EXPECT_EQ(Sign(), CKR_OK);

    EXPECT_THAT(m_Token.Calls, ElementsAre("DeauthenticatePin 0", "AuthenticatePin 1", "DoSignatureSig",
                                           "DeauthenticatePin 1"));
    EXPECT_EQ(StateOf(m_hSession), CKS_RO_PUBLIC_SESSION);
}

TEST_F(Signing, FailedSignatureEndsTheImplicitLoginToo)
{
    m_Token.OnSignature = [](HashAlgorithm, PaddingType, const Norvik::ByteArray&, Norvik::ByteArray&) {
        return 3UL;
    };
    ASSERT_EQ(SignInit(m_hSession, CKM_ECDSA, kSigPrivateKey), CKR_OK);
    EXPECT_EQ(Sign(), CKR_FUNCTION_FAILED);
    EXPECT_EQ(m_Token.Calls.back(), "DeauthenticatePin 1");
    EXPECT_EQ(StateOf(m_hSession), CKS_RO_PUBLIC_SESSION);
}

TEST_F(Signing, FailedImplicitLoginGivesItsCodeAndMakesNoSignature)
{
    ASSERT_EQ(Login(m_hSession), CKR_OK);
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&, unsigned long*) {
        return CKR_PIN_INCORRECT;
    };
    ASSERT_EQ(SignInit(m_hSession, CKM_ECDSA, kSigPrivateKey), CKR_OK);
    m_Token.Calls.clear();

    EXPECT_EQ(Sign(), CKR_PIN_INCORRECT);

    EXPECT_THAT(m_Token.Calls,
                ElementsAre("DeauthenticatePin 0", "AuthenticatePin 1", "DeauthenticatePin 3"));
    EXPECT_EQ(StateOf(m_hSession), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(Signing, SmallBufferAlsoEndsTheImplicitLogin)
{
    ASSERT_EQ(SignInit(m_hSession, CKM_ECDSA, kSigPrivateKey), CKR_OK);
    m_Length = 1;
    EXPECT_EQ(Sign(), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(m_Token.Calls.back(), "DeauthenticatePin 1");
}

TEST_F(Signing, MissingTokenRefusesAndFinalEndsTheOperation)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    ASSERT_EQ(Update("data"), CKR_OK);
    DropToken();
    EXPECT_EQ(SignInit(m_hSession), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Update("more"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Sign(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Final(), CKR_SESSION_HANDLE_INVALID);
    // The flag is looked at before the token.
    EXPECT_EQ(Final(), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
}

/** Between two looks at the token it may leave; whatever comes out, the slot ends public. */
TEST_F(Signing, TokenThatLeavesDuringASignatureEndsItWithTheCodeOfAMissingOne)
{
    for (unsigned int lookUps = 1; lookUps <= 7; ++lookUps)
    {
        FakeSlots::Instance().tokensLeaveAt = 0;
        ASSERT_EQ(SignInit(m_hSession), CKR_OK);
        FakeSlots::Instance().tokenLookUps = 0;
        FakeSlots::Instance().tokensLeaveAt = lookUps;
        EXPECT_EQ(Sign(), CKR_SESSION_HANDLE_INVALID) << lookUps;
        EXPECT_EQ(StateOf(m_hSession), CKS_RO_PUBLIC_SESSION) << lookUps;
        FakeSlots::Instance().tokensLeaveAt = 0;
        m_Length = 64;
        Final(); // at a leave before the operation's own end
    }
}

TEST_F(Signing, ExceptionEndsOperationAndImplicitLogin)
{
    m_Token.OnSignature = [](HashAlgorithm, PaddingType, const Norvik::ByteArray&,
                             Norvik::ByteArray&) -> unsigned long { throw std::bad_alloc(); };
    ASSERT_EQ(SignInit(m_hSession, CKM_ECDSA, kSigPrivateKey), CKR_OK);

    EXPECT_THROW(Sign(), std::bad_alloc);

    EXPECT_EQ(StateOf(m_hSession), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(Sign(), CKR_OPERATION_NOT_INITIALIZED);
    // The next signature asks for the PIN again.
    m_Token.OnSignature = [](HashAlgorithm, PaddingType, const Norvik::ByteArray&, Norvik::ByteArray&) {
        return CKR_OK;
    };
    ASSERT_EQ(SignInit(m_hSession, CKM_ECDSA, kSigPrivateKey), CKR_OK);
    m_Token.Calls.clear();
    EXPECT_EQ(Sign(), CKR_OK);
    EXPECT_THAT(m_Token.Calls, Contains("AuthenticatePin 1"));
}

TEST_F(Signing, ExceptionKeepsALoginThatTheCallerMade)
{
    ASSERT_EQ(Login(m_hSession), CKR_OK);
    m_Token.OnSignature = [](HashAlgorithm, PaddingType, const Norvik::ByteArray&,
                             Norvik::ByteArray&) -> unsigned long { throw std::bad_alloc(); };
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    EXPECT_THROW(Sign(), std::bad_alloc);
    EXPECT_EQ(StateOf(m_hSession), CKS_RO_USER_FUNCTIONS);
}

TEST_F(Signing, ImplicitLoginThatThrowsLeavesTheSlotPublic)
{
    m_Token.OnAuthenticatePin = [](SmartCardApplication, const Norvik::ByteArray&,
                                   unsigned long*) -> unsigned long { throw std::length_error("PIN block"); };
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    EXPECT_THROW(Sign(), std::length_error);
    EXPECT_EQ(StateOf(m_hSession), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(SignInit(m_hSession), CKR_OK);
}

TEST_F(Signing, BadHandlesAndMissingInitialisationAreTold)
{
    ASSERT_EQ(C_CloseSession(m_hSession), CKR_OK);
    EXPECT_EQ(SignInit(m_hSession), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Sign(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Update("x"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Final(), CKR_SESSION_HANDLE_INVALID);
    bCryptokiInitialized = 0;
    EXPECT_EQ(SignInit(m_hSession), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(Sign(), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(Update("x"), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_EQ(Final(), CKR_CRYPTOKI_NOT_INITIALIZED);
}

TEST_F(Signing, NeitherPinNorDataReachTheLog)
{
    ASSERT_EQ(Login(m_hSession, "8675309"), CKR_OK);
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    ASSERT_EQ(Sign("secret text"), CKR_OK);
    EXPECT_THAT(Log(), Not(Contains(testing::HasSubstr("8675309"))));
    EXPECT_THAT(Log(), Not(Contains(testing::HasSubstr("secret text"))));
}
