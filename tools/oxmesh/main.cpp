// oxmesh: inspect and convert meshes and point clouds from the command line.
//
// Exit codes: 0 success; 1 bad input or failed output (one line on stderr,
// "oxmesh: FILE: problem"); 2 usage errors.
#include <cstdio>
#include <memory>
#include <new>
#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands/ConvertCommand.h"
#include "commands/DemoCommand.h"
#include "commands/InfoCommand.h"
#include "commands/NormalsCommand.h"
#include "commands/ReconstructCommand.h"
#include "commands/SimplifyCommand.h"
#include "formats/FileError.h"
#include "oxMeshLibInit.h"
#include "oxMeshLibVersion.h"

namespace {

constexpr int kBadInput = 1;
constexpr int kUsage = 2;

/// Prints "oxmesh: <message>" as exactly one line on stderr.
void reportError(std::string message)
{
    for (char& c : message)
        if (c == '\n' || c == '\r')
            c = ' ';
    std::fprintf(stderr, "oxmesh: %s\n", message.c_str());
}

int runCommand(oxmesh::Command& command)
{
    try {
        return command.run();
    } catch (const oxmesh::FileError& error) {
        reportError(error.what());
    } catch (const std::bad_alloc&) {
        reportError("out of memory reading " + command.inputPath());
    } catch (const std::exception& error) {
        reportError(command.inputPath() + ": " + error.what());
    } catch (...) {
        reportError(command.inputPath() + ": unexpected error");
    }
    return kBadInput;
}

}  // namespace

int main(int argc, char** argv)
{
    // The library's own progress lines stay out of the tool's output (reconstruct --verbose
    // shows them).
    ox::oxMeshLib::SetMessageStream(nullptr);
    CLI::App app{"Inspect and convert meshes and point clouds.", "oxmesh"};
    oxmesh::GlobalOptions global;
    app.add_flag("-q,--quiet", global.quiet, "No progress bar and no summary lines");
    app.set_version_flag("--version", ox::oxMeshLib::Version::GetDescStringMajorMinorReleaseRevisionDate(),
                         "Print the library version and exit");
    app.require_subcommand(0, 1);
    app.fallthrough();

    std::vector<std::unique_ptr<oxmesh::Command>> commands;
    commands.push_back(std::make_unique<oxmesh::InfoCommand>(app, global));
    commands.push_back(std::make_unique<oxmesh::ConvertCommand>(app, global));
    commands.push_back(std::make_unique<oxmesh::NormalsCommand>(app, global));
    commands.push_back(std::make_unique<oxmesh::SimplifyCommand>(app, global));
    commands.push_back(std::make_unique<oxmesh::ReconstructCommand>(app, global));
    commands.push_back(std::make_unique<oxmesh::DemoCommand>(app, global));

    try {
        app.parse(argc, argv);
    } catch (const CLI::Success& done) {  // --help, --version
        return app.exit(done);
    } catch (const CLI::ParseError& error) {
        reportError(error.what());
        std::fprintf(stderr, "Run 'oxmesh --help' for usage.\n");
        return kUsage;
    }

    for (const auto& command : commands)
        if (command->selected())
            return runCommand(*command);

    std::fputs(app.help().c_str(), stderr);
    return kUsage;
}
