// libFuzzer target for the OBJ reader: parse from memory, validate, compute the
// statistics. Any input must either work or raise InputError; every other
// exception, crash or sanitizer report is a bug.
#include <cstddef>
#include <cstdint>

#include "io/InputError.h"
#include "io/MeshStats.h"
#include "io/ObjReader.h"
#include "io/PolygonList.h"
#include "io/Validate.h"

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
        const oxmesh::MeshStats stats = oxmesh::computeMeshStats(mesh);
        if (stats.vertices != mesh.vertexCount() || stats.unreferencedVertices > stats.vertices)
            __builtin_trap();
    } catch (const oxmesh::InputError&) {
    }
    return 0;
}
