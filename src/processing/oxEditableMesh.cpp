#include "processing/oxEditableMesh.h"

#include <cmath>
#include <cstring>

#include "oxMeshLibTypes.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {
namespace detail {

tEditableMesh::tEditableMesh(const oxTriMesh& mesh)
    : layout(mesh.GetVertexBuffer()->GetAttributes()),
      stride(static_cast<std::size_t>(mesh.GetVertexBuffer()->GetChannelQuantity()))
{
    const oxVertexBuffer& vb = *mesh.GetVertexBuffer();
    const float* data = vb.GetData();
    if (data)
        records.assign(data, data + stride * std::size_t(vb.GetVertexQuantity()));
    const oxIndexBuffer& ib = *mesh.GetIndexBuffer();
    const unsigned int* indices = ib.GetData();
    const std::size_t count = 3 * std::size_t(mesh.GetTriangleQuantity());
    if (indices)
        corners.assign(indices, indices + count);
    indexBufferType = ib.GetIndexBufferType();
}

void tEditableMesh::store(oxTriMesh& mesh) const
{
    oxPointer<oxVertexBuffer> vb(new oxVertexBuffer(layout, static_cast<int>(vertexCount())));
    if (!records.empty())
        std::memcpy(vb->GetData(), records.data(), records.size() * sizeof(float));
    oxPointer<oxIndexBuffer> ib(new oxIndexBuffer(static_cast<int>(corners.size())));
    ib->SetIndexBufferType(indexBufferType);
    if (!corners.empty())
        std::memcpy(ib->GetData(), corners.data(), corners.size() * sizeof(unsigned int));
    mesh.SetVertexBuffer(vb.get());
    mesh.SetIndexBuffer(ib.get());
}

unsigned int tEditableMesh::appendAverage(const unsigned int* sources, std::size_t count)
{
    const unsigned int added = static_cast<unsigned int>(vertexCount());
    records.resize(records.size() + stride);
    float* out = &records[std::size_t(added) * stride];
    for (std::size_t k = 0; k < stride; ++k) {
        double sum = 0.0;
        for (std::size_t i = 0; i < count; ++i)
            sum += records[std::size_t(sources[i]) * stride + k];
        out[k] = float(sum / double(count));
    }
    if (layout.HasNormal() && count > 1) {
        float* n = out + layout.GetNormalOffset();
        const double length = std::sqrt(double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2]);
        if (length > 0.0)
            for (std::size_t k = 0; k < 3; ++k)
                n[k] = float(n[k] / length);
    }
    return added;
}

unsigned int tEditableMesh::keepTriangles(const std::vector<std::uint8_t>& drop)
{
    std::size_t kept = 0;
    for (std::size_t t = 0; t < drop.size(); ++t) {
        if (drop[t])
            continue;
        for (std::size_t k = 0; k < 3; ++k)
            corners[3 * kept + k] = corners[3 * t + k];
        ++kept;
    }
    corners.resize(3 * kept);
    return static_cast<unsigned int>(drop.size() - kept);
}

std::size_t tEditableMesh::dropUnusedVertices()
{
    const std::size_t n = vertexCount();
    std::vector<unsigned int> renumbered(n, kNoIndex);
    for (unsigned int v : corners)
        renumbered[v] = 0;
    unsigned int kept = 0;
    for (std::size_t v = 0; v < n; ++v) {
        if (renumbered[v] == kNoIndex)
            continue;
        renumbered[v] = kept;
        if (kept != v)
            std::memmove(&records[std::size_t(kept) * stride], &records[v * stride], stride * sizeof(float));
        ++kept;
    }
    records.resize(std::size_t(kept) * stride);
    for (unsigned int& v : corners)
        v = renumbered[v];
    return n - kept;
}

}  // namespace detail
}  // namespace ox
