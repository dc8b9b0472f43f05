#pragma once

#include "simulator/cards/CardOptions.h"
#include "simulator/world/World.h"
#include "tests/cryptoki/ModuleFixture.h"
#include "tests/doubles/SimulatedPcsc.h"

#include <memory>
#include <optional>
#include <string>
#include <vector>

using Bytes = std::vector<unsigned char>;

/**
 * The loaded module, initialised, over two readers: an ACOS 03 card lies in slot 0, slot 1 is empty.
 *
 * The slots have been enumerated, unless a test does without by Restart().
 */
class CardFixture : public ModuleFixture
{
public:
    ~CardFixture() override;

protected:
    static constexpr CK_SLOT_ID kSlot = 0;
    static constexpr CK_SLOT_ID kEmptySlot = 1;
    static constexpr CK_OBJECT_HANDLE kEncCertificate = 1000;
    static constexpr CK_OBJECT_HANDLE kEncPublicKey = 1001;
    static constexpr CK_OBJECT_HANDLE kEncPrivateKey = 1002;
    static constexpr CK_OBJECT_HANDLE kSigCertificate = 1003;
    static constexpr CK_OBJECT_HANDLE kSigPublicKey = 1004;
    static constexpr CK_OBJECT_HANDLE kSigPrivateKey = 1005;
    static constexpr CK_OBJECT_HANDLE kData = 1006;

    CardFixture();
    void SetUp() override;
    void TearDown() override;

    /** The functions of the standard's table. */
    [[nodiscard]] const CK_FUNCTION_LIST& P11() const { return F().standard; }
    /** C_Finalize and C_Initialize; no slot is known then. */
    void Restart();
    /** C_GetSlotList; the number of slots. */
    CK_ULONG CountSlots(CK_BBOOL tokenPresent = CK_FALSE) const;
    [[nodiscard]] CK_SESSION_HANDLE Open(CK_SLOT_ID slot = kSlot) const;
    [[nodiscard]] CK_STATE StateOf(CK_SESSION_HANDLE session) const;
    CK_RV Login(CK_SESSION_HANDLE session, std::string pin = "1234") const;
    CK_RV SignInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type = CKM_SHA256_RSA_PKCS,
                   CK_OBJECT_HANDLE key = kEncPrivateKey) const;
    CK_RV VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type = CKM_SHA256_RSA_PKCS,
                     CK_OBJECT_HANDLE key = kEncPublicKey) const;
    /** C_Sign with a buffer of 256 bytes. @param signature receives what came, if anything did */
    CK_RV Sign(CK_SESSION_HANDLE session, const std::string& data, Bytes& signature) const;
    /** Builds the object table, as callers do before they use a handle. */
    void FindObjects(CK_SESSION_HANDLE session) const;
    /** One attribute in two calls; nothing if the module refuses. */
    [[nodiscard]] std::optional<Bytes> Attribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                                                 CK_ATTRIBUTE_TYPE type) const;
    /** How many commands the cards have got since the last call. */
    std::size_t CommandsSince();

    Simulator::World m_World;
    std::shared_ptr<Simulator::Card> m_Card;
    std::optional<SimulatedPcsc> m_Pcsc;
};

/** Whether OpenSSL takes @p signature for one over @p data by the key of a certificate in DER. */
bool OpenSslVerifies(const Bytes& certificate, const char* digest, const std::string& data,
                     const Bytes& signature);
/** The two numbers of an ECDSA signature, of one length each, in the form that OpenSSL takes. */
Bytes DerOfRawPair(const Bytes& signature);
