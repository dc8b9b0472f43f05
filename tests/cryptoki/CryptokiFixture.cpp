#include "tests/cryptoki/CryptokiFixture.h"

#include "cards/CardObject.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "cryptoki/ModuleState.h"
#include "cryptoki/SessionCollection.h"
#include "tests/support/TextFile.h"

namespace
{

void GiveObjects(TestToken& token)
{
    token.encCertFile = MakeFreeFile(token, 4);
    token.sigCertFile = MakeFreeFile(token, 4);
    token.infoboxFile = MakeFreeFile(token, 4);
    const std::vector<CardObject*>& objects = token.GetObjectMap();
    for (const CK_MECHANISM_TYPE type :
         {CKM_RSA_PKCS, CKM_SHA256_RSA_PKCS, CKM_SHA384_RSA_PKCS, CKM_MD5_RSA_PKCS})
    {
        objects.at(static_cast<std::size_t>(token.encPrivateIndex))->AddMechanism(type);
        objects.at(static_cast<std::size_t>(token.encPublicIndex))->AddMechanism(type);
    }
    objects.at(static_cast<std::size_t>(token.sigPrivateIndex))->AddMechanism(CKM_ECDSA);
    objects.at(static_cast<std::size_t>(token.sigPublicIndex))->AddMechanism(CKM_ECDSA);
}

/** A log line without its time: the kind, one blank, the text. */
std::string WithoutTime(const std::string& line)
{
    constexpr std::size_t kTimeLength = 19;
    constexpr std::size_t kKindLength = 13;
    const std::string kind = line.substr(kTimeLength, kKindLength);
    return kind.substr(kind.find_first_not_of(' ')) + line.substr(kTimeLength + kKindLength);
}

} // namespace

CryptokiFixture::CryptokiFixture()
{
    GiveObjects(m_Token);
    GiveObjects(m_OtherToken);
    FakeSlots::Reset();
    FakeSlots::Instance().slots = {{&m_Token, true, "Acme Reader 00 00"},
                                   {&m_OtherToken, true, "Acme Reader 01 00"},
                                   {nullptr, false, "Empty"}};
    P11Logger::GetHandle()->Init(m_Directory.File("module.log"), 10000, true);
    P11Logger::GetHandle()->Enabled(true);
    bCryptokiInitialized = 1;
}

CryptokiFixture::~CryptokiFixture()
{
    DeleteAllSessions();
    bCryptokiInitialized = 0;
    CloseLog();
    FakeSlots::Reset();
}

CK_SESSION_HANDLE CryptokiFixture::Open(CK_SLOT_ID slot)
{
    CK_SESSION_HANDLE session = 0;
    EXPECT_EQ(C_OpenSession(slot, CKF_SERIAL_SESSION, nullptr, nullptr, &session), CKR_OK);
    return session;
}

CK_STATE CryptokiFixture::StateOf(CK_SESSION_HANDLE session)
{
    CK_SESSION_INFO info = {};
    EXPECT_EQ(C_GetSessionInfo(session, &info), CKR_OK);
    return info.state;
}

CK_RV CryptokiFixture::Login(CK_SESSION_HANDLE session, std::string pin)
{
    return C_Login(session, CKU_USER, Data(pin), pin.size());
}

CK_RV CryptokiFixture::SignInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type, CK_OBJECT_HANDLE key)
{
    CK_MECHANISM mechanism = {type, nullptr, 0};
    return C_SignInit(session, &mechanism, key);
}

CK_RV CryptokiFixture::VerifyInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type, CK_OBJECT_HANDLE key)
{
    CK_MECHANISM mechanism = {type, nullptr, 0};
    return C_VerifyInit(session, &mechanism, key);
}

CK_RV CryptokiFixture::DigestInit(CK_SESSION_HANDLE session, CK_MECHANISM_TYPE type)
{
    CK_MECHANISM mechanism = {type, nullptr, 0};
    return C_DigestInit(session, &mechanism);
}

void CryptokiFixture::CloseLog()
{
    P11Logger::GetHandle()->Destroy();
}

std::vector<std::string> CryptokiFixture::AllLines() const
{
    std::vector<std::string> lines;
    for (const std::string& line : ReadLines(m_Directory.File("module.log")))
    {
        lines.push_back(WithoutTime(line));
    }
    return lines;
}

std::vector<std::string> CryptokiFixture::Log() const
{
    const std::vector<std::string> lines = AllLines();
    return {lines.begin() + static_cast<std::ptrdiff_t>(m_LogStart), lines.end()};
}
