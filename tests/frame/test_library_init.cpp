// Start-up and shut-down nest: only the outermost pair changes the library's state, and
// an unbalanced terminate is harmless.
#include <gtest/gtest.h>

#include "oxMeshLib.h"

TEST(LibraryInit, NestedCallsRegisterOnceAndUnregisterOnce)
{
    ASSERT_FALSE(ox::isOxMeshLibraryInitialized());
    ox::initializeOxMeshLibrary();
    EXPECT_TRUE(ox::isOxMeshLibraryInitialized());
    ox::initializeOxMeshLibrary();
    ox::terminateOxMeshLibrary();
    EXPECT_TRUE(ox::isOxMeshLibraryInitialized()) << "an inner terminate must not shut the library down";
    ox::terminateOxMeshLibrary();
    EXPECT_FALSE(ox::isOxMeshLibraryInitialized());
    ox::terminateOxMeshLibrary();  // unbalanced: stays down, no crash
    EXPECT_FALSE(ox::isOxMeshLibraryInitialized());
    ox::initializeOxMeshLibrary();  // and can come up again
    EXPECT_TRUE(ox::isOxMeshLibraryInitialized());
    ox::terminateOxMeshLibrary();
    EXPECT_FALSE(ox::isOxMeshLibraryInitialized());
}
