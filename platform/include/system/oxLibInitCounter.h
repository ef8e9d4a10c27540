// Thread-safe count of nested library initialisations.
#pragma once

#include <atomic>

namespace ox {
namespace impl {

/// Counts nested initialise / terminate calls of one library, so the real
/// set-up runs on the first initialisation and the tear-down on the last
/// termination. Lock-free: concurrent callers see exactly one "first" and
/// exactly one "last" per 0 -> n -> 0 cycle.
class LibInitCounter {
public:
    /// szName: the library's name (borrowed, must outlive the counter);
    /// bFlag: a caller-defined flag kept with the counter (getFlag()).
    LibInitCounter(const char* szName, bool bFlag);
    LibInitCounter(const LibInitCounter&) = delete;
    LibInitCounter& operator=(const LibInitCounter&) = delete;

    /// Adds one initialisation; true only on the transition 0 -> 1.
    bool incrementInitCounter();
    /// Removes one initialisation; true only on the transition 1 -> 0. At 0
    /// the count stays 0 and false comes back (unbalanced terminate is harmless).
    bool decrementInitCounter();
    /// Current number of initialisations.
    unsigned int getCount() const;
    const char* getName() const { return m_szName; }
    bool getFlag() const { return m_bFlag; }

private:
    const char* m_szName;
    bool m_bFlag;
    std::atomic<unsigned int> m_uiCount;
};

}  // namespace impl
}  // namespace ox
