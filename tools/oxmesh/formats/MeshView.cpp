#include "formats/MeshView.h"

namespace oxmesh {

ox::oxMeshProcessing::tMeshView viewOf(const MeshData& mesh, const PolygonList& polygons)
{
    ox::oxMeshProcessing::tMeshView view;
    view.positions = mesh.positions.data();
    view.vertexCount = mesh.vertexCount();
    view.triangles = mesh.triangles.data();
    view.triangleCount = mesh.triangleCount();
    view.faceCorners = polygons.corners.data();
    view.faceOffsets = polygons.offsets.data();
    view.faceCount = polygons.polygonCount();
    if (mesh.normals.size() == mesh.positions.size() && !mesh.normals.empty())
        view.normals = mesh.normals.data();
    return view;
}

ox::oxMeshProcessing::tMeshStatistics statisticsOf(const MeshData& mesh)
{
    const PolygonList polygons = polygonsOf(mesh);
    return ox::oxMeshProcessing::ComputeMeshStatistics(viewOf(mesh, polygons));
}

}  // namespace oxmesh
