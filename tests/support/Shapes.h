// Analytic and hand-drawn triangle meshes for the tests, as plain soups (positions and three
// indices per triangle) that convert to and from the scene graph's oxTriMesh.
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
#include <tuple>
#include <utility>
#include <vector>

#include <gtest/gtest.h>

#include "oxMeshLibTypes.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxStandardMesh.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"
#include "support/Topology.h"

namespace oxtest {

using Vec3 = ox::Vec3;
using MeshPtr = ox::oxPointer<ox::oxTriMesh>;

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

/// Topology of a soup's triangles (the one checker, support/Topology.h).
inline tTopology checkTopology(const Soup& s)
{
    return checkTopology(s.t);
}
inline std::map<std::pair<unsigned, unsigned>, int> edgeUses(const Soup& s)
{
    return edgeUses(s.t);
}
inline bool closedOrientedManifold(const Soup& s)
{
    return checkTopology(s.t).closedAndOriented();
}
inline long eulerCharacteristic(const Soup& s)
{
    return checkTopology(s.t).euler;
}
inline double signedVolume(const Soup& s)
{
    return signedVolume(s.t, [&](unsigned i) { return s.p[i]; });
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

/// Cube [0, 1]^3 with every face an n x n grid, vertices shared along the edges, outward.
inline Soup subdividedCube(unsigned n)
{
    Soup s;
    std::map<std::tuple<unsigned, unsigned, unsigned>, unsigned> index;
    auto vertex = [&](unsigned x, unsigned y, unsigned z) {
        const auto key = std::make_tuple(x, y, z);
        auto it = index.find(key);
        if (it != index.end())
            return it->second;
        s.p.push_back(Vec3(float(x) / n, float(y) / n, float(z) / n));
        return index[key] = unsigned(s.p.size() - 1);
    };
    // For each axis and side: grid coordinates (u, v) mapped to lattice points, wound outward.
    for (int axis = 0; axis < 3; ++axis)
        for (unsigned side = 0; side < 2; ++side)
            for (unsigned i = 0; i < n; ++i)
                for (unsigned j = 0; j < n; ++j) {
                    unsigned q[4];
                    const unsigned du[4] = {0, 1, 1, 0}, dv[4] = {0, 0, 1, 1};
                    for (int k = 0; k < 4; ++k) {
                        unsigned c[3];
                        c[axis] = side * n;
                        c[(axis + 1) % 3] = i + du[k];
                        c[(axis + 2) % 3] = j + dv[k];
                        q[k] = vertex(c[0], c[1], c[2]);
                    }
                    if (side == 1)
                        s.t.insert(s.t.end(), {q[0], q[1], q[2], q[0], q[2], q[3]});
                    else
                        s.t.insert(s.t.end(), {q[0], q[2], q[1], q[0], q[3], q[2]});
                }
    return s;
}

/// Total area of the triangles.
inline double area(const Soup& s)
{
    double total = 0.0;
    for (std::size_t t = 0; t < s.t.size() / 3; ++t)
        total += 0.5 * faceNormal(s, t).Length();
    return total;
}

}  // namespace oxtest
