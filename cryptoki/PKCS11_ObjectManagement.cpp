#include "cryptoki/Exports.h"

#include "cryptoki/EntryPoint.h"
#include "cryptoki/Session.h"

#include <string>

using KMarkP11::Enter;
using KMarkP11::NeedsInit;
using KMarkP11::Refuse;
using KMarkP11::WithSession;

CK_RV C_GetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_PTR pTemplate,
                          CK_ULONG ulCount)
{
    return WithSession("C_GetAttributeValue", hSession, NeedsInit, [&](Session& session) {
        return session.GetAttributeValue(hObject, pTemplate, ulCount);
    });
}

CK_RV C_SetAttributeValue(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE hObject, CK_ATTRIBUTE_PTR pTemplate,
                          CK_ULONG ulCount)
{
    return WithSession("C_SetAttributeValue", hSession, NeedsInit, [&](Session& session) {
        return session.SetAttributeValue(hObject, pTemplate, ulCount);
    });
}

CK_RV C_FindObjectsInit(CK_SESSION_HANDLE hSession, CK_ATTRIBUTE_PTR pTemplate, CK_ULONG ulCount)
{
    return Enter("C_FindObjectsInit", NeedsInit, [&]() -> CK_RV {
        Session* const session = HandleToSessionPtr(hSession);
        if (session == nullptr)
        {
            // Intended: this function alone names the handle.
            return Refuse(("invalid session handle: " + std::to_string(hSession)).c_str(),
                          CKR_SESSION_HANDLE_INVALID);
        }
        return session->FindObjectsInit(pTemplate, ulCount);
    });
}

CK_RV C_FindObjects(CK_SESSION_HANDLE hSession, CK_OBJECT_HANDLE_PTR phObject, CK_ULONG ulMaxObjectCount,
                    CK_ULONG_PTR pulObjectCount)
{
    return WithSession("C_FindObjects", hSession, NeedsInit, [&](Session& session) {
        return session.FindObjects(phObject, ulMaxObjectCount, pulObjectCount);
    });
}

CK_RV C_FindObjectsFinal(CK_SESSION_HANDLE hSession)
{
    return WithSession("C_FindObjectsFinal", hSession, NeedsInit,
                       [](Session& session) { return session.FindObjectsFinal(); });
}
