// Thread-safe count of nested library initialisations.
#include "system/oxLibInitCounter.h"

namespace ox {
namespace impl {

LibInitCounter::LibInitCounter(const char* szName, bool bFlag)
    : m_szName(szName), m_bFlag(bFlag), m_uiCount(0u)
{}

bool LibInitCounter::incrementInitCounter()
{
    return m_uiCount.fetch_add(1u, std::memory_order_acq_rel) == 0u;
}

bool LibInitCounter::decrementInitCounter()
{
    unsigned int uiCount = m_uiCount.load(std::memory_order_acquire);
    // Compare-exchange loop: never goes below zero, and exactly one caller
    // observes the 1 -> 0 transition.
    while (uiCount != 0u) {
        if (m_uiCount.compare_exchange_weak(uiCount, uiCount - 1u, std::memory_order_acq_rel,
                                            std::memory_order_acquire))
            return uiCount == 1u;
    }
    return false;
}

unsigned int LibInitCounter::getCount() const
{
    return m_uiCount.load(std::memory_order_acquire);
}

}  // namespace impl
}  // namespace ox
