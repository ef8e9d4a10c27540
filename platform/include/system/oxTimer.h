// Millisecond stopwatch on the steady clock.
#pragma once

#include <chrono>

namespace ox {

/// Stopwatch: getElapsedMs() is the time from start() to the last
/// snapTime(), or to now when snapTime() was not called since start().
/// A timer constructed with bStart = false reports 0 until start().
class oxTimer {
public:
    /// Starts the timer unless bStart is false.
    explicit oxTimer(bool bStart = true);

    /// (Re)starts the timer now and forgets any previous snap.
    void start();
    /// Records the current time as the end of the measured interval.
    void snapTime();
    /// Milliseconds from start() to the last snapTime() (or to now).
    /// Never negative; 0 for a timer that was never started.
    double getElapsedMs() const;

private:
    typedef std::chrono::steady_clock Clock;

    Clock::time_point m_kStart;
    Clock::time_point m_kSnap;
    bool m_bStarted;
    bool m_bSnapped;
};

}  // namespace ox
