#include "io/ObjReader.h"

#include <algorithm>
#include <istream>
#include <streambuf>
#include <vector>

#include <tiny_obj_loader.h>

#include "io/InputError.h"
#include "io/MappedFile.h"
#include "io/ObjVertexScan.h"

namespace oxmesh {
namespace {

/// Read-only stream buffer over memory that hands the parser 1 MiB at a time and reports the
/// fraction consumed, so a large file shows progress while tinyobjloader reads it.
class ProgressMemoryBuffer : public std::streambuf {
public:
    ProgressMemoryBuffer(const char* data, std::size_t size, const ProgressFn& progress)
        : data_(data), size_(size), progress_(progress)
    {}

protected:
    int_type underflow() override
    {
        if (gptr() < egptr())
            return traits_type::to_int_type(*gptr());
        if (offset_ >= size_)
            return traits_type::eof();
        const std::size_t count = std::min(kChunk, size_ - offset_);
        char* begin = const_cast<char*>(data_ + offset_);  // never written through: no overflow()
        setg(begin, begin, begin + count);
        offset_ += count;
        if (progress_)
            progress_(0.9f * float(double(offset_) / double(size_)));
        return traits_type::to_int_type(*begin);
    }

private:
    static constexpr std::size_t kChunk = std::size_t(1) << 20;
    const char* data_;
    std::size_t size_;
    std::size_t offset_ = 0;
    const ProgressFn& progress_;
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
    ObjConverter(const tinyobj::attrib_t& attrib, const std::string& name) : attrib_(attrib), name_(name) {}

    MeshData convert(const std::vector<tinyobj::shape_t>& shapes)
    {
        mesh_.format = "obj";
        mesh_.positions = attrib_.vertices;
        vertexCount_ = mesh_.vertexCount();
        normalCount_ = attrib_.normals.size() / 3;
        if (attrib_.colors.size() == attrib_.vertices.size())
            mesh_.colors = attrib_.colors;
        mesh_.hasTexCoords = !attrib_.texcoords.empty();
        used_.assign(vertexCount_, 0);
        if (normalCount_ > 0) {
            mesh_.normals.assign(mesh_.positions.size(), 0.0f);
            hasNormal_.assign(vertexCount_, 0);
        }
        for (const tinyobj::shape_t& shape : shapes)
            addShape(shape.mesh);
        finishNormals();
        if (std::all_of(mesh_.faceSizes.begin(), mesh_.faceSizes.end(),
                        [](const auto& s) { return s.first == 3; }))
            mesh_.polygonStarts.clear();
        return std::move(mesh_);
    }

private:
    void addShape(const tinyobj::mesh_t& shapeMesh)
    {
        std::size_t total = 0;
        for (unsigned char size : shapeMesh.num_face_vertices)
            total += size;
        // tinyobjloader stores polygon sizes in a byte: larger polygons leave the counts short.
        if (total != shapeMesh.indices.size())
            throw InputError(name_, "a face has more than 255 vertices, which this reader does not support");

        std::size_t corner = 0;
        for (unsigned char size : shapeMesh.num_face_vertices) {
            ++face_;
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
        if (v < 0 || std::size_t(v) >= vertexCount_)
            throw InputError(name_, outOfRange(face_, "vertex", "vertices", v, vertexCount_));
        const int n = index.normal_index;
        if (n != -1 && (n < 0 || std::size_t(n) >= normalCount_))
            throw InputError(name_, outOfRange(face_, "normal", "normals", n, normalCount_));
        if (n >= 0 && !hasNormal_[v]) {
            hasNormal_[v] = 1;
            std::copy_n(&attrib_.normals[3 * std::size_t(n)], 3, &mesh_.normals[3 * std::size_t(v)]);
        }
        used_[v] = 1;
        return std::uint32_t(v);
    }

    void addPolygon(const std::uint32_t* polygon, unsigned size)
    {
        ++mesh_.sourceFaces;
        ++mesh_.faceSizes[size];
        mesh_.polygonStarts.push_back(std::uint32_t(mesh_.triangleCount()));
        for (unsigned k = 1; k + 1 < size; ++k) {
            mesh_.triangles.push_back(polygon[0]);
            mesh_.triangles.push_back(polygon[k]);
            mesh_.triangles.push_back(polygon[k + 1]);
        }
    }

    /// Normals survive only when every used vertex got one from some corner.
    void finishNormals()
    {
        if (mesh_.normals.empty())
            return;
        bool anyUsed = false;
        for (std::size_t v = 0; v < vertexCount_; ++v) {
            anyUsed = anyUsed || used_[v];
            if (used_[v] && !hasNormal_[v]) {
                mesh_.normals.clear();
                return;
            }
        }
        if (!anyUsed)
            mesh_.normals.clear();
    }

    const tinyobj::attrib_t& attrib_;
    const std::string& name_;
    MeshData mesh_;
    std::size_t vertexCount_ = 0;
    std::size_t normalCount_ = 0;
    std::size_t face_ = 0;
    std::vector<std::uint8_t> hasNormal_;
    std::vector<std::uint8_t> used_;
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
        throw InputError(nameForErrors, "cannot parse OBJ: " + firstLine(errors.empty() ? warnings : errors));
    if (warnings.find("Degenerated face") != std::string::npos)
        throw InputError(nameForErrors, "a face has fewer than 3 vertices");

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
