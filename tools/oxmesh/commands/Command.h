// What main() needs from a subcommand of the oxmesh tool.
#pragma once

#include <string>

namespace oxmesh {

/// Options shared by every subcommand.
struct GlobalOptions {
    bool quiet = false;  ///< no progress bar
};

class Command {
public:
    virtual ~Command() = default;

    /// True when the command line selected this subcommand.
    virtual bool selected() const = 0;

    /// Runs the subcommand; returns the exit code on success. Problems with the input or output
    /// files are thrown as InputError (main prints them and exits with 1).
    virtual int run() = 0;

    /// The file the command reads, for messages about failures without a file of their own.
    virtual const std::string& inputPath() const = 0;
};

}  // namespace oxmesh
