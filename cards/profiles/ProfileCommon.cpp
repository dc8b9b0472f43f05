#include "cards/profiles/ProfileCommon.h"

#include "cards/CardObject.h"
#include "cards/CardTokenImpl.h"
#include "cards/ChipStructureObject.h"
#include "cards/TransactionGuard.h"
#include "readers/LibReaderAndCard.h"
#include "readers/iCardReader.h"

namespace ProfileCommon
{

namespace
{

CardObject* ObjectAt(const std::vector<CardObject*>& objects, int index)
{
    return index < 0 ? nullptr : objects.at(static_cast<std::size_t>(index));
}

} // namespace

void RegisterMechanisms(const std::vector<CardObject*>& objects, int privateIndex, int publicIndex,
                        std::span<const CK_MECHANISM_TYPE> mechanisms)
{
    CardObject* privateKey = ObjectAt(objects, privateIndex);
    if (privateKey == nullptr)
    {
        return;
    }
    for (const CK_MECHANISM_TYPE mechanism : mechanisms)
    {
        privateKey->AddMechanism(mechanism);
    }
    if (CardObject* publicKey = ObjectAt(objects, publicIndex); publicKey != nullptr)
    {
        publicKey->CopyMechanismFrom(privateKey);
    }
}

bool CheckPinLen(SmartCardApplication app, int length)
{
    switch (app)
    {
    case AppSignature:
        return length == 6;
    case AppEncryption:
    case AppInfobox:
        return length == 4;
    case AppInvalid:
        break;
    }
    return length == 0;
}

unsigned long KeySize(SmartCardApplication app, unsigned long encryptionBits, unsigned long signatureBits)
{
    switch (app)
    {
    case AppEncryption:
        return encryptionBits;
    case AppSignature:
        return signatureBits;
    case AppInfobox:
    case AppInvalid:
        break;
    }
    return ~0UL;
}

std::shared_ptr<CardFile> MakeCardFile(iCardToken* token, const CardFileRule& rule)
{
    auto file = std::make_shared<CardFile>(token, rule.name);
    if (rule.df != nullptr)
    {
        file->SetDF(*rule.df);
    }
    file->SetEF(*rule.ef);
    file->SetContentHint(rule.bContentHint);
    file->SetFileSize(rule.size);
    file->SetReadAccess(rule.readAccess);
    file->SetWriteAccess(rule.writeAccess);
    return file;
}

void MakeInfoboxEntry(CardFile& file, unsigned char tag)
{
    file.SetContentHint(false);
    file.SetReadAccess(eAccessAlways);
    file.SetWriteAccess(eAccessPinEncryption);
    file.SetFileSystemStructure(tag, true);
}

bool SelectMasterFile(iCardReader* reader, CardTokenImpl& impl, const ChipStructureObject& masterFile)
{
    if (reader == nullptr)
    {
        return false;
    }
    const TransactionGuard transaction(*reader);
    return transaction.Held() && impl.SelectFile(masterFile);
}

bool StartIdentifier(const iCardReader* reader, const char* name, const char* readerMissing,
                     std::string& text)
{
    LibReaderAndCard::LogMessage(name);
    text.clear();
    if (reader == nullptr)
    {
        LibReaderAndCard::LogError(readerMissing);
        return false;
    }
    return true;
}

bool SendChecked(iCardReader& reader, std::span<const unsigned char> command, Norvik::ByteArray& response)
{
    // A reader leaves the response alone when no byte came: the answer before must not count again.
    response.clear();
    return reader.SendApdu(command.data(), command.size(), response) &&
           iCardReader::CheckApduSW(response, 0x90, 0x00);
}

bool ReadHexText(iCardReader& reader, std::span<const unsigned char> command, std::size_t leastResponse,
                 std::size_t textBytes, std::string& text)
{
    Norvik::ByteArray response;
    if (!SendChecked(reader, command, response))
    {
        return false;
    }
    if (response.size() >= leastResponse)
    {
        text = Norvik::ByteArray(response.data(), textBytes).ToHexString(Norvik::ByteArray::NOT_SPACED);
    }
    return true;
}

} // namespace ProfileCommon
