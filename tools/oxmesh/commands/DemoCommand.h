// `oxmesh demo [--output-dir DIR] [--input FILE]`: the tool's main job on a small bundled
// cloud. Reconstructs the cloud with both point-set surfaces at one depth and writes the two
// meshes, printing counts, time per stage and where the meshes went.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "commands/Command.h"

namespace oxmesh {

class DemoCommand : public Command {
public:
    DemoCommand(CLI::App& app, const GlobalOptions& global);

    /// Reads the cloud (the bundled data/clouds/spot-uniform-10k.ply unless --input), builds the
    /// point-set query once, and meshes it with APSS and then RIMLS at one depth (7 unless
    /// --depth; one depth for both, as the mesher fixes its face tables on its first call in a
    /// process), cleaning up each mesh as `oxmesh reconstruct` does, writing DIR/<name>-apss.ply
    /// and DIR/<name>-rimls.ply (DIR is created when missing). Prints the counts, the time per
    /// stage, what the clean-up did (when it had to run) and the output paths (nothing with
    /// --quiet). Returns 0; a missing cloud, a cloud without normals or an unwritable folder
    /// are thrown as FileError.
    int run() override;

    /// The bundled cloud as the build recorded its path (in the source tree).
    static std::string bundledCloud();

private:
    std::string m_outputDir = "oxmesh-demo-output";
    unsigned int m_depth = 7;
};

}  // namespace oxmesh
