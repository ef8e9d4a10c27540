// Quadric error metric of the edge-collapse simplification (part of the oxMeshProcessing family;
// include oxMeshProcessing.h).
//
// The metric works in coordinates normalised to the mesh's bounding box (p^ = (p - c) / h, c
// the box centre, h half its largest extent) and regularises the optimal position of a merged
// vertex towards the edge midpoint with the weight lambda given at construction. Well-shaped
// triangles contribute their plane quadric (weight 1, no area weighting); thin triangles
// (|cross| / longest squared edge < 0.1) contribute the squared distance to the line through
// their centroid along their longest edge, weighted by 1000. Every cost evaluation also rejects
// (cost +infinity) collapses that would fold a neighbouring triangle over, and collapses whose
// edge touches more than 10 triangles.
#pragma once

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
/// with distinct neighbours. A flat list (vertices have a handful of neighbours), kept in
/// insertion order; no result of the collapse depends on that order.
class tNeighbourMap {
public:
    typedef std::pair<unsigned int, unsigned int> tEntry;
    typedef std::vector<tEntry>::const_iterator const_iterator;

    /// The edge to `neighbour`, or 0xFFFFFFFF when it is not a neighbour. O(size).
    unsigned int find(unsigned int neighbour) const
    {
        for (const tEntry& entry : m_entries) {
            if (entry.first == neighbour) {
                return entry.second;
            }
        }
        return 0xFFFFFFFFu;
    }
    /// Adds (neighbour, edge); precondition: `neighbour` is not present yet. O(1).
    void insert(unsigned int neighbour, unsigned int edge) { m_entries.emplace_back(neighbour, edge); }
    /// Removes `neighbour` if present. O(size).
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
    /// Renames `from` into `to` (keeping its edge). O(size).
    void rename(unsigned int from, unsigned int to)
    {
        for (tEntry& entry : m_entries) {
            if (entry.first == from) {
                entry.first = to;
                return;
            }
        }
    }
    std::size_t size() const { return m_entries.size(); }
    const_iterator begin() const { return m_entries.begin(); }
    const_iterator end() const { return m_entries.end(); }
    void clear() { m_entries.clear(); }

private:
    std::vector<tEntry> m_entries;
};

/// Quadric error metric with bounding-box normalisation and midpoint regularisation (see the
/// file comment). Filled by init, merged by collapseEdge; a fresh metric is needed per run.
class oxQuadricErrorMetric {
public:
    /// A metric with regularisation weight `lambda` (> 0 keeps every placement system
    /// regular), squared maximum error 0 and no quadrics.
    explicit oxQuadricErrorMetric(float lambda);

    /// Builds the per-vertex quadrics of `mesh` and writes the initial cost of every edge of
    /// `edges` into `costs` (resized to the edge count). The parent arrays are union-find
    /// forests over vertices and edges (identity at the start of a run); `neighbours` holds the
    /// neighbour map of every representative vertex. A bounding box of zero extent is treated
    /// as half-extent 1. Cost O(V + T + E * evaluation).
    void init(const oxTriMesh& mesh, const std::vector<tEdge>& edges,
              const std::vector<unsigned int>& vertexParents, const std::vector<unsigned int>& edgeParents,
              const std::vector<tNeighbourMap>& neighbours, std::vector<float>& costs);

    /// Cost of collapsing edge `edge` (its endpoints resolved through `vertexParents`) and, in
    /// `position`, the merged vertex's position in mesh coordinates: the minimiser of the summed
    /// quadric plus lambda |x - midpoint|^2 (normalised coordinates). The cost is the summed
    /// quadric at that point. +infinity when the collapse would turn a triangle around the edge
    /// over (negative dot product of its normals before and after) or when more than 10
    /// distinct triangle slots (0xFFFFFFFF counted) surround the edge; a NaN cost also comes
    /// back as +infinity. O(valency).
    float estimateEdgeCost(unsigned int edge, const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                           const std::vector<unsigned int>& vertexParents,
                           const std::vector<unsigned int>& edgeParents,
                           const std::vector<tNeighbourMap>& neighbours, Wm4::Vector3<float>& position) const;

    /// As estimateEdgeCost, but for the merged vertex placed at the given `position` (mesh
    /// coordinates) instead of the optimal one: used when one endpoint must not move.
    float estimateEdgeCostAt(unsigned int edge, const oxTriMesh& mesh, const std::vector<tEdge>& edges,
                             const std::vector<unsigned int>& vertexParents,
                             const std::vector<unsigned int>& edgeParents,
                             const std::vector<tNeighbourMap>& neighbours,
                             const Wm4::Vector3<float>& position) const;

    /// Merges the quadrics of the two stored endpoints of `edge`: both receive their sum.
    /// The edge-collapse driver passes the edge with its endpoints resolved.
    void collapseEdge(const tEdge& edge);

    /// Squared error bound of the current run (written by GenericEdgeCollapse).
    void setSquaredMaxError(float squaredMaxError) { m_squaredMaxError = squaredMaxError; }
    float getSquaredMaxError() const { return m_squaredMaxError; }

    /// The cost quadric of vertex `v` (row-major 4x4, normalised coordinates).
    const Wm4::Matrix4<float>& getCostQuadric(unsigned int v) const { return m_costQuadrics[v]; }
    /// Normalisation centre and half-extent (valid after init).
    const Wm4::Vector3<float>& getCenter() const { return m_center; }
    float getHalfExtent() const { return m_halfExtent; }
    float getLambda() const { return m_lambda; }

private:
    /// Optimal normalised position and its summed-quadric cost for representatives a, b.
    float optimalPlacement(const oxTriMesh& mesh, unsigned int a, unsigned int b,
                           Wm4::Vector3<float>& normalised) const;
    /// Summed cost quadric of a and b evaluated at the normalised point.
    float quadricCost(unsigned int a, unsigned int b, const Wm4::Vector3<float>& normalised) const;
    /// False when more than 10 triangle slots surround the edge a-b, or when moving a and b to
    /// `position` (mesh coordinates) flips one of those triangles.
    bool neighbourhoodAllows(const oxTriMesh& mesh, unsigned int a, unsigned int b,
                             const Wm4::Vector3<float>& position, const std::vector<tEdge>& edges,
                             const std::vector<unsigned int>& vertexParents,
                             const std::vector<unsigned int>& edgeParents,
                             const std::vector<tNeighbourMap>& neighbours) const;
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
