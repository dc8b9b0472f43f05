#pragma once

#include "cryptoki/KMarkP11Logging.h"
#include "cryptoki/ModuleState.h"
#include "cryptoki/SessionCollection.h"

#include <p11-kit/pkcs11.h>

namespace KMarkP11
{

/** When an exported function works. */
enum InitCheck
{
    NeedsInit, ///< between C_Initialize and C_Finalize alone
    AnyTime,
};

/**
 * The frame of every exported function: logs the entry, checks the state, runs @p work, logs the result's name.
 *
 * @param work gives the result
 * @return CKR_CRYPTOKI_NOT_INITIALIZED when the state forbids the call. Intended: that return logs no exit,
 * and the logger's stack of functions stays one deeper.
 *
 * Exceptions pass; nothing is logged for them.
 */
template <typename Work>
CK_RV Enter(const char* name, InitCheck check, const Work& work)
{
    TraceFunctionEntry(name);
    if (check == NeedsInit && !isCryptokiInitialized())
    {
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    }
    const CK_RV rv = work();
    TraceReturnCode(name, rv);
    return rv;
}

/** Enter() for a function with a session handle: @p work takes the session. */
template <typename Work>
CK_RV WithSession(const char* name, CK_SESSION_HANDLE hSession, InitCheck check, const Work& work)
{
    return Enter(name, check, [&]() -> CK_RV {
        Session* const session = HandleToSessionPtr(hSession);
        if (session == nullptr)
        {
            return Refuse("invalid session handle", CKR_SESSION_HANDLE_INVALID);
        }
        return work(*session);
    });
}

/** Enter() for a function that does nothing but answer. */
inline CK_RV Answer(const char* name, InitCheck check, CK_RV rv)
{
    return Enter(name, check, [rv] { return rv; });
}

} // namespace KMarkP11
