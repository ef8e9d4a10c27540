#include "scenegraph/oxTriMesh.h"

namespace ox {

const oxRtti oxTriMesh::TYPE("oxCore.oxTriMesh", &oxTriangles::TYPE);

oxTriMesh::oxTriMesh(oxVertexBuffer* vertexBuffer, oxIndexBuffer* indexBuffer)
    : oxTriangles(vertexBuffer, indexBuffer)
{}

int oxTriMesh::GetTriangleQuantity() const
{
    const oxIndexBuffer* ib = GetIndexBuffer();
    return ib != nullptr ? ib->GetIndexQuantity() / 3 : 0;
}

bool oxTriMesh::GetTriangle(int i, int& a, int& b, int& c) const
{
    if (i < 0 || i >= GetTriangleQuantity()) {
        return false;
    }
    const oxIndexBuffer& ib = *GetIndexBuffer();
    a = static_cast<int>(ib[3 * i]);
    b = static_cast<int>(ib[3 * i + 1]);
    c = static_cast<int>(ib[3 * i + 2]);
    return true;
}

bool oxTriMesh::Clone(oxObject*& target) const
{
    return CloneWith<oxTriMesh>(target, [this](oxObject*& copy) { return oxTriangles::Clone(copy); });
}

oxObject* oxTriMesh::Factory(oxBaseStream& stream)
{
    return LoadNew<oxTriMesh>(stream);
}

}  // namespace ox
