// The module with a card, where the PIN comes from the dialog program.

#include "tests/cryptoki/CardFixture.h"
#include "tests/support/TextFile.h"

namespace
{

using testing::ElementsAre;
using testing::StartsWith;

/** A scripted dialog program on PATH. */
class ModuleDialog : public CardFixture
{
protected:
    ModuleDialog() { Answer(""); }

    /** What the user does, a line for each dialog. */
    void Answer(const std::string& script) { WriteText(m_Directory.File("script"), script); }
    [[nodiscard]] std::vector<std::string> Dialogs() const { return ReadLines(m_Directory.File("log")); }

private:
    TemporaryDirectory m_Directory;
    ScopedEnvironment m_Path{"PATH", KMARK_SCRIPTED_P11GUI_DIRECTORY ":/usr/bin:/bin"};
    ScopedEnvironment m_Script{"KMARK_P11GUI_SCRIPT", m_Directory.File("script").c_str()};
    ScopedEnvironment m_Log{"KMARK_P11GUI_LOG", m_Directory.File("log").c_str()};
};

} // namespace

TEST_F(ModuleDialog, SignatureKeyAsksForItsPinAndEndsThePublicView)
{
    Answer("pin1 answer 123456\n");
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(SignInit(session, CKM_ECDSA_SHA1, kSigPrivateKey), CKR_OK);
    Bytes signature;

    ASSERT_EQ(Sign(session, "text to be signed", signature), CKR_OK);

    EXPECT_THAT(Dialogs(), ElementsAre(StartsWith("pin1 min 6 max 6")));
    EXPECT_EQ(signature.size(), 48U);
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
    EXPECT_FALSE(m_Card->PinNamed("signature").IsVerified());
    const Bytes certificate = Attribute(session, kSigCertificate, CKA_VALUE).value_or(Bytes());
    EXPECT_TRUE(OpenSslVerifies(certificate, "SHA1", "text to be signed", DerOfRawPair(signature)));
}

TEST_F(ModuleDialog, EncryptionKeyWithoutALoginAsksForOneSignature)
{
    Answer("pin0 answer 1234\n");
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(SignInit(session), CKR_OK);
    Bytes signature;

    EXPECT_EQ(Sign(session, "data", signature), CKR_OK);

    EXPECT_THAT(Dialogs(), ElementsAre(StartsWith("pin0 min 4 max 4")));
    EXPECT_EQ(signature.size(), 192U);
    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
}

TEST_F(ModuleDialog, LoginWithoutAPinOpensTheDialog)
{
    Answer("pin0 answer 1234\n");
    const CK_SESSION_HANDLE session = Open();
    EXPECT_EQ(P11().C_Login(session, CKU_USER, nullptr, 0), CKR_OK);
    EXPECT_EQ(StateOf(session), CKS_RO_USER_FUNCTIONS);
}

TEST_F(ModuleDialog, CancelledDialogEndsTheSignature)
{
    Answer("pin1 cancel\n");
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(Login(session), CKR_OK);
    ASSERT_EQ(SignInit(session, CKM_ECDSA, kSigPrivateKey), CKR_OK);
    Bytes signature;

    EXPECT_EQ(Sign(session, std::string(20, 'd'), signature), CKR_FUNCTION_FAILED);

    EXPECT_EQ(StateOf(session), CKS_RO_PUBLIC_SESSION);
    EXPECT_EQ(Sign(session, "data", signature), CKR_OPERATION_NOT_INITIALIZED);
    EXPECT_EQ(m_Card->PinNamed("signature").TriesLeft(), 3U);
}

TEST_F(ModuleDialog, WrongPinInTheDialogPassesThrough)
{
    Answer("pin1 answer 999999\n");
    const CK_SESSION_HANDLE session = Open();
    ASSERT_EQ(SignInit(session, CKM_ECDSA, kSigPrivateKey), CKR_OK);
    Bytes signature;
    EXPECT_EQ(Sign(session, std::string(20, 'd'), signature), CKR_PIN_INCORRECT);
    EXPECT_EQ(m_Card->PinNamed("signature").TriesLeft(), 2U);
}
