#include "cryptoki/Exports.h"

#include "cryptoki/EntryPoint.h"

using KMarkP11::Answer;
using KMarkP11::AnyTime;
using KMarkP11::NeedsInit;
using KMarkP11::Refuse;
using KMarkP11::WithSession;

// The functions that only answer. None of them touches an argument.

// Slots and PINs.

CK_RV C_GetMechanismInfo(CK_SLOT_ID, CK_MECHANISM_TYPE, CK_MECHANISM_INFO_PTR)
{
    return Answer("C_GetMechanismInfo", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_InitToken(CK_SLOT_ID, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR)
{
    return Answer("C_InitToken", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_InitPIN(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
{
    return Answer("C_InitPIN", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_SetPIN(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG)
{
    return Answer("C_SetPIN", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

// Encryption and decryption.

CK_RV C_EncryptInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
{
    return Answer("C_EncryptInit", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_Encrypt(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_Encrypt", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_EncryptUpdate(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_EncryptUpdate", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_EncryptFinal(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_EncryptFinal", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DecryptInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
{
    return Answer("C_DecryptInit", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_Decrypt(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_Decrypt", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DecryptUpdate(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_DecryptUpdate", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DecryptFinal(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_DecryptFinal", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

// Digests of keys, recovery and combined operations.

CK_RV C_DigestKey(CK_SESSION_HANDLE, CK_OBJECT_HANDLE)
{
    return Answer("C_DigestKey", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_VerifyRecoverInit(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
{
    return Answer("C_VerifyRecoverInit", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_VerifyRecover(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_VerifyRecover", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DigestEncryptUpdate(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_DigestEncryptUpdate", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DecryptDigestUpdate(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_DecryptDigestUpdate", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_SignEncryptUpdate(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_SignEncryptUpdate", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DecryptVerifyUpdate(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return Answer("C_DecryptVerifyUpdate", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

// Keys and random numbers.

CK_RV C_GenerateKey(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR)
{
    return Answer("C_GenerateKey", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_GenerateKeyPair(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_ATTRIBUTE_PTR, CK_ULONG, CK_ATTRIBUTE_PTR,
                        CK_ULONG, CK_OBJECT_HANDLE_PTR, CK_OBJECT_HANDLE_PTR)
{
    return Answer("C_GenerateKeyPair", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_WrapKey(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE, CK_OBJECT_HANDLE, CK_BYTE_PTR,
                CK_ULONG_PTR)
{
    return Answer("C_WrapKey", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_UnwrapKey(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE, CK_BYTE_PTR, CK_ULONG,
                  CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR)
{
    return Answer("C_UnwrapKey", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DeriveKey(CK_SESSION_HANDLE, CK_MECHANISM_PTR, CK_OBJECT_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG,
                  CK_OBJECT_HANDLE_PTR)
{
    return Answer("C_DeriveKey", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_SeedRandom(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
{
    return Answer("C_SeedRandom", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_GenerateRandom(CK_SESSION_HANDLE, CK_BYTE_PTR, CK_ULONG)
{
    return Answer("C_GenerateRandom", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

// Parallel functions, which the standard itself has given up.

CK_RV C_GetFunctionStatus(CK_SESSION_HANDLE)
{
    return Answer("C_GetFunctionStatus", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_CancelFunction(CK_SESSION_HANDLE)
{
    return Answer("C_CancelFunction", AnyTime, CKR_FUNCTION_NOT_SUPPORTED);
}

// These look first whether the library is initialised.

CK_RV C_CreateObject(CK_SESSION_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR)
{
    return Answer("C_CreateObject", NeedsInit, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_CopyObject(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ATTRIBUTE_PTR, CK_ULONG, CK_OBJECT_HANDLE_PTR)
{
    return Answer("C_CopyObject", NeedsInit, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_DestroyObject(CK_SESSION_HANDLE, CK_OBJECT_HANDLE)
{
    return Answer("C_DestroyObject", NeedsInit, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_GetObjectSize(CK_SESSION_HANDLE, CK_OBJECT_HANDLE, CK_ULONG_PTR)
{
    return Answer("C_GetObjectSize", NeedsInit, CKR_FUNCTION_NOT_SUPPORTED);
}

CK_RV C_WaitForSlotEvent(void* /*pReserved*/)
{
    return Answer("C_WaitForSlotEvent", NeedsInit, CKR_FUNCTION_NOT_SUPPORTED);
}

// These look for the session as well.

CK_RV C_SignRecoverInit(CK_SESSION_HANDLE hSession, CK_MECHANISM_PTR, CK_OBJECT_HANDLE)
{
    return WithSession("C_SignRecoverInit", hSession, NeedsInit, [](Session&) {
        return Refuse("SignRecoverInit not supported", CKR_FUNCTION_NOT_SUPPORTED);
    });
}

CK_RV C_SignRecover(CK_SESSION_HANDLE hSession, CK_BYTE_PTR, CK_ULONG, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return WithSession("C_SignRecover", hSession, NeedsInit, [](Session&) {
        return Refuse("SignRecover not supported", CKR_FUNCTION_NOT_SUPPORTED);
    });
}

// Intended: success without a state; buffer and length stay as they are.

CK_RV C_GetOperationState(CK_SESSION_HANDLE hSession, CK_BYTE_PTR, CK_ULONG_PTR)
{
    return WithSession("C_GetOperationState", hSession, NeedsInit, [](Session&) { return CKR_OK; });
}

CK_RV C_SetOperationState(CK_SESSION_HANDLE hSession, CK_BYTE_PTR, CK_ULONG, CK_OBJECT_HANDLE,
                          CK_OBJECT_HANDLE)
{
    return WithSession("C_SetOperationState", hSession, NeedsInit, [](Session&) { return CKR_OK; });
}
