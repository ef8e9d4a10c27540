// Consistent normal orientation by propagation over a minimum spanning tree of the
// symmetric k-nearest-neighbour graph (Hoppe et al. 1992), edge weight 1 - |ni . nj|.
#include <algorithm>
#include <cmath>
#include <functional>
#include <numeric>
#include <queue>
#include <tuple>
#include <vector>

#include "oxPointSetProcessing.h"

namespace ox {
namespace oxPointSetProcessing {

namespace {

constexpr unsigned int kNoIndex = 0xFFFFFFFFu;

// Undirected adjacency in compressed rows: j is a neighbour of i when either lists the other.
void symmetricGraph(const std::vector<unsigned int>& knn, unsigned int count, unsigned int k,
                    std::vector<unsigned int>& start, std::vector<unsigned int>& adjacent)
{
    std::vector<unsigned int> degree(count, 0);
    for (unsigned int i = 0; i < count; ++i)
        for (unsigned int r = 0; r < k; ++r) {
            const unsigned int j = knn[std::size_t(i) * k + r];
            if (j == kNoIndex)
                break;
            ++degree[i], ++degree[j];
        }
    start.assign(count + 1, 0);
    for (unsigned int i = 0; i < count; ++i)
        start[i + 1] = start[i] + degree[i];
    adjacent.assign(start[count], 0);
    std::vector<unsigned int> fill(start.begin(), start.end() - 1);
    for (unsigned int i = 0; i < count; ++i)
        for (unsigned int r = 0; r < k; ++r) {
            const unsigned int j = knn[std::size_t(i) * k + r];
            if (j == kNoIndex)
                break;
            adjacent[fill[i]++] = j;
            adjacent[fill[j]++] = i;
        }
}

}  // namespace

unsigned int OrientNormals(const float* points, unsigned int count, unsigned int stride, float* normals,
                           unsigned int normalStride, unsigned int k, oxProgressNotifierInterface* notifier)
{
    std::vector<unsigned int> knn;
    ComputeKNearest(points, count, stride, k, knn, nullptr);
    std::vector<unsigned int> start, adjacent;
    symmetricGraph(knn, count, k, start, adjacent);
    auto P = [&](unsigned int i) { return points + std::size_t(i) * stride; };
    auto N = [&](unsigned int i) { return normals + std::size_t(i) * normalStride; };
    auto dot = [&](unsigned int i, unsigned int j) {
        const float *a = N(i), *b = N(j);
        return a[0] * b[0] + a[1] * b[1] + a[2] * b[2];
    };
    auto isZero = [&](unsigned int i) { return N(i)[0] == 0.0f && N(i)[1] == 0.0f && N(i)[2] == 0.0f; };

    // Components of the graph, by breadth-first labelling in index order.
    std::vector<unsigned int> component(count, kNoIndex);
    std::vector<std::vector<unsigned int>> members;
    for (unsigned int s = 0; s < count; ++s) {
        if (component[s] != kNoIndex)
            continue;
        const unsigned int label = static_cast<unsigned int>(members.size());
        members.emplace_back();
        std::vector<unsigned int> frontier{s};
        component[s] = label;
        while (!frontier.empty()) {
            const unsigned int i = frontier.back();
            frontier.pop_back();
            members[label].push_back(i);
            for (unsigned int e = start[i]; e < start[i + 1]; ++e)
                if (component[adjacent[e]] == kNoIndex)
                    component[adjacent[e]] = label, frontier.push_back(adjacent[e]);
        }
    }

    // Reference normal a node passes on: its own, or its parent's when its own is zero.
    std::vector<unsigned int> reference(count, kNoIndex);
    std::vector<char> done(count, 0);
    unsigned int oriented = 0;
    using tEdge = std::tuple<float, unsigned int, unsigned int>;  // weight, to, from
    for (const std::vector<unsigned int>& part : members) {
        // Seed: the point of largest x with a usable normal, turned away from the centroid.
        double centroid[3] = {0, 0, 0};
        for (unsigned int i : part)
            for (int a = 0; a < 3; ++a)
                centroid[a] += P(i)[a];
        for (double& c : centroid)
            c /= double(part.size());
        unsigned int seed = kNoIndex;
        for (unsigned int i : part)
            if (!isZero(i) && (seed == kNoIndex || P(i)[0] > P(seed)[0]))
                seed = i;
        if (seed == kNoIndex)
            continue;
        float* ns = N(seed);
        const double outward = ns[0] * (P(seed)[0] - centroid[0]) + ns[1] * (P(seed)[1] - centroid[1]) +
                               ns[2] * (P(seed)[2] - centroid[2]);
        if (outward < 0)
            ns[0] = -ns[0], ns[1] = -ns[1], ns[2] = -ns[2];
        // Prim's algorithm from the seed; each node is oriented when the tree reaches it.
        std::priority_queue<tEdge, std::vector<tEdge>, std::greater<tEdge>> queue;
        queue.emplace(0.0f, seed, seed);
        while (!queue.empty()) {
            const auto [weight, to, from] = queue.top();
            queue.pop();
            (void)weight;
            if (done[to])
                continue;
            done[to] = 1;
            if (notifier && ++oriented % (count / 100 + 1) == 0)
                notifier->notifyProgress(float(oriented) / float(count));
            const unsigned int ref = reference[from] == kNoIndex ? from : reference[from];
            if (isZero(to)) {
                reference[to] = ref;
            } else {
                if (to != ref && dot(to, ref) < 0.0f) {
                    float* n = N(to);
                    n[0] = -n[0], n[1] = -n[1], n[2] = -n[2];
                }
                reference[to] = to;
            }
            for (unsigned int e = start[to]; e < start[to + 1]; ++e) {
                const unsigned int j = adjacent[e];
                if (done[j])
                    continue;
                const float w = (isZero(to) || isZero(j)) ? 1.0f : 1.0f - std::fabs(dot(to, j));
                queue.emplace(w, j, to);
            }
        }
    }
    if (notifier)
        notifier->notifyProgress(1.0f);
    return static_cast<unsigned int>(members.size());
}

}  // namespace oxPointSetProcessing
}  // namespace ox
