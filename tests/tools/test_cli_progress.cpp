// The progress bar as a user sees it: drawn on a terminal while a file loads,
// erased before the report, absent with --quiet and when stderr is not a terminal.
#include <gtest/gtest.h>

#include <poll.h>
#include <pty.h>
#include <regex>

#include "test_cli_support.h"

namespace {

/// Runs oxmesh with `args` on a pseudo-terminal (stdout and stderr both go to it) and returns
/// everything it printed.
std::string runOnTerminal(const std::vector<std::string>& args)
{
    std::vector<std::string> argvStrings{OXMESH_EXE};
    argvStrings.insert(argvStrings.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& arg : argvStrings)
        argv.push_back(arg.data());
    argv.push_back(nullptr);

    int master = -1;
    const pid_t pid = ::forkpty(&master, nullptr, nullptr, nullptr);
    if (pid < 0)
        return "forkpty failed";
    if (pid == 0) {
        ::execv(OXMESH_EXE, argv.data());
        ::_exit(127);
    }
    std::string output;
    char buffer[4096];
    for (;;) {
        const ssize_t got = ::read(master, buffer, sizeof buffer);
        if (got <= 0)
            break;  // EIO once the child closed the terminal
        output.append(buffer, std::size_t(got));
    }
    ::close(master);
    int status = 0;
    ::waitpid(pid, &status, 0);
    return output;
}

}  // namespace

TEST(OxmeshProgressBar, DrawnOnATerminalAndErasedBeforeTheReport)
{
    const std::string mesh = clitest::testData("meshes/fandisk.obj");
    const std::string output = runOnTerminal({"info", mesh});

    // At least one frame "[###   ]  NN% reading FILE", the last one at 100 %.
    const std::regex frame("\\r\\[#* *\\] +[0-9]+% reading " +
                           std::regex_replace(mesh, std::regex("[.]"), "\\."));
    EXPECT_TRUE(std::regex_search(output, frame)) << output.substr(0, 200);
    const std::size_t finalFrame = output.rfind("] 100% reading ");
    ASSERT_NE(finalFrame, std::string::npos) << output.substr(0, 200);
    EXPECT_NE(output.find("[" + std::string(30, '#') + "] 100% reading "), std::string::npos);

    // Then the bar is overwritten by spaces and the report starts at the beginning of the line.
    const std::size_t report = output.find("file:");
    ASSERT_NE(report, std::string::npos);
    EXPECT_GT(report, finalFrame);
    EXPECT_EQ(output[report - 1], '\r');
    const std::string between = output.substr(finalFrame, report - finalFrame);
    EXPECT_NE(between.find("\r    "), std::string::npos);
    EXPECT_EQ(output.find('\r', report), output.find("\r\n", report));  // only terminal line ends after it
}

TEST(OxmeshProgressBar, QuietAndNonTerminalOutputHaveNoBar)
{
    const std::string mesh = clitest::testData("meshes/fandisk.obj");
    const std::string quiet = runOnTerminal({"--quiet", "info", mesh});
    EXPECT_EQ(quiet.find("reading"), std::string::npos);
    EXPECT_NE(quiet.find("file:"), std::string::npos);

    const clitest::RunResult piped = clitest::runOxmesh({"info", mesh});
    EXPECT_EQ(piped.exitCode, 0);
    EXPECT_TRUE(piped.err.empty()) << piped.err;
}

TEST(OxmeshProgressBar, ErrorLineStartsAtTheBeginningOfTheLine)
{
    // The reader reports progress before the face index check fails: the bar must be erased
    // before the error line is printed.
    const std::string broken = clitest::testData("broken/obj/face-index-out-of-range.obj");
    const std::string output = runOnTerminal({"info", broken});
    const std::size_t error = output.find("oxmesh: " + broken);
    ASSERT_NE(error, std::string::npos) << output;
    EXPECT_TRUE(error == 0 || output[error - 1] == '\r' || output[error - 1] == '\n') << output;
}
