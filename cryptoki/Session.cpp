#include "cryptoki/Session.h"

#include "cryptoki/KMarkP11Logging.h"
#include "cryptoki/SessionCollection.h"
#include "cryptoki/SessionData.h"
#include "slots/CardTokenWrapper.h"
#include "slots/SlotList.h"

using KMarkP11::Refuse;

Session::~Session()
{
    foundObjects.clear();
    Free();
}

void Session::Free()
{
    m_App = AppInvalid;
    tokenWrapper.reset();
    sessionData.reset();
}

CK_RV Session::Init(unsigned long slotId, unsigned long sessionFlags, void* application, CK_NOTIFY notify)
{
    Free();
    if ((sessionFlags & CKF_SERIAL_SESSION) == 0)
    {
        return Refuse("parallel session not supported", CKR_SESSION_PARALLEL_NOT_SUPPORTED);
    }
    if ((sessionFlags & ~(CKF_SERIAL_SESSION | CKF_RW_SESSION)) != 0)
    {
        return Refuse("flags for serial and rw session not allowed", CKR_ARGUMENTS_BAD);
    }
    if (!SlotList::GetHandle()->CheckValidSlotId(slotId))
    {
        return Refuse("invalid slot ID", CKR_GENERAL_ERROR);
    }
    tokenWrapper = std::make_shared<CardTokenWrapper>(slotId);
    if (tokenWrapper->token() == nullptr)
    {
        return Refuse("error loading card token, token is NULL", CKR_GENERAL_ERROR);
    }
    m_Slot = slotId;
    pApplication = application;
    Notify = notify;
    flags = sessionFlags;
    m_App = GetSmartCardApplication(slotId);
    m_State = UserSessionExists(slotId) ? CKS_RO_USER_FUNCTIONS : CKS_RO_PUBLIC_SESSION;
    return CKR_OK;
}

bool Session::IsOk() const
{
    return Token() != nullptr;
}

CK_RV Session::GetSessionInfo(CK_SESSION_INFO* pInfo) const
{
    pInfo->slotID = m_Slot;
    pInfo->state = m_State;
    pInfo->flags = flags;
    pInfo->ulDeviceError = 0;
    return CKR_OK;
}

iCardToken* Session::Token() const
{
    return tokenWrapper != nullptr ? tokenWrapper->token() : nullptr;
}

CK_RV Session::NotInitialized()
{
    return Refuse("Session not initialized", CKR_SESSION_HANDLE_INVALID);
}
