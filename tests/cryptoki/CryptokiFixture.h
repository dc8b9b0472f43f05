#pragma once

#include "cryptoki/Exports.h"

#include "tests/cards/TokenTestSupport.h"
#include "tests/cryptoki/FakeSlots.h"
#include "tests/support/TemporaryDirectory.h"

#include <string>
#include <vector>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

/**
 * The exported functions, initialised, over two slots with a token each and a third one without; the log is open.
 *
 * Each token has its seven objects, handles 1000 to 1006. The keys of the encryption application (public 1001,
 * private 1002) are RSA keys, those of the signature application (1004, 1005) elliptic-curve keys.
 */
class CryptokiFixture : public testing::Test
{
public:
    ~CryptokiFixture() override;

protected:
    CryptokiFixture();

    static constexpr CK_SLOT_ID kSlot = 0;
    static constexpr CK_SLOT_ID kOtherSlot = 1;
    static constexpr CK_SLOT_ID kEmptySlot = 2;

    static constexpr CK_OBJECT_HANDLE kEncCertificate = 1000;
    static constexpr CK_OBJECT_HANDLE kEncPublicKey = 1001;
    static constexpr CK_OBJECT_HANDLE kEncPrivateKey = 1002;
    static constexpr CK_OBJECT_HANDLE kSigPublicKey = 1004;
    static constexpr CK_OBJECT_HANDLE kSigPrivateKey = 1005;
    static constexpr CK_OBJECT_HANDLE kData = 1006;

    /** A new session; fails the test if there is none. */
    static CK_SESSION_HANDLE Open(CK_SLOT_ID slot = kSlot);
    static CK_STATE StateOf(CK_SESSION_HANDLE session);
    static CK_RV Login(CK_SESSION_HANDLE session, std::string pin = "1234");
    static CK_RV SignInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type = CKM_RSA_PKCS,
                          CK_OBJECT_HANDLE key = kEncPrivateKey);
    static CK_RV VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type = CKM_SHA256_RSA_PKCS,
                            CK_OBJECT_HANDLE key = kEncPublicKey);
    static CK_RV DigestInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type);

    /** The card of the slot is gone, and the token list has noticed. */
    static void DropToken(CK_SLOT_ID slot = kSlot) { FakeSlots::Instance().slots[slot].token = nullptr; }

    /** What has been logged since the start or the last ClearLog(): "ERROR text", "IN FUNCTION C_Login" ... */
    [[nodiscard]] std::vector<std::string> Log() const;
    void ClearLog() { m_LogStart = AllLines().size(); }
    /** Closes the log, as if there were none. */
    static void CloseLog();

    ScriptedCardReader m_Reader;
    TestToken m_Token{&m_Reader};
    TestToken m_OtherToken;

private:
    [[nodiscard]] std::vector<std::string> AllLines() const;

    TemporaryDirectory m_Directory;
    std::size_t m_LogStart = 0;
};

inline unsigned char* Data(std::string& text)
{
    return reinterpret_cast<unsigned char*>(text.data());
}
