#include "cryptoki/SessionData.h"

#include <string>

#include <gtest/gtest.h>

namespace
{

struct MappingRow
{
    CK_MECHANISM_TYPE mechanism;
    HashAlgorithm hash;
    PaddingType padding;
    bool bHashData;
};

constexpr MappingRow kRows[] = {
    {1, HashNone, PaddingNone, false},
    {6, HashSha1, PaddingPkcs1, true},
    {8, HashRipemd160, PaddingPkcs1, true},
    {64, HashSha256, PaddingPkcs1, true},
    {65, HashSha384, PaddingPkcs1, true},
    {66, HashSha512, PaddingPkcs1, true},
    {70, HashSha224, PaddingPkcs1, true},
    {4161, HashNone, PaddingNone, false},
    {4162, HashSha1, PaddingEcdsa, true},
    // Of no use: CKM_RSA_PKCS_KEY_PAIR_GEN, CKM_MD5_RSA_PKCS, CKM_SHA256_RSA_PKCS_PSS, CKM_ECDSA_SHA256, a digest.
    {0, HashUnknown, PaddingUnknown, true},
    {5, HashUnknown, PaddingUnknown, true},
    {67, HashUnknown, PaddingUnknown, true},
    {4164, HashUnknown, PaddingUnknown, true},
    {592, HashUnknown, PaddingUnknown, true},
    {~0UL, HashUnknown, PaddingUnknown, true},
};

class SessionDataMapping : public testing::TestWithParam<MappingRow>
{};

void Add(SessionData& data, std::string text)
{
    data.Add(reinterpret_cast<unsigned char*>(text.data()), text.size());
}

std::string Content(const SessionData& data)
{
    Norvik::ByteArray bytes(std::string("old"));
    data.GetData(bytes);
    return {bytes.begin(), bytes.end()};
}

} // namespace

TEST_P(SessionDataMapping, GivesHashPaddingAndWhoHashes)
{
    const SessionData data({GetParam().mechanism, nullptr, 0}, 1002);
    HashAlgorithm hash = HashAny;
    PaddingType padding = PkcsPSS;
    bool bHashData = !GetParam().bHashData;

    data.GetHashAlgoAndPadding(hash, padding, bHashData);

    EXPECT_EQ(hash, GetParam().hash);
    EXPECT_EQ(padding, GetParam().padding);
    EXPECT_EQ(bHashData, GetParam().bHashData);
}
INSTANTIATE_TEST_SUITE_P(All, SessionDataMapping, testing::ValuesIn(kRows),
                         [](const auto& row) { return "Mechanism" + std::to_string(row.param.mechanism); });

TEST(SessionData, KeepsMechanismAndKey)
{
    unsigned char parameter = 7;
    const SessionData data({CKM_ECDSA, &parameter, 1}, 1005);

    EXPECT_EQ(data.GetMechanism().mechanism, CKM_ECDSA);
    EXPECT_EQ(data.GetMechanism().pParameter, &parameter);
    EXPECT_EQ(data.GetMechanism().ulParameterLen, 1U);
    EXPECT_EQ(data.GetSelectedObject(), 1005U);
}

TEST(SessionData, AddAppendsAndGetDataReplaces)
{
    SessionData data({CKM_SHA256, nullptr, 0}, 0);
    EXPECT_EQ(data.GetDataLen(), 0U);
    EXPECT_EQ(Content(data), "");

    Add(data, "one ");
    Add(data, "");
    data.Add(nullptr, 0);
    Add(data, "two");

    EXPECT_EQ(data.GetDataLen(), 7U);
    EXPECT_EQ(Content(data), "one two");
}

TEST(SessionData, ClearDropsTheData)
{
    SessionData data({CKM_SHA256, nullptr, 0}, 0);
    Add(data, "something");

    data.Clear();

    EXPECT_EQ(data.GetDataLen(), 0U);
    EXPECT_EQ(Content(data), "");
    Add(data, "new");
    EXPECT_EQ(Content(data), "new");
}
