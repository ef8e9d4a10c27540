// Start-up and shut-down of the library, and the stream its messages go to.
//
// A host calls initializeOxMeshLibrary() before it loads scenes that may contain the
// library's persistent scene-graph types, and terminateOxMeshLibrary() once for each
// earlier initialisation. Calls nest: only the outermost pair registers and unregisters
// the library's scene-graph factories. Every other operation of the library works
// without either call. How the calls nest is told at the top of src/frame/oxMeshLibInit.cpp.
#pragma once

#include <iosfwd>

namespace ox {

/// Counts one more user of the library; the first registers the library's scene-graph
/// factories (this version has no persistent type to register yet).
/// Side effects:  a process-wide counter (atomic); the registration takes no lock of its own,
///                so call it from the host's main thread.
/// Cost:          O(1).
void initializeOxMeshLibrary();

/// Counts one user less; the last unregisters the factories.
/// On failure:    an unbalanced call (no user left) does nothing.
/// Cost:          O(1).
void terminateOxMeshLibrary();

/// Tells whether the library's factories are registered (an addition of ours).
/// Returns:       true while some user has initialised the library and not terminated it.
/// Cost:          O(1).
bool isOxMeshLibraryInitialized();

namespace oxMeshLib {

/// Sends the library's progress and diagnostic lines to `stream` (an addition of ours).
/// Returns:       the stream used before the call.
/// Preconditions: `stream` (may be null: the lines are dropped) outlives its use; the default
///                is std::cout, where the lines are documented to go.
/// Side effects:  process-wide; not synchronised (set it before starting work on threads).
/// Cost:          O(1).
std::ostream* SetMessageStream(std::ostream* stream);

/// The stream the library's lines currently go to (an addition of ours).
/// Returns:       the stream set last (std::cout by default); null when the lines are dropped.
/// Cost:          O(1).
std::ostream* GetMessageStream();

}  // namespace oxMeshLib

}  // namespace ox
