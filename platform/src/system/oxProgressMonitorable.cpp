// Progress value storage and forwarding.
#include "system/oxProgressMonitorable.h"

namespace ox {

oxProgressMonitorable::~oxProgressMonitorable() = default;

void oxProgressMonitorable::setProgressNotifier(oxProgressNotifierInterface* pkNotifier)
{
    m_pkNotifier = pkNotifier;
}

void oxProgressMonitorable::setProgressValue(float fValue)
{
    m_fValue = fValue > 1.0f ? 1.0f : (fValue >= 0.0f ? fValue : 0.0f);
    if (m_pkNotifier)
        m_pkNotifier->notifyProgress(m_fValue);
}

void oxProgressMonitorable::resetProgressValue()
{
    setProgressValue(0.0f);
}

}  // namespace ox
