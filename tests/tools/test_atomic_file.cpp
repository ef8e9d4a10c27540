// AtomicFile: the target appears only complete, on commit; without commit, or on a
// failure at any step, no temporary file stays behind and an old target survives.
#include "formats/AtomicFile.h"

#include "formats/FileError.h"
#include "test_ply_support.h"

#include <gtest/gtest.h>

#include <csignal>
#include <cstdlib>

#include <sys/resource.h>
#include <unistd.h>

namespace {

TEST(AtomicFile, CommitPublishesTheWholeFileUnderItsName)
{
    const plytest::TempDir dir;
    const std::string path = dir.file("out.txt");
    {
        oxmesh::AtomicFile file(path);
        EXPECT_EQ(path + ".tmp-" + std::to_string(::getpid()), file.tempPath());
        file.write("hello ");
        // Larger than the internal buffer, so it goes through the direct path.
        file.write(std::string(3 << 20, 'x'));
        file.write("end");
        EXPECT_EQ(std::vector<std::string>{"out.txt.tmp-" + std::to_string(::getpid())}, dir.entries());
        file.commit();
    }
    EXPECT_EQ("hello " + std::string(3 << 20, 'x') + "end", plytest::readBytes(path));
    EXPECT_EQ(std::vector<std::string>{"out.txt"}, dir.entries());
    // A second commit replaces the old file.
    {
        oxmesh::AtomicFile file(path);
        file.write("new");
        file.commit();
        EXPECT_THROW(file.write("more"), oxmesh::FileError);
        EXPECT_THROW(file.commit(), oxmesh::FileError);
    }
    EXPECT_EQ("new", plytest::readBytes(path));
}

TEST(AtomicFile, AbandonedOrFailedFilesLeaveTheOldTarget)
{
    const plytest::TempDir dir;
    const std::string path = dir.file("keep.txt");
    plytest::writeBytes(path, "old");
    {
        oxmesh::AtomicFile file(path);
        file.write("partial");
    }  // no commit: e.g. an exception while the caller was writing
    EXPECT_EQ("old", plytest::readBytes(path));
    EXPECT_EQ(std::vector<std::string>{"keep.txt"}, dir.entries());

    try {
        oxmesh::AtomicFile file(dir.file("missing/x.txt"));
        ADD_FAILURE() << "opened a file in a missing folder";
    } catch (const oxmesh::FileError& e) {
        EXPECT_EQ(dir.file("missing/x.txt") + ": cannot write: No such file or directory",
                  std::string(e.what()));
        EXPECT_EQ(dir.file("missing/x.txt"), e.path());
    }

    // The rename fails when the target is a non-empty folder.
    std::filesystem::create_directories(dir.file("taken/inside"));
    try {
        oxmesh::AtomicFile file(dir.file("taken"));
        file.write("data");
        file.commit();
        ADD_FAILURE() << "replaced a folder";
    } catch (const oxmesh::FileError& e) {
        EXPECT_NE(std::string::npos, std::string(e.what()).find(": cannot write: Is a directory"))
            << e.what();
    }
    EXPECT_EQ((std::vector<std::string>{"keep.txt", "taken"}), dir.entries());
}

// In a child process: a file size limit makes writes fail with EFBIG, as a full
// disk would fail them with ENOSPC. Exits 0 when the error names the file and no
// temporary file is left.
[[noreturn]] void writeBeyondSizeLimit(const plytest::TempDir& dir, const std::string& path)
{
    std::signal(SIGXFSZ, SIG_IGN);
    struct rlimit limit {};
    limit.rlim_cur = limit.rlim_max = 4096;
    ::setrlimit(RLIMIT_FSIZE, &limit);
    int code = 1;
    try {
        oxmesh::AtomicFile file(path);
        for (int i = 0; i < 100; ++i)
            file.write(std::string(100000, 'y'));
        file.commit();
    } catch (const oxmesh::FileError& e) {
        const bool named = std::string(e.what()) == path + ": cannot write: File too large";
        code = named && dir.entries().empty() ? 0 : 2;
    }
    std::_Exit(code);
}

TEST(AtomicFile, WriteErrorsAreReportedAndCleanedUp)
{
    const plytest::TempDir dir;
    const std::string path = dir.file("big.bin");
    EXPECT_EXIT(writeBeyondSizeLimit(dir, path), ::testing::ExitedWithCode(0), "");
    EXPECT_TRUE(dir.entries().empty());
}

}  // namespace
