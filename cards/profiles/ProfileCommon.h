#pragma once

#include "cards/CardFile.h"
#include "cards/SmartCardApplication.h"
#include "crypto/ByteArray.h"

#include <cstddef>
#include <memory>
#include <span>
#include <string>
#include <vector>

#include <p11-kit/pkcs11.h>

class CardObject;
class CardTokenImpl;
class ChipStructureObject;
class iCardReader;
class iCardToken;

/** What profiles of different families share: each of them stays a class of tables and short operations. */
namespace ProfileCommon
{

/** The signature mechanisms of an RSA key. Intended: CKM_SHA512_RSA_PKCS is not among them. */
inline constexpr CK_MECHANISM_TYPE kRsaMechanisms[] = {CKM_RSA_PKCS,           CKM_SHA1_RSA_PKCS,
                                                       CKM_RIPEMD160_RSA_PKCS, CKM_SHA256_RSA_PKCS,
                                                       CKM_SHA384_RSA_PKCS,    CKM_SHA224_RSA_PKCS};
inline constexpr CK_MECHANISM_TYPE kEcdsaMechanisms[] = {CKM_ECDSA, CKM_ECDSA_SHA1};

/** Gives a private key its mechanisms and the public key the same; an index of -1 stands for no such object.
 */
void RegisterMechanisms(const std::vector<CardObject*>& objects, int privateIndex, int publicIndex,
                        std::span<const CK_MECHANISM_TYPE> mechanisms);

/** 6 digits for the signature PIN, 4 for the others; without a PIN only nothing fits. */
bool CheckPinLen(SmartCardApplication app, int length);

/** Bits of the application's key; all ones for an application without key. */
unsigned long KeySize(SmartCardApplication app, unsigned long encryptionBits, unsigned long signatureBits);

/** A card file as a profile describes it. */
struct CardFileRule
{
    const char* name;
    const ChipStructureObject* df; ///< null for none
    const ChipStructureObject* ef;
    bool bContentHint;
    unsigned long size; ///< bytes; all ones while unknown
    eFileAccess readAccess;
    eFileAccess writeAccess;
};

std::shared_ptr<CardFile> MakeCardFile(iCardToken* token, const CardFileRule& rule);

/** Turns @p file into an entry of the Infobox structure: free to read, written under the encryption PIN. */
void MakeInfoboxEntry(CardFile& file, unsigned char tag);

/** Selects the master file in a transaction of its own, which drops the security state of the card. */
bool SelectMasterFile(iCardReader* reader, CardTokenImpl& impl, const ChipStructureObject& masterFile);

/** How an identifier is read: logs @p name, empties @p text; false, with @p readerMissing logged, without a
 * reader. */
bool StartIdentifier(const iCardReader* reader, const char* name, const char* readerMissing,
                     std::string& text);

/** Sends @p command; whether it ended in 90 00. What @p response held before is gone. */
[[nodiscard]] bool SendChecked(iCardReader& reader, std::span<const unsigned char> command,
                               Norvik::ByteArray& response);

/**
 * Sends @p command; its answer, when at least @p leastResponse bytes with the status word, gives the digits
 * of its first @p textBytes bytes in lower case. A shorter answer leaves @p text alone.
 *
 * @return whether the command ended in 90 00
 */
bool ReadHexText(iCardReader& reader, std::span<const unsigned char> command, std::size_t leastResponse,
                 std::size_t textBytes, std::string& text);

} // namespace ProfileCommon
