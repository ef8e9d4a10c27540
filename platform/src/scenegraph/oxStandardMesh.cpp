#include "scenegraph/oxStandardMesh.h"

#include "Wm4/Wm4Math.h"
#include "scenegraph/oxGeometry.h"

#include <algorithm>
#include <cmath>

namespace ox {

oxStandardMesh::oxStandardMesh(const oxAttributes& attributes, bool inside, const oxTransformation* xfrm)
    : m_attributes(attributes), m_inside(inside), m_hasTransform(xfrm != nullptr)
{
    m_attributes.SetPositionChannels(3);
    if (xfrm != nullptr) {
        m_transform = *xfrm;
    }
}

oxTriMesh* oxStandardMesh::build(const std::vector<Wm4::Vector3<float>>& positions,
                                 const std::vector<Wm4::Vector3<float>>& normals,
                                 const std::vector<unsigned int>& triangles) const
{
    const int vertexQuantity = static_cast<int>(positions.size());
    oxVertexBuffer* vb = new oxVertexBuffer(m_attributes, vertexQuantity);
    const bool hasNormals = m_attributes.HasNormal();
    const float normalSign = m_inside ? -1.0f : 1.0f;
    for (int v = 0; v < vertexQuantity; ++v) {
        const std::size_t k = static_cast<std::size_t>(v);
        vb->Position3(v) = m_hasTransform ? m_transform.ApplyForward(positions[k]) : positions[k];
        if (hasNormals) {
            const Wm4::Vector3<float> n = normals[k] * normalSign;
            vb->Normal3(v) = m_hasTransform ? m_transform.ApplyForwardNormal(n) : n;
        }
    }
    // A mirroring transform reverses the winding; so does building an inside-facing mesh.
    const bool mirrored = m_hasTransform && m_transform.GetMatrix().GetMatrix3().Determinant() < 0.0f;
    const bool reverse = m_inside != mirrored;
    const int indexQuantity = static_cast<int>(triangles.size());
    oxIndexBuffer* ib = new oxIndexBuffer(indexQuantity, oxIndexBuffer::IBT_TRIANGLES);
    for (int i = 0; i + 2 < indexQuantity; i += 3) {
        const std::size_t k = static_cast<std::size_t>(i);
        (*ib)[i] = triangles[k];
        (*ib)[i + 1] = triangles[k + (reverse ? 2 : 1)];
        (*ib)[i + 2] = triangles[k + (reverse ? 1 : 2)];
    }
    return new oxGeometry(vb, ib);
}

oxTriMesh* oxStandardMesh::Sphere(int zSamples, int radialSamples, float radius)
{
    zSamples = std::max(zSamples, 3);
    radialSamples = std::max(radialSamples, 3);
    const int rings = zSamples - 2;
    const unsigned int radial = static_cast<unsigned int>(radialSamples);

    // Vertex 0 is the south pole, then the rings from south to north, then the north pole.
    constexpr double kPi = Wm4::Math<double>::PI;
    std::vector<Wm4::Vector3<float>> normals;
    normals.push_back(-Wm4::Vector3<float>::UNIT_Z);
    for (int ring = 1; ring <= rings; ++ring) {
        const double latitude = -0.5 * kPi + kPi * ring / (zSamples - 1);
        for (int j = 0; j < radialSamples; ++j) {
            const double longitude = 2.0 * kPi * j / radialSamples;
            normals.emplace_back(static_cast<float>(std::cos(latitude) * std::cos(longitude)),
                                 static_cast<float>(std::cos(latitude) * std::sin(longitude)),
                                 static_cast<float>(std::sin(latitude)));
        }
    }
    normals.push_back(Wm4::Vector3<float>::UNIT_Z);
    std::vector<Wm4::Vector3<float>> positions;
    for (const Wm4::Vector3<float>& n : normals) {
        positions.push_back(n * radius);
    }

    const unsigned int south = 0;
    const unsigned int north = static_cast<unsigned int>(normals.size() - 1);
    auto ringVertex = [radial](int ring, unsigned int j) {
        return 1 + static_cast<unsigned int>(ring - 1) * radial + j % radial;
    };
    std::vector<unsigned int> triangles;
    for (unsigned int j = 0; j < radial; ++j) {
        // South cap, bands between consecutive rings, north cap; counter-clockwise from outside.
        triangles.insert(triangles.end(), {south, ringVertex(1, j + 1), ringVertex(1, j)});
        for (int ring = 1; ring < rings; ++ring) {
            const unsigned int l0 = ringVertex(ring, j), l1 = ringVertex(ring, j + 1);
            const unsigned int u0 = ringVertex(ring + 1, j), u1 = ringVertex(ring + 1, j + 1);
            triangles.insert(triangles.end(), {l0, l1, u1, l0, u1, u0});
        }
        triangles.insert(triangles.end(), {north, ringVertex(rings, j), ringVertex(rings, j + 1)});
    }
    return build(positions, normals, triangles);
}

oxTriMesh* oxStandardMesh::Box(float xExtent, float yExtent, float zExtent)
{
    const float extent[3] = {xExtent, yExtent, zExtent};
    std::vector<Wm4::Vector3<float>> positions;
    std::vector<Wm4::Vector3<float>> normals;
    std::vector<unsigned int> triangles;
    for (int axis = 0; axis < 3; ++axis) {
        // (u, v, axis) is a right-handed frame, so corners (-u,-v) (+u,-v) (+u,+v) (-u,+v) turn
        // counter-clockwise around +axis; the face on the negative side takes them reversed.
        const int u = (axis + 1) % 3;
        const int v = (axis + 2) % 3;
        for (float side : {1.0f, -1.0f}) {
            const unsigned int first = static_cast<unsigned int>(positions.size());
            Wm4::Vector3<float> normal;
            normal[axis] = side;
            const float su[4] = {-1.0f, 1.0f, 1.0f, -1.0f};
            const float sv[4] = {-1.0f, -1.0f, 1.0f, 1.0f};
            for (int c = 0; c < 4; ++c) {
                Wm4::Vector3<float> corner;
                corner[axis] = side * extent[axis];
                corner[u] = su[c] * extent[u];
                corner[v] = sv[c] * extent[v];
                positions.push_back(corner);
                normals.push_back(normal);
            }
            if (side > 0.0f) {
                triangles.insert(triangles.end(), {first, first + 1, first + 2, first, first + 2, first + 3});
            } else {
                triangles.insert(triangles.end(), {first, first + 2, first + 1, first, first + 3, first + 2});
            }
        }
    }
    return build(positions, normals, triangles);
}

}  // namespace ox
