#include "formats/ObjReader.h"

#include <algorithm>
#include <istream>
#include <streambuf>
#include <vector>

#include <tiny_obj_loader.h>

#include "formats/FileError.h"
#include "formats/MappedFile.h"
#include "formats/ObjVertexScan.h"

namespace oxmesh {
namespace {

/// Read-only stream buffer over memory that hands the parser 1 MiB at a time and reports the
/// fraction consumed, so a large file shows progress while tinyobjloader reads it.
class ProgressMemoryBuffer : public std::streambuf {
public:
    ProgressMemoryBuffer(const char* data, std::size_t size, const ProgressFn& progress)
        : m_data(data), m_size(size), m_progress(progress)
    {}

protected:
    int_type underflow() override
    {
        if (gptr() < egptr())
            return traits_type::to_int_type(*gptr());
        if (m_offset >= m_size)
            return traits_type::eof();
        const std::size_t count = std::min(kChunk, m_size - m_offset);
        char* begin = const_cast<char*>(m_data + m_offset);  // never written through: no overflow()
        setg(begin, begin, begin + count);
        m_offset += count;
        if (m_progress)
            m_progress(0.9f * float(double(m_offset) / double(m_size)));
        return traits_type::to_int_type(*begin);
    }

private:
    static constexpr std::size_t kChunk = std::size_t(1) << 20;
    const char* m_data;
    std::size_t m_size;
    std::size_t m_offset = 0;
    const ProgressFn& m_progress;
};

/// First line of a tinyobjloader message, trimmed.
std::string firstLine(const std::string& text)
{
    std::string line = text.substr(0, text.find('\n'));
    while (!line.empty() && (line.back() == '\r' || line.back() == ' ' || line.back() == '.'))
        line.pop_back();
    return line;
}

/// "face 3 refers to vertex 99, but there are 3 vertices"; `index` is 0-based (shown from 1), a
/// negative one comes from a relative index reaching before the start of the list.
std::string outOfRange(std::size_t face, const char* what, const char* plural, long long index,
                       std::size_t count)
{
    const std::string listed = std::to_string(count) + " " + (count == 1 ? what : plural);
    if (index < 0)
        return "face " + std::to_string(face) + " has a relative " + what +
               " index reaching before the first of the " + listed;
    return "face " + std::to_string(face) + " refers to " + what + " " + std::to_string(index + 1) +
           ", but there are " + listed;
}

/// Turns tinyobjloader's per-corner indices into MeshData: the file's vertex list, fan
/// triangles, polygon bookkeeping and per-vertex normals taken from each vertex's first corner.
class ObjConverter {
public:
    ObjConverter(const tinyobj::attrib_t& attrib, const std::string& name) : m_attrib(attrib), m_name(name) {}

    MeshData convert(const std::vector<tinyobj::shape_t>& shapes)
    {
        m_mesh.format = "obj";
        m_mesh.positions = m_attrib.vertices;
        m_vertexCount = m_mesh.vertexCount();
        m_normalCount = m_attrib.normals.size() / 3;
        if (m_attrib.colors.size() == m_attrib.vertices.size())
            m_mesh.colors = m_attrib.colors;
        m_mesh.hasTexCoords = !m_attrib.texcoords.empty();
        m_used.assign(m_vertexCount, 0);
        if (m_normalCount > 0) {
            m_mesh.normals.assign(m_mesh.positions.size(), 0.0f);
            m_hasNormal.assign(m_vertexCount, 0);
        }
        for (const tinyobj::shape_t& shape : shapes)
            addShape(shape.mesh);
        finishNormals();
        if (std::all_of(m_mesh.faceSizes.begin(), m_mesh.faceSizes.end(),
                        [](const auto& s) { return s.first == 3; }))
            m_mesh.polygonStarts.clear();
        return std::move(m_mesh);
    }

private:
    void addShape(const tinyobj::mesh_t& shapeMesh)
    {
        std::size_t total = 0;
        for (unsigned char size : shapeMesh.num_face_vertices)
            total += size;
        // tinyobjloader stores polygon sizes in a byte: larger polygons leave the counts short.
        if (total != shapeMesh.indices.size())
            throw FileError(m_name, "a face has more than 255 vertices, which this reader does not support");

        std::size_t corner = 0;
        for (unsigned char size : shapeMesh.num_face_vertices) {
            ++m_face;
            std::uint32_t polygon[255];
            for (unsigned k = 0; k < size; ++k)
                polygon[k] = vertexOf(shapeMesh.indices[corner + k]);
            corner += size;
            addPolygon(polygon, size);
        }
    }

    std::uint32_t vertexOf(const tinyobj::index_t& index)
    {
        const int v = index.vertex_index;
        if (v < 0 || std::size_t(v) >= m_vertexCount)
            throw FileError(m_name, outOfRange(m_face, "vertex", "vertices", v, m_vertexCount));
        const int n = index.normal_index;
        if (n != -1 && (n < 0 || std::size_t(n) >= m_normalCount))
            throw FileError(m_name, outOfRange(m_face, "normal", "normals", n, m_normalCount));
        if (n >= 0 && !m_hasNormal[v]) {
            m_hasNormal[v] = 1;
            std::copy_n(&m_attrib.normals[3 * std::size_t(n)], 3, &m_mesh.normals[3 * std::size_t(v)]);
        }
        m_used[v] = 1;
        return std::uint32_t(v);
    }

    void addPolygon(const std::uint32_t* polygon, unsigned size)
    {
        ++m_mesh.sourceFaces;
        ++m_mesh.faceSizes[size];
        m_mesh.polygonStarts.push_back(std::uint32_t(m_mesh.triangleCount()));
        for (unsigned k = 1; k + 1 < size; ++k) {
            m_mesh.triangles.push_back(polygon[0]);
            m_mesh.triangles.push_back(polygon[k]);
            m_mesh.triangles.push_back(polygon[k + 1]);
        }
    }

    /// Normals survive only when every used vertex got one from some corner.
    void finishNormals()
    {
        if (m_mesh.normals.empty())
            return;
        bool anyUsed = false;
        for (std::size_t v = 0; v < m_vertexCount; ++v) {
            anyUsed = anyUsed || m_used[v];
            if (m_used[v] && !m_hasNormal[v]) {
                m_mesh.normals.clear();
                return;
            }
        }
        if (!anyUsed)
            m_mesh.normals.clear();
    }

    const tinyobj::attrib_t& m_attrib;
    const std::string& m_name;
    MeshData m_mesh;
    std::size_t m_vertexCount = 0;
    std::size_t m_normalCount = 0;
    std::size_t m_face = 0;
    std::vector<std::uint8_t> m_hasNormal;
    std::vector<std::uint8_t> m_used;
};

}  // namespace

MeshData parseObj(const char* data, std::size_t size, const std::string& nameForErrors,
                  const ProgressFn& progress)
{
    const ObjVertexScan scan = scanObjVertices(data, size, nameForErrors);
    ProgressMemoryBuffer buffer(data, size, progress);
    std::istream stream(&buffer);
    tinyobj::attrib_t attrib;
    std::vector<tinyobj::shape_t> shapes;
    std::vector<tinyobj::material_t> materials;
    std::string warnings, errors;
    // No material reader: a missing or present .mtl never matters for geometry.
    const bool ok = tinyobj::LoadObj(&attrib, &shapes, &materials, &warnings, &errors, &stream, nullptr,
                                     /*triangulate=*/false, /*default_vcols_fallback=*/false);
    if (!ok)
        throw FileError(nameForErrors, "cannot parse OBJ: " + firstLine(errors.empty() ? warnings : errors));
    if (warnings.find("Degenerated face") != std::string::npos)
        throw FileError(nameForErrors, "a face has fewer than 3 vertices");

    MeshData mesh = ObjConverter(attrib, nameForErrors).convert(shapes);
    // tinyobjloader read "nan" and "inf" as 0: put the real values back for validation.
    if (scan.vertexLines == mesh.vertexCount())
        for (const auto& [vertex, xyz] : scan.nonFinite)
            std::copy(xyz.begin(), xyz.end(), &mesh.positions[3 * vertex]);
    if (progress)
        progress(1.0f);
    return mesh;
}

MeshData readObj(const std::string& path, const ProgressFn& progress)
{
    const MappedFile file(path);
    return parseObj(file.data(), file.size(), path, progress);
}

}  // namespace oxmesh
