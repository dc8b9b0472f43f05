#pragma once

#include "cards/ChipStructureObject.h"
#include "cards/SmartCardApplication.h"
#include "common/Uncopyable.h"
#include "crypto/ByteArray.h"

#include <string>

class iCardToken;

/** Access condition of a file, one for reading and one for writing. */
enum eFileAccess
{
    eAccessPinSignature = 0,
    eAccessPinEncryption = 1,
    eAccessPinInfobox = 2,
    eAccessNever = 3,
    eAccessAlways = 4, ///< free; the only condition under which a cached read is allowed
};

/**
 * One data file of a card: where it lies, who may read and write it, and its last content.
 *
 * Made and configured by a profile's constructor. Points back at its token, which owns it.
 */
class CardFile : public Uncopyable
{
public:
    CardFile(iCardToken* cardToken, std::string fileName);
    ~CardFile() override;

    void SetDF(const ChipStructureObject& directory) { df = directory; }
    void SetEF(const ChipStructureObject& file) { ef = file; }
    /** Tells that the content is one entry of an Infobox structure. */
    void SetFileSystemStructure(unsigned char tag, bool bStructured);
    void SetFileSize(unsigned long size) { fileSize = size; }
    void SetReadAccess(eFileAccess access) { readAccess = access; }
    void SetWriteAccess(eFileAccess access) { writeAccess = access; }
    void SetContentHint(bool bAsn1) { contentHint = bAsn1; }

    bool EmptyCache();
    /** Presents the PIN where one is asked for and leaves the file selected. */
    bool Authenticate(eFileAccess access);
    /**
     * Reads the content; the cache takes it over on success.
     *
     * @param out       replaced with a content hint, otherwise appended to
     * @param bUseCache serves a free file that has been read before without card traffic, replacing @p out
     */
    bool Read(Norvik::ByteArray& out, bool bUseCache);
    /** Prepares the content of the next Write(); nothing is sent. */
    bool Update(const Norvik::ByteArray& data);
    bool Update(const unsigned char* data, unsigned long length);
    /** Sends the prepared content, filled up with 00 to the file's size. */
    bool Write();
    /** Turns a raw image into this file's entry. */
    bool ReadFileSystemStructure(Norvik::ByteArray& data);
    /** Reads the file where the cache is empty, and appends the image with the new entry to the cache. */
    bool UpdateFileSystemStructure(const Norvik::ByteArray& data);

private:
    bool ReachDirectory(eFileAccess access);
    bool ReachFreeDirectory();
    bool Login(SmartCardApplication app);

    ChipStructureObject df;
    ChipStructureObject ef;
    unsigned long fileSize = ~0UL; ///< bytes; all ones while unknown
    eFileAccess readAccess = eAccessNever;
    eFileAccess writeAccess = eAccessNever;
    unsigned char fsTag = 0;
    bool contentHint = false; ///< the file starts with a DER header and tells its own size
    iCardToken* token;
    bool hasFileSystem = false;
    std::string name;
    Norvik::ByteArray cache;
};
