#include "scenegraph/oxGenericGeometry.h"

#include "oxPersistenceHelpers.h"
#include "scenegraph/oxGeometry.h"

namespace ox {

const oxRtti oxGenericGeometry::TYPE("oxCore.oxGenericGeometry", &oxSpatial::TYPE);

namespace {

/// Indices per primitive of a set kind.
int cornersOf(int type)
{
    return type == oxIndexBuffer::IBT_QUADS ? 4 : 3;
}

bool isSupportedSetType(int type)
{
    return type == oxIndexBuffer::IBT_TRIANGLES || type == oxIndexBuffer::IBT_QUADS;
}

}  // namespace

void oxGenericGeometry::replace(oxVertexBuffer* vertexBuffer, oxIndexBuffer* triangles, oxIndexBuffer* quads)
{
    m_vertexBuffer = vertexBuffer;
    m_sets.clear();
    if (triangles != nullptr) {
        m_sets.push_back({oxIndexBuffer::IBT_TRIANGLES, triangles});
    }
    if (quads != nullptr) {
        m_sets.push_back({oxIndexBuffer::IBT_QUADS, quads});
    }
}

void oxGenericGeometry::NewTriangles(oxVertexBuffer* vertexBuffer, oxIndexBuffer* triangles)
{
    replace(vertexBuffer, triangles, nullptr);
}

void oxGenericGeometry::NewQuads(oxVertexBuffer* vertexBuffer, oxIndexBuffer* quads)
{
    replace(vertexBuffer, nullptr, quads);
}

void oxGenericGeometry::NewTrianglesAndQuads(oxVertexBuffer* vertexBuffer, oxIndexBuffer* triangles,
                                             oxIndexBuffer* quads)
{
    replace(vertexBuffer, triangles, quads);
}

int oxGenericGeometry::GetPrimitiveType(int i) const
{
    return i >= 0 && i < GetPrimitiveSetQuantity() ? m_sets[static_cast<std::size_t>(i)].type
                                                   : static_cast<int>(oxIndexBuffer::IBT_UNKNOWN);
}

oxIndexBuffer* oxGenericGeometry::GetPrimitiveIndices(int i) const
{
    return i >= 0 && i < GetPrimitiveSetQuantity() ? m_sets[static_cast<std::size_t>(i)].indices.get()
                                                   : nullptr;
}

int oxGenericGeometry::countPrimitives(int type) const
{
    int count = 0;
    for (const PrimitiveSet& set : m_sets) {
        if (set.type == type && set.indices) {
            count += set.indices->GetIndexQuantity() / cornersOf(type);
        }
    }
    return count;
}

int oxGenericGeometry::GetTriangleQuantity() const
{
    return countPrimitives(oxIndexBuffer::IBT_TRIANGLES);
}

int oxGenericGeometry::GetQuadQuantity() const
{
    return countPrimitives(oxIndexBuffer::IBT_QUADS);
}

oxPointer<oxTriMesh> oxGenericGeometry::toTriMesh() const
{
    const int triangleQuantity = GetTriangleQuantity() + 2 * GetQuadQuantity();
    oxPointer<oxIndexBuffer> indices(new oxIndexBuffer(3 * triangleQuantity, oxIndexBuffer::IBT_TRIANGLES));
    int next = 0;
    auto emit = [&](unsigned int a, unsigned int b, unsigned int c) {
        (*indices)[next++] = a;
        (*indices)[next++] = b;
        (*indices)[next++] = c;
    };
    for (const PrimitiveSet& set : m_sets) {
        if (!set.indices) {
            continue;
        }
        const oxIndexBuffer& ib = *set.indices;
        const int corners = cornersOf(set.type);
        const int primitives = ib.GetIndexQuantity() / corners;
        for (int p = 0; p < primitives; ++p) {
            const int base = p * corners;
            emit(ib[base], ib[base + 1], ib[base + 2]);
            if (corners == 4) {
                emit(ib[base], ib[base + 2], ib[base + 3]);
            }
        }
    }
    oxPointer<oxVertexBuffer> vertices = detail::deepCopy(m_vertexBuffer.get());
    oxPointer<oxTriMesh> mesh(new oxGeometry(vertices.get(), indices.get()));
    mesh->SetName(GetName());
    mesh->editLocalTransform(false) = getLocalTransform();
    mesh->editWorldTransform(false) = getWorldTransform();
    return mesh;
}

bool oxGenericGeometry::Load(oxBaseStream& stream)
{
    oxPointer<oxVertexBuffer> vertexBuffer;
    std::uint32_t setQuantity = 0;
    if (!oxSpatial::Load(stream) || !detail::loadOptional(stream, vertexBuffer) ||
        !stream.readValue(setQuantity)) {
        return false;
    }
    std::vector<PrimitiveSet> sets;
    for (std::uint32_t i = 0; i < setQuantity; ++i) {
        PrimitiveSet set;
        std::int32_t type = 0;
        if (!stream.readValue(type) || !isSupportedSetType(type) ||
            !detail::loadOptional(stream, set.indices)) {
            return false;
        }
        set.type = type;
        sets.push_back(set);
    }
    m_vertexBuffer = vertexBuffer;
    m_sets = std::move(sets);
    return true;
}

bool oxGenericGeometry::Save(oxBaseStream& stream) const
{
    if (!oxSpatial::Save(stream) || !detail::saveOptional(stream, m_vertexBuffer.get()) ||
        !stream.writeValue(static_cast<std::uint32_t>(m_sets.size()))) {
        return false;
    }
    for (const PrimitiveSet& set : m_sets) {
        if (!stream.writeValue(static_cast<std::int32_t>(set.type)) ||
            !detail::saveOptional(stream, set.indices.get())) {
            return false;
        }
    }
    return true;
}

bool oxGenericGeometry::Equals(const oxObject* other) const
{
    if (!oxSpatial::Equals(other)) {
        return false;
    }
    const oxGenericGeometry* geometry = static_cast<const oxGenericGeometry*>(other);
    if (!detail::sameContent(m_vertexBuffer.get(), geometry->m_vertexBuffer.get()) ||
        m_sets.size() != geometry->m_sets.size()) {
        return false;
    }
    for (std::size_t i = 0; i < m_sets.size(); ++i) {
        if (m_sets[i].type != geometry->m_sets[i].type ||
            !detail::sameContent(m_sets[i].indices.get(), geometry->m_sets[i].indices.get())) {
            return false;
        }
    }
    return true;
}

bool oxGenericGeometry::Clone(oxObject*& target) const
{
    return CloneWith<oxGenericGeometry>(target, [this](oxObject*& copy) {
        if (!oxSpatial::Clone(copy)) {
            return false;
        }
        oxGenericGeometry* geometry = static_cast<oxGenericGeometry*>(copy);
        geometry->m_vertexBuffer = detail::deepCopy(m_vertexBuffer.get());
        geometry->m_sets.clear();
        for (const PrimitiveSet& set : m_sets) {
            geometry->m_sets.push_back({set.type, detail::deepCopy(set.indices.get())});
        }
        return true;
    });
}

oxObject* oxGenericGeometry::Factory(oxBaseStream& stream)
{
    return LoadNew<oxGenericGeometry>(stream);
}

}  // namespace ox
