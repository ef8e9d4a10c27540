// `oxmesh simplify IN -o OUT (--ratio R | --triangles N) [--max-error E] [--lock-boundary]
// [--method quadric|generic]`: quadric edge-collapse simplification of a closed or open
// manifold triangle mesh.
#pragma once

#include <limits>
#include <string>

#include <CLI/CLI.hpp>

#include "commands/Command.h"

namespace oxmesh {

/// The collapses `oxmesh simplify` can run.
enum class SimplifyMethod {
    Quadric,  ///< QuadricSimplify: one greedy run, error measured against the input
    Generic   ///< GenericEdgeCollapseInPasses: the neighbourhood-limited collapse with valence flips
};

class SimplifyCommand : public Command {
public:
    /// Registers the subcommand and its options on `app` (exactly one of --ratio and
    /// --triangles is required); `global` is read when run() runs.
    SimplifyCommand(CLI::App& app, const GlobalOptions& global);

    /// Checks the output extension, reads the input (welding vertices split at seams), runs the
    /// chosen collapse and writes the result (vertex normals recomputed when the input had
    /// normals; colours are not kept). Prints the achieved triangle count, the target and why
    /// the run stopped unless --quiet. Returns 0; a non-manifold input prints the collapse's
    /// message and a hint on stderr and returns 1; file problems are thrown as FileError.
    int run() override;

private:
    std::string m_output;
    double m_ratio = 0.0;
    unsigned int m_triangles = 0;
    float m_maxError = std::numeric_limits<float>::infinity();
    bool m_lockBoundary = false;
    SimplifyMethod m_method = SimplifyMethod::Quadric;
};

}  // namespace oxmesh
