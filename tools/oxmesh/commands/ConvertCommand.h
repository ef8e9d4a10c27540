// `oxmesh convert IN -o OUT [--ascii]`: any supported input to PLY, XYZ or OBJ.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "commands/Command.h"

namespace oxmesh {

class ConvertCommand : public Command {
public:
    /// Registers the subcommand and its options on `app`; `global` is read when run() runs.
    ConvertCommand(CLI::App& app, const GlobalOptions& global);

    /// Checks the output extension, reads the input as one mesh (validated), writes the output
    /// atomically (no partial file on failure) and prints a one-line summary unless --quiet.
    /// Returns 0; file problems are thrown as FileError.
    int run() override;

private:
    std::string m_output;
    bool m_ascii = false;
};

}  // namespace oxmesh
