#include "io/ReconstructionCleanup.h"

#include <algorithm>
#include <cmath>
#include <cstddef>
#include <cstdint>
#include <string>
#include <vector>

#include "io/DisjointSets.h"
#include "io/MeshStats.h"

namespace oxmesh {

namespace {

using Index = std::uint32_t;
constexpr Index kNone = 0xFFFFFFFFu;

/// Corner after `corner` in its triangle; side `corner` runs from the one to the other.
Index nextCorner(Index corner)
{
    return corner % 3 == 2 ? corner - 2 : corner + 1;
}

/// The triangle sides grouped by undirected edge. Side s runs from corner s to nextCorner(s).
/// A counting sort by the lower vertex, then a sort of each vertex's few sides: O(V + T)
/// expected, 8 bytes per side.
class EdgeSides {
public:
    EdgeSides(std::size_t vertexCount, const std::vector<Index>& corners) : start_(vertexCount + 1, 0)
    {
        for (Index c = 0; c < corners.size(); ++c)
            ++start_[std::min(corners[c], corners[nextCorner(c)]) + 1];
        for (std::size_t v = 0; v < vertexCount; ++v)
            start_[v + 1] += start_[v];
        std::vector<std::size_t> fill(start_.begin(), start_.end() - 1);
        keys_.resize(corners.size());
        for (Index c = 0; c < corners.size(); ++c) {
            const Index a = corners[c], b = corners[nextCorner(c)];
            keys_[fill[std::min(a, b)]++] = std::uint64_t(std::max(a, b)) << 32 | c;
        }
        for (std::size_t v = 0; v < vertexCount; ++v)
            std::sort(keys_.begin() + start_[v], keys_.begin() + start_[v + 1]);
    }

    /// Calls visit(sides, count) once per undirected edge, with the `count` sides on it
    /// (Index(sides[i]) is a side index).
    template <class Visit>
    void forEachEdge(Visit&& visit) const
    {
        for (std::size_t v = 0; v + 1 < start_.size(); ++v) {
            const std::size_t end = start_[v + 1];
            for (std::size_t i = start_[v]; i < end;) {
                std::size_t last = i + 1;
                while (last < end && (keys_[last] >> 32) == (keys_[i] >> 32))
                    ++last;
                visit(&keys_[i], last - i);
                i = last;
            }
        }
    }

private:
    std::vector<std::size_t> start_;
    std::vector<std::uint64_t> keys_;
};

/// Keeps the triangles whose flag is 0, in order. O(T).
void keepTriangles(std::vector<Index>& corners, const std::vector<std::uint8_t>& drop)
{
    std::size_t kept = 0;
    for (std::size_t t = 0; t < drop.size(); ++t) {
        if (drop[t])
            continue;
        for (std::size_t k = 0; k < 3; ++k)
            corners[3 * kept + k] = corners[3 * t + k];
        ++kept;
    }
    corners.resize(3 * kept);
}

/// Appends a vertex whose attributes average those of the `count` vertices `sources` (a copy
/// for one source; for several, the mean normal is rescaled to unit length); returns its index.
Index appendVertex(MeshData& mesh, const Index* sources, std::size_t count)
{
    const Index added = Index(mesh.vertexCount());
    auto average = [&](std::vector<float>& channel) {
        if (channel.empty())
            return;
        double sum[3] = {0, 0, 0};
        for (std::size_t i = 0; i < count; ++i)
            for (std::size_t k = 0; k < 3; ++k)
                sum[k] += channel[3 * std::size_t(sources[i]) + k];
        for (std::size_t k = 0; k < 3; ++k)
            channel.push_back(float(sum[k] / double(count)));
    };
    average(mesh.positions);
    average(mesh.colors);
    average(mesh.normals);
    if (!mesh.normals.empty() && count > 1) {
        float* n = &mesh.normals[3 * std::size_t(added)];
        const double length = std::sqrt(double(n[0]) * n[0] + double(n[1]) * n[1] + double(n[2]) * n[2]);
        if (length > 0.0)
            for (std::size_t k = 0; k < 3; ++k)
                n[k] = float(n[k] / length);
    }
    return added;
}

/// Step 0: drops the triangles that touch a vertex flagged as away from the points and are
/// reached from an open or non-manifold edge through such triangles: the extrapolated flaps
/// and bands end in the rims where the surface left the points' support, while a gap between
/// the samples of a well covered region is enclosed by fitted surface and is kept. O(T).
void dropUnsupportedTriangles(MeshData& mesh, const AwayFromPoints& awayFromPoints, CleanupReport& report)
{
    std::vector<Index>& corners = mesh.triangles;
    const std::size_t triangles = corners.size() / 3;
    // Asked lazily, once per vertex: only around the rims and the region grown from them.
    std::vector<std::int8_t> away(mesh.vertexCount(), -1);
    auto candidate = [&](Index t) {
        bool any = false;
        for (Index k = 0; k < 3; ++k) {
            std::int8_t& a = away[corners[3 * t + k]];
            if (a < 0)
                a = awayFromPoints(corners[3 * t + k]) ? 1 : 0;
            any = any || a;
        }
        return any;
    };
    std::vector<std::uint8_t> drop(triangles, 0);
    // Neighbours across two-sided edges; seeds on the others.
    std::vector<Index> across(corners.size(), kNone), pending;
    EdgeSides(mesh.vertexCount(), corners).forEachEdge([&](const std::uint64_t* sides, std::size_t count) {
        if (count == 2) {
            across[Index(sides[0])] = Index(sides[1]) / 3;
            across[Index(sides[1])] = Index(sides[0]) / 3;
            return;
        }
        for (std::size_t i = 0; i < count; ++i) {
            const Index t = Index(sides[i]) / 3;
            if (!drop[t] && candidate(t))
                drop[t] = 1, pending.push_back(t);
        }
    });
    while (!pending.empty()) {
        const Index t = pending.back();
        pending.pop_back();
        for (Index k = 0; k < 3; ++k) {
            const Index n = across[3 * t + k];
            if (n != kNone && !drop[n] && candidate(n))
                drop[n] = 1, pending.push_back(n);
        }
    }
    for (std::uint8_t d : drop)
        report.unsupportedTriangles += d;
    keepTriangles(corners, drop);
}

/// Step 1: drops triangles naming a vertex twice, then those on edges of more than two sides.
void dropBadTriangles(MeshData& mesh, CleanupReport& report)
{
    std::vector<Index>& corners = mesh.triangles;
    std::vector<std::uint8_t> drop(corners.size() / 3, 0);
    for (std::size_t t = 0; t < drop.size(); ++t) {
        const Index* v = &corners[3 * t];
        drop[t] = v[0] == v[1] || v[1] == v[2] || v[0] == v[2];
        report.degenerateTriangles += drop[t];
    }
    keepTriangles(corners, drop);

    drop.assign(corners.size() / 3, 0);
    EdgeSides(mesh.vertexCount(), corners).forEachEdge([&](const std::uint64_t* sides, std::size_t count) {
        if (count <= 2)
            return;
        for (std::size_t i = 0; i < count; ++i)
            drop[Index(sides[i]) / 3] = 1;
    });
    for (std::uint8_t d : drop)
        report.nonManifoldTriangles += d;
    keepTriangles(corners, drop);
}

/// Step 2: gives every fan of triangles around a vertex a vertex of its own. Two corners at a
/// vertex are in one fan when their triangles share an edge at that vertex (every edge has at
/// most two sides after step 1).
void splitPinchedVertices(MeshData& mesh, CleanupReport& report)
{
    std::vector<Index>& corners = mesh.triangles;
    DisjointSets fans(corners.size());
    EdgeSides(mesh.vertexCount(), corners).forEachEdge([&](const std::uint64_t* sides, std::size_t count) {
        if (count != 2)
            return;
        const Index s = Index(sides[0]), t = Index(sides[1]);
        for (const Index corner : {s, nextCorner(s)})
            fans.unite(corner, corners[t] == corners[corner] ? t : nextCorner(t));
    });

    // The first fan met at a vertex keeps it; every further fan gets a copy.
    std::vector<Index> vertexOfFan(corners.size(), kNone);
    std::vector<std::uint8_t> state(mesh.vertexCount(), 0);  // 1: taken, 2: split
    for (Index c = 0; c < corners.size(); ++c) {
        const Index fan = fans.find(c);
        if (vertexOfFan[fan] == kNone) {
            const Index v = corners[c];
            if (state[v] == 0) {
                state[v] = 1;
                vertexOfFan[fan] = v;
            } else {
                report.pinchedVertices += state[v] == 1;
                state[v] = 2;
                vertexOfFan[fan] = appendVertex(mesh, &v, 1);
                ++report.addedVertexCopies;
            }
        }
        corners[c] = vertexOfFan[fan];
    }
}

/// Step 3: drops the connected pieces with fewer than strayFraction times the triangles of the
/// largest piece.
void dropStrayPieces(MeshData& mesh, double strayFraction, CleanupReport& report)
{
    std::vector<Index>& corners = mesh.triangles;
    DisjointSets pieces(mesh.vertexCount());
    for (std::size_t c = 0; c < corners.size(); c += 3) {
        pieces.unite(corners[c], corners[c + 1]);
        pieces.unite(corners[c], corners[c + 2]);
    }
    std::vector<std::size_t> size(mesh.vertexCount(), 0);
    for (std::size_t c = 0; c < corners.size(); c += 3)
        ++size[pieces.find(corners[c])];
    const std::size_t largest = size.empty() ? 0 : *std::max_element(size.begin(), size.end());
    const double threshold = strayFraction * double(largest);
    for (std::size_t s : size)
        if (s > 0 && double(s) < threshold) {
            ++report.strayPieces;
            report.strayTriangles += s;
        }
    std::vector<std::uint8_t> drop(corners.size() / 3, 0);
    for (std::size_t t = 0; t < drop.size(); ++t)
        drop[t] = double(size[pieces.find(corners[3 * t])]) < threshold;
    keepTriangles(corners, drop);
}

/// Step 4: closes the boundary loops of at most maxEdges edges. Only loops through vertices with
/// exactly one outgoing and one incoming boundary side are followed; after step 2 that is every
/// boundary vertex of a consistently oriented mesh.
void closeSmallHoles(MeshData& mesh, std::size_t maxEdges, CleanupReport& report)
{
    std::vector<Index>& corners = mesh.triangles;
    const std::size_t n = mesh.vertexCount();
    std::vector<Index> next(n, kNone);
    std::vector<std::uint8_t> outgoing(n, 0), incoming(n, 0);
    EdgeSides(n, corners).forEachEdge([&](const std::uint64_t* sides, std::size_t count) {
        if (count != 1)
            return;
        const Index from = corners[Index(sides[0])], to = corners[nextCorner(Index(sides[0]))];
        next[from] = to;
        outgoing[from] = std::uint8_t(std::min(outgoing[from] + 1, 2));
        incoming[to] = std::uint8_t(std::min(incoming[to] + 1, 2));
    });
    auto regular = [&](Index v) { return outgoing[v] == 1 && incoming[v] == 1; };

    std::vector<std::uint8_t> visited(n, 0);
    std::vector<Index> loop;
    for (Index start = 0; start < n; ++start) {
        if (visited[start] || !regular(start))
            continue;
        loop.clear();
        Index v = start;
        bool closedLoop = true;
        do {
            visited[v] = 1;
            loop.push_back(v);
            v = next[v];
            if (!regular(v) || (visited[v] && v != start)) {
                closedLoop = false;
                break;
            }
        } while (v != start);
        if (!closedLoop || loop.size() > maxEdges) {
            ++report.openHoles;
            continue;
        }
        // The loop's sides v[i] -> v[i+1] belong to existing triangles; the new triangles use
        // them the other way round.
        const std::size_t k = loop.size();
        if (k == 3) {
            corners.insert(corners.end(), {loop[1], loop[0], loop[2]});
        } else {
            const Index centre = appendVertex(mesh, loop.data(), k);
            for (std::size_t i = 0; i < k; ++i)
                corners.insert(corners.end(), {loop[(i + 1) % k], loop[i], centre});
        }
        ++report.closedHoles;
        report.holeTriangles += k == 3 ? 1 : k;
    }
}

/// Step 5: drops the vertices no triangle uses and renumbers the rest in order.
void dropUnusedVertices(MeshData& mesh, CleanupReport& report)
{
    const std::size_t n = mesh.vertexCount();
    std::vector<Index> renumbered(n, kNone);
    for (Index v : mesh.triangles)
        renumbered[v] = 0;
    Index kept = 0;
    auto move = [&](std::vector<float>& channel, Index from, Index to) {
        if (channel.empty())
            return;
        for (std::size_t k = 0; k < 3; ++k)
            channel[3 * std::size_t(to) + k] = channel[3 * std::size_t(from) + k];
    };
    for (Index v = 0; v < n; ++v) {
        if (renumbered[v] == kNone)
            continue;
        renumbered[v] = kept;
        move(mesh.positions, v, kept);
        move(mesh.normals, v, kept);
        move(mesh.colors, v, kept);
        ++kept;
    }
    report.droppedVertices = n - kept;
    for (std::vector<float>* channel : {&mesh.positions, &mesh.normals, &mesh.colors})
        if (!channel->empty())
            channel->resize(3 * std::size_t(kept));
    for (Index& v : mesh.triangles)
        v = renumbered[v];
}

std::string counted(std::size_t count, const char* singular, const char* plural)
{
    return std::to_string(count) + " " + (count == 1 ? singular : plural);
}

}  // namespace

CleanupReport cleanReconstruction(MeshData& mesh, const CleanupLimits& limits,
                                  const AwayFromPoints& awayFromPoints)
{
    CleanupReport report;
    if (mesh.triangleCount() == 0)
        return report;
    mesh.polygonStarts.clear();  // the clean-up works on triangles
    const MeshStats before = computeMeshStats(mesh);
    if (before.closed && before.manifold)
        return report;

    report.ran = true;
    if (awayFromPoints)
        dropUnsupportedTriangles(mesh, awayFromPoints, report);
    dropBadTriangles(mesh, report);
    splitPinchedVertices(mesh, report);
    dropStrayPieces(mesh, limits.strayFraction, report);
    closeSmallHoles(mesh, limits.maxHoleEdges, report);
    dropUnusedVertices(mesh, report);
    return report;
}

std::string describeCleanup(const CleanupReport& report)
{
    if (!report.ran)
        return "";
    std::vector<std::string> done;
    if (report.unsupportedTriangles)
        done.push_back("trimmed " + counted(report.unsupportedTriangles, "triangle", "triangles") +
                       " away from the points");
    if (report.degenerateTriangles)
        done.push_back("dropped " +
                       counted(report.degenerateTriangles, "degenerate triangle", "degenerate triangles"));
    if (report.nonManifoldTriangles)
        done.push_back("dropped " + counted(report.nonManifoldTriangles, "triangle", "triangles") +
                       " on non-manifold edges");
    if (report.pinchedVertices)
        done.push_back("split " + counted(report.pinchedVertices, "pinched vertex", "pinched vertices"));
    if (report.strayPieces)
        done.push_back("dropped " + counted(report.strayPieces, "stray piece", "stray pieces") + " (" +
                       counted(report.strayTriangles, "triangle", "triangles") + ")");
    if (report.closedHoles)
        done.push_back("closed " + counted(report.closedHoles, "small hole", "small holes") + " (" +
                       counted(report.holeTriangles, "triangle", "triangles") + ")");
    std::string text = "clean-up: ";
    if (done.empty())
        text += "nothing to repair";
    for (std::size_t i = 0; i < done.size(); ++i)
        text += (i ? ", " : "") + done[i];
    if (report.openHoles)
        text += (done.empty() ? " (" : "; ") + counted(report.openHoles, "hole", "holes") + " left open" +
                (done.empty() ? ")" : "");
    return text;
}

}  // namespace oxmesh
