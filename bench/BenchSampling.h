// Dense, repeatable samples of real meshes for the benchmarks.
#pragma once

#include <string>
#include <vector>

#include "formats/MeshData.h"

namespace oxbench {

/// Points on the surface of `mesh`, about `target` of them, area-weighted and generated
/// triangle by triangle in the file's order (so the order is the file's, not a spatial
/// one), with a fixed seed. Each point gets the face normal of its triangle.
void sampleSurface(const oxmesh::MeshData& mesh, std::size_t target, std::vector<float>& points,
                   std::vector<float>* normals = nullptr, unsigned seed = 12345);

/// Path of a file of the shared data set (../shared/data/REL) or of the bundled data
/// (data/REL), whichever exists; empty when neither does.
std::string findData(const std::string& rel);

}  // namespace oxbench
