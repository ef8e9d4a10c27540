#include "scenegraph/oxGeometry.h"

namespace ox {

const oxRtti oxGeometry::TYPE("oxCore.oxGeometry", &oxTriMesh::TYPE);

oxGeometry::oxGeometry(oxVertexBuffer* vertexBuffer, oxIndexBuffer* indexBuffer)
    : oxTriMesh(vertexBuffer, indexBuffer)
{}

bool oxGeometry::Load(oxBaseStream& stream)
{
    return oxTriMesh::Load(stream);
}

bool oxGeometry::Save(oxBaseStream& stream) const
{
    return oxTriMesh::Save(stream);
}

void oxGeometry::PostLink()
{
    oxTriMesh::PostLink();
}

bool oxGeometry::Equals(const oxObject* other) const
{
    return oxTriMesh::Equals(other);
}

bool oxGeometry::Clone(oxObject*& target) const
{
    return CloneWith<oxGeometry>(target, [this](oxObject*& copy) { return oxTriMesh::Clone(copy); });
}

oxObject* oxGeometry::Factory(oxBaseStream& stream)
{
    return LoadNew<oxGeometry>(stream);
}

}  // namespace ox
