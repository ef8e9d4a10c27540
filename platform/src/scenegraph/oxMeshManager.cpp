#include "scenegraph/oxMeshManager.h"

#include "scenegraph/oxBaseStream.h"
#include "scenegraph/oxGenericGeometry.h"
#include "scenegraph/oxMeshUtils.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxTriMesh.h"
#include "system/oxProgressNotifierInterface.h"

#include <algorithm>
#include <cmath>
#include <cstdint>
#include <string>

namespace ox {

namespace {

/// The triangle mesh to write for `object`: the object itself (`owned` stays null, no reference
/// is taken on the caller's object) or a mesh built from it and held by `owned`. Null when the
/// object has no triangles to write.
const oxTriMesh* meshToWrite(const oxObject* object, oxPointer<oxTriMesh>& owned)
{
    if (const oxTriMesh* mesh = oxDynamicCast<oxTriMesh>(object)) {
        return mesh;
    }
    if (const oxGenericGeometry* generic = oxDynamicCast<oxGenericGeometry>(object)) {
        owned = generic->toTriMesh();
    } else if (const oxNode* node = oxDynamicCast<oxNode>(object)) {
        // The merge refreshes the tree's world transforms, derived data that dumping may update.
        oxPointer<oxSpatial> merged = oxMeshUtils::MergeTreeGeometries(const_cast<oxNode*>(node), -1.0f);
        owned = oxDynamicCast<oxTriMesh>(merged.get());
    }
    return owned.get();
}

unsigned char colorByte(float value)
{
    const float clamped = std::isnan(value) ? 0.0f : std::min(1.0f, std::max(0.0f, value));
    return static_cast<unsigned char>(std::lround(clamped * 255.0f));
}

bool writePly(const oxTriMesh& mesh, oxBaseStream& stream)
{
    const oxVertexBuffer* vb = mesh.GetVertexBuffer();
    const int vertexQuantity = vb != nullptr ? vb->GetVertexQuantity() : 0;
    const bool withPositions = vb != nullptr && vb->GetAttributes().HasPosition();
    const bool withNormals = vb != nullptr && vb->GetAttributes().HasNormal();
    const bool withColors = vb != nullptr && vb->GetAttributes().GetColorChannels(0) >= 3;

    std::string header = "ply\nformat binary_little_endian 1.0\ncomment oxMeshLib debug dump\n";
    header += "element vertex " + std::to_string(vertexQuantity) + "\n";
    header += "property float x\nproperty float y\nproperty float z\n";
    if (withNormals) {
        header += "property float nx\nproperty float ny\nproperty float nz\n";
    }
    if (withColors) {
        header += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    }
    header += "element face " + std::to_string(mesh.GetTriangleQuantity()) + "\n";
    header += "property list uchar int vertex_indices\nend_header\n";
    if (!stream.writele(header.size(), 1, header.data())) {
        return false;
    }

    for (int v = 0; v < vertexQuantity; ++v) {
        const Wm4::Vector3<float> position = withPositions ? vb->Position3(v) : Wm4::Vector3<float>::ZERO;
        stream.writele(3, sizeof(float), static_cast<const float*>(position));
        if (withNormals) {
            stream.writele(3, sizeof(float), static_cast<const float*>(vb->Normal3(v)));
        }
        if (withColors) {
            const Wm4::ColorRGB& color = vb->Color3(0, v);
            const unsigned char rgb[3] = {colorByte(color.R()), colorByte(color.G()), colorByte(color.B())};
            stream.writele(3, 1, rgb);
        }
    }
    for (int t = 0; t < mesh.GetTriangleQuantity(); ++t) {
        int corner[3] = {0, 0, 0};
        mesh.GetTriangle(t, corner[0], corner[1], corner[2]);
        const std::int32_t indices[3] = {corner[0], corner[1], corner[2]};
        stream.writeValue(static_cast<std::uint8_t>(3));
        stream.writele(3, sizeof(std::int32_t), indices);
    }
    return stream.good();
}

}  // namespace

bool oxMeshManager::saveMesh(const oxObject* object, const std::string& path,
                             oxProgressNotifierInterface* progress, unsigned int /*options*/)
{
    if (progress != nullptr) {
        progress->notifyProgress(0.0f);
    }
    oxPointer<oxTriMesh> owned;
    const oxTriMesh* mesh = object != nullptr ? meshToWrite(object, owned) : nullptr;
    if (mesh == nullptr) {
        return false;
    }
    oxBaseStream stream = oxBaseStream::openFileWrite(path);
    const bool written = writePly(*mesh, stream);
    const bool closed = stream.close();
    if (progress != nullptr) {
        progress->notifyProgress(1.0f);
    }
    return written && closed;
}

}  // namespace ox
