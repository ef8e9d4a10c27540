// libFuzzer target for the XYZ parser: any input must either parse or raise
// FileError; every other exception, crash or sanitizer report is a bug.
#include "formats/FileError.h"
#include "formats/XyzReader.h"

#include <cstddef>
#include <cstdint>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size)
{
    try {
        const oxmesh::MeshData cloud =
            oxmesh::parseXyz(reinterpret_cast<const char*>(data), size, "fuzz.xyz");
        if (cloud.positions.empty() || cloud.positions.size() % 3 != 0 || !cloud.triangles.empty() ||
            (cloud.hasNormals() && cloud.normals.size() != cloud.positions.size()))
            __builtin_trap();
    } catch (const oxmesh::FileError&) {
    }
    return 0;
}
