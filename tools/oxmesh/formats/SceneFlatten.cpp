#include "formats/SceneFlatten.h"

#include <algorithm>
#include <array>
#include <cmath>
#include <vector>

namespace oxmesh {
namespace {

using Matrix = std::array<double, 16>;  // row-major, column vectors

Matrix toMatrix(const std::array<float, 16>& m)
{
    Matrix result;
    std::copy(m.begin(), m.end(), result.begin());
    return result;
}

Matrix multiply(const Matrix& a, const Matrix& b)
{
    Matrix c{};
    for (int r = 0; r < 4; ++r)
        for (int k = 0; k < 4; ++k)
            for (int j = 0; j < 4; ++j)
                c[4 * r + j] += a[4 * r + k] * b[4 * k + j];
    return c;
}

bool isIdentity(const Matrix& m)
{
    for (int i = 0; i < 16; ++i)
        if (m[i] != (i % 5 == 0 ? 1.0 : 0.0))
            return false;
    return true;
}

/// Inverse transpose of the upper 3x3 block (cofactor matrix / determinant); the cofactors
/// alone suffice since normals are renormalised, but the sign of the determinant matters.
std::array<double, 9> normalMatrix(const Matrix& m)
{
    auto a = [&](int r, int c) { return m[4 * r + c]; };
    std::array<double, 9> cof;
    for (int r = 0; r < 3; ++r)
        for (int c = 0; c < 3; ++c) {
            const int r1 = (r + 1) % 3, r2 = (r + 2) % 3, c1 = (c + 1) % 3, c2 = (c + 2) % 3;
            cof[3 * r + c] = a(r1, c1) * a(r2, c2) - a(r1, c2) * a(r2, c1);
        }
    const double det = a(0, 0) * cof[0] + a(0, 1) * cof[1] + a(0, 2) * cof[2];
    if (det < 0)
        for (double& x : cof)
            x = -x;
    return cof;
}

struct Instance {
    const MeshData* mesh;
    Matrix world;
};

void collect(const SceneNode& node, const Matrix& parent, const SceneData& scene, std::vector<Instance>& out)
{
    const Matrix world = multiply(parent, toMatrix(node.transform));
    for (std::size_t index : node.meshes)
        if (index < scene.meshes.size())
            out.push_back({&scene.meshes[index], world});
    for (const SceneNode& child : node.children)
        collect(child, world, scene, out);
}

void appendTransformed(const Instance& instance, bool keepNormals, bool keepColors, MeshData& out)
{
    const MeshData& mesh = *instance.mesh;
    const std::uint32_t vertexOffset = std::uint32_t(out.vertexCount());
    const std::uint32_t triangleOffset = std::uint32_t(out.triangleCount());
    const bool identity = isIdentity(instance.world);
    const Matrix& m = instance.world;
    const std::array<double, 9> nm = normalMatrix(m);

    for (std::size_t v = 0; v < mesh.vertexCount(); ++v) {
        const float* p = &mesh.positions[3 * v];
        for (int r = 0; r < 3; ++r)
            out.positions.push_back(
                identity ? p[r]
                         : float(m[4 * r] * p[0] + m[4 * r + 1] * p[1] + m[4 * r + 2] * p[2] + m[4 * r + 3]));
        if (keepNormals) {
            const float* n = &mesh.normals[3 * v];
            double t[3];
            for (int r = 0; r < 3; ++r)
                t[r] = identity ? n[r] : nm[3 * r] * n[0] + nm[3 * r + 1] * n[1] + nm[3 * r + 2] * n[2];
            const double length = std::sqrt(t[0] * t[0] + t[1] * t[1] + t[2] * t[2]);
            const double scale = identity || length == 0.0 ? 1.0 : 1.0 / length;
            for (int r = 0; r < 3; ++r)
                out.normals.push_back(float(t[r] * scale));
        }
        if (keepColors)
            out.colors.insert(out.colors.end(), &mesh.colors[3 * v], &mesh.colors[3 * v] + 3);
    }
    for (std::uint32_t index : mesh.triangles)
        out.triangles.push_back(index + vertexOffset);

    if (mesh.polygonStarts.empty())
        for (std::size_t t = 0; t < mesh.triangleCount(); ++t)
            out.polygonStarts.push_back(std::uint32_t(t) + triangleOffset);
    else
        for (std::uint32_t start : mesh.polygonStarts)
            out.polygonStarts.push_back(start + triangleOffset);

    out.sourceFaces += mesh.sourceFaces;
    for (const auto& [size, count] : mesh.faceSizes)
        out.faceSizes[size] += count;
    out.hasTexCoords = out.hasTexCoords || mesh.hasTexCoords;
    out.weldedVertices += mesh.weldedVertices;
    for (const std::string& property : mesh.skippedProperties)
        if (std::find(out.skippedProperties.begin(), out.skippedProperties.end(), property) ==
            out.skippedProperties.end())
            out.skippedProperties.push_back(property);
}

}  // namespace

MeshData flattenScene(const SceneData& scene)
{
    std::vector<Instance> instances;
    Matrix identity{};
    for (int i = 0; i < 4; ++i)
        identity[5 * i] = 1.0;
    collect(scene.root, identity, scene, instances);

    MeshData out;
    if (instances.empty()) {
        if (!scene.meshes.empty())
            out.format = scene.meshes.front().format;
        return out;
    }
    out.format = instances.front().mesh->format;
    const bool keepNormals = std::all_of(instances.begin(), instances.end(),
                                         [](const Instance& i) { return i.mesh->hasNormals(); });
    const bool keepColors = std::all_of(instances.begin(), instances.end(),
                                        [](const Instance& i) { return i.mesh->hasColors(); });
    std::size_t vertices = 0, indices = 0;
    for (const Instance& i : instances) {
        vertices += i.mesh->positions.size();
        indices += i.mesh->triangles.size();
    }
    out.positions.reserve(vertices);
    out.triangles.reserve(indices);
    for (const Instance& instance : instances)
        appendTransformed(instance, keepNormals, keepColors, out);

    // Keep the polygon grouping only when some polygon is not a triangle.
    if (out.polygonStarts.size() == out.triangleCount())
        out.polygonStarts.clear();
    return out;
}

}  // namespace oxmesh
