// `oxmesh reconstruct IN -o OUT [--surface apss|rimls] [--depth N] [--estimate-normals] [--raw]`:
// a closed triangle mesh from an oriented point cloud, through a moving-least-squares surface,
// sparse marching cubes and (unless --raw) the topology clean-up of ReconstructionCleanup.h.
#pragma once

#include <string>

#include <CLI/CLI.hpp>

#include "commands/Command.h"
#include <string>

namespace oxmesh {

class ReconstructCommand : public Command {
public:
    ReconstructCommand(CLI::App& app, const GlobalOptions& global);

    /// Reads the cloud (faces, if any, are ignored), checks it (checkOrientedCloud) or estimates
    /// its normals first (--estimate-normals), meshes the chosen surface at the chosen depth, and
    /// writes the mesh with vertex normals in the cloud's coordinates. A mesh that comes out open
    /// or non-manifold is cleaned up first unless --raw is given. Prints one summary line (counts,
    /// closed or open, time per stage), followed by one "clean-up: ..." line when the clean-up had
    /// to run; with --verbose the mesher's own lines come before them. Returns 0; problems with the files or the cloud are thrown as FileError, and no output
    /// file is left behind then.
    int run() override;

private:
    std::string m_output;
    std::string m_surfaceText = "apss";
    unsigned int m_depth = 7;
    bool m_estimateNormals = false;
    bool m_raw = false;
    bool m_verbose = false;
};

}  // namespace oxmesh
