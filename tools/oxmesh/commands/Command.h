// What main() needs from a subcommand of the oxmesh tool, and what every subcommand shares:
// its CLI11 subcommand, the global options and the file it reads.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

namespace oxmesh {

/// Options shared by every subcommand.
struct GlobalOptions {
    bool quiet = false;  ///< no progress bar
};

class Command {
public:
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// True when the command line selected this subcommand.
    bool selected() const { return subcommand_->parsed(); }

    /// Runs the subcommand; returns the exit code on success. Problems with the input or output
    /// files are thrown as InputError (main prints them and exits with 1).
    virtual int run() = 0;

    /// The file the command reads, for messages about failures without a file of their own.
    const std::string& inputPath() const { return input_; }

protected:
    /// Registers the subcommand `name` on `app`; `global` is read when run() runs.
    Command(CLI::App& app, const GlobalOptions& global, const std::string& name,
            const std::string& description)
        : global_(global), subcommand_(app.add_subcommand(name, description))
    {}

    const GlobalOptions& global_;
    CLI::App* subcommand_;
    std::string input_;
};

}  // namespace oxmesh
