// Helpers for the PLY and XYZ reader tests: an encoder that writes arbitrary
// PLY content (any element, property order and type, in all three encodings)
// independently of the library's writer, and a temporary folder.
#pragma once

#include <algorithm>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <iterator>
#include <map>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "formats/FileError.h"

namespace plytest {

/// Reads every file of a broken-input corpus folder with `read` and requires, for each, an
/// FileError whose one-line message starts with "PATH: " and contains the phrase listed for
/// the file; the folder and the table must list the same files.
template <class Read>
void expectCorpusErrors(const std::filesystem::path& folder,
                        const std::map<std::string, std::string>& expected, Read read)
{
    std::size_t seen = 0;
    for (const auto& entry : std::filesystem::directory_iterator(folder)) {
        const std::string name = entry.path().filename().string();
        const std::string path = entry.path().string();
        SCOPED_TRACE(name);
        const auto it = expected.find(name);
        ASSERT_NE(it, expected.end()) << "corpus file without an expected message";
        ++seen;
        try {
            read(path);
            ADD_FAILURE() << "read without error";
        } catch (const oxmesh::FileError& e) {
            const std::string what = e.what();
            EXPECT_EQ(0u, what.rfind(path + ": ", 0)) << what;
            EXPECT_NE(std::string::npos, what.find(it->second)) << what;
            EXPECT_EQ(std::string::npos, what.find('\n')) << what;
        }
    }
    EXPECT_EQ(expected.size(), seen) << "a corpus file listed above is missing";
}

enum class Encoding { Ascii, LittleEndian, BigEndian };

inline const char* formatName(Encoding e)
{
    switch (e) {
    case Encoding::Ascii:
        return "ascii";
    case Encoding::LittleEndian:
        return "binary_little_endian";
    case Encoding::BigEndian:
        return "binary_big_endian";
    }
    return "";
}

/// One property; a non-empty countType makes it a list.
struct PropDecl {
    std::string name;
    std::string type;
    std::string countType;
    bool isList() const { return !countType.empty(); }
};

/// One value of a row: a scalar or a list.
struct Cell {
    double scalar = 0;
    std::vector<double> items;
    static Cell of(double v) { return Cell{v, {}}; }
    static Cell list(std::vector<double> v) { return Cell{0, std::move(v)}; }
};

struct ElementDecl {
    std::string name;
    std::vector<PropDecl> props;
    std::vector<std::vector<Cell>> rows;
    std::uint64_t declaredCount = UINT64_MAX;  ///< count written in the header; rows.size() if unset
};

inline std::string headerOf(const std::vector<ElementDecl>& elements, Encoding enc,
                            const std::string& extra = "")
{
    std::string h = std::string("ply\nformat ") + formatName(enc) + " 1.0\n" + extra;
    for (const ElementDecl& e : elements) {
        const std::uint64_t count = e.declaredCount == UINT64_MAX ? e.rows.size() : e.declaredCount;
        h += "element " + e.name + " " + std::to_string(count) + "\n";
        for (const PropDecl& p : e.props)
            h += p.isList() ? "property list " + p.countType + " " + p.type + " " + p.name + "\n"
                            : "property " + p.type + " " + p.name + "\n";
    }
    return h + "end_header\n";
}

template <class T>
void putBinary(std::string& out, T value, bool bigEndian)
{
    unsigned char bytes[sizeof(T)];
    std::memcpy(bytes, &value, sizeof(T));  // the test machine is little-endian
    if (bigEndian)
        std::reverse(bytes, bytes + sizeof(T));
    out.append(reinterpret_cast<const char*>(bytes), sizeof(T));
}

/// Appends one value of the named PLY type.
inline void putValue(std::string& out, Encoding enc, const std::string& type, double v)
{
    if (enc == Encoding::Ascii) {
        char buf[64];
        if (type == "float" || type == "float32")
            std::snprintf(buf, sizeof buf, "%.9g", static_cast<double>(static_cast<float>(v)));
        else if (type == "double" || type == "float64")
            std::snprintf(buf, sizeof buf, "%.17g", v);
        else
            std::snprintf(buf, sizeof buf, "%lld", static_cast<long long>(v));
        if (!out.empty() && out.back() != '\n')
            out += ' ';
        out += buf;
        return;
    }
    const bool be = enc == Encoding::BigEndian;
    if (type == "char" || type == "int8")
        putBinary(out, static_cast<std::int8_t>(v), be);
    else if (type == "uchar" || type == "uint8")
        putBinary(out, static_cast<std::uint8_t>(v), be);
    else if (type == "short" || type == "int16")
        putBinary(out, static_cast<std::int16_t>(v), be);
    else if (type == "ushort" || type == "uint16")
        putBinary(out, static_cast<std::uint16_t>(v), be);
    else if (type == "int" || type == "int32")
        putBinary(out, static_cast<std::int32_t>(v), be);
    else if (type == "uint" || type == "uint32")
        putBinary(out, static_cast<std::uint32_t>(v), be);
    else if (type == "float" || type == "float32")
        putBinary(out, static_cast<float>(v), be);
    else if (type == "double" || type == "float64")
        putBinary(out, v, be);
    else
        std::abort();
}

/// The whole file: header, then every row of every element.
inline std::string encodePly(const std::vector<ElementDecl>& elements, Encoding enc,
                             const std::string& extra = "")
{
    std::string out = headerOf(elements, enc, extra);
    for (const ElementDecl& e : elements) {
        for (const std::vector<Cell>& row : e.rows) {
            for (std::size_t p = 0; p < e.props.size(); ++p) {
                const PropDecl& prop = e.props[p];
                if (prop.isList()) {
                    putValue(out, enc, prop.countType, static_cast<double>(row[p].items.size()));
                    for (double item : row[p].items)
                        putValue(out, enc, prop.type, item);
                } else {
                    putValue(out, enc, prop.type, row[p].scalar);
                }
            }
            if (enc == Encoding::Ascii)
                out += '\n';
        }
    }
    return out;
}

/// A folder under the system temp folder, removed with everything in it.
class TempDir {
public:
    TempDir()
    {
        std::string pattern = (std::filesystem::temp_directory_path() / "oxmesh-test-XXXXXX").string();
        if (!::mkdtemp(pattern.data()))
            std::abort();
        path_ = pattern;
    }
    ~TempDir()
    {
        std::error_code ignored;
        std::filesystem::remove_all(path_, ignored);
    }
    std::string file(const std::string& name) const { return (path_ / name).string(); }
    const std::filesystem::path& path() const { return path_; }

    /// Names of the entries in the folder, sorted.
    std::vector<std::string> entries() const
    {
        std::vector<std::string> names;
        for (const auto& entry : std::filesystem::directory_iterator(path_))
            names.push_back(entry.path().filename().string());
        std::sort(names.begin(), names.end());
        return names;
    }

private:
    std::filesystem::path path_;
};

inline void writeBytes(const std::string& path, const std::string& bytes)
{
    std::ofstream(path, std::ios::binary).write(bytes.data(), static_cast<std::streamsize>(bytes.size()));
}

inline std::string readBytes(const std::string& path)
{
    std::ifstream in(path, std::ios::binary);
    return std::string(std::istreambuf_iterator<char>(in), std::istreambuf_iterator<char>());
}

inline bool sharedDataPresent()
{
    return std::filesystem::exists(OX_SHARED_DATA_DIR "/meshes/igea.ply");
}

}  // namespace plytest
