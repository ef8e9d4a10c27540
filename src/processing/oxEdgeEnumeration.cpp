#include "processing/oxEdgeEnumeration.h"

namespace ox {
namespace detail {

void enumerateEdges(const unsigned int* indices, unsigned int triangleCount, unsigned int vertexCount,
                    std::vector<unsigned int>& v0, std::vector<unsigned int>& v1,
                    std::vector<unsigned int>& triangleEdges)
{
    const unsigned int none = 0xFFFFFFFFu;
    v0.clear();
    v1.clear();
    v0.reserve(triangleCount * 3u / 2u + 3u);
    v1.reserve(triangleCount * 3u / 2u + 3u);
    triangleEdges.assign(static_cast<std::size_t>(triangleCount) * 3u, none);
    // Edges keyed by their smaller endpoint, chained per vertex: lookups scan the few edges
    // that start at the smaller endpoint.
    std::vector<unsigned int> head(vertexCount, none);
    std::vector<unsigned int> next;
    next.reserve(v0.capacity());
    for (unsigned int t = 0; t < triangleCount; ++t) {
        for (unsigned int k = 0; k < 3; ++k) {
            unsigned int a = indices[3 * t + k];
            unsigned int b = indices[3 * t + (k + 1) % 3];
            if (b < a) {
                const unsigned int s = a;
                a = b;
                b = s;
            }
            unsigned int e = head[a];
            while (e != none && v1[e] != b) {
                e = next[e];
            }
            if (e == none) {
                e = static_cast<unsigned int>(v0.size());
                v0.push_back(a);
                v1.push_back(b);
                next.push_back(head[a]);
                head[a] = e;
            }
            triangleEdges[3 * t + k] = e;
        }
    }
}

}  // namespace detail
}  // namespace ox
