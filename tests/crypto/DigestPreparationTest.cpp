#include "crypto/DigestPreparation.h"

#include "crypto/LibCardImpl.h"
#include "tests/crypto/Bytes.h"
#include "tests/support/CapturedLog.h"

#include <gtest/gtest.h>

namespace
{

using Norvik::ByteArray;
using Lines = std::vector<std::string>;

constexpr LogBridge kBridge = {LibCardImpl::SetErrorLoggingFunc, LibCardImpl::SetMessageLoggingFunc,
                               LibCardImpl::SetDebugLoggingFunc};

const std::string kUnknownHash = "ERROR Unsupported/Unknown Hash Algorithm";

struct HashFacts
{
    const char* name;
    HashAlgorithm hash;
    const char* prefix;
    std::size_t digestLength;
    const char* ofNothing; ///< by "openssl dgst"
};

const HashFacts kHashes[] = {
    {"Sha1", HashSha1, "30 21 30 09 06 05 2b 0e 03 02 1a 05 00 04 14", 20,
     "da39a3ee5e6b4b0d3255bfef95601890afd80709"},
    {"Ripemd160", HashRipemd160, "30 21 30 09 06 05 2b 24 03 02 01 05 00 04 14", 20,
     "9c1185a5c5e9fc54612808977ee8f548b2258d31"},
    {"Sha256", HashSha256, "30 31 30 0d 06 09 60 86 48 01 65 03 04 02 01 05 00 04 20", 32,
     "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
    {"Sha384", HashSha384, "30 41 30 0d 06 09 60 86 48 01 65 03 04 02 02 05 00 04 30", 48,
     "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b"},
    {"Sha512", HashSha512, "30 51 30 0d 06 09 60 86 48 01 65 03 04 02 03 05 00 04 40", 64,
     "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
     "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e"},
};

ByteArray Joined(ByteArray front, const ByteArray& back)
{
    front.insert(front.end(), back.begin(), back.end());
    return front;
}

class EachHash : public testing::TestWithParam<HashFacts>
{
protected:
    const ByteArray m_Digest = Repeated(0xD1, GetParam().digestLength);
    const ByteArray m_DigestInfo = Joined(Bytes(GetParam().prefix), m_Digest);
    ByteArray m_Out{std::string("before")};
};

TEST_P(EachHash, HashesNothing)
{
    m_Out.clear();

    EXPECT_TRUE(HashData({}, m_Out, GetParam().hash));
    EXPECT_EQ(m_Out, Bytes(GetParam().ofNothing));
}

TEST_P(EachHash, GetsItsPrefixForPkcs1)
{
    EXPECT_TRUE(PrepareDigest(m_Digest, m_Out, GetParam().hash, PaddingPkcs1));
    EXPECT_EQ(m_Out, m_DigestInfo);
}

TEST_P(EachHash, KeepsItsOwnDigestInfoForPkcs1)
{
    EXPECT_TRUE(PrepareDigest(m_DigestInfo, m_Out, GetParam().hash, PaddingPkcs1));
    EXPECT_EQ(m_Out, m_DigestInfo);
}

TEST_P(EachHash, LosesItsDigestInfoForOtherPaddings)
{
    for (const PaddingType padding : {PaddingUnknown, PaddingNone, PaddingEcdsa, static_cast<PaddingType>(5)})
    {
        EXPECT_TRUE(PrepareDigest(m_DigestInfo, m_Out, GetParam().hash, padding));
        EXPECT_EQ(m_Out, m_Digest) << padding;
    }
}

TEST_P(EachHash, LosesItsDigestInfoWhenAnyHashIsAsked)
{
    EXPECT_TRUE(RemoveDigestInfoForSignature(m_DigestInfo, m_Out));
    EXPECT_EQ(m_Out, m_Digest);
    EXPECT_TRUE(PrepareDigest(m_DigestInfo, m_Out, HashAny, PaddingPkcs1));
    EXPECT_EQ(m_Out, m_Digest);
}

TEST_P(EachHash, IsNoDigestInfoOneByteShortOrLong)
{
    ByteArray shorter = m_DigestInfo;
    shorter.pop_back();
    ByteArray longer = m_DigestInfo;
    longer.push_back(0x00);

    EXPECT_TRUE(RemoveDigestInfoForSignature(shorter, m_Out));
    EXPECT_EQ(m_Out, shorter);
    EXPECT_TRUE(RemoveDigestInfoForSignature(longer, m_Out));
    EXPECT_EQ(m_Out, longer);
}

TEST_P(EachHash, IsNoDigestInfoWithAnotherPrefix)
{
    ByteArray changed = m_DigestInfo;
    changed[6] ^= 0x01;

    EXPECT_TRUE(RemoveDigestInfoForSignature(changed, m_Out));
    EXPECT_EQ(m_Out, changed);
}

TEST_P(EachHash, IsRefusedForPssAlsoAfterAStrip)
{
    const CapturedLog log{kBridge};

    EXPECT_FALSE(PrepareDigest(m_DigestInfo, m_Out, GetParam().hash, PkcsPSS));
    EXPECT_EQ(m_Out, m_Digest);
    EXPECT_FALSE(PrepareDigest(m_Digest, m_Out, GetParam().hash, PkcsPSS));

    EXPECT_EQ(CapturedLog::Lines(),
              (Lines{"ERROR Unsupported Padding -> PkcsPSS", "ERROR Unsupported Padding -> PkcsPSS"}));
}

INSTANTIATE_TEST_SUITE_P(All, EachHash, testing::ValuesIn(kHashes),
                         [](const auto& row) { return row.param.name; });

TEST(HashData, AppendsTheDigest)
{
    ByteArray out = Bytes("99");

    EXPECT_TRUE(HashData(ByteArray(std::string("abc")), out, HashSha1));
    EXPECT_EQ(out, Bytes("99 a9993e364706816aba3e25717850c26c9cd0d89d"));
}

TEST(HashData, CopiesForNoneAndAny)
{
    for (const HashAlgorithm hash : {HashNone, HashAny})
    {
        ByteArray out = Bytes("99");
        EXPECT_TRUE(HashData(Bytes("01 02"), out, hash));
        EXPECT_EQ(out, Bytes("01 02"));
    }
}

TEST(HashData, RefusesSha224AndUnknownHashes)
{
    const CapturedLog log{kBridge};
    ByteArray out = Bytes("99");

    EXPECT_FALSE(HashData({}, out, HashSha224));
    EXPECT_FALSE(HashData({}, out, HashUnknown));
    EXPECT_FALSE(HashData({}, out, static_cast<HashAlgorithm>(9)));

    EXPECT_EQ(out, Bytes("99"));
    EXPECT_EQ(CapturedLog::Lines(), (Lines{kUnknownHash, kUnknownHash, kUnknownHash}));
}

TEST(PrepareDigest, PassesEverythingThroughForNoneAndNone)
{
    const ByteArray digestInfo = Joined(Bytes(kHashes[0].prefix), Repeated(0xD1, 20));
    ByteArray out = Bytes("99");

    EXPECT_TRUE(PrepareDigest(digestInfo, out, HashNone, PaddingNone));
    EXPECT_EQ(out, digestInfo);
}

TEST(PrepareDigest, DoesNotStripForHashNone)
{
    const ByteArray digestInfo = Joined(Bytes(kHashes[0].prefix), Repeated(0xD1, 20));
    ByteArray out;

    EXPECT_TRUE(PrepareDigest(digestInfo, out, HashNone, PaddingEcdsa));
    EXPECT_EQ(out, digestInfo);
}

TEST(PrepareDigest, RefusesPkcs1WithoutAHash)
{
    const CapturedLog log{kBridge};
    ByteArray out = Bytes("99");

    EXPECT_FALSE(PrepareDigest(Repeated(0xD1, 20), out, HashNone, PaddingPkcs1));
    EXPECT_FALSE(PrepareDigest(Repeated(0xD1, 28), out, HashSha224, PaddingPkcs1));
    EXPECT_FALSE(PrepareDigest(Repeated(0xD1, 20), out, HashUnknown, PaddingPkcs1));

    EXPECT_TRUE(out.empty());
    EXPECT_EQ(CapturedLog::Lines(), (Lines{kUnknownHash, kUnknownHash, kUnknownHash}));
}

TEST(PrepareDigest, PassesDataThroughForAnUnknownPadding)
{
    const CapturedLog log{kBridge};
    ByteArray out;

    EXPECT_TRUE(PrepareDigest(Bytes("01 02 03"), out, HashUnknown, PaddingUnknown));
    EXPECT_EQ(out, Bytes("01 02 03"));
    EXPECT_TRUE(CapturedLog::Lines().empty());
}

// The card refuses such a block; that is where the mistake shows.
TEST(PrepareDigest, AppendsTheWholeInputBehindTheStrippedDigestOfAnotherHash)
{
    const ByteArray sha1Info = Joined(Bytes(kHashes[0].prefix), Repeated(0xD1, 20));
    ByteArray out;

    EXPECT_TRUE(PrepareDigest(sha1Info, out, HashSha256, PaddingPkcs1));

    EXPECT_EQ(out, Joined(Joined(Repeated(0xD1, 20), Bytes(kHashes[2].prefix)), sha1Info));
}

TEST(PrepareDigest, OfNothingIsThePrefixAlone)
{
    ByteArray out;

    EXPECT_TRUE(PrepareDigest({}, out, HashSha1, PaddingPkcs1));
    EXPECT_EQ(out, Bytes(kHashes[0].prefix));
}

TEST(RemoveDigestInfo, PassesBareDigestsThrough)
{
    ByteArray out;

    EXPECT_TRUE(RemoveDigestInfoForSignature(Repeated(0xD1, 20), out));
    EXPECT_EQ(out, Repeated(0xD1, 20));
    EXPECT_TRUE(RemoveDigestInfoForSignature({}, out));
    EXPECT_TRUE(out.empty());
}

} // namespace
