#pragma once

#include <p11-kit/pkcs11.h>

// The functions that only answer, each called with null pointers and a handle that nobody gave: not one of the
// arguments may be touched.

struct StubRow
{
    const char* name;
    CK_RV (*call)(const CK_FUNCTION_LIST& f);
};

// A call with nothing but null pointers and a handle that nobody gave: not one of them may be touched.
inline constexpr StubRow kAnyTime[] = {
    {"C_GetMechanismInfo", [](const CK_FUNCTION_LIST& f) { return f.C_GetMechanismInfo(99, 99, nullptr); }},
    {"C_InitToken", [](const CK_FUNCTION_LIST& f) { return f.C_InitToken(99, nullptr, 99, nullptr); }},
    {"C_InitPIN", [](const CK_FUNCTION_LIST& f) { return f.C_InitPIN(99, nullptr, 99); }},
    {"C_SetPIN", [](const CK_FUNCTION_LIST& f) { return f.C_SetPIN(99, nullptr, 99, nullptr, 99); }},
    {"C_EncryptInit", [](const CK_FUNCTION_LIST& f) { return f.C_EncryptInit(99, nullptr, 99); }},
    {"C_Encrypt", [](const CK_FUNCTION_LIST& f) { return f.C_Encrypt(99, nullptr, 99, nullptr, nullptr); }},
    {"C_EncryptUpdate",
     [](const CK_FUNCTION_LIST& f) { return f.C_EncryptUpdate(99, nullptr, 99, nullptr, nullptr); }},
    {"C_EncryptFinal", [](const CK_FUNCTION_LIST& f) { return f.C_EncryptFinal(99, nullptr, nullptr); }},
    {"C_DecryptInit", [](const CK_FUNCTION_LIST& f) { return f.C_DecryptInit(99, nullptr, 99); }},
    {"C_Decrypt", [](const CK_FUNCTION_LIST& f) { return f.C_Decrypt(99, nullptr, 99, nullptr, nullptr); }},
    {"C_DecryptUpdate",
     [](const CK_FUNCTION_LIST& f) { return f.C_DecryptUpdate(99, nullptr, 99, nullptr, nullptr); }},
    {"C_DecryptFinal", [](const CK_FUNCTION_LIST& f) { return f.C_DecryptFinal(99, nullptr, nullptr); }},
    {"C_DigestKey", [](const CK_FUNCTION_LIST& f) { return f.C_DigestKey(99, 99); }},
    {"C_VerifyRecoverInit", [](const CK_FUNCTION_LIST& f) { return f.C_VerifyRecoverInit(99, nullptr, 99); }},
    {"C_VerifyRecover",
     [](const CK_FUNCTION_LIST& f) { return f.C_VerifyRecover(99, nullptr, 99, nullptr, nullptr); }},
    {"C_DigestEncryptUpdate",
     [](const CK_FUNCTION_LIST& f) { return f.C_DigestEncryptUpdate(99, nullptr, 99, nullptr, nullptr); }},
    {"C_DecryptDigestUpdate",
     [](const CK_FUNCTION_LIST& f) { return f.C_DecryptDigestUpdate(99, nullptr, 99, nullptr, nullptr); }},
    {"C_SignEncryptUpdate",
     [](const CK_FUNCTION_LIST& f) { return f.C_SignEncryptUpdate(99, nullptr, 99, nullptr, nullptr); }},
    {"C_DecryptVerifyUpdate",
     [](const CK_FUNCTION_LIST& f) { return f.C_DecryptVerifyUpdate(99, nullptr, 99, nullptr, nullptr); }},
    {"C_GenerateKey",
     [](const CK_FUNCTION_LIST& f) { return f.C_GenerateKey(99, nullptr, nullptr, 99, nullptr); }},
    {"C_GenerateKeyPair",
     [](const CK_FUNCTION_LIST& f) {
         return f.C_GenerateKeyPair(99, nullptr, nullptr, 99, nullptr, 99, nullptr, nullptr);
     }},
    {"C_WrapKey",
     [](const CK_FUNCTION_LIST& f) { return f.C_WrapKey(99, nullptr, 99, 99, nullptr, nullptr); }},
    {"C_UnwrapKey",
     [](const CK_FUNCTION_LIST& f) {
         return f.C_UnwrapKey(99, nullptr, 99, nullptr, 99, nullptr, 99, nullptr);
     }},
    {"C_DeriveKey",
     [](const CK_FUNCTION_LIST& f) { return f.C_DeriveKey(99, nullptr, 99, nullptr, 99, nullptr); }},
    {"C_SeedRandom", [](const CK_FUNCTION_LIST& f) { return f.C_SeedRandom(99, nullptr, 99); }},
    {"C_GenerateRandom", [](const CK_FUNCTION_LIST& f) { return f.C_GenerateRandom(99, nullptr, 99); }},
    {"C_GetFunctionStatus", [](const CK_FUNCTION_LIST& f) { return f.C_GetFunctionStatus(99); }},
    {"C_CancelFunction", [](const CK_FUNCTION_LIST& f) { return f.C_CancelFunction(99); }},
};
inline constexpr StubRow kOnceInitialised[] = {
    {"C_CreateObject", [](const CK_FUNCTION_LIST& f) { return f.C_CreateObject(99, nullptr, 99, nullptr); }},
    {"C_CopyObject", [](const CK_FUNCTION_LIST& f) { return f.C_CopyObject(99, 99, nullptr, 99, nullptr); }},
    {"C_DestroyObject", [](const CK_FUNCTION_LIST& f) { return f.C_DestroyObject(99, 99); }},
    {"C_GetObjectSize", [](const CK_FUNCTION_LIST& f) { return f.C_GetObjectSize(99, 99, nullptr); }},
};

struct SessionStubRow
{
    const char* name;
    CK_RV (*call)(const CK_FUNCTION_LIST& f, CK_SESSION_HANDLE session);
    CK_RV rv;
    const char* line;
};
inline constexpr SessionStubRow kWithSession[] = {
    {"C_SignRecoverInit",
     [](const CK_FUNCTION_LIST& f, CK_SESSION_HANDLE session) {
         return f.C_SignRecoverInit(session, nullptr, 99);
     },
     CKR_FUNCTION_NOT_SUPPORTED, "SignRecoverInit not supported"},
    {"C_SignRecover",
     [](const CK_FUNCTION_LIST& f, CK_SESSION_HANDLE session) {
         return f.C_SignRecover(session, nullptr, 99, nullptr, nullptr);
     },
     CKR_FUNCTION_NOT_SUPPORTED, "SignRecover not supported"},
    {"C_GetOperationState",
     [](const CK_FUNCTION_LIST& f, CK_SESSION_HANDLE session) {
         return f.C_GetOperationState(session, nullptr, nullptr);
     },
     CKR_OK, nullptr},
    {"C_SetOperationState",
     [](const CK_FUNCTION_LIST& f, CK_SESSION_HANDLE session) {
         return f.C_SetOperationState(session, nullptr, 99, 99, 99);
     },
     CKR_OK, nullptr},
};
