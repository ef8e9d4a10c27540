// Base class of objects that report their progress.
#pragma once

#include "system/oxProgressNotifierInterface.h"

namespace ox {

/// Base class of objects that report progress: keeps the current progress
/// value and forwards every change to the notifier, when one is set.
/// The notifier is borrowed, not owned. Copies share the notifier pointer
/// and take the value.
class oxProgressMonitorable {
public:
    oxProgressMonitorable() = default;
    oxProgressMonitorable(const oxProgressMonitorable&) = default;
    oxProgressMonitorable& operator=(const oxProgressMonitorable&) = default;
    virtual ~oxProgressMonitorable();

    /// Sets the receiver of progress values (null: no reporting).
    void setProgressNotifier(oxProgressNotifierInterface* pkNotifier);
    oxProgressNotifierInterface* getProgressNotifier() const { return m_pkNotifier; }

    /// Stores the value clamped into [0, 1] (NaN becomes 0) and forwards it
    /// to the notifier when one is set.
    void setProgressValue(float fValue);
    /// Sets the value back to 0 (forwarded like setProgressValue(0)).
    void resetProgressValue();
    /// The last value set, in [0, 1].
    float getProgressValue() const { return m_fValue; }

private:
    oxProgressNotifierInterface* m_pkNotifier = nullptr;
    float m_fValue = 0.0f;
};

}  // namespace ox
