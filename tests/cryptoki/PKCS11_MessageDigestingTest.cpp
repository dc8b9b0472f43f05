#include "tests/cryptoki/CryptokiFixture.h"

#include "cryptoki/ModuleState.h"

namespace
{

using testing::Contains;
using testing::Not;

class Digesting : public CryptokiFixture
{
protected:
    Digesting() : m_hSession(Open()) { ClearLog(); }

    CK_RV Digest(std::string data)
    {
        return C_Digest(m_hSession, Data(data), data.size(), Data(m_Buffer), &m_Length);
    }
    CK_RV Update(std::string data) { return C_DigestUpdate(m_hSession, Data(data), data.size()); }
    CK_RV Final() { return C_DigestFinal(m_hSession, Data(m_Buffer), &m_Length); }
    /** The result as hexadecimal text; the buffer is fresh again then. */
    std::string Result()
    {
        std::string text = ToHex(Bytes(m_Buffer.substr(0, m_Length)));
        m_Buffer.assign(64, '.');
        m_Length = 64;
        return text;
    }

    const CK_SESSION_HANDLE m_hSession;
    std::string m_Buffer = std::string(64, '.');
    unsigned long m_Length = 64;
};

struct DigestCase
{
    const char* name;
    CK_MECHANISM_TYPE mechanism;
    const char* ofAbc;
};
// The digests of "abc", as the standards print them (RFC 1321, FIPS 180, the RIPEMD-160 report, RFC 3874).
constexpr DigestCase kDigests[] = {
    {"Md5", 528, "900150983CD24FB0D6963F7D28E17F72"},
    {"Sha1", 544, "A9993E364706816ABA3E25717850C26C9CD0D89D"},
    {"Ripemd160", 576, "8EB208F7E05D987A9B044A8E98C6B087F15A0BFC"},
    {"Sha256", 592, "BA7816BF8F01CFEA414140DE5DAE2223B00361A396177A9CB410FF61F20015AD"},
    {"Sha224", 597, "23097D223405D8228642A477BDA255B32AADBCE4BDA0B3F7E36C9DA7"},
    {"Sha384", 608,
     "CB00753F45A35E8BB5A03D699AC65007272C32AB0EDED1631A8B605A43FF5BED8086072BA1E7CC2358BAECA134C825A7"},
    {"Sha512", 624,
     "DDAF35A193617ABACC417349AE20413112E6FA4E89A97EA20A9EEEE64B55D39A2192992A274FC1A836BA3C23A3FEEBBD454D442"
     "3643C"
     "E80E2A9AC94FA54CA49F"},
};
class DigestMechanism : public Digesting, public testing::WithParamInterface<DigestCase>
{};

constexpr const char* kSha1OfNothing = "DA39A3EE5E6B4B0D3255BFEF95601890AFD80709";
constexpr const char* kSha1OfAbc = "A9993E364706816ABA3E25717850C26C9CD0D89D";

} // namespace

TEST_P(DigestMechanism, GivesThePublishedDigest)
{
    ASSERT_EQ(DigestInit(m_hSession, GetParam().mechanism), CKR_OK);
    EXPECT_EQ(Digest("abc"), CKR_OK);
    EXPECT_EQ(Result(), GetParam().ofAbc);
    ASSERT_EQ(Update("a"), CKR_OK);
    ASSERT_EQ(Update("bc"), CKR_OK);
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(Result(), GetParam().ofAbc);
}
INSTANTIATE_TEST_SUITE_P(All, DigestMechanism, testing::ValuesIn(kDigests),
                         [](const auto& row) { return row.param.name; });

TEST_F(Digesting, RefusedMechanismIsInstalledAndFailsAtTheEnd)
{
    EXPECT_EQ(DigestInit(m_hSession, CKM_MD2), CKR_MECHANISM_INVALID);
    EXPECT_THAT(Log(), Contains("ERROR invalid mechanism for hashing").Times(1));
    EXPECT_EQ(Update("abc"), CKR_OK);
    EXPECT_EQ(Final(), CKR_MECHANISM_INVALID);
    EXPECT_THAT(Log(), Contains("ERROR invalid mechanism for hashing").Times(2));
}

TEST_F(Digesting, NewSessionHasNoDigest)
{
    EXPECT_EQ(Update("abc"), CKR_FUNCTION_FAILED);
    EXPECT_THAT(Log(), Contains("ERROR verify not initialized"));
    EXPECT_EQ(Final(), CKR_FUNCTION_FAILED);
    EXPECT_THAT(Log(), Contains("ERROR digest not initialized"));
    EXPECT_EQ(Digest("abc"), CKR_FUNCTION_FAILED);
}

TEST_F(Digesting, SecondFinalIsTheDigestOfNothing)
{
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    ASSERT_EQ(Update("abc"), CKR_OK);
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(Result(), kSha1OfAbc);
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(Result(), kSha1OfNothing);
}

TEST_F(Digesting, DigestMayBeRepeatedWithoutAnotherInit)
{
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    EXPECT_EQ(Digest("abc"), CKR_OK);
    EXPECT_EQ(Result(), kSha1OfAbc);
    EXPECT_EQ(Digest("abc"), CKR_OK);
    EXPECT_EQ(Result(), kSha1OfAbc);
}

TEST_F(Digesting, SmallBufferKeepsTheLengthAndDropsTheData)
{
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    m_Length = 19;
    EXPECT_EQ(Digest("abc"), CKR_BUFFER_TOO_SMALL);
    EXPECT_EQ(m_Length, 19U);
    EXPECT_EQ(m_Buffer, std::string(64, '.'));
    EXPECT_THAT(Log(), Contains("ERROR buffer to small"));

    m_Length = 20;
    EXPECT_EQ(Digest("abc"), CKR_OK);
    EXPECT_EQ(Result(), kSha1OfAbc);

    ASSERT_EQ(Update("abc"), CKR_OK);
    m_Length = 0;
    EXPECT_EQ(Final(), CKR_BUFFER_TOO_SMALL);
    m_Length = 64;
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(Result(), kSha1OfNothing);
}

TEST_F(Digesting, InitDuringADigestBeginsAgain)
{
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA256), CKR_OK);
    ASSERT_EQ(Update("lost"), CKR_OK);
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    EXPECT_EQ(Final(), CKR_OK);
    EXPECT_EQ(Result(), kSha1OfNothing);
}

TEST_F(Digesting, StrayUpdateAfterASignInitSucceeds)
{
    ASSERT_EQ(SignInit(m_hSession), CKR_OK);
    EXPECT_EQ(Update("appended to the signature's data"), CKR_OK);
}

TEST_F(Digesting, MissingTokenIsRefused)
{
    ASSERT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_OK);
    DropToken();
    EXPECT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Update("abc"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Final(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Digest("abc"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_THAT(Log(), Contains("ERROR Session not initialized").Times(4));
}

TEST_F(Digesting, BeforeInitialisationTheEmptyTableRefuses)
{
    ASSERT_EQ(C_CloseAllSessions(0), CKR_OK);
    bCryptokiInitialized = 0;
    EXPECT_EQ(DigestInit(m_hSession, CKM_SHA_1), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Update("abc"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Final(), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(Digest("abc"), CKR_SESSION_HANDLE_INVALID);
    EXPECT_EQ(SignInit(m_hSession), CKR_CRYPTOKI_NOT_INITIALIZED);
    EXPECT_THAT(Log(), Not(Contains("ERROR Session not initialized")));
}
