#include "formats/SceneConversion.h"

#include <algorithm>
#include <limits>
#include <stdexcept>
#include <vector>

#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxNode.h"
#include "scenegraph/oxTransformation.h"
#include "scenegraph/oxVertexBuffer.h"

namespace oxmesh {
namespace {

int countAsInt(std::size_t count, const char* what)
{
    if (count > std::size_t(std::numeric_limits<int>::max()))
        throw std::length_error(std::string("too many ") + what + " for a library mesh");
    return int(count);
}

}  // namespace

ox::oxVertexBuffer* toVertexBuffer(const MeshData& mesh, bool withNormals)
{
    ox::oxAttributes attributes;
    attributes.SetPositionChannels(3);
    if (mesh.hasNormals() || withNormals)
        attributes.SetNormalChannels(3);
    if (mesh.hasColors())
        attributes.SetColorChannels(0, 3);
    const int count = countAsInt(mesh.vertexCount(), "vertices");
    auto* buffer = new ox::oxVertexBuffer(attributes, count);
    for (int v = 0; v < count; ++v) {
        const std::size_t at = 3 * std::size_t(v);
        buffer->Position3(v) = Wm4::Vector3<float>(&mesh.positions[at]);
        if (mesh.hasNormals())
            buffer->Normal3(v) = Wm4::Vector3<float>(&mesh.normals[at]);
        if (mesh.hasColors())
            buffer->Color3(0, v) = Wm4::ColorRGB(mesh.colors[at], mesh.colors[at + 1], mesh.colors[at + 2]);
    }
    return buffer;
}

namespace {

ox::oxIndexBuffer* toIndexBuffer(const MeshData& mesh)
{
    auto* buffer =
        new ox::oxIndexBuffer(countAsInt(mesh.triangles.size(), "indices"), ox::oxIndexBuffer::IBT_TRIANGLES);
    for (std::size_t i = 0; i < mesh.triangles.size(); ++i)
        (*buffer)[int(i)] = mesh.triangles[i];
    return buffer;
}

/// The buffers of every mesh of the scene, made once and shared by all of its instances.
struct SharedBuffers {
    std::vector<ox::oxPointer<ox::oxVertexBuffer>> vertices;
    std::vector<ox::oxPointer<ox::oxIndexBuffer>> indices;
};

ox::oxNode* toNode(const SceneNode& source, const SceneData& scene, const SharedBuffers& buffers)
{
    auto* node = new ox::oxNode();
    node->SetName(source.name);
    node->editLocalTransform().SetMatrix(Wm4::Matrix4<float>(source.transform.data()));
    for (std::size_t index : source.meshes) {
        if (index >= scene.meshes.size())
            continue;
        auto* geometry = new ox::oxGeometry(buffers.vertices[index].get(), buffers.indices[index].get());
        geometry->SetName(source.name);
        node->attachChild(geometry);
    }
    for (const SceneNode& child : source.children)
        node->attachChild(toNode(child, scene, buffers));
    return node;
}

}  // namespace

ox::oxGeometry* toGeometry(const MeshData& mesh)
{
    const ox::oxPointer<ox::oxVertexBuffer> vertices(toVertexBuffer(mesh));
    const ox::oxPointer<ox::oxIndexBuffer> indices(toIndexBuffer(mesh));
    return new ox::oxGeometry(vertices.get(), indices.get());
}

ox::oxPointer<ox::oxSpatial> toSceneGraph(const SceneData& scene)
{
    SharedBuffers buffers;
    for (const MeshData& mesh : scene.meshes) {
        buffers.vertices.emplace_back(toVertexBuffer(mesh));
        buffers.indices.emplace_back(toIndexBuffer(mesh));
    }
    ox::oxPointer<ox::oxSpatial> root(toNode(scene.root, scene, buffers));
    root->updateWorldTransforms();
    return root;
}

MeshData fromVertexBuffer(const ox::oxVertexBuffer* vertices)
{
    MeshData data;
    data.format = "oxTriMesh";
    if (vertices) {
        const ox::oxAttributes& attributes = vertices->GetAttributes();
        const int count = vertices->GetVertexQuantity();
        const bool normals = attributes.GetNormalChannels() == 3;
        const int colorChannels = attributes.GetColorChannels(0);
        for (int v = 0; v < count; ++v) {
            const Wm4::Vector3<float>& p = vertices->Position3(v);
            data.positions.insert(data.positions.end(), {p.X(), p.Y(), p.Z()});
            if (normals) {
                const Wm4::Vector3<float>& n = vertices->Normal3(v);
                data.normals.insert(data.normals.end(), {n.X(), n.Y(), n.Z()});
            }
            if (colorChannels == 3) {
                const Wm4::ColorRGB& c = vertices->Color3(0, v);
                data.colors.insert(data.colors.end(), {c.R(), c.G(), c.B()});
            } else if (colorChannels == 4) {
                const Wm4::ColorRGBA& c = vertices->Color4(0, v);
                data.colors.insert(data.colors.end(), {c.R(), c.G(), c.B()});
            }
        }
    }
    return data;
}

MeshData fromTriMesh(const ox::oxTriMesh& mesh)
{
    MeshData data = fromVertexBuffer(mesh.GetVertexBuffer());
    const int triangles = mesh.GetTriangleQuantity();
    data.triangles.reserve(3 * std::size_t(std::max(triangles, 0)));
    for (int t = 0; t < triangles; ++t) {
        int a = 0, b = 0, c = 0;
        if (!mesh.GetTriangle(t, a, b, c))
            continue;
        data.triangles.insert(data.triangles.end(), {std::uint32_t(a), std::uint32_t(b), std::uint32_t(c)});
    }
    data.sourceFaces = data.triangleCount();
    if (data.sourceFaces)
        data.faceSizes[3] = data.sourceFaces;
    return data;
}

}  // namespace oxmesh
