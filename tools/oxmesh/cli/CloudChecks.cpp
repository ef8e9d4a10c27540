#include "cli/CloudChecks.h"

#include <cmath>

#include "cli/Reports.h"
#include "formats/FileError.h"
#include "oxSurfaceReconstruction.h"

namespace oxmesh {

void checkOrientedCloud(const std::string& path, const ox::oxVertexBuffer& cloud, bool hasNormals)
{
    const std::size_t n = std::size_t(cloud.GetVertexQuantity());
    const std::size_t least = ox::oxPointSetProcessing::kMinReconstructionPoints;
    if (n < least)
        throw FileError(path, "too few points to reconstruct a surface: " + std::to_string(n) +
                                  " (at least " + std::to_string(least) + " needed)");
    if (!hasNormals || !cloud.GetAttributes().HasNormal())
        throw FileError(path,
                        "the cloud has no normals; run 'oxmesh normals' first or pass --estimate-normals");
    std::size_t bad = 0;
    for (int i = 0; i < cloud.GetVertexQuantity(); ++i) {
        const ox::Vec3& normal = cloud.Normal3(i);
        const double length2 = double(normal.X()) * normal.X() + double(normal.Y()) * normal.Y() +
                               double(normal.Z()) * normal.Z();
        bad += !(std::isfinite(length2) && length2 > 0.0);
    }
    if (bad)
        throw FileError(path, plural(bad, "normal is", "normals are") + " zero or not finite (of " +
                                  std::to_string(n) +
                                  "); fix them with 'oxmesh normals' or pass --estimate-normals");
}

}  // namespace oxmesh
