// Union-find over 0 .. n-1, for connected components of vertices, boundary loops
// and corner fans in the mesh statistics.
#pragma once

#include <cstddef>
#include <cstdint>
#include <vector>

namespace oxmesh {

class DisjointSets {
public:
    /// n singleton sets. O(n).
    explicit DisjointSets(std::size_t n) : parent_(n)
    {
        for (std::size_t i = 0; i < n; ++i)
            parent_[i] = static_cast<std::uint32_t>(i);
    }

    /// Representative of the set holding x (path halving, amortised almost O(1)).
    std::uint32_t find(std::uint32_t x)
    {
        while (parent_[x] != x) {
            parent_[x] = parent_[parent_[x]];
            x = parent_[x];
        }
        return x;
    }

    /// Joins the sets of a and b; the smaller representative index stays the representative.
    void unite(std::uint32_t a, std::uint32_t b)
    {
        a = find(a);
        b = find(b);
        if (a == b)
            return;
        if (a < b)
            parent_[b] = a;
        else
            parent_[a] = b;
    }

    /// True when x represents its set (counting these counts the sets).
    bool isRoot(std::uint32_t x) const { return parent_[x] == x; }

private:
    std::vector<std::uint32_t> parent_;
};

}  // namespace oxmesh
