// Decodes the rows of a PLY body into a MeshData, element by element, reading
// values through an ASCII or binary source (the template parameter), so both
// encodings share one decoder.
#pragma once

#include "formats/MeshData.h"
#include "formats/NarrowToFloat.h"
#include "formats/PlyHeader.h"
#include "formats/PlyLayout.h"
#include "formats/PlyRowContext.h"
#include "formats/ProgressReporter.h"

#include <algorithm>
#include <array>
#include <cstdint>
#include <string>
#include <vector>

namespace oxmesh::ply {

template <class Source>
class BodyDecoder {
public:
    BodyDecoder(const Header& header, const Layout& layout, Source& source, RowContext& context,
                ProgressReporter& progress, MeshData& mesh)
        : m_header(header), m_layout(layout), m_source(source), m_context(context), m_progress(progress),
          m_mesh(mesh)
    {}

    /// Decodes every element in file order, then checks what follows the last one.
    /// O(file size). Throws FileError on truncated or invalid data.
    void run()
    {
        for (std::size_t e = 0; e < m_header.elements.size(); ++e) {
            const Element& element = m_header.elements[e];
            if (element.properties.empty() || element.count == 0)
                continue;  // rows without properties hold no data
            m_context.element = &element.name;
            m_context.count = element.count;
            m_context.row = 0;
            checkFixedRows(element);
            const ElementLayout& plan = m_layout.elements[e];
            switch (plan.kind) {
            case ElementKind::Vertex:
                decodeVertices(element, plan);
                break;
            case ElementKind::Face:
                decodeIndexLists(element, plan, false);
                break;
            case ElementKind::Strips:
                decodeIndexLists(element, plan, true);
                break;
            case ElementKind::Other:
                skipRows(element);
                break;
            }
        }
        m_source.finish();
        flushFaceSizes();
    }

private:
    // Rows of `element` the rest of the data can hold at most: every row takes at
    // least minRowBytes (the last ASCII row may lack its line break). Allocations are
    // capped by this, so a huge declared count costs nothing before the data runs out.
    std::uint64_t rowsThatFit(const Element& element) const
    {
        return (m_source.remaining() + 1) / Source::minRowBytes(element);
    }

    // Reports a truncation known in advance: rows of fixed size that do not all fit.
    void checkFixedRows(const Element& element)
    {
        const std::uint64_t rowBytes = Source::minRowBytes(element);
        if (Source::fixedRowSize(element) && element.count > m_source.remaining() / rowBytes) {
            m_context.row = m_source.remaining() / rowBytes;
            m_context.truncated();
        }
    }

    void startRow(std::uint64_t row)
    {
        m_context.row = row;
        m_progress.at(m_source.offset());
        if (!m_source.beginRow())
            m_context.truncated();
    }

    std::uint64_t readCount(const Property& property)
    {
        const std::int64_t n = m_source.readInteger(property.countType);
        if (n < 0)
            m_context.fail(m_context.where() + " has a negative list count (" + std::to_string(n) + ")");
        return static_cast<std::uint64_t>(n);
    }

    // Reads past one property the mesh does not use.
    void skipProperty(const Property& property)
    {
        if (property.isList)
            m_source.skipList(readCount(property), property.type);
        else
            m_source.skip(property.type);
    }

    void skipRows(const Element& element)
    {
        if (Source::fixedRowSize(element)) {
            m_source.skipFixedRows(element.count, Source::minRowBytes(element));
            return;
        }
        for (std::uint64_t row = 0; row < element.count; ++row) {
            startRow(row);
            for (const Property& property : element.properties)
                skipProperty(property);
            m_source.endRow();
        }
    }

    // Colours stored as integers are scaled to [0, 1] (rounded once, from the exact
    // quotient); floating-point ones are kept as they are.
    static float colorValue(double value, ScalarType type)
    {
        if (type == ScalarType::UInt8)
            return narrowToFloat(value / 255.0);
        if (type == ScalarType::UInt16)
            return narrowToFloat(value / 65535.0);
        return narrowToFloat(value);
    }

    void decodeVertices(const Element& element, const ElementLayout& plan)
    {
        const std::size_t reserve = static_cast<std::size_t>(std::min(element.count, rowsThatFit(element)));
        m_mesh.positions.reserve(3 * reserve);
        if (m_layout.hasNormals)
            m_mesh.normals.reserve(3 * reserve);
        if (m_layout.hasColors)
            m_mesh.colors.reserve(3 * reserve);
        const std::size_t propertyCount = element.properties.size();
        // x y z nx ny nz r g b of the current row, indexed by role.
        float values[static_cast<std::size_t>(Role::Blue) + 1] = {};
        for (std::uint64_t row = 0; row < element.count; ++row) {
            startRow(row);
            for (std::size_t p = 0; p < propertyCount; ++p) {
                const Property& property = element.properties[p];
                const Role role = plan.roles[p];
                if (role == Role::Skip) {
                    skipProperty(property);
                    continue;
                }
                const double value = m_source.readNumber(property.type);
                values[static_cast<std::size_t>(role)] =
                    role >= Role::Red ? colorValue(value, property.type) : narrowToFloat(value);
            }
            m_source.endRow();
            m_mesh.positions.insert(m_mesh.positions.end(), values + 1, values + 4);
            if (m_layout.hasNormals)
                m_mesh.normals.insert(m_mesh.normals.end(), values + 4, values + 7);
            if (m_layout.hasColors)
                m_mesh.colors.insert(m_mesh.colors.end(), values + 7, values + 10);
        }
    }

    // Checks one index against the vertex count; strips may also hold the restart -1.
    void checkIndex(std::int64_t index, bool strips) const
    {
        if (index < 0) {
            if (strips && index == -1)
                return;
            m_context.fail(m_context.where() + " has a negative vertex index (" + std::to_string(index) +
                           ")" + (strips ? " other than the strip restart -1" : ""));
        }
        if (static_cast<std::uint64_t>(index) >= m_layout.vertexCount)
            m_context.fail(m_context.where() + " refers to vertex " + std::to_string(index) +
                           ", but there are " + std::to_string(m_layout.vertexCount) + " vertices");
    }

    void addTriangle(std::int64_t a, std::int64_t b, std::int64_t c)
    {
        m_mesh.triangles.push_back(static_cast<std::uint32_t>(a));
        m_mesh.triangles.push_back(static_cast<std::uint32_t>(b));
        m_mesh.triangles.push_back(static_cast<std::uint32_t>(c));
    }

    // A polygon, triangulated as a fan around its first corner.
    void addPolygon(const std::vector<std::int64_t>& corners)
    {
        const std::size_t n = corners.size();
        for (std::size_t k = 1; k + 1 < n; ++k)
            addTriangle(corners[0], corners[k], corners[k + 1]);
        ++m_mesh.sourceFaces;
        if (n < m_smallFaceSizes.size())
            ++m_smallFaceSizes[n];
        else
            ++m_mesh.faceSizes[static_cast<unsigned>(n)];
    }

    // A list of strips separated by -1. Triangle k of a strip v0 v1 v2 ... is
    // (v_k, v_k+1, v_k+2) for even k and (v_k+1, v_k, v_k+2) for odd k, which keeps
    // the winding consistent; triangles with a repeated corner only join strips and
    // are dropped.
    void addStrips(const std::vector<std::int64_t>& indices)
    {
        std::size_t stripStart = 0;
        for (std::size_t i = 0; i < indices.size(); ++i) {
            if (indices[i] == -1) {
                stripStart = i + 1;
                continue;
            }
            if (i < stripStart + 2)
                continue;
            const std::int64_t a = indices[i - 2], b = indices[i - 1], c = indices[i];
            if (a == b || b == c || a == c)
                continue;
            if ((i - stripStart) % 2 == 0)
                addTriangle(a, b, c);
            else
                addTriangle(b, a, c);
            ++m_mesh.sourceFaces;
            ++m_smallFaceSizes[3];
        }
    }

    void decodeIndexLists(const Element& element, const ElementLayout& plan, bool strips)
    {
        if (!strips) {
            const std::uint64_t rows = std::min(element.count, rowsThatFit(element));
            m_mesh.triangles.reserve(m_mesh.triangles.size() + 3 * static_cast<std::size_t>(rows));
        }
        const std::size_t propertyCount = element.properties.size();
        for (std::uint64_t row = 0; row < element.count; ++row) {
            startRow(row);
            for (std::size_t p = 0; p < propertyCount; ++p) {
                const Property& property = element.properties[p];
                if (plan.roles[p] != Role::Indices) {
                    skipProperty(property);
                    continue;
                }
                m_source.readList(readCount(property), property.type, m_corners);
                for (const std::int64_t index : m_corners)
                    checkIndex(index, strips);
                if (strips)
                    addStrips(m_corners);
                else
                    addPolygon(m_corners);
            }
            m_source.endRow();
        }
    }

    void flushFaceSizes()
    {
        for (std::size_t n = 0; n < m_smallFaceSizes.size(); ++n)
            if (m_smallFaceSizes[n] != 0)
                m_mesh.faceSizes[static_cast<unsigned>(n)] += m_smallFaceSizes[n];
    }

    const Header& m_header;
    const Layout& m_layout;
    Source& m_source;
    RowContext& m_context;
    ProgressReporter& m_progress;
    MeshData& m_mesh;
    std::vector<std::int64_t> m_corners;             // indices of the current row's list
    std::array<std::size_t, 16> m_smallFaceSizes{};  // face size histogram for sizes < 16
};

}  // namespace oxmesh::ply
