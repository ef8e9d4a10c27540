// A host application in miniature: starts the library, reads its version, builds a
// scene-graph mesh, uses the library's hash table and reconstructs the mesh from its
// vertices. Exit status 0 when all agree.
#include <oxMeshLib.h>

#include <cmath>
#include <cstdio>
#include <cstring>

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

    ox::terminateOxMeshLibrary();
    std::printf("triangles %d, extent %.3f, reconstructed %d: %s\n", sphere->GetTriangleQuantity(),
                box.getMaxExtent(axis), rebuilt ? rebuilt->GetTriangleQuantity() : 0,
                failures ? "FAILED" : "ok");
    return failures ? 1 : 0;
}
