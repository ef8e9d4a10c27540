// An indexed min-heap of (key, id) pairs with four children per node. Every id is in the heap
// at most once and can be re-keyed or removed in place, so a priority queue of edges never
// accumulates stale entries. Four children per node halve the depth of a binary heap and keep
// siblings in adjacent memory, which matters when the heap is far larger than the cache.
//
// Based on: Johnson, Priority queues with update and finding minimum spanning trees, 1975 (the
// d-ary heap, here with d = 4).
#pragma once

#include <vector>

namespace ox {
namespace detail {

/// With `kTiesById` false, equal keys leave in an order fixed by the sequence of operations;
/// with true, the smaller id leaves first (a total order: the run does not depend on how the
/// heap got there).
template <bool kTiesById = false>
class tQuaternaryHeap {
public:
    static constexpr unsigned int kAbsent = 0xFFFFFFFFu;

    /// Empties the heap and makes room for ids 0 .. idCount - 1.
    void reset(unsigned int idCount)
    {
        m_items.clear();
        m_position.assign(idCount, kAbsent);
    }

    /// Room for ids up to idCount - 1 (keeps the heap).
    void growIds(unsigned int idCount)
    {
        if (idCount > m_position.size())
            m_position.resize(idCount, kAbsent);
    }

    bool empty() const { return m_items.empty(); }
    bool contains(unsigned int id) const { return m_position[id] != kAbsent; }
    unsigned int topId() const { return m_items.front().id; }
    float topKey() const { return m_items.front().key; }

    /// Inserts `id` or changes its key. Ties leave in an order fixed by the sequence of
    /// operations, so runs repeat exactly.
    void set(unsigned int id, float key)
    {
        const unsigned int at = m_position[id];
        if (at == kAbsent) {
            m_items.push_back(tItem{key, id});
            siftUp(static_cast<unsigned int>(m_items.size() - 1));
        } else if (less(tItem{key, id}, m_items[at])) {
            m_items[at].key = key;
            siftUp(at);
        } else {
            m_items[at].key = key;
            siftDown(at);
        }
    }

    /// Appends without ordering; call heapify() before the next query.
    void append(unsigned int id, float key)
    {
        m_position[id] = static_cast<unsigned int>(m_items.size());
        m_items.push_back(tItem{key, id});
    }

    /// Restores the heap order over everything appended, in linear time.
    void heapify()
    {
        const std::size_t n = m_items.size();
        if (n < 2)
            return;
        for (std::size_t i = (n - 2) / 4 + 1; i-- > 0;)
            siftDown(static_cast<unsigned int>(i));
    }

    /// Removes `id` if present.
    void remove(unsigned int id)
    {
        const unsigned int at = m_position[id];
        if (at == kAbsent)
            return;
        m_position[id] = kAbsent;
        const tItem last = m_items.back();
        m_items.pop_back();
        if (at == m_items.size())
            return;
        m_items[at] = last;
        m_position[last.id] = at;
        if (at > 0 && less(last, m_items[(at - 1) / 4]))
            siftUp(at);
        else
            siftDown(at);
    }

private:
    struct tItem {
        float key;
        unsigned int id;
    };

    static bool less(const tItem& a, const tItem& b)
    {
        if (kTiesById)
            return a.key < b.key || (a.key == b.key && a.id < b.id);
        return a.key < b.key;
    }

    void place(unsigned int at, const tItem& item)
    {
        m_items[at] = item;
        m_position[item.id] = at;
    }

    void siftUp(unsigned int i)
    {
        const tItem moving = m_items[i];
        while (i > 0) {
            const unsigned int parent = (i - 1) / 4;
            if (!less(moving, m_items[parent]))
                break;
            place(i, m_items[parent]);
            i = parent;
        }
        place(i, moving);
    }

    void siftDown(unsigned int i)
    {
        const std::size_t n = m_items.size();
        const tItem moving = m_items[i];
        for (;;) {
            const std::size_t first = 4 * std::size_t(i) + 1;
            if (first >= n)
                break;
            std::size_t best = first;
            const std::size_t last = first + 4 < n ? first + 4 : n;
            for (std::size_t c = first + 1; c < last; ++c)
                if (less(m_items[c], m_items[best]))
                    best = c;
            if (!less(m_items[best], moving))
                break;
            place(i, m_items[best]);
            i = static_cast<unsigned int>(best);
        }
        place(i, moving);
    }

    std::vector<tItem> m_items;
    std::vector<unsigned int> m_position;  ///< per id: index in m_items, or kAbsent
};

}  // namespace detail
}  // namespace ox
