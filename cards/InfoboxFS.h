#pragma once

#include "common/Uncopyable.h"
#include "crypto/ByteArray.h"

#include <cstddef>
#include <memory>
#include <string>
#include <vector>

/** The Infobox: a small file system that some cards keep inside one EF. */
namespace LibInfobox
{

constexpr unsigned char PERSONENBINDUNG_INDEX = 1;
constexpr unsigned char RFU1_INDEX = 2;
constexpr unsigned char RFU2_INDEX = 3;

struct InfoboxFSEntry
{
    unsigned char tag = 0;
    unsigned char encrypted = 0; ///< 0 plain; any other value means encrypted
    Norvik::ByteArray data;
};

/**
 * The entries of an Infobox in memory: parsed from an image of the EF, written back as a new image.
 *
 * An image is "AIK", a version byte, then entries of tag, encrypted flag, length (16 bits, low byte first)
 * and data. A tag of 0 ends it, as does the end of the file. Does not talk to the card and logs nothing.
 */
class InfoboxFS : public Uncopyable
{
public:
    void Clear() { entries.clear(); }
    [[nodiscard]] std::size_t GetEntryCount() const { return entries.size(); }
    /** The first entry with this tag; @p index is the entry count when there is none. */
    bool GetEntryId(unsigned char tag, unsigned long& index) const;
    [[nodiscard]] bool HasEntry(unsigned char tag) const;
    /** By LabelToTag(), which knows fewer labels than TagToLabel() gives. */
    [[nodiscard]] bool HasEntry(const std::string& label) const;
    /** Copies flag and content; both keep their values when there is no such entry. */
    bool GetEntry(unsigned char tag, unsigned char& encrypted, Norvik::ByteArray& data) const;
    /** The tags in entry order. */
    [[nodiscard]] Norvik::ByteArray GetTagList() const;

    /** 0 for a label that is not known. */
    static unsigned char LabelToTag(const std::string& label);
    static std::string TagToLabel(unsigned char tag);

    /**
     * Adds the entries of @p image to those already held.
     *
     * @return false when the header is not that of an Infobox, or an entry runs past the end; the entries in
     * front of it are kept
     */
    bool ParseInfoboxData(const Norvik::ByteArray& image);
    /** The entries from @p offset on. */
    bool ReadDataField(const Norvik::ByteArray& image, unsigned long offset);
    /** Replaces the entry with this tag, or appends one. Always true. */
    bool AddEntry(unsigned char tag, unsigned char encrypted, const Norvik::ByteArray& data);
    /** Appends the image to @p out, without an end mark. Always true. */
    bool GetCompleteFile(Norvik::ByteArray& out) const;

private:
    std::vector<std::shared_ptr<InfoboxFSEntry>> entries; ///< in file order; none is null
};

} // namespace LibInfobox
