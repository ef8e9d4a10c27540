// oxMiniBVH: the Morton-ordered point hierarchy of the oxPointSetProcessing family, a light
// bounding-volume hierarchy over a point cloud, built from Morton codes in linear time with no
// comparison sort. It accelerates the neighbour search and every spatial query of a point set.
//
// Building sorts the caller's point records in place into Morton order; from then on a
// point's index means its index in that order. Nodes are single 64-bit words: a leaf
// names a contiguous run of points, an inner node holds the address of the first of its
// two adjacent children.
#pragma once

#include <cstdint>

#include "addons/oxBBox.h"

namespace ox {
namespace oxPointSetProcessing {

/// One node word. Leaf (bit 0 = 1): bits 1-31 the number of points, bits 32-63 the index
/// of the first point. Inner node (bit 0 = 0): the address of its left child in the node
/// array; the right child is the next node of the array.
/// Every operation is O(1); the accessors assume the form they read (leaf or inner node).
class oxMiniBVHNode {
public:
    /// A zero word (an inner node with a null child).
    oxMiniBVHNode() = default;

    /// Makes a leaf of `count` points from index `first`. Preconditions: count < 2^31.
    void setLeaf(std::uint32_t first, std::uint32_t count)
    {
        m_word = ((static_cast<std::uint64_t>(first) << 31) | count) * 2 + 1;
    }
    /// Makes an inner node whose children are `leftChild` and the node after it.
    void setNode(const oxMiniBVHNode* leftChild)
    {
        m_word = static_cast<std::uint64_t>(reinterpret_cast<std::uintptr_t>(leftChild));
    }

    /// Bit 0; a leaf's first point index and point count; an inner node's children.
    bool isLeaf() const { return (m_word & 1u) != 0; }
    std::uint32_t getFirstPrimIdx() const { return static_cast<std::uint32_t>(m_word >> 32); }
    std::uint32_t getNoPrimitives() const { return (static_cast<std::uint32_t>(m_word) >> 1) & 0x7FFFFFFFu; }
    const oxMiniBVHNode* leftChildNode() const
    {
        return reinterpret_cast<const oxMiniBVHNode*>(static_cast<std::uintptr_t>(m_word));
    }
    const oxMiniBVHNode* rightChildNode() const { return leftChildNode() + 1; }
    oxMiniBVHNode* leftChildNode()
    {
        return reinterpret_cast<oxMiniBVHNode*>(static_cast<std::uintptr_t>(m_word));
    }
    oxMiniBVHNode* rightChildNode() { return leftChildNode() + 1; }

    /// The raw word (additions of ours).
    std::uint64_t getWord() const { return m_word; }
    void setWord(std::uint64_t word) { m_word = word; }

private:
    std::uint64_t m_word = 0;
};
static_assert(sizeof(oxMiniBVHNode) == 8, "a node is one 64-bit word");

/// The hierarchy over one caller-owned point array. Not copyable; not synchronised (build and
/// computeBBoxes write, the rest only reads). How it is built is told at the top of
/// src/pointset/oxMiniBVH.cpp.
class oxMiniBVH {
public:
    /// An empty hierarchy (no node until build). O(1).
    oxMiniBVH();
    /// Releases the nodes and boxes; the point array stays the caller's.
    ~oxMiniBVH();
    oxMiniBVH(const oxMiniBVH&) = delete;
    oxMiniBVH& operator=(const oxMiniBVH&) = delete;

    /// Builds the hierarchy over `count` interleaved records of `stride` floats (x, y, z
    /// first; the other floats of a record travel with it).
    /// Preconditions: the array outlives the hierarchy and is not reordered afterwards.
    /// Side effects:  in place, the records are sorted by Morton code (stable: equal codes keep
    ///                their input order) and bit 0 of every x coordinate is cleared. `bits`
    ///                (quantisation bits per axis) is clamped to 21; `leafSize` is the split
    ///                threshold: a run splits as soon as either part holds leafSize points or
    ///                more. Node 0 is the root, then sibling pairs in order of creation. A second
    ///                build reuses the node storage.
    /// Cost:          O(count * stride) moves, O(count * 3 * bits) sweep.
    void build(float* points, unsigned int count, unsigned int stride, unsigned int bits,
               unsigned int leafSize);

    /// Fills one box per node: a leaf's points grown by their radius radii[i * radiusStride]
    /// (sorted order), inner nodes the union of their children.
    /// Preconditions: after build; radii in the sorted order (zero radii give the point bounds).
    /// Cost:          O(nodes + count).
    void computeBBoxes(const float* radii, unsigned int radiusStride);

    /// Structural self-test.
    /// Returns:       true when every point is in exactly one leaf and the walk from the root
    ///                reaches no node twice; false before build.
    /// Cost:          O(nodes + count), two bit sets.
    bool check() const;

    /// The node count, node i and its box (computeBBoxes). Preconditions: i below the node
    /// count. O(1).
    unsigned int getNoNodes() const;
    oxMiniBVHNode& getNode(unsigned int i);
    const oxMiniBVHNode& getNode(unsigned int i) const;
    const oxBBox& getNodeBBox(unsigned int i) const;
    /// Index of a node of this hierarchy from its address, e.g. a child pointer (an addition of
    /// ours). Preconditions: a node of this hierarchy. O(1).
    unsigned int getNodeIndex(const oxMiniBVHNode* node) const;

    /// The points and the quantisation the codes were built with, used by the neighbour search
    /// (additions of ours). Valid after build; each O(1).
    const float* getPoints() const;
    unsigned int getNoPoints() const;
    unsigned int getStride() const;
    const float* getBBoxMin() const;  ///< box of the points (x mark bits cleared)
    const float* getBBoxMax() const;
    const float* getOrigin() const;   ///< lower corner of the Morton cube
    const float* getCenter() const;   ///< centre of the Morton cube
    float getCubeSize() const;        ///< side E of the Morton cube (largest extent)
    float getScale() const;           ///< 2^bits / E (infinite for E = 0)
    std::uint32_t getMask32() const;  ///< 2^bits - 1
    std::uint64_t getMask64() const;

    /// 64-bit Morton code of a position with this hierarchy's origin, scale and mask (an
    /// addition of ours). Preconditions: after build. O(1).
    std::uint64_t mortonCode64(const float* p) const;
    /// 32-bit Morton code (an addition of ours; meaningful for bits <= 10). O(1).
    std::uint32_t mortonCode32(const float* p) const;

private:
    struct Impl;
    Impl* m_impl;
};

}  // namespace oxPointSetProcessing
}  // namespace ox
