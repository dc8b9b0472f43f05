#include "cryptoki/SessionCollection.h"

#include "cryptoki/Session.h"

#include <cstddef>
#include <stack>
#include <vector>

#include <boost/thread/lock_guard.hpp>
#include <boost/thread/mutex.hpp>

namespace
{

std::vector<Session*> m_SessionVector;       // owned; null where a session was closed
std::stack<unsigned long> m_FreeHandleStack; // the places of the null entries

// Guards the two above and nothing else, for the length of one function of this file. Never held together
// with the locks of the token list or the readers: destroying a session doesn't reach them.
boost::mutex m_SessionMutex;

using SessionLock = boost::lock_guard<boost::mutex>;

/** The session that @p handle names, or null; the caller holds the lock. */
Session* EntryOf(unsigned long handle, unsigned long& index)
{
    index = CheckSessionHandle(handle);
    return index < m_SessionVector.size() ? m_SessionVector[index] : nullptr;
}

/** The first logged-in session of the slot or null; the caller holds the lock. */
const Session* FindUserSession(unsigned long slot)
{
    for (const Session* session : m_SessionVector)
    {
        if (session != nullptr && session->slot() == slot && session->state() == CKS_RO_USER_FUNCTIONS)
        {
            return session;
        }
    }
    return nullptr;
}

} // namespace

unsigned long CheckSessionHandle(unsigned long handle)
{
    const unsigned long index = handle - SESSION_HANDLE_BASE;
    return index < m_SessionVector.size() ? index : 0;
}

Session* HandleToSessionPtr(unsigned long handle)
{
    const SessionLock lock(m_SessionMutex);
    unsigned long index = 0;
    return EntryOf(handle, index);
}

unsigned long SessionPtrToHandle(Session* session)
{
    const SessionLock lock(m_SessionMutex);
    if (m_FreeHandleStack.empty())
    {
        m_SessionVector.push_back(session);
        return m_SessionVector.size() - 1 + SESSION_HANDLE_BASE;
    }
    const unsigned long index = m_FreeHandleStack.top();
    m_FreeHandleStack.pop();
    m_SessionVector[index] = session;
    return index + SESSION_HANDLE_BASE;
}

unsigned long GetSessionCount()
{
    const SessionLock lock(m_SessionMutex);
    unsigned long count = 0;
    for (const Session* session : m_SessionVector)
    {
        count += session != nullptr ? 1UL : 0UL;
    }
    return count;
}

void UpdateSessionState(unsigned long slot, unsigned long state, SmartCardApplication app)
{
    const SessionLock lock(m_SessionMutex);
    for (Session* session : m_SessionVector)
    {
        if (session != nullptr && session->slot() == slot)
        {
            session->m_State = state;
            session->m_App = app;
        }
    }
}

void UpdateToUserSession(unsigned long slot, SmartCardApplication app)
{
    UpdateSessionState(slot, CKS_RO_USER_FUNCTIONS, app);
}

void UpdateToPublicSession(unsigned long slot)
{
    UpdateSessionState(slot, CKS_RO_PUBLIC_SESSION, AppInvalid);
}

bool UserSessionExists(unsigned long slot)
{
    const SessionLock lock(m_SessionMutex);
    return FindUserSession(slot) != nullptr;
}

SmartCardApplication GetSmartCardApplication(unsigned long slot)
{
    const SessionLock lock(m_SessionMutex);
    const Session* const session = FindUserSession(slot);
    return session != nullptr ? session->app() : AppInvalid;
}

CK_RV DeleteSessionPtr(unsigned long handle)
{
    const SessionLock lock(m_SessionMutex);
    unsigned long index = 0;
    Session* const session = EntryOf(handle, index);
    if (session == nullptr)
    {
        return CKR_SESSION_HANDLE_INVALID;
    }
    m_SessionVector[index] = nullptr;
    delete session;
    m_FreeHandleStack.push(index);
    return CKR_OK;
}

void DeleteAllSessions()
{
    const SessionLock lock(m_SessionMutex);
    for (Session* session : m_SessionVector)
    {
        delete session;
    }
    m_SessionVector.clear();
    m_SessionVector.shrink_to_fit();
    m_FreeHandleStack = {};
}
