#include "scenegraph/oxMeshUtils.h"

#include "addons/oxColocate.h"
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

    // Every vertex in visiting order, in world coordinates; then one colocation over all of
    // them: a group's first vertex provides its position and normal.
    std::vector<float> world;
    std::vector<Wm4::Vector3<float>> worldNormals;
    std::vector<std::size_t> firstVertex;
    for (const oxTriMesh* mesh : meshes) {
        const oxVertexBuffer& vb = *mesh->GetVertexBuffer();
        const oxTransformation& transform = mesh->getWorldTransform();
        firstVertex.push_back(world.size() / 3);
        for (int v = 0; v < vb.GetVertexQuantity(); ++v) {
            const Wm4::Vector3<float> position = transform.ApplyForward(vb.Position3(v));
            world.insert(world.end(), {position.X(), position.Y(), position.Z()});
            if (withNormals) {
                worldNormals.push_back(transform.ApplyForwardNormal(vb.Normal3(v)));
            }
        }
    }
    const std::size_t total = world.size() / 3;
    std::vector<unsigned int> representative(total);
    ColocatePoints(world.data(), total, 3, tolerance, representative.data());
    std::vector<unsigned int> group(total);
    std::vector<Wm4::Vector3<float>> positions;
    std::vector<Wm4::Vector3<float>> normals;
    for (std::size_t v = 0; v < total; ++v) {
        if (representative[v] != v) {
            group[v] = group[representative[v]];
            continue;
        }
        group[v] = static_cast<unsigned int>(positions.size());
        positions.emplace_back(world[3 * v], world[3 * v + 1], world[3 * v + 2]);
        if (withNormals) {
            normals.push_back(worldNormals[v]);
        }
    }
    std::vector<unsigned int> triangles;
    for (std::size_t m = 0; m < meshes.size(); ++m) {
        const oxTriMesh* mesh = meshes[m];
        const int vertexQuantity = mesh->GetVertexBuffer()->GetVertexQuantity();
        for (int t = 0; t < mesh->GetTriangleQuantity(); ++t) {
            int corner[3];
            if (!mesh->GetTriangle(t, corner[0], corner[1], corner[2])) {
                continue;
            }
            if (std::any_of(corner, corner + 3,
                            [vertexQuantity](int k) { return k < 0 || k >= vertexQuantity; })) {
                continue;
            }
            const unsigned int a = group[firstVertex[m] + static_cast<std::size_t>(corner[0])];
            const unsigned int b = group[firstVertex[m] + static_cast<std::size_t>(corner[1])];
            const unsigned int c = group[firstVertex[m] + static_cast<std::size_t>(corner[2])];
            if (a == b || b == c || a == c) {
                continue;
            }
            triangles.insert(triangles.end(), {a, b, c});
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
