// oxMeshProperties: derived per-mesh data cached over one triangle mesh: the edge table
// (edge-to-triangle and triangle-to-edge incidence), triangle normals, angle-weighted vertex
// normals, vertex valency and a per-vertex principal curvature frame.
//
// Every property is computed on first access and kept until the object dies; nothing is ever
// invalidated, so an oxMeshProperties must not outlive changes to the mesh it reads. The edge
// table defined here (tEdgeProperty, tEdgeProperty::tEdge) is the edge vocabulary of the whole
// library: edge collapses and clean-up operations take edges in this form.
//
// The public face is oxMeshPropertiesPublicInterface<oxMeshProperties>, whose operations forward
// one-to-one to private operations of oxMeshProperties named like them plus "Implemented".
// The accessors mutate the cache: an instance is used by one thread at a time. How the edge
// table, the normals and the curvature are computed is told at the top of
// src/processing/oxMeshProperties.cpp and src/processing/oxMeshCurvature.cpp.
#pragma once

#include <vector>

#include "Wm4/Wm4Vector3.h"
#include "scenegraph/oxTriMesh.h"

namespace ox {

/// Public interface of the mesh-property cache. `Impl` provides the `...Implemented` operations.
template <class Impl>
class oxMeshPropertiesPublicInterface {
public:
    /// The edge table of a mesh.
    struct tEdgeProperty {
        /// One undirected edge. v0 <= v1 (equal only for a triangle that names a vertex twice).
        /// t0 is the lowest-numbered triangle containing the edge; t1 the highest-numbered
        /// other one, or 0xFFFFFFFF (kNoIndex) on a boundary edge. An edge
        /// of three or more triangles is not marked: the triangles between t0 and t1 reach it
        /// only through the per-triangle edge triples.
        struct tEdge {
            unsigned int v0 = 0xFFFFFFFFu;
            unsigned int v1 = 0xFFFFFFFFu;
            unsigned int t0 = 0xFFFFFFFFu;
            unsigned int t1 = 0xFFFFFFFFu;
        };
        /// Edge indices of one triangle for its corner pairs (0,1), (1,2), (2,0).
        struct tTriangleEdges {
            unsigned int e[3] = {0xFFFFFFFFu, 0xFFFFFFFFu, 0xFFFFFFFFu};
        };

        bool computed = false;
        /// Edges in order of first appearance when walking triangles and their corner pairs.
        std::vector<tEdge> edges;
        /// One triple per triangle.
        std::vector<tTriangleEdges> triangleEdges;
        /// Per vertex, its incident edges in descending (v0, v1) key order.
        std::vector<std::vector<unsigned int>> vertexEdges;
    };

    /// A per-element array with its own computed flag.
    template <class T>
    struct tGenericProperty {
        std::vector<T> values;
        bool computed = false;
    };

    /// Principal curvature frame of a vertex; k1 has the smaller absolute value.
    struct tCurvature {
        Wm4::Vector3<float> direction1;
        float k1 = 0.0f;
        Wm4::Vector3<float> direction2;
        float k2 = 0.0f;
    };

    /// The edge table, computed on first access.
    /// Returns:       the cached table: edges numbered by first appearance in triangle order,
    ///                one edge triple per triangle, each vertex's edges in descending key order.
    /// Preconditions: a mesh was given; indices in range (not checked).
    /// Cost:          O(V + T) the first time (valences bounded), O(1) after.
    tEdgeProperty& edges() { return impl().edgesImplemented(); }
    /// Unit triangle normals, computed on first access.
    /// Returns:       (p1 - p0) x (p2 - p0) normalised per triangle; zero for a degenerate one.
    /// Cost:          O(T) the first time.
    tGenericProperty<Wm4::Vector3<float>>& triangleNormals() { return impl().triangleNormalsImplemented(); }
    /// Angle-weighted unit vertex normals, computed on first access.
    /// Returns:       per vertex, the unit sum of its triangles' unit normals, each weighted by
    ///                the triangle's angle at the vertex; zero for a vertex in no, or only
    ///                degenerate, triangles. acos arguments are not clamped.
    /// Cost:          O(V + T) the first time.
    tGenericProperty<Wm4::Vector3<float>>& vertexNormals() { return impl().vertexNormalsImplemented(); }
    /// Number of distinct edges at each vertex, computed on first access.
    /// Side effects:  forces the edge table. Cost: O(V) after the edge table.
    tGenericProperty<unsigned int>& vertexValency() { return impl().vertexValencyImplemented(); }
    /// Monte-Carlo principal curvature frame per vertex, computed on first access.
    /// Returns:       per vertex k1 (smaller absolute value) and k2 with unit tangent directions;
    ///                positive for a surface bending away from its normal (a sphere with outward
    ///                normals); zero for a vertex without triangles or with a zero normal, and
    ///                where the fit gives NaN.
    /// Side effects:  forces the vertex normals; draws 128 numbers per vertex and incident
    ///                triangle from the process-wide rand() sequence, seeded with
    ///                srand(14973945) at its first use in the process, so results repeat for a
    ///                fresh process and a fixed call order, and later draws continue the sequence.
    /// Cost:          O(V + T) the first time, 64 samples per triangle corner.
    tGenericProperty<tCurvature>& curvature() { return impl().curvatureImplemented(); }
    /// The curvature member without computing it (check its flag). O(1).
    const tGenericProperty<tCurvature>* pCurvature() const { return impl().pCurvatureImplemented(); }

    /// Unconditional (re)computations of the properties above; each sets its property's flag,
    /// with the cost and side effects of its accessor's first call.
    void computeEdges() { impl().computeEdgesImplemented(); }
    void computeTriangleNormals() { impl().computeTriangleNormalsImplemented(); }
    void computeVertexNormals() { impl().computeVertexNormalsImplemented(); }
    void computeVertexValency() { impl().computeVertexValencyImplemented(); }
    void computeCurvature() { impl().computeCurvatureImplemented(); }

    /// The mesh read by this cache. O(1).
    const oxTriMesh* getMesh() const { return impl().getMeshImplemented(); }

protected:
    oxMeshPropertiesPublicInterface() = default;
    ~oxMeshPropertiesPublicInterface() = default;

private:
    Impl& impl() { return static_cast<Impl&>(*this); }
    const Impl& impl() const { return static_cast<const Impl&>(*this); }
};

/// The mesh-property cache over one oxTriMesh (see the file comment). The mesh is read through
/// its vertex buffer (Position3) and its index buffer (three indices per triangle; the triangle
/// count is the index count / 3). Indices are trusted: no range check. No property reports an
/// error.
class oxMeshProperties : public oxMeshPropertiesPublicInterface<oxMeshProperties> {
public:
    using tInterface = oxMeshPropertiesPublicInterface<oxMeshProperties>;
    using tEdgeProperty = tInterface::tEdgeProperty;
    using tEdge = tEdgeProperty::tEdge;
    using tCurvature = tInterface::tCurvature;
    template <class T>
    using tGenericProperty = tInterface::tGenericProperty<T>;

    /// Makes an empty cache over `mesh`.
    /// Preconditions: `mesh` may be null, but then no property may be asked for.
    /// Side effects:  takes a reference on the mesh; all flags false. Cost: O(1).
    explicit oxMeshProperties(const oxTriMesh* mesh);
    /// Member-wise copy of the five properties with their flags.
    /// Side effects:  the copy takes its own reference on the mesh (assignment releases the old
    ///                one; self-assignment does nothing). Cost: O(size of the properties).
    oxMeshProperties(const oxMeshProperties& other);
    oxMeshProperties& operator=(const oxMeshProperties& other);
    /// Releases the mesh reference and the properties.
    ~oxMeshProperties();

private:
    friend tInterface;

    tEdgeProperty& edgesImplemented();
    tGenericProperty<Wm4::Vector3<float>>& triangleNormalsImplemented();
    tGenericProperty<Wm4::Vector3<float>>& vertexNormalsImplemented();
    tGenericProperty<unsigned int>& vertexValencyImplemented();
    tGenericProperty<tCurvature>& curvatureImplemented();
    const tGenericProperty<tCurvature>* pCurvatureImplemented() const { return &m_curvature; }

    void computeEdgesImplemented();
    void computeTriangleNormalsImplemented();
    void computeVertexNormalsImplemented();
    void computeVertexValencyImplemented();
    void computeCurvatureImplemented();
    const oxTriMesh* getMeshImplemented() const { return m_mesh; }

    void acquireMesh();
    void releaseMesh();

    const oxTriMesh* m_mesh;
    tEdgeProperty m_edges;
    tGenericProperty<Wm4::Vector3<float>> m_vertexNormals;
    tGenericProperty<unsigned int> m_vertexValency;
    tGenericProperty<Wm4::Vector3<float>> m_triangleNormals;
    tGenericProperty<tCurvature> m_curvature;
};

}  // namespace ox
