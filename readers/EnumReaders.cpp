#include "readers/EnumReaders.h"

#include "readers/LibReaderImpl.h"
#include "readers/PCSCReader.h"
#include "readers/ReaderTable.h"

#include <algorithm>
#include <cstring>
#include <memory>
#include <string_view>

#include <winscard.h>

namespace
{
constexpr const char* kSecureReaderNames[] = {
    "OMNIKEY CardMan 3621", "OMNIKEY CardMan 3821", "OMNIKEY CardMan 8630",
    "Cherry SmartBoard",    "REINER SCT cyberJack", "SCM Microsystems Inc. SPRx32",
};

constexpr std::string_view kSystemFolder = "C:\\Windows\\SysWOW64\\";
constexpr std::string_view kLibrary64 = "ctrsct64.dll";
constexpr std::string_view kLibrary32 = "ctrsct32.dll";

/** A context that lasts for one enumeration. */
class LocalContext final
{
public:
    LocalContext() = default;
    ~LocalContext()
    {
        if (m_bEstablished)
        {
            SCardReleaseContext(m_Context);
        }
    }
    LocalContext(const LocalContext&) = delete;
    LocalContext& operator=(const LocalContext&) = delete;

    /** @return the PC/SC result */
    long Establish(unsigned long scope)
    {
        const long code = SCardEstablishContext(scope, nullptr, nullptr, &m_Context);
        m_bEstablished = code == SCARD_S_SUCCESS;
        return code;
    }
    [[nodiscard]] long Get() const { return m_Context; }

private:
    long m_Context = 0;
    bool m_bEstablished = false;
};

bool Establish(LocalContext& context)
{
    long code = context.Establish(SCARD_SCOPE_SYSTEM);
    if (code == SCARD_S_SUCCESS)
    {
        return true;
    }
    LibReaderImpl::LogErrorSCardError("cannot establish scard context -> Retry with User Scope", code);
    code = context.Establish(SCARD_SCOPE_USER);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("cannot establish scard context", code);
        return false;
    }
    return true;
}

/** Appends the names of a multi-string, up to an empty one or the end of @p text. */
void AppendNames(std::string_view text, std::vector<std::string>& names)
{
    while (!text.empty() && text.front() != '\0')
    {
        const std::string_view name = text.substr(0, text.find('\0'));
        names.emplace_back(name);
        text.remove_prefix(std::min(name.size() + 1, text.size()));
    }
}

/** Gives up card and context of the reader that it borrows when the description is done. */
class DisconnectGuard final
{
public:
    explicit DisconnectGuard(PCSCReader& reader) : m_Reader(reader) {}
    // Nothing may leave from here: another exception can be on its way.
    ~DisconnectGuard()
    {
        try
        {
            m_Reader.Disconnect();
        }
        catch (...)
        {}
    }
    DisconnectGuard(const DisconnectGuard&) = delete;
    DisconnectGuard& operator=(const DisconnectGuard&) = delete;

private:
    PCSCReader& m_Reader;
};

PCSCReaderConfig Describe(PCSCReader& reader, const std::string& name)
{
    PCSCReaderConfig config;
    config.readerName = name;
    reader.SetReaderId(name);
    reader.SetConfig(true, true, true);
    const DisconnectGuard guard(reader);
    reader.ConnectReader();
    // Intended: asked before a card is connected, and so answered without the reader.
    config.isSecure = reader.IsOk() ? reader.IsSecure() : PCSCIsSecureByName(name);
    reader.ConnectCard(false);
    reader.GetReaderName(config.vendorName, config.ifdType, config.ifdSerial, config.deviceUnit,
                         config.systemName, config.friendlyName);
    return config;
}

std::string LibraryNameOf(std::string_view library)
{
    if (library.starts_with(kSystemFolder))
    {
        library.remove_prefix(kSystemFolder.size());
    }
    return std::string(library.starts_with(kLibrary64) ? kLibrary32 : library);
}
} // namespace

bool ListPCSCReaders(std::vector<std::string>& names)
{
    LibReaderImpl::LogMessage("ListPCSCReaders");
    LocalContext context;
    if (!Establish(context))
    {
        return false;
    }
    unsigned long length = 0;
    long code = SCardListReaders(context.Get(), nullptr, nullptr, &length);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("cannot list readers (1)", code);
        return false;
    }
    // No length at all, but a wish for memory of the service, if it came back to it.
    if (length == SCARD_AUTOALLOCATE)
    {
        LibReaderImpl::LogErrorSCardError("cannot list readers (2)", SCARD_E_NO_MEMORY);
        return false;
    }
    // One zero more than asked for, so that the last name ends.
    const std::size_t allocated = length + 1;
    const auto multiString = std::make_unique<char[]>(allocated);
    code = SCardListReaders(context.Get(), nullptr, multiString.get(), &length);
    if (code != SCARD_S_SUCCESS)
    {
        LibReaderImpl::LogErrorSCardError("cannot list readers (2)", code);
        return false;
    }
    AppendNames({multiString.get(), allocated}, names);
    return true;
}

bool ListPCSCReaders(std::vector<PCSCReaderConfig>& readers)
{
    std::vector<std::string> names;
    if (!ListPCSCReaders(names))
    {
        return false;
    }
    PCSCReader reader;
    for (const std::string& name : names)
    {
        readers.push_back(Describe(reader, name));
    }
    return true;
}

bool PCSCIsSecureByName(const std::string& name)
{
    return std::any_of(std::begin(kSecureReaderNames), std::end(kSecureReaderNames),
                       [&name](const char* part) { return name.find(part) != std::string::npos; });
}

bool ListCTAPIReaders(std::vector<CTAPIReaderConfig>& readers)
{
    LibReaderImpl::LogMessage("ListCTAPIReaders");
    for (const char* const library : CTAPI_Libs)
    {
        ScanLibrary(library, readers);
    }
    return true;
}

void ScanLibrary(const char* /*library*/, std::vector<CTAPIReaderConfig>& /*readers*/) {}

void SetReaderEntry(const char* library, int port, unsigned char* terminalId,
                    std::vector<CTAPIReaderConfig>& readers)
{
    const std::string_view reported = reinterpret_cast<const char*>(terminalId);
    const auto* const row =
        std::find_if(strReaderTable.begin(), strReaderTable.end(),
                     [reported](const ReaderTableRow& r) { return reported.starts_with(r.terminalId); });
    if (row == strReaderTable.end())
    {
        LibReaderImpl::LogError("cannot find reader in reader table -> ignore reader");
        return;
    }
    CTAPIReaderConfig config;
    config.libraryPath = library;
    config.libraryName = LibraryNameOf(library);
    config.vendor = row->vendor;
    config.terminalId = row->terminalId;
    config.name = row->name;
    config.port = port;
    config.flagA = row->flagA != 0;
    config.flagB = row->flagB != 0;
    config.flagC = row->flagC != 0;
    readers.push_back(config);
}
