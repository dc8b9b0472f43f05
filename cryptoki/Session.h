#pragma once

#include "cards/SmartCardApplication.h"

#include <memory>
#include <utility>
#include <vector>

#include <p11-kit/pkcs11.h>

class CardTokenWrapper;
class SessionData;
class iCardToken;

namespace Norvik
{
class ByteArray;
}

/**
 * What lies behind a session handle: the view of a slot's login, one object search, and one sign, verify or
 * digest operation.
 *
 * Owned by the session table. Reaches its token by the slot alone, so a token may come, go and be replaced
 * behind it. Takes no lock: callers use a session on one thread at a time. Unless said otherwise, results are
 * CKR_ codes, and CKR_SESSION_HANDLE_INVALID says that the slot has no token now.
 */
class Session final
{
public:
    Session() = default;
    /** Ends the session on the host alone: no logout is sent to the card. */
    ~Session();
    Session(const Session&) = delete;
    Session& operator=(const Session&) = delete;

    /** Releases token and operation data. */
    void Free();
    /**
     * Binds the session to a slot, whose token is looked for on the card; joins the login of the slot.
     *
     * @param application, notify stored and never used
     * @return Intended: CKR_GENERAL_ERROR for a slot that doesn't exist or has no usable card
     */
    CK_RV Init(unsigned long slotId, unsigned long sessionFlags, void* application, CK_NOTIFY notify);
    /** Whether the slot has a token now. */
    [[nodiscard]] bool IsOk() const;

    /** CKS_RO_USER_FUNCTIONS once the slot is logged in, else CKS_RO_PUBLIC_SESSION; never a read-write one. */
    [[nodiscard]] unsigned long state() const { return m_State; }
    [[nodiscard]] unsigned long slot() const { return m_Slot; }
    /** The application that the slot is logged in to; AppInvalid for none. */
    [[nodiscard]] SmartCardApplication app() const { return m_App; }
    /** Answers also when the token is gone. */
    CK_RV GetSessionInfo(CK_SESSION_INFO* pInfo) const;

    // Objects.

    /** Does the whole search; FindObjects() only hands out what lies ready. */
    CK_RV FindObjectsInit(CK_ATTRIBUTE* pTemplate, unsigned long ulCount);
    CK_RV FindObjects(unsigned long* phObject, unsigned long ulMaxObjectCount, unsigned long* pulObjectCount);
    CK_RV FindObjectsFinal();
    /** May read the card. A length that is not to be had becomes CK_UNAVAILABLE_INFORMATION. */
    CK_RV GetAttributeValue(unsigned long hObject, CK_ATTRIBUTE* pTemplate, unsigned long ulCount);
    /** Changes the PIN or a file of the card, by the types in the template. */
    CK_RV SetAttributeValue(unsigned long hObject, CK_ATTRIBUTE* pTemplate, unsigned long ulCount);
    /** The result of a template so far and of one more entry; codes of no rank are dropped. */
    static CK_RV updateReturnCode(unsigned long current, unsigned long newCode);

    // Login. All sessions of the slot share it.

    /** Logs in to AppEncryption, whatever @p userType says. An empty PIN is asked for by other means. */
    CK_RV Login(unsigned long userType, unsigned char* pin, unsigned long pinLen);
    /** Drops a login first, so the slot is public after a failure. The PIN is kept nowhere. */
    CK_RV DoLogin(SmartCardApplication application, unsigned char* pin, unsigned long pinLen);
    CK_RV Logout();
    /** Drops the login, on the card too if the token is there. */
    void ResetAuthenticated();

    // Signatures, made on the card. Updates only collect the data.

    CK_RV SignInit(CK_MECHANISM* pMechanism, unsigned long hKey);
    CK_RV SignUpdate(unsigned char* data, unsigned long len);
    /** Ends the operation whatever comes out. May ask for the PIN. A null buffer is no size query here. */
    CK_RV SignFinal(unsigned char* pSignature, unsigned long* pulLen);
    /** With a null @p pSignature a size query: 256 for every key. */
    CK_RV Sign(unsigned char* pData, unsigned long ulDataLen, unsigned char* pSignature,
               unsigned long* pulLen);

    // Signature checks, in software.

    CK_RV VerifyInit(CK_MECHANISM* pMechanism, unsigned long hKey);
    CK_RV VerifyUpdate(unsigned char* data, unsigned long len);
    CK_RV VerifyFinal(unsigned char* pSignature, unsigned long ulLen);

    // Digests. Begun whenever there is operation data, whatever it was made for.

    /** Replaces the data of any running operation, also when the mechanism is refused. */
    CK_RV DigestInit(CK_MECHANISM* pMechanism);
    CK_RV DigestUpdate(unsigned char* data, unsigned long len);
    CK_RV DigestFinal(unsigned char* pDigest, unsigned long* pulLen);

    // The card itself.

    /** A raw APDU. The command has been sent when CKR_BUFFER_TOO_SMALL comes back. */
    CK_RV CardTransmit(unsigned char* pCommand, unsigned long ulCommandLen, unsigned char* pResponse,
                       unsigned long* pulResponseLen);
    /** A named attribute of the card. */
    CK_RV C_CardAttribute(unsigned char* pName, unsigned char* pValue, unsigned long* pulValueLen);

private:
    friend void UpdateSessionState(unsigned long slot, unsigned long state, SmartCardApplication app);

    /** The slot's token now, or null. Asked once for each step: it may be gone the next time. */
    [[nodiscard]] iCardToken* Token() const;
    /** Logs that there is no token and gives the code for it. */
    static CK_RV NotInitialized();
    /** The signature itself, and the end of a login that was good for it alone. */
    CK_RV MakeSignature(SmartCardApplication application, bool bImplicitLogin, Norvik::ByteArray& signature);

    SmartCardApplication m_App = AppInvalid;
    std::vector<std::pair<unsigned long, unsigned long>> foundObjects; ///< object handle, 0
    unsigned long findCursor = 0;                                      ///< next entry to hand out
    CK_FLAGS flags = 0;
    void* pApplication = nullptr;
    CK_NOTIFY Notify = nullptr;
    CK_SLOT_ID m_Slot = 0;
    CK_STATE m_State = 0;
    bool findActive = false;
    bool signActive = false;
    bool verifyActive = false;
    bool signUpdateSeen = false;
    bool verifyUpdateSeen = false;
    std::shared_ptr<SessionData> sessionData;
    std::shared_ptr<CardTokenWrapper> tokenWrapper;
};
