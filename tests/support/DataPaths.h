// Where tests find their input files: the small samples bundled in the repository's data/ and
// the shared real data set beside the repository (../shared/data), which a test skips without.
#pragma once

#include <filesystem>
#include <string>

#include <gtest/gtest.h>

namespace oxtest {

/// A file under the repository's data/ folder (always present).
inline std::string bundledData(const std::string& relative)
{
    return std::string(OX_TEST_DATA_DIR) + "/" + relative;
}

/// A file under the shared data set (may be absent: guard with OX_SKIP_WITHOUT_SHARED_DATA).
inline std::string sharedData(const std::string& relative)
{
    return std::string(OX_SHARED_DATA_DIR) + "/" + relative;
}

inline bool hasSharedData()
{
    return std::filesystem::is_directory(OX_SHARED_DATA_DIR);
}

}  // namespace oxtest

/// Skips the current test when the shared data set is not beside the repository.
#define OX_SKIP_WITHOUT_SHARED_DATA()                                                                        \
    do {                                                                                                     \
        if (!oxtest::hasSharedData())                                                                        \
            GTEST_SKIP() << "shared data set absent (" OX_SHARED_DATA_DIR ")";                               \
    } while (0)

/// Skips the current test when `path` does not exist.
#define OX_SKIP_IF_MISSING(path)                                                                             \
    do {                                                                                                     \
        if (!std::filesystem::exists(path))                                                                  \
            GTEST_SKIP() << "input absent: " << (path);                                                      \
    } while (0)
