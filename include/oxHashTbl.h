// oxHashTbl: separate-chaining hash table with a bucket count fixed at construction.
//
// The table maps small plain keys to plain values. It never rehashes and never erases:
// it is sized once for a whole job (the dual octree asks for 2^24 buckets) and filled
// with `set`. Values never move once inserted, so the pointer returned by `set` stays
// valid for the table's lifetime.
//
// Layout and order, which callers rely on:
//  - B = size + 1 buckets; the extra bucket is deliberate: bucket B - 1 doubles as the
//    end position of iteration, which is (table, B - 1, null).
//  - bucket of a key = Hash::hash(key) mod B; new keys are appended at the tail of
//    their bucket's chain.
//  - iteration visits buckets in index order and each chain from its head.
//  - copies share chains: copying (or assigning) a table copies the bucket heads and the
//    count, not the nodes. Nodes live in a node pool that every table sharing chains
//    holds a reference to, so they are released once, with the last such table.
//
// tDefaultHash<T> is the default hash functor (see below). Tables are not synchronised: one
// thread at a time. The table is a template, so its implementation lives in this header.
//
// Based on: separate chaining as described by Knuth, The Art of Computer Programming, Vol. 3:
// Sorting and Searching, 1973 (section 6.4), with a fixed bucket count and tail insertion.
#pragma once

#include <algorithm>
#include <cstddef>
#include <cstdint>
#include <cstring>
#include <memory>
#include <new>
#include <type_traits>
#include <vector>

#include "oxHashKeys.h"

namespace ox {

namespace detail {

/// Folds a run of bytes into a 32-bit hash state.
/// Returns:       the new state: each byte u is first expanded to t(u) = 0xBADFACE1 - u *
///                0x21524111 (mod 2^32); the first byte of the run is mixed in with a 13-bit
///                shift, every further byte with the previous state and a 5-bit shift, and the
///                run ends with a final h ^= h >> 5. An empty run returns `h` unchanged.
/// Cost:          O(count).
inline std::uint32_t hashByteRun(std::uint32_t h, const unsigned char* bytes, std::size_t count)
{
    if (count == 0)
        return h;
    auto expand = [](unsigned char u) -> std::uint32_t {
        return 0xBADFACE1u - static_cast<std::uint32_t>(u) * 0x21524111u;
    };
    std::uint32_t t = expand(bytes[0]);
    h = h ^ t ^ (t >> 13);
    for (std::size_t k = 1; k < count; ++k) {
        t = expand(bytes[k]);
        h = h ^ ((((t >> 8) ^ h) >> 5) ^ t);
    }
    return h ^ (h >> 5);
}

}  // namespace detail

/// Default hash functor: hash(key) is the 32-bit byte-run hash of the key's bytes in
/// memory order, starting from 0; hash(key, tableSize) is that value modulo tableSize (a
/// 64-bit remainder; tableSize must not be 0). Keys hashed as one run: unsigned int (4 bytes),
/// tMetaNodeCommon::tVertexKey (8 bytes). tEdgeKey is hashed as four runs of 4 bytes with the
/// state carried from run to run. Both are O(sizeof(key)).
template <class T>
struct tDefaultHash {
    static_assert(std::is_trivially_copyable<T>::value, "keys are hashed as raw bytes");
    static unsigned int hash(const T& key)
    {
        return detail::hashByteRun(0u, reinterpret_cast<const unsigned char*>(&key), sizeof(T));
    }
    static unsigned int hash(const T& key, std::size_t tableSize)
    {
        return static_cast<unsigned int>(static_cast<std::uint64_t>(hash(key)) % tableSize);
    }
};

template <>
struct tDefaultHash<tEdgeKey> {
    static unsigned int hash(const tEdgeKey& key)
    {
        const auto* bytes = reinterpret_cast<const unsigned char*>(&key);
        std::uint32_t h = 0;
        for (int group = 0; group < 4; ++group)
            h = detail::hashByteRun(h, bytes + 4 * group, 4);
        return h;
    }
    static unsigned int hash(const tEdgeKey& key, std::size_t tableSize)
    {
        return static_cast<unsigned int>(static_cast<std::uint64_t>(hash(key)) % tableSize);
    }
};

template <class Key, class Value, class Hash = tDefaultHash<Key>>
class oxHashTbl {
public:
    /// Chain node: the key and value by copy, and the next node of the same bucket.
    struct tData {
        Key key;
        Value value;
        tData* next;
    };

    /// Position in a table: (table, bucket, node); the end position is (table, B - 1, null).
    /// The accessors below are additions of ours; each is O(1) except ++.
    template <class TablePtr, class NodePtr>
    class tIterator {
    public:
        /// A null position that compares equal only to other null positions.
        tIterator() = default;
        tIterator(TablePtr table, std::size_t bucket, NodePtr node)
            : m_table(table), m_bucket(bucket), m_node(node)
        {}
        /// Conversion from the mutable to the const iterator.
        template <class T2, class N2>
        tIterator(const tIterator<T2, N2>& o) : m_table(o.table()), m_bucket(o.bucket()), m_node(o.node())
        {}

        /// The node, its key and its value. Preconditions: not the end position.
        NodePtr operator->() const { return m_node; }
        auto& operator*() const { return *m_node; }
        const Key& getKey() const { return m_node->key; }
        auto& getValue() const { return m_node->value; }

        /// Moves to the node's successor, or to the head of the next bucket with a non-null
        /// head, never past bucket B - 1: the end position is (B - 1, null).
        /// Preconditions: not the end position. Cost: O(empty buckets skipped).
        tIterator& operator++()
        {
            m_node = m_node->next;
            if (m_node)
                return *this;
            const std::size_t last = m_table->m_buckets.size() - 1;
            while (m_bucket < last) {
                ++m_bucket;
                m_node = m_table->m_buckets[m_bucket];
                if (m_node)
                    break;
            }
            return *this;
        }
        tIterator operator++(int)
        {
            tIterator old = *this;
            ++*this;
            return old;
        }

        /// Equal when table, bucket and node are equal (mutable and const iterators compare).
        template <class T2, class N2>
        bool operator==(const tIterator<T2, N2>& o) const
        {
            return m_table == o.table() && m_bucket == o.bucket() && m_node == o.node();
        }
        template <class T2, class N2>
        bool operator!=(const tIterator<T2, N2>& o) const
        {
            return !(*this == o);
        }

        /// The three parts of the position.
        TablePtr table() const { return m_table; }
        std::size_t bucket() const { return m_bucket; }
        NodePtr node() const { return m_node; }

    private:
        TablePtr m_table = nullptr;
        std::size_t m_bucket = 0;
        NodePtr m_node = nullptr;
    };

    using iterator = tIterator<oxHashTbl*, tData*>;
    using const_iterator = tIterator<const oxHashTbl*, const tData*>;

    /// Makes an empty table of B = size + 1 buckets (not rounded; the last bucket doubles as
    /// the end position of iteration).
    /// On failure:    size == (size_t)-1 gives no bucket at all; such a table may only be
    ///                destroyed or copied.
    /// Cost:          one zeroed array of B pointers.
    explicit oxHashTbl(std::size_t size) : m_buckets(size + 1, nullptr), m_pool(std::make_shared<tPool>()) {}

    /// Makes a table that shares the source's chains: the bucket heads and the count are
    /// copied, not the nodes. Side effects: both tables keep the nodes alive. Cost: O(B).
    oxHashTbl(const oxHashTbl& o) : m_buckets(o.m_buckets), m_count(o.m_count), m_pool(o.m_pool) {}

    /// Makes this table share the source's chains (bucket heads and count copied).
    /// Side effects:  the bucket array grows, when it must, by half its capacity or to the
    ///                needed length, whichever is larger; this table's old nodes stay alive as
    ///                long as the source's pool (a third table may still share them).
    ///                Self-assignment does nothing.
    /// Cost:          O(B).
    oxHashTbl& operator=(const oxHashTbl& o)
    {
        if (this == &o)
            return *this;
        if (m_buckets.capacity() < o.m_buckets.size())
            m_buckets.reserve(std::max(m_buckets.capacity() + m_buckets.capacity() / 2, o.m_buckets.size()));
        m_buckets.assign(o.m_buckets.begin(), o.m_buckets.end());
        m_count = o.m_count;
        if (m_pool != o.m_pool) {
            // From now on both tables allocate from the source's pool; the target's old
            // nodes stay alive with it, since a third table may still share them.
            o.m_pool->adopt(m_pool);
            m_pool = o.m_pool;
        }
        return *this;
    }

    /// Releases the nodes when no other table shares them.
    ~oxHashTbl() = default;

    /// Inserts or overwrites the value of `key`.
    /// Returns:       the address of the stored value, stable for the table's lifetime.
    /// Preconditions: B > 0.
    /// Side effects:  walks the key's chain (bucket Hash::hash(key, B)); an equal key (raw
    ///                memory) has its value overwritten in place; otherwise a new node is
    ///                appended at the chain's tail and the count grows by one. A table that
    ///                shares a non-empty chain sees the appended node (its count stays).
    /// Cost:          one hash and a chain walk; one node from the pool for a new key.
    Value* set(const Key& key, const Value& value)
    {
        const std::size_t b = Hash::hash(key, m_buckets.size());
        tData** link = &m_buckets[b];
        while (*link) {
            if (sameKey((*link)->key, key)) {
                (*link)->value = value;
                return &(*link)->value;
            }
            link = &(*link)->next;
        }
        tData* node = m_pool->allocate(key, value);
        *link = node;
        ++m_count;
        return &node->value;
    }

    /// Finds the element with an equal key (raw memory) in bucket Hash::hash(key) % B.
    /// Returns:       its position, or end().
    /// Preconditions: B > 0.
    /// Cost:          one hash and a chain walk.
    iterator find(const Key& key)
    {
        const std::size_t b = Hash::hash(key) % m_buckets.size();
        for (tData* node = m_buckets[b]; node; node = node->next)
            if (sameKey(node->key, key))
                return iterator(this, b, node);
        return end();
    }
    const_iterator find(const Key& key) const
    {
        const std::size_t b = Hash::hash(key) % m_buckets.size();
        for (const tData* node = m_buckets[b]; node; node = node->next)
            if (sameKey(node->key, key))
                return const_iterator(this, b, node);
        return end();
    }

    /// The head of the first non-empty bucket, or end() (which is (B - 1, null)). Iteration
    /// visits buckets in index order and each chain from its head. O(empty leading buckets).
    iterator begin() { return iterator(this, firstBucket(), headOf(firstBucket())); }
    const_iterator begin() const { return const_iterator(this, firstBucket(), headOf(firstBucket())); }
    iterator end() { return iterator(this, m_buckets.size() - 1, nullptr); }
    const_iterator end() const { return const_iterator(this, m_buckets.size() - 1, nullptr); }

    /// The number of elements (it only grows). O(1).
    unsigned int getNoElements() const { return m_count; }
    /// B, the number of buckets (requested size + 1; an addition of ours). O(1).
    std::size_t getNoBuckets() const { return m_buckets.size(); }

private:
    template <class, class>
    friend class tIterator;

    /// Node storage shared by every table that shares chains. Nodes are carved out of
    /// blocks that never move, and are destroyed with the last table that references
    /// them. A table that takes over another's chains by assignment keeps its own old
    /// nodes alive too (its old chains may still be reachable from a third table).
    class tPool {
    public:
        tPool() = default;
        tPool(const tPool&) = delete;
        tPool& operator=(const tPool&) = delete;
        ~tPool()
        {
            for (auto& block : m_blocks) {
                tData* nodes = reinterpret_cast<tData*>(block.get());
                const std::size_t n = (&block == &m_blocks.back()) ? m_usedInLast : kBlockNodes;
                for (std::size_t i = 0; i < n; ++i)
                    nodes[i].~tData();
            }
        }
        tData* allocate(const Key& key, const Value& value)
        {
            if (m_blocks.empty() || m_usedInLast == kBlockNodes) {
                m_blocks.emplace_back(new tStorage[kBlockNodes]);
                m_usedInLast = 0;
            }
            tData* slot = reinterpret_cast<tData*>(m_blocks.back().get()) + m_usedInLast;
            ::new (static_cast<void*>(slot)) tData{key, value, nullptr};
            ++m_usedInLast;
            return slot;
        }
        /// Keeps another pool alive as long as this one.
        void adopt(const std::shared_ptr<tPool>& other) { m_adopted.push_back(other); }

    private:
        static constexpr std::size_t kBlockNodes = 1024;
        struct tStorage {
            alignas(tData) unsigned char bytes[sizeof(tData)];
        };
        std::vector<std::unique_ptr<tStorage[]>> m_blocks;
        std::size_t m_usedInLast = 0;
        std::vector<std::shared_ptr<tPool>> m_adopted;
    };

    static bool sameKey(const Key& a, const Key& b) { return std::memcmp(&a, &b, sizeof(Key)) == 0; }

    /// First bucket with a non-null head, stopping at B - 1.
    std::size_t firstBucket() const
    {
        if (m_buckets.empty())
            return static_cast<std::size_t>(-1);  // B = 0: the end position
        const std::size_t last = m_buckets.size() - 1;
        std::size_t b = 0;
        while (b < last && !m_buckets[b])
            ++b;
        return b;
    }
    tData* headOf(std::size_t b) const { return b < m_buckets.size() ? m_buckets[b] : nullptr; }

    std::vector<tData*> m_buckets;
    unsigned int m_count = 0;
    std::shared_ptr<tPool> m_pool;
};

}  // namespace ox
