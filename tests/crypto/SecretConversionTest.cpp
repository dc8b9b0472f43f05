#include "crypto/Conversion.h"

#include "tests/support/FreedSecretWatch.h"

#include <gtest/gtest.h>

namespace
{

// PIN blocks are made through their hexadecimal text; both forms are secrets. Long enough to need the heap.
const std::string kDigits = "2c3132333435363738393031323334353637";
const std::string kBytes = "\x2C"
                           "12345678901234567";

TEST(SecretConversion, LeavesNoCopyOfTheBytes)
{
    std::vector<unsigned char> bytes = {0x00};
    std::vector<unsigned char> array(kBytes.size());
    unsigned long capacity = array.size();
    const FreedSecretWatch watch(kBytes);

    Norvik::HexStr2BinData(kDigits, bytes);
    Norvik::HexStr2BinData(kDigits.data(), kDigits.size(), array.data(), capacity);

    EXPECT_EQ(watch.Leaks(), 0U);
    EXPECT_EQ(array, std::vector<unsigned char>(kBytes.begin(), kBytes.end()));
}

TEST(SecretConversion, LeavesNoCopyOfTheDigits)
{
    std::vector<unsigned char> array(kBytes.size());
    unsigned long capacity = array.size();
    const FreedSecretWatch watch(kDigits);

    Norvik::HexStr2BinData(kDigits.data(), kDigits.size(), array.data(), capacity);
    static_cast<void>(Norvik::HexStr2BinData(kDigits.c_str()));

    EXPECT_EQ(watch.Leaks(), 0U);
}

TEST(SecretConversion, LeavesNoCopyWhenAnArrayIsTooSmall)
{
    unsigned char byte = 0;
    unsigned long capacity = 1;
    const FreedSecretWatch watch(kBytes);

    EXPECT_EQ(Norvik::HexStr2BinData(kDigits.data(), kDigits.size(), &byte, capacity), -1);

    EXPECT_EQ(watch.Leaks(), 0U);
}

} // namespace
