#pragma once

#include "cards/Apdu.h"
#include "cards/TransactionGuard.h"
#include "crypto/ByteArray.h"

#include <cstddef>
#include <span>

class iCardReader;

/**
 * One use of a card key: the security environment and the commands that rely on it, in one card transaction.
 *
 * The transaction begins with the object and ends with it, also when it was refused; without it nothing is
 * sent. Borrows the reader.
 */
class KeySession final
{
public:
    explicit KeySession(iCardReader& reader) : m_Reader(reader), m_Transaction(reader) {}

    /** Logs the step and sends the command that chooses the key; whether the card took it. */
    [[nodiscard]] bool SetEnvironment(std::span<const unsigned char> command);
    /** Sends a command; whether it ended in 90 00. */
    [[nodiscard]] bool Send(std::span<const unsigned char> command);

    /** The answer to the last command, empty when there was none. */
    [[nodiscard]] const Norvik::ByteArray& Response() const { return m_Response; }
    /** The same without its status word. */
    [[nodiscard]] Norvik::ByteArray Data() const;

private:
    iCardReader& m_Reader;
    TransactionGuard m_Transaction;
    Norvik::ByteArray m_Response;
};

/** PSO COMPUTE DIGITAL SIGNATURE over a hash that the card holds already. */
inline constexpr unsigned char kComputeSignature[] = {0x00, 0x2A, 0x9E, 0x9A, 0x00};

/** Appends Lc and @p data; false, with nothing appended, when one length byte can't tell the size. */
[[nodiscard]] bool AppendWithLength(Apdu& command, const Norvik::ByteArray& data);

/**
 * Appends the body of PSO DECIPHER: Lc, the padding indicator 00, the cryptogram with leading zeros, Le.
 *
 * @return false, with nothing appended, for a cryptogram longer than the key
 */
[[nodiscard]] bool AppendCryptogram(Apdu& command, const Norvik::ByteArray& cryptogram, std::size_t keyBytes);
