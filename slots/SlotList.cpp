#include "slots/SlotList.h"

#include "LibConfig/Config.h"
#include "LibConfig/GenerateConfig.h"
#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "common/PathHelpers.h"
#include "readers/EnumReaders.h"
#include "readers/LibReaderImpl.h"
#include "readers/PCSCReader.h"

#include <cstddef>
#include <memory>

#include <unistd.h>

namespace
{

constexpr useconds_t kPollMicroseconds = 1000;

} // namespace

SlotList* SlotList::m_Handle = nullptr;
std::map<unsigned long, unsigned long> SlotList::m_slotStateMap;
std::atomic<bool> SlotList::m_bWaitForEventThreadRunning = false;
std::atomic<bool> SlotList::m_bShuttingDown = false;

/** While it lives the caller's thread counts as waiting, and the readers don't log their polling. */
class SlotList::PollingScope final
{
public:
    PollingScope()
    {
        m_bWaitForEventThreadRunning = true;
        LibReaderImpl::DisableLogging();
    }
    ~PollingScope()
    {
        if (m_bLogAgain)
        {
            LibReaderImpl::EnableLogging();
        }
        // From here on Destroy() may take the list away.
        m_bWaitForEventThreadRunning = false;
    }
    PollingScope(const PollingScope&) = delete;
    PollingScope& operator=(const PollingScope&) = delete;

    void StaySilent() { m_bLogAgain = false; }

private:
    bool m_bLogAgain = true;
};

SlotList* SlotList::GetHandle()
{
    if (m_Handle == nullptr)
    {
        m_Handle = std::make_unique<SlotList>().release();
    }
    return m_Handle;
}

void SlotList::Destroy()
{
    if (m_Handle == nullptr)
    {
        return;
    }
    const bool bThreadWaits = m_bWaitForEventThreadRunning;
    m_bShuttingDown = true;
    while (bThreadWaits && m_bWaitForEventThreadRunning)
    {
        usleep(kPollMicroseconds);
    }
    const std::unique_ptr<SlotList> released(m_Handle);
    m_Handle = nullptr;
}

SlotList::~SlotList()
{
    for (iCardReader* reader : readers)
    {
        const std::unique_ptr<iCardReader> released(reader);
        if (released != nullptr)
        {
            released->Disconnect();
        }
    }
}

void SlotList::Initialize()
{
    if (!readers.empty())
    {
        P11Logger::GetHandle()->LogMessage("second call to initialize");
        return;
    }
    // Intended: as long as PC/SC lists readers and none of them connects, the first look at the slots
    // enumerates anew, without a limit; a reader that connects ends it, one that PC/SC no longer lists, or a
    // shutdown under a waiting thread. Every round owes its own look and log line, paid when it ends: a count
    // instead of a stack.
    std::size_t roundsToFinish = 0;
    while (readers.empty() && !(roundsToFinish > 0 && m_bShuttingDown && m_bWaitForEventThreadRunning) &&
           EnumerateReaders())
    {
        ++roundsToFinish;
    }
    for (; roundsToFinish > 0; --roundsToFinish)
    {
        m_slotStateMap = LookAtReaders();
        // Intended: at error level although nothing is wrong.
        P11Logger::GetHandle()->LogError("slot state map size: " + std::to_string(m_slotStateMap.size()));
    }
}

bool SlotList::EnumerateReaders()
{
    bool bIsSecure = true;
    bool bUseGui = true;
    bool bUseBeep = true;
    const std::vector<std::string> sections =
        Norvik::Config::GetHandle(0)->EnumSubDirs(ConfigIdClientSection, "Reader");
    // With several sections there is no telling which one counts.
    if (sections.size() == 1)
    {
        std::string reader;
        std::string readerName;
        long ctPort = -1;
        std::string ctApi;
        bool bCloseOnExit = false;
        ReadReaderConfig(sections.front(), reader, readerName, bIsSecure, bUseGui, bUseBeep, ctPort, ctApi,
                         bCloseOnExit);
    }

    std::vector<std::string> names;
    if (!ListPCSCReaders(names))
    {
        return false;
    }
    for (const std::string& name : names)
    {
        auto reader = std::make_unique<PCSCReader>();
        reader->SetReaderId(name);
        reader->SetConfig(bIsSecure, bUseGui, bUseBeep);
        const bool bConnected = reader->ConnectReader();
        if (bConnected && reader->IsOk())
        {
            readers.push_back(reader.get());
            static_cast<void>(reader.release());
            continue;
        }
        P11Logger::GetHandle()->LogError(bConnected ? "reader not ok" : "cannot connect to reader");
        // Intended: a reader that isn't kept isn't freed.
        static_cast<void>(reader.release());
    }
    return true;
}

void SlotList::ReadReaderConfig(const std::string& subKey, std::string& reader, std::string& readerName,
                                bool& bIsSecure, bool& bUseGui, bool& bUseBeep, long& ctPort,
                                std::string& ctApi, bool& bCloseOnExit)
{
    Norvik::Config& config = *Norvik::Config::GetHandle(0);
    const std::string path = Norvik::CombinePaths(ClientRegKeyName, subKey);
    const auto address = [&config, &path](const char* name) {
        config.AddConfig(ConfigIdReaderValue, Norvik::ConfigTypeAllUsers, name, path, Norvik::SysTypeSecond);
    };
    const auto readBoolean = [&config, &address](const char* name, bool bPreset, bool& bValue) {
        address(name);
        bValue = bPreset;
        config.GetBoolean(ConfigIdReaderValue, bValue);
    };

    address("Reader");
    config.GetString(ConfigIdReaderValue, reader);
    address("ReaderName");
    config.GetString(ConfigIdReaderValue, readerName);
    readBoolean("IsSecure", true, bIsSecure);
    readBoolean("UseBeep", true, bUseBeep);
    readBoolean("UseGUI", true, bUseGui);
    address("CTPort");
    ctPort = -1;
    config.GetInteger(ConfigIdReaderValue, ctPort);
    address("CTAPI");
    ctApi.clear();
    config.GetString(ConfigIdReaderValue, ctApi);
    readBoolean("CloseOnExit", false, bCloseOnExit);
}

bool SlotList::CheckValidSlotId(unsigned long slot) const
{
    return slot < readers.size();
}

iCardReader* SlotList::ReaderOf(unsigned long slot) const
{
    iCardReader* reader = readers[slot];
    if (reader == nullptr)
    {
        P11Logger::GetHandle()->LogError("card reader is NULL");
    }
    return reader;
}

bool SlotList::GetSlotInfo(unsigned long slot, bool& bPresent, std::string& manufacturer,
                           std::string& description)
{
    bPresent = false;
    if (!CheckValidSlotId(slot))
    {
        return false;
    }
    iCardReader* reader = ReaderOf(slot);
    if (reader == nullptr)
    {
        return false;
    }
    description = reader->VendorID();
    manufacturer = description.substr(0, description.find(' '));
    bPresent = reader->IsTokenPresent();
    return true;
}

std::map<unsigned long, unsigned long> SlotList::getSlotStateMap()
{
    if (readers.empty())
    {
        Initialize();
    }
    return LookAtReaders();
}

std::map<unsigned long, unsigned long> SlotList::LookAtReaders()
{
    std::map<unsigned long, unsigned long> states;
    for (std::size_t slot = 0; slot < readers.size(); ++slot)
    {
        iCardReader* reader = readers[slot];
        if (reader != nullptr)
        {
            states[slot] = reader->ConnectCard() && reader->IsTokenPresent() ? 1 : 0;
        }
    }
    return states;
}

CK_RV SlotList::compareSlotState(unsigned long* slot)
{
    const std::map<unsigned long, unsigned long> now = getSlotStateMap();
    for (auto& [id, state] : m_slotStateMap)
    {
        const auto found = now.find(id);
        // A slot that is gone holds no card.
        const unsigned long newState = found == now.end() ? 0 : found->second;
        if (state == newState)
        {
            continue;
        }
        P11Logger::GetHandle()->LogMessage((newState == 1 ? "Slot event detected: Card inserted into slot "
                                                          : "Slot event detected: Card removed from slot ") +
                                           std::to_string(id));
        *slot = id;
        state = newState;
        return CKR_OK;
    }
    return CKR_NO_EVENT;
}

CK_RV SlotList::WaitForSlotEvent(unsigned long* slot, bool bDontBlock)
{
    CK_RV rv = compareSlotState(slot);
    if (bDontBlock)
    {
        return rv;
    }
    PollingScope scope;
    while (rv == CKR_NO_EVENT && !m_bShuttingDown)
    {
        usleep(kPollMicroseconds);
        rv = compareSlotState(slot);
    }
    // Intended: an event seen at shutdown is not reported, and the readers' log stays off.
    if (m_bShuttingDown)
    {
        scope.StaySilent();
        return CKR_CRYPTOKI_NOT_INITIALIZED;
    }
    return rv;
}

std::vector<unsigned long> SlotList::GetSlotList(bool bTokenPresent)
{
    if (readers.empty())
    {
        Initialize();
    }
    std::vector<unsigned long> slots;
    for (std::size_t slot = 0; slot < readers.size(); ++slot)
    {
        iCardReader* reader = readers[slot];
        if (reader == nullptr)
        {
            continue;
        }
        if (!bTokenPresent || reader->IsTokenPresent() ||
            (reader->ConnectCard(true) && reader->IsTokenPresent()))
        {
            slots.push_back(slot);
        }
    }
    return slots;
}
