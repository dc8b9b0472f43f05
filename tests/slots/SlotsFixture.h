#pragma once

#include "common/LibLogging.h"
#include "common/P11Logger.h"
#include "slots/SlotList.h"
#include "tests/doubles/ScriptedPcsc.h"
#include "tests/slots/SlotListStatics.h"
#include "tests/support/TemporaryDirectory.h"

#include <cstddef>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>
#include <winscard.h>

using Lines = std::vector<std::string>;
using SlotIds = std::vector<unsigned long>;

/** What the module logs while it lives: "ERROR text", "MESSAGE text", in order. */
class CapturedModuleLog final
{
public:
    CapturedModuleLog()
    {
        Norvik::LibLogging& logger = *P11Logger::GetHandle();
        logger.Init(m_Directory.File("module.log"), 1000000, true);
        logger.Enabled(true);
        logger.LogToBuffer(Norvik::LOG_BUFFER_ONLY, 1000000);
    }
    ~CapturedModuleLog() { P11Logger::GetHandle()->Destroy(); }
    CapturedModuleLog(const CapturedModuleLog&) = delete;
    CapturedModuleLog& operator=(const CapturedModuleLog&) = delete;

    [[nodiscard]] static Lines Get()
    {
        Lines lines;
        for (const Norvik::LogBufferEntry& entry : P11Logger::GetHandle()->GetLogBuffer())
        {
            lines.insert(lines.begin(), Norvik::LibLogging::LogTypeToString(entry.kind) + " " + entry.text);
        }
        return lines;
    }
    static void Clear() { P11Logger::GetHandle()->ClearLogBuffer(); }

private:
    TemporaryDirectory m_Directory;
};

/**
 * Readers as the script of the PC/SC API shows them to the slot list.
 *
 * Each Expect function adds the calls of one step, knows which handles are open, and closes them at the end.
 */
class SlotsTest : public testing::Test
{
protected:
    static constexpr long kListContext = 900;

    struct Reader
    {
        std::string name;
        long context;
        long card = 0; ///< the open handle, 0 for none
    };

    SlotsTest() { ResetSlotListStatics(); }
    ~SlotsTest() override
    {
        Destroy();
        ResetSlotListStatics();
    }

    static SlotList& Slots() { return *SlotList::GetHandle(); }
    static Lines Log() { return CapturedModuleLog::Get(); }

    /** Ends the slot list, as C_Finalize does: every reader gives its handles back. */
    void Destroy()
    {
        for (const Reader& reader : m_Readers)
        {
            if (reader.card != 0)
            {
                m_Pcsc.Disconnect(reader.card, SCARD_UNPOWER_CARD);
            }
            m_Pcsc.ReleaseContext(reader.context);
        }
        m_Readers.clear();
        SlotList::Destroy();
    }

    /** PC/SC lists these readers. */
    void ExpectList(const std::vector<std::string>& names)
    {
        std::string multiString;
        for (const std::string& name : names)
        {
            multiString += name + '\0';
        }
        multiString += '\0';
        m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(kListContext);
        m_Pcsc.ListReadersLength(kListContext).Reports(multiString.size());
        m_Pcsc.ListReaders(kListContext, multiString.size()).GivesText(multiString);
        m_Pcsc.ReleaseContext(kListContext);
    }
    void ExpectNoList()
    {
        m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(kListContext);
        m_Pcsc.ListReadersLength(kListContext).Fails(SCARD_E_NO_READERS_AVAILABLE);
        m_Pcsc.ReleaseContext(kListContext);
    }
    /** The next reader gets a context, and so the next slot. */
    void ExpectContext(const std::string& name)
    {
        const long context = static_cast<long>(m_Readers.size()) + 1;
        m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(context);
        m_Readers.push_back({name, context});
    }
    void ExpectNoContext()
    {
        m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).Fails(SCARD_E_NO_SERVICE);
        m_Pcsc.EstablishContext(SCARD_SCOPE_USER).Fails(SCARD_E_NO_SERVICE);
    }

    /** One ConnectCard(); @p bForce opens a handle although there is one. */
    void ExpectConnect(std::size_t slot, bool bCard, bool bForce = false)
    {
        Reader& reader = m_Readers.at(slot);
        if (reader.card != 0 && bCard)
        {
            m_Pcsc.Status(reader.card, 32);
        }
        if (reader.card != 0 && !bCard)
        {
            m_Pcsc.Status(reader.card, 32).Fails(SCARD_W_REMOVED_CARD);
            m_Pcsc.Disconnect(reader.card, SCARD_UNPOWER_CARD);
            m_Pcsc.ReleaseContext(reader.context);
            m_Pcsc.EstablishContext(SCARD_SCOPE_SYSTEM).GivesHandle(reader.context);
            reader.card = 0;
        }
        if (reader.card != 0 && !bForce)
        {
            return;
        }
        if (!bCard)
        {
            m_Pcsc.Connect(reader.context, reader.name).Fails(SCARD_E_NO_SMARTCARD);
            m_Pcsc.Control(0, 0x42000D48, "", 2048);
            return;
        }
        reader.card = 100 * reader.context + m_Handles++;
        m_Pcsc.Connect(reader.context, reader.name).GivesHandle(reader.card);
        m_Pcsc.Status(reader.card, 33);
    }
    /** One IsTokenPresent(). */
    void ExpectPresence(std::size_t slot, bool bCard)
    {
        ExpectConnect(slot, bCard);
        if (bCard)
        {
            m_Pcsc.Status(m_Readers.at(slot).card, 0).GivesState(SCARD_PRESENT);
        }
        else
        {
            m_Pcsc.Status(0, 0).Fails(SCARD_E_INVALID_HANDLE);
        }
    }
    /** One look at all slots. */
    void ExpectLook(const std::vector<bool>& cards)
    {
        for (std::size_t slot = 0; slot < cards.size(); ++slot)
        {
            ExpectConnect(slot, cards[slot]);
            if (cards[slot])
            {
                ExpectPresence(slot, true);
            }
        }
    }
    /** The slot list finds one reader for each element. */
    void FindReaders(const std::vector<bool>& cards)
    {
        std::vector<std::string> names;
        for (std::size_t slot = 0; slot < cards.size(); ++slot)
        {
            names.push_back("Reader " + std::to_string(slot));
        }
        ExpectList(names);
        for (const std::string& name : names)
        {
            ExpectContext(name);
        }
        ExpectLook(cards);
        Slots().Initialize();
        CapturedModuleLog::Clear();
    }

    CapturedModuleLog m_Log;
    ScriptedPcsc m_Pcsc;
    std::vector<Reader> m_Readers;
    long m_Handles = 0;
};
