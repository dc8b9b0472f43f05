#include "cryptoki/Exports.h"

#include "cryptoki/EntryPoint.h"
#include "cryptoki/Session.h"

using KMarkP11::AnyTime;
using KMarkP11::WithSession;

CK_RV C_CardTransmit(unsigned long hSession, unsigned char* pCommand, unsigned long ulCommandLen,
                     unsigned char* pResponse, unsigned long* pulResponseLen)
{
    return WithSession("C_CardTransmit", hSession, AnyTime, [&](Session& session) {
        return session.CardTransmit(pCommand, ulCommandLen, pResponse, pulResponseLen);
    });
}

CK_RV C_CardAttribute(unsigned long hSession, unsigned char* pName, unsigned char* pValue,
                      unsigned long* pulValueLen)
{
    return WithSession("C_CardAttribute", hSession, AnyTime,
                       [&](Session& session) { return session.C_CardAttribute(pName, pValue, pulValueLen); });
}

CK_RV C_Register(unsigned long hSession, long, unsigned char*, unsigned char*, unsigned long)
{
    return WithSession("C_Register", hSession, AnyTime, [](Session&) { return CKR_FUNCTION_NOT_SUPPORTED; });
}
