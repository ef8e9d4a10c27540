// k-nearest-neighbour graph of a Morton-sorted point cloud.
//
// The search needs no tree traversal: for each point it fills a small max-heap from a
// window of its Morton neighbours, then bisects the sorted array between an exponential
// probe forward and backward, pruning a range by the box of the smallest Morton cell that
// contains its two ends. Points already in the heap carry a mark in bit 0 of their x
// coordinate, so overlapping ranges cost nothing twice. The candidates are then thinned
// to those not hidden behind a nearer neighbour.
//
// Each point's Morton code is computed once per call and looked up during the search.
// The graph is searched once; the lists are kept in a scratch array and then copied into
// an exactly sized result, with the same progress values a count pass followed by a fill
// pass reports.
#include <algorithm>
#include <cmath>
#include <cstdint>
#include <cstdlib>
#include <cstring>
#include <limits>
#include <new>
#include <vector>

#include "oxPointSetProcessing.h"
#include "pointset/oxMortonCode.h"

namespace ox {
namespace oxPointSetProcessing {

KNN::~KNN()
{
    std::free(neighbours);
    std::free(pairs);
}

namespace {

constexpr std::uint32_t kNoIndex = 0xFFFFFFFFu;
constexpr unsigned int kLevels = 23;  // cell levels 0 .. 21 + 1 of 64-bit codes

float sentinelDistance()
{
    const std::uint32_t bits = 0xFF7FFFEEu;  // -3.40282e38: below every real distance
    float f;
    std::memcpy(&f, &bits, 4);
    return f;
}

/// Heap size: the largest power of two not above min(count, k), clamped to [2, 256] and
/// halved when it exceeds the number of points.
unsigned int heapSize(unsigned int count, unsigned int k)
{
    const unsigned int m = std::min(count, k);
    unsigned int s = 0;
    if (m > 0) {
        s = 1;
        while (s <= m / 2)
            s *= 2;
    }
    if (s < 2)
        s = 2;
    if (s > 256)
        s = 256;
    if (s > count)
        s /= 2;
    return s;
}

/// One neighbour search state, reused for every query point. `Code` is the Morton code
/// width: 64 bits normally, 32 bits for the low-resolution variant.
template <class Code>
class tNeighbourSearch {
public:
    tNeighbourSearch(float* points, unsigned int count, unsigned int stride, const oxMiniBVH& bvh,
                     unsigned int S)
        : m_points(points), m_count(count), m_stride(stride), m_bvh(bvh), m_S(S), m_dist(std::max(S, 2u)),
          m_idx(std::max(S, 2u)), m_list(std::max(S, 2u))
    {
        for (int a = 0; a < 3; ++a) {
            m_boundsMin[a] = bvh.getBBoxMin()[a];
            m_boundsMax[a] = bvh.getBBoxMax()[a];
            m_origin[a] = bvh.getOrigin()[a];
        }
        m_cube = bvh.getCubeSize();
        m_mask = bvh.getMask64();
        m_scale = bvh.getScale();
        // The points' own codes, from their unmarked coordinates, looked up instead of
        // recomputed: the search compares them many times per query.
        m_codes.resize(count);
        m_cells.resize(3 * std::size_t(count));
        for (unsigned int j = 0; j < count; ++j) {
            const float* p = point(j);
            for (int a = 0; a < 3; ++a)
                m_cells[3 * std::size_t(j) + a] =
                    static_cast<std::uint32_t>(morton::quantize(p[a], m_origin[a], m_scale, m_mask));
            m_codes[j] = code(p);
        }
        // Side of a Morton cell per level: E / ((mask >> level) + 1).
        for (unsigned int level = 0; level < kLevels; ++level)
            m_cellSize[level] = m_cube / static_cast<float>((m_mask >> level) + 1);
    }

    /// Searches point i and leaves its thinned neighbour list in thinned()/noThinned().
    void query(unsigned int i)
    {
        const float* pi = point(i);
        m_p[0] = pi[0], m_p[1] = pi[1], m_p[2] = pi[2];
        m_q = code(m_p);
        search(i);
        collect();
    }

    const std::uint32_t* thinned() const { return m_list.data() + 2; }
    unsigned int noThinned() const { return m_noThinned; }

private:
    float* point(std::uint32_t j) const { return m_points + std::size_t(j) * m_stride; }

    bool marked(std::uint32_t j) const
    {
        std::uint32_t w;
        std::memcpy(&w, point(j), 4);
        return (w & 1u) != 0;
    }
    void setMark(std::uint32_t j, bool on) const
    {
        float* x = point(j);
        std::uint32_t w;
        std::memcpy(&w, x, 4);
        w = on ? (w | 1u) : (w & ~1u);
        std::memcpy(x, &w, 4);
    }

    /// Morton code of a position with the hierarchy's quantisation (inlined here: the
    /// query box corners are coded at every step).
    Code code(const float* p) const
    {
        const std::uint64_t q[3] = {morton::quantize(p[0], m_origin[0], m_scale, m_mask),
                                    morton::quantize(p[1], m_origin[1], m_scale, m_mask),
                                    morton::quantize(p[2], m_origin[2], m_scale, m_mask)};
        if constexpr (sizeof(Code) == 8) {
            return morton::spreadBits64(q[0]) | (morton::spreadBits64(q[1]) << 1) |
                   (morton::spreadBits64(q[2]) << 2);
        } else {
            return morton::spreadBits32(std::uint32_t(q[0])) |
                   (morton::spreadBits32(std::uint32_t(q[1])) << 1) |
                   (morton::spreadBits32(std::uint32_t(q[2])) << 2);
        }
    }
    Code codeOf(std::int64_t j) const { return m_codes[static_cast<std::size_t>(j)]; }

    /// Candidate insertion: a farther point than the heap's worst, or one already in the
    /// heap, changes nothing; otherwise it replaces the worst and sinks to its place.
    void insert(std::uint32_t j)
    {
        const float* x = point(j);
        const float dx = x[0] - m_p[0], dy = x[1] - m_p[1], dz = x[2] - m_p[2];
        const float d = dx * dx + dy * dy + dz * dz;
        if (d > m_dist[1] || marked(j))
            return;
        setMark(j, true);
        if (m_idx[1] != kNoIndex)
            setMark(m_idx[1], false);
        unsigned int pos = 1;
        const unsigned int half = m_S / 2;
        while (pos < half) {
            unsigned int child = 2 * pos;
            if (m_dist[child + 1] > m_dist[child])
                ++child;
            if (d > m_dist[child])
                break;
            m_dist[pos] = m_dist[child];
            m_idx[pos] = m_idx[child];
            pos = child;
        }
        m_dist[pos] = d;
        m_idx[pos] = j;
    }

    /// Radius of the current worst candidate, the query box clamped to the points' bounds,
    /// and the codes of its corners.
    void updateQueryBox()
    {
        if (m_dist[1] == m_boxRadius2)
            return;  // same radius, same box and codes
        m_boxRadius2 = m_dist[1];
        const float r = std::sqrt(m_dist[1]);
        float lo[3], hi[3];
        for (int a = 0; a < 3; ++a) {
            lo[a] = std::max(m_p[a] - r, m_boundsMin[a]);
            hi[a] = std::min(m_p[a] + r, m_boundsMax[a]);
        }
        m_lo = code(lo);
        m_hi = code(hi);
    }

    /// Squared distance from the query to the smallest Morton cell holding points a and b.
    float cellLowerBound(std::int64_t a, std::int64_t b) const
    {
        const Code diff = codeOf(a) ^ codeOf(b);
        const unsigned int level = diff ? morton::highestBit64(diff) / 3 + 1 : 0;
        const float size = m_cellSize[level];
        // The cell's integer coordinates are point a's quantised coordinates with the
        // `level` lowest bits dropped (the de-interleaved code prefix).
        const std::uint32_t* cell = &m_cells[3 * static_cast<std::size_t>(a)];
        float bound = 0.0f;
        for (int axis = 0; axis < 3; ++axis) {
            const float lo = m_origin[axis] + static_cast<float>(cell[axis] >> level) * size;
            const float hi = lo + size;
            const float p = m_p[axis];
            const float gap = p < lo ? lo - p : (p > hi ? p - hi : 0.0f);
            bound += gap * gap;
        }
        return bound;
    }

    void searchRange(std::int64_t a, std::int64_t b)
    {
        while (b - a + 1 >= 4) {
            if (cellLowerBound(a, b) > m_dist[1])
                return;
            const std::int64_t m = (a + b) / 2;
            insert(static_cast<std::uint32_t>(m));
            updateQueryBox();
            const Code c = codeOf(m);
            if (m_q < c) {
                searchRange(a, m - 1);
                if (c >= m_hi)
                    return;
                a = m + 1;
            } else {
                searchRange(m + 1, b);
                if (c <= m_lo)
                    return;
                b = m - 1;
            }
        }
        for (std::int64_t j = a; j <= b; ++j)
            insert(static_cast<std::uint32_t>(j));
    }

    void search(unsigned int i)
    {
        std::fill(m_dist.begin(), m_dist.end(), std::numeric_limits<float>::infinity());
        std::fill(m_idx.begin(), m_idx.end(), kNoIndex);
        m_boxRadius2 = -1.0f;
        const std::int64_t n = m_count, S = m_S, qi = i;
        std::int64_t first, last;
        if (2 * S + 1 >= n) {
            first = 0, last = n - 1;
        } else if (qi + S > n - 1) {
            first = n - 2 * S - 1, last = n - 1;
        } else if (qi < S) {
            first = 0, last = 2 * S;
        } else {
            first = qi - S, last = qi + S;
        }
        for (std::int64_t j = first; j <= last; ++j)
            insert(static_cast<std::uint32_t>(j));
        updateQueryBox();
        const Code firstCode = codeOf(first), lastCode = codeOf(last);
        std::int64_t upper = first, lower = last;
        if (m_hi >= lastCode) {
            std::int64_t step = 2, j = qi + step;
            while (j < n && codeOf(j) < m_hi)
                step *= 2, j = qi + step;
            upper = std::min(j, n - 1);
        }
        if (m_lo <= firstCode) {
            std::int64_t step = 2, j = qi - step;
            while (j > 0 && codeOf(j) > m_lo)
                step *= 2, j = qi - step;
            lower = std::max<std::int64_t>(j, 0);
        }
        if (upper <= lower)
            return;
        searchRange(lower, upper);
    }

    /// Clears the marks, pops the heap into increasing distance, drops the nearest and
    /// thins the rest in double precision.
    void collect()
    {
        const unsigned int slots = static_cast<unsigned int>(m_idx.size());
        for (unsigned int s = 1; s < slots; ++s)
            if (m_idx[s] != kNoIndex)
                setMark(m_idx[s], false);
        const float sentinel = sentinelDistance();
        const unsigned int half = m_S / 2;
        for (unsigned int out = m_S - 1; out >= 1; --out) {
            m_list[out] = m_idx[1];
            unsigned int pos = 1;
            while (pos < half) {
                unsigned int child = 2 * pos;
                if (m_dist[child + 1] > m_dist[child])
                    ++child;
                m_dist[pos] = m_dist[child];
                m_idx[pos] = m_idx[child];
                pos = child;
            }
            m_dist[pos] = sentinel;
        }
        // Positions 2 .. S-1 are the kept candidates, nearest first.
        std::uint32_t* kept = m_list.data() + 2;
        unsigned int n = m_S >= 2 ? m_S - 2 : 0;
        const double p[3] = {m_p[0], m_p[1], m_p[2]};
        for (unsigned int ai = 0; ai < n; ++ai) {
            const float* fa = point(kept[ai]);
            const double a[3] = {fa[0], fa[1], fa[2]};
            const double pa[3] = {p[0] - a[0], p[1] - a[1], p[2] - a[2]};
            unsigned int w = ai + 1;
            for (unsigned int qi = ai + 1; qi < n; ++qi) {
                const float* fq = point(kept[qi]);
                const double dot =
                    (fq[0] - a[0]) * pa[0] + (fq[1] - a[1]) * pa[1] + (double(fq[2]) - a[2]) * pa[2];
                if (dot > 0.0)
                    kept[w++] = kept[qi];
            }
            n = w;
        }
        m_noThinned = n;
    }

    float* m_points;
    unsigned int m_count, m_stride;
    const oxMiniBVH& m_bvh;
    unsigned int m_S;
    std::vector<float> m_dist;  // max-heap on squared distance, root at 1
    std::vector<std::uint32_t> m_idx;
    std::vector<std::uint32_t> m_list;  // popped order, positions 1 .. S-1
    unsigned int m_noThinned = 0;
    float m_p[3] = {0, 0, 0};
    Code m_q = 0, m_lo = 0, m_hi = 0;
    float m_boundsMin[3], m_boundsMax[3], m_origin[3];
    float m_cube = 0;
    float m_scale = 1;
    std::uint64_t m_mask = 0;
    std::vector<Code> m_codes;           // code of every point
    std::vector<std::uint32_t> m_cells;  // quantised x, y, z of every point
    float m_cellSize[kLevels];
    float m_boxRadius2 = -1.0f;  // heap root distance the query box codes were made for
};

template <class T>
T* mallocArray(std::size_t n)
{
    void* p = std::malloc(std::max<std::size_t>(n, 1) * sizeof(T));
    if (!p)
        throw std::bad_alloc();
    return static_cast<T*>(p);
}

}  // namespace

void ComputeKNN(float* points, unsigned int count, unsigned int stride, const oxMiniBVH& bvh, unsigned int k,
                KNN& result, oxProgressNotifierInterface* notifier)
{
    const unsigned int S = heapSize(count, k);

    // Low-resolution hierarchies (mask of 10 or less, i.e. 3 bits per axis or fewer) run
    // the 32-bit-code search and keep nothing: the result's arrays stay as they were.
    if (bvh.getMask32() <= 10) {
        tNeighbourSearch<std::uint32_t> search(points, count, stride, bvh, S);
        for (unsigned int i = 0; i < count; ++i)
            search.query(i);
        return;
    }

    tNeighbourSearch<std::uint64_t> search(points, count, stride, bvh, S);
    const unsigned int perPoint = S >= 2 ? S - 2 : 0;
    std::vector<std::uint32_t> scratch(std::size_t(count) * perPoint);
    std::vector<std::uint32_t> lengths(count);
    std::size_t total = 0;
    for (unsigned int i = 0; i < count; ++i) {
        if (notifier)
            notifier->notifyProgress(0.5f * float(i) / float(count));
        search.query(i);
        lengths[i] = search.noThinned();
        std::copy(search.thinned(), search.thinned() + lengths[i],
                  scratch.begin() + std::size_t(i) * perPoint);
        total += lengths[i];
    }

    std::free(result.neighbours);
    std::free(result.pairs);
    result.neighbours = nullptr;
    result.pairs = nullptr;
    result.total = static_cast<unsigned int>(total);
    result.neighbours = mallocArray<unsigned int>(total);
    result.pairs = mallocArray<unsigned int>(2 * std::size_t(count));
    std::size_t position = 0;
    for (unsigned int i = 0; i < count; ++i) {
        if (notifier)
            notifier->notifyProgress(0.5f * float(i) / float(count) + 0.5f);
        result.pairs[2 * i] = lengths[i];
        result.pairs[2 * i + 1] = static_cast<unsigned int>(position);
        std::copy(scratch.begin() + std::size_t(i) * perPoint,
                  scratch.begin() + std::size_t(i) * perPoint + lengths[i], result.neighbours + position);
        position += lengths[i];
    }
}

}  // namespace oxPointSetProcessing
}  // namespace ox
