#pragma once

#include <cstdint>
#include <string>

/** The status words of ISO 7816-4 that the simulated cards give. */
namespace Simulator::StatusWord
{

constexpr std::uint16_t kOk = 0x9000;
constexpr std::uint16_t kEndOfFile = 0x6282;
constexpr std::uint16_t kTriesLeft = 0x63C0; ///< the low nibble counts
constexpr std::uint16_t kEntryTimedOut = 0x6400;
constexpr std::uint16_t kEntryCancelled = 0x6401;
constexpr std::uint16_t kWrongLength = 0x6700;
constexpr std::uint16_t kSecurityNotSatisfied = 0x6982;
constexpr std::uint16_t kPinBlocked = 0x6983;
constexpr std::uint16_t kConditionsNotSatisfied = 0x6985;
constexpr std::uint16_t kNoCurrentFile = 0x6986;
constexpr std::uint16_t kWrongData = 0x6A80;
constexpr std::uint16_t kFileNotFound = 0x6A82;
constexpr std::uint16_t kNotEnoughMemory = 0x6A84;
constexpr std::uint16_t kWrongParameters = 0x6A86;
constexpr std::uint16_t kReferenceNotFound = 0x6A88;
constexpr std::uint16_t kWrongOffset = 0x6B00;
constexpr std::uint16_t kUnknownInstruction = 0x6D00;
constexpr std::uint16_t kUnknownClass = 0x6E00;

/** A few English words, "unknown status word" for one that is in no table. */
std::string Meaning(std::uint16_t statusWord);

} // namespace Simulator::StatusWord
