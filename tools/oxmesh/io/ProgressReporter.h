// Turns a byte position inside an input buffer into at most ~100 progress calls.
#pragma once

#include "io/Progress.h"

#include <cstddef>
#include <limits>

namespace oxmesh {

class ProgressReporter {
public:
    /// Reports progress through `fn` (may be empty) for a buffer of `total` bytes.
    ProgressReporter(const ProgressFn& fn, std::size_t total) : fn_(fn), total_(total)
    {
        if (!fn_ || total_ == 0)
            next_ = std::numeric_limits<std::size_t>::max();
    }

    /// Notes that the reader has reached byte `offset`. O(1); calls the callback only
    /// when another whole percent has been passed.
    void at(std::size_t offset)
    {
        if (offset >= next_)
            emit(offset);
    }

    /// Reports completion (fraction 1) once, if a callback is set.
    void finish()
    {
        if (fn_ && !finished_) {
            finished_ = true;
            next_ = std::numeric_limits<std::size_t>::max();
            fn_(1.0f);
        }
    }

private:
    void emit(std::size_t offset)
    {
        const std::size_t percent = offset >= total_ ? 100 : offset * 100 / total_;
        if (percent >= 100) {
            finish();
            return;
        }
        fn_(static_cast<float>(percent) / 100.0f);
        // First byte of the next percent: the smallest offset with offset*100/total > percent.
        next_ = ((percent + 1) * total_ + 99) / 100;
    }

    const ProgressFn& fn_;
    std::size_t total_;
    std::size_t next_ = 0;
    bool finished_ = false;
};

}  // namespace oxmesh
