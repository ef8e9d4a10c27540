#include "formats/Validate.h"

#include <cmath>
#include <cstdio>

#include "formats/FileError.h"

namespace oxmesh {
namespace {

bool isFinite3(const float* p)
{
    return std::isfinite(p[0]) && std::isfinite(p[1]) && std::isfinite(p[2]);
}

std::string formatPoint(const float* p)
{
    char text[128];
    std::snprintf(text, sizeof text, "(%g, %g, %g)", p[0], p[1], p[2]);
    return text;
}

void checkCoordinates(const MeshData& mesh, const std::string& path)
{
    const std::size_t n = mesh.vertexCount();
    std::size_t firstBad = n, badCount = 0;
    for (std::size_t v = 0; v < n; ++v) {
        if (isFinite3(&mesh.positions[3 * v]))
            continue;
        if (badCount++ == 0)
            firstBad = v;
    }
    if (badCount == 0)
        return;
    std::string problem = "vertex " + std::to_string(firstBad) + " has a non-finite coordinate " +
                          formatPoint(&mesh.positions[3 * firstBad]);
    problem += badCount == 1 ? "; it is the only one"
                             : "; " + std::to_string(badCount) + " vertices in all are not finite";
    throw FileError(path, problem);
}

void checkIndices(const MeshData& mesh, const std::string& path)
{
    const std::size_t n = mesh.vertexCount();
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i) {
        if (mesh.triangles[i] < n)
            continue;
        throw FileError(path, "triangle " + std::to_string(i / 3) + " refers to vertex " +
                                  std::to_string(mesh.triangles[i]) + ", but there are " + std::to_string(n) +
                                  " vertices");
    }
}

void checkRecordCount(const std::vector<float>& values, const MeshData& mesh, const char* what,
                      const std::string& path)
{
    if (values.empty() || values.size() == mesh.positions.size())
        return;
    throw FileError(path, std::to_string(values.size() / 3) + " " + what + " for " +
                              std::to_string(mesh.vertexCount()) + " vertices");
}

}  // namespace

void validateMesh(const MeshData& mesh, const std::string& path)
{
    if (mesh.vertexCount() == 0)
        throw FileError(path, "no vertices");
    if (mesh.positions.size() % 3 != 0 || mesh.triangles.size() % 3 != 0)
        throw FileError(path, "coordinate or index arrays are not whole records");
    checkRecordCount(mesh.normals, mesh, "normals", path);
    checkRecordCount(mesh.colors, mesh, "colours", path);
    checkCoordinates(mesh, path);
    checkIndices(mesh, path);
}

}  // namespace oxmesh
