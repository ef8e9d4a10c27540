// Millisecond stopwatch on the steady clock.
#include "system/oxTimer.h"

namespace ox {

oxTimer::oxTimer(bool bStart) : m_kStart(), m_kSnap(), m_bStarted(false), m_bSnapped(false)
{
    if (bStart)
        start();
}

void oxTimer::start()
{
    m_kStart = Clock::now();
    m_bStarted = true;
    m_bSnapped = false;
}

void oxTimer::snapTime()
{
    m_kSnap = Clock::now();
    m_bSnapped = true;
}

double oxTimer::getElapsedMs() const
{
    if (!m_bStarted)
        return 0.0;
    const Clock::time_point kEnd = m_bSnapped ? m_kSnap : Clock::now();
    return std::chrono::duration<double, std::milli>(kEnd - m_kStart).count();
}

}  // namespace ox
