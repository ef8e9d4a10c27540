#include "scenegraph/oxSceneGraphFactories.h"

#include "scenegraph/oxGenericGeometry.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxTriMesh.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

namespace {

struct FactoryEntry {
    const oxRtti& type;
    oxRttiInterface::FactoryFunction factory;
};

const FactoryEntry kFactories[] = {
    {oxVertexBuffer::TYPE, &oxVertexBuffer::Factory},
    {oxIndexBuffer::TYPE, &oxIndexBuffer::Factory},
    {oxTriMesh::TYPE, &oxTriMesh::Factory},
    {oxGeometry::TYPE, &oxGeometry::Factory},
    {oxNode::TYPE, &oxNode::Factory},
    {oxGenericGeometry::TYPE, &oxGenericGeometry::Factory},
};

}  // namespace

void oxRegisterSceneGraphFactories()
{
    for (const FactoryEntry& entry : kFactories) {
        oxRttiInterface::RegisterFactoryFunction(entry.type.GetName(), entry.factory);
    }
}

void oxUnregisterSceneGraphFactories()
{
    for (const FactoryEntry& entry : kFactories) {
        oxRttiInterface::UnregisterFactoryFunction(entry.type.GetName());
    }
}

}  // namespace ox
