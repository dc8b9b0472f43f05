// Login, signatures, digests and raw commands, through the exported functions of the built shared object.

#include "tests/cryptoki/CardFixture.h"

#include "simulator/cards/Acos03.h"

#include <array>
#include <filesystem>
#include <stdexcept>
#include <thread>

namespace
{

using testing::ElementsAre;

class ModuleOperations : public CardFixture
{};

std::size_t ThreadCount()
{
    std::size_t count = 0;
    for ([[maybe_unused]] const auto& entry : std::filesystem::directory_iterator("/proc/self/task"))
    {
        ++count;
    }
    return count;
}

} // namespace

// Login.

TEST_F(ModuleOperations, UserTypeMakesNoDifference)
{
    const CK_SESSION_HANDLE session = Open();
    std::string pin = "1234";
    EXPECT_EQ(P11().C_Login(session, CKU_SO, reinterpret_cast<unsigned char*>(pin.data()), pin.size()),
              CKR_OK);
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
    EXPECT_TRUE(m_Card->PinNamed("encryption").IsVerified());
}

TEST_F(ModuleOperations, LoginIsThatOfTheSlot)
{
    const CK_SESSION_HANDLE first = Open();
    const CK_SESSION_HANDLE second = Open();
    EXPECT_EQ(Login(first), CKR_OK);
    EXPECT_EQ(Login(first), CKR_OK);
    EXPECT_EQ(StateOf(second), CKS_RO_USER_FUNCTIONS);
    EXPECT_EQ(StateOf(Open()), CKS_RO_USER_FUNCTIONS);

    EXPECT_EQ(Login(second, "9999"), CKR_PIN_INCORRECT);
    EXPECT_EQ(StateOf(first), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(m_Card->PinNamed("encryption").TriesLeft(), 9U);

    EXPECT_EQ(P11().C_Logout(first), CKR_OK);
}

TEST_F(ModuleOperations, LogoutLeavesOtherSlotsAlone)
{
    m_World.Insert(kEmptySlot, Simulator::MakeAcos03());
    const CK_SESSION_HANDLE session = Open(kSlot);
    const CK_SESSION_HANDLE other = Open(kEmptySlot);
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(Login(other), CKR_OK);
    EXPECT_EQ(P11().C_Logout(session), CKR_OK);
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(StateOf(other), CKS_RO_USER_FUNCTIONS);
}

TEST_F(ModuleOperations, LastTryShowsInTheTokenFlags)
{
    m_Card->PinNamed("encryption").SetTriesLeft(2);
    EXPECT_EQ(Login(Open(), "9999"), CKR_PIN_INCORRECT);
    CK_TOKEN_INFO info = {};
    ASSERT_EQ(P11().C_GetTokenInfo(kSlot, &info), CKR_OK);
    EXPECT_EQ(info.flags, 0x3050EU);
    EXPECT_EQ(Login(42125), CKR_OK);
    ASSERT_EQ(P11().C_GetTokenInfo(kSlot, &info), CKR_OK);
    EXPECT_EQ(info.flags, 0x50EU);
}

/** A PIN longer than its block ends in the standard length error, which leaves through the module. */
TEST_F(ModuleOperations, OverlongPinLeavesAsAnExceptionAndTheModuleGoesOn)
{
    const CK_SESSION_HANDLE session = Open();
    EXPECT_THROW(Login(session, "123456789"), std::length_error);
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(m_Card->PinNamed("encryption").TriesLeft(), 10U);
    EXPECT_EQ(Login(session), CKR_OK);
    EXPECT_EQ(m_Pcsc->CountOf("SCardBeginTransaction"), m_Pcsc->CountOf("SCardEndTransaction"));
}

// Signatures.

struct SignatureCase
{
    const char* name;
    CK_MECHANISM_TYPE mechanism;
    const char* digest;
};
constexpr SignatureCase kSignatures[] = {
    {"Sha1", CKM_SHA1_RSA_PKCS, "SHA1"},
    {"Sha256", CKM_SHA256_RSA_PKCS, "SHA256"},
    {"Sha384", CKM_SHA384_RSA_PKCS, "SHA384"},
};
class ModuleSignature : public CardFixture, public testing::WithParamInterface<SignatureCase>
{};

TEST_P(ModuleSignature, IsTakenByOpenSslAndByTheModule)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(SignInit(session, GetParam().mechanism), CKR_OK);
    Bytes signature;
    ASSERT_EQ(Sign(session, "text to be signed", signature), CKR_OK);

    EXPECT_EQ(signature.size(), 192U);
    const Bytes certificate = Attribute(session, kEncCertificate, CKA_VALUE).value_or(Bytes());
    EXPECT_TRUE(OpenSslVerifies(certificate, GetParam().digest, "text to be signed", signature));

    std::string data = "text to be signed";
    auto* const bytes = reinterpret_cast<unsigned char*>(data.data());
    ASSERT_EQ(VerifyInit(session, GetParam().mechanism), CKR_OK);
    EXPECT_EQ(P11().C_Verify(session, bytes, data.size(), signature.data(), signature.size()), CKR_OK);
    signature[0] ^= 1;
    ASSERT_EQ(VerifyInit(session, GetParam().mechanism), CKR_OK);
    EXPECT_EQ(P11().C_Verify(session, bytes, data.size(), signature.data(), signature.size()),
              CKR_SIGNATURE_INVALID);
    EXPECT_EQ(P11().C_VerifyFinal(session, signature.data(), signature.size()),
              CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
}
INSTANTIATE_TEST_SUITE_P(All, ModuleSignature, testing::ValuesIn(kSignatures),
                         [](const auto& row) { return row.param.name; });

TEST_F(ModuleOperations, LoginServesAnyNumberOfSignatures)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    for (int i = 0; i < 3; ++i)
    {
        ASSERT_EQ(SignInit(session), CKR_OK);
        CommandsSince();
        Bytes signature;
        EXPECT_EQ(Sign(session, "data", signature), CKR_OK);
        EXPECT_EQ(CommandsSince(), 2U);
    }
}

TEST_F(ModuleOperations, SizeQueryAnswers256AndTheSignatureFollows)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(SignInit(session), CKR_OK);
    CK_ULONG length = 0;
    EXPECT_EQ(P11().C_Sign(session, nullptr, 0, nullptr, &length), CKR_OK);
    EXPECT_EQ(length, 256U);
    Bytes signature;
    EXPECT_EQ(Sign(session, "data", signature), CKR_OK);
    EXPECT_EQ(signature.size(), 192U);
}

TEST_F(ModuleOperations, SmallBufferSpendsTheSignature)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(SignInit(session), CKR_OK);
    std::array<unsigned char, 10> small = {};
    CK_ULONG length = small.size();
    EXPECT_EQ(P11().C_Sign(session, small.data(), small.size(), small.data(), &length), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 10U);
    EXPECT_EQ(P11().C_Sign(session, small.data(), small.size(), small.data(), &length),
              CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(ModuleOperations, SignFinalWithoutUpdateEndsTheOperation)
{
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(SignInit(session), CKR_OK);
    std::array<unsigned char, 256> buffer = {};
    CK_ULONG length = buffer.size();
    EXPECT_EQ(P11().C_SignFinal(session, buffer.data(), &length), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(P11().C_SignUpdate(session, buffer.data(), 1), CKR_OPERATION_NOT_INITIALIZED);
}

TEST_F(ModuleOperations, WrongKeysAreRefused)
{
    const CK_SESSION_HANDLE session = Open();
    EXPECT_EQ(SignInit(session, CKM_RSA_PKCS, kEncPublicKey), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(VerifyInit(session, CKM_RSA_PKCS, kEncPrivateKey), CKR_ARGUMENTS_BAD);
    EXPECT_EQ(SignInit(session, CKM_RSA_PKCS, 5), CKR_OBJECT_HANDLE_INVALID);
    EXPECT_EQ(SignInit(session, CKM_SHA512_RSA_PKCS), CKR_MECHANISM_INVALID);
}

TEST_F(ModuleOperations, DigestsFollowTheirStates)
{
    const CK_SESSION_HANDLE session = Open();
    std::string data = "abc";
    auto* const bytes = reinterpret_cast<unsigned char*>(data.data());
    std::array<unsigned char, 64> digest = {};
    CK_ULONG length = digest.size();
    EXPECT_EQ(P11().C_DigestUpdate(session, bytes, 3), CKR_FUNCTION_FAILED);
    CK_MECHANISM mechanism = {CKM_MD2, nullptr, 0};
    EXPECT_EQ(P11().C_DigestInit(session, &mechanism), CKR_MECHANISM_INVALID);
    EXPECT_EQ(P11().C_DigestUpdate(session, bytes, 3), CKR_OK);
    EXPECT_EQ(P11().C_DigestFinal(session, digest.data(), &length), CKR_MECHANISM_INVALID);
    mechanism.mechanism = CKM_RIPEMD160;
    EXPECT_EQ(P11().C_DigestInit(session, &mechanism), CKR_OK);
    EXPECT_EQ(P11().C_Digest(session, bytes, 3, digest.data(), &length), CKR_OK);
    EXPECT_EQ(length, 20U);
    EXPECT_EQ(digest[0], 0x8E); // of "abc", as its authors print it
    EXPECT_EQ(digest[19], 0xFC);
    length = digest.size();
    EXPECT_EQ(P11().C_DigestFinal(session, digest.data(), &length), CKR_OK);
    EXPECT_EQ(digest[0], 0x9C); // of the empty text
    EXPECT_EQ(digest[19], 0x31);
}

// The card itself.

TEST_F(ModuleOperations, RawCommandsReachTheCard)
{
    const CK_SESSION_HANDLE session = Open();
    std::array<unsigned char, 7> select = {0x00, 0xA4, 0x00, 0x0C, 0x02, 0x3F, 0x00};
    std::array<unsigned char, 2> response = {};
    CK_ULONG length = 1;
    EXPECT_EQ(F().C_CardTransmit(session, select.data(), select.size(), response.data(), &length),
              CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(length, 2U);
    EXPECT_EQ(F().C_CardTransmit(session, select.data(), select.size(), response.data(), &length), CKR_OK);
    EXPECT_THAT(response, ElementsAre(0x90, 0x00));
}

TEST_F(ModuleOperations, NamedAttributesAnswer)
{
    const auto cardAttribute =
        FunctionNamed<CK_RV (*)(unsigned long, unsigned char*, unsigned char*, unsigned long*)>(
            "_Z15C_CardAttributemPhS_Pm");
    const CK_SESSION_HANDLE session = Open();
    std::string name = "ATR";
    Bytes value(64);
    CK_ULONG length = value.size();
    EXPECT_EQ(cardAttribute(session, reinterpret_cast<unsigned char*>(name.data()), value.data(), &length),
              CKR_OK);
    value.resize(length);
    EXPECT_EQ(value, m_Card->Atr());
    name = "Unknown";
    EXPECT_EQ(cardAttribute(session, reinterpret_cast<unsigned char*>(name.data()), value.data(), &length),
              CKR_FUNCTION_FAILED);
}

TEST_F(ModuleOperations, RegisterIsNotSupported)
{
    const auto registerCard =
        FunctionNamed<CK_RV (*)(unsigned long, long, unsigned char*, unsigned char*, unsigned long)>(
            "_Z10C_RegistermlPhS_m");
    static_cast<void>(Open());
    const CK_SESSION_HANDLE second = Open();
    EXPECT_EQ(registerCard(second, 0, nullptr, nullptr, 0), CKR_FUNCTION_NOT_SUPPORTED);
    ASSERT_EQ(P11().C_CloseSession(second), CKR_OK);
    EXPECT_EQ(registerCard(second, 0, nullptr, nullptr, 0), CKR_SESSION_HANDLE_INVALID);
}

// The module as a whole.

TEST_F(ModuleOperations, NoThreadIsStarted)
{
    const std::size_t before = ThreadCount();
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(SignInit(session), CKR_OK);
    Bytes signature;
    ASSERT_EQ(Sign(session, "data", signature), CKR_OK);
    EXPECT_EQ(ThreadCount(), before);
}

/** A slot of its own for each thread: nothing between them but the module's locks. */
TEST_F(ModuleOperations, ThreadsOnTheirOwnSlotsDoNotDisturbEachOther)
{
    m_World.Insert(kEmptySlot, Simulator::MakeAcos03());
    std::array<unsigned int, 2> signatures = {};
    const auto work = [&](CK_SLOT_ID slot) {
        for (int i = 0; i < 20; ++i)
        {
            const CK_SESSION_HANDLE session = Open(slot);
            Bytes signature;
            const bool bSigned = Login(session) == CKR_OK && SignInit(session) == CKR_OK &&
                                 Sign(session, "data", signature) == CKR_OK;
            signatures.at(slot) += bSigned ? 1U : 0U;
            P11().C_CloseSession(session);
        }
    };

    std::thread other(work, kEmptySlot);
    work(kSlot);
    other.join();

    EXPECT_THAT(signatures, ElementsAre(20, 20));
}

TEST_F(ModuleOperations, CyclesLeaveNothingBehind)
{
    for (int i = 0; i < 25; ++i)
    {
        Restart();
        ASSERT_EQ(m_Pcsc->OpenHandles(), 0U);
        ASSERT_EQ(m_Pcsc->OpenContexts(), 0U);
        ASSERT_EQ(CountSlots(), 2U);
        const CK_SESSION_HANDLE session = Open();
        ASSERT_EQ(Login(session), CKR_OK);
        ASSERT_EQ(SignInit(session), CKR_OK);
        Bytes signature;
        ASSERT_EQ(Sign(session, "data", signature), CKR_OK);
    }
}
