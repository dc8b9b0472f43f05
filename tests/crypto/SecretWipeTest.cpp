#include "crypto/SecretWipe.h"

#include <algorithm>
#include <stdexcept>

#include <gtest/gtest.h>

namespace
{

bool IsZero(const void* memory, std::size_t size)
{
    const auto* const bytes = static_cast<const unsigned char*>(memory);
    return std::all_of(bytes, bytes + size, [](unsigned char byte) { return byte == 0; });
}

TEST(SecretWipe, OverwritesMemory)
{
    unsigned char memory[8] = {1, 2, 3, 4, 5, 6, 7, 8};

    Norvik::Wipe(memory, sizeof(memory));

    EXPECT_TRUE(IsZero(memory, sizeof(memory)));
}

TEST(SecretWipe, OfNoBytesMayHaveNoAddress)
{
    Norvik::Wipe(nullptr, 0);
}

TEST(SecretWipe, EmptiesABufferAndOverwritesAllItsStorage)
{
    std::vector<unsigned char> pin = {'1', '2', '3', '4', '5', '6'};
    // A shorter content leaves the end of a longer one behind.
    pin.resize(2);
    const std::size_t capacity = pin.capacity();

    Norvik::Wipe(pin);

    EXPECT_TRUE(pin.empty());
    ASSERT_EQ(pin.capacity(), capacity);
    pin.reserve(capacity);
    EXPECT_TRUE(IsZero(pin.data(), capacity));
}

TEST(SecretWipe, EmptiesATextAndOverwritesAllItsStorage)
{
    std::string pin = "123456 which is long enough to be on the heap";
    const std::size_t capacity = pin.capacity();

    Norvik::Wipe(pin);

    EXPECT_TRUE(pin.empty());
    ASSERT_EQ(pin.capacity(), capacity);
    EXPECT_TRUE(IsZero(pin.data(), capacity));
}

TEST(SecretWipe, OfAnEmptyBufferDoesNothing)
{
    std::vector<unsigned char> bytes;
    std::string text;

    Norvik::Wipe(bytes);
    Norvik::Wipe(text);

    EXPECT_TRUE(bytes.empty());
    EXPECT_TRUE(text.empty());
}

TEST(WipeGuard, WipesABufferAtTheEndOfItsScope)
{
    std::vector<unsigned char> pin = {'1', '2', '3', '4'};
    {
        const Norvik::WipeGuard guard(pin);
        EXPECT_EQ(pin.size(), 4U);
    }
    EXPECT_TRUE(pin.empty());
    EXPECT_TRUE(IsZero(pin.data(), pin.capacity()));
}

TEST(WipeGuard, WipesAnArrayWhileAnExceptionPasses)
{
    char pin[] = "1234";
    try
    {
        const Norvik::WipeGuard guard(pin);
        throw std::runtime_error("passing");
    }
    catch (const std::runtime_error&)
    {
        EXPECT_TRUE(IsZero(pin, sizeof(pin)));
    }
}

} // namespace
