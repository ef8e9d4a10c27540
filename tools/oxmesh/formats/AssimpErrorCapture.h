// Assimp's error log turned into failed imports.
#pragma once

#include <stdexcept>
#include <string>

namespace oxmesh {

/// Raised from inside Assimp at its first logged error (see AssimpErrorCapture).
class LoggedImportError : public std::runtime_error {
public:
    using std::runtime_error::runtime_error;
};

/// Stops an import at the first error Assimp logs. Several importers log a problem and carry
/// on with made-up data (the OFF importer clamps out-of-range indices and zeroes missing
/// vertices), and some go on into undefined behaviour (the OFF importer of Assimp 5.2 counts
/// its faces below zero after two empty face lines and then reads far out of bounds). So while
/// an instance lives, Assimp's log throws LoggedImportError at the first error: the importer's
/// own exception handling turns it into a failed import before the importer can go on (when
/// the error is logged outside an importer, the exception reaches the caller of ReadFile). It
/// never throws while an exception is being handled or unwound (Assimp logs from its catch
/// blocks), and records the first message either way.
/// Installs Assimp's global logger for its lifetime when none is installed, and does nothing
/// when one is (one import at a time: the logger is process-wide).
class AssimpErrorCapture {
public:
    AssimpErrorCapture();
    ~AssimpErrorCapture();
    AssimpErrorCapture(const AssimpErrorCapture&) = delete;
    AssimpErrorCapture& operator=(const AssimpErrorCapture&) = delete;

    /// The first logged error without Assimp's "Error, T0: " prefix, or "" when none.
    const std::string& firstError() const { return m_firstError; }

private:
    std::string m_firstError;
    bool m_installed = false;
};

}  // namespace oxmesh
