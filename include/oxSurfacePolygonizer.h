// oxSurfacePolygonizer: base of the polygonizers of a point-set surface, and the three
// sign-configuration tables they share (cube, square, tetrahedron).
//
// Cube corners are numbered by their offset in cell units: corner i lies at
// (i & 1, (i >> 1) & 1, (i >> 2) & 1). A cube configuration byte has bit i set for corner
// i. The cube rows come from the published marching-cubes triangle table, which numbers
// corners cyclically around each face and sets a bit for a corner below the iso level;
// GetCubePolygonConfiguration converts between the two numberings. Triangles of a row are
// oriented with their normals (right-hand rule) pointing towards the corners whose bits
// are set in the published row mask, i.e. towards the positive side for this library's
// configurations: a potential positive outside gives outward-facing triangles.
#pragma once

namespace ox {

class oxGeometry;
class oxPointSetSurface;

class oxSurfacePolygonizer {
public:
    /// Borrows the surface; it must outlive the polygonizer.
    explicit oxSurfacePolygonizer(const oxPointSetSurface* surface) : m_surface(surface) {}
    oxSurfacePolygonizer(const oxSurfacePolygonizer&) = default;
    oxSurfacePolygonizer& operator=(const oxSurfacePolygonizer&) = default;
    virtual ~oxSurfacePolygonizer() = default;

    /// Polygonizes the surface into a new geometry owned by the caller.
    virtual oxGeometry* computeMesh() = 0;

    const oxPointSetSurface* getSurface() const { return m_surface; }

    /// Cube-table row for `config`, the mask of corners on the NON-positive side (this
    /// library's corner numbering). The row is the published row of the complemented mask
    /// with corners 2/3 and 6/7 exchanged: a list of edge-index triples ended by -1 (as
    /// unsigned 0xFFFFFFFF). `count` receives the number of triangles of the row, `edges`
    /// the 12-edge table (24 entries: first and second corner of each edge). Only the low
    /// 8 bits of `config` are used. O(1) after the first call.
    static const unsigned int* GetCubePolygonConfiguration(unsigned int config, unsigned int& count,
                                                           const unsigned int*& edges);

    /// First triangle (vertex numbers along the square's outline: corners 0, 2, 4, 6,
    /// side midpoints 1, 3, 5, 7, centre 8) of square configuration `config` in 0..16;
    /// `count` receives its number of triangles. No range test: config > 16 is a caller
    /// error. O(1).
    static const unsigned int* GetSquarePolygonConfiguration(unsigned int config, unsigned int& count);

    /// First triangle (vertex numbers = tetrahedron edges 0-1, 1-2, 0-2, 0-3, 1-3, 2-3) of
    /// tetrahedron configuration `config` in 0..15 (bit i for corner i); `count` receives
    /// its number of triangles. No range test. O(1).
    static const unsigned int* GetTetrahedronPolygonConfiguration(unsigned int config, unsigned int& count);

protected:
    const oxPointSetSurface* m_surface;
};

}  // namespace ox
