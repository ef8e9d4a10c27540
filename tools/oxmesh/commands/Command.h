// What main() needs from a subcommand of the oxmesh tool, and what every subcommand shares:
// its CLI11 subcommand, the global options, the file it reads and how it reads it.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "cli/ProgressBar.h"
#include "formats/MeshData.h"

namespace oxmesh {

/// Options shared by every subcommand.
struct GlobalOptions {
    bool quiet = false;  ///< no progress bar and no summary lines
};

class Command {
public:
    virtual ~Command() = default;
    Command(const Command&) = delete;
    Command& operator=(const Command&) = delete;

    /// True when the command line selected this subcommand.
    bool selected() const { return m_subcommand->parsed(); }

    /// Runs the subcommand; returns the exit code on success. Problems with the input or output
    /// files are thrown as FileError (main prints them and exits with 1).
    virtual int run() = 0;

    /// The file the command reads, for messages about failures without a file of their own.
    const std::string& inputPath() const { return m_input; }

protected:
    /// Registers the subcommand `name` on `app`; `global` is read when run() runs.
    Command(CLI::App& app, const GlobalOptions& global, const std::string& name,
            const std::string& description)
        : m_global(global), m_subcommand(app.add_subcommand(name, description))
    {}

    /// How progress bars are drawn: never with --quiet, else when standard error is a terminal.
    ProgressBar::Mode progressMode() const
    {
        return m_global.quiet ? ProgressBar::Mode::Never : ProgressBar::Mode::Auto;
    }

    /// Reads the input file (any supported format) behind a "reading FILE" progress bar.
    /// Throws FileError for an unreadable or malformed file.
    MeshData readInput() const;

    const GlobalOptions& m_global;
    CLI::App* m_subcommand;
    std::string m_input;
};

}  // namespace oxmesh
