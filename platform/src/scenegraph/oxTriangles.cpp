#include "scenegraph/oxTriangles.h"

#include "Wm4/Wm4Eigen.h"
#include "Wm4/Wm4Math.h"
#include "Wm4/Wm4Matrix3.h"
#include "oxPersistenceHelpers.h"

namespace ox {

const oxRtti oxTriangles::TYPE("oxCore.oxTriangles", &oxSpatial::TYPE);

using detail::deepCopy;
using detail::loadOptional;
using detail::sameContent;
using detail::saveOptional;

oxTriangles::oxTriangles(oxVertexBuffer* vertexBuffer, oxIndexBuffer* indexBuffer)
    : m_vertexBuffer(vertexBuffer), m_indexBuffer(indexBuffer)
{}

void oxTriangles::GenerateNormals()
{
    oxVertexBuffer* vb = m_vertexBuffer.get();
    if (vb == nullptr || !vb->GetAttributes().HasNormal() || !vb->GetAttributes().HasPosition()) {
        return;
    }
    const int vertexQuantity = vb->GetVertexQuantity();
    for (int v = 0; v < vertexQuantity; ++v) {
        vb->Normal3(v) = Wm4::Vector3<float>::ZERO;
    }
    const int triangleQuantity = GetTriangleQuantity();
    for (int t = 0; t < triangleQuantity; ++t) {
        int corner[3];
        if (!GetTriangle(t, corner[0], corner[1], corner[2])) {
            continue;
        }
        bool valid = true;
        for (int k : corner) {
            valid = valid && k >= 0 && k < vertexQuantity;
        }
        if (!valid) {
            continue;
        }
        // The unnormalised cross product has length twice the area: area weighting for free.
        const Wm4::Vector3<float>& p0 = vb->Position3(corner[0]);
        const Wm4::Vector3<float> faceNormal =
            (vb->Position3(corner[1]) - p0).Cross(vb->Position3(corner[2]) - p0);
        for (int k : corner) {
            vb->Normal3(k) += faceNormal;
        }
    }
    for (int v = 0; v < vertexQuantity; ++v) {
        vb->Normal3(v).Normalize();
    }
}

Wm4::Box3<float> oxTriangles::ComputePCA() const
{
    const oxVertexBuffer* vb = m_vertexBuffer.get();
    if (vb == nullptr || !vb->GetAttributes().HasPosition() || vb->GetVertexQuantity() == 0) {
        return Wm4::Box3<float>();
    }
    const int n = vb->GetVertexQuantity();

    // Mean and covariance accumulated in double: float sums lose the spread of large meshes.
    Wm4::Vector3<double> mean;
    for (int v = 0; v < n; ++v) {
        mean += Wm4::Vector3<double>(vb->Position3(v));
    }
    mean /= static_cast<double>(n);
    Wm4::Matrix3<double> covariance;
    Wm4::Matrix3<double> outer;
    for (int v = 0; v < n; ++v) {
        const Wm4::Vector3<double> d = Wm4::Vector3<double>(vb->Position3(v)) - mean;
        covariance += outer.MakeTensorProduct(d, d);
    }
    covariance /= static_cast<double>(n);

    Wm4::Eigen<float> solver(3);
    for (int r = 0; r < 3; ++r) {
        for (int c = 0; c < 3; ++c) {
            solver(r, c) = static_cast<float>(covariance(r, c));
        }
    }
    solver.DecrSortEigenStuff3();

    Wm4::Box3<float> box;
    const Wm4::Vector3<float> centroid(mean);
    float lower[3];
    float upper[3];
    for (int i = 0; i < 3; ++i) {
        solver.GetEigenvector(i, box.Axis[i]);
        lower[i] = Wm4::Math<float>::MAX_REAL;
        upper[i] = -Wm4::Math<float>::MAX_REAL;
    }
    for (int v = 0; v < n; ++v) {
        const Wm4::Vector3<float> d = vb->Position3(v) - centroid;
        for (int i = 0; i < 3; ++i) {
            const float t = d.Dot(box.Axis[i]);
            lower[i] = t < lower[i] ? t : lower[i];
            upper[i] = t > upper[i] ? t : upper[i];
        }
    }
    box.Center = centroid;
    for (int i = 0; i < 3; ++i) {
        box.Center += box.Axis[i] * (0.5f * (lower[i] + upper[i]));
        box.Extent[i] = 0.5f * (upper[i] - lower[i]);
    }
    return box;
}

oxBBox oxTriangles::computeBBox() const
{
    oxBBox box;
    const oxVertexBuffer* vb = m_vertexBuffer.get();
    if (vb == nullptr || !vb->GetAttributes().HasPosition()) {
        return box;
    }
    for (int v = 0; v < vb->GetVertexQuantity(); ++v) {
        box.selfExpand(vb->Position3(v));
    }
    return box;
}

bool oxTriangles::Load(oxBaseStream& stream)
{
    return oxSpatial::Load(stream) && loadOptional(stream, m_vertexBuffer) &&
           loadOptional(stream, m_indexBuffer);
}

bool oxTriangles::Save(oxBaseStream& stream) const
{
    return oxSpatial::Save(stream) && saveOptional(stream, m_vertexBuffer.get()) &&
           saveOptional(stream, m_indexBuffer.get());
}

bool oxTriangles::Equals(const oxObject* other) const
{
    if (!oxSpatial::Equals(other)) {
        return false;
    }
    const oxTriangles* triangles = static_cast<const oxTriangles*>(other);
    return sameContent(m_vertexBuffer.get(), triangles->m_vertexBuffer.get()) &&
           sameContent(m_indexBuffer.get(), triangles->m_indexBuffer.get());
}

bool oxTriangles::Clone(oxObject*& target) const
{
    if (!oxSpatial::Clone(target)) {
        return false;
    }
    oxTriangles* triangles = static_cast<oxTriangles*>(target);
    triangles->m_vertexBuffer = deepCopy(m_vertexBuffer.get());
    triangles->m_indexBuffer = deepCopy(m_indexBuffer.get());
    return true;
}

}  // namespace ox
