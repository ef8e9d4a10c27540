// Start-up and shut-down of the library.
//
// A host calls initializeOxMeshLibrary() before it loads scenes that may contain the
// library's persistent scene-graph types, and terminateOxMeshLibrary() once for each
// earlier initialisation. Calls nest: only the outermost pair registers and unregisters
// the library's scene-graph factories. Every other operation of the library works
// without either call.
#pragma once

#include <iosfwd>

namespace ox {

/// Counts one more user of the library; the first registers the factories.
void initializeOxMeshLibrary();

/// Counts one user less; the last unregisters the factories. An unbalanced call (no
/// user left) does nothing.
void terminateOxMeshLibrary();

/// Whether the library's factories are registered (some user has initialised it).
bool isOxMeshLibraryInitialized();

namespace oxMeshLib {

/// Sends the library's progress and diagnostic lines to `stream` (an addition of ours).
/// Returns:       the stream used before the call.
/// Preconditions: `stream` (may be null: the lines are dropped) outlives its use; the default
///                is std::cout, where the lines are documented to go.
/// Side effects:  process-wide; not synchronised (set it before starting work on threads).
/// Cost:          O(1).
std::ostream* SetMessageStream(std::ostream* stream);

/// The stream the library's lines currently go to (null when they are dropped). O(1).
std::ostream* GetMessageStream();

}  // namespace oxMeshLib

}  // namespace ox
