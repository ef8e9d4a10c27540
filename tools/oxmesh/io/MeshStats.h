// Topology and quality facts about a mesh or point cloud, as `oxmesh info` reports
// them. The definitions follow the analysis script of our test data set so that
// the numbers can be compared with its published tables: edges, components and
// fans are taken over the polygons as the file stores them (polygon sides), while
// areas and volumes use the fan triangles.
#pragma once

#include <array>
#include <cstddef>
#include <map>

#include "io/MeshData.h"

namespace oxmesh {

struct MeshStats {
    std::size_t vertices = 0;                   ///< vertices in the mesh (all, used or not)
    std::size_t triangles = 0;                  ///< triangles after fan triangulation
    std::size_t faces = 0;                      ///< faces as stored in the file (polygons)
    std::map<unsigned, std::size_t> faceSizes;  ///< polygon size -> count
    std::size_t unreferencedVertices = 0;       ///< vertices no face uses
    std::size_t duplicatePositions = 0;         ///< vertices whose exact position occurred before
    std::size_t nonFiniteVertices = 0;          ///< vertices with a non-finite coordinate
    std::size_t weldedVertices = 0;             ///< vertices merged by position while loading

    // Over the polygons (all zero for a point cloud).
    std::size_t facesWithRepeatedIndex = 0;  ///< polygons naming a vertex twice
    std::size_t zeroAreaTriangles = 0;       ///< fan triangles with |cross| <= 1e-14 * diagonal^2
    double surfaceArea = 0.0;                ///< sum of the fan triangle areas
    std::size_t edges = 0;                   ///< distinct undirected polygon sides
    std::size_t boundaryEdges = 0;           ///< edges used by one polygon side
    std::size_t nonManifoldEdges = 0;        ///< edges used by more than two polygon sides
    std::size_t duplicatedHalfEdges = 0;     ///< directed sides used more than once (orientation flips)
    std::size_t components = 0;              ///< connected components of the used vertices
    std::size_t boundaryLoops = 0;           ///< connected components of the boundary edges
    std::size_t nonManifoldVertices = 0;     ///< vertices whose corners form more than one fan
    long long eulerCharacteristic = 0;       ///< used vertices - edges + faces
    bool closed = false;                     ///< no boundary edge and no non-manifold edge
    bool manifold = false;                   ///< no non-manifold edge and no non-manifold vertex
    bool oriented = false;                   ///< no duplicated directed half-edge
    bool hasGenus = false;                   ///< closed, manifold and oriented: genus and volume below
    long long genus = 0;                     ///< total genus: (2 * components - euler) / 2, floored
    double signedVolume = 0.0;               ///< sum of the fan tetrahedra (positive when outward)

    std::array<double, 3> bboxMin{{0, 0, 0}};  ///< over the finite vertices
    std::array<double, 3> bboxMax{{0, 0, 0}};
    double bboxDiagonal = 0.0;

    std::size_t nonFiniteNormals = 0;  ///< normals with a non-finite length
    std::size_t zeroNormals = 0;       ///< normals of length zero

    bool isPointCloud() const { return faces == 0 && triangles == 0; }
};

/// Computes every statistic of `mesh`. Cost O(V + C) expected (C polygon corners): one counting
/// sort of the polygon sides by their lower vertex, small sorts per vertex, three union-finds; no
/// per-edge allocation. About 30 bytes per corner of scratch memory.
/// Precondition: every triangle index below the vertex count (validateMesh).
MeshStats computeMeshStats(const MeshData& mesh);

}  // namespace oxmesh
