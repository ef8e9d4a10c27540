// oxQuadricErrorMetric: the quadric error metric of GenericEdgeCollapse (part of the
// oxMeshProcessing family; include oxMeshProcessing.h), and the neighbour map of a collapse run.
//
// The metric costs an edge collapse by the summed quadrics of its endpoints in coordinates
// normalised to the mesh's bounding box (p^ = (p - c) / h, c the box centre, h half its largest
// extent), places the merged vertex at the quadric's minimiser pulled towards the edge midpoint
// with the weight lambda given at construction, and refuses (cost +infinity) collapses that
// would fold a neighbouring triangle over or whose edge touches more than 10 triangles. How the
// quadrics are built is told in src/processing/oxQuadricErrorMetric.cpp.
#pragma once

#include <map>
#include <utility>
#include <vector>

#include "Wm4/Wm4Matrix4.h"
#include "Wm4/Wm4Vector3.h"
#include "oxMeshProperties.h"
#include "scenegraph/oxTriMesh.h"

namespace ox {
namespace oxMeshProcessing {

/// The edge record of the library (oxMeshProperties' edge table).
typedef oxMeshPropertiesPublicInterface<oxMeshProperties>::tEdgeProperty::tEdge tEdge;

/// Neighbours of one vertex during an edge-collapse run: (neighbour vertex, edge index) pairs
/// with distinct neighbours (an addition of ours, in place of an ordered map). A flat list
/// (vertices have a handful of neighbours), kept in insertion order; no result of the collapse
/// depends on that order. Not synchronised.
class tNeighbourMap {
public:
    typedef std::pair<unsigned int, unsigned int> tEntry;
    typedef std::vector<tEntry>::const_iterator const_iterator;

    /// Looks up the edge to `neighbour`.
    /// Returns:       its edge index, or 0xFFFFFFFF (kNoIndex) when it is not a neighbour.
    /// Cost:          O(size).
    unsigned int find(unsigned int neighbour) const
    {
        for (const tEntry& entry : m_entries) {
            if (entry.first == neighbour) {
                return entry.second;
            }
        }
        return 0xFFFFFFFFu;
    }
    /// Appends (neighbour, edge).
    /// Preconditions: `neighbour` is not present yet (not checked).
    /// Cost:          O(1) amortised.
    void insert(unsigned int neighbour, unsigned int edge) { m_entries.emplace_back(neighbour, edge); }
    /// Removes `neighbour`; an absent neighbour is ignored.
    /// Side effects:  the last entry takes the removed one's place (order not kept).
    /// Cost:          O(size).
    void erase(unsigned int neighbour)
    {
        for (std::size_t i = 0; i < m_entries.size(); ++i) {
            if (m_entries[i].first == neighbour) {
                m_entries[i] = m_entries.back();
                m_entries.pop_back();
                return;
            }
        }
    }
    /// Renames neighbour `from` into `to`, keeping its edge; an absent `from` is ignored.
    /// Preconditions: `to` is not present yet. Cost: O(size).
    void rename(unsigned int from, unsigned int to)
    {
        for (tEntry& entry : m_entries) {
            if (entry.first == from) {
                entry.first = to;
                return;
            }
        }
    }
    /// Number of neighbours; begin/end iterate the entries in their current order. O(1).
    std::size_t size() const { return m_entries.size(); }
    const_iterator begin() const { return m_entries.begin(); }
    const_iterator end() const { return m_entries.end(); }
    /// Removes every neighbour (capacity kept). O(size).
    void clear() { m_entries.clear(); }

private:
    std::vector<tEntry> m_entries;
};

/// Quadric error metric with bounding-box normalisation and midpoint regularisation (see the
/// file comment). Filled by init, merged by collapseEdge; a fresh metric is needed per run
/// (nothing resets it). Not synchronised.
class oxQuadricErrorMetric {
public:
    /// Makes an empty metric with regularisation weight `lambda`.
    /// Returns:       a metric with squared maximum error 0 and no quadrics.
    /// Preconditions: lambda > 0 keeps every placement system regular (with 0, a singular
    ///                system gives whatever the 4x4 inverse returns).
    /// Cost:          O(1).
    explicit oxQuadricErrorMetric(float lambda);

    /// Builds the per-vertex quadrics of `mesh` and costs every edge of `edges`.
    /// Returns:       nothing; `costs` (resized to the edge count) holds each edge's
    ///                estimateEdgeCost.
    /// Preconditions: the parent arrays are union-find forests over vertices and edges (identity
    ///                at the start of a run); `neighbours` holds the neighbour map of every
    ///                representative vertex; indices in range.
    /// Side effects:  replaces the quadrics and the normalisation; a bounding box of zero extent
    ///                is treated as half-extent 1.
    /// Cost:          O(V + T + E * evaluation).
    void init(const oxTriMesh& mesh, const std::vector<tEdge>& edges,
              const std::vector<unsigned int>& vertexParents, const std::vector<unsigned int>& edgeParents,
              const std::vector<std::map<unsigned int, unsigned int>>& neighbours, std::vector<float>& costs);

    /// init with the flat neighbour lists of the library's own collapse driver (an addition of
    /// ours: same results, no ordered map).
    void init(const oxTriMesh& mesh, const std::vector<tEdge>& edges,
              const std::vector<unsigned int>& vertexParents, const std::vector<unsigned int>& edgeParents,
              const std::vector<tNeighbourMap>& neighbours, std::vector<float>& costs);

    /// Costs the collapse of edge `edge`, its endpoints resolved through `vertexParents`.
    /// Returns:       the summed cost quadric at the merged vertex (normalised coordinates);
    ///                `position` receives that vertex in mesh coordinates: the minimiser of the
    ///                summed placement quadric (divided by the mean of its first three diagonal
    ///                entries when positive) plus lambda |x - midpoint|^2.
    /// On failure:    +infinity when the collapse would turn a triangle around the edge over
    ///                (negative dot product of its normals before and after) or when more than
    ///                10 distinct triangle slots (0xFFFFFFFF counted) surround the edge; a NaN
    ///                cost also comes back as +infinity.
    /// Preconditions: after init, with the run's current forests and neighbour maps.
    /// Cost:          O(valency).
    float estimateEdgeCost(unsigned int edge, const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                           const std::vector<unsigned int>& vertexParents,
                           const std::vector<unsigned int>& edgeParents,
                           const std::vector<std::map<unsigned int, unsigned int>>& neighbours,
                           Wm4::Vector3<float>& position) const;

    /// estimateEdgeCost with the flat neighbour lists of the library's own collapse driver (an
    /// addition of ours: same results, no ordered map).
    float estimateEdgeCost(unsigned int edge, const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                           const std::vector<unsigned int>& vertexParents,
                           const std::vector<unsigned int>& edgeParents,
                           const std::vector<tNeighbourMap>& neighbours, Wm4::Vector3<float>& position) const;

    /// Costs the collapse of edge `edge` with the merged vertex at the given `position` (mesh
    /// coordinates) instead of the optimal one, for an endpoint that must not move (an addition
    /// of ours).
    /// Returns:       the summed cost quadric at `position`; +infinity on the same refusals as
    ///                estimateEdgeCost.
    /// Cost:          O(valency).
    float estimateEdgeCostAt(unsigned int edge, const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                             const std::vector<unsigned int>& vertexParents,
                             const std::vector<unsigned int>& edgeParents,
                             const std::vector<tNeighbourMap>& neighbours,
                             const Wm4::Vector3<float>& position) const;

    /// Merges the quadrics of the two stored endpoints of `edge`.
    /// Preconditions: the endpoints are the representatives (the collapse driver passes the
    ///                edge with its endpoints resolved).
    /// Side effects:  both endpoints' cost and placement quadrics become their sum.
    /// Cost:          O(1).
    void collapseEdge(const tEdge& edge);

    /// Squared error bound of the current run (GenericEdgeCollapse writes maxError^2 here).
    /// The accessors below are additions of ours; each is O(1).
    void setSquaredMaxError(float squaredMaxError) { m_squaredMaxError = squaredMaxError; }
    float getSquaredMaxError() const { return m_squaredMaxError; }

    /// The cost quadric of vertex `v` (row-major 4x4, normalised coordinates). Preconditions:
    /// after init, v below the vertex count.
    const Wm4::Matrix4<float>& getCostQuadric(unsigned int v) const { return m_costQuadrics[v]; }
    /// Normalisation centre and half-extent (set by init; before it the origin and 1).
    const Wm4::Vector3<float>& getCenter() const { return m_center; }
    float getHalfExtent() const { return m_halfExtent; }
    /// The regularisation weight given at construction.
    float getLambda() const { return m_lambda; }

private:
    /// Optimal normalised position and its summed-quadric cost for representatives a, b.
    float optimalPlacement(const oxTriMesh& mesh, unsigned int a, unsigned int b,
                           Wm4::Vector3<float>& normalised) const;
    /// Summed cost quadric of a and b evaluated at the normalised point.
    float quadricCost(unsigned int a, unsigned int b, const Wm4::Vector3<float>& normalised) const;
    /// False when more than 10 triangle slots surround the edge a-b, or when moving a and b to
    /// `position` (mesh coordinates) flips one of those triangles.
    /// `Maps` is either neighbour container: both hold (neighbour, edge) pairs per vertex.
    template <class Maps>
    bool neighbourhoodAllows(const oxTriMesh& mesh, unsigned int a, unsigned int b,
                             const Wm4::Vector3<float>& position, const std::vector<tEdge>& edges,
                             const std::vector<unsigned int>& vertexParents,
                             const std::vector<unsigned int>& edgeParents, const Maps& neighbours) const;
    template <class Maps>
    void initWith(const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                  const std::vector<unsigned int>& vertexParents,
                  const std::vector<unsigned int>& edgeParents, const Maps& neighbours,
                  std::vector<float>& costs);
    template <class Maps>
    float estimateWith(unsigned int edge, const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                       const std::vector<unsigned int>& vertexParents,
                       const std::vector<unsigned int>& edgeParents, const Maps& neighbours,
                       Wm4::Vector3<float>& position) const;
    /// Both endpoints of `edge` resolved through the vertex parents.
    static void resolveEndpoints(const tEdge& edge, const std::vector<unsigned int>& vertexParents,
                                 unsigned int& a, unsigned int& b);

    float m_squaredMaxError;
    std::vector<Wm4::Matrix4<float>> m_costQuadrics;
    std::vector<Wm4::Matrix4<float>> m_placementQuadrics;
    Wm4::Vector3<float> m_center;
    float m_halfExtent;
    float m_lambda;
};

}  // namespace oxMeshProcessing
}  // namespace ox
