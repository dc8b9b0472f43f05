#include "tests/cryptoki/CardFixture.h"

#include "simulator/cards/Acos03.h"

#include <array>

#include <openssl/bn.h>
#include <openssl/ecdsa.h>
#include <openssl/evp.h>
#include <openssl/x509.h>

namespace
{

unsigned char* Pointer(const std::string& text)
{
    // The standard's types aren't const; the module only reads.
    return reinterpret_cast<unsigned char*>(const_cast<char*>(text.data()));
}

} // namespace

CardFixture::CardFixture() : m_Card(Simulator::MakeAcos03())
{
    m_World.AddReader("Acme Card Reader");
    m_World.AddReader("Acme Card Reader");
    m_Pcsc.emplace(m_World);
    m_World.Insert(kSlot, m_Card);
}

CardFixture::~CardFixture() = default;

void CardFixture::SetUp()
{
    ModuleFixture::SetUp();
    if (IsSkipped())
    {
        return;
    }
    ASSERT_EQ(P11().C_Initialize(nullptr), CKR_OK);
    ASSERT_EQ(CountSlots(), 2U);
}

void CardFixture::TearDown()
{
    ModuleFixture::TearDown();
    // Nothing of the service stays behind.
    EXPECT_EQ(m_Pcsc->OpenHandles(), 0U);
    EXPECT_EQ(m_Pcsc->OpenContexts(), 0U);
}

void CardFixture::Restart()
{
    ASSERT_EQ(P11().C_Finalize(nullptr), CKR_OK);
    ASSERT_EQ(P11().C_Initialize(nullptr), CKR_OK);
}

CK_ULONG CardFixture::CountSlots(CK_BBOOL tokenPresent) const
{
    CK_ULONG count = 4711;
    EXPECT_EQ(P11().C_GetSlotList(tokenPresent, nullptr, &count), CKR_OK);
    return count;
}

CK_SESSION_HANDLE CardFixture::Open(CK_SLOT_ID slot) const
{
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(P11().C_OpenSession(slot, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_OK);
    return session;
}

CK_STATE CardFixture::StateOf(CK_SESSION_HANDLE session) const
{
    CK_SESSION_INFO info = {};
    EXPECT_EQ(P11().C_GetSessionInfo(session, &info), CKR_OK);
    return info.state;
}

CK_RV CardFixture::Login(CK_SESSION_HANDLE session, std::string pin) const
{
    return P11().C_Login(session, CKU_USER, Pointer(pin), pin.size());
}

CK_RV CardFixture::SignInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type, CK_OBJECT_HANDLE key) const
{
    FindObjects(session);
    CK_MECHANISM mechanism = {type, nullptr, 0};
    return P11().C_SignInit(session, &mechanism, key);
}

CK_RV CardFixture::VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type, CK_OBJECT_HANDLE key) const
{
    FindObjects(session);
    CK_MECHANISM mechanism = {type, nullptr, 0};
    return P11().C_VerifyInit(session, &mechanism, key);
}

CK_RV CardFixture::Sign(CK_SESSION_HANDLE session, const std::string& data, Bytes& signature) const
{
    signature.assign(256, 0);
    CK_ULONG length = signature.size();
    const CK_RV rv = P11().C_Sign(session, Pointer(data), data.size(), signature.data(), &length);
    signature.resize(rv == CKR_OK ? length : 0);
    return rv;
}

void CardFixture::FindObjects(CK_SESSION_HANDLE session) const
{
    if (P11().C_FindObjectsInit(session, nullptr, 0) == CKR_OK)
    {
        EXPECT_EQ(P11().C_FindObjectsFinal(session), CKR_OK);
    }
}

std::optional<Bytes> CardFixture::Attribute(CK_SESSION_HANDLE session, CK_OBJECT_HANDLE object,
                                            CK_ATTRIBUTE_TYPE type) const
{
    FindObjects(session);
    CK_ATTRIBUTE entry = {type, nullptr, 0};
    if (P11().C_GetAttributeValue(session, object, &entry, 1) != CKR_OK)
    {
        return std::nullopt;
    }
    Bytes value(entry.ulValueLen);
    entry.pValue = value.data();
    if (!value.empty() && P11().C_GetAttributeValue(session, object, &entry, 1) != CKR_OK)
    {
        return std::nullopt;
    }
    return value;
}

std::size_t CardFixture::CommandsSince()
{
    const std::size_t count = m_World.Commands().size();
    m_World.ClearTrace();
    return count;
}

bool OpenSslVerifies(const Bytes& certificate, const char* digest, const std::string& data,
                     const Bytes& signature)
{
    const unsigned char* position = certificate.data();
    const std::unique_ptr<X509, void (*)(X509*)> x509(
        d2i_X509(nullptr, &position, static_cast<long>(certificate.size())), &X509_free);
    const std::unique_ptr<EVP_MD_CTX, void (*)(EVP_MD_CTX*)> context(EVP_MD_CTX_new(), &EVP_MD_CTX_free);
    if (x509 == nullptr || EVP_DigestVerifyInit(context.get(), nullptr, EVP_get_digestbyname(digest), nullptr,
                                                X509_get0_pubkey(x509.get())) != 1)
    {
        return false;
    }
    return EVP_DigestVerify(context.get(), signature.data(), signature.size(), Pointer(data), data.size()) ==
           1;
}

Bytes DerOfRawPair(const Bytes& signature)
{
    const std::unique_ptr<ECDSA_SIG, void (*)(ECDSA_SIG*)> pair(ECDSA_SIG_new(), &ECDSA_SIG_free);
    const auto length = static_cast<int>(signature.size() / 2);
    ECDSA_SIG_set0(pair.get(), BN_bin2bn(signature.data(), length, nullptr),
                   BN_bin2bn(signature.data() + length, length, nullptr));
    Bytes der(static_cast<std::size_t>(i2d_ECDSA_SIG(pair.get(), nullptr)));
    unsigned char* position = der.data();
    i2d_ECDSA_SIG(pair.get(), &position);
    return der;
}
