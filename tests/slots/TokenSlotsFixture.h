#pragma once

#include "tests/slots/SlotsFixture.h"

/** Slots whose cards answer. */
class TokenSlotsTest : public SlotsTest
{
protected:
    static constexpr const char* kAcos03Atr = "3BBF11008131FE45455041";
    static constexpr const char* kAcos04Atr = "3BBF13008131FE45455041";
    static constexpr const char* kECardG4Atr = "3BDF18008131FE588031B05202046405C903AC73B7B1D422";

    /** The card in the slot tells its ATR. */
    void ExpectAtr(std::size_t slot, const std::string& atr)
    {
        m_Pcsc.Status(m_Readers.at(slot).card, 32).Gives(atr);
    }
    /** Commands and answers in one transaction. */
    void ExpectTransaction(std::size_t slot,
                           const std::vector<std::pair<std::string, std::string>>& exchanges)
    {
        const long card = m_Readers.at(slot).card;
        m_Pcsc.BeginTransaction(card);
        for (const auto& [command, response] : exchanges)
        {
            m_Pcsc.Transmit(card, command).Gives(response);
        }
        m_Pcsc.EndTransaction(card, SCARD_LEAVE_CARD);
    }
    /** The probe that tells an ACOS 03 from its successor. */
    void ExpectAcosProbe(std::size_t slot)
    {
        ExpectTransaction(slot,
                          {{"00A4000C02DF71", "9000"}, {"00A4000C02D002", "9000"}, {"00B0000000", "019000"}});
    }
    /** An ACOS 03 gives its card number; @p bFirst selects the directory, too. */
    void ExpectIdentifier(std::size_t slot, bool bFirst)
    {
        std::vector<std::pair<std::string, std::string>> exchanges;
        if (bFirst)
        {
            exchanges.emplace_back("00A4000C02DF71", "9000");
        }
        exchanges.emplace_back("00A4000C02D001", "9000");
        exchanges.emplace_back("00B0000000", "80400000123456789000");
        ExpectTransaction(slot, exchanges);
    }
};
