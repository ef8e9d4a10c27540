#include "formats/XyzWriter.h"

#include "formats/AtomicFile.h"
#include "formats/MeshDataChecks.h"
#include "formats/TextNumbers.h"

#include <limits>

namespace oxmesh {

void writeXyz(const std::string& path, const MeshData& mesh)
{
    checkWritable(mesh, path, std::numeric_limits<std::uint32_t>::max());
    AtomicFile file(path);
    constexpr std::size_t kBatch = 1 << 16;
    std::string lines;
    const auto appendTriple = [&lines](const float* v) {
        for (int k = 0; k < 3; ++k) {
            if (k > 0)
                lines += ' ';
            text::appendFloat(lines, v[k]);
        }
    };
    for (std::size_t v = 0; v < mesh.vertexCount(); ++v) {
        appendTriple(&mesh.positions[3 * v]);
        if (mesh.hasNormals()) {
            lines += ' ';
            appendTriple(&mesh.normals[3 * v]);
        }
        lines += '\n';
        if (lines.size() >= kBatch) {
            file.write(lines);
            lines.clear();
        }
    }
    file.write(lines);
    file.commit();
}

}  // namespace oxmesh
