// Turns a byte position inside an input buffer into at most ~100 progress calls.
#pragma once

#include "formats/Progress.h"

#include <cstddef>
#include <limits>

namespace oxmesh {

class ProgressReporter {
public:
    /// Reports progress through `fn` (may be empty) for a buffer of `total` bytes.
    ProgressReporter(const ProgressFn& fn, std::size_t total) : m_fn(fn), m_total(total)
    {
        if (!m_fn || m_total == 0)
            m_next = std::numeric_limits<std::size_t>::max();
    }

    /// Notes that the reader has reached byte `offset`. O(1); calls the callback only
    /// when another whole percent has been passed.
    void at(std::size_t offset)
    {
        if (offset >= m_next)
            emit(offset);
    }

    /// Reports completion (fraction 1) once, if a callback is set.
    void finish()
    {
        if (m_fn && !m_finished) {
            m_finished = true;
            m_next = std::numeric_limits<std::size_t>::max();
            m_fn(1.0f);
        }
    }

private:
    void emit(std::size_t offset)
    {
        const std::size_t percent = offset >= m_total ? 100 : offset * 100 / m_total;
        if (percent >= 100) {
            finish();
            return;
        }
        m_fn(static_cast<float>(percent) / 100.0f);
        // First byte of the next percent: the smallest offset with offset*100/total > percent.
        m_next = ((percent + 1) * m_total + 99) / 100;
    }

    const ProgressFn& m_fn;
    std::size_t m_total;
    std::size_t m_next = 0;
    bool m_finished = false;
};

}  // namespace oxmesh
