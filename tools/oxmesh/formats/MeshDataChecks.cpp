#include "formats/MeshDataChecks.h"

#include "formats/FileError.h"

#include <algorithm>

namespace oxmesh {

void checkWritable(const MeshData& mesh, const std::string& path, std::uint64_t maxIndex)
{
    const auto fail = [&](const std::string& why) { throw FileError(path, "cannot write: " + why); };
    if (mesh.positions.size() % 3 != 0)
        fail("the position array does not hold whole x y z triples");
    if (mesh.hasNormals() && mesh.normals.size() != mesh.positions.size())
        fail("the mesh has " + std::to_string(mesh.normals.size() / 3) + " normals for " +
             std::to_string(mesh.vertexCount()) + " vertices");
    if (mesh.hasColors() && mesh.colors.size() != mesh.positions.size())
        fail("the mesh has " + std::to_string(mesh.colors.size() / 3) + " colours for " +
             std::to_string(mesh.vertexCount()) + " vertices");
    if (mesh.triangles.size() % 3 != 0)
        fail("the triangle array does not hold whole triangles");
    if (mesh.triangles.empty())
        return;
    const std::uint64_t largest = *std::max_element(mesh.triangles.begin(), mesh.triangles.end());
    if (largest >= mesh.vertexCount())
        fail("a triangle refers to vertex " + std::to_string(largest) + ", but there are " +
             std::to_string(mesh.vertexCount()) + " vertices");
    if (largest > maxIndex)
        fail("vertex index " + std::to_string(largest) + " does not fit the file's index type");
}

}  // namespace oxmesh
