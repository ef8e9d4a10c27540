// Sparse regular-grid marching cubes: seed cells from the points, corner signs, growth
// across crossed faces, shared vertices on cut edges, bisection.
//
// The grid has 2^depth cells per axis over the cube that bounds the points grown by their radii.
// Meshing starts from the cells that contain points (each distinct corner of theirs is evaluated
// once, by sorting the corners by key), grows breadth-first across every cube face the surface
// crosses (corner signs differ on it) into cells not met yet, and stops at the grid's boundary
// and at cells whose centre potential is infinite (far from every point: kept, but not grown
// from). A corner is positive when its potential is > 0, so NaN counts as non-positive. The cube
// table's rows of the cells are emitted in ascending cell key order with one shared vertex per
// cut grid edge (its ordered pair of corner keys), numbered in first-use order; each vertex is
// then placed by ten bisection steps of the potential between the edge's two corners.
//
// Corners of the last cell layer of an axis are clamped onto that layer (a corner key never
// leaves the grid), so a cell there has coinciding corners; seed cells take a corner's bit from
// its actual offset. The cube is padded by the point radii, which keeps the points out of that
// layer whenever a radius spans a cell or more (the usual case).
//
// Based on: Lorensen and Cline, Marching cubes: a high resolution 3D surface construction
// algorithm, 1987 (the cube triangle table), run as a surface-following (continuation) mesher
// that only visits the cells reached from the points through faces the surface crosses, with
// vertices placed by bisection along the cut edges, as in Bloomenthal, Polygonization of
// implicit surfaces, 1988, and An implicit surface polygonizer, 1994 (seeded here from every
// cell that holds a point rather than from one seed).
#include "oxRegularGridSurfaceMesher.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdint>
#include <deque>
#include <limits>
#include <unordered_map>
#include <utility>
#include <vector>

#include "frame/oxMessages.h"
#include "oxMeshLibTypes.h"
#include "oxPointSetQuery.h"
#include "oxPointSetSurface.h"
#include "scenegraph/oxAttributes.h"
#include "scenegraph/oxGeometry.h"
#include "scenegraph/oxIndexBuffer.h"
#include "scenegraph/oxVertexBuffer.h"

namespace ox {

namespace {

// Cell and corner keys pack 10 bits per axis: (k << 20) | (j << 10) | i.
constexpr unsigned int kAxisBits = 10;
constexpr unsigned int kAxisMask = (1u << kAxisBits) - 1;

// The six faces of a cell (x-, x+, y-, y+, z-, z+): the corners on the face and the key
// step to the neighbour across it.
constexpr unsigned int kFaceCorners[6] = {0x55, 0xAA, 0x33, 0xCC, 0x0F, 0xF0};
constexpr std::int32_t kFaceStep[6] = {-1, 1, -1024, 1024, -1048576, 1048576};

// The grid: size, the world frame of the bounding cube, and every potential already
// evaluated at a grid corner (each distinct corner is evaluated once per mesh).
class tGrid {
public:
    tGrid(const oxPointSetSurface& surface, unsigned int n, const Vec3& centre, float extent)
        : m_surface(surface), m_n(n), m_centre(centre), m_extent(extent)
    {}

    unsigned int size() const { return m_n; }
    const Vec3& centre() const { return m_centre; }
    float extent() const { return m_extent; }

    // Key of corner `corner` (offset (c & 1, (c >> 1) & 1, (c >> 2) & 1)) of cell `key`;
    // a +1 that would leave the grid stays on the last plane.
    unsigned int cornerKey(unsigned int key, unsigned int corner) const
    {
        unsigned int result = 0;
        for (unsigned int axis = 0; axis < 3; ++axis) {
            unsigned int c = (key >> (kAxisBits * axis)) & kAxisMask;
            if ((corner >> axis) & 1u)
                c = std::min(c + 1, m_n - 1);
            result |= c << (kAxisBits * axis);
        }
        return result;
    }

    // World position of a grid point given in (possibly fractional) grid coordinates.
    Vec3 toWorld(float i, float j, float k) const
    {
        const float n = static_cast<float>(m_n);
        return Vec3((i / n - 0.5f) * m_extent + m_centre.X(), (j / n - 0.5f) * m_extent + m_centre.Y(),
                    (k / n - 0.5f) * m_extent + m_centre.Z());
    }
    Vec3 cornerPosition(unsigned int key) const
    {
        return toWorld(static_cast<float>(key & kAxisMask), static_cast<float>((key >> 10) & kAxisMask),
                       static_cast<float>((key >> 20) & kAxisMask));
    }
    Vec3 cellCentre(unsigned int key) const
    {
        return toWorld(static_cast<float>(key & kAxisMask) + 0.5f,
                       static_cast<float>((key >> 10) & kAxisMask) + 0.5f,
                       static_cast<float>((key >> 20) & kAxisMask) + 0.5f);
    }

    float potential(const Vec3& x) const { return m_surface.computePotential(x); }

    // The potential at a grid corner, evaluated on first use.
    float cornerPotential(unsigned int key)
    {
        const auto found = m_corners.find(key);
        if (found != m_corners.end())
            return found->second;
        const float value = potential(cornerPosition(key));
        m_corners.emplace(key, value);
        return value;
    }
    void rememberCorner(unsigned int key, float value) { m_corners.emplace(key, value); }

    // Configuration byte of a cell: bit c set when corner c has a positive potential.
    unsigned int cellConfiguration(unsigned int key)
    {
        unsigned int config = 0;
        for (unsigned int c = 0; c < 8; ++c)
            if (cornerPotential(cornerKey(key, c)) > 0.0f)
                config |= 1u << c;
        return config;
    }

    void reserveCorners(std::size_t count) { m_corners.reserve(count); }

private:
    const oxPointSetSurface& m_surface;
    unsigned int m_n;
    Vec3 m_centre;
    float m_extent;
    std::unordered_map<unsigned int, float> m_corners;
};

// Grid coordinate of a normalised coordinate f = (p - centre) * scale + N/2: truncated
// toward zero; a negative result (as unsigned, huge) and anything at or beyond N (or NaN)
// end on the last cell.
unsigned int gridCoordinate(float f, unsigned int n)
{
    if (f > -1.0f && f < static_cast<float>(n))
        return std::min(static_cast<unsigned int>(static_cast<int>(f)), n - 1);
    return n - 1;
}

// The bounding cube of the points grown by their radii, as a grid of n cells per axis.
tGrid boundingCube(const oxPointSetSurface& surface, unsigned int n)
{
    const oxVertexBuffer& points = *surface.getPointSet()->getVertices();
    const int noPoints = points.GetVertexQuantity();
    const float inf = std::numeric_limits<float>::infinity();
    Vec3 lo(inf, inf, inf), hi(-inf, -inf, -inf);
    for (int p = 0; p < noPoints; ++p) {
        const Vec3& x = points.Position3(p);
        const float r = points.PSize1(p);
        for (int a = 0; a < 3; ++a) {
            lo[a] = std::min(lo[a], x[a] - r);
            hi[a] = std::max(hi[a], x[a] + r);
        }
    }
    const Vec3 centre = (lo + hi) * 0.5f;
    const float extent = std::max(hi[0] - lo[0], std::max(hi[1] - lo[1], hi[2] - lo[2]));
    return tGrid(surface, n, centre, extent);
}

// The cells of one run: seed cells with their configurations, then the map of every cell
// reached (key -> configuration byte: bit c set when corner c has a positive potential).
struct tCells {
    std::vector<unsigned int> seeds;
    std::vector<unsigned char> seedConfig;
    std::unordered_map<unsigned int, unsigned char> map;
};

// The distinct cells holding a point, ascending.
tCells seedCells(const oxPointSetSurface& surface, const tGrid& grid)
{
    const oxVertexBuffer& points = *surface.getPointSet()->getVertices();
    const int noPoints = points.GetVertexQuantity();
    const unsigned int n = grid.size();
    const float scale = static_cast<float>(n) / grid.extent();
    const float half = static_cast<float>(n >> 1);
    tCells cells;
    cells.seeds.resize(static_cast<std::size_t>(noPoints));
    for (int p = 0; p < noPoints; ++p) {
        const Vec3& x = points.Position3(p);
        unsigned int key = 0;
        for (unsigned int a = 0; a < 3; ++a)
            key |= gridCoordinate((x[int(a)] - grid.centre()[int(a)]) * scale + half, n) << (kAxisBits * a);
        cells.seeds[static_cast<std::size_t>(p)] = key;
    }
    std::sort(cells.seeds.begin(), cells.seeds.end());
    cells.seeds.erase(std::unique(cells.seeds.begin(), cells.seeds.end()), cells.seeds.end());
    return cells;
}

// Corner signs of the seed cells, one evaluation per distinct corner: (corner key, cell index)
// entries sorted by corner key, one run per corner. Fills the seeds' configurations and the
// cell map.
void classifySeedCorners(tGrid& grid, tCells& cells, oxProgressMonitorable& progress)
{
    const std::vector<unsigned int>& seeds = cells.seeds;
    const std::size_t noSeeds = seeds.size();
    std::vector<std::uint64_t> entries;
    entries.reserve(8 * noSeeds);
    for (std::size_t s = 0; s < noSeeds; ++s)
        for (unsigned int c = 0; c < 8; ++c)
            entries.push_back((static_cast<std::uint64_t>(s) << 32) | grid.cornerKey(seeds[s], c));
    std::sort(entries.begin(), entries.end(), [](std::uint64_t a, std::uint64_t b) {
        return static_cast<std::uint32_t>(a) < static_cast<std::uint32_t>(b) ||
               (static_cast<std::uint32_t>(a) == static_cast<std::uint32_t>(b) && a < b);
    });
    grid.reserveCorners(2 * entries.size() / 8 + 64);
    cells.seedConfig.assign(noSeeds, 0);
    for (std::size_t e = 0; e < entries.size();) {
        progress.setProgressValue(static_cast<float>(e) * 0.125f / static_cast<float>(noSeeds));
        const unsigned int corner = static_cast<std::uint32_t>(entries[e]);
        std::size_t end = e + 1;
        while (end < entries.size() && static_cast<std::uint32_t>(entries[end]) == corner)
            ++end;
        const float value = grid.potential(grid.cornerPosition(corner));
        grid.rememberCorner(corner, value);
        if (value > 0.0f) {
            for (std::size_t r = e; r < end; ++r) {
                const std::size_t s = static_cast<std::size_t>(entries[r] >> 32);
                const unsigned int cell = seeds[s];
                // The corner number comes from the actual offset: a corner clamped onto the
                // cell's own plane counts as offset 0 on that axis.
                const unsigned int dx = (corner & kAxisMask) - (cell & kAxisMask);
                const unsigned int dy = ((corner >> 10) & kAxisMask) - ((cell >> 10) & kAxisMask);
                const unsigned int dz = ((corner >> 20) & kAxisMask) - ((cell >> 20) & kAxisMask);
                cells.seedConfig[s] |= static_cast<unsigned char>(1u << ((dz * 2 + dy) * 2 + dx));
            }
        }
        e = end;
    }
    cells.map.reserve(4 * noSeeds + 64);
    for (std::size_t s = 0; s < noSeeds; ++s)
        cells.map.emplace(seeds[s], cells.seedConfig[s]);
}

// Growth from the seed cells across every crossed face whose neighbour exists, then
// breadth-first iterations over the new cells; a cell whose centre potential is infinite (far
// from every point) stays in the mesh but does not grow. Returns the number of iterations.
unsigned int growAcrossCrossedFaces(tGrid& grid, tCells& cells, oxProgressMonitorable& progress)
{
    const unsigned int mask = grid.size() - 1;
    // Per-face existence tests, built from the grid size of the first call in the process and
    // kept for every later call (see the header).
    static const unsigned int faceCoordinateMask[6] = {mask,       mask,       mask << 10,
                                                       mask << 10, mask << 20, mask << 20};
    static const unsigned int faceBoundary[6] = {0, mask, 0, mask << 10, 0, mask << 20};

    std::deque<std::pair<unsigned int, unsigned char>> queue;
    auto grow = [&](unsigned int key, unsigned int config) {
        for (unsigned int f = 0; f < 6; ++f) {
            if (!(kFaceCorners[f] & config) || !(kFaceCorners[f] & ~config))
                continue;
            if ((key & faceCoordinateMask[f]) == faceBoundary[f])
                continue;
            const unsigned int neighbour =
                static_cast<unsigned int>(static_cast<std::int64_t>(key) + kFaceStep[f]);
            if (cells.map.count(neighbour))
                continue;
            const unsigned char neighbourConfig =
                static_cast<unsigned char>(grid.cellConfiguration(neighbour));
            cells.map.emplace(neighbour, neighbourConfig);
            queue.emplace_back(neighbour, neighbourConfig);
        }
    };
    const std::size_t noSeeds = cells.seeds.size();
    for (std::size_t s = 0; s < noSeeds; ++s) {
        progress.setProgressValue(static_cast<float>(s) / static_cast<float>(noSeeds));
        grow(cells.seeds[s], cells.seedConfig[s]);
    }
    unsigned int iteration = 0;
    for (; !queue.empty(); ++iteration) {
        detail::messages() << "iteration :" << iteration << std::endl;
        const std::size_t taken = queue.size();
        for (std::size_t t = 0; t < taken; ++t) {
            progress.setProgressValue(static_cast<float>(t) / static_cast<float>(taken));
            const std::pair<unsigned int, unsigned char> cell = queue.front();
            queue.pop_front();
            if (std::isinf(grid.potential(grid.cellCentre(cell.first))))
                continue;
            grow(cell.first, cell.second);
        }
    }
    return iteration;
}

// The triangles of every cell in ascending key order, with one shared vertex per cut grid edge
// (ordered corner-key pair), numbered in first-use order.
struct tTriangles {
    oxIndexBuffer* indices = nullptr;
    std::vector<std::uint64_t> vertexKeys;  ///< per vertex: second corner << 32 | first corner
};

tTriangles emitTriangles(const tGrid& grid, const tCells& cells)
{
    std::vector<std::pair<unsigned int, unsigned char>> ordered(cells.map.begin(), cells.map.end());
    std::sort(ordered.begin(), ordered.end());
    unsigned int noTriangles = 0;
    for (const auto& cell : ordered) {
        unsigned int count;
        const unsigned int* edges;
        oxSurfacePolygonizer::GetCubePolygonConfiguration(~static_cast<unsigned int>(cell.second), count,
                                                          edges);
        noTriangles += count;
    }
    tTriangles result;
    result.indices = new oxIndexBuffer(static_cast<int>(3 * noTriangles));
    std::unordered_map<std::uint64_t, unsigned int> vertexOf;
    vertexOf.reserve(2 * noTriangles + 16);
    int slot = 0;
    for (const auto& cell : ordered) {
        unsigned int count;
        const unsigned int* edges;
        const unsigned int* row = oxSurfacePolygonizer::GetCubePolygonConfiguration(
            ~static_cast<unsigned int>(cell.second), count, edges);
        unsigned int corners[8];
        for (unsigned int c = 0; c < 8; ++c)
            corners[c] = grid.cornerKey(cell.first, c);
        for (unsigned int e = 0; e < 3 * count; ++e) {
            const unsigned int edge = row[e];
            const std::uint64_t key =
                (static_cast<std::uint64_t>(corners[edges[2 * edge + 1]]) << 32) | corners[edges[2 * edge]];
            const auto inserted = vertexOf.emplace(key, static_cast<unsigned int>(result.vertexKeys.size()));
            if (inserted.second)
                result.vertexKeys.push_back(key);
            (*result.indices)[slot++] = inserted.first->second;
        }
    }
    return result;
}

// The vertex buffer (positions, unwritten normals): ten bisection steps per cut edge, vertex
// keys in ascending order. The corner potentials were all evaluated while classifying the
// cells and are reused here.
oxVertexBuffer* placeVerticesByBisection(tGrid& grid, const tTriangles& triangles,
                                         oxProgressMonitorable& progress)
{
    const std::vector<std::uint64_t>& vertexKeys = triangles.vertexKeys;
    oxAttributes layout;
    layout.SetPositionChannels(3);
    layout.SetNormalChannels(3);
    oxVertexBuffer* vertices = new oxVertexBuffer(layout, static_cast<int>(vertexKeys.size()));
    detail::messages() << "searching precise surface position" << std::endl;
    std::vector<std::pair<std::uint64_t, unsigned int>> byKey;
    byKey.reserve(vertexKeys.size());
    for (unsigned int v = 0; v < vertexKeys.size(); ++v)
        byKey.emplace_back(vertexKeys[v], v);
    std::sort(byKey.begin(), byKey.end());
    for (std::size_t i = 0; i < byKey.size(); ++i) {
        progress.setProgressValue(static_cast<float>(i) / static_cast<float>(byKey.size()));
        const unsigned int first = static_cast<std::uint32_t>(byKey[i].first);
        Vec3 a = grid.cornerPosition(first);
        Vec3 b = grid.cornerPosition(static_cast<std::uint32_t>(byKey[i].first >> 32));
        float fa = grid.cornerPotential(first);
        for (int step = 0; step < 10; ++step) {
            const Vec3 m = (a + b) * 0.5f;
            const float fm = grid.potential(m);
            if (fm * fa <= 0.0f) {
                b = m;
            } else {
                a = m;
                fa = fm;
            }
        }
        vertices->Position3(static_cast<int>(byKey[i].second)) = (a + b) * 0.5f;
    }
    return vertices;
}

double secondsSince(std::chrono::steady_clock::time_point start)
{
    return std::chrono::duration<double>(std::chrono::steady_clock::now() - start).count();
}

}  // namespace

oxRegularGridSurfaceMesher::oxRegularGridSurfaceMesher(const oxPointSetSurface* surface)
    : oxSurfacePolygonizer(surface)
{}

oxGeometry* oxRegularGridSurfaceMesher::computeMesh()
{
    m_report = tGridMeshingReport();
    m_report.depth = std::min(std::max(m_depth, 1u), 10u);
    auto enter = [this](tGridMeshingStage stage) {
        if (m_onStage)
            m_onStage(stage);
    };

    enter(tGridMeshingStage::CornerSigns);
    auto start = std::chrono::steady_clock::now();
    tGrid grid = boundingCube(*m_surface, 1u << m_report.depth);
    tCells cells = seedCells(*m_surface, grid);
    classifySeedCorners(grid, cells, *this);
    m_report.cornerSignSeconds = secondsSince(start);

    enter(tGridMeshingStage::Growth);
    start = std::chrono::steady_clock::now();
    m_report.iterations = growAcrossCrossedFaces(grid, cells, *this);
    const tTriangles triangles = emitTriangles(grid, cells);
    m_report.growthSeconds = secondsSince(start);

    enter(tGridMeshingStage::Bisection);
    start = std::chrono::steady_clock::now();
    oxVertexBuffer* vertices = placeVerticesByBisection(grid, triangles, *this);
    m_report.bisectionSeconds = secondsSince(start);

    m_report.cellSize = grid.extent() / static_cast<float>(grid.size());
    m_report.seedCells = static_cast<unsigned int>(cells.seeds.size());
    m_report.cells = static_cast<unsigned int>(cells.map.size());
    m_report.vertices = static_cast<unsigned int>(vertices->GetVertexQuantity());
    m_report.triangles = static_cast<unsigned int>(triangles.indices->GetIndexQuantity() / 3);
    detail::messages() << "done" << std::endl;
    enter(tGridMeshingStage::Done);
    return new oxGeometry(vertices, triangles.indices);
}

}  // namespace ox
