// Non-recursive mutex and its scoped lock.
#pragma once

#include <mutex>

namespace ox {

/// Non-recursive mutex over std::mutex; not copyable or movable.
class oxMutex {
public:
    oxMutex() = default;
    oxMutex(const oxMutex&) = delete;
    oxMutex& operator=(const oxMutex&) = delete;

    /// Blocks until the mutex is owned by the calling thread. Locking twice
    /// from one thread deadlocks (undefined, as std::mutex).
    void lock();
    /// Releases the mutex (precondition: owned by the calling thread).
    void unlock();
    /// Takes the mutex if it is free; true on success, never blocks.
    bool tryLock();

private:
    std::mutex m_kMutex;
};

/// Holds an oxMutex for its lifetime: locks in the constructor, unlocks in
/// the destructor.
class oxScopedLock {
public:
    explicit oxScopedLock(oxMutex& rkMutex) : m_rkMutex(rkMutex) { m_rkMutex.lock(); }
    ~oxScopedLock() { m_rkMutex.unlock(); }
    oxScopedLock(const oxScopedLock&) = delete;
    oxScopedLock& operator=(const oxScopedLock&) = delete;

private:
    oxMutex& m_rkMutex;
};

}  // namespace ox
