#pragma once

#include <array>
#include <cstddef>
#include <cstdint>

/** What is known about a family of CT-API readers; texts are filled up with NUL. */
struct ReaderTableRow
{
    char terminalId[16]; ///< as a CT-BCS reader reports it; the front of the reported id
    char name[40];
    char vendor[40];
    unsigned char flagA;
    unsigned char flagB;
    unsigned char flagC;
    std::int32_t columnD;
    std::int32_t columnE;
};
static_assert(sizeof(ReaderTableRow) == 108);
static_assert(offsetof(ReaderTableRow, name) == 16);
static_assert(offsetof(ReaderTableRow, vendor) == 56);
static_assert(offsetof(ReaderTableRow, flagA) == 96);
static_assert(offsetof(ReaderTableRow, flagB) == 97);
static_assert(offsetof(ReaderTableRow, flagC) == 98);
static_assert(offsetof(ReaderTableRow, columnD) == 100);
static_assert(offsetof(ReaderTableRow, columnE) == 104);

/** The first match wins, so longer ids of a family come first; the last row matches every reader. */
extern const std::array<ReaderTableRow, 23> strReaderTable;

/** The CT-API libraries that are looked for. */
extern const std::array<const char*, 2> CTAPI_Libs;

/** Command templates of CT-BCS readers. */
inline constexpr std::array<unsigned char, 5> sGET_STATUS = {0x20, 0x13, 0x00, 0x46, 0x00};
inline constexpr std::array<unsigned char, 5> sCommandVerifyEnc = {0x00, 0x20, 0x00, 0x97, 0x08};
inline constexpr std::array<unsigned char, 5> sCommandVerifySig = {0x00, 0x20, 0x00, 0x90, 0x08};
inline constexpr std::array<unsigned char, 2> sCommandRequestICC = {0x20, 0x12};
inline constexpr std::array<unsigned char, 2> sCommandPerformVerification = {0x20, 0x18};
