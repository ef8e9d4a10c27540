// libFuzzer target for the PLY parser: any input must either parse or raise
// FileError; every other exception, crash or sanitizer report is a bug.
#include "formats/FileError.h"
#include "formats/PlyReader.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const oxmesh::MeshData mesh = oxmesh::parsePly(reinterpret_cast<const char*>(data), size, "fuzz.ply");
        // What the parser returns must be consistent with itself.
        const std::size_t vertices = mesh.vertexCount();
        if (mesh.positions.size() % 3 != 0 || mesh.triangles.size() % 3 != 0 ||
            (mesh.hasNormals() && mesh.normals.size() != mesh.positions.size()) ||
            (mesh.hasColors() && mesh.colors.size() != mesh.positions.size()))
            __builtin_trap();
        for (const std::uint32_t index : mesh.triangles)
            if (index >= vertices)
                __builtin_trap();
    } catch (const oxmesh::FileError&) {
    }
    return 0;
}
