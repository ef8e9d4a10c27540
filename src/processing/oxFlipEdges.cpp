// Edge flips that raise the smallest angle of pairs of nearly coplanar triangles.
//
// Each pass enumerates the edges afresh and tries every edge of exactly two triangles that
// hold it with opposite winding: (a, b, c) and (b, a, d) become (a, d, c) and (d, b, c) when the
// pair is nearly coplanar (cosine of the normals >= 0.985, about 10 degrees), edge (c, d) does
// not exist yet, both new triangles face the side of both old ones, and the smallest of the six
// angles grows by more than 1e-4 radians (which stops flips back and forth on ties). A triangle
// flips at most once per pass, since the pass's edge table goes stale around it; passes repeat
// until none flips, at most 50.
//
// Based on: Lawson, Software for C1 surface interpolation, 1977 (the local edge swap that
// maximises the minimum angle), restricted to nearly coplanar pairs so that creases stay.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <unordered_set>

#include "oxMeshLibTypes.h"
#include "oxMeshProcessing.h"
#include "processing/oxEdgeFlip.h"
#include "processing/oxEdgeSides.h"
#include "processing/oxMeshCompaction.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace oxMeshProcessing {

namespace {

const unsigned int kMaxPasses = 50;
const float kCoplanarCosine = 0.985f;  // about 10 degrees between the two normals
const float kMinAngleGain = 1e-4f;     // radians; avoids flipping back and forth on ties

float angleBetween(const Vec3& u, const Vec3& v)
{
    const float lengths = u.Length() * v.Length();
    if (!(lengths > 0.0f)) {
        return 0.0f;
    }
    return std::acos(std::max(-1.0f, std::min(1.0f, u.Dot(v) / lengths)));
}

float smallestAngle(const Vec3& p0, const Vec3& p1, const Vec3& p2)
{
    return std::min(
        {angleBetween(p1 - p0, p2 - p0), angleBetween(p0 - p1, p2 - p1), angleBetween(p0 - p2, p1 - p2)});
}

Vec3 normalOf(const Vec3& p0, const Vec3& p1, const Vec3& p2)
{
    return (p1 - p0).Cross(p2 - p0);
}

/// Position of corner `v` in triangle c (0..2), or 3 when absent.
int cornerOf(const unsigned int* c, unsigned int v)
{
    return c[0] == v ? 0 : (c[1] == v ? 1 : (c[2] == v ? 2 : 3));
}

/// Tries to flip the edge shared by triangles t0 and t1; true when flipped.
bool tryFlip(const oxVertexBuffer& vb, unsigned int* idx, unsigned int t0, unsigned int t1, unsigned int u,
             unsigned int w, std::unordered_set<std::uint64_t>& edgeSet)
{
    unsigned int* c0 = idx + 3 * t0;
    unsigned int* c1 = idx + 3 * t1;
    // Orient: t0 holds a -> b, t1 holds b -> a (consistent winding), apexes c and d.
    const int iu = cornerOf(c0, u);
    const bool forward = c0[(iu + 1) % 3] == w;
    const unsigned int a = forward ? u : w, b = forward ? w : u;
    const int ia = cornerOf(c0, a), jb = cornerOf(c1, b);
    if (ia == 3 || jb == 3 || c0[(ia + 1) % 3] != b || c1[(jb + 1) % 3] != a) {
        return false;
    }
    const unsigned int c = c0[(ia + 2) % 3], d = c1[(jb + 2) % 3];
    if (c == d || c == a || c == b || d == a || d == b ||
        edgeSet.count(detail::undirectedEdgeKey(c, d)) != 0) {
        return false;
    }
    const Vec3 &pa = vb.Position3(static_cast<int>(a)), &pb = vb.Position3(static_cast<int>(b));
    const Vec3 &pc = vb.Position3(static_cast<int>(c)), &pd = vb.Position3(static_cast<int>(d));
    const Vec3 n0 = normalOf(pa, pb, pc), n1 = normalOf(pb, pa, pd);
    const float lengths = n0.Length() * n1.Length();
    if (!(lengths > 0.0f) || n0.Dot(n1) < kCoplanarCosine * lengths) {
        return false;
    }
    const Vec3 m0 = normalOf(pa, pd, pc), m1 = normalOf(pd, pb, pc);
    if (!(m0.Dot(n0) > 0.0f && m0.Dot(n1) > 0.0f && m1.Dot(n0) > 0.0f && m1.Dot(n1) > 0.0f)) {
        return false;
    }
    const float before = std::min(smallestAngle(pa, pb, pc), smallestAngle(pb, pa, pd));
    const float after = std::min(smallestAngle(pa, pd, pc), smallestAngle(pd, pb, pc));
    if (!(after > before + kMinAngleGain)) {
        return false;
    }
    detail::flipTrianglePair(c0, c1, a, b, c, d, edgeSet);
    return true;
}

}  // namespace

void FlipEdges(oxTriMesh& mesh)
{
    if (!CheckMeshSanity(mesh)) {
        return;
    }
    const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    unsigned int* idx = mesh.GetIndexBuffer()->GetData();
    const unsigned int triangleCount = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const unsigned int vertexCount = detail::vertexCount(mesh);
    for (unsigned int pass = 0; pass < kMaxPasses; ++pass) {
        std::vector<unsigned int> v0, v1, triangleEdges;
        detail::enumerateEdges(idx, triangleCount, vertexCount, v0, v1, triangleEdges);
        std::vector<unsigned int> first(v0.size(), kNoIndex), second(v0.size(), kNoIndex),
            uses(v0.size(), 0u);
        for (unsigned int i = 0; i < triangleEdges.size(); ++i) {
            const unsigned int e = triangleEdges[i];
            (uses[e]++ == 0 ? first[e] : second[e]) = i / 3;
        }
        std::unordered_set<std::uint64_t> edgeSet;
        edgeSet.reserve(v0.size() * 2);
        for (std::size_t e = 0; e < v0.size(); ++e) {
            edgeSet.insert(detail::undirectedEdgeKey(v0[e], v1[e]));
        }
        // A triangle takes part in at most one flip per pass (the edge table is per pass).
        std::vector<char> touched(triangleCount, 0);
        unsigned int flips = 0;
        for (std::size_t e = 0; e < v0.size(); ++e) {
            if (uses[e] != 2 || v0[e] == v1[e] || touched[first[e]] || touched[second[e]]) {
                continue;
            }
            if (tryFlip(vb, idx, first[e], second[e], v0[e], v1[e], edgeSet)) {
                touched[first[e]] = touched[second[e]] = 1;
                ++flips;
            }
        }
        if (flips == 0) {
            break;
        }
    }
}

}  // namespace oxMeshProcessing
}  // namespace ox
