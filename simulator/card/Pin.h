#pragma once

#include "simulator/card/Bytes.h"

#include <string>

namespace Simulator
{

/** How a PIN stands in the 8 bytes of a command. */
enum class PinBlockFormat
{
    Ascii,  ///< the digits, then 0x00
    Format2 ///< ISO 9564 format 2: control nibble 2, length nibble, digits, then F
};

struct PinSettings
{
    std::string name;
    std::uint8_t verifyReference = 0; ///< P2 of VERIFY
    std::uint8_t changeReference = 0; ///< P2 of CHANGE REFERENCE DATA; some cards use another one there
    PinBlockFormat format = PinBlockFormat::Ascii;
    std::string value;
    std::size_t leastLength = 4;
    std::size_t mostLength = 4;
    unsigned int tries = 10; ///< 1 to 15
};

/** One PIN of a card with its try counter and its part of the security status. */
class Pin final
{
public:
    static constexpr std::size_t kBlockLength = 8;

    /** @throws std::invalid_argument when the value doesn't fit the lengths or the counter is out of range */
    explicit Pin(PinSettings settings);

    /** A wrong block costs a try; the right one restores the counter and sets the security status. */
    std::uint16_t Verify(ByteView block);
    /** A wrong old block costs a try; a new block that is no PIN of this reference changes nothing. */
    std::uint16_t Change(ByteView oldBlock, ByteView newBlock);
    /** What VERIFY without data answers. */
    [[nodiscard]] std::uint16_t Status() const;

    [[nodiscard]] const std::string& Name() const { return m_Settings.name; }
    [[nodiscard]] const std::string& Value() const { return m_Settings.value; }
    [[nodiscard]] std::uint8_t VerifyReference() const { return m_Settings.verifyReference; }
    [[nodiscard]] std::uint8_t ChangeReference() const { return m_Settings.changeReference; }
    [[nodiscard]] unsigned int TriesLeft() const { return m_TriesLeft; }
    [[nodiscard]] bool IsVerified() const { return m_bVerified; }

    void SetTriesLeft(unsigned int tries) { m_TriesLeft = tries; }
    void DropStatus() { m_bVerified = false; }

private:
    [[nodiscard]] bool IsValue(const std::string& digits) const;
    [[nodiscard]] bool IsWellFormed(ByteView block) const;
    [[nodiscard]] Bytes Block() const;
    std::uint16_t Compare(ByteView block);

    PinSettings m_Settings;
    unsigned int m_TriesLeft;
    bool m_bVerified = false;
};

} // namespace Simulator
