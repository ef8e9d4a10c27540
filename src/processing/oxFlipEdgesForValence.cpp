// Edge flips that bring vertex valences towards 6 (4 on the boundary), so that the edge
// collapse, which refuses crowded neighbourhoods, finds more legal collapses.
//
// Valences (distinct edges per vertex) and ideals (4 for a vertex on an edge of one triangle, 6
// otherwise) are counted once and kept up to date by every flip. Each pass enumerates the edges
// afresh and tries every edge of exactly two consistently wound triangles (a, b, c), (b, a, d):
// the flip to (c, d) lowers the sum of squared deviations of the four valences from their
// ideals by 2 * excess - 4, excess = (va - ia) + (vb - ib) - (vc - ic) - (vd - id), so it is
// taken when excess >= 3, a and b keep at least 3 edges, edge (c, d) does not exist yet, both
// the old and the new pair bend by less than the limit, and the new triangles face the side of
// the old ones. A triangle flips at most once per pass; passes repeat until none flips.
//
// Based on: Botsch and Kobbelt, A remeshing approach to multiresolution modeling, 2004 (the
// valence-equalising edge flip with targets 6 inside and 4 on the boundary).
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

/// Corner k (0..2) of triangle corners `c` holding v, or -1.
int cornerIndex(const unsigned int* c, unsigned int v)
{
    return c[0] == v ? 0 : (c[1] == v ? 1 : (c[2] == v ? 2 : -1));
}

/// State of one FlipEdgesForValence call: live valences and the set of existing edges.
struct tValenceFlipper {
    const oxVertexBuffer& vertices;
    unsigned int* indices;
    float minBendCosine;
    std::vector<int> valence, ideal;
    std::unordered_set<std::uint64_t> existing;

    Vec3 position(unsigned int v) const { return vertices.Position3(static_cast<int>(v)); }

    static bool withinBend(const Vec3& n, const Vec3& m, float minCosine)
    {
        const float lengths = n.Length() * m.Length();
        return lengths > 0.0f && n.Dot(m) >= minCosine * lengths;
    }

    /// True when flipping a-b (t0 = a->b->c, t1 = b->a->d) keeps the surface's shape: both
    /// pairs of triangles within the bend limit, new triangles facing the old side.
    bool shapeAllows(unsigned int a, unsigned int b, unsigned int c, unsigned int d) const
    {
        const Vec3 pa = position(a), pb = position(b), pc = position(c), pd = position(d);
        const Vec3 n0 = (pb - pa).Cross(pc - pa), n1 = (pa - pb).Cross(pd - pb);
        const Vec3 m0 = (pd - pa).Cross(pc - pa), m1 = (pb - pd).Cross(pc - pd);
        return withinBend(n0, n1, minBendCosine) && withinBend(m0, m1, minBendCosine) && m0.Dot(n0) > 0.0f &&
               m0.Dot(n1) > 0.0f && m1.Dot(n0) > 0.0f && m1.Dot(n1) > 0.0f;
    }

    /// Flips the edge u-w shared by triangles t0 and t1 when it lowers the valence deviation.
    bool tryFlip(unsigned int t0, unsigned int t1, unsigned int u, unsigned int w)
    {
        unsigned int* c0 = indices + 3 * t0;
        unsigned int* c1 = indices + 3 * t1;
        const int iu = cornerIndex(c0, u);
        if (iu < 0) {
            return false;
        }
        const bool forward = c0[(iu + 1) % 3] == w;
        const unsigned int a = forward ? u : w, b = forward ? w : u;
        const int ia = cornerIndex(c0, a), ib = cornerIndex(c1, b);
        if (ia < 0 || ib < 0 || c0[(ia + 1) % 3] != b || c1[(ib + 1) % 3] != a) {
            return false;  // inconsistent winding across the edge: leave it alone
        }
        const unsigned int c = c0[(ia + 2) % 3], d = c1[(ib + 2) % 3];
        if (c == d || valence[a] <= 3 || valence[b] <= 3) {
            return false;
        }
        const int excess = (valence[a] - ideal[a]) + (valence[b] - ideal[b]) - (valence[c] - ideal[c]) -
                           (valence[d] - ideal[d]);
        if (excess < 3 || existing.count(detail::undirectedEdgeKey(c, d)) != 0 || !shapeAllows(a, b, c, d)) {
            return false;
        }
        detail::flipTrianglePair(c0, c1, a, b, c, d, existing);
        --valence[a];
        --valence[b];
        ++valence[c];
        ++valence[d];
        return true;
    }
};

}  // namespace

unsigned int FlipEdgesForValence(oxTriMesh& mesh, float maxBendDegrees, unsigned int maxPasses)
{
    if (!CheckMeshSanity(mesh)) {
        return 0;
    }
    const unsigned int triangleCount = static_cast<unsigned int>(mesh.GetTriangleQuantity());
    const unsigned int vertexCount = detail::vertexCount(mesh);
    const double radians = static_cast<double>(maxBendDegrees) * 3.14159265358979323846 / 180.0;
    tValenceFlipper flipper{*mesh.GetVertexBuffer(),
                            mesh.GetIndexBuffer()->GetData(),
                            static_cast<float>(std::cos(radians)),
                            std::vector<int>(vertexCount, 0),
                            std::vector<int>(vertexCount, 6),
                            std::unordered_set<std::uint64_t>()};

    std::vector<unsigned int> v0, v1, triangleEdges;
    unsigned int flips = 0;
    for (unsigned int pass = 0; pass < maxPasses; ++pass) {
        detail::enumerateEdges(flipper.indices, triangleCount, vertexCount, v0, v1, triangleEdges);
        std::vector<unsigned int> first(v0.size(), kNoIndex), second(v0.size(), kNoIndex),
            uses(v0.size(), 0u);
        for (unsigned int i = 0; i < triangleEdges.size(); ++i) {
            const unsigned int e = triangleEdges[i];
            (uses[e]++ == 0 ? first[e] : second[e]) = i / 3;
        }
        if (pass == 0) {
            flipper.existing.reserve(2 * v0.size());
            for (std::size_t e = 0; e < v0.size(); ++e) {
                flipper.existing.insert(detail::undirectedEdgeKey(v0[e], v1[e]));
                ++flipper.valence[v0[e]];
                ++flipper.valence[v1[e]];
                if (uses[e] == 1) {
                    flipper.ideal[v0[e]] = flipper.ideal[v1[e]] = 4;
                }
            }
        }
        // The per-pass edge table goes stale where triangles changed: each triangle takes part
        // in at most one flip per pass.
        std::vector<char> touched(triangleCount, 0);
        unsigned int passFlips = 0;
        for (std::size_t e = 0; e < v0.size(); ++e) {
            if (uses[e] != 2 || v0[e] == v1[e] || touched[first[e]] || touched[second[e]]) {
                continue;
            }
            if (flipper.tryFlip(first[e], second[e], v0[e], v1[e])) {
                touched[first[e]] = touched[second[e]] = 1;
                ++passFlips;
            }
        }
        flips += passFlips;
        if (passFlips == 0) {
            break;
        }
    }
    return flips;
}

}  // namespace oxMeshProcessing
}  // namespace ox
