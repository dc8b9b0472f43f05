#pragma once

#include "cards/SmartCardApplication.h"

#include <p11-kit/pkcs11.h>

class Session;

// The sessions of the process, of all slots. The table owns them. A handle is the session's place in the
// table plus SESSION_HANDLE_BASE. A pointer that is handed out carries no reference: callers don't close a
// session on one thread while they use it on another.

inline constexpr unsigned long SESSION_HANDLE_BASE = 42125;

/** The place that @p handle names. Intended: 0 if out of range. The caller holds the lock of the table. */
unsigned long CheckSessionHandle(unsigned long handle);
/** The session or null. */
Session* HandleToSessionPtr(unsigned long handle);
/** Takes ownership of @p session. @return its handle; the place freed last is used first */
unsigned long SessionPtrToHandle(Session* session);
/** The open sessions of all slots. */
unsigned long GetSessionCount();

/** Sets the login view of every session on @p slot. @param state 1 once the slot is logged in, else 0 */
void UpdateSessionState(unsigned long slot, unsigned long state, SmartCardApplication app);
void UpdateToUserSession(unsigned long slot, SmartCardApplication app);
void UpdateToPublicSession(unsigned long slot);
/** Whether a session of @p slot is logged in. */
bool UserSessionExists(unsigned long slot);
/** The application that @p slot is logged in to, AppInvalid if none. */
SmartCardApplication GetSmartCardApplication(unsigned long slot);

/** Closes one session; nothing is sent to the card. @return CKR_OK or CKR_SESSION_HANDLE_INVALID */
CK_RV DeleteSessionPtr(unsigned long handle);
void DeleteAllSessions();
