// `oxmesh normals IN -o OUT [--viewpoint x,y,z] [-k N]`: estimates a normal for every point
// of a cloud (or vertex of a mesh) and orients them consistently, or towards a scanner.
#pragma once

#include <string>
#include <vector>

#include <CLI/CLI.hpp>

#include "commands/Command.h"

namespace oxmesh {

class NormalsCommand : public Command {
public:
    NormalsCommand(CLI::App& app, const GlobalOptions& global);

    /// Reads the input (validated: finite coordinates, at least 3 points), estimates normals
    /// by local PCA over the k nearest points, orients them over a minimum spanning tree
    /// (outwards, per connected part) or towards --viewpoint, and writes the points with their
    /// new normals (faces, when the input has them, are kept). Returns 0; file problems are
    /// thrown as FileError.
    int run() override;

private:
    std::string m_output;
    std::vector<float> m_viewpoint;
    unsigned int m_neighbours = 16;
};

}  // namespace oxmesh
