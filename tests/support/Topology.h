// The one topology checker of the tests: counts taken by brute force (ordered maps over the
// directed edges), independent of the library's own edge tables.
#pragma once

#include <algorithm>
#include <cstddef>
#include <map>
#include <set>
#include <utility>
#include <vector>

#include "Wm4/Wm4Vector3.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"

namespace oxtest {

struct tTopology {
    std::size_t triangles = 0;
    std::size_t directedEdges = 0;     ///< distinct directed edges
    std::size_t edges = 0;             ///< distinct undirected edges
    std::size_t boundaryEdges = 0;     ///< undirected edges on exactly one triangle
    std::size_t nonManifoldEdges = 0;  ///< undirected edges on three or more triangles
    std::size_t badEdges = 0;          ///< directed edges used twice, or without their reverse
    std::size_t degenerate = 0;        ///< triangles with a repeated index
    long euler = 0;                    ///< V - E + F over the referenced vertices

    /// Every directed edge exactly once and its reverse exactly once: each undirected edge has
    /// two triangles of opposite order, so the mesh is closed, edge-manifold and oriented.
    bool closedAndOriented() const { return triangles > 0 && badEdges == 0 && degenerate == 0; }
};

/// Number of triangles on each undirected edge, keyed by (smaller, larger) vertex.
inline std::map<std::pair<unsigned, unsigned>, int> edgeUses(const std::vector<unsigned>& tri)
{
    std::map<std::pair<unsigned, unsigned>, int> uses;
    for (std::size_t f = 0; f + 2 < tri.size(); f += 3)
        for (int e = 0; e < 3; ++e) {
            const unsigned a = tri[f + e], b = tri[f + (e + 1) % 3];
            ++uses[{std::min(a, b), std::max(a, b)}];
        }
    return uses;
}

/// Topology of a triangle list (three indices per triangle).
inline tTopology checkTopology(const std::vector<unsigned>& tri)
{
    tTopology t;
    std::map<std::pair<unsigned, unsigned>, int> directed;
    const std::map<std::pair<unsigned, unsigned>, int> undirected = edgeUses(tri);
    std::set<unsigned> used;
    for (std::size_t f = 0; f + 2 < tri.size(); f += 3) {
        ++t.triangles;
        const unsigned v[3] = {tri[f], tri[f + 1], tri[f + 2]};
        if (v[0] == v[1] || v[1] == v[2] || v[0] == v[2])
            ++t.degenerate;
        for (int e = 0; e < 3; ++e) {
            const unsigned a = v[e], b = v[(e + 1) % 3];
            ++directed[{a, b}];
            used.insert(a);
        }
    }
    t.directedEdges = directed.size();
    t.edges = undirected.size();
    for (const auto& d : directed) {
        const auto reverse = directed.find({d.first.second, d.first.first});
        if (d.second != 1 || reverse == directed.end() || reverse->second != 1)
            ++t.badEdges;
    }
    for (const auto& u : undirected) {
        t.boundaryEdges += u.second == 1;
        t.nonManifoldEdges += u.second > 2;
    }
    t.euler = long(used.size()) - long(undirected.size()) + long(t.triangles);
    return t;
}

/// Signed volume enclosed by the triangles (positive for outward-facing triangles);
/// `position(i)` gives vertex i.
template <class Position>
double signedVolume(const std::vector<unsigned>& tri, const Position& position)
{
    double volume = 0;
    for (std::size_t f = 0; f + 2 < tri.size(); f += 3) {
        const Wm4::Vector3<float> a = position(tri[f]), b = position(tri[f + 1]), c = position(tri[f + 2]);
        volume += double(a.Dot(b.Cross(c))) / 6.0;
    }
    return volume;
}

/// The triangle list of a mesh's index buffer.
inline std::vector<unsigned> trianglesOf(const ox::oxTriMesh& mesh)
{
    std::vector<unsigned> tri;
    if (const ox::oxIndexBuffer* ib = mesh.GetIndexBuffer())
        for (int i = 0; i < ib->GetIndexQuantity(); ++i)
            tri.push_back(unsigned((*ib)[i]));
    return tri;
}

inline tTopology checkTopology(const ox::oxTriMesh& mesh)
{
    return checkTopology(trianglesOf(mesh));
}

/// Signed volume of a mesh, summed in double precision.
inline double signedVolume(const ox::oxTriMesh& mesh)
{
    const ox::oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const std::vector<unsigned> tri = trianglesOf(mesh);
    double volume = 0.0;
    for (std::size_t f = 0; f + 2 < tri.size(); f += 3) {
        const Wm4::Vector3<double> a(vb.Position3(int(tri[f]))), b(vb.Position3(int(tri[f + 1]))),
            c(vb.Position3(int(tri[f + 2])));
        volume += a.Dot(b.Cross(c)) / 6.0;
    }
    return volume;
}

}  // namespace oxtest
