#include "cryptoki/AttributeNames.h"

#include <map>
#include <string>

#include <gtest/gtest.h>

namespace
{

const std::map<unsigned long, std::string> kNames = {
    {0x0, "CKA_CLASS"},
    {0x1, "CKA_TOKEN"},
    {0x2, "CKA_PRIVATE"},
    {0x3, "CKA_LABEL"},
    {0x10, "CKA_APPLICATION"},
    {0x11, "CKA_VALUE"},
    {0x12, "CKA_OBJECT_ID"},
    {0x80, "CKA_CERTIFICATE_TYPE"},
    {0x81, "CKA_ISSUER"},
    {0x82, "CKA_SERIAL_NUMBER"},
    {0x86, "CKA_TRUSTED"},
    {0x87, "CKA_CERTIFICATE_CATEGORY"},
    {0x88, "CKA_JAVA_MIDP_SECURITY_DOMAIN"},
    {0x89, "CKA_URL"},
    {0x8a, "CKA_HASH_OF_SUBJECT_PUBLIC_KEY"},
    {0x8b, "CKA_HASH_OF_ISSUER_PUBLIC_KEY"},
    {0x90, "CKA_CHECK_VALUE"},
    {0x100, "CKA_KEY_TYPE"},
    {0x101, "CKA_SUBJECT"},
    {0x102, "CKA_ID"},
    {0x103, "CKA_SENSITIVE"},
    {0x104, "CKA_ENCRYPT"},
    {0x105, "CKA_DECRYPT"},
    {0x106, "CKA_WRAP"},
    {0x107, "CKA_UNWRAP"},
    {0x108, "CKA_SIGN"},
    {0x109, "CKA_SIGN_RECOVER"},
    {0x10a, "CKA_VERIFY"},
    {0x10b, "CKA_VERIFY_RECOVER"},
    {0x10c, "CKA_DERIVE"},
    {0x110, "CKA_START_DATE"},
    {0x111, "CKA_END_DATE"},
    {0x120, "CKA_MODULUS"},
    {0x121, "CKA_MODULUS_BITS"},
    {0x122, "CKA_PUBLIC_EXPONENT"},
    {0x162, "CKA_EXTRACTABLE"},
    {0x163, "CKA_LOCAL"},
    {0x164, "CKA_NEVER_EXTRACTABLE"},
    {0x165, "CKA_ALWAYS_SENSITIVE"},
    {0x166, "CKA_KEY_GEN_MECHANISM"},
    {0x170, "CKA_MODIFIABLE"},
    {0x180, "CKA_ECDSA_PARAMS"},
    {0x181, "CKA_EC_POINT"},
    {0x200, "CKA_SECONDARY_AUTH"},
    {0x201, "CKA_AUTH_PIN_FLAGS"},
    {0x202, "CKA_ALWAYS_AUTHENTICATE"},
    {0x210, "CKA_WRAP_WITH_TRUSTED"},
    {0x40000212, "CKA_UNWRAP_TEMPLATE"},
    {0x40000600, "CKA_ALLOWED_MECHANISMS"},
};

} // namespace

TEST(AttributeNames, EveryKnownTypeShowsNameAndNumber)
{
    ASSERT_EQ(kNames.size(), 49U);
    for (const auto& [type, name] : kNames)
    {
        EXPECT_EQ(KMarkP11::PKCS11_AttributeTypeToName(type), name + " (" + std::to_string(type) + ")");
    }
    EXPECT_EQ(KMarkP11::PKCS11_AttributeTypeToName(0), "CKA_CLASS (0)");
    EXPECT_EQ(KMarkP11::PKCS11_AttributeTypeToName(0x102), "CKA_ID (258)");
}

TEST(AttributeNames, AnyOtherTypeShowsTheBracketAlone)
{
    for (unsigned long type = 0; type < 0x700; ++type)
    {
        for (const unsigned long wanted : {type, type | 0x40000000UL})
        {
            if (!kNames.contains(wanted))
            {
                EXPECT_EQ(KMarkP11::PKCS11_AttributeTypeToName(wanted), " (" + std::to_string(wanted) + ")");
            }
        }
    }
}

TEST(AttributeNames, WrapTemplateAndPrivateRsaComponentsAreUnknown)
{
    EXPECT_EQ(KMarkP11::PKCS11_AttributeTypeToName(0x40000211), " (1073742353)");
    EXPECT_EQ(KMarkP11::PKCS11_AttributeTypeToName(0x123), " (291)");
    EXPECT_EQ(KMarkP11::PKCS11_AttributeTypeToName(0x128), " (296)");
}
