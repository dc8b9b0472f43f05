#include "cards/CardFile.h"

#include "cards/CardTokenImpl.h"
#include "cards/InfoboxFS.h"
#include "cards/SmartCardApplication.h"
#include "cards/iCardToken.h"
#include "crypto/LibCardImpl.h"

#include <utility>

namespace
{

void LogFile(const char* text, const std::string& name)
{
    if (LibCardImpl::pt2LogMessage.IsSet())
    {
        LibCardImpl::LogMessage(text + name);
    }
}

} // namespace

CardFile::CardFile(iCardToken* cardToken, std::string fileName) : token(cardToken), name(std::move(fileName))
{}

CardFile::~CardFile() = default;

void CardFile::SetFileSystemStructure(unsigned char tag, bool bStructured)
{
    fsTag = tag;
    hasFileSystem = bStructured;
}

bool CardFile::EmptyCache()
{
    cache.clear();
    return true;
}

bool CardFile::Authenticate(eFileAccess access)
{
    return ReachDirectory(access) && ef.IsOk() && token->Impl().SelectFile(ef);
}

bool CardFile::ReachDirectory(eFileAccess access)
{
    switch (access)
    {
    case eAccessNever:
        LibCardImpl::LogError("read access to cardfile not allowed");
        return false;
    case eAccessAlways:
        return ReachFreeDirectory();
    case eAccessPinSignature:
        return Login(AppSignature);
    case eAccessPinEncryption:
        return Login(AppEncryption);
    case eAccessPinInfobox:
        return Login(AppInfobox);
    }
    LibCardImpl::LogMessage("unknown access contition for reading card file");
    return false;
}

bool CardFile::ReachFreeDirectory()
{
    if (token == nullptr)
    {
        return false;
    }
    // Intended: after a login the directory stays as it is, whether it is the file's or not.
    return token->IsLoggedIn() || (df.IsOk() && token->Impl().SelectFile(df));
}

bool CardFile::Login(SmartCardApplication app)
{
    // The profile's PIN command selects the directory.
    unsigned long retries = 0;
    return token != nullptr && token->Login(app, &retries);
}

bool CardFile::Read(Norvik::ByteArray& out, bool bUseCache)
{
    LogFile("Read CardFile ", name);
    if (readAccess == eAccessAlways && bUseCache && !cache.empty())
    {
        LibCardImpl::LogMessage("use cached data");
        out = cache;
        return true;
    }
    if (!Authenticate(readAccess))
    {
        return false;
    }
    CardTokenImpl& card = token->Impl();
    const bool bRead = contentHint ? card.ReadAsn1DataFromCard(out) : card.ReadCardFile(fileSize, out);
    if (!bRead || (hasFileSystem && !ReadFileSystemStructure(out)))
    {
        return false;
    }
    cache = out;
    return true;
}

bool CardFile::Update(const Norvik::ByteArray& data)
{
    if (writeAccess == eAccessNever)
    {
        LibCardImpl::LogError("cannot write this file");
        return false;
    }
    if (hasFileSystem)
    {
        return UpdateFileSystemStructure(data);
    }
    cache = data;
    return true;
}

bool CardFile::Update(const unsigned char* data, unsigned long length)
{
    return Update(Norvik::ByteArray(data, length));
}

bool CardFile::Write()
{
    LogFile("Write CardFile ", name);
    // Intended: a failed PIN or select goes on, and the card's refusal of the write is the failure.
    static_cast<void>(Authenticate(writeAccess));
    if (fileSize != CardTokenImpl::UnknownLength && fileSize > cache.size())
    {
        cache.resize(fileSize, 0x00);
    }
    return token != nullptr && token->Write(cache);
}

bool CardFile::ReadFileSystemStructure(Norvik::ByteArray& data)
{
    LibInfobox::InfoboxFS infobox;
    if (!infobox.ParseInfoboxData(data))
    {
        LibCardImpl::LogError("error parsing infoboxfile");
        return false;
    }
    if (!infobox.HasEntry(fsTag))
    {
        LibCardImpl::LogMessage("requested data not in infoboxfile");
        return false;
    }
    unsigned char encrypted = 0;
    if (!infobox.GetEntry(fsTag, encrypted, data))
    {
        LibCardImpl::LogError("error reading data from infoboxfile");
        return false;
    }
    if (encrypted != 0)
    {
        LibCardImpl::LogMessage("encrypted infoboxfiles currently not supported");
        return false;
    }
    return true;
}

bool CardFile::UpdateFileSystemStructure(const Norvik::ByteArray& data)
{
    if (!Authenticate(readAccess))
    {
        return false;
    }
    if (cache.empty() && !token->Impl().ReadCardFile(fileSize, cache))
    {
        return false;
    }

    LibInfobox::InfoboxFS infobox;
    if (!infobox.ParseInfoboxData(cache))
    {
        if (infobox.GetEntryCount() > 0)
        {
            LibCardImpl::LogError("invalid infobox structure, use valid entries");
        }
        else
        {
            infobox.Clear();
            LibCardImpl::LogError("invalid infobox structure, create new structure");
        }
    }

    unsigned char encrypted = 0;
    Norvik::ByteArray oldContent;
    if (!infobox.GetEntry(fsTag, encrypted, oldContent))
    {
        LibCardImpl::LogMessage("infobox entry does not exists -> create new ");
        encrypted = 0;
    }
    if (!infobox.AddEntry(fsTag, encrypted, data))
    {
        LibCardImpl::LogError("error updating infobox data");
        return false;
    }
    // Intended: the new image stands behind the bytes that the cache held.
    if (!infobox.GetCompleteFile(cache))
    {
        LibCardImpl::LogError("error creating infobox file system structure");
        return false;
    }
    if (cache.size() > fileSize)
    {
        EmptyCache();
        LibCardImpl::LogError("error data to big for cardfile");
        return false;
    }
    return true;
}
