#include "slots/CardTokenWrapper.h"

#include "slots/CardTokenList.h"

#include <boost/thread/mutex.hpp>

namespace
{

/**
 * Guards the token map of CardTokenList, also while reload() talks to the card.
 *
 * Taken before the readers' sReaderMutex; never together with the mutex of the session table. What token()
 * gives is used after the lock has gone.
 */
boost::mutex sTokenMutex;

} // namespace

CardTokenWrapper::CardTokenWrapper(unsigned long slot) : m_Slot(slot)
{
    reload();
}

iCardToken* CardTokenWrapper::token()
{
    const boost::mutex::scoped_lock lock(sTokenMutex);
    return CardTokenList::instance()->getCardToken(m_Slot);
}

void CardTokenWrapper::reload()
{
    const boost::mutex::scoped_lock lock(sTokenMutex);
    CardTokenList::instance()->updateSlot(m_Slot);
}
