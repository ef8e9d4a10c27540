// Small scene files written by the tests themselves: a two-node glTF with an
// embedded (base64) buffer, an OFF cube of quads and an STL tetrahedron in both
// STL encodings.
#pragma once

#include <array>
#include <cstdint>
#include <cstring>
#include <string>
#include <vector>

namespace scenetest {

inline std::string base64(const std::vector<unsigned char>& bytes)
{
    static const char* alphabet = "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789+/";
    std::string out;
    for (std::size_t i = 0; i < bytes.size(); i += 3) {
        const std::uint32_t chunk = std::uint32_t(bytes[i]) << 16 |
                                    (i + 1 < bytes.size() ? std::uint32_t(bytes[i + 1]) << 8 : 0) |
                                    (i + 2 < bytes.size() ? std::uint32_t(bytes[i + 2]) : 0);
        out += alphabet[chunk >> 18 & 63];
        out += alphabet[chunk >> 12 & 63];
        out += i + 1 < bytes.size() ? alphabet[chunk >> 6 & 63] : '=';
        out += i + 2 < bytes.size() ? alphabet[chunk & 63] : '=';
    }
    return out;
}

template <class T>
void appendRaw(std::vector<unsigned char>& bytes, const std::vector<T>& values)
{
    const std::size_t at = bytes.size();
    bytes.resize(at + values.size() * sizeof(T));
    std::memcpy(bytes.data() + at, values.data(), values.size() * sizeof(T));
}

/// The parent's local matrix, row-major with column vectors: rotation by 90 degrees about z,
/// uniform scale 2, translation (10, 0, 0).
inline std::vector<float> parentMatrixRowMajor()
{
    return {0, -2, 0, 10, 2, 0, 0, 0, 0, 0, 2, 0, 0, 0, 0, 1};
}

/// glTF 2.0 text: node "parent" (the matrix above) with child "child" (translation (0, 5, 0));
/// both instance mesh 0, the triangle (0,0,0) (1,0,0) (0,1,0).
inline std::string twoNodeGltf()
{
    std::vector<unsigned char> buffer;
    appendRaw(buffer, std::vector<float>{0, 0, 0, 1, 0, 0, 0, 1, 0});
    appendRaw(buffer, std::vector<std::uint32_t>{0, 1, 2});
    // glTF stores matrices column-major.
    const std::vector<float> m = parentMatrixRowMajor();
    std::string columnMajor;
    for (int c = 0; c < 4; ++c)
        for (int r = 0; r < 4; ++r)
            columnMajor += (columnMajor.empty() ? "" : ", ") + std::to_string(m[4 * r + c]);
    return R"({"asset": {"version": "2.0"}, "scene": 0, "scenes": [{"nodes": [0]}],
  "nodes": [{"name": "parent", "mesh": 0, "children": [1], "matrix": [)" +
           columnMajor + R"(]},
            {"name": "child", "mesh": 0, "translation": [0, 5, 0]}],
  "meshes": [{"primitives": [{"attributes": {"POSITION": 0}, "indices": 1, "mode": 4}]}],
  "buffers": [{"byteLength": 48, "uri": "data:application/octet-stream;base64,)" +
           base64(buffer) + R"("}],
  "bufferViews": [{"buffer": 0, "byteOffset": 0, "byteLength": 36},
                  {"buffer": 0, "byteOffset": 36, "byteLength": 12}],
  "accessors": [{"bufferView": 0, "componentType": 5126, "count": 3, "type": "VEC3",
                 "min": [0, 0, 0], "max": [1, 1, 0]},
                {"bufferView": 1, "componentType": 5125, "count": 3, "type": "SCALAR"}]}
)";
}

/// The unit cube as six outward quads.
inline const char* cubeOff()
{
    return "OFF\n8 6 12\n"
           "0 0 0\n1 0 0\n1 1 0\n0 1 0\n0 0 1\n1 0 1\n1 1 1\n0 1 1\n"
           "4 0 3 2 1\n4 4 5 6 7\n4 0 1 5 4\n4 2 3 7 6\n4 0 4 7 3\n4 1 2 6 5\n";
}

/// The corner tetrahedron (0,0,0) (1,0,0) (0,1,0) (0,0,1), outward triangles.
inline std::vector<std::array<std::array<float, 3>, 3>> tetrahedronTriangles()
{
    const std::array<float, 3> o{0, 0, 0}, x{1, 0, 0}, y{0, 1, 0}, z{0, 0, 1};
    return {{o, y, x}, {o, x, z}, {o, z, y}, {x, y, z}};
}

inline std::string tetrahedronAsciiStl()
{
    std::string text = "solid tetra\n";
    for (const auto& triangle : tetrahedronTriangles()) {
        text += " facet normal 0 0 0\n  outer loop\n";
        for (const auto& p : triangle)
            text += "   vertex " + std::to_string(p[0]) + " " + std::to_string(p[1]) + " " +
                    std::to_string(p[2]) + "\n";
        text += "  endloop\n endfacet\n";
    }
    return text + "endsolid tetra\n";
}

inline std::string tetrahedronBinaryStl()
{
    std::string bytes(80, ' ');
    bytes.replace(0, 12, "binary tetra");
    const auto triangles = tetrahedronTriangles();
    const std::uint32_t count = std::uint32_t(triangles.size());
    bytes.append(reinterpret_cast<const char*>(&count), 4);
    for (const auto& triangle : triangles) {
        const float normal[3] = {0, 0, 0};
        bytes.append(reinterpret_cast<const char*>(normal), 12);
        for (const auto& p : triangle)
            bytes.append(reinterpret_cast<const char*>(p.data()), 12);
        bytes.append(2, '\0');
    }
    return bytes;
}

}  // namespace scenetest
