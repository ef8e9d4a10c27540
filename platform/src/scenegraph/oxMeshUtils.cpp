#include "scenegraph/oxMeshUtils.h"

#include "oxVertexWelder.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxNode.h"

#include <algorithm>
#include <cassert>
#include <vector>

namespace ox {

namespace {

/// Copies the common leading channels of one attribute kind (offsets -1 when absent).
void copyChannels(const float* src, int srcOffset, int srcChannels, float* dst, int dstOffset,
                  int dstChannels)
{
    if (srcOffset < 0 || dstOffset < 0) {
        return;
    }
    std::copy_n(src + srcOffset, std::min(srcChannels, dstChannels), dst + dstOffset);
}

/// Appends the meshes of the subtree under `spatial` to `meshes`, depth first.
void collectMeshes(oxSpatial* spatial, std::vector<oxTriMesh*>& meshes)
{
    if (oxTriMesh* mesh = oxDynamicCast<oxTriMesh>(spatial)) {
        meshes.push_back(mesh);
        return;
    }
    if (oxNode* node = oxDynamicCast<oxNode>(spatial)) {
        for (int i = 0; i < node->getNoChildren(); ++i) {
            collectMeshes(node->getChild(i).get(), meshes);
        }
    }
}

bool isMergeable(const oxTriMesh* mesh)
{
    const oxVertexBuffer* vb = mesh->GetVertexBuffer();
    return vb != nullptr && vb->GetAttributes().HasPosition() && mesh->GetIndexBuffer() != nullptr;
}

}  // namespace

void oxMeshUtils::CopyVertexData(const oxVertexBuffer* src, oxVertexBuffer* dst, int srcIndex, int dstIndex)
{
    assert(src != nullptr && dst != nullptr);
    const oxAttributes& s = src->GetAttributes();
    const oxAttributes& d = dst->GetAttributes();
    const float* from = src->GetVertexData(srcIndex);
    float* to = dst->GetVertexData(dstIndex);
    copyChannels(from, s.GetPositionOffset(), s.GetPositionChannels(), to, d.GetPositionOffset(),
                 d.GetPositionChannels());
    copyChannels(from, s.GetNormalOffset(), s.GetNormalChannels(), to, d.GetNormalOffset(),
                 d.GetNormalChannels());
    for (int unit = 0; unit < oxAttributes::GetMaxColors(); ++unit) {
        copyChannels(from, s.GetColorOffset(unit), s.GetColorChannels(unit), to, d.GetColorOffset(unit),
                     d.GetColorChannels(unit));
    }
    for (int unit = 0; unit < oxAttributes::GetMaxTCoords(); ++unit) {
        copyChannels(from, s.GetTCoordOffset(unit), s.GetTCoordChannels(unit), to, d.GetTCoordOffset(unit),
                     d.GetTCoordChannels(unit));
    }
    copyChannels(from, s.GetTangentOffset(), s.GetTangentChannels(), to, d.GetTangentOffset(),
                 d.GetTangentChannels());
    copyChannels(from, s.GetPSizeOffset(), s.GetPSizeChannels(), to, d.GetPSizeOffset(),
                 d.GetPSizeChannels());
}

oxPointer<oxSpatial> oxMeshUtils::MergeNodeGeometries(oxPointer<oxSpatial> root, float tolerance)
{
    return MergeTreeGeometries(root.get(), tolerance);
}

oxPointer<oxSpatial> oxMeshUtils::MergeTreeGeometries(oxSpatial* root, float tolerance)
{
    if (root == nullptr) {
        return oxPointer<oxSpatial>();
    }
    root->updateWorldTransforms();
    std::vector<oxTriMesh*> meshes;
    collectMeshes(root, meshes);
    meshes.erase(
        std::remove_if(meshes.begin(), meshes.end(), [](const oxTriMesh* m) { return !isMergeable(m); }),
        meshes.end());

    bool withNormals = !meshes.empty();
    for (const oxTriMesh* mesh : meshes) {
        withNormals = withNormals && mesh->GetVertexBuffer()->GetAttributes().HasNormal();
    }

    // Weld in visiting order; a cluster's first vertex provides its position and normal.
    detail::oxVertexWelder welder(tolerance);
    std::vector<Wm4::Vector3<float>> positions;
    std::vector<Wm4::Vector3<float>> normals;
    std::vector<unsigned int> triangles;
    std::vector<int> clusterOf;
    for (const oxTriMesh* mesh : meshes) {
        const oxVertexBuffer& vb = *mesh->GetVertexBuffer();
        const oxTransformation& world = mesh->getWorldTransform();
        const int vertexQuantity = vb.GetVertexQuantity();
        clusterOf.assign(static_cast<std::size_t>(vertexQuantity), -1);
        for (int v = 0; v < vertexQuantity; ++v) {
            const Wm4::Vector3<float> position = world.ApplyForward(vb.Position3(v));
            bool isNew = false;
            clusterOf[static_cast<std::size_t>(v)] = welder.add(position, isNew);
            if (isNew) {
                positions.push_back(position);
                if (withNormals) {
                    normals.push_back(world.ApplyForwardNormal(vb.Normal3(v)));
                }
            }
        }
        for (int t = 0; t < mesh->GetTriangleQuantity(); ++t) {
            int corner[3];
            if (!mesh->GetTriangle(t, corner[0], corner[1], corner[2])) {
                continue;
            }
            if (std::any_of(corner, corner + 3,
                            [vertexQuantity](int k) { return k < 0 || k >= vertexQuantity; })) {
                continue;
            }
            const int a = clusterOf[static_cast<std::size_t>(corner[0])];
            const int b = clusterOf[static_cast<std::size_t>(corner[1])];
            const int c = clusterOf[static_cast<std::size_t>(corner[2])];
            if (a == b || b == c || a == c) {
                continue;
            }
            triangles.insert(triangles.end(), {static_cast<unsigned int>(a), static_cast<unsigned int>(b),
                                               static_cast<unsigned int>(c)});
        }
    }

    oxAttributes attributes;
    attributes.SetPositionChannels(3);
    if (withNormals) {
        attributes.SetNormalChannels(3);
    }
    const int vertexQuantity = static_cast<int>(positions.size());
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(attributes, vertexQuantity));
    for (int v = 0; v < vertexQuantity; ++v) {
        vb->Position3(v) = positions[static_cast<std::size_t>(v)];
        if (withNormals) {
            vb->Normal3(v) = normals[static_cast<std::size_t>(v)];
        }
    }
    oxPointer<oxIndexBuffer> ib(
        new oxIndexBuffer(static_cast<int>(triangles.size()), oxIndexBuffer::IBT_TRIANGLES));
    std::copy(triangles.begin(), triangles.end(), ib->GetData());
    return oxPointer<oxSpatial>(new oxGeometry(vb.get(), ib.get()));
}

}  // namespace ox
