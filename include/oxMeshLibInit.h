// Start-up and shut-down of the library.
//
// A host calls initializeOxMeshLibrary() before it loads scenes that may contain the
// library's persistent scene-graph types, and terminateOxMeshLibrary() once for each
// earlier initialisation. Calls nest: only the outermost pair registers and unregisters
// the library's scene-graph factories. Every other operation of the library works
// without either call.
#pragma once

namespace ox {

/// Counts one more user of the library; the first registers the factories.
void initializeOxMeshLibrary();

/// Counts one user less; the last unregisters the factories. An unbalanced call (no
/// user left) does nothing.
void terminateOxMeshLibrary();

/// Whether the library's factories are registered (some user has initialised it).
bool isOxMeshLibraryInitialized();

}  // namespace ox
