// A file's mesh handed to the library's operations on flat arrays, without copying: the
// statistics of `oxmesh info` and the checks of the other commands read it in place.
#pragma once

#include "formats/MeshData.h"
#include "formats/PolygonList.h"
#include "oxMeshProcessing.h"

namespace oxmesh {

/// The library's view of `mesh`; `polygons` (polygonsOf(mesh)) provides the faces and must
/// outlive the view. Normals are included when there is one per vertex. O(1).
ox::oxMeshProcessing::tMeshView viewOf(const MeshData& mesh, const PolygonList& polygons);

/// The library's statistics of `mesh`, its faces taken as the file stored them.
/// Precondition: every triangle index below the vertex count. Cost: O(V + T) expected.
ox::oxMeshProcessing::tMeshStatistics statisticsOf(const MeshData& mesh);

}  // namespace oxmesh
