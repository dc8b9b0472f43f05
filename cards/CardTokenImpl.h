#pragma once

#include "cards/ChipStructureObject.h"
#include "common/Uncopyable.h"
#include "crypto/ByteArray.h"

class iCardReader;

/**
 * Selects and reads files, and remembers the selected directory so as not to select it twice.
 *
 * Opens no card transaction: the caller does where one is wanted.
 */
class CardTokenImpl : public Uncopyable
{
public:
    /** A length that is not known: read to the end of the data. */
    static constexpr unsigned long UnknownLength = ~0UL;

    void SetReader(iCardReader* cardReader) { reader = cardReader; }
    [[nodiscard]] ChipStructureObject GetCurrentDF() const { return currentDF; }
    /** Tells what a command of the caller's own has selected; no card traffic. */
    void SetCurrentDF(const ChipStructureObject& df) { currentDF = df; }

    /**
     * Sends the SELECT of @p file; skipped for the directory that is already selected.
     *
     * A failed select of a directory or of the master file leaves no directory known.
     */
    bool SelectFile(const ChipStructureObject& file);
    bool SelectDirectoryAndFile(const ChipStructureObject& df, const ChipStructureObject& ef);

    /**
     * Appends to @p out what the selected transparent EF holds (READ BINARY, at most 255 bytes a command).
     *
     * @param length bytes; with UnknownLength any refusal of the card is the end of the data, and a success
     * @param offset first byte to read
     * @return false when the card refuses before @p length bytes came; @p out keeps those that did
     *
     * A card that gives less than was asked for is asked again, without a limit.
     */
    bool ReadCardFile(unsigned long length, unsigned long offset, Norvik::ByteArray& out);
    bool ReadCardFile(unsigned long length, Norvik::ByteArray& out);
    /** Replaces @p out by an EF that starts with a DER header and so tells its own size. */
    bool ReadAsn1DataFromCard(Norvik::ByteArray& out);

private:
    /** False also without a reader. */
    bool Send(const Norvik::ByteArray& command, Norvik::ByteArray& response);

    iCardReader* reader = nullptr;
    ChipStructureObject currentDF;
};
