#pragma once

#include "crypto/ByteArray.h"

/**
 * A command APDU under construction (ISO 7816-4): CLA, INS, P1, P2, then whatever has been appended.
 *
 * Keeps no account of lengths: whoever builds a command supplies the Lc or Le byte.
 */
class Apdu : public Norvik::ByteArray
{
public:
    Apdu() = default;
    Apdu(unsigned char cla, unsigned char ins, unsigned char p1, unsigned char p2);
    /** The fifth byte is an Lc or an Le, as the caller means it. */
    Apdu(unsigned char cla, unsigned char ins, unsigned char p1, unsigned char p2, unsigned char length);

    /** Removes all bytes, the header included. */
    void Clear();

    void Append(const unsigned char* data, int length);
    void Append(unsigned char value);
    void Append(Norvik::ByteArray data);

    /**
     * Appends @p data, filled up with 00 to @p width bytes.
     *
     * @throws std::length_error when @p data is longer than @p width
     */
    void AppendAndPad(const Norvik::ByteArray& data, int width);

    /**
     * Appends a format 2 PIN block of @p width bytes: 2, length, digits, filled up with F.
     *
     * @p pin holds one ASCII digit a byte; empty gives the template that a reader's keypad fills in.
     * @throws std::length_error when the PIN doesn't fit
     */
    void AppendPinFormat2(const Norvik::ByteArray& pin, int width);

    /** Overwrites P1; does nothing when the command is too short to have one. */
    void SetP1(unsigned char p1);
    /** Overwrites P2; does nothing when the command is too short to have one. */
    void SetP2(unsigned char p2);

    /** Leaves the four header bytes, filling up with 00 where there are fewer. */
    void RemoveDataAndLength();
};
