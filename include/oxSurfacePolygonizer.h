// oxSurfacePolygonizer: base of the polygonizers of a point-set surface, and the three
// sign-configuration tables they share (cube, square, tetrahedron), which map a configuration to
// a list of triangles.
//
// Cube corners are numbered by their offset in cell units: corner i lies at
// (i & 1, (i >> 1) & 1, (i >> 2) & 1). A cube configuration byte has bit i set for corner
// i. Triangles of a cube row are oriented with their normals (right-hand rule) pointing towards
// the positive side of this library's configurations: a potential positive outside gives
// outward-facing triangles. Where the rows come from, and how a configuration selects one, is
// told at the top of src/meshing/oxSurfacePolygonizer.cpp.
#pragma once

namespace ox {

class oxGeometry;
class oxPointSetSurface;

class oxSurfacePolygonizer {
public:
    /// Makes a polygonizer of `surface`.
    /// Preconditions: the surface outlives the polygonizer (borrowed; copies share it). O(1).
    explicit oxSurfacePolygonizer(const oxPointSetSurface* surface) : m_surface(surface) {}
    oxSurfacePolygonizer(const oxSurfacePolygonizer&) = default;
    oxSurfacePolygonizer& operator=(const oxSurfacePolygonizer&) = default;
    virtual ~oxSurfacePolygonizer() = default;

    /// Polygonizes the surface.
    /// Returns:       a new geometry owned by the caller (each polygonizer states its layout).
    virtual oxGeometry* computeMesh() = 0;

    /// The borrowed surface. O(1).
    const oxPointSetSurface* getSurface() const { return m_surface; }

    /// Looks up the cube-table row of `config`, the mask of corners on the NON-positive side
    /// (this library's corner numbering; only the low 8 bits are used).
    /// Returns:       the row: edge-index triples ended by -1 (as unsigned 0xFFFFFFFF), i.e. the
    ///                published row of the complemented mask with corners 2/3 and 6/7 exchanged;
    ///                `count` receives its number of triangles, `edges` the 12-edge table (24
    ///                entries: first and second corner of each edge). The pointers stay valid
    ///                for the library's lifetime.
    /// Cost:          O(1) (constant tables).
    static const unsigned int* GetCubePolygonConfiguration(unsigned int config, unsigned int& count,
                                                           const unsigned int*& edges);

    /// Looks up the triangles of square configuration `config`: bit k (k < 4) for the
    /// midpoint 2k + 1 present, 16 for every midpoint and the centre.
    /// Returns:       the first triangle (vertex numbers along the square's outline: corners 0,
    ///                2, 4, 6, side midpoints 1, 3, 5, 7, centre 8); `count` receives its number
    ///                of triangles (2 plus the midpoints; 8 for configuration 16).
    /// Preconditions: config in 0..16; no range test (above is a caller error).
    /// Cost:          O(1).
    static const unsigned int* GetSquarePolygonConfiguration(unsigned int config, unsigned int& count);

    /// Looks up the triangles of tetrahedron configuration `config` (bit i for corner i).
    /// Returns:       the first triangle (vertex numbers = tetrahedron edges 0-1, 1-2, 0-2,
    ///                0-3, 1-3, 2-3); `count` receives its number of triangles (0 for 0 and 15).
    /// Preconditions: config in 0..15; no range test.
    /// Cost:          O(1).
    static const unsigned int* GetTetrahedronPolygonConfiguration(unsigned int config, unsigned int& count);

protected:
    const oxPointSetSurface* m_surface;
};

}  // namespace ox
