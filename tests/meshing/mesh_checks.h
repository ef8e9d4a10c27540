// Topology and orientation checks on indexed triangle lists, shared by the meshing tests.
#pragma once

#include <array>
#include <cstdint>
#include <map>
#include <set>
#include <vector>

#include "Wm4/Wm4Vector3.h"

namespace oxtest {

struct tTopology {
    std::size_t directedEdges = 0;
    std::size_t badEdges = 0;    ///< directed edges used twice, or without their reverse
    std::size_t degenerate = 0;  ///< triangles with a repeated index
    long euler = 0;              ///< V - E + F over the referenced vertices
    bool closedAndOriented() const { return directedEdges > 0 && badEdges == 0 && degenerate == 0; }
};

/// Closed and consistently oriented means: every directed edge appears exactly once and
/// its reverse exactly once (each undirected edge has two triangles of opposite order).
inline tTopology checkTopology(const std::vector<unsigned>& tri)
{
    tTopology t;
    std::map<std::pair<unsigned, unsigned>, int> directed;
    std::set<unsigned> used;
    for (std::size_t f = 0; f + 2 < tri.size(); f += 3) {
        const unsigned v[3] = {tri[f], tri[f + 1], tri[f + 2]};
        if (v[0] == v[1] || v[1] == v[2] || v[0] == v[2])
            ++t.degenerate;
        for (int e = 0; e < 3; ++e) {
            ++directed[{v[e], v[(e + 1) % 3]}];
            used.insert(v[e]);
        }
    }
    t.directedEdges = directed.size();
    for (const auto& d : directed) {
        const auto reverse = directed.find({d.first.second, d.first.first});
        if (d.second != 1 || reverse == directed.end() || reverse->second != 1)
            ++t.badEdges;
    }
    t.euler = long(used.size()) - long(directed.size() / 2) + long(tri.size() / 3);
    return t;
}

/// Signed volume enclosed by the triangles (positive for outward-facing triangles).
template <class Position>
double signedVolume(const std::vector<unsigned>& tri, const Position& position)
{
    double volume = 0;
    for (std::size_t f = 0; f + 2 < tri.size(); f += 3) {
        const Wm4::Vector3<float> a = position(tri[f]), b = position(tri[f + 1]), c = position(tri[f + 2]);
        volume += double(a.Dot(b.Cross(c))) / 6.0;
    }
    return volume;
}

}  // namespace oxtest
