// libFuzzer target for the formats read through Assimp, from memory: the first
// byte picks the format hint (even: "off", odd: "stl"), the rest is the file.
// Then what the tool does after every Assimp import: welding (done by the
// reader), validation, flattening with a second weld, and the statistics. Any
// input must either work or raise InputError.
#include <cstddef>
#include <cstdint>

#include "io/AssimpReader.h"
#include "io/InputError.h"
#include "io/MeshStats.h"
#include "io/PolygonList.h"
#include "io/SceneFlatten.h"
#include "io/Validate.h"
#include "io/Weld.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    if (size == 0)
        return 0;
    const char* hint = data[0] % 2 == 0 ? "off" : "stl";
    try {
        const oxmesh::SceneData scene = oxmesh::parseAssimpScene(data + 1, size - 1, hint, "fuzz");
        for (const oxmesh::MeshData& mesh : scene.meshes) {
            if (!oxmesh::hasValidPolygonStarts(mesh))
                __builtin_trap();
            for (const std::uint32_t index : mesh.triangles)
                if (index >= mesh.vertexCount())
                    __builtin_trap();
        }
        oxmesh::MeshData flat = oxmesh::flattenScene(scene);
        oxmesh::weldByPosition(flat);
        oxmesh::validateMesh(flat, "fuzz");
        const oxmesh::MeshStats stats = oxmesh::computeMeshStats(flat);
        if (stats.duplicatePositions != 0)
            __builtin_trap();  // welded: no exact duplicates left
    } catch (const oxmesh::InputError&) {
    }
    return 0;
}
