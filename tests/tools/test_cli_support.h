// Helpers shared by the oxmesh tool tests: paths of the bundled and shared test
// data, a scratch folder, running the built `oxmesh` executable as a user would
// (no shell; stdout and stderr captured separately), and reading single values
// out of its one-line JSON report.
#pragma once

#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <atomic>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <sstream>
#include <string>
#include <vector>

extern char** environ;

namespace clitest {

namespace fs = std::filesystem;

inline std::string testData(const std::string& relative)
{
    return std::string(OX_TEST_DATA_DIR) + "/" + relative;
}
inline std::string sharedData(const std::string& relative)
{
    return std::string(OX_SHARED_DATA_DIR) + "/" + relative;
}
inline bool hasSharedData()
{
    return fs::is_directory(OX_SHARED_DATA_DIR);
}

inline std::string readText(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline void writeText(const std::string& path, const std::string& text)
{
    std::ofstream out(path, std::ios::binary);
    out << text;
}

/// A fresh folder under the system temporary folder, removed with its content on destruction.
class ScratchDir {
public:
    ScratchDir()
    {
        static std::atomic<int> counter{0};
        path_ = fs::temp_directory_path() /
                ("oxmesh-test-" + std::to_string(::getpid()) + "-" + std::to_string(counter++));
        fs::remove_all(path_);
        fs::create_directories(path_);
    }
    ~ScratchDir()
    {
        std::error_code ignored;
        fs::remove_all(path_, ignored);
    }
    ScratchDir(const ScratchDir&) = delete;
    ScratchDir& operator=(const ScratchDir&) = delete;

    std::string file(const std::string& name) const { return (path_ / name).string(); }
    const fs::path& path() const { return path_; }

    /// Names of the entries in the folder, to check that nothing was left behind.
    std::vector<std::string> entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : fs::directory_iterator(path_))
            names.push_back(entry.path().filename().string());
        return names;
    }

private:
    fs::path path_;
};

struct RunResult {
    int exitCode = -1;     ///< exit status, or -1 when the process did not exit normally
    bool crashed = false;  ///< ended by a signal
    std::string out;       ///< everything written to stdout
    std::string err;       ///< everything written to stderr

    /// stderr split into lines (without the line breaks).
    std::vector<std::string> errLines() const
    {
        std::vector<std::string> lines;
        std::istringstream in(err);
        for (std::string line; std::getline(in, line);)
            lines.push_back(line);
        return lines;
    }
};

/// Runs the built oxmesh with `args` (no shell involved), stdin from /dev/null, stdout and
/// stderr captured through files in a scratch folder. A non-zero `addressSpaceLimit` (bytes)
/// caps the child's virtual memory, to watch it run out.
inline RunResult runOxmesh(const std::vector<std::string>& args, rlim_t addressSpaceLimit = 0)
{
    ScratchDir scratch;
    const std::string outPath = scratch.file("stdout"), errPath = scratch.file("stderr");
    std::vector<std::string> argvStrings{OXMESH_EXE};
    argvStrings.insert(argvStrings.end(), args.begin(), args.end());
    std::vector<char*> argv;
    for (std::string& arg : argvStrings)
        argv.push_back(arg.data());
    argv.push_back(nullptr);

    // Under LeakSanitizer, leave out the leaks Assimp 5.2 itself has on failed imports (they
    // would add lines to stderr); other builds ignore the variable.
    const std::string suppressions = scratch.file("lsan.supp");
    writeText(suppressions, "leak:libassimp.so\n");
    std::vector<std::string> environment{"LSAN_OPTIONS=suppressions=" + suppressions +
                                         ":print_suppressions=0"};
    for (char** variable = environ; *variable; ++variable)
        if (std::string(*variable).rfind("LSAN_OPTIONS=", 0) != 0)
            environment.emplace_back(*variable);
    std::vector<char*> envp;
    for (std::string& variable : environment)
        envp.push_back(variable.data());
    envp.push_back(nullptr);

    RunResult result;
    const pid_t pid = ::fork();
    if (pid < 0) {
        result.err = "cannot fork";
        return result;
    }
    if (pid == 0) {
        const int in = ::open("/dev/null", O_RDONLY);
        const int out = ::open(outPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        const int err = ::open(errPath.c_str(), O_WRONLY | O_CREAT | O_TRUNC, 0644);
        if (in < 0 || out < 0 || err < 0 || ::dup2(in, 0) < 0 || ::dup2(out, 1) < 0 || ::dup2(err, 2) < 0)
            ::_exit(126);
        if (addressSpaceLimit) {
            const rlimit limit{addressSpaceLimit, addressSpaceLimit};
            ::setrlimit(RLIMIT_AS, &limit);
        }
        ::execve(OXMESH_EXE, argv.data(), envp.data());
        ::_exit(127);
    }
    int status = 0;
    ::waitpid(pid, &status, 0);
    if (WIFEXITED(status))
        result.exitCode = WEXITSTATUS(status);
    result.crashed = WIFSIGNALED(status);
    result.out = readText(outPath);
    result.err = readText(errPath);
    return result;
}

/// The raw JSON text of the value of `"key"` in a one-line object (up to the next ',' or '}'
/// for scalars; the bracketed text for arrays and objects), or "" when the key is absent.
inline std::string jsonValue(const std::string& json, const std::string& key)
{
    const std::string marker = "\"" + key + "\": ";
    const std::size_t at = json.find(marker);
    if (at == std::string::npos)
        return "";
    std::size_t begin = at + marker.size(), end = begin;
    if (json[begin] == '[' || json[begin] == '{') {
        end = json.find(json[begin] == '[' ? ']' : '}', begin) + 1;
    } else if (json[begin] == '"') {
        end = json.find('"', begin + 1) + 1;
    } else {
        while (end < json.size() && json[end] != ',' && json[end] != '}')
            ++end;
    }
    return json.substr(begin, end - begin);
}

/// jsonValue as an integer; -999999 when absent, so a missing key never matches a real count.
inline long long jsonInt(const std::string& json, const std::string& key)
{
    const std::string value = jsonValue(json, key);
    return value.empty() ? -999999 : std::stoll(value);
}

}  // namespace clitest
