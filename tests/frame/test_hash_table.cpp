// oxHashTbl and tDefaultHash against an independent model: hash values computed with a
// different (64-bit, additive) form of the byte step, and a table model built from
// std::map of bucket -> keys in insertion order.
#include <gtest/gtest.h>

#include <cstdint>
#include <cstring>
#include <map>
#include <random>
#include <unordered_map>
#include <vector>

#include "oxHashTbl.h"

using ox::tDefaultHash;
using ox::tEdgeKey;
using VKey = ox::tMetaNodeCommon::tVertexKey;

namespace {

// The byte step written the other way round: t(u) = 0xBADFACE1 + u * 0xDEADBEEF, in 64
// bits and then truncated, which equals 0xBADFACE1 - u * 0x21524111 modulo 2^32.
std::uint32_t modelRun(std::uint32_t h, const unsigned char* b, std::size_t n)
{
    auto t = [](unsigned u) { return std::uint32_t((0xBADFACE1ull + u * 0xDEADBEEFull) & 0xFFFFFFFFull); };
    h ^= t(b[0]) ^ (t(b[0]) >> 13);
    for (std::size_t k = 1; k < n; ++k)
        h ^= (((t(b[k]) >> 8) ^ h) >> 5) ^ t(b[k]);
    return h ^ (h >> 5);
}
template <class T>
std::uint32_t modelHashOneRun(const T& key)
{
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &key, sizeof(T));
    return modelRun(0, bytes, sizeof(T));
}

}  // namespace

TEST(DefaultHash, KnownValues)
{
    // Worked out by hand from the byte step (little-endian bytes, state starting at 0).
    EXPECT_EQ(tDefaultHash<unsigned int>::hash(0u), 0x00017e19u);
    EXPECT_EQ(tDefaultHash<unsigned int>::hash(1u), 0x2352a18bu);
    EXPECT_EQ(tDefaultHash<unsigned int>::hash(0xDEADBEEFu), 0x82603ad6u);
    EXPECT_EQ(tDefaultHash<unsigned int>::hash(123456789u), 0xc6cdd055u);
    EXPECT_EQ(tDefaultHash<VKey>::hash(VKey(1, 2, 3, 4)), 0x82df7f09u);
    EXPECT_EQ(tDefaultHash<tEdgeKey>::hash(tEdgeKey(std::uint64_t(0x2000), std::uint64_t(0x1000))),
              0x3489f7ceu);
}

TEST(DefaultHash, MatchesModelOnRandomKeys)
{
    std::mt19937 rng(7);
    for (int i = 0; i < 20000; ++i) {
        const unsigned int u = rng();
        ASSERT_EQ(tDefaultHash<unsigned int>::hash(u), modelHashOneRun(u));
        const VKey vk(rng() & 0xFFFF, rng() & 0xFFFF, rng() & 0xFFFF, rng() & 0xFFFF);
        ASSERT_EQ(tDefaultHash<VKey>::hash(vk), modelHashOneRun(vk));
        const std::uint64_t a = (std::uint64_t(rng()) << 32) | rng(),
                            b = (std::uint64_t(rng()) << 32) | rng();
        const tEdgeKey ek(a, b);
        // Four chained 4-byte runs.
        unsigned char bytes[16];
        std::memcpy(bytes, &ek, 16);
        std::uint32_t h = 0;
        for (int g = 0; g < 4; ++g)
            h = modelRun(h, bytes + 4 * g, 4);
        ASSERT_EQ(tDefaultHash<tEdgeKey>::hash(ek), h);
        // Bucket = 32-bit hash modulo the table size, in 64-bit arithmetic.
        const std::size_t size = (std::size_t(rng()) << 8) + 1;
        ASSERT_EQ(tDefaultHash<unsigned int>::hash(u, size), std::uint64_t(modelHashOneRun(u)) % size);
    }
}

// The final shift of a run followed by the opening step of the next run mixes a byte in
// exactly as the in-run step does, so chaining runs gives the hash of one long run: an
// 8-byte vertex key hashes like two chained 4-byte words, and an edge key's four runs like
// one 16-byte run. The stated steps decide the values; this pins that identity down.
TEST(DefaultHash, ChainedRunsEqualOneRun)
{
    std::mt19937 rng(11);
    for (int i = 0; i < 5000; ++i) {
        const VKey vk(rng() & 0xFFFF, rng() & 0xFFFF, rng() & 0xFFFF, rng() & 0xFFFF);
        std::uint32_t chained = modelRun(0, reinterpret_cast<const unsigned char*>(&vk.xy), 4);
        chained = modelRun(chained, reinterpret_cast<const unsigned char*>(&vk.zl), 4);
        ASSERT_EQ(tDefaultHash<VKey>::hash(vk), chained);
        const tEdgeKey ek(std::uint64_t(rng()) << 20, std::uint64_t(rng()) << 3);
        ASSERT_EQ(tDefaultHash<tEdgeKey>::hash(ek), modelHashOneRun(ek));
    }
}

TEST(HashTable, BucketCountIsSizePlusOne)
{
    EXPECT_EQ((ox::oxHashTbl<unsigned int, int>(0).getNoBuckets()), 1u);
    EXPECT_EQ((ox::oxHashTbl<unsigned int, int>(10).getNoBuckets()), 11u);
    ox::oxHashTbl<VKey, float> big(16777216);
    EXPECT_EQ(big.getNoBuckets(), 16777217u);
    EXPECT_EQ(big.begin(), big.end());
    // (size_t)-1 requests wrap to no bucket at all; the table is still safe to iterate,
    // copy and destroy.
    ox::oxHashTbl<unsigned int, int> none(static_cast<std::size_t>(-1));
    EXPECT_EQ(none.getNoBuckets(), 0u);
    EXPECT_EQ(none.begin(), none.end());
    ox::oxHashTbl<unsigned int, int> copy(none);
    EXPECT_EQ(copy.getNoBuckets(), 0u);
}

TEST(HashTable, SetOverwritesInPlace)
{
    ox::oxHashTbl<unsigned int, int> table(5);
    int* first = table.set(42u, 1);
    ASSERT_NE(first, nullptr);
    EXPECT_EQ(*first, 1);
    EXPECT_EQ(table.getNoElements(), 1u);
    int* again = table.set(42u, 2);
    EXPECT_EQ(again, first);
    EXPECT_EQ(*first, 2);
    EXPECT_EQ(table.getNoElements(), 1u);
    EXPECT_EQ(table.find(7u), table.end());
    auto it = table.find(42u);
    ASSERT_NE(it, table.end());
    EXPECT_EQ(it.getValue(), 2);
    EXPECT_EQ(&it->value, first);
}

// Iteration visits buckets in index order and each chain in insertion order; compare with
// a model keyed by the bucket computed independently.
template <class Key>
void checkAgainstModel(std::size_t size, const std::vector<Key>& keys)
{
    ox::oxHashTbl<Key, std::size_t> table(size);
    const std::size_t B = size + 1;
    std::map<std::size_t, std::vector<Key>> model;
    std::vector<std::size_t*> valuePtrs;
    for (std::size_t i = 0; i < keys.size(); ++i) {
        valuePtrs.push_back(table.set(keys[i], i));
        model[std::uint64_t(modelHashOneRun(keys[i])) % B].push_back(keys[i]);
    }
    ASSERT_EQ(table.getNoElements(), keys.size());
    // Values never move.
    for (std::size_t i = 0; i < keys.size(); ++i)
        ASSERT_EQ(*valuePtrs[i], i);
    std::vector<std::pair<std::size_t, Key>> expected, seen;
    for (auto& [bucket, chain] : model)
        for (auto& k : chain)
            expected.emplace_back(bucket, k);
    for (auto it = table.begin(); it != table.end(); ++it)
        seen.emplace_back(it.bucket(), it.getKey());
    ASSERT_EQ(seen.size(), expected.size());
    for (std::size_t i = 0; i < seen.size(); ++i) {
        ASSERT_EQ(seen[i].first, expected[i].first);
        ASSERT_TRUE(seen[i].second == expected[i].second);
    }
    for (std::size_t i = 0; i < keys.size(); ++i) {
        auto it = table.find(keys[i]);
        ASSERT_NE(it, table.end());
        ASSERT_EQ(it.getValue(), i);
        ASSERT_EQ(it.bucket(), std::uint64_t(modelHashOneRun(keys[i])) % B);
    }
}

TEST(HashTable, IterationOrderAndLookupMatchModel)
{
    std::mt19937 rng(3);
    std::vector<unsigned int> u;
    std::unordered_map<unsigned int, bool> seen;
    while (u.size() < 5000) {
        unsigned int k = rng() % 100000;
        if (seen.emplace(k, true).second)
            u.push_back(k);
    }
    checkAgainstModel<unsigned int>(0, std::vector<unsigned int>(u.begin(), u.begin() + 300));  // one bucket
    checkAgainstModel<unsigned int>(1, u);
    checkAgainstModel<unsigned int>(97, u);
    checkAgainstModel<unsigned int>(4096, u);
    std::vector<VKey> vk;
    for (unsigned x = 0; x < 16; ++x)
        for (unsigned y = 0; y < 16; ++y)
            for (unsigned z = 0; z < 8; ++z)
                vk.emplace_back(x, y, z, 4);
    checkAgainstModel<VKey>(1000, vk);
}

TEST(HashTable, LastBucketIsVisitedAndDistinctFromEnd)
{
    const std::size_t size = 16;
    unsigned int key = 0;
    while (tDefaultHash<unsigned int>::hash(key) % (size + 1) != size)
        ++key;
    ox::oxHashTbl<unsigned int, int> table(size);
    table.set(key, 5);
    auto it = table.find(key);
    ASSERT_NE(it, table.end());
    EXPECT_EQ(it.bucket(), size);
    EXPECT_EQ(table.end().bucket(), size);
    EXPECT_EQ(table.end().node(), nullptr);
    auto b = table.begin();
    EXPECT_EQ(b, it);
    ++b;
    EXPECT_EQ(b, table.end());
}

TEST(HashTable, CopiesShareChains)
{
    ox::oxHashTbl<unsigned int, int> a(0);  // one bucket: every key shares one chain
    a.set(1u, 10);
    {
        ox::oxHashTbl<unsigned int, int> b(a);
        EXPECT_EQ(b.getNoElements(), 1u);
        // A key appended through the source lands at the tail of the shared chain, so the
        // copy finds it, while its own count is unchanged.
        a.set(2u, 20);
        auto it = b.find(2u);
        ASSERT_NE(it, b.end());
        EXPECT_EQ(it.getValue(), 20);
        EXPECT_EQ(b.getNoElements(), 1u);
        // Overwrites through the copy are seen by the source.
        b.set(1u, 11);
        EXPECT_EQ(a.find(1u).getValue(), 11);
        ox::oxHashTbl<unsigned int, int> c(3);
        c.set(9u, 90);
        c = b;  // assignment shares b's chains; c's old node stays valid memory
        EXPECT_EQ(c.getNoBuckets(), 1u);
        EXPECT_EQ(c.find(1u).getValue(), 11);
        EXPECT_EQ(c.find(9u), c.end());
        auto& alias = c;
        c = alias;  // self-assignment does nothing
        EXPECT_EQ(c.getNoElements(), 1u);
    }
    // The copies are gone and the source still owns valid chains (no double release:
    // the sanitizer build would catch one).
    EXPECT_EQ(a.find(2u).getValue(), 20);
    int n = 0;
    for (auto it = a.begin(); it != a.end(); ++it)
        ++n;
    EXPECT_EQ(n, 2);
}

TEST(HashTable, EdgeKeysOrderTheirEndsAndCompareAsMemory)
{
    int samples[4] = {0, 1, 2, 3};
    const tEdgeKey ab(&samples[0], &samples[3]), ba(&samples[3], &samples[0]);
    EXPECT_TRUE(ab == ba);
    EXPECT_LT(ab.first, ab.second);
    ox::oxHashTbl<tEdgeKey, std::pair<unsigned int, void*>> table(64);
    table.set(ab, {1u, nullptr});
    table.set(ba, {2u, nullptr});
    EXPECT_EQ(table.getNoElements(), 1u);
    EXPECT_EQ(table.find(ab).getValue().first, 2u);
    EXPECT_EQ(table.find(tEdgeKey(&samples[1], &samples[2])), table.end());
}
