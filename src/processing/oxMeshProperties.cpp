// Construction, edge table, normals and valency of the mesh-property cache (the curvature is in
// oxMeshCurvature.cpp).
//
// Edge table: the library's edge enumeration (triangle sides bucketed by their lower vertex)
// numbers the edges by first appearance in triangle order and corner pair; two stable counting
// passes put them in (v0, v1) key order, in which each vertex's exactly sized incident list is
// filled from its end, so the lists come out in descending key order; a last walk over the
// triangles writes the edge triples and the triangle slots (t0 the lowest triangle, t1 the last
// one met). Every step is linear for bounded valences.
// Vertex normals: each triangle adds its unit normal times its interior angle at a corner to
// that corner's sum (a degenerate triangle adds nothing, even where an angle rounds to NaN);
// the sums are then rescaled to unit length, zero staying zero.
//
// Based on: Thürmer and Wüthrich, Computing vertex normals from polygonal facets, 1998 (the
// angle-weighted vertex normal).
#include "oxMeshProperties.h"

#include "processing/oxEdgeSides.h"
#include "processing/oxMeshMath.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

namespace {

unsigned int triangleCountOf(const oxTriMesh& mesh)
{
    const oxIndexBuffer* ib = mesh.GetIndexBuffer();
    return ib ? static_cast<unsigned int>(ib->GetIndexQuantity() / 3) : 0u;
}

unsigned int vertexCountOf(const oxTriMesh& mesh)
{
    const oxVertexBuffer* vb = mesh.GetVertexBuffer();
    return vb ? static_cast<unsigned int>(vb->GetVertexQuantity()) : 0u;
}

/// Edge indices sorted by ascending (v0, v1) key: two stable counting passes, by v1 then v0.
std::vector<unsigned int> edgesInKeyOrder(const std::vector<unsigned int>& v0,
                                          const std::vector<unsigned int>& v1, unsigned int vertexCount)
{
    const std::size_t edgeCount = v0.size();
    std::vector<unsigned int> order(edgeCount), sorted(edgeCount);
    for (std::size_t e = 0; e < edgeCount; ++e) {
        order[e] = static_cast<unsigned int>(e);
    }
    for (const std::vector<unsigned int>* key : {&v1, &v0}) {
        std::vector<unsigned int> start(static_cast<std::size_t>(vertexCount) + 1u, 0u);
        for (unsigned int e : order) {
            ++start[(*key)[e] + 1u];
        }
        for (unsigned int v = 0; v < vertexCount; ++v) {
            start[v + 1u] += start[v];
        }
        for (unsigned int e : order) {
            sorted[start[(*key)[e]]++] = e;
        }
        order.swap(sorted);
    }
    return order;
}

}  // namespace

oxMeshProperties::oxMeshProperties(const oxTriMesh* mesh) : m_mesh(mesh)
{
    acquireMesh();
}

oxMeshProperties::oxMeshProperties(const oxMeshProperties& other)
    : tInterface(), m_mesh(other.m_mesh), m_edges(other.m_edges), m_vertexNormals(other.m_vertexNormals),
      m_vertexValency(other.m_vertexValency), m_triangleNormals(other.m_triangleNormals),
      m_curvature(other.m_curvature)
{
    acquireMesh();
}

oxMeshProperties& oxMeshProperties::operator=(const oxMeshProperties& other)
{
    if (this != &other) {
        const oxTriMesh* previous = m_mesh;
        m_mesh = other.m_mesh;
        acquireMesh();
        if (previous != nullptr) {
            const_cast<oxTriMesh*>(previous)->DecrementReferences();
        }
        m_edges = other.m_edges;
        m_vertexNormals = other.m_vertexNormals;
        m_vertexValency = other.m_vertexValency;
        m_triangleNormals = other.m_triangleNormals;
        m_curvature = other.m_curvature;
    }
    return *this;
}

oxMeshProperties::~oxMeshProperties()
{
    releaseMesh();
}

void oxMeshProperties::acquireMesh()
{
    if (m_mesh != nullptr) {
        const_cast<oxTriMesh*>(m_mesh)->IncrementReferences();
    }
}

void oxMeshProperties::releaseMesh()
{
    if (m_mesh != nullptr) {
        const_cast<oxTriMesh*>(m_mesh)->DecrementReferences();
        m_mesh = nullptr;
    }
}

oxMeshProperties::tEdgeProperty& oxMeshProperties::edgesImplemented()
{
    if (!m_edges.computed) {
        computeEdgesImplemented();
    }
    return m_edges;
}

oxMeshProperties::tGenericProperty<Wm4::Vector3<float>>& oxMeshProperties::triangleNormalsImplemented()
{
    if (!m_triangleNormals.computed) {
        computeTriangleNormalsImplemented();
    }
    return m_triangleNormals;
}

oxMeshProperties::tGenericProperty<Wm4::Vector3<float>>& oxMeshProperties::vertexNormalsImplemented()
{
    if (!m_vertexNormals.computed) {
        computeVertexNormalsImplemented();
    }
    return m_vertexNormals;
}

oxMeshProperties::tGenericProperty<unsigned int>& oxMeshProperties::vertexValencyImplemented()
{
    if (!m_vertexValency.computed) {
        computeVertexValencyImplemented();
    }
    return m_vertexValency;
}

oxMeshProperties::tGenericProperty<oxMeshProperties::tCurvature>& oxMeshProperties::curvatureImplemented()
{
    if (!m_curvature.computed) {
        computeCurvatureImplemented();
    }
    return m_curvature;
}

void oxMeshProperties::computeEdgesImplemented()
{
    const unsigned int triangleCount = triangleCountOf(*m_mesh);
    const unsigned int vertexCount = vertexCountOf(*m_mesh);
    const unsigned int* indices = triangleCount > 0 ? m_mesh->GetIndexBuffer()->GetData() : nullptr;

    std::vector<unsigned int> v0, v1, triangleEdges;
    detail::enumerateEdges(indices, triangleCount, vertexCount, v0, v1, triangleEdges);
    const std::size_t edgeCount = v0.size();

    m_edges.edges.assign(edgeCount, tEdge());
    m_edges.triangleEdges.assign(triangleCount, tEdgeProperty::tTriangleEdges());
    m_edges.vertexEdges.assign(vertexCount, std::vector<unsigned int>());

    // Incident lists are sized exactly, then filled from their ends while walking the edges in
    // ascending key order: each list ends up in descending key order.
    std::vector<unsigned int> counter(vertexCount, 0u);
    for (std::size_t e = 0; e < edgeCount; ++e) {
        ++counter[v0[e]];
        ++counter[v1[e]];
    }
    for (unsigned int v = 0; v < vertexCount; ++v) {
        m_edges.vertexEdges[v].resize(counter[v]);
    }
    for (unsigned int e : edgesInKeyOrder(v0, v1, vertexCount)) {
        tEdge& edge = m_edges.edges[e];
        edge.v0 = v0[e];
        edge.v1 = v1[e];
        m_edges.vertexEdges[v0[e]][--counter[v0[e]]] = e;
        m_edges.vertexEdges[v1[e]][--counter[v1[e]]] = e;
    }

    // Triangle slots: t only grows, so t0 ends as the lowest triangle and t1 as the last one met.
    for (unsigned int t = 0; t < triangleCount; ++t) {
        for (unsigned int k = 0; k < 3; ++k) {
            const unsigned int e = triangleEdges[3 * t + k];
            m_edges.triangleEdges[t].e[k] = e;
            tEdge& edge = m_edges.edges[e];
            if (t < edge.t0) {
                edge.t1 = edge.t0;
                edge.t0 = t;
            } else {
                edge.t1 = t;
            }
        }
    }
    m_edges.computed = true;
}

void oxMeshProperties::computeTriangleNormalsImplemented()
{
    const unsigned int triangleCount = triangleCountOf(*m_mesh);
    const oxVertexBuffer& vb = *m_mesh->GetVertexBuffer();
    const oxIndexBuffer* ib = m_mesh->GetIndexBuffer();
    m_triangleNormals.values.assign(triangleCount, Wm4::Vector3<float>());
    for (unsigned int t = 0; t < triangleCount; ++t) {
        const int i = static_cast<int>(3 * t);
        m_triangleNormals.values[t] = detail::triangleUnitNormal(
            vb.Position3((*ib)[i]), vb.Position3((*ib)[i + 1]), vb.Position3((*ib)[i + 2]));
    }
    m_triangleNormals.computed = true;
}

void oxMeshProperties::computeVertexNormalsImplemented()
{
    const unsigned int triangleCount = triangleCountOf(*m_mesh);
    const unsigned int vertexCount = vertexCountOf(*m_mesh);
    std::vector<Wm4::Vector3<float>>& normals = m_vertexNormals.values;
    normals.assign(vertexCount, Wm4::Vector3<float>());
    if (triangleCount > 0) {
        const oxVertexBuffer& vb = *m_mesh->GetVertexBuffer();
        const oxIndexBuffer& ib = *m_mesh->GetIndexBuffer();
        for (unsigned int t = 0; t < triangleCount; ++t) {
            const unsigned int corner[3] = {ib[static_cast<int>(3 * t)], ib[static_cast<int>(3 * t + 1)],
                                            ib[static_cast<int>(3 * t + 2)]};
            const detail::tCornerAngles wedge(vb.Position3(corner[0]), vb.Position3(corner[1]),
                                              vb.Position3(corner[2]));
            const Wm4::Vector3<float> n = detail::unitOrZero(wedge.e01.Cross(wedge.e12));
            if (n == Wm4::Vector3<float>()) {
                continue;  // degenerate: contributes nothing (even where an angle rounds to NaN)
            }
            for (int k = 0; k < 3; ++k) {
                normals[corner[k]] += n * wedge.angle[k];
            }
        }
    }
    for (Wm4::Vector3<float>& n : normals) {
        n = detail::unitOrZero(n);
    }
    m_vertexNormals.computed = true;
}

void oxMeshProperties::computeVertexValencyImplemented()
{
    const tEdgeProperty& table = edgesImplemented();
    m_vertexValency.values.resize(table.vertexEdges.size());
    for (std::size_t v = 0; v < table.vertexEdges.size(); ++v) {
        m_vertexValency.values[v] = static_cast<unsigned int>(table.vertexEdges[v].size());
    }
    m_vertexValency.computed = true;
}

}  // namespace ox
