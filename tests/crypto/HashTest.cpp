#include "crypto/Hash.h"

#include "tests/crypto/Bytes.h"
#include "tests/crypto/CapturedCryptoLog.h"

#include <array>

#include <gtest/gtest.h>
#include <openssl/err.h>
#include <openssl/evp.h>
#include <openssl/provider.h>

namespace
{

using Norvik::ByteArray;
using Norvik::HashAlgorithm;
using Lines = std::vector<std::string>;

struct DigestCase
{
    const char* name;
    HashAlgorithm algorithm;
    unsigned long length;
    const char* ofNothing;
    const char* ofAbc;
    const char* prefix; ///< of the DigestInfo
};

// By "openssl dgst"; the prefixes by RFC 8017, section 9.2, note 1, RIPEMD-160 by the object identifier 1.3.36.3.2.1.
constexpr DigestCase kDigests[] = {
    {"Sha1", HashAlgorithm::Sha1, 20, "da39a3ee5e6b4b0d3255bfef95601890afd80709",
     "a9993e364706816aba3e25717850c26c9cd0d89d", "30 21 30 09 06 05 2b 0e 03 02 1a 05 00 04 14"},
    {"Ripemd160", HashAlgorithm::Ripemd160, 20, "9c1185a5c5e9fc54612808977ee8f548b2258d31",
     "8eb208f7e05d987a9b044a8e98c6b087f15a0bfc", "30 21 30 09 06 05 2b 24 03 02 01 05 00 04 14"},
    {"Sha224", HashAlgorithm::Sha224, 28, "d14a028c2a3a2bc9476102bb288234c415a2b01f828ea62ac5b3e42f",
     "23097d223405d8228642a477bda255b32aadbce4bda0b3f7e36c9da7", ""},
    {"Sha256", HashAlgorithm::Sha256, 32, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855",
     "ba7816bf8f01cfea414140de5dae2223b00361a396177a9cb410ff61f20015ad",
     "30 31 30 0d 06 09 60 86 48 01 65 03 04 02 01 05 00 04 20"},
    {"Sha512", HashAlgorithm::Sha512, 64,
     "cf83e1357eefb8bdf1542850d66d8007d620e4050b5715dc83f4a921d36ce9ce"
     "47d0d13c5d85f2b0ff8318d2877eec2f63b931bd47417a81a538327af927da3e",
     "ddaf35a193617abacc417349ae20413112e6fa4e89a97ea20a9eeee64b55d39a"
     "2192992a274fc1a836ba3c23a3feebbd454d4423643ce80e2a9ac94fa54ca49f",
     "30 51 30 0d 06 09 60 86 48 01 65 03 04 02 03 05 00 04 40"},
    {"Md5", HashAlgorithm::Md5, 16, "d41d8cd98f00b204e9800998ecf8427e", "900150983cd24fb0d6963f7d28e17f72",
     ""},
    {"Md4", HashAlgorithm::Md4, 16, "31d6cfe0d16ae931b73c59d7e0c089c0", "a448017aaf21d8525fc10ae87aa6729d",
     ""},
    {"Sha384", HashAlgorithm::Sha384, 48,
     "38b060a751ac96384cd9327eb1b1e36a21fdb71114be07434c0cc7bf63f6e1da274edebfe76f65fbd51ad2f14898b95b",
     "cb00753f45a35e8bb5a03d699ac65007272c32ab0eded1631a8b605a43ff5bed8086072ba1e7cc2358baeca134c825a7",
     "30 41 30 0d 06 09 60 86 48 01 65 03 04 02 02 05 00 04 30"},
};

class Digest : public testing::TestWithParam<DigestCase>
{
protected:
    const ByteArray m_Abc{std::string("abc")};
};

TEST_P(Digest, OfAVectorIsAppended)
{
    std::vector<unsigned char> output = {0x99};

    ASSERT_TRUE(Norvik::Hash(m_Abc, output, GetParam().algorithm, false));

    EXPECT_EQ(output, Bytes(std::string("99") + GetParam().ofAbc));
}

TEST_P(Digest, OfAnEmptyVectorSucceeds)
{
    std::vector<unsigned char> output;

    ASSERT_TRUE(Norvik::Hash({}, output, GetParam().algorithm, false));

    EXPECT_EQ(output, Bytes(GetParam().ofNothing));
}

TEST_P(Digest, GetsItsPrefixInFrontOfTheWholeOutput)
{
    std::vector<unsigned char> output = {0x99};

    ASSERT_TRUE(Norvik::Hash(m_Abc, output, GetParam().algorithm, true));

    EXPECT_EQ(output, Bytes(std::string(GetParam().prefix) + "99" + GetParam().ofAbc));
}

TEST_P(Digest, OfAnArrayFillsItsOutput)
{
    ByteArray output = Repeated(0x55, GetParam().length + 1);
    unsigned long length = output.size();

    ASSERT_TRUE(Norvik::Hash(m_Abc.data(), m_Abc.size(), output.data(), length, GetParam().algorithm));

    EXPECT_EQ(length, GetParam().length);
    EXPECT_EQ(output, Bytes(std::string(GetParam().ofAbc) + "55"));
}

TEST_P(Digest, FitsAnOutputOfItsOwnLength)
{
    ByteArray output = Repeated(0x55, GetParam().length);
    unsigned long length = output.size();

    ASSERT_TRUE(Norvik::Hash(m_Abc.data(), m_Abc.size(), output.data(), length, GetParam().algorithm));

    EXPECT_EQ(output, Bytes(GetParam().ofAbc));
}

TEST_P(Digest, NeedsRoomForAllOfIt)
{
    const CapturedCryptoLog log;
    ByteArray output = Repeated(0x55, GetParam().length - 1);
    unsigned long length = output.size();

    EXPECT_FALSE(Norvik::Hash(m_Abc.data(), m_Abc.size(), output.data(), length, GetParam().algorithm));

    EXPECT_EQ(length, GetParam().length - 1);
    EXPECT_EQ(output, Repeated(0x55, GetParam().length - 1));
    EXPECT_EQ(CapturedCryptoLog::Lines(), (Lines{"ERROR PKCS11 outputsize ist zu klein"}));
}

TEST_P(Digest, IsGivenAsAnObjectOfOpenSsl)
{
    unsigned long length = 0;

    const EVP_MD* const digest = Norvik::intern::GetHashAlgo(GetParam().algorithm, length);

    ASSERT_NE(digest, nullptr);
    EXPECT_EQ(length, GetParam().length);
    EXPECT_EQ(EVP_MD_get_size(digest), static_cast<int>(GetParam().length));
    EXPECT_EQ(Norvik::intern::GetHashAlgo(GetParam().algorithm, length), digest);
}

INSTANTIATE_TEST_SUITE_P(All, Digest, testing::ValuesIn(kDigests),
                         [](const auto& row) { return row.param.name; });

TEST(DigestOfNoAlgorithm, FailsSilentlyAndTouchesNothing)
{
    for (const int value : {7, 9, -1})
    {
        const auto algorithm = static_cast<HashAlgorithm>(value);
        const CapturedCryptoLog log;
        std::vector<unsigned char> vector = {0x99};
        unsigned char array[64] = {0x55};
        unsigned long length = 64;
        unsigned long objectLength = 77;

        EXPECT_FALSE(Norvik::Hash({}, vector, algorithm, true));
        EXPECT_FALSE(Norvik::Hash(array, 0, array, length, algorithm));
        EXPECT_EQ(Norvik::intern::GetHashAlgo(algorithm, objectLength), nullptr);

        EXPECT_EQ(vector, Bytes("99"));
        EXPECT_EQ(array[0], 0x55);
        EXPECT_EQ(length, 64U);
        EXPECT_EQ(objectLength, 77U);
        EXPECT_TRUE(CapturedCryptoLog::Lines().empty());
    }
}

TEST(DigestOfAnArray, NeedsInputAndOutput)
{
    const CapturedCryptoLog log;
    unsigned char bytes[64] = {};
    unsigned long length = sizeof(bytes);

    EXPECT_FALSE(Norvik::Hash(nullptr, 0, bytes, length, HashAlgorithm::Sha1));
    EXPECT_FALSE(Norvik::Hash(bytes, 1, nullptr, length, HashAlgorithm::Sha1));

    EXPECT_EQ(CapturedCryptoLog::Lines(),
              (Lines{"ERROR PKCS11 input == NULL", "ERROR PKCS11 output == NULL"}));
    EXPECT_EQ(length, sizeof(bytes));
}

TEST(DigestOfAnArray, LooksAtTheInputFirst)
{
    const CapturedCryptoLog log;
    unsigned long length = 0;

    EXPECT_FALSE(Norvik::Hash(nullptr, 0, nullptr, length, HashAlgorithm::None));

    EXPECT_EQ(CapturedCryptoLog::Lines(), (Lines{"ERROR PKCS11 input == NULL"}));
}

TEST(DigestIntoItsOwnInput, HashesTheInputFirst)
{
    std::vector<unsigned char> bytes = {'a', 'b', 'c'};

    ASSERT_TRUE(Norvik::Hash(bytes, bytes, HashAlgorithm::Sha1, false));

    EXPECT_EQ(bytes, Bytes("616263 a9993e364706816aba3e25717850c26c9cd0d89d"));
}

// The host process must not find a provider that it didn't load, nor an error that it didn't make.
TEST(DigestsOfOurOwn, LeaveTheHostAsItWas)
{
    std::vector<unsigned char> output;
    ERR_clear_error();

    ASSERT_TRUE(Norvik::Hash({}, output, HashAlgorithm::Md4, false));
    ASSERT_TRUE(Norvik::Hash({}, output, HashAlgorithm::Ripemd160, false));

    EXPECT_EQ(OSSL_PROVIDER_available(nullptr, "legacy"), 0);
    EXPECT_EQ(EVP_MD_fetch(nullptr, "MD4", nullptr), nullptr);
    EXPECT_EQ(ERR_GET_REASON(ERR_peek_error()), ERR_R_UNSUPPORTED);
    ERR_clear_error();
}

TEST(DigestsOfOurOwn, LeaveTheErrorQueueOfTheHost)
{
    ERR_clear_error();
    ERR_raise(ERR_LIB_USER, 1);
    const unsigned long before = ERR_peek_error();
    std::vector<unsigned char> output;

    Norvik::Hash({}, output, HashAlgorithm::Md4, false);
    Norvik::Hash({}, output, HashAlgorithm::None, false);

    EXPECT_EQ(ERR_get_error(), before);
    EXPECT_EQ(ERR_get_error(), 0U);
}

} // namespace
