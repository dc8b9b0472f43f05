#pragma once

#include "cards/profiles/PinCommands.h"
#include "cards/profiles/ProfileCommon.h"
#include "crypto/ByteArray.h"

#include <array>
#include <span>
#include <string>
#include <string_view>

/** What the eCard generations share though their classes are not all related. */
namespace ECardCommon
{

/** Where a generation keeps what all of them have. */
struct FileIds
{
    const ChipStructureObject* masterFile;
    const ChipStructureObject* encryption;
    const ChipStructureObject* encryptionCertificate;
    const ChipStructureObject* signature;
    const ChipStructureObject* signatureCertificate;
    const ChipStructureObject* infobox;
    const ChipStructureObject* identityLink;
};

/** The files behind the token's objects. The identity link has no directory: the infobox login selects it. */
struct Files
{
    std::shared_ptr<CardFile> identityLink;
    std::shared_ptr<CardFile> signatureCertificate;
    std::shared_ptr<CardFile> encryptionCertificate;
};
Files MakeFiles(iCardToken* token, const FileIds& ids);

extern const PINVerifyData PinEncryption;
extern const PINVerifyData PinSignature;

/** MSE RESTORE: the signature PIN is presented in this security environment. */
inline constexpr unsigned char kRestoreEnvironment[] = {0x00, 0x22, 0xF3, 0x01};

/** The PIN references, the same for VERIFY and for CHANGE REFERENCE DATA. */
constexpr std::array<PinCommand, 3> PinTable(const FileIds& ids)
{
    return {{
        {AppSignature, 0x81, nullptr, ids.signature, &PinSignature, kRestoreEnvironment},
        {AppEncryption, 0x01, nullptr, ids.encryption, &PinEncryption, {}},
        {AppInfobox, 0x01, nullptr, ids.infobox, &PinEncryption, {}},
    }};
}

/** VerifyReturnValue() of all generations. */
unsigned long VerifyReturnValue(const Norvik::ByteArray& response, unsigned long* retries);

/** InternalGetChipId(): the first 12 bytes of the file with short identifier 2 under the master file. */
bool ReadChipId(iCardReader* reader, CardTokenImpl& impl, const ChipStructureObject& masterFile,
                const char* readerMissing, std::string& text);

/**
 * InternalGetCardIdentifier(): the token's chip text from its fifth character on.
 *
 * @throws std::out_of_range on a chip text below 4 characters, also an empty one
 */
bool ReadCardIdentifier(iCardToken& token, const iCardReader* reader, const char* readerMissing,
                        std::string& text);

/**
 * Signs @p hash in one transaction: @p prepare, which addresses the key, then PSO COMPUTE DIGITAL SIGNATURE.
 *
 * @return 0; 1 when the transaction or @p prepare failed, 2 when the card didn't sign
 */
unsigned long ComputeSignature(iCardReader* reader, std::span<const unsigned char> prepare,
                               const Norvik::ByteArray& hash, Norvik::ByteArray& signature);

/** Whether a NUL-terminated attribute name begins with @p prefix; never reads past the NUL. */
bool StartsWith(const unsigned char* name, std::string_view prefix);

} // namespace ECardCommon
