// The side-bucketing edge table and the edge enumeration built on it.
#include "processing/oxEdgeSides.h"

#include <algorithm>

#include "oxMeshLibTypes.h"

namespace ox {
namespace detail {

namespace {

/// Sorts one bucket: insertion sort for the few sides around a typical vertex.
void sortBucket(std::uint64_t* begin, std::uint64_t* end)
{
    if (end - begin > 24) {
        std::sort(begin, end);
        return;
    }
    for (std::uint64_t* i = begin + 1; i < end; ++i) {
        const std::uint64_t key = *i;
        std::uint64_t* j = i;
        for (; j > begin && *(j - 1) > key; --j)
            *j = *(j - 1);
        *j = key;
    }
}

}  // namespace

tEdgeSides::tEdgeSides(std::size_t vertexCount, const unsigned int* corners, std::size_t cornerCount)
    : m_corners(corners), m_next(nullptr)
{
    build(vertexCount, cornerCount);
}

tEdgeSides::tEdgeSides(std::size_t vertexCount, const unsigned int* corners, std::size_t cornerCount,
                       const unsigned int* next)
    : m_corners(corners), m_next(next)
{
    build(vertexCount, cornerCount);
}

void tEdgeSides::build(std::size_t vertexCount, std::size_t cornerCount)
{
    m_start.assign(vertexCount + 1, 0);
    for (std::size_t c = 0; c < cornerCount; ++c) {
        const unsigned int a = m_corners[c], b = m_corners[nextCorner(static_cast<unsigned int>(c))];
        ++m_start[std::min(a, b) + 1];
    }
    for (std::size_t v = 0; v < vertexCount; ++v)
        m_start[v + 1] += m_start[v];
    std::vector<std::size_t> fill(m_start.begin(), m_start.end() - 1);
    m_keys.resize(cornerCount);
    for (std::size_t c = 0; c < cornerCount; ++c) {
        const unsigned int a = m_corners[c], b = m_corners[nextCorner(static_cast<unsigned int>(c))];
        m_keys[fill[std::min(a, b)]++] = std::uint64_t(std::max(a, b)) << 32 | c;
    }
    for (std::size_t v = 0; v < vertexCount; ++v)
        sortBucket(m_keys.data() + m_start[v], m_keys.data() + m_start[v + 1]);
}

void enumerateEdges(const unsigned int* indices, unsigned int triangleCount, unsigned int vertexCount,
                    std::vector<unsigned int>& v0, std::vector<unsigned int>& v1,
                    std::vector<unsigned int>& triangleEdges)
{
    const std::size_t corners = 3 * std::size_t(triangleCount);
    // Edges in table order first, then renumbered by their first side.
    std::vector<unsigned int> edgeOfSide(corners), lo, hi;
    unsigned int tableEdges = 0;
    tEdgeSides(vertexCount, indices, corners)
        .forEachEdge([&](unsigned int a, unsigned int b, const std::uint64_t* sides, std::size_t count) {
            for (std::size_t i = 0; i < count; ++i)
                edgeOfSide[tEdgeSides::side(sides[i])] = tableEdges;
            lo.push_back(a);
            hi.push_back(b);
            ++tableEdges;
        });
    std::vector<unsigned int> number(tableEdges, kNoIndex);
    v0.clear();
    v1.clear();
    v0.reserve(tableEdges);
    v1.reserve(tableEdges);
    triangleEdges.resize(corners);
    for (std::size_t c = 0; c < corners; ++c) {
        unsigned int& e = number[edgeOfSide[c]];
        if (e == kNoIndex) {
            e = static_cast<unsigned int>(v0.size());
            v0.push_back(lo[edgeOfSide[c]]);
            v1.push_back(hi[edgeOfSide[c]]);
        }
        triangleEdges[c] = e;
    }
}

}  // namespace detail
}  // namespace ox
