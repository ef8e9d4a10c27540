// The library's union-find: connected components of vertices and triangles, fans of corners
// around a vertex, boundary loops, and the vertex forest of the edge collapse.
//
// Based on: Tarjan, Efficiency of a good but not linear set union algorithm, 1975, with the path
// halving of Tarjan and van Leeuwen, Worst-case analysis of set union algorithms, 1984. Unions
// link by the smaller index (not by rank), which makes every result independent of the order of
// unions; the cost is then O(log n) amortised per find in the worst case, close to constant on
// meshes.
#pragma once

#include <cstddef>
#include <vector>

namespace ox {
namespace detail {

/// Representative of x in a parent forest read as it is (no path shortening), for readers of a
/// forest they must not change, such as the quadric metric walking the collapse's vertex
/// parents.
inline unsigned int findRootOf(const std::vector<unsigned int>& parents, unsigned int x)
{
    while (parents[x] != x)
        x = parents[x];
    return x;
}

/// Disjoint sets over 0 .. n-1. A union keeps the smaller representative, so every set is
/// represented by its smallest element and results do not depend on the order of unions.
class tDisjointSets {
public:
    tDisjointSets() = default;

    /// n singleton sets. O(n).
    explicit tDisjointSets(std::size_t n) { reset(n); }

    /// Back to n singleton sets. O(n).
    void reset(std::size_t n)
    {
        m_parent.resize(n);
        for (std::size_t i = 0; i < n; ++i)
            m_parent[i] = static_cast<unsigned int>(i);
    }

    std::size_t size() const { return m_parent.size(); }

    /// Representative of the set holding x, halving the path on the way (amortised O(log n),
    /// nearly O(1) in practice).
    unsigned int find(unsigned int x)
    {
        while (m_parent[x] != x) {
            m_parent[x] = m_parent[m_parent[x]];
            x = m_parent[x];
        }
        return x;
    }

    /// Representative of x without changing the forest (for readers that must stay const).
    unsigned int findConst(unsigned int x) const { return findRootOf(m_parent, x); }

    /// Joins the sets of a and b; returns the representative of the union.
    unsigned int unite(unsigned int a, unsigned int b)
    {
        a = find(a);
        b = find(b);
        if (a == b)
            return a;
        if (a < b) {
            m_parent[b] = a;
            return a;
        }
        m_parent[a] = b;
        return b;
    }

    /// Attaches the set represented by `root` under `parent` (both representatives), whatever
    /// their order: for callers whose rule names the survivor.
    void attach(unsigned int root, unsigned int parent) { m_parent[root] = parent; }

    /// True when x represents its set (counting these counts the sets).
    bool isRoot(unsigned int x) const { return m_parent[x] == x; }

    /// The parent array itself (each entry the parent of its element, roots their own).
    const std::vector<unsigned int>& parents() const { return m_parent; }

private:
    std::vector<unsigned int> m_parent;
};

}  // namespace detail
}  // namespace ox
