// Decodes the rows of a PLY body into a MeshData, element by element, reading
// values through an ASCII or binary source (the template parameter), so both
// encodings share one decoder.
#pragma once

#include "io/MeshData.h"
#include "io/NarrowToFloat.h"
#include "io/PlyHeader.h"
#include "io/PlyLayout.h"
#include "io/PlyRowContext.h"
#include "io/ProgressReporter.h"

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
        : header_(header), layout_(layout), source_(source), context_(context), progress_(progress),
          mesh_(mesh)
    {}

    /// Decodes every element in file order, then checks what follows the last one.
    /// O(file size). Throws InputError on truncated or invalid data.
    void run()
    {
        for (std::size_t e = 0; e < header_.elements.size(); ++e) {
            const Element& element = header_.elements[e];
            if (element.properties.empty() || element.count == 0)
                continue;  // rows without properties hold no data
            context_.element = &element.name;
            context_.count = element.count;
            context_.row = 0;
            checkFixedRows(element);
            const ElementLayout& plan = layout_.elements[e];
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
        source_.finish();
        flushFaceSizes();
    }

private:
    // Rows of `element` the rest of the data can hold at most: every row takes at
    // least minRowBytes (the last ASCII row may lack its line break). Allocations are
    // capped by this, so a huge declared count costs nothing before the data runs out.
    std::uint64_t rowsThatFit(const Element& element) const
    {
        return (source_.remaining() + 1) / Source::minRowBytes(element);
    }

    // Reports a truncation known in advance: rows of fixed size that do not all fit.
    void checkFixedRows(const Element& element)
    {
        const std::uint64_t rowBytes = Source::minRowBytes(element);
        if (Source::fixedRowSize(element) && element.count > source_.remaining() / rowBytes) {
            context_.row = source_.remaining() / rowBytes;
            context_.truncated();
        }
    }

    void startRow(std::uint64_t row)
    {
        context_.row = row;
        progress_.at(source_.offset());
        if (!source_.beginRow())
            context_.truncated();
    }

    std::uint64_t readCount(const Property& property)
    {
        const std::int64_t n = source_.readInteger(property.countType);
        if (n < 0)
            context_.fail(context_.where() + " has a negative list count (" + std::to_string(n) + ")");
        return static_cast<std::uint64_t>(n);
    }

    // Reads past one property the mesh does not use.
    void skipProperty(const Property& property)
    {
        if (property.isList)
            source_.skipList(readCount(property), property.type);
        else
            source_.skip(property.type);
    }

    void skipRows(const Element& element)
    {
        if (Source::fixedRowSize(element)) {
            source_.skipFixedRows(element.count, Source::minRowBytes(element));
            return;
        }
        for (std::uint64_t row = 0; row < element.count; ++row) {
            startRow(row);
            for (const Property& property : element.properties)
                skipProperty(property);
            source_.endRow();
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
        mesh_.positions.reserve(3 * reserve);
        if (layout_.hasNormals)
            mesh_.normals.reserve(3 * reserve);
        if (layout_.hasColors)
            mesh_.colors.reserve(3 * reserve);
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
                const double value = source_.readNumber(property.type);
                values[static_cast<std::size_t>(role)] =
                    role >= Role::Red ? colorValue(value, property.type) : narrowToFloat(value);
            }
            source_.endRow();
            mesh_.positions.insert(mesh_.positions.end(), values + 1, values + 4);
            if (layout_.hasNormals)
                mesh_.normals.insert(mesh_.normals.end(), values + 4, values + 7);
            if (layout_.hasColors)
                mesh_.colors.insert(mesh_.colors.end(), values + 7, values + 10);
        }
    }

    // Checks one index against the vertex count; strips may also hold the restart -1.
    void checkIndex(std::int64_t index, bool strips) const
    {
        if (index < 0) {
            if (strips && index == -1)
                return;
            context_.fail(context_.where() + " has a negative vertex index (" + std::to_string(index) + ")" +
                          (strips ? " other than the strip restart -1" : ""));
        }
        if (static_cast<std::uint64_t>(index) >= layout_.vertexCount)
            context_.fail(context_.where() + " refers to vertex " + std::to_string(index) +
                          ", but there are " + std::to_string(layout_.vertexCount) + " vertices");
    }

    void addTriangle(std::int64_t a, std::int64_t b, std::int64_t c)
    {
        mesh_.triangles.push_back(static_cast<std::uint32_t>(a));
        mesh_.triangles.push_back(static_cast<std::uint32_t>(b));
        mesh_.triangles.push_back(static_cast<std::uint32_t>(c));
    }

    // A polygon, triangulated as a fan around its first corner.
    void addPolygon(const std::vector<std::int64_t>& corners)
    {
        const std::size_t n = corners.size();
        for (std::size_t k = 1; k + 1 < n; ++k)
            addTriangle(corners[0], corners[k], corners[k + 1]);
        ++mesh_.sourceFaces;
        if (n < smallFaceSizes_.size())
            ++smallFaceSizes_[n];
        else
            ++mesh_.faceSizes[static_cast<unsigned>(n)];
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
            ++mesh_.sourceFaces;
            ++smallFaceSizes_[3];
        }
    }

    void decodeIndexLists(const Element& element, const ElementLayout& plan, bool strips)
    {
        if (!strips) {
            const std::uint64_t rows = std::min(element.count, rowsThatFit(element));
            mesh_.triangles.reserve(mesh_.triangles.size() + 3 * static_cast<std::size_t>(rows));
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
                source_.readList(readCount(property), property.type, corners_);
                for (const std::int64_t index : corners_)
                    checkIndex(index, strips);
                if (strips)
                    addStrips(corners_);
                else
                    addPolygon(corners_);
            }
            source_.endRow();
        }
    }

    void flushFaceSizes()
    {
        for (std::size_t n = 0; n < smallFaceSizes_.size(); ++n)
            if (smallFaceSizes_[n] != 0)
                mesh_.faceSizes[static_cast<unsigned>(n)] += smallFaceSizes_[n];
    }

    const Header& header_;
    const Layout& layout_;
    Source& source_;
    RowContext& context_;
    ProgressReporter& progress_;
    MeshData& mesh_;
    std::vector<std::int64_t> corners_;             // indices of the current row's list
    std::array<std::size_t, 16> smallFaceSizes_{};  // face size histogram for sizes < 16
};

}  // namespace oxmesh::ply
