#include "cli/InfoReport.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <map>

#include "formats/PolygonList.h"

namespace oxmesh {
namespace {

std::string textOf(const std::string& value)
{
    return value;
}
std::string textOf(bool value)
{
    return value ? "yes" : "no";
}
std::string textOf(std::size_t value)
{
    return std::to_string(value);
}
std::string textOf(long long value)
{
    return std::to_string(value);
}

std::string textOf(double value)
{
    char text[32];
    std::snprintf(text, sizeof text, "%.9g", value);
    return text;
}

std::string textOf(const std::array<double, 3>& values)
{
    return "(" + textOf(values[0]) + ", " + textOf(values[1]) + ", " + textOf(values[2]) + ")";
}

std::array<double, 3> triple(const double* values)
{
    return {values[0], values[1], values[2]};
}

/// Polygon size -> count over the faces as the file stored them.
std::map<unsigned, std::size_t> faceSizesOf(const MeshData& mesh)
{
    if (!mesh.faceSizes.empty())
        return mesh.faceSizes;
    std::map<unsigned, std::size_t> sizes;
    const PolygonList polygons = polygonsOf(mesh);
    for (std::size_t p = 0; p < polygons.polygonCount(); ++p)
        ++sizes[polygons.offsets[p + 1] - polygons.offsets[p]];
    return sizes;
}

std::string textOf(const std::vector<std::string>& values)
{
    if (values.empty())
        return "none";
    std::string text;
    for (const std::string& value : values)
        text += (text.empty() ? "" : ", ") + value;
    return text;
}

std::string textOf(const std::map<unsigned, std::size_t>& counts)
{
    std::string text;
    for (const auto& [size, count] : counts)
        text += (text.empty() ? "" : ", ") + std::to_string(count) + " with " + std::to_string(size) +
                " vertices";
    return text.empty() ? "none" : text;
}

}  // namespace

template <class T>
void InfoReport::add(const char* key, const char* label, const T& value)
{
    m_json.add(key, value);
    m_lines.emplace_back(label, textOf(value));
}

InfoReport::InfoReport(const std::string& path, const MeshData& mesh,
                       const ox::oxMeshProcessing::tMeshStatistics& stats)
{
    const std::size_t faces = mesh.sourceFaces ? mesh.sourceFaces : stats.faces;
    const bool pointCloud = faces == 0 && stats.triangles == 0;
    add("file", "file", path);
    add("format", "format", mesh.format);
    add("kind", "kind", std::string(pointCloud ? "point cloud" : "mesh"));
    add("vertices", "vertices", stats.vertices);
    if (!pointCloud)
        add("unreferenced_vertices", "unreferenced vertices", stats.unreferencedVertices);
    add("duplicate_position_vertices", "duplicate positions", stats.duplicatePositions);
    add("welded_vertices", "merged by position on loading", mesh.weldedVertices);
    add("nonfinite_vertices", "non-finite vertices", stats.nonFiniteVertices);

    if (!pointCloud) {
        add("faces", "faces", faces);
        add("face_sizes", "face sizes", faceSizesOf(mesh));
        add("triangles", "triangles", stats.triangles);
        add("faces_with_repeated_index", "faces with a repeated vertex", stats.facesWithRepeatedIndex);
        add("zero_area_triangles", "zero-area triangles", stats.zeroAreaTriangles);
        add("surface_area", "surface area", stats.surfaceArea);
        add("edges", "edges", stats.edges);
        add("boundary_edges", "boundary edges", stats.boundaryEdges);
        add("nonmanifold_edges", "non-manifold edges", stats.nonManifoldEdges);
        add("duplicated_directed_halfedges", "half-edges used twice", stats.duplicatedHalfEdges);
        add("components", "connected components", stats.components);
        add("boundary_loops", "boundary loops", stats.boundaryLoops);
        add("nonmanifold_vertices", "non-manifold vertices", stats.nonManifoldVertices);
        add("euler_characteristic", "Euler characteristic", stats.eulerCharacteristic);
        add("closed", "closed", stats.closed);
        add("manifold", "manifold", stats.manifold);
        add("consistently_oriented", "consistently oriented", stats.oriented);
        if (stats.hasGenus) {
            add("genus_total", "genus", stats.genus);
            add("signed_volume", "signed volume", stats.signedVolume);
        }
    }

    add("bbox_min", "bounding box min", triple(stats.bboxMin));
    add("bbox_max", "bounding box max", triple(stats.bboxMax));
    add("bbox_diag", "bounding box diagonal", stats.bboxDiagonal);
    add("normals", "normals", mesh.hasNormals());
    if (mesh.hasNormals()) {
        add("nonfinite_normals", "non-finite normals", stats.nonFiniteNormals);
        add("zero_normals", "zero normals", stats.zeroNormals);
    }
    add("colors", "colours", mesh.hasColors());
    add("texture_coordinates", "texture coordinates (not kept)", mesh.hasTexCoords);
    add("skipped_properties", "skipped properties", mesh.skippedProperties);
}

std::string InfoReport::text() const
{
    std::size_t width = 0;
    for (const auto& line : m_lines)
        width = std::max(width, line.first.size());
    std::string text;
    for (const auto& [label, value] : m_lines)
        text += label + ":" + std::string(width - label.size() + 1, ' ') + value + "\n";
    return text;
}

std::string InfoReport::json() const
{
    return m_json.str() + "\n";
}

}  // namespace oxmesh
