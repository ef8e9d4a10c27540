// libFuzzer target for the OBJ reader: parse from memory, validate, compute the
// statistics. Any input must either work or raise FileError; every other
// exception, crash or sanitizer report is a bug.
#include <cstddef>
#include <cstdint>

#include "formats/FileError.h"
#include "formats/MeshView.h"
#include "formats/ObjReader.h"
#include "formats/PolygonList.h"
#include "formats/Validate.h"

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const oxmesh::MeshData mesh = oxmesh::parseObj(reinterpret_cast<const char*>(data), size, "fuzz.obj");
        // The reader's own promises: whole records, indices in range, polygon groups well formed.
        if (!oxmesh::hasValidPolygonStarts(mesh))
            __builtin_trap();
        for (const std::uint32_t index : mesh.triangles)
            if (index >= mesh.vertexCount())
                __builtin_trap();
        oxmesh::validateMesh(mesh, "fuzz.obj");
        const ox::oxMeshProcessing::tMeshStatistics stats = oxmesh::statisticsOf(mesh);
        if (stats.vertices != mesh.vertexCount() || stats.unreferencedVertices > stats.vertices)
            __builtin_trap();
    } catch (const oxmesh::FileError&) {
    }
    return 0;
}
