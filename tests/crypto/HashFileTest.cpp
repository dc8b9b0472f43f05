#include "crypto/Hash.h"

#include "tests/crypto/Bytes.h"
#include "tests/crypto/CapturedCryptoLog.h"

#include <memory>

#include <gtest/gtest.h>

namespace
{

using Norvik::HashAlgorithm;
using Lines = std::vector<std::string>;

struct FileClose
{
    void operator()(std::FILE* file) const { std::fclose(file); }
};
using FilePtr = std::unique_ptr<std::FILE, FileClose>;

/** A file that stands at its beginning. */
FilePtr FileWith(const std::string& content)
{
    FilePtr file(std::tmpfile());
    std::fwrite(content.data(), 1, content.size(), file.get());
    std::rewind(file.get());
    return file;
}

struct FileCase
{
    const char* name;
    std::size_t letters; ///< the file holds so many 'z'
    const char* sha256;  ///< by "openssl dgst"
};

class HashFile : public testing::TestWithParam<FileCase>
{};

// Blocks have 5012 bytes.
TEST_P(HashFile, ReadsToTheEnd)
{
    const FilePtr file = FileWith(std::string(GetParam().letters, 'z'));
    std::vector<unsigned char> output = {0x99};

    ASSERT_TRUE(Norvik::HashFile(file.get(), output, HashAlgorithm::Sha256));

    EXPECT_EQ(output, Bytes(std::string("99") + GetParam().sha256));
}

INSTANTIATE_TEST_SUITE_P(
    All, HashFile,
    testing::Values(
        FileCase{"Empty", 0, "e3b0c44298fc1c149afbf4c8996fb92427ae41e4649b934ca495991b7852b855"},
        FileCase{"TwoWholeBlocks", 10024, "8c5701de140a699c8322a03e449d349fa93b7df9b4202cdc7c29bd31f9d66ebf"},
        FileCase{"OneByteMore", 10025, "c5a267f9e6420b5b6bdb028ceffdc59c64d9944f011a3cd612f439943ada5ae6"}),
    [](const auto& row) { return row.param.name; });

TEST(HashFileToArray, FillsItsOutput)
{
    const FilePtr file = FileWith("abc");
    unsigned char output[21] = {};
    unsigned long length = sizeof(output);

    ASSERT_TRUE(Norvik::HashFile(file.get(), output, length, HashAlgorithm::Ripemd160));

    EXPECT_EQ(length, 20U);
    EXPECT_EQ(Norvik::ByteArray(output, sizeof(output)),
              Bytes("8eb208f7e05d987a9b044a8e98c6b087f15a0bfc 00"));
}

TEST(HashFileToArray, ChecksFileOutputAlgorithmAndRoomInThisOrder)
{
    const CapturedCryptoLog log;
    const FilePtr file = FileWith("abc");
    unsigned char output[20] = {};
    unsigned long length = 19;

    EXPECT_FALSE(Norvik::HashFile(nullptr, nullptr, length, HashAlgorithm::None));
    EXPECT_FALSE(Norvik::HashFile(file.get(), nullptr, length, HashAlgorithm::None));
    EXPECT_FALSE(Norvik::HashFile(file.get(), output, length, HashAlgorithm::None));
    EXPECT_FALSE(Norvik::HashFile(file.get(), output, length, HashAlgorithm::Sha1));

    EXPECT_EQ(CapturedCryptoLog::Lines(), (Lines{"ERROR PKCS11 infile is NULL", "ERROR PKCS11 output == NULL",
                                                 "ERROR PKCS11 outputsize ist zu klein"}));
    EXPECT_EQ(std::ftell(file.get()), 0);
}

TEST(HashFileToArray, FinishesTheDigestAfterAReadError)
{
    const CapturedCryptoLog log;
    // A directory opens for reading, and every read of it fails.
    const FilePtr directory(std::fopen("/", "r"));
    ASSERT_NE(directory, nullptr);
    unsigned char output[20] = {};
    unsigned long length = sizeof(output);

    EXPECT_FALSE(Norvik::HashFile(directory.get(), output, length, HashAlgorithm::Sha1));

    EXPECT_EQ(Norvik::ByteArray(output, 20), Bytes("da39a3ee5e6b4b0d3255bfef95601890afd80709"));
    EXPECT_EQ(CapturedCryptoLog::Lines(), (Lines{"ERROR PKCS11 file read error"}));
}

TEST(HashFileToVector, KeepsItsOutputAfterAReadError)
{
    const FilePtr directory(std::fopen("/", "r"));
    std::vector<unsigned char> output = {0x99};

    EXPECT_FALSE(Norvik::HashFile(directory.get(), output, HashAlgorithm::Sha1));
    EXPECT_FALSE(Norvik::HashFile(nullptr, output, HashAlgorithm::Sha1));

    EXPECT_EQ(output, Bytes("99"));
}

} // namespace
