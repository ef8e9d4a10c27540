// oxPointSetQuery: a point cloud as the rest of the library sees it.
//
// A vertex buffer of points (positions, optionally normals and point sizes) together
// with its Morton hierarchy and neighbour graph, the normalising transform applied to it,
// and the spatial queries built on them. The point-set surfaces are built on a query.
#pragma once

#include <memory>

#include "Wm4/Wm4Vector3.h"
#include "oxPointSetProcessing.h"
#include "scenegraph/oxPointer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

class oxSurfaceGathering;

class oxPointSetQuery {
public:
    /// Holds the buffer; the hierarchy and the graph are created by the query itself (and
    /// shared by its copies) when the acceleration structure is first computed.
    explicit oxPointSetQuery(oxVertexBuffer* vertices);
    /// Holds the buffer and the caller's hierarchy and graph, taken as ready: no
    /// computation happens until computePointRadii is called.
    oxPointSetQuery(oxVertexBuffer* vertices, oxPointSetProcessing::oxMiniBVH* bvh,
                    oxPointSetProcessing::KNN* knn);

    /// Copies share the buffer (one more reference), the hierarchy and the graph.
    oxPointSetQuery(const oxPointSetQuery& other);
    oxPointSetQuery(oxPointSetQuery&& other);
    oxPointSetQuery& operator=(const oxPointSetQuery& other);
    oxPointSetQuery& operator=(oxPointSetQuery&& other);
    ~oxPointSetQuery();

    oxVertexBuffer* getVertices() const { return m_vertices.get(); }
    float getDensityToRadiusRatio() const { return m_densityToRadiusRatio; }
    const oxPointSetProcessing::oxMiniBVH* getBVH() const { return m_bvh; }
    const oxPointSetProcessing::KNN* getKNN() const { return m_knn; }
    /// The normalising transform: normalised = (input - centre) / scale.
    const float* getCenter() const { return m_center; }
    float getScale() const { return m_scale; }
    bool isPending() const { return m_pending != 0; }

    /// Brings the query to its ready state: computes the acceleration structure when it
    /// is pending, gives the buffer a point-size channel when it has none (a new buffer
    /// with positions, normals and point sizes only replaces the old one, and the
    /// structure is computed again on it: centre and scale then describe that second
    /// normalisation), writes every point's radius (factor 4) into the point sizes and
    /// computes the node boxes around the points' discs. Last, it takes the compact copy of
    /// positions, normals, point sizes and node boxes that the point-set surfaces read:
    /// edits to the buffer made after this call reach the surfaces only through another
    /// call (a query whose point sizes were written by its caller has no copy, and the
    /// surfaces then read the buffer itself).
    void computePointRadii();

    /// Index of the point nearest to `position` other than `excluded` (0xFFFFFFFF for
    /// none); 0 when no point qualifies. Needs the ready state. O(log n) typical.
    unsigned int getNearestVertex(const Wm4::Vector3<float>& position, unsigned int excluded) const;

    /// Number of points strictly inside the sphere (radius^2 > d^2). Needs the ready state.
    unsigned int getNoPointsInSphere(const Wm4::Vector3<float>& centre, float radius) const;

private:
    /// Normalises the positions (CenterAndScale), sorts them into Morton order with the
    /// hierarchy (21 bits, leaves of 16) and builds the 16-neighbour graph.
    void computeAccelerationStructure();
    float estimateLocalDensity(unsigned int, float) const { return 0.0f; }

    struct tOwnedStructures;          // hierarchy and graph created by the query itself
    friend class oxSurfaceGathering;  // reads m_gathering

    oxPointer<oxVertexBuffer> m_vertices;
    oxPointSetProcessing::oxMiniBVH* m_bvh = nullptr;
    oxPointSetProcessing::KNN* m_knn = nullptr;
    float m_center[3] = {0.0f, 0.0f, 0.0f};
    float m_scale = 1.0f;
    float m_densityToRadiusRatio = 4.0f;
    unsigned int m_minNeighbours = 8;  // kept for hosts; no operation reads them
    unsigned int m_maxNeighbours = 32;
    int m_pending = 1;
    std::shared_ptr<tOwnedStructures> m_owned;
    std::shared_ptr<const oxSurfaceGathering> m_gathering;  // made by computePointRadii, shared by copies
};

}  // namespace ox
