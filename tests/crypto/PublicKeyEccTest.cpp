#include "crypto/PublicKey.h"

#include "crypto/LibCardImpl.h"
#include "crypto/LowLevelKeys.h"
#include "tests/crypto/Bytes.h"
#include "tests/support/CapturedLog.h"

#include <gtest/gtest.h>
#include <openssl/ec.h>
#include <openssl/err.h>
#include <openssl/obj_mac.h>
#include <openssl/rsa.h>

namespace
{

using Norvik::ByteArray;
using Norvik::EcKeyPtr;
using Lines = std::vector<std::string>;

constexpr LogBridge kBridge = {LibCardImpl::SetErrorLoggingFunc, LibCardImpl::SetMessageLoggingFunc,
                               LibCardImpl::SetDebugLoggingFunc};

// RFC 6979, A.2.3 (192 bits) and A.2.5 (256 bits), message "sample".
const std::string kX192 = "AC2C77F529F91689FEA0EA5EFEC7F210D8EEA0B9E047ED56";
const std::string kY192 = "3BC723E57670BD4887EBC732C523063D0A7C957BC97C1C43";
const std::string kR192 = "4D60C5AB1996BD848343B31C00850205E2EA6922DAC2E4B8"; // with SHA-512
const std::string kS192 = "3F6E837448F027A1BF4B34E796E32A811CBB4050908D8F67";
const std::string kTopBitR192 = "98C6BD12B23EAF5E2A2045132086BE3EB8EBD62ABF6698FF"; // with SHA-1
const std::string kTopBitS192 = "57A22B07DEA9530F8DE9471B1DC6624472E8E2844BC25B64";
const std::string kX256 = "60FED4BA255A9D31C961EB74C6356D68C049B8923B61FA6CE669622E60F29FB6";
const std::string kY256 = "7903FE1008B8BC99A41AE9E95628BC64F2F1B20C2D7E9F5177A3C294D4462299";
const std::string kR256 = "61340C88C3AAEBEB4F6D667F672CA9759A6CCAA9FA8811313039EE4A35471D32"; // with SHA-1
const std::string kS256 = "6D7F147DAC089441BB2E2FE8F7A3FA264B9C475098FDCF6E00D7C996E1B8B7EB";

// By "openssl dgst".
const std::string kSha1OfSample = "8151325dcdbae9e0ff95f9f9658432dbedfdb209";
const std::string kSha512OfSample = "39a5e04aaff7455d9850c605364f514c11324ce64016960d23d5dc57d3ffd8f4"
                                    "9a739468ab8049bf18eef820cdb1ad6c9015f838556bc7fad4138b23fdf986c7";

EcKeyPtr KeyOn(int curve, const std::string& x, const std::string& y)
{
    EcKeyPtr key(EC_KEY_new_by_curve_name(curve));
    const ByteArray point = Bytes("04" + x + y);
    EC_KEY_oct2key(key.get(), point.data(), point.size(), nullptr);
    return key;
}

/** The same curve by its parameters alone, without a name. */
EcKeyPtr KeyOnUnnamed192()
{
    const EcKeyPtr named = KeyOn(NID_X9_62_prime192v1, kX192, kY192);
    EC_GROUP* const group = EC_GROUP_dup(EC_KEY_get0_group(named.get()));
    EC_GROUP_set_curve_name(group, NID_undef);
    EcKeyPtr key(EC_KEY_new());
    EC_KEY_set_group(key.get(), group);
    EC_KEY_set_public_key(key.get(), EC_KEY_get0_public_key(named.get()));
    EC_GROUP_free(group);
    return key;
}

class PublicKeyEcc : public testing::Test
{
protected:
    void SetUp() override
    {
        ASSERT_TRUE(m_Key192.SetEccKey(KeyOn(NID_X9_62_prime192v1, kX192, kY192).get()));
        ASSERT_TRUE(m_Key256.SetEccKey(KeyOn(NID_X9_62_prime256v1, kX256, kY256).get()));
        ASSERT_TRUE(m_Unnamed192.SetEccKey(KeyOnUnnamed192().get()));
    }

    const CapturedLog m_Log{kBridge};
    const ByteArray m_Sha1 = Bytes(kSha1OfSample);
    const ByteArray m_Sha512 = Bytes(kSha512OfSample);
    PublicKey m_Key192;
    PublicKey m_Key256;
    PublicKey m_Unnamed192;
    bool m_bOk = false;
};

struct FormCase
{
    const char* name;
    std::string signature192;
    std::string signature256;
};

const FormCase kForms[] = {
    {"Raw", kR192 + kS192, kR256 + kS256},
    {"RawBehind04", "04" + kR192 + kS192, "04" + kR256 + kS256},
    {"Der", "3034 0218" + kR192 + "0218" + kS192, "3044 0220" + kR256 + "0220" + kS256},
};

class PublicKeyEccForms : public PublicKeyEcc, public testing::WithParamInterface<FormCase>
{};

TEST_P(PublicKeyEccForms, HoldOnBothCurves)
{
    EXPECT_TRUE(m_Key192.Verify(Bytes(GetParam().signature192), m_Sha512, m_bOk));
    EXPECT_TRUE(m_bOk);
    m_bOk = false;
    EXPECT_TRUE(m_Key256.Verify(Bytes(GetParam().signature256), m_Sha1, m_bOk));
    EXPECT_TRUE(m_bOk);
    EXPECT_TRUE(CapturedLog::Lines().empty());
}

TEST_P(PublicKeyEccForms, DoNotHoldForAnotherHash)
{
    m_bOk = true;

    EXPECT_TRUE(m_Key192.Verify(Bytes(GetParam().signature192), m_Sha1, m_bOk));

    EXPECT_FALSE(m_bOk);
    ASSERT_EQ(CapturedLog::Lines().size(), 2U);
    EXPECT_EQ(CapturedLog::Lines()[0], "ERROR error verify ecdsa signature");
    EXPECT_EQ(CapturedLog::Lines()[1].rfind("ERROR error:", 0), 0U);
}

TEST_P(PublicKeyEccForms, DoNotHoldForAnEmptyHash)
{
    m_bOk = true;

    EXPECT_TRUE(m_Key192.Verify(Bytes(GetParam().signature192), {}, m_bOk));
    EXPECT_FALSE(m_bOk);
}

INSTANTIATE_TEST_SUITE_P(All, PublicKeyEccForms, testing::ValuesIn(kForms),
                         [](const auto& row) { return row.param.name; });

// Written without 00 in front, the number is negative: the signature is good and reports as not valid all the same.
TEST_F(PublicKeyEcc, RawPairWithATopBitSetDoesNotHold)
{
    EXPECT_TRUE(m_Key192.VerifyEcc(Bytes(kTopBitR192 + kTopBitS192), m_Sha1, m_bOk));

    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines().at(0), "ERROR error verify ecdsa signature");
}

struct UnknownFormCase
{
    const char* name;
    ByteArray signature;
};

class PublicKeyEccUnknownForms : public PublicKeyEcc, public testing::WithParamInterface<UnknownFormCase>
{};

TEST_P(PublicKeyEccUnknownForms, DoNotHold)
{
    m_bOk = true;

    EXPECT_TRUE(m_Key192.VerifyEcc(GetParam().signature, m_Sha512, m_bOk));

    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines().at(0), "ERROR error verify ecdsa signature");
}

INSTANTIATE_TEST_SUITE_P(
    All, PublicKeyEccUnknownForms,
    testing::Values(UnknownFormCase{"Empty", {}}, UnknownFormCase{"RawOf256Bits", Bytes(kR256 + kS256)},
                    UnknownFormCase{"LengthOfDerWithoutSequence",
                                    Bytes("3134 0218" + kR192 + "0218" + kS192)},
                    UnknownFormCase{"LengthBehind04WithoutIt", Bytes("05" + kR192 + kS192)},
                    UnknownFormCase{"OneByteShort", Repeated(0x11, 47)},
                    UnknownFormCase{"OneByte", Repeated(0x30, 1)},
                    UnknownFormCase{"OneByteMoreThanDer", Repeated(0x30, 55)}),
    [](const auto& row) { return row.param.name; });

struct BrokenDerCase
{
    const char* name;
    std::size_t position; ///< of the byte that is changed
};

class PublicKeyEccBrokenDer : public PublicKeyEcc, public testing::WithParamInterface<BrokenDerCase>
{};

TEST_P(PublicKeyEccBrokenDer, IsRefusedBeforeTheCheck)
{
    ByteArray signature = Bytes("3034 0218" + kR192 + "0218" + kS192);
    signature[GetParam().position] ^= 0x01;
    m_bOk = true;

    EXPECT_FALSE(m_Key192.VerifyEcc(signature, m_Sha512, m_bOk));

    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR invalid signature format"}));
}

INSTANTIATE_TEST_SUITE_P(All, PublicKeyEccBrokenDer,
                         testing::Values(BrokenDerCase{"SequenceLength", 1}, BrokenDerCase{"FirstTag", 2},
                                         BrokenDerCase{"FirstLength", 3}, BrokenDerCase{"SecondTag", 28},
                                         BrokenDerCase{"SecondLength", 29}),
                         [](const auto& row) { return row.param.name; });

TEST_F(PublicKeyEcc, OnAnUnnamedCurveTakesTheLengthFromTheSignature)
{
    EXPECT_TRUE(m_Unnamed192.VerifyEcc(Bytes(kR192 + kS192), m_Sha512, m_bOk));

    EXPECT_TRUE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"DEBUG curve name not set - deriving point length from signature length"}));
}

TEST_F(PublicKeyEcc, OnAnUnnamedCurveTakes64BytesFor256Bits)
{
    EXPECT_TRUE(m_Unnamed192.VerifyEcc(Bytes(kR256 + kS256), m_Sha1, m_bOk));

    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines().at(1), "ERROR error verify ecdsa signature");
}

TEST_F(PublicKeyEcc, OnAnUnnamedCurveRefusesOtherLengths)
{
    EXPECT_FALSE(m_Unnamed192.VerifyEcc(Bytes("3034 0218" + kR192 + "0218" + kS192), m_Sha512, m_bOk));

    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"DEBUG curve name not set - deriving point length from signature length",
                     "ERROR invalid ec key -> unknown curve"}));
}

TEST_F(PublicKeyEcc, OnAnotherNamedCurveTakesTheLengthFromTheSignature)
{
    const EcKeyPtr key(EC_KEY_new_by_curve_name(NID_secp224r1));
    EC_KEY_generate_key(key.get());
    PublicKey other;
    ASSERT_TRUE(other.SetEccKey(key.get()));

    EXPECT_FALSE(other.VerifyEcc(Repeated(0x11, 56), m_Sha1, m_bOk));
    EXPECT_TRUE(other.VerifyEcc(Repeated(0x11, 48), m_Sha1, m_bOk));
    EXPECT_FALSE(m_bOk);
}

TEST_F(PublicKeyEcc, GivesTheCoordinates)
{
    ByteArray x = Bytes("99");
    ByteArray y;

    EXPECT_TRUE(m_Key192.GetEccKeyValues(x, y));

    EXPECT_EQ(x, Bytes("99" + kX192));
    EXPECT_EQ(y, Bytes(kY192));
}

TEST_F(PublicKeyEcc, WithoutAPointHasNoCoordinatesAndChecksNothing)
{
    const EcKeyPtr key(EC_KEY_new_by_curve_name(NID_X9_62_prime192v1));
    PublicKey pointless;
    ASSERT_TRUE(pointless.SetEccKey(key.get()));
    ByteArray x;
    ByteArray y;

    EXPECT_FALSE(pointless.GetEccKeyValues(x, y));
    EXPECT_TRUE(pointless.VerifyEcc(Bytes(kR192 + kS192), m_Sha512, m_bOk));
    EXPECT_FALSE(m_bOk);
}

TEST_F(PublicKeyEcc, WithoutACurveHasNoCoordinatesAndChecksNothing)
{
    const EcKeyPtr key(EC_KEY_new());
    PublicKey curveless;
    ByteArray x;
    ByteArray y;
    curveless.SetEccKey(key.get());

    EXPECT_FALSE(curveless.GetEccKeyValues(x, y));
    curveless.VerifyEcc(Bytes(kR192 + kS192), m_Sha512, m_bOk);
    EXPECT_FALSE(m_bOk);
}

TEST_F(PublicKeyEcc, KeepsACopyOfTheKey)
{
    PublicKey key;
    {
        const EcKeyPtr original = KeyOn(NID_X9_62_prime192v1, kX192, kY192);
        ASSERT_TRUE(key.SetEccKey(original.get()));
    }

    EXPECT_EQ(key.GetKeyType(), KeyTypeECDSA);
    EXPECT_TRUE(key.Verify(Bytes(kR192 + kS192), m_Sha512, m_bOk));
    EXPECT_TRUE(m_bOk);
}

TEST_F(PublicKeyEcc, OfNoKeyIsRefused)
{
    PublicKey key;
    ByteArray x;
    ByteArray y;
    m_bOk = true;

    EXPECT_FALSE(key.SetEccKey(nullptr));
    EXPECT_FALSE(key.Verify(Bytes(kR192 + kS192), m_Sha512, m_bOk));
    EXPECT_FALSE(m_bOk);
    EXPECT_FALSE(key.GetEccKeyValues(x, y));

    EXPECT_EQ(key.GetKeyType(), KeyTypeECDSA);
    EXPECT_EQ(CapturedLog::Lines(), (Lines{"ERROR keydata not set", "ERROR keydata not set"}));
}

TEST_F(PublicKeyEcc, AnswersNoQuestionForRsa)
{
    unsigned long exponent = 77;
    ByteArray modulus = Bytes("99");
    m_bOk = true;

    EXPECT_FALSE(m_Key192.GetRsaExponent(exponent));
    EXPECT_FALSE(m_Key192.GetRsaModulus(modulus));
    EXPECT_FALSE(m_Key192.VerifyRsa(Repeated(0x01, 48), m_Sha1, m_bOk));

    EXPECT_EQ(exponent, 77U);
    EXPECT_EQ(modulus, Bytes("99"));
    EXPECT_FALSE(m_bOk);
    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"ERROR invalid keytype for GetRsaExponent", "ERROR invalid keytype for GetRsaModulus",
                     "ERROR invalid keytype for VerifyRsa"}));
}

TEST_F(PublicKeyEcc, LeavesTheErrorQueueOfTheHost)
{
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 1);
    const unsigned long before = ERR_peek_error();

    m_Key192.VerifyEcc(Bytes(kTopBitR192 + kTopBitS192), m_Sha1, m_bOk);

    EXPECT_EQ(ERR_get_error(), before);
    EXPECT_EQ(ERR_get_error(), 0U);
}

} // namespace
