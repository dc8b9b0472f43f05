#pragma once

// What the shared object offers: this header comes first wherever one of these functions is defined, so that
// the first declaration gives it the visibility that the build otherwise withholds.
#pragma GCC visibility push(default)

#include <p11-kit/pkcs11.h>

extern "C" {

/**
 * Sends one APDU to the card of the session's slot as it stands, in a card transaction of its own.
 *
 * @param pulResponseLen size of @p pResponse; receives the length of the answer, status word included
 * @return CKR_BUFFER_TOO_SMALL when the answer doesn't fit: the command has been sent all the same, and
 * asking again sends it again
 */
CK_RV C_CardTransmit(unsigned long hSession, unsigned char* pCommand, unsigned long ulCommandLen,
                     unsigned char* pResponse, unsigned long* pulResponseLen);

using CK_C_CardTransmit = decltype(&C_CardTransmit);

/** Version, the 68 entries of the standard list, and behind them C_CardTransmit. */
struct KMarkFunctionList
{
    CK_FUNCTION_LIST standard;
    CK_C_CardTransmit C_CardTransmit;
};
extern const KMarkFunctionList INTERNAL_PKCS11_FUNCTION_LIST;
}

// Reached only by a client that is linked against the C++ names.

/**
 * Reads a named attribute of the card, e.g. "ATR".
 *
 * @param pulValueLen size of @p pValue; receives the length of the value
 */
CK_RV C_CardAttribute(unsigned long hSession, unsigned char* pName, unsigned char* pValue,
                      unsigned long* pulValueLen);
/** Placeholder: CKR_FUNCTION_NOT_SUPPORTED on a good session. */
CK_RV C_Register(unsigned long hSession, long, unsigned char*, unsigned char*, unsigned long);
/** Placeholder: CKR_FUNCTION_NOT_SUPPORTED. */
CK_RV C_WaitForSlotEvent(void* pReserved);

#pragma GCC visibility pop
