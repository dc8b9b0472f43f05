#pragma once

#include "cards/AttributeRow.h"

/**
 * What the classes of key objects share.
 *
 * The usage flags are meant as they stand, also where a reader would expect others.
 */
namespace KeyAttributes
{

inline constexpr AttributeRow kEveryKey[] = {
    {CKA_TOKEN, AttributeRow::Flag, 1},
    {CKA_MODIFIABLE, AttributeRow::Flag, 0},
    {CKA_LABEL, AttributeRow::Label},
    {CKA_ID, AttributeRow::Id},
    {CKA_START_DATE, AttributeRow::NoConstant},
    {CKA_END_DATE, AttributeRow::NoConstant},
    {CKA_SUBJECT, AttributeRow::NoConstant},
    {CKA_KEY_GEN_MECHANISM, AttributeRow::NoConstant},
    {CKA_ALLOWED_MECHANISMS, AttributeRow::NoConstant},
};

inline constexpr AttributeRow kEveryRsaKey[] = {
    {CKA_KEY_TYPE, AttributeRow::Number, CKK_RSA},
    {CKA_DERIVE, AttributeRow::Flag, 1},
    {CKA_LOCAL, AttributeRow::Flag, 1},
    {CKA_MODULUS, AttributeRow::NoConstant},
};

inline constexpr AttributeRow kEveryEcdsaKey[] = {
    {CKA_KEY_TYPE, AttributeRow::Number, CKK_ECDSA},
    {CKA_DERIVE, AttributeRow::Flag, 0},
    {CKA_LOCAL, AttributeRow::Flag, 0},
};

inline constexpr AttributeRow kEveryPublicKey[] = {
    {CKA_CLASS, AttributeRow::Number, CKO_PUBLIC_KEY},
    {CKA_PRIVATE, AttributeRow::Flag, 0},
    {CKA_VERIFY, AttributeRow::Flag, 0},
    {CKA_VERIFY_RECOVER, AttributeRow::Flag, 0},
    {CKA_WRAP, AttributeRow::Flag, 0},
    {CKA_TRUSTED, AttributeRow::Flag, 1},
};

inline constexpr AttributeRow kEveryPrivateKey[] = {
    {CKA_CLASS, AttributeRow::Number, CKO_PRIVATE_KEY},
    {CKA_PRIVATE, AttributeRow::Flag, 1},
    {CKA_SENSITIVE, AttributeRow::Flag, 1},
    {CKA_SECONDARY_AUTH, AttributeRow::Flag, 0},
    {CKA_AUTH_PIN_FLAGS, AttributeRow::NoConstant},
    {CKA_UNWRAP_TEMPLATE, AttributeRow::NoConstant},
    {CKA_SIGN_RECOVER, AttributeRow::Flag, 0},
    {CKA_EXTRACTABLE, AttributeRow::Flag, 0},
    {CKA_WRAP_WITH_TRUSTED, AttributeRow::Flag, 0},
    {CKA_ALWAYS_AUTHENTICATE, AttributeRow::Flag, 0},
    {CKA_UNWRAP, AttributeRow::Flag, 1},
    {CKA_ALWAYS_SENSITIVE, AttributeRow::Flag, 1},
    {CKA_NEVER_EXTRACTABLE, AttributeRow::Flag, 1},
};

} // namespace KeyAttributes
