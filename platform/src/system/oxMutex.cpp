// Non-recursive mutex over std::mutex.
#include "system/oxMutex.h"

namespace ox {

void oxMutex::lock()
{
    m_kMutex.lock();
}

void oxMutex::unlock()
{
    m_kMutex.unlock();
}

bool oxMutex::tryLock()
{
    return m_kMutex.try_lock();
}

}  // namespace ox
