#pragma once

#include <atomic>

/**
 * A PC/SC service of one reader, for tests of many rounds or of several threads.
 *
 * Every call is answered; nothing is checked. The reader may be hidden, and it may be listed without getting a
 * context.
 */
struct PlainPcsc
{
    static PlainPcsc& Instance();
    void Reset();

    std::atomic<bool> bListed = true;
    std::atomic<bool> bCard = false;
    /** Lists from now on after which the reader gets no context. */
    std::atomic<unsigned long> refusedRounds = 0;
    std::atomic<unsigned long> lists = 0;    ///< answered so far
    std::atomic<unsigned long> connects = 0; ///< tried so far
    std::atomic<unsigned long> contexts = 0; ///< open
    std::atomic<unsigned int> refusals = 0;  ///< contexts still to refuse in this round
};
