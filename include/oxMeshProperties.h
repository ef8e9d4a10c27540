// Derived per-mesh data cached over one triangle mesh: the edge table (edge-to-triangle and
// triangle-to-edge incidence), triangle normals, angle-weighted vertex normals, vertex valency
// and a per-vertex principal curvature frame.
//
// Every property is computed on first access and kept until the object dies; nothing is ever
// invalidated, so an oxMeshProperties must not outlive changes to the mesh it reads. The edge
// table defined here (tEdgeProperty, tEdgeProperty::tEdge) is the edge vocabulary of the whole
// library: edge collapses and clean-up operations take edges in this form.
//
// The public face is oxMeshPropertiesPublicInterface<oxMeshProperties>, whose operations forward
// one-to-one to private operations of oxMeshProperties named like them plus "Implemented".
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
        /// One undirected edge. v0 < v1 always. t0 is the lowest-numbered triangle containing
        /// the edge; t1 the highest-numbered other one, or 0xFFFFFFFF on a boundary edge. An edge
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

    /// The edge table, computed on first access. Cost O(E log E) the first time.
    tEdgeProperty& edges() { return impl().edgesImplemented(); }
    /// Unit triangle normals ((p1-p0)x(p2-p0) normalised; zero for a degenerate triangle).
    tGenericProperty<Wm4::Vector3<float>>& triangleNormals() { return impl().triangleNormalsImplemented(); }
    /// Angle-weighted unit vertex normals (zero for a vertex in no, or only degenerate, triangles).
    tGenericProperty<Wm4::Vector3<float>>& vertexNormals() { return impl().vertexNormalsImplemented(); }
    /// Number of distinct edges at each vertex (forces the edge table).
    tGenericProperty<unsigned int>& vertexValency() { return impl().vertexValencyImplemented(); }
    /// Monte-Carlo principal curvature frame per vertex (forces the vertex normals).
    tGenericProperty<tCurvature>& curvature() { return impl().curvatureImplemented(); }
    /// The curvature member without computing it (check its flag).
    const tGenericProperty<tCurvature>* pCurvature() const { return impl().pCurvatureImplemented(); }

    /// Unconditional (re)computations; each sets its property's flag.
    void computeEdges() { impl().computeEdgesImplemented(); }
    void computeTriangleNormals() { impl().computeTriangleNormalsImplemented(); }
    void computeVertexNormals() { impl().computeVertexNormalsImplemented(); }
    void computeVertexValency() { impl().computeVertexValencyImplemented(); }
    void computeCurvature() { impl().computeCurvatureImplemented(); }

    /// The mesh read by this cache.
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
/// count is the index count / 3). Indices are trusted: no range check.
class oxMeshProperties : public oxMeshPropertiesPublicInterface<oxMeshProperties> {
public:
    using tInterface = oxMeshPropertiesPublicInterface<oxMeshProperties>;
    using tEdgeProperty = tInterface::tEdgeProperty;
    using tEdge = tEdgeProperty::tEdge;
    using tCurvature = tInterface::tCurvature;
    template <class T>
    using tGenericProperty = tInterface::tGenericProperty<T>;

    /// Stores `mesh` and takes a reference on it (null allowed, but then no property may be
    /// asked for). All flags false.
    explicit oxMeshProperties(const oxTriMesh* mesh);
    /// Member-wise copy; the copy takes its own reference on the mesh.
    oxMeshProperties(const oxMeshProperties& other);
    oxMeshProperties& operator=(const oxMeshProperties& other);
    /// Releases the mesh reference.
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
