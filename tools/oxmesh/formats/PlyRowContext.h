// Where the PLY body decoder currently is (element, row), so the value sources
// can name the place in their error messages.
#pragma once

#include "formats/FileError.h"

#include <cstdint>
#include <string>

namespace oxmesh::ply {

struct RowContext {
    const std::string* fileName = nullptr;  ///< name used in error messages
    const std::string* element = nullptr;   ///< name of the element being decoded
    std::uint64_t row = 0;                  ///< 0-based row inside that element
    std::uint64_t count = 0;                ///< rows the header declares for it

    /// "vertex 12" for the current row.
    std::string where() const { return *element + " " + std::to_string(row); }

    [[noreturn]] void fail(const std::string& problem) const { throw FileError(*fileName, problem); }

    /// Raises the error for data that stops before the declared rows are complete.
    [[noreturn]] void truncated() const
    {
        fail("file ends inside " + where() + " of " + std::to_string(count));
    }
};

}  // namespace oxmesh::ply
