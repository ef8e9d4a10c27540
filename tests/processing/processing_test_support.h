// Mesh builders, readers and topology checks shared by the mesh-processing tests.
#pragma once

#include <cmath>
#include <cstdint>
#include <cstring>
#include <fstream>
#include <iostream>
#include <limits>
#include <map>
#include <sstream>
#include <string>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "Wm4/Wm4Vector3.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxStandardMesh.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"

namespace oxtest {

typedef Wm4::Vector3<float> Vec3;
typedef ox::oxPointer<ox::oxTriMesh> MeshPtr;

/// A plain triangle soup: positions and three indices per triangle.
struct Soup {
    std::vector<Vec3> p;
    std::vector<unsigned int> t;
};

inline ox::oxAttributes layout(bool normals = false, bool colors = false)
{
    ox::oxAttributes a;
    a.SetPositionChannels(3);
    if (normals)
        a.SetNormalChannels(3);
    if (colors)
        a.SetColorChannels(0, 3);
    return a;
}

inline MeshPtr toMesh(const Soup& s, bool normals = false, bool colors = false)
{
    ox::oxVertexBuffer* vb = new ox::oxVertexBuffer(layout(normals, colors), int(s.p.size()));
    for (std::size_t i = 0; i < s.p.size(); ++i)
        vb->Position3(int(i)) = s.p[i];
    ox::oxIndexBuffer* ib = new ox::oxIndexBuffer(int(s.t.size()));
    for (std::size_t i = 0; i < s.t.size(); ++i)
        (*ib)[int(i)] = s.t[i];
    return MeshPtr(new ox::oxTriMesh(vb, ib));
}

inline Soup toSoup(const ox::oxTriMesh& m)
{
    Soup s;
    const ox::oxVertexBuffer* vb = m.GetVertexBuffer();
    for (int i = 0; i < vb->GetVertexQuantity(); ++i)
        s.p.push_back(vb->Position3(i));
    const ox::oxIndexBuffer* ib = m.GetIndexBuffer();
    for (int i = 0; i < ib->GetIndexQuantity(); ++i)
        s.t.push_back((*ib)[i]);
    return s;
}

inline MeshPtr sphere(int z, int radial, float r, bool normals = false, bool colors = false,
                      bool inside = false)
{
    ox::oxStandardMesh builder(layout(normals, colors), inside);
    return MeshPtr(builder.Sphere(z, radial, r));
}

/// Closed torus around the z axis, n x m quads split into triangles, outward winding.
inline Soup torus(unsigned n, unsigned m, float R, float r)
{
    Soup s;
    for (unsigned i = 0; i < n; ++i)
        for (unsigned j = 0; j < m; ++j) {
            const float a = 6.2831853f * i / n, b = 6.2831853f * j / m;
            s.p.push_back(Vec3((R + r * std::cos(b)) * std::cos(a), (R + r * std::cos(b)) * std::sin(a),
                               r * std::sin(b)));
        }
    for (unsigned i = 0; i < n; ++i)
        for (unsigned j = 0; j < m; ++j) {
            const unsigned a = i * m + j, b = ((i + 1) % n) * m + j, c = ((i + 1) % n) * m + (j + 1) % m,
                           d = i * m + (j + 1) % m;
            s.t.insert(s.t.end(), {a, b, c, a, c, d});
        }
    return s;
}

/// Flat grid of (n+1) x (n+1) vertices in z = 0 with spacing h, every quad split by the same
/// diagonal (interior vertices have valency 6), counter-clockwise seen from +z.
inline Soup grid(unsigned n, float h)
{
    Soup s;
    for (unsigned j = 0; j <= n; ++j)
        for (unsigned i = 0; i <= n; ++i)
            s.p.push_back(Vec3(h * i, h * j, 0.0f));
    for (unsigned j = 0; j < n; ++j)
        for (unsigned i = 0; i < n; ++i) {
            const unsigned a = j * (n + 1) + i, b = a + 1, c = a + n + 2, d = a + n + 1;
            s.t.insert(s.t.end(), {a, b, c, a, c, d});
        }
    return s;
}

/// Open cylinder of radius r around the z axis: `rings` rings of `around` vertices.
inline Soup cylinder(unsigned around, unsigned rings, float r, float height)
{
    Soup s;
    for (unsigned j = 0; j < rings; ++j)
        for (unsigned i = 0; i < around; ++i) {
            const float a = 6.2831853f * i / around;
            s.p.push_back(Vec3(r * std::cos(a), r * std::sin(a), height * j / (rings - 1)));
        }
    for (unsigned j = 0; j + 1 < rings; ++j)
        for (unsigned i = 0; i < around; ++i) {
            const unsigned a = j * around + i, b = j * around + (i + 1) % around, c = b + around,
                           d = a + around;
            s.t.insert(s.t.end(), {a, b, c, a, c, d});
        }
    return s;
}

/// Minimal OBJ reader: `v x y z` and `f i j k ...` (fan-triangulated, `i/...` forms accepted).
inline bool readObj(const std::string& path, Soup& s)
{
    std::ifstream in(path);
    if (!in)
        return false;
    std::string line;
    while (std::getline(in, line)) {
        std::istringstream ls(line);
        std::string tag;
        ls >> tag;
        if (tag == "v") {
            float x, y, z;
            ls >> x >> y >> z;
            s.p.push_back(Vec3(x, y, z));
        } else if (tag == "f") {
            std::vector<unsigned int> f;
            std::string tok;
            while (ls >> tok)
                f.push_back(unsigned(std::stoi(tok.substr(0, tok.find('/'))) - 1));
            for (std::size_t k = 2; k < f.size(); ++k)
                s.t.insert(s.t.end(), {f[0], f[k - 1], f[k]});
        }
    }
    return !s.t.empty();
}

/// Minimal binary little-endian PLY reader for `float x y z` vertices and a `face` list of
/// (uchar count, int indices); other vertex properties must be absent.
inline bool readFacePly(const std::string& path, Soup& s)
{
    std::ifstream in(path, std::ios::binary);
    if (!in)
        return false;
    std::string line;
    unsigned vertices = 0, faces = 0;
    while (std::getline(in, line) && line != "end_header") {
        std::istringstream ls(line);
        std::string a, b;
        ls >> a >> b;
        if (a == "element" && b == "vertex")
            ls >> vertices;
        if (a == "element" && b == "face")
            ls >> faces;
    }
    s.p.resize(vertices);
    in.read(reinterpret_cast<char*>(s.p.data()), std::streamsize(vertices) * 12);
    for (unsigned f = 0; f < faces && in; ++f) {
        unsigned char count = 0;
        in.read(reinterpret_cast<char*>(&count), 1);
        std::vector<std::int32_t> idx(count);
        in.read(reinterpret_cast<char*>(idx.data()), std::streamsize(count) * 4);
        for (unsigned k = 2; k < count; ++k)
            s.t.insert(s.t.end(), {unsigned(idx[0]), unsigned(idx[k - 1]), unsigned(idx[k])});
    }
    return bool(in);
}

/// Edge-use counts of a soup, keyed by (smaller, larger) vertex.
inline std::map<std::pair<unsigned, unsigned>, int> edgeUses(const Soup& s)
{
    std::map<std::pair<unsigned, unsigned>, int> uses;
    for (std::size_t i = 0; i < s.t.size(); i += 3)
        for (int k = 0; k < 3; ++k) {
            unsigned a = s.t[i + k], b = s.t[i + (k + 1) % 3];
            ++uses[{std::min(a, b), std::max(a, b)}];
        }
    return uses;
}

/// Every edge in exactly two triangles, consistently oriented, no repeated corner.
inline bool closedOrientedManifold(const Soup& s)
{
    std::map<std::pair<unsigned, unsigned>, int> directed;
    for (std::size_t i = 0; i < s.t.size(); i += 3)
        for (int k = 0; k < 3; ++k) {
            const unsigned a = s.t[i + k], b = s.t[i + (k + 1) % 3];
            if (a == b || ++directed[{a, b}] > 1)
                return false;
        }
    for (const auto& d : directed)
        if (directed.count({d.first.second, d.first.first}) == 0)
            return false;
    return true;
}

/// V - E + F over the vertices used by triangles.
inline long eulerCharacteristic(const Soup& s)
{
    std::vector<char> used(s.p.size(), 0);
    long v = 0;
    for (unsigned i : s.t)
        v += used[i] ? 0 : (used[i] = 1);
    return v - long(edgeUses(s).size()) + long(s.t.size() / 3);
}

inline Vec3 faceNormal(const Soup& s, std::size_t tri)
{
    const Vec3 &a = s.p[s.t[3 * tri]], &b = s.p[s.t[3 * tri + 1]], &c = s.p[s.t[3 * tri + 2]];
    return (b - a).Cross(c - a);
}

inline Soup tetrahedron()
{
    Soup s;
    s.p = {Vec3(0, 0, 0), Vec3(1, 0, 0), Vec3(0, 1, 0), Vec3(0, 0, 1)};
    s.t = {0, 2, 1, 0, 1, 3, 0, 3, 2, 1, 2, 3};
    return s;
}

/// A tetrahedron with a third triangle on edge 0-1 (a non-manifold fin).
inline Soup tetrahedronWithFin()
{
    Soup s = tetrahedron();
    s.p.push_back(Vec3(1, 1, 1));
    s.t.insert(s.t.end(), {0, 1, 4});
    return s;
}

/// A tetrahedron whose last triangle names one vertex twice.
inline Soup tetrahedronWithRepeatedCorner()
{
    Soup s = tetrahedron();
    s.t[11] = s.t[10];
    return s;
}

/// Every output triangle faces the same side as the input triangle nearest to its centroid.
inline void expectNoFoldOver(const Soup& input, const Soup& output, unsigned allowed = 0)
{
    unsigned bad = 0;
    for (std::size_t t = 0; t < output.t.size() / 3; ++t) {
        const Vec3 c =
            (output.p[output.t[3 * t]] + output.p[output.t[3 * t + 1]] + output.p[output.t[3 * t + 2]]) /
            3.0f;
        float best = std::numeric_limits<float>::max();
        std::size_t nearest = 0;
        for (std::size_t u = 0; u < input.t.size() / 3; ++u) {
            const Vec3 d =
                (input.p[input.t[3 * u]] + input.p[input.t[3 * u + 1]] + input.p[input.t[3 * u + 2]]) / 3.0f -
                c;
            if (d.SquaredLength() < best)
                best = d.SquaredLength(), nearest = u;
        }
        const bool flipped = faceNormal(output, t).Dot(faceNormal(input, nearest)) <= 0.0f;
        if (flipped)
            std::cout << "flipped output triangle " << t << " near input " << nearest << std::endl;
        bad += flipped;
    }
    EXPECT_LE(bad, allowed);
}

inline std::string sharedMesh(const char* name)
{
    return std::string(OX_SHARED_DATA_DIR) + "/meshes/" + name;
}
inline std::string bundledMesh(const char* name)
{
    return std::string(OX_TEST_DATA_DIR) + "/meshes/" + name;
}

}  // namespace oxtest
