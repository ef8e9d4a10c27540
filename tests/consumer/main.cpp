// A host application in miniature: starts the library, reads its version, builds a
// scene-graph mesh, uses the library's hash table, then does what `oxmesh reconstruct` and
// `oxmesh simplify` do with library calls alone (reconstruction pipeline with its repair,
// boundary locking and quadric simplification, statistics). Exit status 0 when all agree.
#include <oxMeshLib.h>

#include <cmath>
#include <cstdio>
#include <cstring>
#include <vector>

int main()
{
    int failures = 0;
    auto check = [&](bool ok, const char* what) {
        if (!ok) {
            std::fprintf(stderr, "consumer: %s\n", what);
            ++failures;
        }
    };

    ox::initializeOxMeshLibrary();
    std::printf("oxMeshLib %s\n", ox::oxMeshLib::Version::GetDescStringMajorMinorReleaseRevisionDate());
    check(std::strcmp(ox::oxMeshLib::Version::GetDescStringMajorMinorReleaseRevision(true), "1.0.0.10699") ==
              0,
          "version string");

    ox::oxAttributes attributes;
    attributes.SetPositionChannels(3);
    attributes.SetNormalChannels(3);
    ox::oxStandardMesh factory(attributes);
    ox::oxPointer<ox::oxTriMesh> sphere(factory.Sphere(16, 32, 2.0f));
    check(sphere && sphere->GetTriangleQuantity() > 0, "sphere mesh");
    ox::oxBBox box;
    for (int i = 0; i < sphere->GetVertexBuffer()->GetVertexQuantity(); ++i)
        box.selfExpand(sphere->GetVertexBuffer()->Position3(i));
    unsigned int axis = 0;
    check(std::fabs(box.getMaxExtent(axis) - 4.0f) < 1e-3f, "sphere bounding box");

    ox::oxHashTbl<unsigned int, float> table(100);
    for (unsigned int i = 0; i < 1000; ++i)
        table.set(i, float(i));
    check(table.getNoElements() == 1000 && table.find(500u) != table.end(), "hash table");

    // Reconstruction from the sphere's vertices and normals: a closed mesh comes back.
    ox::oxPointSetQuery query(sphere->GetVertexBuffer());
    query.computePointRadii();
    ox::oxAPSSSurface surface(&query);
    ox::oxRegularGridSurfaceMesher mesher(&surface);
    mesher.setDepth(4);
    ox::oxPointer<ox::oxGeometry> rebuilt(mesher.computeMesh());
    check(rebuilt && rebuilt->GetTriangleQuantity() > 0, "reconstruction");

    // `oxmesh reconstruct`: the pipeline (query, APSS, grid mesher, input frame, normals, repair).
    namespace pp = ox::oxPointSetProcessing;
    namespace mp = ox::oxMeshProcessing;
    ox::oxMeshLib::SetMessageStream(nullptr);  // the mesher's progress lines are not wanted here
    pp::tReconstructionOptions options;
    options.depth = 4;  // the mesher keeps the face tables of its first call: one depth per process
    pp::tReconstructionReport report;
    // A fresh sphere: the query above normalised the first one's buffer in place.
    const ox::oxPointer<ox::oxTriMesh> cloud(factory.Sphere(16, 32, 2.0f));
    ox::oxPointer<ox::oxTriMesh> reconstructed =
        pp::ReconstructSurface(*cloud->GetVertexBuffer(), options, nullptr, &report);
    const mp::tMeshStatistics rebuiltStats = mp::ComputeMeshStatistics(*reconstructed);
    check(rebuiltStats.closed && rebuiltStats.manifold && rebuiltStats.oriented && rebuiltStats.genus == 0,
          "reconstruction is a closed manifold sphere");
    check(std::fabs(rebuiltStats.bboxMax[0] - 2.0) < 0.1 && rebuiltStats.signedVolume > 0.0,
          "reconstruction in the input frame, facing outwards");

    // `oxmesh simplify --ratio 0.25 --lock-boundary`: weld, lock borders, collapse, normals.
    mp::WeldSimilarVertices(*reconstructed, 0.0f);
    const std::vector<bool> locked = mp::FindBoundaryVertices(*reconstructed);
    mp::tQuadricSimplifyOptions simplify;
    simplify.targetTriangleCount = unsigned(reconstructed->GetTriangleQuantity()) / 4;
    simplify.lockedVertices = &locked;
    mp::tEdgeCollapseReport collapse;
    mp::QuadricSimplify(*reconstructed, simplify, nullptr, &collapse);
    const mp::tMeshStatistics simplifiedStats = mp::ComputeMeshStatistics(*reconstructed);
    check(collapse.stop == mp::tCollapseStop::TargetReached &&
              simplifiedStats.triangles <= simplify.targetTriangleCount + 1,
          "simplification reaches its target");
    check(simplifiedStats.closed && simplifiedStats.manifold &&
              simplifiedStats.eulerCharacteristic == rebuiltStats.eulerCharacteristic,
          "simplification keeps the topology");

    ox::terminateOxMeshLibrary();
    std::printf("triangles %d, extent %.3f, reconstructed %d, pipeline %zu, simplified %zu: %s\n",
                sphere->GetTriangleQuantity(), box.getMaxExtent(axis),
                rebuilt ? rebuilt->GetTriangleQuantity() : 0, rebuiltStats.triangles,
                simplifiedStats.triangles, failures ? "FAILED" : "ok");
    return failures ? 1 : 0;
}
