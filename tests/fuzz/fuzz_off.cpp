// libFuzzer target for the formats read through Assimp, from memory: the first
// byte picks the format hint (even: "off", odd: "stl"), the rest is the file.
// Then what the tool does after every Assimp import: welding (done by the
// reader), validation, flattening with a second weld, and the statistics. Any
// input must either work or raise FileError.
#include <cstddef>
#include <cstdint>

#include "formats/AssimpReader.h"
#include "formats/FileError.h"
#include "formats/MeshView.h"
#include "formats/PolygonList.h"
#include "formats/SceneFlatten.h"
#include "formats/Validate.h"
#include "formats/Weld.h"

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
        const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(flat);
        if (stats.duplicatePositions != 0)
            __builtin_trap();  // welded: no exact duplicates left
    } catch (const oxmesh::FileError&) {
    }
    return 0;
}
