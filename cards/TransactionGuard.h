#pragma once

#include "readers/iCardReader.h"

#include <exception>

/**
 * Holds a card transaction while a sequence of commands runs.
 *
 * The end is sent on every path, also after a refused begin: the reader logs what it refuses, and the sequence asks
 * Held() before it goes on. Borrows the reader, which must outlive the guard.
 */
class TransactionGuard final
{
public:
    explicit TransactionGuard(iCardReader& reader) : m_Reader(reader), m_bHeld(reader.BeginTransaction()) {}
    // The lock of the reader may throw. It leaves, but not into an exception that is already on its way.
    ~TransactionGuard() noexcept(false)
    {
        if (std::uncaught_exceptions() == m_Uncaught)
        {
            static_cast<void>(End());
            return;
        }
        try
        {
            static_cast<void>(End());
        }
        catch (...) // NOLINT(bugprone-empty-catch): the first exception counts
        {}
    }
    TransactionGuard(const TransactionGuard&) = delete;
    TransactionGuard& operator=(const TransactionGuard&) = delete;

    [[nodiscard]] bool Held() const { return m_bHeld; }

    /** Ends the transaction now, where the result of the end counts or something follows it. */
    bool End()
    {
        if (m_bEnded)
        {
            return true;
        }
        m_bEnded = true;
        return m_Reader.EndTransaction();
    }

private:
    iCardReader& m_Reader;
    const int m_Uncaught = std::uncaught_exceptions();
    const bool m_bHeld;
    bool m_bEnded = false;
};
