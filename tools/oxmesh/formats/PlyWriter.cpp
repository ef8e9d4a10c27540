#include "formats/PlyWriter.h"

#include "formats/AtomicFile.h"
#include "formats/ByteOrder.h"
#include "formats/MeshDataChecks.h"
#include "formats/TextNumbers.h"

#include <charconv>
#include <cmath>
#include <cstdint>
#include <cstring>
#include <limits>

namespace oxmesh {
namespace {

std::string makeHeader(const MeshData& mesh, bool binary)
{
    std::string h = "ply\nformat ";
    h += binary ? "binary_little_endian" : "ascii";
    h += " 1.0\ncomment written by oxmesh\n";
    h += "element vertex " + std::to_string(mesh.vertexCount()) + "\n";
    h += "property float x\nproperty float y\nproperty float z\n";
    if (mesh.hasNormals())
        h += "property float nx\nproperty float ny\nproperty float nz\n";
    if (mesh.hasColors())
        h += "property uchar red\nproperty uchar green\nproperty uchar blue\n";
    if (!mesh.triangles.empty()) {
        h += "element face " + std::to_string(mesh.triangleCount()) + "\n";
        h += "property list uchar int vertex_indices\n";
    }
    return h + "end_header\n";
}

// A colour channel in [0, 1] as a byte; out-of-range values are clamped, NaN is 0.
std::uint8_t colorByte(float c)
{
    if (!(c > 0.0f))
        return 0;
    if (c >= 1.0f)
        return 255;
    return static_cast<std::uint8_t>(std::lround(c * 255.0f));
}

// Appends `value` to `out` in little-endian byte order.
template <class T>
void appendLittleEndian(std::string& out, T value)
{
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));
    if (!hostIsLittleEndian())
        reverseBytes(bytes, sizeof(T));
    out.append(reinterpret_cast<const char*>(bytes), sizeof(T));
}

template <class T>
void appendInteger(std::string& out, T value)
{
    char buffer[16];
    const auto result = std::to_chars(buffer, buffer + sizeof(buffer), value);
    out.append(buffer, result.ptr);
}

// Encodes vertices and faces one row at a time into a reused string, handed to
// the file in batches.
class RowWriter {
public:
    RowWriter(AtomicFile& file, bool binary) : m_file(file), m_binary(binary) {}

    void vertex(const MeshData& mesh, std::size_t v)
    {
        for (int k = 0; k < 3; ++k)
            real(mesh.positions[3 * v + k]);
        if (mesh.hasNormals())
            for (int k = 0; k < 3; ++k)
                real(mesh.normals[3 * v + k]);
        if (mesh.hasColors())
            for (int k = 0; k < 3; ++k)
                byte(colorByte(mesh.colors[3 * v + k]));
        endRow();
    }

    void triangle(const MeshData& mesh, std::size_t t)
    {
        byte(3);
        for (int k = 0; k < 3; ++k)
            index(static_cast<std::int32_t>(mesh.triangles[3 * t + k]));
        endRow();
    }

    void finish()
    {
        m_file.write(m_rows);
        m_rows.clear();
    }

private:
    static constexpr std::size_t kBatch = 1 << 16;

    void separate()
    {
        if (!m_binary && !m_rows.empty() && m_rows.back() != '\n')
            m_rows += ' ';
    }
    void real(float value)
    {
        if (m_binary) {
            appendLittleEndian(m_rows, value);
        } else {
            separate();
            text::appendFloat(m_rows, value);
        }
    }
    void byte(std::uint8_t value)
    {
        if (m_binary) {
            m_rows += static_cast<char>(value);
        } else {
            separate();
            appendInteger(m_rows, value);
        }
    }
    void index(std::int32_t value)
    {
        if (m_binary) {
            appendLittleEndian(m_rows, value);
        } else {
            separate();
            appendInteger(m_rows, value);
        }
    }
    void endRow()
    {
        if (!m_binary)
            m_rows += '\n';
        if (m_rows.size() >= kBatch)
            finish();
    }

    AtomicFile& m_file;
    bool m_binary;
    std::string m_rows;
};

}  // namespace

void writePly(const std::string& path, const MeshData& mesh, bool binary)
{
    checkWritable(mesh, path, static_cast<std::uint64_t>(std::numeric_limits<std::int32_t>::max()));
    AtomicFile file(path);
    file.write(makeHeader(mesh, binary));
    RowWriter rows(file, binary);
    for (std::size_t v = 0; v < mesh.vertexCount(); ++v)
        rows.vertex(mesh, v);
    for (std::size_t t = 0; t < mesh.triangleCount(); ++t)
        rows.triangle(mesh, t);
    rows.finish();
    file.commit();
}

}  // namespace oxmesh
