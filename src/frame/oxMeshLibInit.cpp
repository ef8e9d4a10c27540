// Start-up and shut-down: a process-wide initialisation counter decides which call is
// the first and which the last; those two register and unregister the library's
// persistent scene-graph factories.
#include "oxMeshLibInit.h"

#include "system/oxLibInitCounter.h"

namespace ox {

namespace {

// Created during static initialisation of the library and alive as long as it is loaded.
impl::LibInitCounter g_initCounter("mesh", true);

// Factories of the library's persistent scene-graph types. The library has none to
// register yet; the simplification node will add its factory here.
void registerFactories() {}
void unregisterFactories() {}

}  // namespace

void initializeOxMeshLibrary()
{
    if (g_initCounter.incrementInitCounter())
        registerFactories();
}

void terminateOxMeshLibrary()
{
    if (g_initCounter.decrementInitCounter())
        unregisterFactories();
}

bool isOxMeshLibraryInitialized()
{
    return g_initCounter.getCount() > 0;
}

}  // namespace ox
