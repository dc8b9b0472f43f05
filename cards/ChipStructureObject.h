#pragma once

#include "cards/Apdu.h"
#include "crypto/ByteArray.h"

/** One byte wide, since FromBinary() takes any value. */
enum ChipStructureType : unsigned char
{
    ChipStructureDF = 0,
    ChipStructureEF = 1,
    ChipStructureMF = 2,
};

/** The address of one file of a card: identifier, kind, and the P1 of its SELECT (ISO 7816-4). */
class ChipStructureObject final
{
public:
    ChipStructureObject() = default;
    ChipStructureObject(const unsigned char* id, unsigned long size, ChipStructureType type,
                        unsigned char selectP1);

    /** A two-byte file identifier, selected with P1 00. */
    static ChipStructureObject CreateAcos(ChipStructureType type, unsigned char high, unsigned char low);
    /** An EF under the current DF, selected with P1 02. */
    static ChipStructureObject CreateECardEfSelect(unsigned char high, unsigned char low);

    [[nodiscard]] ChipStructureType StructureType() const { return m_StructureType; }
    [[nodiscard]] bool IsOk() const { return !m_Identifier.empty(); }
    [[nodiscard]] bool IsDF() const { return m_StructureType == ChipStructureDF; }
    [[nodiscard]] bool IsMF() const { return m_StructureType == ChipStructureMF; }
    void Clear();

    /** The SELECT command, P2 0C: no response data wanted. */
    [[nodiscard]] Apdu GetSelect() const;

    /** P1, kind, identifier length, identifier: a byte each, then the identifier's bytes. */
    [[nodiscard]] Norvik::ByteArray ToBinary() const;
    /**
     * Reads what ToBinary() wrote; bytes behind the identifier are ignored.
     *
     * @return false below 4 bytes, with nothing changed, or when the identifier runs past the end of @p
     * image, with P1 and kind already replaced
     */
    bool FromBinary(Norvik::ByteArray image);

    bool operator==(const ChipStructureObject& other) const = default;

private:
    Norvik::ByteArray m_Identifier; ///< the data field of the SELECT: a file identifier or a DF name
    ChipStructureType m_StructureType = ChipStructureMF;
    unsigned char m_SelectP1 = 0;
};
