#include "formats/ObjWriter.h"

#include <charconv>
#include <cstdint>
#include <limits>

#include "formats/AtomicFile.h"
#include "formats/MeshDataChecks.h"
#include "formats/PolygonList.h"

namespace oxmesh {
namespace {

/// Collects text and hands it to the file in large blocks.
class TextBlock {
public:
    explicit TextBlock(AtomicFile& file) : m_file(file) { m_text.reserve(kBlock + 256); }

    void literal(const char* text) { m_text += text; }

    void number(float value)
    {
        char digits[32];
        const auto result = std::to_chars(digits, digits + sizeof digits, value);
        m_text.append(digits, result.ptr);
    }

    void number(std::uint64_t value)
    {
        char digits[24];
        const auto result = std::to_chars(digits, digits + sizeof digits, value);
        m_text.append(digits, result.ptr);
    }

    void endLine()
    {
        m_text += '\n';
        if (m_text.size() >= kBlock)
            flush();
    }

    void flush()
    {
        m_file.write(m_text);
        m_text.clear();
    }

private:
    static constexpr std::size_t kBlock = std::size_t(1) << 20;
    AtomicFile& m_file;
    std::string m_text;
};

void writeTriples(TextBlock& out, const char* tag, const std::vector<float>& values,
                  const std::vector<float>* extra)
{
    for (std::size_t i = 0; i < values.size(); i += 3) {
        out.literal(tag);
        for (int k = 0; k < 3; ++k) {
            out.literal(" ");
            out.number(values[i + k]);
        }
        for (int k = 0; extra && k < 3; ++k) {
            out.literal(" ");
            out.number((*extra)[i + k]);
        }
        out.endLine();
    }
}

}  // namespace

void writeObj(const std::string& path, const MeshData& mesh)
{
    checkWritable(mesh, path, std::numeric_limits<std::uint32_t>::max());
    AtomicFile file(path);
    TextBlock out(file);
    out.literal("# written by oxmesh");
    out.endLine();
    writeTriples(out, "v", mesh.positions, mesh.hasColors() ? &mesh.colors : nullptr);
    writeTriples(out, "vn", mesh.normals, nullptr);

    const PolygonList polygons = polygonsOf(mesh);
    for (std::size_t p = 0; p < polygons.polygonCount(); ++p) {
        out.literal("f");
        for (std::uint32_t c = polygons.offsets[p]; c < polygons.offsets[p + 1]; ++c) {
            const std::uint64_t index = std::uint64_t(polygons.corners[c]) + 1;
            out.literal(" ");
            out.number(index);
            if (mesh.hasNormals()) {
                out.literal("//");
                out.number(index);
            }
        }
        out.endLine();
    }
    out.flush();
    file.commit();
}

}  // namespace oxmesh
