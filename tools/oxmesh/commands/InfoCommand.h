// `oxmesh info FILE [--json]`: what a mesh or point cloud file holds and how its
// surface is put together.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "commands/Command.h"

namespace oxmesh {

class InfoCommand : public Command {
public:
    /// Registers the subcommand and its options on `app`; `global` is read when run() runs.
    InfoCommand(CLI::App& app, const GlobalOptions& global);

    /// Reads the file (progress bar on a terminal), computes its statistics and prints the report
    /// on stdout. Returns 0; file problems are thrown as FileError.
    int run() override;

private:
    bool m_json = false;
};

}  // namespace oxmesh
